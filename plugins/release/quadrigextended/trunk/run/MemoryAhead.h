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

/// The car record and the inputs: at the very beginning of a frame.
void fetchCar(const CCarCamObject& vehicle);
/// The nodes of the body: before the car's step.
void fetchBody(const CCarCamObject& vehicle);
/// The nodes of a corner; does nothing for one that there is not.
void fetchCorner(const CCarCamObject& vehicle, std::size_t corner);
/// What comes behind a corner: before its update.
void fetchAheadOfCorner(CCarCamObject& vehicle, std::size_t corner);

}  // namespace ond::ovs::addon
