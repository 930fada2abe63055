// One body of the collision world together with what it was made from.
#pragma once

#include <memory>

#include "ground/PhysicsWorld.h"
#include "ground/TriMeshStorage.h"
#include "rig/SceneNode.h"

namespace ond::ovs::addon {

/// Made no element and deletes none: `pMesh` is the user's ground that the body stands for; a body that stands for
/// none (default ground, stored mesh) has null. Stays where it is in memory while its body is in a world, because the
/// world nulls `pRigidBody` when it frees the body. Lives on after the run, without a body.
class CollisionObjects final : public rig::SceneNode {
  public:
    /// Null after the run. In the world's hands while it is in one, else freed with this object.
    btRigidBody* pRigidBody = nullptr;
    /// Shape of the body and its arrays. Stays behind the run until the next one has begun.
    std::unique_ptr<triMeshStorage> pTriMeshStorage;
    /// Where the surface was entered, scene units.
    util::Matrix4 mSurface;
    /// 0 for a body that does not move.
    double dMass = 0.0;

    CollisionObjects();
    CollisionObjects(const CollisionObjects&) = delete;
    CollisionObjects& operator=(const CollisionObjects&) = delete;
    /// The world that holds the body must have been destroyed before.
    ~CollisionObjects();
};

/// Takes the body of `object` out of the world and frees it and the shape; both pointers are null then.
void releaseCollisionObject(PhysicsWorld& physics, CollisionObjects& object);

}  // namespace ond::ovs::addon
