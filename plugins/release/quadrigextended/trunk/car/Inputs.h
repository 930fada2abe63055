// From the device values of a frame to the nine smoothed values that the model uses.
#pragma once

#include "car/CarState.h"

namespace ond::ovs::addon {

/// Brings the `value` of each channel nearer to its maximum * raw, after the rule on `raw` that some channels have.
/// `dt` is the frame's length in seconds.
void UpdateInputs(cCarCam& car, double dt);

}  // namespace ond::ovs::addon
