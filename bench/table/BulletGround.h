// Bullet as a program would use it for wheels that stand alone: the yardstick of Bullet mode. Nothing of the vehicle is
// in it.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "ground/BulletLibrary.h"
#include "ond/util/CMesh.h"

namespace ond::bench::table {

/// A ray on its way into the world.
struct BulletRay {
    btVector3 from;
    btVector3 to;
};

/// Notes the rays and lets them pass.
class RecordingCaster final : public btDefaultVehicleRaycaster {
  public:
    explicit RecordingCaster(btDynamicsWorld* world) : btDefaultVehicleRaycaster(world) {}
    void* castRay(const btVector3& from, const btVector3& to, btVehicleRaycasterResult& result) override;

    std::vector<BulletRay> rays;
    std::size_t hits = 0;
};

/// A mesh as Bullet's shape: the arrays that the shape reads and, on them, the shape with its tree.
class BulletShape {
  public:
    explicit BulletShape(const util::CMesh& mesh);
    void build();  ///< makes the shape; before, there are only the arrays
    [[nodiscard]] btBvhTriangleMeshShape& shape() { return *m_shape; }

  private:
    std::vector<btVector3> m_corners;
    std::vector<int> m_indices;
    btTriangleIndexVertexArray m_view;
    std::unique_ptr<btBvhTriangleMeshShape> m_shape;
};

/// A world with the mesh as its one standing body.
class BulletWorld {
  public:
    explicit BulletWorld(const util::CMesh& mesh);
    BulletWorld(const BulletWorld&) = delete;
    BulletWorld& operator=(const BulletWorld&) = delete;
    ~BulletWorld();

    /// Casts all of them with the library's ray caster for vehicles, one by one; gives how many hit.
    std::size_t cast(const std::vector<BulletRay>& rays);

  private:
    BulletShape m_shape;
    btDefaultCollisionConfiguration m_configuration;
    btCollisionDispatcher m_dispatcher;
    btAxisSweep3 m_broadphase;
    btSequentialImpulseConstraintSolver m_solver;
    btDiscreteDynamicsWorld m_world;
    btDefaultMotionState m_motion;
    btRigidBody m_body;
};

/// The library's version.
[[nodiscard]] std::string bulletVersion();

}  // namespace ond::bench::table
