// The sub-step of the drive: from the gas value to the new transform of the car.
#pragma once

#include "car/CarState.h"

namespace ond::ovs::addon {

/// Where the car turns about, in this sub-step.
struct TurnGeometry {
    double turnBase;  ///< z of the turning axis, in half car lengths on the scale of `fFrontAxleZ`
    double radius;    ///< signed radius of the arc, scene units; negative for straight on and for steering to the right
};

/// Turning axis and radius from `fSteeringAngle` and the wheel geometry. The magnitude of the radius lies between
/// 0.01 car lengths and 1e45 (straight on).
[[nodiscard]] TurnGeometry ComputeTurn(const cCarCam& car);

/// Gas pedal branch of UpdateInputs(): adds the device to autonomous driving and limits the pedal's rate of change.
void UpdateGasPedal(cCarCam& car, double dt);

/// One sub-step of `h` seconds (> 0) within a frame of `dt` seconds: places the car along its arc, or along the slide
/// or the flight, then integrates the body on its springs and places the wheels.
void StepDrive(cCarCam& car, double dt, double h);

}  // namespace ond::ovs::addon
