// Steering: from the device to the angle, and the yaw that each wheel shows.
#include "car/Steering.h"

#include <gtest/gtest.h>

#include "car/Drive.h"
#include "car/QuietCar.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::isClose;
using test::isWithin;
using test::quietCar;

constexpr double kFrame = 0.04;

InputChannel& gas(cCarCam& c) { return c.pcInput[pcInput_GAS_PEDAL]; }
InputChannel& steer(cCarCam& c) { return c.pcInput[pcInput_STEERING_WHEEL]; }

/// A car whose steering is not limited in rate.
cCarCam nimbleCar() {
    cCarCam car = quietCar();
    car.dVelRelMaxSteeringChangeVel = 1e6;
    return car;
}

TEST(SteeringWheel, SteersLessTheFasterTheCar) {
    for (const double velocity : {5.0, -5.0}) {
        cCarCam car = nimbleCar();
        gas(car).value = velocity;
        steer(car).raw = 0.8;
        UpdateSteeringWheel(car, kFrame);
        EXPECT_EQ(steer(car).raw, 0.4) << "a factor of 0.2 at 5 lengths a second halves the input";
    }
}

TEST(SteeringWheel, TurnsAtTheLimitedRate) {
    cCarCam car = quietCar();
    steer(car).raw = 0.5;
    UpdateSteeringWheel(car, kFrame);
    EXPECT_EQ(steer(car).raw, 0.08);
    steer(car).raw = 0.5;
    UpdateSteeringWheel(car, kFrame);
    EXPECT_EQ(steer(car).raw, 0.16);
    EXPECT_EQ(car.dSteeringInput_prev, 0.16);
    steer(car).raw = -0.5;
    UpdateSteeringWheel(car, kFrame);
    EXPECT_TRUE(isClose(steer(car).raw, 0.08));
    steer(car).raw = 0.1;
    UpdateSteeringWheel(car, kFrame);
    EXPECT_EQ(steer(car).raw, 0.1) << "a small change is taken over as it is";
}

TEST(SteeringWheel, CentresTwiceAsFastWhenReleased) {
    cCarCam car = quietCar();
    car.dSteeringInput_prev = 0.5;
    steer(car).raw = 0.0;
    UpdateSteeringWheel(car, kFrame);
    EXPECT_TRUE(isClose(steer(car).raw, 0.34)) << "0.16 a frame";
    car.dSteeringInput_prev = 0.5;
    steer(car).raw = 1e-12;
    UpdateSteeringWheel(car, kFrame);
    EXPECT_TRUE(isClose(steer(car).raw, 0.42)) << "only an exact zero is a release";
}

struct SphereRow {
    const char* what;
    double radius;
    bool autonomous;
    Vector3<double> position;
    double heading;  ///< yaw of the car, 0 is -Z
    double expected;
};

TEST(SteeringWheel, AvoidsTheEdgeOfTheWorld) {
    const double c = std::cos(0.3);
    const SphereRow rows[] = {
        // Heading out along -Z with the way out to the right of it (+X): steered left, which is negative.
        {"out, way out to the right", 2, false, {8 * std::sin(0.3), 0, -8 * c}, 0, 0.1 - 2 * c},
        {"out, way out to the left", 2, false, {-8 * std::sin(0.3), 0, -8 * c}, 0, 0.1 + 2 * c},
        {"straight out counts as right", 2, false, {0, 0, -8}, 0, 0.1 - 2},
        {"hardly out", 2, false, {8, 0, -0.8}, 0, 0.1 - 2 * 0.8 / std::sqrt(64.64)},
        {"pointing in", 2, false, {0, 0, 8}, 0, 0.1},
        {"inside the sphere", 3, false, {0, 0, -8}, 0, 0.1},
        {"switched off", 0, false, {0, 0, -8}, 0, 0.1},
        {"driving by itself", 2, true, {0, 0, -8}, 0, 0.1},
    };
    for (const SphereRow& row : rows) {
        cCarCam car = nimbleCar();
        car.dWorldAvoidanceSphereRadius = row.radius;  // car lengths: 2 are 7.044
        car.bAutonomousMode = row.autonomous;
        car.qTransCarAbs.position = row.position;
        steer(car).raw = 0.1;
        UpdateSteeringWheel(car, kFrame);
        EXPECT_TRUE(isClose(car.dSteeringInput_prev, row.expected)) << row.what;
    }
}

