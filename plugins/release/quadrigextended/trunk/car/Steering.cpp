#include "car/Steering.h"

#include <cmath>

#include "ond/util/Filters.h"
#include "ond/util/Matrix4.h"
#include "ond/util/Scalar.h"

namespace ond::ovs::addon {

using util::FilterExact;
using util::Length;
using util::Normalized;
using util::RandomUnit;
using util::Sign;

namespace {

/// Steers a car that points out of the world sphere back, the more the further out it points.
void avoidWorldEdge(const cCarCam& car, double& raw) {
    if (car.bAutonomousMode || !(car.dWorldAvoidanceSphereRadius > 0.0)) return;
    if (!(Length(car.qTransCarAbs.position) > car.dWorldAvoidanceSphereRadius * car.fBodyLength)) return;
    const util::Matrix4 m = ToMatrix(car.qTransCarAbs);
    const Vector3<double> out = Normalized(car.qTransCarAbs.position);
    const double outward = Dot(-m.row(2), out);
    if (outward > 0.0) raw -= 2.0 * outward * Sign(Dot(m.row(0), out));
}

/// From the turning point to the middle of the car, signed like `radius`, so that a step's arc ends on the car's path.
double distanceOfTurn(const cCarCam& car, double radius, double h, LastAnswer<double, 1>& halfChordTangent) {
    const double chord = car.dVelocity * h / (Sign(radius) * std::sqrt(radius * radius));
    if (chord == 0.0) return 1e16;
    return (car.dVelocity * h / 2.0) / halfChordTangent.of([](double angle) { return std::tan(angle); }, chord / 2.0);
}

bool yawAbout(const cCarCam& car, int i, double turnBase, double distance, LastAnswer<double, 2>& wheelYaw,
              double& yaw) {
    const double base = turnBase * car.fFrontAxleZ;
    const WheelGeometry& wheel = car.wheelGeom[i];
    if (wheel.z == base) return false;
    const double s = Sign(distance);
    yaw = wheelYaw.of([](double y, double x) { return std::atan2(y, x); }, s * (base - wheel.z),
                      s * (distance + wheel.x));
    return true;
}

}  // namespace

void UpdateSteeringWheel(cCarCam& car, double dt) {
    InputChannel& steer = car.pcInput[pcInput_STEERING_WHEEL];
    const double speed = std::abs(car.pcInput[pcInput_GAS_PEDAL].value);
    steer.raw = steer.raw / (1.0 + car.dSpeedDependentTurnRadiusReductionFactor * speed);
    avoidWorldEdge(car, steer.raw);

    double rate = car.dVelRelMaxSteeringChangeVel;
    const double change = steer.raw - car.dSteeringInput_prev;
    if (steer.raw == 0.0) rate *= 2.0;  // nobody holds it: back to the middle at twice the rate
    double limited = steer.raw;
    if (std::abs(change) > rate * dt) limited = car.dSteeringInput_prev + Sign(change) * rate * dt;
    if (car.dSteeringNoise > 0.0)
        limited +=
            std::sqrt(std::abs(car.dVelocity)) * (RandomUnit(car.randomValue_steeringNoise) - 0.5) * car.dSteeringNoise;
    steer.raw = limited;
    car.dSteeringInput_prev = limited;

    if (car.bAutonomousMode) {
        FilterExact(car.dInputFilterMem, steer.raw * steer.maximum, steer.response, 0.0, dt);
        steer.value += car.dInputFilterMem;
        steer.raw = steer.value / steer.maximum;
    } else {
        car.dInputFilterMem = 0.0;
    }
}

bool WheelYaw(const cCarCam& car, int i, double turnBase, double radius, double h, double& yaw) {
    StepAngles angles;
    const double distance = distanceOfTurn(car, radius, h, angles.halfChordTangent);
    return yawAbout(car, i, turnBase, distance, angles.wheelYaw[i], yaw);
}

void UpdateWheelYaw(cCarCam& car, double turnBase, double radius, double h) {
    StepAngles angles;
    UpdateWheelYaw(car, turnBase, radius, h, angles);
}

void UpdateWheelYaw(cCarCam& car, double turnBase, double radius, double h, StepAngles& angles) {
    const double distance = distanceOfTurn(car, radius, h, angles.halfChordTangent);
    for (int i = 0; i < kNumWheels; ++i) {
        double yaw = 0.0;
        if (!yawAbout(car, i, turnBase, distance, angles.wheelYaw[i], yaw)) continue;
        car.pcWheel[i].pfYaw_prev = car.pcWheel[i].pfYaw;
        car.pcWheel[i].pfYaw = yaw;
    }
}

}  // namespace ond::ovs::addon
