// One frame of the car model: the frame phases in their fixed order, then the sub-steps of the drive.
#pragma once

#include "car/CarState.h"

namespace ond::ovs::addon {

/// Advances the car by one frame of `dt` seconds (> 0). The `raw` of all nine channels must have been read before.
/// The order of the phases is part of the behaviour: it decides which of two inputs wins on the same value.
void StepCar(cCarCam& car, double dt);

/// Cuts a frame of `dt` seconds into whole sub-steps near the target of 0.003 s; sets `dSimStep` and returns it.
/// The result is in [0.003, 0.006), or `dt` itself for a shorter frame.
double ChooseStepLength(cCarCam& car, double dt);

/// Whole part of a count of steps, with 1 in place of 0. What an int cannot hold (also NaN) counts as 0 too.
[[nodiscard]] int wholeCount(double count);

}  // namespace ond::ovs::addon