TEST(SteeringWheel, TheLimitAlsoHoldsBackTheAvoidance) {
    cCarCam car = quietCar();
    car.dWorldAvoidanceSphereRadius = 2;
    car.qTransCarAbs.position = {0, 0, -8};
    steer(car).raw = 0.1;
    UpdateSteeringWheel(car, kFrame);
    EXPECT_EQ(steer(car).raw, -0.08);
}

TEST(SteeringWheel, NoiseGrowsWithTheRootOfTheSpeedAndIsRemembered) {
    cCarCam car = quietCar();
    car.dSteeringNoise = 0.1;
    car.dVelocity = -16.0;
    steer(car).raw = 0.5;
    UpdateSteeringWheel(car, kFrame);
    const double noise = 4.0 * (164963365.0 / 2147483648.0 - 0.5) * 0.1;
    EXPECT_TRUE(isClose(steer(car).raw, 0.08 + noise)) << "behind the limit";
    EXPECT_EQ(car.dSteeringInput_prev, steer(car).raw);
    EXPECT_EQ(car.randomValue_steeringNoise, 100001);
}

TEST(SteeringWheel, NoNoiseAtRestOrWithoutItsParameter) {
    cCarCam car = quietCar();
    car.dSteeringNoise = 0.1;
    steer(car).raw = 0.05;
    UpdateSteeringWheel(car, kFrame);
    EXPECT_EQ(steer(car).raw, 0.05);
    EXPECT_EQ(car.randomValue_steeringNoise, 100001) << "the number is drawn all the same";
    car.dSteeringNoise = 0.0;
    car.dVelocity = 16.0;
    UpdateSteeringWheel(car, kFrame);
    EXPECT_EQ(car.randomValue_steeringNoise, 100001);
}

TEST(SteeringWheel, AddsTheDeviceToAutonomousDriving) {
    cCarCam car = nimbleCar();
    car.bAutonomousMode = true;
    steer(car).response = 0.5;
    steer(car).value = 0.35;
    steer(car).raw = 0.2;
    UpdateSteeringWheel(car, 0.02);
    EXPECT_TRUE(isClose(car.dInputFilterMem, 0.25 * 0.2 * 0.7));
    EXPECT_TRUE(isClose(steer(car).value, 0.385));
    EXPECT_TRUE(isClose(steer(car).raw, 0.55));
    EXPECT_EQ(car.dSteeringInput_prev, 0.2) << "the limit remembers the device, not the sum";
    car.bAutonomousMode = false;
    UpdateSteeringWheel(car, 0.02);
    EXPECT_EQ(car.dInputFilterMem, 0.0);
}

TEST(WheelYaw, EachWheelPointsAlongItsOwnCircle) {
    cCarCam car = quietCar();
    gas(car).value = 1e-8;
    car.pcInput[pcInput_STEERING_WHEEL].value = 0.3;
    StepDrive(car, kFrame, 0.004);
    const double radius = 2.805 / std::tan(0.3);  // to the right of the car
    const double lever = 1.044 + 1.05;            // front wheels ahead of the turning axis
    EXPECT_TRUE(isClose(car.pcWheel[0].pfYaw, -std::atan2(lever, radius + 0.64), 1e-9)) << "outer";
    EXPECT_TRUE(isClose(car.pcWheel[1].pfYaw, -std::atan2(lever, radius - 0.64), 1e-9)) << "inner, turned further";
    EXPECT_LT(std::abs(car.pcWheel[2].pfYaw), 1e-9) << "the back wheels stand on the axis";
    EXPECT_LT(std::abs(car.pcWheel[3].pfYaw), 1e-9);
}

