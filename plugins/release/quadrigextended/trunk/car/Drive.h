// Where the car goes within one sub-step: the turning circle, and the way along it.
#pragma once

#include "car/CarState.h"
#include "car/StepAngles.h"

namespace ond::ovs::addon {

/// Where the car turns about, in this sub-step.
struct TurnGeometry {
    double turnBase;  ///< where the turning axis crosses the car: its z over fFrontAxleZ, + in front of the origin
    double radius;    ///< signed radius of the arc, scene units; negative for straight on and for steering to the right
};

/// Turning axis and radius from `fSteeringAngle` and the wheel geometry. The magnitude of the radius lies between
/// 0.01 car lengths and 1e45 (straight on).
[[nodiscard]] TurnGeometry ComputeTurn(const cCarCam& car);

/// What UpdateInputs() does to the pedal's `raw`: adds the driver's pedal to the follower's, and limits how fast it
/// may change.
void UpdateGasPedal(cCarCam& car, double dt);

/// One sub-step of `h` seconds (> 0) within a frame of `dt` seconds: places the car along its arc, or along the slide
/// or the flight, then lets the springs move the body and places the wheels.
void StepDrive(cCarCam& car, double dt, double h);
/// The same, with what earlier sub-steps have worked out; the bits do not depend on it.
void StepDrive(cCarCam& car, double dt, double h, StepAngles& angles);

}  // namespace ond::ovs::addon
