// The skid brake: idle, sliding, stopped.
#include <gtest/gtest.h>

#include "car/Braking.h"
#include "car/Fields.h"
#include "car/QuietCar.h"
#include "car/Skidding.h"
#include "car/StepCar.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::isClose;
using test::quietCar;
using V = Vector3<double>;
using Q = Quat<double>;

constexpr double kFrame = 0.04;

InputChannel& gas(cCarCam& c) { return c.pcInput[pcInput_GAS_PEDAL]; }
InputChannel& brake(cCarCam& c) { return c.pcInput[pcInput_SKID_BRAKE]; }
InputChannel& skid(cCarCam& c) { return c.pcInput[pcInput_SKIDDING]; }
InputChannel& boost(cCarCam& c) { return c.pcInput[pcInput_BOOSTER]; }
InputChannel& burn(cCarCam& c) { return c.pcInput[pcInput_BURNOUT]; }

/// Moving ahead at 0.02 a sub-step while turning to the left by 0.01 a sub-step.
cCarCam turningCar() {
    cCarCam car = quietCar();
    car.qTransCarAbsIncr.position = {0, 0, -0.02};
    car.qTransCarStart.rotation = Q(0, std::sin(0.1), 0, std::cos(0.1));
    car.qTransCarAbs.rotation = Q(0, std::sin(0.105), 0, std::cos(0.105));
    car.dVelocity = 5.0;
    car.pcInput[pcInput_STEERING_WHEEL].value = -0.2;
    gas(car).value = 1.5;
    return car;
}

TEST(SkidBrake, StartsASlideWithTheMovementOfThatMoment) {
    cCarCam car = turningCar();
    brake(car).raw = 0.8;
    skid(car).value = 0.5;
    burn(car).value = 0.5;
    boost(car).value = 0.5;
    car.dWantedSkiddingValue = 0.3;
    UpdateSkidBrake(car, kFrame);
    EXPECT_FALSE(car.bSkidFirstTime);
    EXPECT_TRUE(car.bSkidBreakingOn);
    EXPECT_TRUE(car.bSkidBreakingOnDisableFeatures);
    EXPECT_TRUE(isClose(car.vSkidBrakeInitVel, V(0, 0, -0.5)));
    EXPECT_TRUE(isClose(car.vSkidBrakeInitRotVel, V(0, 0.25, 0), 1e-11));
    EXPECT_EQ(car.iSkidBrakeVelSign, 1);
    EXPECT_EQ(car.iSkidBrakeSteerSign, 1) << "steering to the left is a positive yaw";
    // One frame of braking is taken off at once: 3 percent of the start.
    EXPECT_TRUE(isClose(car.vSkidBrakePosIncr, V(0, 0, -0.02 + 0.5 * 0.03 * kFrame)));
    EXPECT_TRUE(isClose(car.dSkidBrakeLocalYawIncr, 0.01 - 0.25 * 0.03 * kFrame, 1e-11));
    EXPECT_EQ(gas(car).value, 0.0);
    EXPECT_EQ(skid(car).value, 0.0);
    EXPECT_EQ(burn(car).value, 0.0);
    EXPECT_EQ(boost(car).value, 0.0);
    EXPECT_EQ(car.dWantedSkiddingValue, 1.0);
}

TEST(SkidBrake, OnlyTheYawOfTheRotationIsKept) {
    cCarCam car = turningCar();
    car.qTransCarAbs.rotation = Multiply(car.qTransCarAbs.rotation, Q(std::sin(0.02), 0, 0, std::cos(0.02)));
    brake(car).raw = 1.0;
    UpdateSkidBrake(car, kFrame);
    EXPECT_EQ(car.vSkidBrakeInitRotVel.x, 0.0);
    EXPECT_EQ(car.vSkidBrakeInitRotVel.z, 0.0);
    EXPECT_GT(car.vSkidBrakeInitRotVel.y, 0.2);
}

