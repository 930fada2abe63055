// Wheel rolling at the end of a frame, and the start-up of the model.
#pragma once

#include "car/CarState.h"

namespace ond::ovs::addon {

/// Once a frame, after the wheels have probed the ground: turns the distance each wheel moved into rolling and composes
/// each wheel's orientation. `dt` is not used.
void UpdateWheelRolling(cCarCam& car, double dt);

/// Puts the model into a consistent state at the start of a run. `start`: the car one frame before; `current` is not
/// read; `dt`: the frame's length in seconds.
void StartCar(cCarCam& car, const QTransform<double>& current, const QTransform<double>& start, double dt);

/// Clears the dynamic state: channel values, movement, body, spring and rolling state. Memories of rate limits, brakes
/// and slides stay.
void ResetCar(cCarCam& car);

}  // namespace ond::ovs::addon
