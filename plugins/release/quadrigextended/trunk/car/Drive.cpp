#include "car/Drive.h"

#include <cmath>

#include "car/Burnout.h"
#include "car/Steering.h"
#include "car/Suspension.h"
#include "ond/util/Filters.h"

namespace ond::ovs::addon {

using util::ClampAbs;
using util::ClampAbsMin;
using util::Conjugate;
using util::FilterExact;
using util::Multiply;
using util::Rotate;
using util::Sign;

namespace {

constexpr double kMinGasValue = 1e-8;     // car lengths per second: a direction for sign tests, no visible movement
constexpr double kStraightRadius = 1e45;  // scene units: no double tells this circle from its tangent

Quat<double> yawQuat(double angle) { return {0.0, std::sin(angle / 2), 0.0, std::cos(angle / 2)}; }

/// Grip of this sub-step from the skidding value; light skidding is lifted towards full grip.
double gripFromSkidding(const cCarCam& car, double h) {
    double grip = 1.0 - car.pcInput[pcInput_SKIDDING].value;
    if (grip > 0.7) FilterExact(grip, 1.0, 0.2, 1.0, h);
    if (grip > 0.99) grip = 1.0;
    return grip;
}

void updateYaw(cCarCam& car, const TurnGeometry& turn, double burnoutYaw, double grip, double h) {
    const double yawFromArc = car.dVelocity * h / (Sign(turn.radius) * std::sqrt(turn.radius * turn.radius));
    double yaw = yawFromArc + burnoutYaw;
    if (car.bSkidBreakingOn)
        yaw = car.dSkidBrakeLocalYawIncr;
    else
        yaw += car.dSkidBrakeLocalYawIncr;
    FilterExact(car.fCarLocalYawIncr, yaw, grip, 1.0, h);
}

/// The movement that arc, slide and burnout ask for.
void updateWantedIncrement(cCarCam& car, const TurnGeometry& turn, double burnoutYaw, double h,
                           LastAnswer<double, 1>& yawTangent) {
    const double t = yawTangent.of([](double angle) { return std::tan(angle); }, car.fCarLocalYawIncr);
    const Vector3<double> sideShift(turn.turnBase * car.fFrontAxleZ * t, 0.0, 0.0);
    car.vWantedPosIncr = Rotate(car.qTransCarAbs.rotation, Vector3<double>(0.0, 0.0, -car.dVelocity * h) - sideShift);
    if (car.bSkidBreakingOn) car.vWantedPosIncr = car.vSkidBrakePosIncr;

    const Vector3<double> ahead(0.0, 0.0, -1.0);
    const double frontZ = car.wheelGeom[0].z + car.wheelGeom[1].z;
    car.vWantedPosIncr += Rotate(car.qTransCarAbs.rotation, frontZ * (Rotate(yawQuat(burnoutYaw), ahead) - ahead));
}

/// Takes the wanted movement over, at once with full grip and with delay in a skid.
void takeIncrement(cCarCam& car, double grip, double h) {
    Vector3<double>& increment = car.qTransCarAbsIncr.position;
    if (car.pcInput[pcInput_SKIDDING].raw != 0.0 && !car.bSkidBreakingOnDisableFeatures) {
        FilterExact(increment, car.vWantedPosIncr, grip, 1.0, h);
        car.dWantedSkiddingValue = grip;
        return;
    }
    const double stop = car.bSkidBrakeValueOn ? car.dSkidBrakeStopFactor : 1.0;
    FilterExact(car.dWantedSkiddingValue, grip, car.dSkiddingReleaseResponseFactor * stop, 1.0, h);
    if (car.dWantedSkiddingValue > 0.5) FilterExact(car.dWantedSkiddingValue, 1.0, 0.2, 1.0, h);
    if (car.dWantedSkiddingValue > 0.99) car.dWantedSkiddingValue = 1.0;
    FilterExact(increment, car.vWantedPosIncr, car.dWantedSkiddingValue, 1.0, h);
}

void turnByIncrement(cCarCam& car) {
    car.qTransCarAbs.rotation = Multiply(car.qTransCarAbsIncr.rotation, car.qTransCarAbs.rotation);
}

/// Drives along the arc; returns the burnout's pitch torque.
double driveOnGround(cCarCam& car, const TurnGeometry& turn, double dt, double h, StepAngles& angles) {
    const double burnoutYaw = -car.pcInput[pcInput_BURNOUT].value * car.pcInput[pcInput_STEERING_WHEEL].value * h;
    const double grip = gripFromSkidding(car, h);
    updateYaw(car, turn, burnoutYaw, grip, h);
    const double torqueX = UpdateBurnout(car, dt, h);
    car.qTransCarAbsIncr_prev = car.qTransCarAbsIncr;
    car.qTransCarAbsIncr.rotation = angles.yawTurn.of(yawQuat, car.fCarLocalYawIncr);
    updateWantedIncrement(car, turn, burnoutYaw, h, angles.yawTangent);
    takeIncrement(car, grip, h);
    turnByIncrement(car);
    return torqueX;
}

TurnGeometry turnOf(const cCarCam& car, LastAnswer<double, 1>& steeringTangent) {
    const double length = car.fBodyLength;
    const double t = steeringTangent.of([](double angle) { return std::tan(angle); }, car.fSteeringAngle);
    TurnGeometry turn{};
    turn.turnBase = car.dTurnBase - car.wheelGeom[2].z / (length / 2.0);
    turn.radius = -kStraightRadius;
    if (std::abs(t) != 0.0) turn.radius = car.fFrontAxleZ * (1.0 - turn.turnBase) / t;
    turn.radius = ClampAbsMin(turn.radius, 0.01 * length);
    turn.radius = ClampAbs(turn.radius, kStraightRadius);
    return turn;
}

}  // namespace

void UpdateGasPedal(cCarCam& car, double dt) {
    InputChannel& gas = car.pcInput[pcInput_GAS_PEDAL];
    if (car.bAutonomousMode) {
        FilterExact(car.dGasPedalInputFilterMem, gas.raw * gas.maximum, gas.response, 0.0, dt);
        gas.value += car.dGasPedalInputFilterMem;
        gas.raw = gas.value / gas.maximum;
    } else {
        car.dGasPedalInputFilterMem = 0.0;
    }

    double input = gas.raw;
    const double change = input - car.dGasPedalInput_prev;
    // A pedal at rest releases at once, and brakes and booster are not held back: only a pressed pedal is limited.
    if (input != 0.0 && car.bBrakeArmed && !car.bBoosterOn) {
        const double wanted = input * gas.maximum;
        if (wanted > gas.value) {
            const double limit = car.dGasPedalMaxRateOfChange * dt / gas.maximum;
            if (change > limit) input = car.dGasPedalInput_prev + limit;
        } else if (gas.value > wanted) {
            const double limit = -car.dGasPedalMaxRateOfChange * dt / gas.maximum;
            if (limit > change) input = car.dGasPedalInput_prev - car.dGasPedalMaxRateOfChange * dt / gas.maximum;
        }
    }
    gas.raw = input;
    car.dGasPedalInput_prev = input;
}

TurnGeometry ComputeTurn(const cCarCam& car) {
    LastAnswer<double, 1> steeringTangent;
    return turnOf(car, steeringTangent);
}

void StepDrive(cCarCam& car, double dt, double h) {
    StepAngles angles;
    StepDrive(car, dt, h, angles);
}

void StepDrive(cCarCam& car, double dt, double h, StepAngles& angles) {
    InputChannel& gas = car.pcInput[pcInput_GAS_PEDAL];
    gas.value = ClampAbsMin(gas.value, kMinGasValue);
    car.qTransCarStart = car.qTransCarAbs;
    const double bodyCentre = car.cCarBody.fRelYPos + car.fBodyRestHeight + car.fBodyLength / 3.0 / 2.0;
    const double meanRadius = MeanWheelRadius(car);
    car.fSteeringAngle = ClampAbs(car.pcInput[pcInput_STEERING_WHEEL].value, kMaxSteeringAngle);
    car.dVelocity = car.fBodyLength * gas.value;
    const TurnGeometry turn = turnOf(car, angles.steeringTangent);

    double torqueX = 0.0;
    if (car.bCarInTheAir && car.bGravityOn)
        turnByIncrement(car);  // ballistic: steering does not bend the path
    else
        torqueX = driveOnGround(car, turn, dt, h, angles);

    car.vWorldAcceleration = (car.qTransCarAbsIncr.position - car.qTransCarAbsIncr_prev.position) / h / h;
    car.vLocalAcceleration = Rotate(Conjugate(car.qTransCarAbs.rotation), car.vWorldAcceleration);
    car.qTransCarAbs.position += car.qTransCarAbsIncr.position;
    UpdateWheelYaw(car, turn.turnBase, turn.radius, h, angles);
    UpdateBody(car, h, bodyCentre, meanRadius, torqueX);
}

}  // namespace ond::ovs::addon