struct SignRow {
    double velocity;
    double steering;
    double yawSign;
};

TEST(SkidBrake, TheSlideTurnsTheWayTheCarTurned) {
    const SignRow rows[] = {{5, -0.2, 1}, {5, 0.2, -1}, {-5, -0.2, -1}, {-5, 0.2, 1}, {0, 0, 1}};
    for (const SignRow& row : rows) {
        cCarCam car = turningCar();
        car.dVelocity = row.velocity;
        car.pcInput[pcInput_STEERING_WHEEL].value = row.steering;
        brake(car).raw = 1.0;
        UpdateSkidBrake(car, kFrame);
        EXPECT_TRUE(isClose(car.dSkidBrakeLocalYawIncr, row.yawSign * 0.01 * 0.97, 1e-11)) << row.velocity;
    }
}

TEST(SkidBrake, ASlideLosesTheSameAmountEachFrameAndStopsInTheThirtyFourth) {
    cCarCam car = turningCar();
    for (int frame = 1; frame <= 33; ++frame) {
        brake(car).raw = 1.0;
        UpdateSkidBrake(car, kFrame);
        ASSERT_TRUE(isClose(car.vSkidBrakePosIncr.z, -0.02 * (1 - 0.03 * frame), 1e-11)) << frame;
        ASSERT_TRUE(isClose(car.dSkidBrakeLocalYawIncr, 0.01 * (1 - 0.03 * frame), 1e-9)) << frame;
    }
    brake(car).raw = 1.0;
    UpdateSkidBrake(car, kFrame);
    EXPECT_EQ(car.vSkidBrakePosIncr, V());
    EXPECT_EQ(car.dSkidBrakeLocalYawIncr, 0.0);
    EXPECT_EQ(brake(car).raw, 0.0) << "a stopped slide takes the input back for this frame";
    EXPECT_TRUE(car.bSkidBreakingOn) << "stopped, not idle";
    EXPECT_FALSE(car.bSkidFirstTime);
}

TEST(SkidBrake, StoppedHoldsAllVelocitiesWhileTheInputIsHeld) {
    cCarCam car = turningCar();
    for (int frame = 0; frame < 60; ++frame) {
        brake(car).raw = 1.0;
        gas(car).value = 2.0;
        skid(car).value = 0.5;
        UpdateSkidBrake(car, kFrame);
    }
    EXPECT_EQ(gas(car).value, 0.0);
    EXPECT_EQ(skid(car).value, 0.0);
    EXPECT_TRUE(car.bSkidBreakingOn);
    brake(car).raw = 0.0;
    car.fCarLocalYawIncr = 0.5;
    UpdateSkidBrake(car, kFrame);
    EXPECT_TRUE(car.bSkidFirstTime);
    EXPECT_FALSE(car.bSkidBreakingOn);
    EXPECT_FALSE(car.bSkidBreakingOnDisableFeatures);
    EXPECT_EQ(skid(car).value, 0.0) << "a car at rest is not handed over to a skid";
    EXPECT_EQ(car.fCarLocalYawIncr, 0.0) << "but its yaw is";
}

TEST(SkidBrake, MaximumAndRotationMultiplierScaleTheLoss) {
    cCarCam car = turningCar();
    brake(car).maximum = 2.0;
    car.dSkidBrakeRotBrakeMult = 3.0;
    brake(car).raw = 0.1;
    UpdateSkidBrake(car, kFrame);
    EXPECT_TRUE(isClose(car.vSkidBrakePosIncr.z, -0.02 * (1 - 0.06))) << "the maximum, not the input, is the strength";
    EXPECT_TRUE(isClose(car.dSkidBrakeLocalYawIncr, 0.01 * (1 - 0.18), 1e-11));
}

