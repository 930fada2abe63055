#include "ground/PhysicsWorld.h"

#include "ground/BulletLibrary.h"

namespace ond::ovs::addon {

namespace {

constexpr int kSolverIterations = 10;
// What moves looks for what stands; the wheels' rays see both.
constexpr int kFilterGroup = btBroadphaseProxy::StaticFilter;
constexpr int kFilterMask = btBroadphaseProxy::DefaultFilter | btBroadphaseProxy::StaticFilter;
static_assert(kFilterGroup == 2 && kFilterMask == 3);

/// The user pointer of a body leads to the pointer of its owner.
void forgetBody(const btRigidBody& body) {
    if (auto* owner = static_cast<btRigidBody**>(body.getUserPointer())) *owner = nullptr;
}

void deleteConstraints(btDiscreteDynamicsWorld& world) {
    for (int i = world.getNumConstraints() - 1; i >= 0; --i) {
        btTypedConstraint* constraint = world.getConstraint(i);
        world.removeConstraint(constraint);
        delete constraint;
    }
}

void deleteCollisionObjects(btDiscreteDynamicsWorld& world) {
    for (int i = world.getNumCollisionObjects() - 1; i >= 0; --i) {
        btCollisionObject* object = world.getCollisionObjectArray()[i];
        if (btRigidBody* body = btRigidBody::upcast(object)) {
            forgetBody(*body);
            delete body->getMotionState();
        }
        world.removeCollisionObject(object);
        delete object;
    }
}

}  // namespace

PhysicsWorld::PhysicsWorld() = default;

PhysicsWorld::~PhysicsWorld() { destroyWorld(); }

void PhysicsWorld::createWorld(const util::Vector3<double>& gravity) {
    destroyWorld();
    if (!bulletLibraryMatchesHeaders()) return;
    const btVector3 corner(kWorldHalfWidth, kWorldHalfWidth, kWorldHalfWidth);
    pCollisionConfig.reset(new btDefaultCollisionConfiguration);
    pDispatcher.reset(new btCollisionDispatcher(pCollisionConfig.get()));
    pBroadphase.reset(new btAxisSweep3(-corner, corner, kMaxBodies, nullptr));
    pSolver.reset(new btSequentialImpulseConstraintSolver);
    pWorld.reset(
        new btDiscreteDynamicsWorld(pDispatcher.get(), pBroadphase.get(), pSolver.get(), pCollisionConfig.get()));
    pWorld->getSolverInfo().m_numIterations = kSolverIterations;
    pWorld->setGravity(toBullet(gravity));
}

void PhysicsWorld::resetSolver() {
    if (pSolver) pSolver->reset();
}

void PhysicsWorld::destroyWorld() {
    if (!pWorld) return;
    deleteConstraints(*pWorld);
    deleteCollisionObjects(*pWorld);
    pWorld.reset();
    pSolver.reset();
    pBroadphase.reset();
    pDispatcher.reset();
    pCollisionConfig.reset();
}

void PhysicsWorld::addRigidBody(btRigidBody*& owner, double mass, const btTransform& transform,
                                btCollisionShape* shape) {
    btVector3 inertia(0.0, 0.0, 0.0);
    if (mass != 0.0) shape->calculateLocalInertia(mass, inertia);
    auto* body = new btRigidBody(mass, new btDefaultMotionState(transform), shape, inertia);
    body->setUserPointer(&owner);
    owner = body;
    if (pWorld->getNumCollisionObjects() < kMaxBodies) pWorld->addRigidBody(body, kFilterGroup, kFilterMask);
}

void PhysicsWorld::removeRigidBody(btRigidBody*& body) {
    if (body && body->isInWorld()) pWorld->removeRigidBody(body);
    deleteBody(body);
}

void deleteBody(btRigidBody*& body) {
    if (!body) return;
    delete body->getMotionState();
    delete body;
    body = nullptr;
}

}  // namespace ond::ovs::addon
