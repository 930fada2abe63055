// One frame of driving: what changes once a frame, then as many short steps of movement as fit.
#pragma once

#include "car/CarState.h"

namespace ond::ovs::addon {

/// Advances the car by one frame of `dt` seconds (> 0). Expects the devices' values in `raw` of all channels.
/// Later phases overwrite what earlier ones did, so a brake held together with the pedal wins; keep their order.
void StepCar(cCarCam& car, double dt);

/// Cuts a frame of `dt` seconds into whole sub-steps near the target of 0.003 s; the answer is also in `dSimStep`.
/// The result is in [0.003, 0.006), or `dt` itself for a shorter frame.
double ChooseStepLength(cCarCam& car, double dt);

/// Whole part of a count of steps, with 1 in place of 0. What an int cannot hold (also NaN) counts as 0 too.
[[nodiscard]] int wholeCount(double count);

}  // namespace ond::ovs::addon
