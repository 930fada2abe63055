// From the device values of a frame to the nine smoothed values that the model uses.
#pragma once

#include "car/CarState.h"

namespace ond::ovs::addon {

/// Runs over the nine channels in index order: each channel's own rule on `raw`, then its filter towards
/// maximum * raw. `dt` is the frame's length in seconds.
void UpdateInputs(cCarCam& car, double dt);

}  // namespace ond::ovs::addon
