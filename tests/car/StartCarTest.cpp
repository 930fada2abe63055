// What StartCar() derives and what ResetCar() clears.
#include <gtest/gtest.h>

#include "car/Fields.h"
#include "car/QuietCar.h"
#include "car/StepCar.h"
#include "car/WheelRolling.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::isClose;
using test::quietCar;
using Q = Quat<double>;
using V = Vector3<double>;

const QTransform<double> kCurrent({9, 9, 9}, {0, 1, 0, 0});
const QTransform<double> kStart({1, 2, 3}, {0, 0.6, 0, 0.8});

TEST(StartCar, PutsTheModelIntoAConsistentState) {
    cCarCam car;
    car.pcInput[pcInput_GAS_PEDAL].value = 1.5;
    car.pcInput[pcInput_STEERING_WHEEL].value = 2.0;
    StartCar(car, kCurrent, kStart, 0.04);
    EXPECT_EQ(car.dSimStep, 0.04 / 13);
    EXPECT_EQ(car.qTransCarStart, kStart);
    EXPECT_EQ(car.fSteeringAngle, 1.5707649108683606);
    EXPECT_EQ(car.pcInput[pcInput_STEERING_WHEEL].value, 2.0);
    EXPECT_TRUE(isClose(car.dVelocity, 1.5 * 3.522));
    EXPECT_EQ(car.fFrontAxleZ, -1.761);
}

TEST(StartCar, AStandingCarStartsWithADirection) {
    cCarCam car;
    StartCar(car, kCurrent, kStart, 0.04);
    EXPECT_EQ(car.pcInput[pcInput_GAS_PEDAL].value, 1e-8);
    EXPECT_TRUE(isClose(car.dVelocity, 3.522e-8));
}

TEST(StartCar, DoesNotReadTheCurrentPlace) {
    cCarCam a;
    cCarCam b;
    StartCar(a, kCurrent, kStart, 0.04);
    StartCar(b, QTransform<double>(), kStart, 0.04);
    EXPECT_TRUE(test::sameRecord(a, b, 0.0));
}

TEST(StartCar, SetsBothYawsOfEachWheel) {
    cCarCam car;
    car.pcInput[pcInput_STEERING_WHEEL].value = 0.3;
    for (auto& w : car.pcWheel) w.pfYaw = w.pfYaw_prev = 0.0;
    StartCar(car, kCurrent, kStart, 0.04);
    const double radius = (1.761 + 1.044) / std::tan(0.3);
    EXPECT_TRUE(isClose(car.pcWheel[0].pfYaw, -std::atan2(2.094, radius + 0.64), 1e-9)) << "with the new front axle";
    EXPECT_TRUE(isClose(car.pcWheel[1].pfYaw, -std::atan2(2.094, radius - 0.64), 1e-9));
    EXPECT_EQ(car.pcWheel[0].pfYaw_prev, car.pcWheel[0].pfYaw);
    EXPECT_EQ(car.pcWheel[1].pfYaw_prev, car.pcWheel[1].pfYaw);
    EXPECT_LT(std::abs(car.pcWheel[2].pfYaw), 1e-9);
}

TEST(StartCar, TheYawUsesTheWholeFrameAsItsStep) {
    cCarCam a;
    cCarCam b;
    a.pcInput[pcInput_GAS_PEDAL].value = b.pcInput[pcInput_GAS_PEDAL].value = 30.0;
    a.pcInput[pcInput_STEERING_WHEEL].value = b.pcInput[pcInput_STEERING_WHEEL].value = 0.5;
    StartCar(a, kCurrent, kStart, 0.04);
    const double radius = -2.805 / std::tan(0.5);
    const double way = 30.0 * 3.522 * 0.04;
    const double chordRadius = way / 2 / std::tan(way / radius / 2);
    EXPECT_TRUE(isClose(a.pcWheel[0].pfYaw, std::atan2(-2.094, -(chordRadius - 0.64)), 1e-9));
}

TEST(StartCar, FlipsTheRightHandWheelsByTheirPlaceInTheCar) {
    cCarCam car;
    car.qTransCarAbs.rotation = Q(0, 0.6, 0, 0.8);
    car.pcWheel[1].qTransWheelRel.position.x = 0.1;
    car.pcWheel[1].pfTotalPitch = car.pcWheel[0].pfTotalPitch = 1.0;
    StartCar(car, kCurrent, kStart, 0.04);
    const Q pitch(std::sin(0.5), 0, 0, std::cos(0.5));
    EXPECT_TRUE(isClose(car.pcWheel[0].qTransWheelAbs.rotation, Multiply(pitch, car.qTransCarAbs.rotation)));
    const Q half(0, std::sin(1.5707963267948966), 0, std::cos(1.5707963267948966));
    EXPECT_TRUE(
        isClose(car.pcWheel[1].qTransWheelAbs.rotation, Multiply(half, Multiply(pitch, car.qTransCarAbs.rotation))))
        << "the half turn comes first";
    EXPECT_TRUE(isClose(car.pcWheel[3].qTransWheelAbs.rotation, car.qTransCarAbs.rotation)) << "x is still 0";
    UpdateWheelRolling(car, 0.04);
    EXPECT_TRUE(isClose(car.pcWheel[1].qTransWheelAbs.rotation, Multiply(pitch, car.qTransCarAbs.rotation)))
        << "a frame does not repeat the flip";
}

