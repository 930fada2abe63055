// The drive: from the pedal to the car's place after a sub-step.
#include "car/Drive.h"

#include <gtest/gtest.h>

#include "car/Inputs.h"
#include "car/QuietCar.h"
#include "car/StepCar.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::isClose;
using test::isWithin;
using test::quietCar;
using Q = Quat<double>;
using V = Vector3<double>;

constexpr double kFrame = 0.04;
constexpr double kStep = 0.004;
constexpr double kLength = 3.522;
// Wheelbase of the model at the default turn base: half a length, because the front axle counts as there, and the back
// axle's z.
constexpr double kAxleToTurningAxis = 1.761 + 1.044;

InputChannel& gas(cCarCam& c) { return c.pcInput[pcInput_GAS_PEDAL]; }
InputChannel& steer(cCarCam& c) { return c.pcInput[pcInput_STEERING_WHEEL]; }

TEST(GasPedal, ClimbsBySlicesOfTheAccelerationAndReachesFullAfterOneAndAHalfSeconds) {
    cCarCam car = quietCar();
    int frames = 0;
    double before = 0.0;
    do {
        gas(car).raw = 1.0;
        UpdateGasPedal(car, kFrame);
        ++frames;
        if (frames < 38) {
            EXPECT_TRUE(isClose(gas(car).raw - before, 2.0 * kFrame / 3.0)) << "0.0267 a frame";
        }
        before = gas(car).raw;
    } while (gas(car).raw < 1.0 && frames < 100);
    EXPECT_EQ(frames, 38);
    EXPECT_EQ(gas(car).raw, 1.0);
    EXPECT_EQ(car.dGasPedalInput_prev, 1.0);
}

TEST(GasPedal, LettingGoPassesTheLimit) {
    cCarCam car = quietCar();
    car.dGasPedalInput_prev = 1.0;
    gas(car).value = 3.0;
    gas(car).raw = 0.0;
    UpdateInputs(car, kFrame);
    EXPECT_EQ(gas(car).raw, 0.0);
    EXPECT_EQ(car.dGasPedalInput_prev, 0.0);
    EXPECT_TRUE(isClose(gas(car).value, 3.0 * 0.995 * 0.995)) << "the channel's filter alone slows the car";
}

TEST(GasPedal, EasingOffIsLimitedToo) {
    cCarCam car = quietCar();
    car.dGasPedalInput_prev = 1.0;
    gas(car).value = 3.0;
    gas(car).raw = 0.2;
    UpdateGasPedal(car, kFrame);
    EXPECT_TRUE(isClose(gas(car).raw, 1.0 - 2.0 * kFrame / 3.0));
}

struct LimitRow {
    const char* what;
    double previous;
    double input;
    double value;
    bool armed;
    bool booster;
    double result;
};

TEST(GasPedal, LimitsOnlyInTheDirectionOfTheWantedChange) {
    const double slice = 2.0 * kFrame / 3.0;
    const LimitRow rows[] = {
        {"speeding up", 0.1, 0.9, 0.0, true, false, 0.1 + slice},
        {"speeding up in small steps", 0.1, 0.1 + slice / 2, 0.0, true, false, 0.1 + slice / 2},
        {"speeding up although the pedal falls", 0.9, 0.4, 0.0, true, false, 0.4},
        {"slowing although the pedal rises", -0.9, 0.4, 3.0, true, false, 0.4},
        {"slowing", 0.9, 0.4, 3.0, true, false, 0.9 - slice},
        {"slowing into reverse", 0.0, -1.0, 3.0, true, false, -slice},
        {"exactly at the wanted velocity", 0.0, 0.5, 1.5, true, false, 0.5},
        {"braking", 0.0, -1.0, 3.0, false, false, -1.0},
        {"under booster", 0.0, 1.0, 0.0, true, true, 1.0},
    };
    for (const LimitRow& row : rows) {
        cCarCam car = quietCar();
        car.dGasPedalInput_prev = row.previous;
        car.bBrakeArmed = row.armed;
        car.bBoosterOn = row.booster;
        gas(car).value = row.value;
        gas(car).raw = row.input;
        UpdateGasPedal(car, kFrame);
        EXPECT_TRUE(isClose(gas(car).raw, row.result)) << row.what;
        EXPECT_EQ(car.dGasPedalInput_prev, gas(car).raw) << row.what;
    }
}

