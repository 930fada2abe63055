// Autonomous mode: what the follower does with pedal, wheel and brake.
#include "car/Follow.h"

#include <gtest/gtest.h>

#include "car/Fields.h"
#include "car/QuietCar.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::isClose;
using test::quietCar;
using V = Vector3<double>;
using util::Matrix4;

constexpr double kFrame = 0.04;
constexpr double kLength = 3.522;
constexpr double kNose = kLength / 2;  // how far the nose is in front of it

InputChannel& gas(cCarCam& c) { return c.pcInput[pcInput_GAS_PEDAL]; }
InputChannel& steer(cCarCam& c) { return c.pcInput[pcInput_STEERING_WHEEL]; }
InputChannel& abs(cCarCam& c) { return c.pcInput[pcInput_ABS_BRAKE]; }

/// A chasing car without smoothing and without a limit of its steering.
cCarCam chaser() {
    cCarCam car = quietCar();
    car.bAutonomousMode = true;
    car.dVelRelMaxSteeringChangeVel = 1e9;
    gas(car).maximum = 30.0;  // the reach is 30 units
    return car;
}
FollowState directly() {
    FollowState follow;
    follow.dFollowAccRespFact = 0.0;
    follow.dAutoSteeringValueRespFact = 0.0;
    return follow;
}

TEST(FollowState, HasItsDefaults) {
    const FollowState follow;
    EXPECT_EQ(follow.dFollowAccelerationMult, 0.5);
    EXPECT_EQ(follow.dIgnoreSphereRadius, 0.5);
    EXPECT_EQ(follow.dReverseMaxVelMult, 0.5);
    EXPECT_EQ(follow.dFollowAccRespFact, 0.02);
    EXPECT_EQ(follow.dAutoSteeringValueRespFact, 0.2);
    EXPECT_EQ(follow.dFollowAccMem, 0.0);
    EXPECT_EQ(follow.dAutoSteeringValueMem, 0.0);
}

TEST(Follow, DoesNothingOutsideOfAutonomousMode) {
    cCarCam car = chaser();
    car.bAutonomousMode = false;
    FollowState follow = directly();
    const cCarCam before = car;
    UpdateFollow(car, follow, Matrix4(), {3, 0, -20}, kFrame);
    EXPECT_TRUE(test::changedFields(before, car).empty());
    EXPECT_EQ(follow.dFollowAccMem, 0.0);
}

TEST(Follow, WantsAVelocityInProportionToTheDistanceBeyondTheSphere) {
    cCarCam car = chaser();
    FollowState follow = directly();
    UpdateFollow(car, follow, Matrix4(), {0, 0, -kNose - 10}, kFrame);
    const double wanted = 0.5 * (10 - 0.5 * kLength) / kLength * 3.5;
    EXPECT_TRUE(isClose(gas(car).value, wanted)) << "straight ahead neither side has to come round";
    EXPECT_TRUE(isClose(follow.dFollowAccMem, wanted));
    EXPECT_EQ(steer(car).value, 0.0);
    EXPECT_EQ(abs(car).raw, 0.0);
}

TEST(Follow, TheHeightOfTheTargetDoesNotCount) {
    cCarCam car = chaser();
    FollowState follow = directly();
    UpdateFollow(car, follow, Matrix4(), {0, 55, -kNose - 10}, kFrame);
    EXPECT_TRUE(isClose(gas(car).value, 0.5 * (10 - 0.5 * kLength) / kLength * 3.5));
}

TEST(Follow, ThePlaceIsTakenInTheFrameOfTheBodyWithoutItsScale) {
    cCarCam car = chaser();
    FollowState follow = directly();
    Matrix4 body = ToMatrix(Quat<double>(0, std::sqrt(0.5), 0, std::sqrt(0.5)));  // heading -X
    SetScale(body, {2, 3, 1});
    body.setRow(3, {100, 0, 50});
    UpdateFollow(car, follow, body, {100 - kNose - 6, 0, 50 - 8}, kFrame);
    // 6 ahead and 8 to the right (-Z): a distance of 10.
    EXPECT_EQ(gas(car).value, 0.0) << "the steering still stands straight, so it waits";
    EXPECT_TRUE(isClose(car.dAutoSteeringValue, 0.8 * 0.7));
    EXPECT_TRUE(isClose(steer(car).value, 0.8 * 0.7));
    UpdateFollow(car, follow, body, {100 - kNose - 6, 0, 50 - 8}, kFrame);
    const double wanted = 0.6 * 0.5 * (10 - 0.5 * kLength) / kLength * 3.5;
    EXPECT_TRUE(isClose(gas(car).value, wanted)) << "once it points there, it drives";
}

