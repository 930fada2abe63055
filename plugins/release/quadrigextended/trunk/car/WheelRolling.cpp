#include "car/WheelRolling.h"

#include <cmath>

#include "car/Drive.h"
#include "car/Steering.h"
#include "car/StepCar.h"
#include "ond/util/Matrix4.h"
#include "ond/util/Scalar.h"

namespace ond::ovs::addon {

using util::ClampAbs;
using util::ClampAbsMin;
using util::Dot;
using util::Multiply;
using util::Sign;

namespace {

/// Innermost the turn about the axle, around it the yaw, outside both how the car stands in the world.
void composeOrientation(cCarCam& car, pcWheel& wheel) {
    const Quat<double> qPitch(std::sin(wheel.pfTotalPitch / 2), 0.0, 0.0, std::cos(wheel.pfTotalPitch / 2));
    wheel.qWheelYaw = {0.0, std::sin(wheel.pfYaw / 2), 0.0, std::cos(wheel.pfYaw / 2)};
    wheel.qTransWheelAbs.rotation = Multiply(
        Multiply(Multiply(qPitch, wheel.qWheelYaw), car.cCarBody.qTransRel.rotation), car.qTransCarAbs.rotation);
}

}  // namespace

void UpdateWheelRolling(cCarCam& car, [[maybe_unused]] double dt) {
    const double length = car.fBodyLength;
    const double turnBase = car.dTurnBase - car.wheelGeom[2].z / (length / 2.0);
    const util::Matrix4 m = ToMatrix(car.qTransCarAbs.rotation);
    const double moving = length * 0.001 > std::abs(car.dVelocity) ? 0.0 : 1.0;
    for (int i = 0; i < kNumWheels; ++i) {
        pcWheel& wheel = car.pcWheel[i];
        const WheelGeometry& geom = car.wheelGeom[i];
        const Vector3<double> delta = wheel.qTransWheelAbs.position - wheel.qTransWheelAbs_prev.position;
        wheel.qTransWheelAbs_prev.position = wheel.qTransWheelAbs.position;
        double d = wheel.dSuspDistanceMoved;
        // On the turning axis the velocity's sign says nothing about the sense in which the wheel itself moved.
        if (std::abs(geom.z - turnBase * car.fFrontAxleZ) > length * 0.001)
            d *= Sign(car.dVelocity);
        else
            d *= -Sign(Dot(delta, m.row(2)));
        wheel.pfPitchIncr += -moving * d / (geom.radius * car.dWheelRadiusMult);
    }
    for (pcWheel& wheel : car.pcWheel) {
        if (car.bSkidBreakingOnDisableFeatures) continue;  // locked wheels
        wheel.pfTotalPitch += wheel.pfPitchIncr;
        wheel.pfTotalPitch = std::fmod(wheel.pfTotalPitch, 6.283185307179586);
    }
    for (pcWheel& wheel : car.pcWheel) composeOrientation(car, wheel);
}

void StartCar(cCarCam& car, [[maybe_unused]] const QTransform<double>& current, const QTransform<double>& start,
              double dt) {
    InputChannel& gas = car.pcInput[pcInput_GAS_PEDAL];
    ChooseStepLength(car, dt);
    car.qTransCarStart = start;
    car.fSteeringAngle = ClampAbs(car.pcInput[pcInput_STEERING_WHEEL].value, kMaxSteeringAngle);
    gas.value = ClampAbsMin(gas.value, 1e-8);
    car.dVelocity = car.fBodyLength * gas.value;
    car.fFrontAxleZ = -car.fBodyLength / 2.0;
    const TurnGeometry turn = ComputeTurn(car);
    for (int i = 0; i < kNumWheels; ++i) {
        double yaw = 0.0;
        if (!WheelYaw(car, i, turn.turnBase, turn.radius, dt, yaw)) continue;
        car.pcWheel[i].pfYaw_prev = yaw;
        car.pcWheel[i].pfYaw = yaw;
    }
    constexpr double kQuarterTurn = 1.5707963267948966;
    const Quat<double> qFlip(0.0, std::sin(kQuarterTurn), 0.0, std::cos(kQuarterTurn));
    for (pcWheel& wheel : car.pcWheel) {
        composeOrientation(car, wheel);
        // One wheel mesh serves both sides. From the first frame on the wheel nodes turn the right-hand ones; before
        // it nobody else does.
        if (wheel.qTransWheelRel.position.x > 0.0)
            wheel.qTransWheelAbs.rotation = Multiply(qFlip, wheel.qTransWheelAbs.rotation);
    }
}

void ResetCar(cCarCam& car) {
    for (InputChannel& channel : car.pcInput) channel.value = 0.0;
    car.qTransCarAbsIncr = {};
    car.qTransCarAbsIncr_prev = {};
    car.vWorldAcceleration = {};
    car.vLocalAcceleration = {};

    cCarBody& body = car.cCarBody;
    body.fRelYPos = body.fRelYVel = 0.0;
    body.fRelXAng = body.fRelZAng = 0.0;
    body.fRelXAngVel = body.fRelZAngVel = 0.0;
    body.qTransRel.rotation = {};
    body.qTransAbs.rotation = {};
    body.qSpare1.rotation = {};

    for (pcWheel& wheel : car.pcWheel) {
        wheel.qTransWheelAbs = {};
        wheel.fSuspForce = wheel.fSuspIntegral = 0.0;
        wheel.fSuspZeroDiff = wheel.fSuspZeroDiff_prev = 0.0;
        wheel.pfTotalPitch = wheel.pfPitchIncr = wheel.pfYaw = 0.0;
        wheel.fGravelOffset = wheel.fGravelNoise = 0.0;
    }
}

}  // namespace ond::ovs::addon