TEST(GasPedal, AddsTheDeviceToAutonomousDriving) {
    cCarCam car = quietCar();
    car.bAutonomousMode = true;
    gas(car).maximum = 2.0;  // halving is exact, so the wanted velocity equals the value and nothing is limited
    gas(car).response = 0.5;
    gas(car).value = 1.5;
    gas(car).raw = 0.25;
    UpdateGasPedal(car, 0.02);
    EXPECT_EQ(car.dGasPedalInputFilterMem, 0.125);
    EXPECT_EQ(gas(car).value, 1.625);
    EXPECT_EQ(gas(car).raw, 0.8125);
    EXPECT_EQ(car.dGasPedalInput_prev, 0.8125);
    car.bAutonomousMode = false;
    UpdateGasPedal(car, 0.02);
    EXPECT_EQ(car.dGasPedalInputFilterMem, 0.0);
}

TEST(StepDrive, AStandingCarKeepsADirection) {
    cCarCam car = quietCar();
    StepDrive(car, kFrame, kStep);
    EXPECT_EQ(gas(car).value, 1e-8);
    EXPECT_TRUE(isClose(car.dVelocity, 3.522e-8));
    EXPECT_LT(Length(car.qTransCarAbs.position), 1e-9) << "it creeps by nothing visible";
    EXPECT_LT(car.qTransCarAbs.position.z, 0.0) << "but forward";
    gas(car).value = -1e-9;
    StepDrive(car, kFrame, kStep);
    EXPECT_EQ(gas(car).value, -1e-8);
}

TEST(StepDrive, GoesStraightOnALongNegativeRadius) {
    cCarCam car = quietCar();
    gas(car).value = 2.0;
    StepDrive(car, kFrame, kStep);
    EXPECT_TRUE(isClose(car.fCarLocalYawIncr, -2.0 * kLength * kStep / 1e45)) << "of the sign against the velocity's";
    EXPECT_TRUE(isWithin(car.qTransCarAbs.position.x, 0.0, 1e-40));
    EXPECT_TRUE(isClose(car.qTransCarAbs.position.z, -2.0 * kLength * kStep));
    gas(car).value = -2.0;
    StepDrive(car, kFrame, kStep);
    EXPECT_TRUE(isClose(car.fCarLocalYawIncr, 2.0 * kLength * kStep / 1e45));
}

struct TurnRow {
    double steering;
    double turnBase;
    double radius;
};

TEST(ComputeTurn, MeasuresFromTheFrontAxleToTheTurningAxis) {
    const TurnRow rows[] = {
        {0.3, 0.0, -kAxleToTurningAxis / std::tan(0.3)},
        {-0.3, 0.0, kAxleToTurningAxis / std::tan(0.3)},
        // A turn base of 0.5 shifts the axis forward by half of half a length.
        {0.3, 0.5, -(kAxleToTurningAxis - 0.5 * 1.761) / std::tan(0.3)},
        {0.0, 0.0, -1e45},
        // No circle is tighter than a hundredth of a length.
        {1.5707649108683606, 0.0, -0.01 * kLength},
        {-1.5707649108683606, 0.0, 0.01 * kLength},
        {1e-300, 0.0, -1e45},
        {-1e-300, 0.0, 1e45},
    };
    for (const TurnRow& row : rows) {
        cCarCam car = quietCar();
        car.dTurnBase = row.turnBase;
        car.fSteeringAngle = row.steering;
        const TurnGeometry turn = ComputeTurn(car);
        EXPECT_TRUE(isClose(turn.radius, row.radius)) << row.steering;
        EXPECT_TRUE(isClose(turn.turnBase, row.turnBase - 1.044 / 1.761));
    }
}

