#include "rig/CollisionObjects.h"

#include "ground/BulletLibrary.h"

namespace ond::ovs::addon {

CollisionObjects::CollisionObjects() : SceneNode(std::string()) {}

CollisionObjects::~CollisionObjects() { deleteBody(pRigidBody); }

void releaseCollisionObject(PhysicsWorld& physics, CollisionObjects& object) {
    if (physics.pWorld) physics.removeRigidBody(object.pRigidBody);
    object.pTriMeshStorage.reset();
}

}  // namespace ond::ovs::addon
