// Steering: the device branch once a frame, and the yaw that each wheel shows.
#pragma once

#include "car/CarState.h"

namespace ond::ovs::addon {

/// Steering branch of UpdateInputs(): less steering at speed, away from the world's edge, limited in rate, with noise.
/// The rate limit `dVelRelMaxSteeringChangeVel` acts on the dimensionless input, per second.
void UpdateSteeringWheel(cCarCam& car, double dt);

/// Yaw of wheel `i` on circles about the common turning point (Ackermann's rule), for a step of `h` seconds.
/// A wheel exactly on the turning axis gives false and has no new angle.
[[nodiscard]] bool WheelYaw(const cCarCam& car, int i, double turnBase, double radius, double h, double& yaw);

/// Sets `pfYaw` and `pfYaw_prev` of all wheels; one on the turning axis keeps the angle it has.
void UpdateWheelYaw(cCarCam& car, double turnBase, double radius, double h);

}  // namespace ond::ovs::addon