TEST(StepDrive, PlacesTheCarAlongItsArc) {
    cCarCam car = quietCar();
    car.qTransCarAbs = {V(10, 0, 5), Q(0, std::sin(0.4), 0, std::cos(0.4))};
    gas(car).value = 2.0;
    steer(car).value = 0.3;
    StepDrive(car, kFrame, kStep);
    const double way = 2.0 * kLength * kStep;
    const double yaw = -way * std::tan(0.3) / kAxleToTurningAxis;
    EXPECT_EQ(car.fSteeringAngle, 0.3);
    EXPECT_TRUE(isClose(car.fCarLocalYawIncr, yaw)) << "positive steering turns to the right, a negative yaw";
    EXPECT_TRUE(isClose(car.qTransCarAbsIncr.rotation, Q(0, std::sin(yaw / 2), 0, std::cos(yaw / 2))));
    // The back axle, 1.044 behind the origin, stays on the arc, so the origin swings out by that lever.
    const V local(-1.044 * std::tan(yaw), 0, -way);
    const V world(local.x * std::cos(0.8) + local.z * std::sin(0.8), 0,
                  -local.x * std::sin(0.8) + local.z * std::cos(0.8));
    EXPECT_TRUE(isClose(car.vWantedPosIncr, world));
    EXPECT_TRUE(isClose(car.qTransCarAbsIncr.position, world)) << "full grip follows at once";
    EXPECT_TRUE(isClose(car.qTransCarAbs.position, V(10, 0, 5) + world));
    const double heading = 0.8 + yaw;
    EXPECT_TRUE(isClose(car.qTransCarAbs.rotation, Q(0, std::sin(heading / 2), 0, std::cos(heading / 2))));
    EXPECT_EQ(car.qTransCarStart.position, V(10, 0, 5)) << "the start of the sub-step";
}

TEST(StepDrive, ClosesACircle) {
    cCarCam car = quietCar();
    gas(car).value = 1.0;
    steer(car).value = 0.3;
    const double yaw = kLength * 0.002 * std::tan(0.3) / kAxleToTurningAxis;
    const int steps = static_cast<int>(std::round(2 * 3.141592653589793 / yaw));
    double farthest = 0.0;
    for (int i = 0; i < steps; ++i) {
        StepDrive(car, kFrame, 0.002);
        farthest = std::max(farthest, Length(car.qTransCarAbs.position));
    }
    const double radius = kAxleToTurningAxis / std::tan(0.3);
    EXPECT_LT(Length(car.qTransCarAbs.position), 0.02);
    EXPECT_TRUE(isClose(farthest, 2 * std::sqrt(radius * radius + 1.044 * 1.044), 0.01));
}

TEST(StepDrive, SteeringBeyondARightAngleIsClampedForTheArcButNotForTheBurnout) {
    cCarCam car = quietCar();
    gas(car).value = 1.0;
    steer(car).value = 1.6;
    StepDrive(car, kFrame, kStep);
    EXPECT_EQ(car.fSteeringAngle, 1.5707649108683606);
    const double arc = -kLength * kStep / (0.01 * kLength);
    EXPECT_TRUE(isClose(car.fCarLocalYawIncr, arc));
    car = quietCar();
    gas(car).value = 1.0;
    steer(car).value = 1.6;
    car.pcInput[pcInput_BURNOUT].value = 2.0;
    StepDrive(car, kFrame, kStep);
    EXPECT_TRUE(isClose(car.fCarLocalYawIncr, arc - 2.0 * 1.6 * kStep));
}

struct GripRow {
    double skid;
    double raw;
    double wantedGrip;  ///< what the yaw follows with
};

