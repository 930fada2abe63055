// Loading a vehicle: its rig is in the scene already, its state comes from the host.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ond::ovs::addon {

class CCarCamObject;

/// Binds the vehicle to the rig that is in the scene and reads its state from the host's block, of whatever version
/// from 100 on. Once, on a declared vehicle without a rig.
///
/// 0 on success. 1 if the scene lacks an element that the block's version has, if the block is none or too old, or if
/// it lacks a key of its version; what was bound and read until then stays, and the vehicle can only be released.
/// A block that is damaged does no harm; see SavedTree for how far that can be promised for a block of unknown size.
std::uint64_t loadState(CCarCamObject& vehicle);

/// The same with a block whose size is known: nothing behind it is ever read.
std::uint64_t loadStateFrom(CCarCamObject& vehicle, const void* block, std::size_t size);

}  // namespace ond::ovs::addon
