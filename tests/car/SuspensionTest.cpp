// What the springs do to the body, and where body and wheels stand.
#include "car/Suspension.h"

#include <gtest/gtest.h>

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

constexpr double kStep = 0.004;
constexpr double kMass = 50.0;
constexpr double kLength = 3.522;
constexpr double kInertia = kMass / 12.0 * 2.0 * kLength * kLength;
constexpr double kRadius = 0.26 * 0.95;
constexpr double kBodyCentre = 0.7;  // lever over the mean radius: 0.453
constexpr double kLever = kBodyCentre - kRadius;

void step(cCarCam& car, double torqueX = 0.0) { UpdateBody(car, kStep, kBodyCentre, kRadius, torqueX); }

/// Gravity without torque, so that a body at an angle keeps still.
cCarCam weightlessCar() {
    cCarCam car = quietCar();
    car.fGravity = 0.0;
    return car;
}

TEST(SpringForce, IsAPlainSpringWithDamper) {
    double integral = 0.5;
    const double force = SpringForce(50, 0.004, 0.03, 0.028, 1e16, 0.25, 2000, 200, 0, integral, 500, 1);
    EXPECT_TRUE(isClose(force, -2000 * 0.03 - 200 * (0.002 / 0.004), 1e-11));
    EXPECT_TRUE(isClose(integral, 0.5 + 0.03 * 0.004));
}

TEST(SpringForce, LimitRadiusMassAndIntegralGainHaveNoEffect) {
    double a = 0.0;
    double b = 0.0;
    EXPECT_EQ(SpringForce(50, 0.004, 0.03, 0.028, 1e16, 0.25, 2000, 200, 0, a, 500, 1),
              SpringForce(1, 0.004, 0.03, 0.028, 1e-9, 99.0, 2000, 200, 77, b, 500, 1));
    EXPECT_EQ(a, b);
}

TEST(SpringForce, LimitsItsIntegralOnBothSides) {
    double integral = 499.9;
    (void)SpringForce(50, 1.0, 0.5, 0.5, 0, 0, 1, 1, 0, integral, 500, 1);
    EXPECT_EQ(integral, 500.0);
    integral = -499.9;
    (void)SpringForce(50, 1.0, -0.5, -0.5, 0, 0, 1, 1, 0, integral, 500, 1);
    EXPECT_EQ(integral, -500.0);
}

TEST(SpringForce, SeveralStepsShareTheTravelAndAddTheirForces) {
    double integral = 0.0;
    const double force = SpringForce(50, 0.004, 0.03, 0.026, 0, 0, 2000, 200, 0, integral, 500, 4);
    EXPECT_TRUE(isClose(force, 4 * (-2000 * 0.03 / 4 - 200 * (0.001 / 0.001)), 1e-11));
    EXPECT_TRUE(isClose(integral, 4 * (0.03 / 4) * 0.001));
}

TEST(Body, AParkedCarStandsStill) {
    cCarCam car = quietCar();
    for (int i = 0; i < 500; ++i) step(car);
    for (const auto& w : car.pcWheel) EXPECT_TRUE(isWithin(w.fSuspZeroDiff, 0.0, 1e-15));
    EXPECT_TRUE(isWithin(car.cCarBody.fRelYPos, 0.0, 1e-15)) << "no weight rests on the springs: no sag";
    EXPECT_TRUE(isWithin(car.cCarBody.fRelXAng, 0.0, 1e-15));
    EXPECT_TRUE(isWithin(car.cCarBody.fRelZAng, 0.0, 1e-15));
    EXPECT_TRUE(isClose(car.cCarBody.qTransAbs.position, V(0, 0.15, 0)));
}

TEST(Body, WheelsAtTheHeightOfTheOriginStretchTheSpringsByARadius) {
    cCarCam car = quietCar();
    for (auto& w : car.pcWheel) w.dWheelGroundNormalDiff = 0.0;
    step(car);
    for (const auto& w : car.pcWheel) EXPECT_TRUE(isClose(w.fSuspZeroDiff, kRadius));
}