TEST(StepDrive, LiftsLightSkiddingTowardsFullGrip) {
    const double lift = 1.0 - kStep / 0.04 * 0.2;
    const GripRow rows[] = {{0.5, 0.5, 0.5},
                            {0.3 + 1e-9, 0.5, 0.7 - 1e-9},
                            {0.29, 0.5, 1 - 0.29 * lift},
                            {0.2, 0.5, 1 - 0.2 * lift},
                            {0.0105, 0.5, 1 - 0.0105 * lift},
                            {0.0101, 0.5, 1.0},
                            {0.009, 0.5, 1.0}};
    for (const GripRow& row : rows) {
        cCarCam car = quietCar();
        gas(car).value = 2.0;
        steer(car).value = 0.3;
        car.pcInput[pcInput_SKIDDING].value = row.skid;
        car.pcInput[pcInput_SKIDDING].raw = row.raw;
        StepDrive(car, kFrame, kStep);
        EXPECT_TRUE(isClose(car.dWantedSkiddingValue, row.wantedGrip)) << row.skid;
        const double share = row.wantedGrip == 1.0 ? 1.0 : kStep / 0.04 * row.wantedGrip;
        const double yaw = -2.0 * kLength * kStep * std::tan(0.3) / kAxleToTurningAxis;
        EXPECT_TRUE(isClose(car.fCarLocalYawIncr, share * yaw)) << row.skid;
        EXPECT_TRUE(isClose(car.qTransCarAbsIncr.position.z, share * -2.0 * kLength * kStep)) << row.skid;
    }
}

TEST(StepDrive, TotalSkidBehavesLikeFullGrip) {
    cCarCam car = quietCar();
    gas(car).value = 2.0;
    car.pcInput[pcInput_SKIDDING].value = 1.0;
    car.pcInput[pcInput_SKIDDING].raw = 1.0;
    StepDrive(car, kFrame, kStep);
    EXPECT_EQ(car.dWantedSkiddingValue, 0.0);
    EXPECT_EQ(car.qTransCarAbsIncr.position, car.vWantedPosIncr) << "a factor of exactly 0 passes through";
    EXPECT_LT(car.vWantedPosIncr.z, -0.02);
}

TEST(StepDrive, ASlidingCarKeepsItsOldMovement) {
    cCarCam car = quietCar();
    car.qTransCarAbsIncr.position = {0.02, 0, 0};
    gas(car).value = 2.0;
    car.pcInput[pcInput_SKIDDING].value = 0.9;
    car.pcInput[pcInput_SKIDDING].raw = 1.0;
    StepDrive(car, kFrame, kStep);
    const double share = kStep / 0.04 * 0.1;
    EXPECT_TRUE(isClose(car.qTransCarAbsIncr.position.x, 0.02 * (1 - share), 1e-11));
    EXPECT_TRUE(isClose(car.qTransCarAbsIncr.position.z, -2.0 * kLength * kStep * share, 1e-11));
}

TEST(StepDrive, GripComesBackAfterASkid) {
    cCarCam car = quietCar();
    gas(car).value = 2.0;
    car.dWantedSkiddingValue = 0.1;
    car.dSkiddingReleaseResponseFactor = 0.5;
    car.dSkidBrakeStopFactor = 0.2;
    car.bSkidBrakeValueOn = false;
    cCarCam fading = car;
    fading.bSkidBrakeValueOn = true;
    StepDrive(car, kFrame, kStep);
    const double back = 1.0 - 0.9 * (1 - kStep / 0.04 * 0.5);
    EXPECT_TRUE(isClose(car.dWantedSkiddingValue, back));
    EXPECT_TRUE(isClose(car.qTransCarAbsIncr.position.z, -2.0 * kLength * kStep * back * kStep / 0.04));
    StepDrive(fading, kFrame, kStep);
    EXPECT_TRUE(isClose(fading.dWantedSkiddingValue, 1.0 - 0.9 * (1 - kStep / 0.04 * 0.5 * 0.2)))
        << "while the skid brake fades out its stop factor slows the return";
}