TEST(Follow, TheReachIsTheGasMaximumTimesTheScaleOfTheZAxis) {
    cCarCam car = chaser();
    gas(car).maximum = 3.0;
    car.dAutoSteeringValue = 0.1;
    FollowState follow = directly();
    Matrix4 body;
    SetScale(body, {1, 1, 2});
    UpdateFollow(car, follow, body, {300, 0, -kNose - 400}, kFrame);
    const double wanted = 0.8 * 0.5 * (6.0 - 0.5 * kLength) / kLength * 3.5;
    EXPECT_TRUE(isClose(gas(car).value, wanted)) << "a far target counts as 6 units away";
}

TEST(Follow, TheWantedVelocityIsLimitedByTheGasMaximum) {
    cCarCam car = chaser();
    FollowState follow = directly();
    follow.dFollowAccelerationMult = 50;
    UpdateFollow(car, follow, Matrix4(), {0, 0, -kNose - 10}, kFrame);
    EXPECT_EQ(gas(car).value, 30.0);
}

TEST(Follow, InsideTheSphereItBrakesAndLeavesTheSteeringAlone) {
    cCarCam car = chaser();
    FollowState follow;
    follow.dFollowAccMem = 1.0;
    follow.dAutoSteeringValueMem = 0.1;
    car.dAutoSteeringValue = 0.2;
    steer(car).value = 0.33;
    UpdateFollow(car, follow, Matrix4(), {0.6, 0, -kNose - 0.8}, 0.02);
    EXPECT_EQ(abs(car).raw, 1.0);
    EXPECT_EQ(steer(car).value, 0.33);
    EXPECT_TRUE(isClose(follow.dFollowAccMem, 0.99)) << "the filters go on all the same, towards a wanted 0";
    EXPECT_TRUE(isClose(gas(car).value, 0.99));
    const double s = 0.6 * 0.7 / (0.2 * 0.5 * 0.99 + 1.0);
    EXPECT_TRUE(isClose(car.dAutoSteeringValue, s)) << "a wanted velocity of 0 steers as ahead";
    EXPECT_TRUE(isClose(follow.dAutoSteeringValueMem, 0.1 + 0.1 * (s - 0.1)));
}

TEST(Follow, TheEdgeOfTheSphereIsOutside) {
    cCarCam car = chaser();
    car.fBodyLength = 4.0;
    FollowState follow = directly();
    follow.dIgnoreSphereRadius = 0.5;
    UpdateFollow(car, follow, Matrix4(), {0, 0, -2.0 - 2.0}, kFrame);
    EXPECT_EQ(abs(car).raw, 0.0);
    steer(car).value = 0.33;
    UpdateFollow(car, follow, Matrix4(), {0, 0, -2.0 - 2.0}, kFrame);
    EXPECT_EQ(steer(car).value, 0.0) << "the steering is written";
    UpdateFollow(car, follow, Matrix4(), {0, 0, -2.0 - 1.999}, kFrame);
    EXPECT_EQ(abs(car).raw, 1.0);
}

TEST(Follow, ATargetAtTheNoseIsNoDirection) {
    cCarCam car = chaser();
    car.fBodyLength = 4.0;
    FollowState follow = directly();
    UpdateFollow(car, follow, Matrix4(), {0, 0.7, -2.0}, kFrame);
    EXPECT_EQ(abs(car).raw, 1.0);
    EXPECT_EQ(gas(car).value, 0.0);
    EXPECT_EQ(car.dAutoSteeringValue, 0.0);
    // Without a sphere the distance of 0 is not inside.
    abs(car).raw = 0.0;
    follow.dIgnoreSphereRadius = 0.0;
    UpdateFollow(car, follow, Matrix4(), {0, 0.7, -2.0}, kFrame);
    EXPECT_EQ(abs(car).raw, 0.0);
    EXPECT_EQ(gas(car).value, 0.0);
}

TEST(Follow, WaitsUntilTheSteeringHasCrossedOver) {
    cCarCam car = chaser();
    car.dVelRelMaxSteeringChangeVel = 2.0;
    car.dAutoSteeringValue = 0.2;  // to the right
    FollowState follow = directly();
    const V left(-8, 0, -kNose - 6);
    int waited = 0;
    while (waited < 100) {
        UpdateFollow(car, follow, Matrix4(), left, kFrame);
        if (gas(car).value != 0.0) break;
        ++waited;
    }
    // 0.08 a frame from 0.2: it stands at -0.04 after three frames and drives in the fourth.
    EXPECT_EQ(waited, 3);
    EXPECT_GT(gas(car).value, 0.5);
    EXPECT_TRUE(isClose(car.dAutoSteeringValue, -0.12));
}