TEST(SkidBrake, TheYawNeverTurnsBack) {
    cCarCam car = turningCar();
    car.dSkidBrakeRotBrakeMult = 40.0;  // 1.2 of the start in one frame
    brake(car).raw = 1.0;
    UpdateSkidBrake(car, kFrame);
    EXPECT_EQ(car.dSkidBrakeLocalYawIncr, 0.0);
    EXPECT_LT(car.vSkidBrakePosIncr.z, -0.019) << "while the car goes on sliding";
}

struct HandOverRow {
    const char* what;
    double pedal;
    double booster;
    double movement;  ///< z of the increment
    double gasShare;
};

TEST(SkidBrake, ReleasedWhileMovingItPassesIntoASkid) {
    const HandOverRow rows[] = {
        {"pedal with the movement", 0.6, 0, -0.02, 0.6},
        {"pedal against it", -0.6, 0, -0.02, 0.0},
        {"no pedal", 0, 0, -0.02, 0.0},
        {"booster ahead", 0, 0.3, -0.02, 1.0},
        {"booster backwards", 0, 0.3, 0.02, 0.0},
        {"reverse pedal, rolling back", -0.6, 0, 0.02, 0.6},
        {"booster beats the pedal", 0.6, 0.3, -0.02, 1},
        {"booster ahead at a crawl", 0, 0.3, -1e-3, 1.0},
    };
    for (const HandOverRow& row : rows) {
        cCarCam car = turningCar();
        car.qTransCarAbs.rotation = Q();
        car.qTransCarStart.rotation = Q();
        car.qTransCarAbsIncr.position.z = row.movement;
        brake(car).raw = 1.0;
        UpdateSkidBrake(car, kFrame);
        car.dSimStep = 0.004;
        brake(car).raw = 0.0;
        gas(car).raw = row.pedal;
        boost(car).raw = row.booster;
        UpdateSkidBrake(car, kFrame);
        EXPECT_EQ(skid(car).value, 1.0) << row.what;
        EXPECT_EQ(car.dWantedSkiddingValue, 0.0) << row.what;
        if (row.gasShare == 0.0) {
            EXPECT_EQ(gas(car).value, 0.0) << row.what;
        } else {
            EXPECT_TRUE(isClose(gas(car).value, row.gasShare * -row.movement / 0.004 / 3.522)) << row.what;
        }
        EXPECT_TRUE(car.bSkidFirstTime) << row.what;
        EXPECT_FALSE(car.bSkidBreakingOn) << row.what;
    }
}

TEST(SkidBrake, TheHandOverMeasuresTheMovementAlongTheCar) {
    cCarCam car = turningCar();
    const double s = std::sqrt(0.5);
    car.qTransCarAbs.rotation = Q(0, s, 0, s);  // heading -X
    car.qTransCarAbsIncr.position = {-0.02, 0, -0.01};
    car.bSkidFirstTime = false;
    car.vSkidBrakePosIncr = {0.001, 0, 0};
    car.dSimStep = 0.004;
    gas(car).raw = 1.0;
    UpdateSkidBrake(car, kFrame);
    EXPECT_TRUE(isClose(gas(car).value, 0.02 / 0.004 / 3.522));
}

TEST(SkidBrake, TheYawOfTheSlideIsHandedOver) {
    cCarCam car = turningCar();
    brake(car).raw = 1.0;
    UpdateSkidBrake(car, kFrame);
    const double yaw = car.dSkidBrakeLocalYawIncr;
    EXPECT_GT(yaw, 0.009);
    brake(car).raw = 0.0;
    UpdateSkidBrake(car, kFrame);
    EXPECT_EQ(car.fCarLocalYawIncr, yaw);
    EXPECT_EQ(car.dSkidBrakeLocalYawIncr, 0.0) << "the channel's value is out, so nothing of it stays";
}

