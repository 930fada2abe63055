// The ABS brake, and a pedal that works as one.
#include <gtest/gtest.h>

#include "car/Braking.h"
#include "car/QuietCar.h"
#include "car/StepCar.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::isClose;
using test::quietCar;

constexpr double kFrame = 0.04;

InputChannel& gas(cCarCam& c) { return c.pcInput[pcInput_GAS_PEDAL]; }
InputChannel& abs(cCarCam& c) { return c.pcInput[pcInput_ABS_BRAKE]; }

cCarCam rollingCar(double velocity) {
    cCarCam car = quietCar();
    gas(car).value = velocity;
    car.dGasPedalValue_prev = velocity;
    return car;
}

TEST(AbsBrake, StopsLinearlyInATimeThatTheSpeedDoesNotChange) {
    for (const double velocity : {0.5, 2.0, 17.0, -2.0}) {
        for (const double dt : {0.04, 0.02, 1.0 / 30.0}) {
            cCarCam car = rollingCar(velocity);
            const double loss = velocity * dt * 30.0 * 0.03;
            int frames = 0;
            while (gas(car).value != 0.0 && frames < 1000) {
                abs(car).raw = 1.0;
                gas(car).value = 99.0 * velocity;  // what filter and booster do is thrown away
                if (frames == 0) gas(car).value = velocity;
                UpdateAbsBrake(car, dt);
                ++frames;
                if (gas(car).value != 0.0) {
                    ASSERT_TRUE(isClose(gas(car).value, velocity - frames * loss, 1e-11)) << frames;
                }
            }
            EXPECT_EQ(frames, static_cast<int>(1.0 / (0.9 * dt)) + 1) << "1.1 seconds at " << velocity;
            EXPECT_FALSE(car.bBrakeArmed);
            abs(car).raw = 1.0;
            gas(car).value = velocity;
            UpdateAbsBrake(car, dt);
            EXPECT_EQ(gas(car).value, 0.0) << "it does not reverse";
        }
    }
}

TEST(AbsBrake, HalfTheInputIsHalfTheStrength) {
    cCarCam car = rollingCar(2.0);
    abs(car).raw = 0.5;
    UpdateAbsBrake(car, kFrame);
    EXPECT_TRUE(isClose(gas(car).value, 2.0 - 2.0 * kFrame * 30.0 * 0.015));
    EXPECT_EQ(car.dBrakeStartValue, 2.0);
}

TEST(AbsBrake, WithoutAMaximumItHoldsTheVelocity) {
    cCarCam car = rollingCar(2.0);
    abs(car).raw = 1.0;
    abs(car).maximum = 0.0;
    gas(car).value = 2.5;
    UpdateAbsBrake(car, kFrame);
    EXPECT_EQ(gas(car).value, 2.0) << "at that of the frame before";
}

TEST(AbsBrake, ReleasedItArmsAgain) {
    cCarCam car = rollingCar(2.0);
    abs(car).raw = 1.0;
    UpdateAbsBrake(car, kFrame);
    abs(car).raw = 0.0;
    gas(car).value = 1.0;
    gas(car).raw = 0.25;
    UpdateAbsBrake(car, kFrame);
    EXPECT_TRUE(car.bBrakeArmed);
    EXPECT_EQ(gas(car).value, 1.0);
    EXPECT_EQ(car.dGasPedalValue_prev, 1.0);
    EXPECT_EQ(car.pcInput_GAS_PEDAL_inp_prev, 0.25);
    abs(car).raw = 1.0;
    UpdateAbsBrake(car, kFrame);
    EXPECT_EQ(car.dBrakeStartValue, 1.0) << "the share is taken of the new start";
}

TEST(AbsBrake, KeepsItsMemoriesInEachCase) {
    cCarCam car = rollingCar(2.0);
    abs(car).raw = 1.0;
    gas(car).raw = 0.7;
    UpdateAbsBrake(car, kFrame);
    EXPECT_EQ(car.pcInput_GAS_PEDAL_inp_prev, 0.7);
    EXPECT_EQ(car.dGasPedalValue_prev, gas(car).value);
}

