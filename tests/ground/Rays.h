// Casting single rays through a collision world.
#pragma once

#include "ground/BulletLibrary.h"
#include "ground/PhysicsWorld.h"

namespace ond::test {

struct RayHit {
    bool hit = false;
    double fraction = -1.0;        ///< of the way from start to end; means nothing without a hit
    util::Vector3<double> normal;  ///< of unit length; means nothing without a hit
    util::Vector3<double> point;   ///< means nothing without a hit
};

inline RayHit castRay(ovs::addon::PhysicsWorld& physics, const util::Vector3<double>& from,
                      const util::Vector3<double>& to) {
    btDefaultVehicleRaycaster raycaster(physics.pWorld.get());
    btVehicleRaycaster::btVehicleRaycasterResult result;
    RayHit hit;
    hit.hit = raycaster.castRay(ovs::addon::toBullet(from), ovs::addon::toBullet(to), result) != nullptr;
    if (!hit.hit) return hit;
    hit.fraction = result.m_distFraction;
    hit.normal = ovs::addon::fromBullet(result.m_hitNormalInWorld);
    hit.point = ovs::addon::fromBullet(result.m_hitPointInWorld);
    return hit;
}

/// A world with one resting body.
class RayWorld {
  public:
    explicit RayWorld(btCollisionShape* shape) {
        m_physics.createWorld({0.0, -1.0, 0.0});
        m_physics.addRigidBody(m_body, 0.0, btTransform::getIdentity(), shape);
    }
    RayHit cast(const util::Vector3<double>& from, const util::Vector3<double>& to) {
        return castRay(m_physics, from, to);
    }

  private:
    btRigidBody* m_body = nullptr;
    ovs::addon::PhysicsWorld m_physics;
};

}  // namespace ond::test
