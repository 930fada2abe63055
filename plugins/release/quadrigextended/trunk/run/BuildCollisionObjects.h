// Putting the ground into the vehicle's collision world, for the rays of one run.
#pragma once

namespace ond::ovs {
class MeshHandle;
}

namespace ond::ovs::addon {

class CCarCamObject;

/// Enters the ground into the existing world and appends one entry per body to `aCollisionObjects`: the stored mesh if
/// there is one, else the children and then the parent of `groundElement`, each in its own local coordinates; without
/// any of them a box that ends at y = 0, if no stored mesh is wanted either.
/// @param groundElement whose parent and children are the ground; null stands for an element without any
/// @param bKinematic false makes bodies that could move, of the surfaces' convex hulls, up to the first surface without
///                   a volume
void buildCollisionObjects(CCarCamObject& vehicle, MeshHandle* groundElement, bool bKinematic);

/// Seconds between two steps of the world.
[[nodiscard]] double physicsFrameStep(const CCarCamObject& vehicle);

}  // namespace ond::ovs::addon
