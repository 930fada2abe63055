// Saving a vehicle.
#pragma once

#include <cstdint>

namespace ond::ovs::addon {

class CCarCamObject;

/// Hands the vehicle's state to its host as one flat block; see docs/saved-state.md for the layout. Answers 0.
///
/// Refreshes `sDataChunkSaveStruct` on the way. If a ground mesh is to be stored and has no triangle, it
/// switches the storing off and resets the mesh's matrix; nothing else of the vehicle changes.
/// Memory beside the vehicle: the block itself, and twice the text of a stored ground mesh. A history or a text that a
/// leaf cannot hold (2 GiB) is left out.
std::uint64_t saveState(CCarCamObject& vehicle);

}  // namespace ond::ovs::addon