TEST(Body, HeightIsIntegratedByVelocityVerlet) {
    cCarCam car = weightlessCar();
    car.cCarBody.fRelYPos = 0.01;
    car.cCarBody.fRelYVel = 0.2;
    car.vAcceleration.y = 3.0;
    car.vLocalAcceleration.y = 1.5;
    car.pcInput[pcInput_EXTERNAL_FORCE].value = 20.0;
    car.vExternalForceDir.y = -0.5;
    car.pcWheel[0].fSuspZeroDiff = car.pcWheel[0].fSuspZeroDiff_prev = 0.01;
    step(car);
    const double force = -2000 * 0.01 + kLength * 20.0 * -0.5 + kMass * 1.5;
    EXPECT_TRUE(isClose(car.pcWheel[0].fSuspForce, -20.0));
    EXPECT_TRUE(isClose(car.cCarBody.fRelYPos, 0.01 + 0.2 * kStep + 0.5 * 3.0 * kStep * kStep));
    EXPECT_TRUE(isClose(car.vAcceleration.y, force / kMass));
    EXPECT_TRUE(isClose(car.cCarBody.fRelYVel, 0.2 + 0.5 * 3.0 * kStep + 0.5 * force / kMass * kStep));
}

TEST(Body, HeightIsLimitedByTheFrontLeftWheelForTheWholeBody) {
    cCarCam car = weightlessCar();
    car.wheelGeom[0].radius = 0.2;
    car.cCarBody.fRelYVel = 100.0;
    step(car);
    const double limit = 0.2 * 0.2 * 0.95 * 0.9;
    EXPECT_TRUE(isClose(car.cCarBody.fRelYPos, limit));
    EXPECT_EQ(car.cCarBody.fRelYVel, 0.0) << "at the stop it has no velocity";
    car.cCarBody.fRelYVel = -100.0;
    step(car);
    EXPECT_TRUE(isClose(car.cCarBody.fRelYPos, -limit));
    EXPECT_EQ(car.cCarBody.fRelYVel, 0.0);
}

TEST(Body, FrontAndBackSpringsHaveTheirOwnConstants) {
    cCarCam car = weightlessCar();
    car.fStiffnessFront = 1000;
    car.fStiffnessBack = 3000;
    car.fDampingFront = 10;
    car.fDampingBack = 30;
    for (auto& w : car.pcWheel) {
        w.fSuspZeroDiff = 0.01;
        w.fSuspZeroDiff_prev = 0.008;
    }
    step(car);
    EXPECT_TRUE(isClose(car.pcWheel[0].fSuspForce, -10.0 - 10 * 0.5, 1e-11));
    EXPECT_TRUE(isClose(car.pcWheel[1].fSuspForce, -15.0, 1e-11));
    EXPECT_TRUE(isClose(car.pcWheel[2].fSuspForce, -30.0 - 30 * 0.5, 1e-11));
    EXPECT_TRUE(isClose(car.pcWheel[3].fSuspForce, -45.0, 1e-11));
    EXPECT_TRUE(isClose(car.pcWheel[3].fSuspIntegral, 0.01 * kStep));
}

TEST(Body, PitchTorqueHasItsFourSources) {
    cCarCam car = quietCar();
    car.qTransCarAbs.rotation = Q(std::sin(0.15), 0, 0, std::cos(0.15));
    car.cCarBody.qTransAbs.rotation = car.qTransCarAbs.rotation;  // nose up by 0.3
    car.vLocalAcceleration.z = -4.0;
    car.pcInput[pcInput_EXTERNAL_FORCE].value = 20.0;
    car.vExternalForceDir = {0.3, -0.5, 0.7};
    car.vExternalForcePos = {0.2, 0.4, 0.6};
    car.pcWheel[1].fSuspZeroDiff = car.pcWheel[1].fSuspZeroDiff_prev = 0.01;  // -20 at z = -1.05
    car.cCarBody.fRelXAngVel = 0.1;
    car.vAcceleration.x = 2.0;
    step(car, 5.0);
    const double spring = -1.05 * -20.0;
    const double external = kLength * kLength * 20.0 * (-0.4 * 0.7 + 0.6 * -0.5);
    // World down in the frame of a body with its nose up has a part along +Z, backwards.
    const double gravity = 10.0 * kMass * kLength / 4.0 * kLever * std::sin(0.3);
    const double torque = -(5.0 + spring + external) + gravity - kMass * -4.0 * kLever;
    EXPECT_TRUE(isClose(car.vAcceleration.x, torque / kInertia, 1e-11));
    EXPECT_TRUE(isClose(car.cCarBody.fRelXAng, 0.1 * kStep + 0.5 * 2.0 * kStep * kStep));
    EXPECT_TRUE(isClose(car.cCarBody.fRelXAngVel, 0.1 + 0.5 * kStep * (2.0 + torque / kInertia), 1e-11));
}

