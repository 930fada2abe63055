// Steering: the device branch once a frame, and the yaw that each wheel shows.
#pragma once

#include "car/CarState.h"
#include "car/StepAngles.h"

namespace ond::ovs::addon {

/// Steering branch of UpdateInputs(): less steering at speed, away from the world's edge, limited in rate, with noise.
/// The rate limit `dVelRelMaxSteeringChangeVel` acts on the dimensionless input, per second.
void UpdateSteeringWheel(cCarCam& car, double dt);

/// Yaw of wheel `i` on circles about the common turning point (Ackermann's rule), for a step of `h` seconds.
/// Gives false, and leaves `yaw` alone, for a wheel that the turning axis passes through: it has no circle.
[[nodiscard]] bool WheelYaw(const cCarCam& car, int i, double turnBase, double radius, double h, double& yaw);

/// Sets `pfYaw` and `pfYaw_prev` of all wheels that WheelYaw() has an answer for; the others stay as they were.
void UpdateWheelYaw(cCarCam& car, double turnBase, double radius, double h);
/// The same, with what earlier sub-steps have worked out.
void UpdateWheelYaw(cCarCam& car, double turnBase, double radius, double h, StepAngles& angles);

}  // namespace ond::ovs::addon