TEST(SkidBrake, AFadingValueKeepsBrakingTheYaw) {
    cCarCam car = turningCar();
    brake(car).raw = 1.0;
    brake(car).value = 0.5;
    UpdateSkidBrake(car, kFrame);
    brake(car).raw = 0.0;
    UpdateSkidBrake(car, kFrame);
    EXPECT_TRUE(car.bSkidBrakeValueOn);
    EXPECT_TRUE(isClose(car.dSkidBrakeLocalYawIncr, 0.01 * 0.94, 1e-11));
    brake(car).value = 0.0001;
    UpdateSkidBrake(car, kFrame);
    EXPECT_FALSE(car.bSkidBrakeValueOn) << "a ten thousandth of the maximum counts as out";
    EXPECT_EQ(car.dSkidBrakeLocalYawIncr, 0.0);
    brake(car).value = 0.000101;
    UpdateSkidBrake(car, kFrame);
    EXPECT_TRUE(car.bSkidBrakeValueOn) << "and no more than that";
    brake(car).value = 0.0001;
    brake(car).maximum = 0.5;
    UpdateSkidBrake(car, kFrame);
    EXPECT_TRUE(car.bSkidBrakeValueOn) << "it is counted in the maximum";
}

TEST(SkidBrake, InTheAirItWaitsAndThenStartsWithTheSpeedOfThatMoment) {
    cCarCam car = turningCar();
    brake(car).raw = 1.0;
    car.bCarInTheAir = true;
    const cCarCam before = car;
    UpdateSkidBrake(car, kFrame);
    EXPECT_TRUE(test::changedFields(before, car).empty());
    car.bCarInTheAir = false;
    car.bJustLanded = true;
    UpdateSkidBrake(car, kFrame);
    EXPECT_TRUE(car.bSkidFirstTime) << "nor in the frame of the landing";
    car.bJustLanded = false;
    car.qTransCarAbsIncr.position = {0, 0, -0.05};
    UpdateSkidBrake(car, kFrame);
    EXPECT_TRUE(isClose(car.vSkidBrakeInitVel, V(0, 0, -1.25)));
}

TEST(SkidBrake, PressedAtRestItHoldsUntilReleased) {
    cCarCam car = quietCar();
    for (int frame = 0; frame < 50; ++frame) {
        brake(car).raw = 1.0;
        gas(car).raw = 1.0;
        StepCar(car, kFrame);
        ASSERT_TRUE(car.bSkidBreakingOn) << frame;
        ASSERT_EQ(brake(car).raw, 1.0) << "a dot product of 0 is no stop, so the input is left alone";
        ASSERT_EQ(car.qTransCarAbs.position, V()) << frame;
    }
    EXPECT_EQ(car.vSkidBrakeInitVel, V());
    brake(car).raw = 0.0;
    StepCar(car, kFrame);
    EXPECT_FALSE(car.bSkidBreakingOn);
    EXPECT_NE(skid(car).value, 1.0);
}

TEST(SkidBrake, TogetherWithTheAbsBrakeTheVelocityStartsAtWhatTheFilterGives) {
    cCarCam car = turningCar();
    gas(car).raw = 1.0;
    car.dGasPedalInput_prev = 1.0;
    car.dGasPedalValue_prev = 1.5;
    brake(car).raw = 1.0;
    car.pcInput[pcInput_ABS_BRAKE].raw = 1.0;
    StepCar(car, kFrame);
    EXPECT_TRUE(isClose(car.dBrakeStartValue, 3.0 * (1 - 0.995 * 0.995)));
}

TEST(SkidBrake, BesideItsStateItTouchesNothingWhenIdle) {
    cCarCam car = turningCar();
    car.dSkidBrakeLocalYawIncr = 0.01;
    const cCarCam before = car;
    UpdateSkidBrake(car, kFrame);
    EXPECT_EQ(test::changedFields(before, car), std::vector<std::string>{"dSkidBrakeLocalYawIncr"});
    EXPECT_EQ(car.dSkidBrakeLocalYawIncr, 0.0);
}

}  // namespace
}  // namespace ond::ovs::addon