TEST(Body, RollTorqueHasItsThreeSources) {
    cCarCam car = quietCar();
    car.qTransCarAbs.rotation = Q(0, 0, std::sin(0.15), std::cos(0.15));
    car.cCarBody.qTransAbs.rotation = car.qTransCarAbs.rotation;  // right side up by 0.3
    car.vLocalAcceleration.x = 4.0;
    car.pcInput[pcInput_EXTERNAL_FORCE].value = 20.0;
    car.vExternalForceDir = {0.3, -0.5, 0.7};
    car.vExternalForcePos = {0.2, 0.4, 0.6};
    car.pcWheel[1].fSuspZeroDiff = car.pcWheel[1].fSuspZeroDiff_prev = 0.01;  // -20 at x = 0.64
    car.cCarBody.fRelZAngVel = 0.1;
    car.vAcceleration.z = 2.0;
    step(car, 5.0);
    const double spring = -0.64 * -20.0;
    const double external = kLength * kLength * 20.0 * (0.4 * 0.3 - 0.2 * -0.5);
    // World down in the frame of a body rolled to the left has a part along -X.
    const double gravity = -10.0 * kLength / 4.0 * kMass * kLever * -std::sin(0.3);
    const double torque = -(spring + external) + gravity + kMass * 4.0 * kLever;
    EXPECT_TRUE(isClose(car.vAcceleration.z, torque / kInertia, 1e-11));
    EXPECT_TRUE(isClose(car.cCarBody.fRelZAng, 0.1 * kStep + 0.5 * 2.0 * kStep * kStep));
    EXPECT_TRUE(isClose(car.cCarBody.fRelZAngVel, 0.1 + 0.5 * kStep * (2.0 + torque / kInertia), 1e-11));
}

TEST(Body, MassMultiplierAndGravityScaleTheTorques) {
    cCarCam car = quietCar();
    car.fMassMult = 3.0;
    car.fGravity = 0.5;
    car.cCarBody.qTransAbs.rotation = Q(std::sin(0.15), 0, 0, std::cos(0.15));
    step(car, 5.0);
    const double mass = 75.0;
    const double torque = -5.0 + 5.0 * mass * kLength / 4.0 * kLever * std::sin(0.3);
    EXPECT_TRUE(isClose(car.vAcceleration.x, torque / (mass / 6.0 * kLength * kLength), 1e-11));
}

TEST(Body, AHardBrakePitchesItToItsLimit) {
    cCarCam car = quietCar();
    for (int i = 0; i < 400; ++i) {
        car.vLocalAcceleration.z = 400.0;
        step(car);
    }
    EXPECT_EQ(car.cCarBody.fRelXAng, -0.06) << "braking, an acceleration backwards, brings the nose down";
    EXPECT_EQ(car.cCarBody.fRelXAngVel, 0.0);
    for (int i = 0; i < 400; ++i) {
        car.vLocalAcceleration = {400.0, 0, 0};
        step(car);
    }
    EXPECT_EQ(car.cCarBody.fRelZAng, 0.07) << "a turn to the right leans it to the left";
    EXPECT_EQ(car.cCarBody.fRelZAngVel, 0.0);
}

TEST(Body, ReturnsToRestAfterAKick) {
    cCarCam car = quietCar();
    car.cCarBody.fRelYVel = 0.5;
    car.cCarBody.fRelZAngVel = 0.3;
    double highest = 0.0;
    for (int i = 0; i < 2000; ++i) {
        step(car);
        highest = std::max(highest, car.cCarBody.fRelYPos);
    }
    EXPECT_GT(highest, 0.003);
    EXPECT_TRUE(isWithin(car.cCarBody.fRelYPos, 0.0, 1e-9));
    EXPECT_TRUE(isWithin(car.cCarBody.fRelZAng, 0.0, 1e-3));
}

