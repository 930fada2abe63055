// Turning wheels, and the car record's first and cleared state.
#pragma once

#include "car/CarState.h"

namespace ond::ovs::addon {

/// Last phase of a frame, for which every wheel must know its `dSuspDistanceMoved`: rolls the wheels by it and sets the
/// orientations they are shown in. `dt` is not used.
void UpdateWheelRolling(cCarCam& car, double dt);

/// Works out what the first frame of a run builds on: step length, velocity, steering, yaw and orientation of the
/// wheels. `start`: the car one frame before; `current` is not read; `dt`: the frame's length in seconds.
void StartCar(cCarCam& car, const QTransform<double>& current, const QTransform<double>& start, double dt);

/// Clears the dynamic state: channel values, movement, body, spring and rolling state. Memories of rate limits, brakes
/// and slides stay.
void ResetCar(cCarCam& car);

}  // namespace ond::ovs::addon
