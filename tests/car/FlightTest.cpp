// Flight: wheels off the ground, gravity, levelling, landing.
#include <gtest/gtest.h>

#include "car/Fields.h"
#include "car/QuietCar.h"
#include "car/StepCar.h"
#include "car/Suspension.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::isClose;
using test::quietCar;
using Q = Quat<double>;
using V = Vector3<double>;

constexpr double kFrame = 0.04;
constexpr double kLength = 3.522;

cCarCam flyingCar(int wheels) {
    cCarCam car = quietCar();
    for (int i = 0; i < wheels; ++i) car.pcWheel[i].bInAir = true;
    return car;
}

TEST(Flight, OnTheGroundNothingChanges) {
    cCarCam car = quietCar();
    const cCarCam before = car;
    UpdateFlight(car, kFrame);
    EXPECT_TRUE(test::changedFields(before, car).empty());
}

TEST(Flight, OneWheelOffTheGroundIsEnough) {
    for (int wheel = 0; wheel < 4; ++wheel) {
        cCarCam car = quietCar();
        car.pcWheel[wheel].bInAir = true;
        UpdateFlight(car, kFrame);
        EXPECT_TRUE(car.bCarInTheAir) << wheel;
        EXPECT_FALSE(car.bAllWheelsInAir) << wheel;
        EXPECT_FALSE(car.bTakeOffArmed) << wheel;
    }
    cCarCam car = flyingCar(4);
    UpdateFlight(car, kFrame);
    EXPECT_TRUE(car.bAllWheelsInAir);
    car.pcWheel[2].bInAir = false;
    UpdateFlight(car, kFrame);
    EXPECT_TRUE(car.bAllWheelsInAir) << "until all four are down";
}

TEST(Flight, ALandingIsTheOneFrameInWhichAllCameDown) {
    cCarCam car = flyingCar(4);
    UpdateFlight(car, kFrame);
    EXPECT_FALSE(car.bJustLanded);
    for (auto& w : car.pcWheel) w.bInAir = false;
    UpdateFlight(car, kFrame);
    EXPECT_TRUE(car.bJustLanded);
    EXPECT_FALSE(car.bCarInTheAir);
    EXPECT_FALSE(car.bAllWheelsInAir);
    EXPECT_TRUE(car.bTakeOffArmed);
    UpdateFlight(car, kFrame);
    EXPECT_FALSE(car.bJustLanded);
}

TEST(Flight, ALandingThatBouncesKeepsItsFlag) {
    cCarCam car = flyingCar(4);
    car.bJustLanded = true;
    UpdateFlight(car, kFrame);
    EXPECT_TRUE(car.bJustLanded) << "only a frame on the ground writes it";
}

TEST(Flight, GravityAcceleratesTheIncrement) {
    cCarCam car = flyingCar(1);
    car.bGravityOn = true;
    car.fGravity = 0.5;
    car.vGravityDir = {0.6, -0.8, 0};
    car.dSimStep = 0.005;
    car.qTransCarAbsIncr.position = {0, 0, -0.02};
    UpdateFlight(car, kFrame);
    const double pull = 0.5 * 30.0 * 0.005 * 0.04 * 30.0 * kLength / 4.0;
    EXPECT_TRUE(isClose(car.qTransCarAbsIncr.position, V(0.6 * pull, -0.8 * pull, -0.02)));
}

TEST(Flight, WithoutGravityTheIncrementStays) {
    cCarCam car = flyingCar(4);
    car.qTransCarAbsIncr.position = {0, 0, -0.02};
    UpdateFlight(car, kFrame);
    EXPECT_EQ(car.qTransCarAbsIncr.position, V(0, 0, -0.02));
}

TEST(Flight, TheSpeedHasACap) {
    cCarCam car = flyingCar(4);
    car.dScaleRelMaxJumpVelocity = 0.1;
    car.dSimStep = 0.004;
    car.qTransCarAbsIncr.position = {3, 0, -4};
    UpdateFlight(car, kFrame);
    const double cap = kLength * 0.1 * 0.004 / kFrame;
    EXPECT_TRUE(isClose(car.qTransCarAbsIncr.position, V(0.6 * cap, 0, -0.8 * cap)));
}