TEST(StartCar, LeavesTheRestOfTheRecord) {
    cCarCam car = quietCar();
    car.dSteeringInput_prev = 0.25;
    car.fCarLocalYawIncr = 0.01;
    car.qTransCarAbs.position = {5, 6, 7};
    const cCarCam before = car;
    StartCar(car, kCurrent, kStart, 0.04);
    for (const std::string& name : test::changedFields(before, car)) {
        const bool expected = name == "dSimStep" || name == "dVelocity" || name.starts_with("qTransCarStart") ||
                              name == "pcInput[0].value" || name.find("pfYaw") != std::string::npos ||
                              name.find("qWheelYaw") != std::string::npos ||
                              name.find("qTransWheelAbs.rotation") != std::string::npos;
        EXPECT_TRUE(expected) << name;
    }
}

TEST(ResetCar, MemoriesOfLimitsBrakesAndSlidesStay) {
    cCarCam car = quietCar();
    car.dGasPedalInput_prev = car.dSteeringInput_prev = car.dGasPedalValue_prev = 0.5;
    car.pcInput_GAS_PEDAL_inp_prev = 0.25;
    car.bIsReverseVelAbsBraking = true;
    car.bBrakeArmed = false;
    car.dBrakeStartValue = 2.0;
    car.vAcceleration = {1, 2, 3};
    car.fCarLocalYawIncr = 0.01;
    car.vSkidBrakePosIncr = {1, 0, 0};
    car.dAutoSteeringValue = 0.3;
    car.bBurnoutIdle = false;
    car.bJustLanded = true;
    car.bSkiddingReady = false;
    car.vExternalForceDir = {0, 0, 1};
    const cCarCam before = car;
    ResetCar(car);
    for (const std::string& name : test::changedFields(before, car)) {
        EXPECT_TRUE(name.starts_with("pcWheel")) << name << " (the wheels' places)";
    }
}

TEST(ResetCar, ClearsValuesMovementBodyAndWheels) {
    cCarCam car = quietCar();
    for (auto& channel : car.pcInput) {
        channel.value = 0.5;
        channel.raw = 0.25;
    }
    car.qTransCarAbsIncr = car.qTransCarAbsIncr_prev = kStart;
    car.vWorldAcceleration = car.vLocalAcceleration = {1, 2, 3};
    car.qTransCarAbs = kStart;
    car.cCarBody = {kStart, kStart, kStart, kStart, 1, 2, 3, 4, 5, 6};
    for (auto& w : car.pcWheel) {
        w.qTransWheelAbs = w.qTransWheelAbs_prev = w.qTransWheelRel = kStart;
        w.fSuspForce = w.fSuspIntegral = w.fSuspZeroDiff = w.fSuspZeroDiff_prev = 1;
        w.pfTotalPitch = w.pfPitchIncr = w.pfYaw = w.pfYaw_prev = w.fGravelOffset = w.fGravelNoise = 1;
        w.dWheelGroundNormalDiff = 0.2;
    }
    ResetCar(car);
    for (const auto& channel : car.pcInput) {
        EXPECT_EQ(channel.value, 0.0);
        EXPECT_EQ(channel.raw, 0.25);
    }
    EXPECT_EQ(car.qTransCarAbsIncr, QTransform<double>());
    EXPECT_EQ(car.qTransCarAbsIncr_prev, QTransform<double>());
    EXPECT_EQ(car.vWorldAcceleration, V());
    EXPECT_EQ(car.vLocalAcceleration, V());
    EXPECT_EQ(car.qTransCarAbs, kStart) << "the car stays where it is";
    EXPECT_EQ(car.cCarBody.qTransRel, QTransform<double>(kStart.position, Q())) << "only its rotation";
    EXPECT_EQ(car.cCarBody.qTransAbs, QTransform<double>(kStart.position, Q()));
    EXPECT_EQ(car.cCarBody.qSpare0, kStart);
    EXPECT_EQ(car.cCarBody.qSpare1, QTransform<double>(kStart.position, Q())) << "the last spare, and only it";
    EXPECT_EQ(car.cCarBody.fRelYPos + car.cCarBody.fRelYVel + car.cCarBody.fRelXAng, 0.0);
    EXPECT_EQ(car.cCarBody.fRelZAng + car.cCarBody.fRelXAngVel + car.cCarBody.fRelZAngVel, 0.0);
    for (const auto& w : car.pcWheel) {
        EXPECT_EQ(w.qTransWheelAbs, QTransform<double>());
        EXPECT_EQ(w.qTransWheelAbs_prev, kStart);
        EXPECT_EQ(w.qTransWheelRel, kStart);
        EXPECT_EQ(w.fSuspForce + w.fSuspIntegral + w.fSuspZeroDiff + w.fSuspZeroDiff_prev, 0.0);
        EXPECT_EQ(w.pfTotalPitch + w.pfPitchIncr + w.pfYaw + w.fGravelOffset + w.fGravelNoise, 0.0);
        EXPECT_EQ(w.pfYaw_prev, 1.0);
        EXPECT_EQ(w.dWheelGroundNormalDiff, 0.2);
    }
}

}  // namespace
}  // namespace ond::ovs::addon
