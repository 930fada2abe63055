// One frame of a run, and the read-outs between runs.
#pragma once

namespace ond::ovs::addon {

class CCarCamObject;

/// See CCamera::updateFrame(). Runs the whole simulation of one frame step; `time` only says where keys and transforms
/// are read and written.
void updateFrame(CCarCamObject& vehicle, double time);

/// See CCamera::showFrame(). Moves nothing: what was recorded moves by its keyframes.
void showFrame(CCarCamObject& vehicle, double time);

/// Reads the nine device values into the channels, in order. A channel without a property reads as 0.
void readInputs(CCarCamObject& vehicle);

}  // namespace ond::ovs::addon