TEST(Flight, TurnsToTheGravityOrientationSmoothedTwice) {
    cCarCam car = flyingCar(4);
    const Q start(0, std::sin(0.3), 0, std::cos(0.3));
    const Q goal(std::sin(0.2), 0, 0, std::cos(0.2));
    car.qTransCarAbs.rotation = start;
    car.qGravity = goal;
    car.QGravityFilterMem = Q(0, 0, 1, 0);
    UpdateFlight(car, 0.02);
    // The memory starts from the car at take-off and goes a fortieth of the way; the car a fortieth of that.
    const Q memory = Normalized(start + 0.025 * (goal - start));
    EXPECT_TRUE(isClose(car.QGravityFilterMem, memory));
    EXPECT_TRUE(isClose(car.qTransCarAbs.rotation, Normalized(start + 0.025 * (memory - start))));
    UpdateFlight(car, 0.02);
    EXPECT_TRUE(isClose(car.QGravityFilterMem, Normalized(memory + 0.025 * (goal - memory))))
        << "and is not started again in the same flight";
}

TEST(Flight, LevelsTheCarInTheEnd) {
    cCarCam car = flyingCar(4);
    car.qTransCarAbs.rotation = Q(0.5, 0.5, 0.5, 0.5);
    for (int i = 0; i < 1000; ++i) UpdateFlight(car, kFrame);
    EXPECT_TRUE(isClose(car.qTransCarAbs.rotation, Q(), 1e-9));
}

TEST(Flight, BringsAllQuaternionsToOneHemisphere) {
    cCarCam car = flyingCar(4);
    car.bTakeOffArmed = false;
    car.qGravity = Q(0, -0.6, 0, -0.8);
    car.QGravityFilterMem = Q(0, -0.6, 0, -0.8);
    car.qTransCarAbs.rotation = Q(0, -0.6, 0, -0.8);
    UpdateFlight(car, kFrame);
    EXPECT_EQ(car.qGravity, Q(0, 0.6, 0, 0.8));
    EXPECT_TRUE(isClose(car.QGravityFilterMem, Q(0, 0.6, 0, 0.8)));
    EXPECT_TRUE(isClose(car.qTransCarAbs.rotation, Q(0, 0.6, 0, 0.8))) << "a car with a negative w is turned over";
}

TEST(Flight, LandingLosesGripUnlessTheSkiddingInputIsLarger) {
    cCarCam car = flyingCar(1);
    UpdateFlight(car, kFrame);
    EXPECT_EQ(car.dWantedSkiddingValue, 0.05);
    car = flyingCar(1);
    car.dSkiddingOffset = 0.02;
    car.pcInput[pcInput_SKIDDING].raw = 0.03;
    UpdateFlight(car, kFrame);
    EXPECT_EQ(car.dWantedSkiddingValue, 1.0) << "equal is not larger";
    car.dSkiddingOffset = 0.019;
    UpdateFlight(car, kFrame);
    EXPECT_EQ(car.dWantedSkiddingValue, 0.05);
}

TEST(Flight, WithoutGravityTheCarDrivesOnOverTheGapAndStillLevels) {
    cCarCam car = flyingCar(4);
    car.qTransCarAbs.rotation = Q(std::sin(0.1), 0, 0, std::cos(0.1));
    car.pcInput[pcInput_GAS_PEDAL].value = 2.0;
    car.pcInput[pcInput_GAS_PEDAL].response = 1e-9;
    const double before = car.qTransCarAbs.rotation.x;
    for (int i = 0; i < 25; ++i) StepCar(car, kFrame);
    EXPECT_LT(car.qTransCarAbs.position.z, -3.0) << "the arc still moves it";
    EXPECT_LT(car.qTransCarAbs.rotation.x, 0.99 * before);
    EXPECT_GT(car.qTransCarAbs.rotation.x, 0.0);
}

}  // namespace
}  // namespace ond::ovs::addon