TEST(ReverseAsAbsBrake, BrakesByThePedalsStrength) {
    cCarCam car = rollingCar(2.0);
    gas(car).raw = -0.5;
    UpdateAbsBrake(car, kFrame);
    EXPECT_TRUE(car.bIsReverseVelAbsBraking);
    EXPECT_FALSE(car.bBrakeArmed);
    EXPECT_TRUE(isClose(gas(car).value, 2.0 - 2.0 * kFrame * 30.0 * 0.5 * 0.03));
}

TEST(ReverseAsAbsBrake, IsAnOption) {
    cCarCam car = rollingCar(2.0);
    car.bUseReverseAsAbsBrake = false;
    gas(car).raw = -0.5;
    UpdateAbsBrake(car, kFrame);
    EXPECT_EQ(gas(car).value, 2.0);
    EXPECT_FALSE(car.bIsReverseVelAbsBraking);
}

TEST(ReverseAsAbsBrake, IsNotAskedWhileTheAbsBrakeActs) {
    cCarCam car = rollingCar(2.0);
    abs(car).raw = 0.1;
    gas(car).raw = -0.5;
    UpdateAbsBrake(car, kFrame);
    EXPECT_FALSE(car.bIsReverseVelAbsBraking);
    EXPECT_TRUE(isClose(gas(car).value, 2.0 - 2.0 * kFrame * 30.0 * 0.003));
}

struct ReverseRow {
    const char* what;
    bool state;
    double velocity;
    double input;
    double previous;
    bool result;
};

TEST(ReverseBrakeActive, FollowsItsThreeRules) {
    const ReverseRow rows[] = {
        {"against the travel", false, 2, -0.5, -0.5, true},
        {"backwards and pushed ahead", false, -2, 0.5, 0.5, true},
        {"with the travel", false, 2, 0.5, 0.5, false},
        {"released, rolling back: a zero counts as ahead but is no input", false, -2, 0, 0, false},
        {"at rest and pulled back: a zero velocity counts as ahead", false, 0, -0.5, 0, true},
        {"held", true, 2, -0.5, -0.5, true},
        {"held at rest", true, 0, -0.5, -0.5, true},
        {"held until it would already reverse", true, -2, -0.5, -0.5, true},
        {"the pedal changes direction", true, 2, 0.5, -0.5, false},
        {"released from behind", true, 2, 0, -0.5, false},
        {"released from ahead: no change of sign, but an exact zero", true, -2, 0, 0.5, false},
    };
    for (const ReverseRow& row : rows) {
        bool state = row.state;
        EXPECT_EQ(ReverseBrakeActive(state, row.velocity, row.input, row.previous), row.result) << row.what;
        EXPECT_EQ(state, row.result) << row.what;
    }
}

TEST(ReverseAsAbsBrake, SlowsToAStopAndDrivesBackOnlyAfterARelease) {
    cCarCam car = rollingCar(2.0);
    car.dGasPedalInput_prev = -0.001;
    for (int i = 0; i < 60; ++i) {
        gas(car).raw = -1.0;
        StepCar(car, kFrame);
    }
    EXPECT_LE(std::abs(gas(car).value), 1e-8);
    const double stopped = car.qTransCarAbs.position.z;
    EXPECT_LT(stopped, -1.0) << "the way of the braking";
    for (int i = 0; i < 20; ++i) {
        gas(car).raw = -1.0;
        StepCar(car, kFrame);
    }
    EXPECT_NEAR(car.qTransCarAbs.position.z, stopped, 1e-6) << "held on it stays";
    gas(car).raw = 0.0;
    StepCar(car, kFrame);
    for (int i = 0; i < 50; ++i) {
        gas(car).raw = -1.0;
        StepCar(car, kFrame);
    }
    EXPECT_LT(gas(car).value, -0.2) << "pressed anew it drives back";
    EXPECT_GT(car.qTransCarAbs.position.z, stopped + 0.1);
}

}  // namespace
}  // namespace ond::ovs::addon
