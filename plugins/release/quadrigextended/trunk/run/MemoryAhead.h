// Has the memory of a vehicle come to the processor before a frame asks for it.
//
// Where many vehicles drive frame by frame in turn, each finds its memory driven out of the processor's near caches by
// the others, and a frame would wait for one piece after the other. These ask for what the next stages of the frame
// read, as much at once as can come while the present stage reckons. They wait for nothing and change nothing but how
// long a frame takes.
#pragma once

#include <cstddef>

namespace ond::ovs::addon {

class CCarCamObject;

/// The car record, the inputs, and the nodes that come behind the car's step: at the very beginning of a frame.
void fetchCar(const CCarCamObject& vehicle);
/// The elements of these nodes, whose handles are there by now, and what the histories are: before the step.
void fetchAheadOfStep(const CCarCamObject& vehicle);
/// What the physics world holds, and the nodes of the corner behind the first: behind the step.
void fetchAheadOfBody(const CCarCamObject& vehicle);
/// What comes behind a corner: before its update.
void fetchAheadOfCorner(const CCarCamObject& vehicle, std::size_t corner);

/// Has all of that listed in the vehicle's FrameMemory: behind the first frame of a run, when all is where it stays.
void listFrameMemory(CCarCamObject& vehicle);

}  // namespace ond::ovs::addon