TEST(Body, RollsFirstThenPitches) {
    cCarCam car = weightlessCar();
    car.qTransCarAbs = {V(5, 1, 2), Q(0, std::sin(0.4), 0, std::cos(0.4))};
    car.cCarBody.fRelXAng = 0.05;
    car.cCarBody.fRelZAng = 0.04;
    car.cCarBody.fRelYPos = 0.02;
    step(car);
    const Q roll(0, 0, std::sin(0.02), std::cos(0.02));
    const Q pitch(std::sin(0.025), 0, 0, std::cos(0.025));
    EXPECT_TRUE(isClose(car.cCarBody.qTransRel.rotation, Multiply(roll, pitch)));
    const Q absolute = Multiply(Multiply(roll, pitch), car.qTransCarAbs.rotation);
    EXPECT_TRUE(isClose(car.cCarBody.qTransAbs.rotation, absolute));
    const V up = Rotate(absolute, V(0, 0.17, 0));
    EXPECT_TRUE(isClose(car.cCarBody.qTransAbs.position, V(5, 1, 2) + up)) << "along the body's own up axis";
    EXPECT_TRUE(isClose(car.cCarBody.qTransRel.position, Rotate(Multiply(roll, pitch), V(0, 0.17, 0)), 1e-11));
}

TEST(Wheels, SpreadWithTheRollAndSwingWithThePitch) {
    cCarCam car = weightlessCar();
    car.cCarBody.fRelXAng = 0.05;
    car.cCarBody.fRelZAng = -0.06;
    car.pcWheel[2].fGravelOffset = 0.003;
    step(car);
    const Q tilt = Multiply(Q(0, 0, std::sin(-0.03), std::cos(-0.03)), Q(std::sin(0.025), 0, 0, std::cos(0.025)));
    const double swing = Rotate(tilt, V(0, kRadius, 0)).z;
    EXPECT_GT(swing, 0.01);
    const V expected(-0.64 * (1 + std::sin(0.06) / 6), kRadius + 0.003, 1.044 + swing);
    EXPECT_TRUE(isClose(car.pcWheel[2].qTransWheelRel.position, expected)) << "the sine of the whole angle";
    EXPECT_TRUE(
        isClose(car.pcWheel[1].qTransWheelRel.position, V(0.64 * (1 + std::sin(0.06) / 6), kRadius, -1.05 + swing)));
}

TEST(Wheels, TheSwingIsMeasuredInWorldAxes) {
    // Heading -X the pitch of the body turns about the world's Z axis, so the wheels do not swing with it.
    cCarCam car = weightlessCar();
    car.qTransCarAbs.rotation = Q(0, std::sqrt(0.5), 0, std::sqrt(0.5));
    car.cCarBody.fRelXAng = 0.05;
    step(car);
    EXPECT_TRUE(isWithin(car.pcWheel[0].qTransWheelRel.position.z, -1.05, 1e-15));
}

TEST(Wheels, StandInTheWorldWithTheCar) {
    cCarCam car = weightlessCar();
    const Q heading(0, std::sin(0.4), 0, std::cos(0.4));
    car.qTransCarAbs = {V(5, 1, 2), heading};
    car.cCarBody.fRelXAng = 0.05;
    for (auto& w : car.pcWheel) w.vSuspPoint = {7, 8, 9};
    step(car);
    for (const auto& w : car.pcWheel) {
        EXPECT_TRUE(isClose(w.qTransWheelAbs.position, V(5, 1, 2) + Rotate(heading, w.qTransWheelRel.position)));
        const V lowest = w.qTransWheelAbs.position - Rotate(car.cCarBody.qTransAbs.rotation, V(0, kRadius, 0));
        EXPECT_TRUE(isClose(w.vSuspPoint, lowest)) << "down is the body's down";
        EXPECT_EQ(w.vSuspPoint_prev, V(7, 8, 9));
    }
}

