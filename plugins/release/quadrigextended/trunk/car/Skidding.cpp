#include "car/Skidding.h"

#include <cmath>

#include "ond/util/Scalar.h"

namespace ond::ovs::addon {

using util::Conjugate;
using util::Dot;
using util::Length;
using util::Multiply;
using util::Normalized;
using util::Rotate;
using util::SameSign;
using util::Sign;

namespace {

/// What a locked car no longer has: drive, skid, burnout and boost.
void dropDrivenValues(cCarCam& car) {
    car.pcInput[pcInput_GAS_PEDAL].value = 0.0;
    car.pcInput[pcInput_SKIDDING].value = 0.0;
    car.dWantedSkiddingValue = 1.0;
    car.pcInput[pcInput_BURNOUT].value = 0.0;
    car.pcInput[pcInput_BOOSTER].value = 0.0;
}

void startSlide(cCarCam& car, double dt) {
    car.bSkidFirstTime = false;
    car.bSkidBreakingOn = true;
    car.bSkidBreakingOnDisableFeatures = true;
    car.vSkidBrakeInitVel = car.qTransCarAbsIncr.position / dt;
    Quat<double> turned = Multiply(car.qTransCarAbs.rotation, Conjugate(car.qTransCarStart.rotation));
    car.vSkidBrakeInitRotVel = ToRotationVector(turned) / dt;
    car.vSkidBrakeInitRotVel.x = 0.0;
    car.vSkidBrakeInitRotVel.z = 0.0;
    car.iSkidBrakeVelSign = static_cast<std::int32_t>(Sign(car.dVelocity));
    car.iSkidBrakeSteerSign = static_cast<std::int32_t>(Sign(-car.pcInput[pcInput_STEERING_WHEEL].value));
    car.vSkidBrakePosIncr = car.vSkidBrakeInitVel * dt;
    car.dSkidBrakeLocalYawIncr =
        car.iSkidBrakeSteerSign * car.iSkidBrakeVelSign * Length(car.vSkidBrakeInitRotVel) * dt;
}

/// Hands a car that is still sliding over to a skid, with the speed that a held pedal asks for.
void handOverToSkid(cCarCam& car) {
    car.dWantedSkiddingValue = 0.0;
    car.pcInput[pcInput_SKIDDING].value = 1.0;
    const double forward =
        -Rotate(Conjugate(car.qTransCarAbs.rotation), car.qTransCarAbsIncr.position / car.dSimStep).z;
    InputChannel& gas = car.pcInput[pcInput_GAS_PEDAL];
    double g = 0.0;
    if (SameSign(gas.raw, forward)) g = std::abs(gas.raw);
    if (car.pcInput[pcInput_BOOSTER].raw > 0.0 && forward > 0.0) g = 1.0;
    gas.value = g * forward / car.fBodyLength;
}

void endSlide(cCarCam& car) {
    if (car.vSkidBrakePosIncr != Vector3<double>()) handOverToSkid(car);
    car.fCarLocalYawIncr = car.dSkidBrakeLocalYawIncr;
    car.bSkidFirstTime = true;
    car.bSkidBreakingOn = false;
    car.bSkidBreakingOnDisableFeatures = false;
}

void brakeYaw(cCarCam& car, double yawLoss, double sign) {
    car.dSkidBrakeLocalYawIncr -= yawLoss;
    if (!SameSign(car.dSkidBrakeLocalYawIncr, sign)) car.dSkidBrakeLocalYawIncr = 0.0;
}

void brakeSlide(cCarCam& car, double yawLoss, double sign, double dt) {
    InputChannel& brake = car.pcInput[pcInput_SKID_BRAKE];
    car.vSkidBrakePosIncr -= car.vSkidBrakeInitVel * 0.001 * brake.maximum * dt * 30.0;
    brakeYaw(car, yawLoss, sign);
    if (!(Dot(car.vSkidBrakePosIncr, Normalized(car.vSkidBrakeInitVel)) < 0.0)) return;
    car.vSkidBrakePosIncr = {};
    car.dSkidBrakeLocalYawIncr = 0.0;
    brake.raw = 0.0;
    dropDrivenValues(car);
}

}  // namespace

void UpdateSkidBrake(cCarCam& car, double dt) {
    if (car.bCarInTheAir || car.bJustLanded) return;
    const InputChannel& brake = car.pcInput[pcInput_SKID_BRAKE];
    if (brake.raw > 0.0) {
        if (car.bSkidFirstTime) startSlide(car, dt);
        dropDrivenValues(car);
    } else if (!car.bSkidFirstTime) {
        endSlide(car);
    }
    car.bSkidBrakeValueOn = brake.value / brake.maximum > 0.0001;

    const double sign = car.iSkidBrakeSteerSign * car.iSkidBrakeVelSign;
    const double yawLoss =
        sign * Length(car.vSkidBrakeInitRotVel) * car.dSkidBrakeRotBrakeMult * 0.001 * brake.maximum * dt * 30.0;
    if (car.bSkidBreakingOn)
        brakeSlide(car, yawLoss, sign, dt);
    else if (car.bSkidBrakeValueOn)
        brakeYaw(car, yawLoss, sign);
    else
        car.dSkidBrakeLocalYawIncr = 0.0;
}

void UpdateSkidding(cCarCam& car, [[maybe_unused]] double dt) {
    if (car.bAllWheelsInAir || car.bSkidBreakingOnDisableFeatures) return;
    const InputChannel& skid = car.pcInput[pcInput_SKIDDING];
    if (skid.raw == 0.0) {
        car.bSkiddingReady = true;
    } else if (car.bSkiddingReady) {
        car.bSkiddingReady = false;
    }
    car.bSkiddingOn = skid.raw != 0.0 || skid.value / skid.maximum > 0.05;
}

}  // namespace ond::ovs::addon
