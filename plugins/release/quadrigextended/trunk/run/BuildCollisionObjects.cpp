#include "run/BuildCollisionObjects.h"

#include <memory>
#include <string>
#include <utility>

#include "CCarCamObject.h"
#include "ground/BulletLibrary.h"
#include "ond/ovs/SurfaceObject.h"

namespace ond::ovs::addon {

namespace {

constexpr double kFriction = 0.5;
constexpr double kRestitution = 0.5;
// Thickness of mesh shapes, scene units. Rays do not see it.
constexpr double kMeshMargin = 0.01;

// The default ground in body lengths: half extents, and the margin.
constexpr double kGroundHalfWidth = 1000.0;
constexpr double kGroundHalfHeight = 10.0;
constexpr double kGroundMargin = 0.0001;

/// Listed before its body enters the world: the list frees what the world does not.
CollisionObjects& newEntry(CCarCamObject& vehicle) {
    vehicle.aCollisionObjects.push_back(std::make_unique<CollisionObjects>());
    CollisionObjects& entry = *vehicle.aCollisionObjects.back();
    entry.parent = &vehicle;
    entry.pTriMeshStorage = std::make_unique<triMeshStorage>();
    return entry;
}

void addBody(CCarCamObject& vehicle, CollisionObjects& entry) {
    vehicle.cPhysicsWorld.addRigidBody(entry.pRigidBody, entry.dMass, toBullet(entry.mSurface),
                                       entry.pTriMeshStorage->getShape());
    entry.pRigidBody->setFriction(kFriction);
    entry.pRigidBody->setRestitution(kRestitution);
}

void addDefaultGround(CCarCamObject& vehicle) {
    const double s = vehicle.cCarCam.fBodyLength;
    CollisionObjects& entry = newEntry(vehicle);
    entry.mSurface.setRow(3, {0.0, -kGroundHalfHeight * s, 0.0});
    entry.pTriMeshStorage->setShape(
        std::make_unique<btBoxShape>(btVector3(kGroundHalfWidth, kGroundHalfHeight, kGroundHalfWidth)), 0.0,
        btVector3(s, s, s), s * kGroundMargin);
    addBody(vehicle, entry);
    entry.sName = "DefaultGround";
}

/// Shape and mass of the entry from a mesh in its local coordinates. Without a usable face there is no shape.
void setMesh(CollisionObjects& entry, const util::CMesh& mesh, bool bKinematic) {
    triMeshStorage& storage = *entry.pTriMeshStorage;
    const btTransform transform = toBullet(entry.mSurface);
    const btVector3 unscaled(1.0, 1.0, 1.0);
    if (bKinematic) {
        storage.setStaticMesh(mesh, transform, unscaled, kMeshMargin);
        entry.dMass = 0.0;
    } else {
        storage.setConvexMesh(mesh, transform, unscaled, kMeshMargin);
        entry.dMass = storage.dVolume;
    }
}

void setMeshOfSurface(CInterface& host, CollisionObjects& entry, bool bKinematic) {
    SurfaceObject* surface = host.getSurfaceObject(entry.pMesh, host.getCurrentTime());
    if (!surface) return;
    util::CMesh mesh;
    surface->getMesh(mesh);
    if (mesh.getNumVertices() >= 1) setMesh(entry, mesh, bKinematic);
    host.releaseSurfaceObject(surface);
}

void makeKinematic(btRigidBody& body) { body.setCollisionFlags(btCollisionObject::CF_KINEMATIC_OBJECT); }

/// Gives the body the velocity of its element, measured over one step of the world.
void setVelocities(const CCarCamObject& vehicle, const CollisionObjects& entry) {
    const double now = vehicle.hostInterface->getCurrentTime();
    const double step = physicsFrameStep(vehicle);
    const btTransform current = toBullet(rig::readWorldMatrix(entry, now));
    const btTransform before = toBullet(rig::readWorldMatrix(entry, now - step));
    btVector3 linear;
    btVector3 angular;
    btTransformUtil::calculateVelocity(before, current, step, linear, angular);
    entry.pRigidBody->setLinearVelocity(linear);
    entry.pRigidBody->setAngularVelocity(angular);
}

/// Sets `bKinematic` when the surface has no mass to move, for this surface and all further ones.
void addSurface(CCarCamObject& vehicle, MeshHandle& element, bool& bKinematic) {
    CollisionObjects& entry = newEntry(vehicle);
    entry.pMesh = &element;
    setMeshOfSurface(*vehicle.hostInterface, entry, bKinematic);
    addBody(vehicle, entry);
    if (entry.dMass == 0.0) bKinematic = true;
    entry.pRigidBody->setActivationState(DISABLE_DEACTIVATION);
    if (bKinematic)
        makeKinematic(*entry.pRigidBody);
    else
        setVelocities(vehicle, entry);
    entry.sName = (bKinematic ? "Kinematic_" : "Dynamic_") + element.getName();
}

void addStoredMesh(CCarCamObject& vehicle) {
    CollisionObjects& entry = newEntry(vehicle);
    setMesh(entry, vehicle.cMesh_storedGroundMesh.whole(), true);
    addBody(vehicle, entry);
    entry.pRigidBody->setActivationState(DISABLE_DEACTIVATION);
    makeKinematic(*entry.pRigidBody);
    entry.sName = "groundMeshTemp";
}

}  // namespace

void buildCollisionObjects(CCarCamObject& vehicle, MeshHandle* groundElement, bool bKinematic) {
    MeshHandle* parent = groundElement ? groundElement->getParent() : nullptr;
    const int nChildren = groundElement ? groundElement->getNumChildren() : 0;
    if (!parent && nChildren == 0 && bKinematic && !vehicle.bStoreGroundMeshData) {
        addDefaultGround(vehicle);
    } else if (vehicle.cMesh_storedGroundMesh.getNumFaces() < 1) {
        for (int i = 0; i < nChildren; ++i)
            if (MeshHandle* child = groundElement->getChild(i)) addSurface(vehicle, *child, bKinematic);
        if (parent) addSurface(vehicle, *parent, bKinematic);
    } else {
        addStoredMesh(vehicle);
    }
}

double physicsFrameStep(const CCarCamObject& vehicle) {
    return vehicle.hostInterface->getFrameStep() / (vehicle.iSubSteps + 1.0);
}

}  // namespace ond::ovs::addon