TEST(Wheels, SpringTravelIsMeasuredAlongTheBodysUpAxis) {
    cCarCam car = weightlessCar();
    car.cCarBody.fRelYPos = 0.02;
    car.pcWheel[0].fSuspZeroDiff = 0.125;
    step(car);
    for (const auto& w : car.pcWheel) EXPECT_TRUE(isClose(w.fSuspZeroDiff, 0.02, 1e-11)) << "stretched is positive";
    EXPECT_EQ(car.pcWheel[0].fSuspZeroDiff_prev, 0.125);
    car = weightlessCar();
    car.cCarBody.fRelXAng = 0.05;
    step(car);
    EXPECT_GT(car.pcWheel[0].fSuspZeroDiff, 0.04) << "nose up: the front springs are stretched";
    EXPECT_LT(car.pcWheel[2].fSuspZeroDiff, -0.04);
    const V mount = Rotate(car.cCarBody.qTransAbs.rotation, V(-0.64, 0.15, -1.05));
    const V gap = mount - car.pcWheel[0].qTransWheelAbs.position;
    const double expected = Rotate(Conjugate(car.cCarBody.qTransAbs.rotation), gap).y - (0.15 - kRadius);
    EXPECT_TRUE(isClose(car.pcWheel[0].fSuspZeroDiff, expected, 1e-11));
}

TEST(Body, AirborneWheelsCarryNothingUnderGravity) {
    for (const bool gravity : {false, true}) {
        cCarCam car = weightlessCar();
        car.bGravityOn = gravity;
        for (auto& w : car.pcWheel) w.fSuspZeroDiff = w.fSuspZeroDiff_prev = 0.01;
        car.pcWheel[3].bInAir = true;
        step(car);
        EXPECT_TRUE(isClose(car.pcWheel[0].fSuspForce, -20.0));
        EXPECT_EQ(car.pcWheel[3].fSuspForce == 0.0, gravity);
        EXPECT_TRUE(isClose(car.vAcceleration.y, (gravity ? -60.0 : -80.0) / kMass));
    }
}

TEST(Body, ALandingCarriesNothingUnderGravity) {
    for (const bool gravity : {false, true}) {
        cCarCam car = weightlessCar();
        car.bGravityOn = gravity;
        car.bJustLanded = true;
        for (auto& w : car.pcWheel) w.fSuspZeroDiff = w.fSuspZeroDiff_prev = -0.01;
        step(car);
        for (const auto& w : car.pcWheel) EXPECT_EQ(w.fSuspForce == 0.0, gravity);
    }
}

TEST(Body, TheSpringsSumIsLimitedByTenTimesTheMass) {
    cCarCam car = weightlessCar();
    car.pcWheel[2].fSuspIntegral = 499.9999;
    car.pcWheel[2].fSuspZeroDiff = 0.04;
    step(car);
    EXPECT_EQ(car.pcWheel[2].fSuspIntegral, 500.0);
}

TEST(MeanWheelRadius, IsTheMeanOfTheEffectiveRadii) {
    cCarCam car = quietCar();
    car.wheelGeom[3].radius = 0.46;
    EXPECT_TRUE(isClose(MeanWheelRadius(car), (3 * 0.26 + 0.46) / 4 * 0.95));
}

TEST(Body, StaysInsideItsLimitsWhateverTheSprings) {
    cCarCam car = quietCar();
    car.fStiffnessFront = 1e9;  // far too stiff for the sub-step: it oscillates between the stops
    car.pcInput[pcInput_GAS_PEDAL].raw = 1.0;
    car.pcInput[pcInput_GAS_PEDAL].response = 0.5;
    car.pcInput[pcInput_STEERING_WHEEL].raw = 1.0;
    double moved = 0.0;
    for (int i = 0; i < 200; ++i) {
        StepCar(car, 0.04);
        ASSERT_LE(std::abs(car.cCarBody.fRelYPos), 0.2 * kRadius * 0.9);
        ASSERT_LE(std::abs(car.cCarBody.fRelXAng), 0.06);
        ASSERT_LE(std::abs(car.cCarBody.fRelZAng), 0.07);
        moved = std::max(moved, std::abs(car.cCarBody.fRelZAng));
    }
    EXPECT_GT(moved, 0.001);
}

}  // namespace
}  // namespace ond::ovs::addon