TEST(StepDrive, ReturningGripIsLiftedAboveAHalfAndFullAboveNinetyNine) {
    cCarCam car = quietCar();
    car.dWantedSkiddingValue = 0.6;
    car.dSkiddingReleaseResponseFactor = 0.5;
    StepDrive(car, kFrame, kStep);
    EXPECT_TRUE(isClose(car.dWantedSkiddingValue, 1.0 - 0.4 * (1 - 0.1 * 0.5) * (1 - 0.1 * 0.2)));
    car.dWantedSkiddingValue = 0.9899;
    StepDrive(car, kFrame, kStep);
    EXPECT_EQ(car.dWantedSkiddingValue, 1.0);
}

TEST(StepDrive, UnderTheSkidBrakeAHeldSkidIsARelease) {
    cCarCam car = quietCar();
    car.pcInput[pcInput_SKIDDING].raw = 1.0;
    car.pcInput[pcInput_SKIDDING].value = 0.5;
    car.dWantedSkiddingValue = 0.2;
    car.dSkiddingReleaseResponseFactor = 0.5;
    car.bSkidBreakingOnDisableFeatures = true;
    StepDrive(car, kFrame, kStep);
    EXPECT_TRUE(isClose(car.dWantedSkiddingValue, 0.5 - 0.3 * 0.95));
}

TEST(StepDrive, ASlideBypassesTheArc) {
    cCarCam car = quietCar();
    gas(car).value = 2.0;
    steer(car).value = 0.5;
    car.bSkidBreakingOn = true;
    car.vSkidBrakePosIncr = {0.01, 0, -0.03};
    car.dSkidBrakeLocalYawIncr = 0.002;
    StepDrive(car, kFrame, kStep);
    EXPECT_EQ(car.fCarLocalYawIncr, 0.002);
    EXPECT_TRUE(isClose(car.qTransCarAbs.position, V(0.01, 0, -0.03)));
}

TEST(StepDrive, TheYawOfAFadingSlideIsAddedToTheArc) {
    cCarCam car = quietCar();
    gas(car).value = 2.0;
    steer(car).value = 0.3;
    car.dSkidBrakeLocalYawIncr = 0.002;
    StepDrive(car, kFrame, kStep);
    EXPECT_TRUE(isClose(car.fCarLocalYawIncr, 0.002 - 2.0 * kLength * kStep * std::tan(0.3) / kAxleToTurningAxis));
}

TEST(StepDrive, ABurnoutPivotsAboutTheFrontAxle) {
    cCarCam car = quietCar();
    car.wheelGeom[0].z = -1.0;
    car.wheelGeom[1].z = -1.2;
    steer(car).value = 0.5;
    car.pcInput[pcInput_BURNOUT].value = 2.0;
    StepDrive(car, kFrame, kStep);
    const double turn = -2.0 * 0.5 * kStep;
    // The sum of both front wheels' z, times the way of a unit vector ahead under the turn.
    EXPECT_TRUE(isClose(car.vWantedPosIncr.x, -2.2 * -std::sin(turn) - 1.044 * std::tan(turn), 1e-5));
    EXPECT_TRUE(isWithin(car.vWantedPosIncr.z, -2.2 * (1 - std::cos(turn)) - 1e-8 * kLength * kStep, 1e-15));
}

TEST(StepDrive, AccelerationIsTheChangeOfTheIncrementOverTheStepTwice) {
    cCarCam car = quietCar();
    car.qTransCarAbs.rotation = {0, std::sqrt(0.5), 0, std::sqrt(0.5)};
    gas(car).value = 2.0;
    car.qTransCarAbsIncr.position = {-0.02, 0, 0};
    StepDrive(car, kFrame, kStep);
    // Heading -X, from 0.02 to 2 L h a step.
    const double acceleration = (2.0 * kLength * kStep - 0.02) / kStep / kStep;
    EXPECT_TRUE(isClose(car.vWorldAcceleration.x, -acceleration, 1e-11));
    EXPECT_TRUE(isClose(car.vLocalAcceleration.z, -acceleration, 1e-11)) << "speeding up points ahead";
    EXPECT_EQ(car.qTransCarAbsIncr_prev.position, V(-0.02, 0, 0));
}

