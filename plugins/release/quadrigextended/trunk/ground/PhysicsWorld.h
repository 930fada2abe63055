// The collision world that rays are cast through while a run is on. It is filled and queried, and never stepped.
#pragma once

#include <memory>

#include "ond/util/Vector3.h"

class btAxisSweep3;
class btCollisionDispatcher;
class btCollisionShape;
class btDefaultCollisionConfiguration;
class btDefaultVehicleRaycaster;
class btDiscreteDynamicsWorld;
class btRigidBody;
class btSequentialImpulseConstraintSolver;
class btTransform;

namespace ond::ovs::addon {

/// Half the width of the world, scene units. The broad phase sorts with 16 bits over this range; bodies beyond it are
/// all sorted to its border.
inline constexpr double kWorldHalfWidth = 1000.0;
/// Most bodies that the world can hold.
inline constexpr int kMaxBodies = 16384;

/// Holder of the world and its four helpers; all null or all there. Owns them and the bodies in the world, not the
/// shapes of the bodies.
class PhysicsWorld {
  public:
    std::unique_ptr<btAxisSweep3> pBroadphase;
    std::unique_ptr<btCollisionDispatcher> pDispatcher;
    std::unique_ptr<btDefaultCollisionConfiguration> pCollisionConfig;
    std::unique_ptr<btSequentialImpulseConstraintSolver> pSolver;
    std::unique_ptr<btDiscreteDynamicsWorld> pWorld;

    PhysicsWorld();
    PhysicsWorld(const PhysicsWorld&) = delete;
    PhysicsWorld& operator=(const PhysicsWorld&) = delete;
    ~PhysicsWorld();

    /// Makes an empty world, after destroyWorld(). No world results when the Bullet library is not the one that this
    /// module was built for.
    /// @param gravity scene units per second squared
    void createWorld(const util::Vector3<double>& gravity);
    /// Sets the solver back to its first state; nothing without one.
    void resetSolver();
    /// Frees the world with all bodies in it, their motion states and constraints. Nothing without a world. Whatever
    /// was made on the world (a ray caster) is useless then.
    void destroyWorld();

    /// Makes a body that stands at `transform` and enters it into the world, visible to rays. The world must exist.
    ///
    /// Not entered, and then the caller's to free (see deleteBody()): a body that has no shape, and one too many.
    /// @param owner receives the body; becomes null when the world frees it. Must outlive the body's stay in the world.
    /// @param mass 0 for a body that does not move
    /// @param shape not owned; may be null when `mass` is 0
    void addRigidBody(btRigidBody*& owner, double mass, const btTransform& transform, btCollisionShape* shape);
    /// Takes the body out of the world if it is in it, and frees it with its motion state. Nulls `body`.
    void removeRigidBody(btRigidBody*& body);
};

/// Frees a body that is in no world, with its motion state, and nulls `body`; nothing for null.
void deleteBody(btRigidBody*& body);

}  // namespace ond::ovs::addon
