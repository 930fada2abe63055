// Loss of grip: slides under the skid brake, and whether a skid is on.
#pragma once

#include "car/CarState.h"

namespace ond::ovs::addon {

/// The skid brake's states (idle, sliding, stopped) over one frame of `dt` seconds. A slide loses speed linearly.
/// Does nothing in the air and in the frame of a landing.
void UpdateSkidBrake(cCarCam& car, double dt);

/// Decides `bSkiddingOn` and `bSkiddingReady`. They are recorded state; the grip itself comes from the channel.
void UpdateSkidding(cCarCam& car, double dt);

}  // namespace ond::ovs::addon