TEST(Follow, AStraightSteeringCountsAsPointingAwayFromASidewaysTarget) {
    cCarCam car = chaser();
    FollowState follow = directly();
    UpdateFollow(car, follow, Matrix4(), {1, 0, -kNose - 10}, kFrame);
    EXPECT_EQ(gas(car).value, 0.0);
}

TEST(Follow, DrivesBackMoreSlowlyAndMirrorsTheSteering) {
    cCarCam car = chaser();
    FollowState follow = directly();
    follow.dReverseMaxVelMult = 0.25;
    UpdateFollow(car, follow, Matrix4(), {6, 0, -kNose + 8}, kFrame);
    const double wanted = -0.8 * 0.5 * (10 - 0.5 * kLength) / kLength * 3.5 * 0.25;
    EXPECT_TRUE(isClose(gas(car).value, wanted)) << "backwards it does not wait for the steering";
    EXPECT_TRUE(isClose(steer(car).value, -0.6 * 0.7 / (0.1 * -wanted + 1.0)));
}

TEST(Follow, SteersLessAtSpeedByHalfTheUsersFactor) {
    cCarCam car = chaser();
    car.dAutoSteeringValue = 0.1;
    car.dSpeedDependentTurnRadiusReductionFactor = 0.4;
    FollowState follow = directly();
    UpdateFollow(car, follow, Matrix4(), {6, 0, -kNose - 8}, kFrame);
    const double velocity = 0.8 * 0.5 * (10 - 0.5 * kLength) / kLength * 3.5;
    EXPECT_TRUE(isClose(steer(car).value, 0.6 * 0.7 / (0.2 * velocity + 1.0)));
}

TEST(Follow, LimitsAndSmoothsTheSteering) {
    cCarCam car = chaser();
    car.dVelRelMaxSteeringChangeVel = 2.0;
    FollowState follow;
    UpdateFollow(car, follow, Matrix4(), {-8, 0, -kNose - 6}, 0.02);
    EXPECT_TRUE(isClose(car.dAutoSteeringValue, -0.04));
    EXPECT_TRUE(isClose(follow.dAutoSteeringValueMem, -0.04 * 0.1));
    EXPECT_TRUE(isClose(steer(car).value, -0.004));
}

TEST(Follow, TheLimitIsOnTheChangeOfTheSteering) {
    cCarCam car = chaser();
    car.dVelRelMaxSteeringChangeVel = 2.0;
    car.dAutoSteeringValue = 0.44;
    FollowState follow;
    follow.dFollowAccRespFact = 1e-9;
    UpdateFollow(car, follow, Matrix4(), {6, 0, -kNose - 8}, 0.02);
    EXPECT_TRUE(isClose(car.dAutoSteeringValue, 0.42, 1e-9)) << "a small change to 0.42 is taken over at once";
}

TEST(Follow, ASlowWayAheadIsNotAReverse) {
    cCarCam car = chaser();
    FollowState follow = directly();
    follow.dReverseMaxVelMult = 0.25;
    UpdateFollow(car, follow, Matrix4(), {0, 0, -kNose - 2}, kFrame);
    EXPECT_TRUE(isClose(gas(car).value, 0.5 * (2 - 0.5 * kLength) / kLength * 3.5)) << "about 0.12 lengths a second";
}

TEST(Follow, SmoothsTheWantedVelocity) {
    cCarCam car = chaser();
    FollowState follow;
    UpdateFollow(car, follow, Matrix4(), {0, 0, -kNose - 10}, 0.02);
    EXPECT_TRUE(isClose(gas(car).value, 0.01 * 0.5 * (10 - 0.5 * kLength) / kLength * 3.5));
}

TEST(Follow, TheDevicesInputsStay) {
    cCarCam car = chaser();
    FollowState follow = directly();
    gas(car).raw = 0.3;
    steer(car).raw = -0.2;
    UpdateFollow(car, follow, Matrix4(), {6, 0, -kNose - 8}, kFrame);
    EXPECT_EQ(gas(car).raw, 0.3);
    EXPECT_EQ(steer(car).raw, -0.2);
}

}  // namespace
}  // namespace ond::ovs::addon
