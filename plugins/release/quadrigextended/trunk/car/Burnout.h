// Burnout and gravel: the roughness of the model, drawn from counters so that a rewound run shakes alike.
#pragma once

#include "car/CarState.h"

namespace ond::ovs::addon {

/// Burnout of a sub-step of `h` seconds in a frame of `dt`: spins the back wheels, dulls the steering, and returns the
/// pitch torque that tilts and shakes the body (0 when no burnout runs).
double UpdateBurnout(cCarCam& car, double dt, double h);

/// Frame phase: lifts and drops each wheel at random, by sqrt(speed) times the channel. The result is squared
/// `squarings` times (sign kept), so that most jolts are small and a few stand out.
void UpdateGravel(cCarCam& car, double dt, int squarings);

}  // namespace ond::ovs::addon
