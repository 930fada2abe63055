// Springs under the body (height, pitch, roll), the wheels' places in the car frame, and flight.
#pragma once

#include "car/CarState.h"

namespace ond::ovs::addon {

/// Effective radius, averaged over the wheels; scene units.
[[nodiscard]] double MeanWheelRadius(const cCarCam& car);

/// Force of one spring with damper, + pushes the body up.
/// `mass`: sprung mass (unused). `h`: step in seconds, > 0. `diff`, `diffPrev`: spring travel now and one step ago, +
/// when stretched. `limit`, `radius`, `integralGain`: accepted, without effect. `stiffness`, `damping`: per scene unit
/// and per scene unit per second. `integral`: running sum of travel times step, limited to +-`integralLimit`; kept, but
/// no force uses it. `steps`: how often the step is cut, 1 or more.
double SpringForce(double mass, double h, double diff, double diffPrev, double limit, double radius, double stiffness,
                   double damping, double integralGain, double& integral, double integralLimit, int steps);

/// End of a sub-step of `h` seconds: spring forces, velocity Verlet on height, pitch and roll, then the transforms of
/// body and wheels. `bodyCentre`: how high the mass sits, scene units; `meanRadius`: of the wheels; `torqueX`: pitch
/// torque that a burnout has set.
void UpdateBody(cCarCam& car, double h, double bodyCentre, double meanRadius, double torqueX);

/// Frame phase that notices wheels off the ground: gravity on the movement, and the car levels to the gravity
/// orientation. `dt` is the frame's length; the sub-step length is still that of the frame before.
void UpdateFlight(cCarCam& car, double dt);

}  // namespace ond::ovs::addon