TEST(StepDrive, InTheAirUnderGravitySteeringChangesNothing) {
    cCarCam car = quietCar();
    car.bCarInTheAir = true;
    car.bGravityOn = true;
    car.fCarLocalYawIncr = 0.01;
    car.qTransCarAbsIncr = {V(0.01, -0.02, -0.03), Q(0, std::sin(0.005), 0, std::cos(0.005))};
    gas(car).value = 2.0;
    steer(car).value = 0.5;
    car.pcInput[pcInput_BURNOUT].value = 1.0;
    StepDrive(car, kFrame, kStep);
    EXPECT_TRUE(isClose(car.qTransCarAbs.position, V(0.01, -0.02, -0.03)));
    EXPECT_TRUE(isClose(car.qTransCarAbs.rotation, Q(0, std::sin(0.005), 0, std::cos(0.005))));
    EXPECT_EQ(car.fCarLocalYawIncr, 0.01);
    EXPECT_EQ(car.randomValue_burnout, 10000) << "no burnout in the air";
    StepDrive(car, kFrame, kStep);
    EXPECT_TRUE(isClose(car.qTransCarAbs.rotation, Q(0, std::sin(0.01), 0, std::cos(0.01)))) << "the yaw goes on";
}

TEST(StepDrive, WithoutGravityItDrivesThroughTheAir) {
    cCarCam flying = quietCar();
    flying.bCarInTheAir = true;
    gas(flying).value = 2.0;
    steer(flying).value = 0.5;
    cCarCam driving = flying;
    driving.bCarInTheAir = false;
    StepDrive(flying, kFrame, kStep);
    StepDrive(driving, kFrame, kStep);
    EXPECT_EQ(flying.qTransCarAbs, driving.qTransCarAbs);
    EXPECT_LT(flying.qTransCarAbs.position.z, -0.02);
}

TEST(StepDrive, TheBodysLeverIsItsCentreOverTheMeanRadius) {
    cCarCam car = quietCar();
    car.fGravity = 0.0;
    car.wheelGeom[3].radius = 0.3;
    car.cCarBody.fRelYPos = 0.01;
    car.qTransCarAbsIncr.position = {0, 0, 0.0001};  // from backwards to the creep ahead in one sub-step
    for (auto& w : car.pcWheel) w.fSuspZeroDiff = w.fSuspZeroDiff_prev = 0.0;
    StepDrive(car, kFrame, kStep);
    const double lever = 0.01 + 0.15 + kLength / 6.0 - (3 * 0.26 + 0.3) / 4 * 0.95;
    const double inertia = 50.0 / 6.0 * kLength * kLength;
    EXPECT_TRUE(isClose(car.vAcceleration.x, -50.0 * car.vLocalAcceleration.z * lever / inertia, 1e-11));
    EXPECT_LT(car.vLocalAcceleration.z, -5.0);
}

TEST(StepDrive, TheYawTurnsInTheCarsOwnFrame) {
    // A car on a slope turns about its own up axis: the increment is applied before the car's rotation.
    cCarCam car = quietCar();
    const Q slope(std::sin(0.2), 0, 0, std::cos(0.2));
    car.qTransCarAbs.rotation = slope;
    car.bSkidBreakingOn = true;
    car.dSkidBrakeLocalYawIncr = 0.3;
    StepDrive(car, kFrame, kStep);
    EXPECT_TRUE(isClose(car.qTransCarAbs.rotation, Multiply(Q(0, std::sin(0.15), 0, std::cos(0.15)), slope)));
}

}  // namespace
}  // namespace ond::ovs::addon