TEST(WheelYaw, WheelsTurnAtRestToo) {
    cCarCam car = quietCar();
    steer(car).value = 0.3;
    StepDrive(car, kFrame, 0.004);
    EXPECT_LT(car.pcWheel[0].pfYaw, -0.1);
    steer(car).value = -0.3;
    StepDrive(car, kFrame, 0.004);
    EXPECT_GT(car.pcWheel[0].pfYaw, 0.1);
    EXPECT_LT(car.pcWheel[0].pfYaw_prev, -0.1) << "the angle of the sub-step before";
}

TEST(WheelYaw, StraightOnIsAlmostNothing) {
    cCarCam car = quietCar();
    car.pcWheel[0].pfYaw = 0.5;
    car.pcWheel[1].pfYaw = 0.5;
    gas(car).value = 2.0;
    StepDrive(car, kFrame, 0.004);
    EXPECT_TRUE(isWithin(car.pcWheel[0].pfYaw, 0.0, 1e-40));
    EXPECT_TRUE(isWithin(car.pcWheel[1].pfYaw, 0.0, 1e-40));
    EXPECT_EQ(car.pcWheel[0].pfYaw_prev, 0.5);
}

TEST(WheelYaw, AWheelOnTheTurningAxisKeepsItsAngle) {
    cCarCam car = quietCar();
    car.fFrontAxleZ = -2.0;
    car.wheelGeom[3].z = 1.0;
    car.pcWheel[3].pfYaw = 0.25;
    car.pcWheel[3].pfYaw_prev = 0.125;
    car.dVelocity = 1.0;
    UpdateWheelYaw(car, -0.5, -8.0, 0.004);  // axis at -0.5 * -2 = 1
    EXPECT_EQ(car.pcWheel[3].pfYaw, 0.25);
    EXPECT_EQ(car.pcWheel[3].pfYaw_prev, 0.125);
    EXPECT_NE(car.pcWheel[2].pfYaw, 0.0) << "while its neighbour, slightly behind, turns the other way";
    EXPECT_GT(car.pcWheel[2].pfYaw * -car.pcWheel[0].pfYaw, 0.0);
}

TEST(WheelYaw, MeasuresTheRadiusAlongTheChord) {
    cCarCam car = quietCar();
    car.dVelocity = 100.0;
    UpdateWheelYaw(car, -1.044 / 1.761, -10.0, 0.05);  // a turn of half a radian in the step
    const double r = 2.5 / std::tan(-0.25);
    EXPECT_TRUE(isClose(car.pcWheel[0].pfYaw, std::atan2(-(1.044 + 1.05), -(r - 0.64)), 1e-11));
    EXPECT_FALSE(isClose(car.pcWheel[0].pfYaw, std::atan2(-(1.044 + 1.05), 10.0 + 0.64), 1e-4));
}

TEST(WheelYaw, WithoutAnyVelocityTheArcIsAlmostStraight) {
    cCarCam car = quietCar();
    car.dVelocity = 0.0;
    UpdateWheelYaw(car, -1.044 / 1.761, -10.0, 0.05);
    EXPECT_TRUE(isClose(car.pcWheel[0].pfYaw, (1.044 + 1.05) / 1e16, 1e-9)) << "a radius of 1e16";
}

TEST(WheelYaw, ATurnBaseInFrontOfTheBackAxleSteersAllFourWheels) {
    cCarCam car = quietCar();
    car.dTurnBase = 0.4;
    gas(car).value = 1.0;
    steer(car).value = 0.3;
    StepDrive(car, kFrame, 0.004);
    EXPECT_LT(car.pcWheel[0].pfYaw, -0.05);
    EXPECT_GT(car.pcWheel[2].pfYaw, 0.05) << "the back wheels turn against the front ones";
    EXPECT_GT(car.pcWheel[3].pfYaw, 0.05);
}

}  // namespace
}  // namespace ond::ovs::addon
