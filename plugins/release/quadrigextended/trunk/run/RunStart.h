// Start of a run: undo records, measuring of the rig, reset or restore of the car, the physics world, and the cut of
// the histories at the start time.
#pragma once

namespace ond::ovs::addon {

class CCarCamObject;

/// See CCamera::startRun(). A start at or before the earliest start so far is fresh: the car is measured and reset. Any
/// other start resumes: the car is restored from the histories at `time`.
void startRun(CCarCamObject& vehicle, double time);

}  // namespace ond::ovs::addon
