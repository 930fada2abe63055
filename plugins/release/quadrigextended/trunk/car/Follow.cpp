#include "car/Follow.h"

#include <cmath>

#include "ond/util/Filters.h"
#include "ond/util/Scalar.h"

namespace ond::ovs::addon {

using util::ClampAbs;
using util::FilterExact;
using util::Length;
using util::Matrix4;
using util::Normalized;
using util::SameSign;
using util::Sign;
using util::Transform;

namespace {

/// Way from the car's nose to the target in the car's axes, without the part along +Y, and no longer than
/// `gas.maximum` body scales.
Vector3<double> targetFromNose(const cCarCam& car, Matrix4 body, const Vector3<double>& target) {
    const Vector3<double> scale = util::Scale(body);
    body.setRow(0, body.row(0) / scale.x);
    body.setRow(1, body.row(1) / scale.y);
    body.setRow(2, body.row(2) / scale.z);
    Matrix4 rotation = body;
    rotation.setRow(3, {});
    const Vector3<double> nose = body.row(3) + Transform(rotation, {0.0, 0.0, -car.fBodyLength / 2.0});
    Vector3<double> local = Transform(Inverse(rotation), target - nose);
    local.y = 0.0;
    const double reach = std::abs(scale.z) * car.pcInput[pcInput_GAS_PEDAL].maximum;
    if (Length(local) > reach) local = Normalized(local) * reach;
    return local;
}

/// How fast to drive, in car lengths per second, + forward. `dir`: unit, to the target; `beyond`: what its distance
/// exceeds the ignored one by.
double wantedVelocity(const cCarCam& car, const FollowState& follow, const Vector3<double>& dir, double beyond) {
    // 3.5 is tuned: the default follow strength then keeps pace with a target a few lengths ahead.
    double wanted = (-dir.z) * follow.dFollowAccelerationMult * beyond / car.fBodyLength * 3.5;
    if (wanted < 0.0) wanted *= follow.dReverseMaxVelMult;
    // As long as the wheels still point to the other side, driving on would lead away from the target.
    if (wanted > 0.0 && !SameSign(car.dAutoSteeringValue, dir.x)) wanted = 0.0;
    return ClampAbs(wanted, car.pcInput[pcInput_GAS_PEDAL].maximum);
}

/// Wanted steering in radians: mirrored in reverse, less at speed, limited in rate.
double wantedSteering(const cCarCam& car, const FollowState& follow, double side, double wanted, double dt) {
    double s = side * car.pcInput[pcInput_STEERING_WHEEL].maximum * Sign(wanted);
    s = s / (car.dSpeedDependentTurnRadiusReductionFactor * 0.5 * std::abs(follow.dFollowAccMem) + 1.0);
    const double change = s - car.dAutoSteeringValue;
    const double limit = car.dVelRelMaxSteeringChangeVel * dt;
    if (std::abs(change) > limit) s = car.dAutoSteeringValue + Sign(change) * car.dVelRelMaxSteeringChangeVel * dt;
    return s;
}

}  // namespace

void UpdateFollow(cCarCam& car, FollowState& follow, const Matrix4& body, const Vector3<double>& target, double dt) {
    if (!car.bAutonomousMode) return;
    const Vector3<double> local = targetFromNose(car, body, target);
    const double ignore = follow.dIgnoreSphereRadius * car.fBodyLength;
    const Vector3<double> dir = Normalized(local);
    const double dist = Length(local);
    const bool inside = dist < ignore;
    if (inside) car.pcInput[pcInput_ABS_BRAKE].raw = 1.0;

    const double wanted = wantedVelocity(car, follow, dir, inside ? 0.0 : dist - ignore);
    FilterExact(follow.dFollowAccMem, wanted, follow.dFollowAccRespFact, 0.0, dt);
    car.pcInput[pcInput_GAS_PEDAL].value = follow.dFollowAccMem;

    car.dAutoSteeringValue = wantedSteering(car, follow, dir.x, wanted, dt);
    FilterExact(follow.dAutoSteeringValueMem, car.dAutoSteeringValue, follow.dAutoSteeringValueRespFact, 0.0, dt);
    if (ignore <= dist) car.pcInput[pcInput_STEERING_WHEEL].value = follow.dAutoSteeringValueMem;
}

}  // namespace ond::ovs::addon
