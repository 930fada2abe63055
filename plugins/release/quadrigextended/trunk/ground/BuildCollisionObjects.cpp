#include "ground/BuildCollisionObjects.h"

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

std::unique_ptr<CollisionObjects> newEntry(CCarCamObject& vehicle) {
    auto entry = std::make_unique<CollisionObjects>();
    entry->parent = &vehicle;
    entry->pTriMeshStorage = std::make_unique<triMeshStorage>();
    return entry;
}

void addBody(CCarCamObject& vehicle, CollisionObjects& entry) {
    vehicle.cPhysicsWorld.addRigidBody(entry.pRigidBody, entry.dMass, toBullet(entry.mSurface),
                                       entry.pTriMeshStorage->getShape());
    entry.pRigidBody->setFriction(kFriction);
    entry.pRigidBody->setRestitution(kRestitution);
}

void appendAs(CCarCamObject& vehicle, std::unique_ptr<CollisionObjects> entry, std::string name) {
    entry->sName = std::move(name);
    vehicle.aCollisionObjects.push_back(std::move(entry));
}

void addDefaultGround(CCarCamObject& vehicle) {
    const double s = vehicle.cCarCam.fBodyLength;
    auto entry = newEntry(vehicle);
    entry->mSurface.setRow(3, {0.0, -kGroundHalfHeight * s, 0.0});
    entry->pTriMeshStorage->setShape(
        std::make_unique<btBoxShape>(btVector3(kGroundHalfWidth, kGroundHalfHeight, kGroundHalfWidth)), 0.0,
        btVector3(s, s, s), s * kGroundMargin);
    addBody(vehicle, *entry);
    appendAs(vehicle, std::move(entry), "DefaultGround");
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

/// Gives the body the velocity that its element has had over the last step of the world.
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
    auto entry = newEntry(vehicle);
    entry->pMesh = &element;
    setMeshOfSurface(*vehicle.hostInterface, *entry, bKinematic);
    addBody(vehicle, *entry);
    if (entry->dMass == 0.0) bKinematic = true;
    entry->pRigidBody->setActivationState(DISABLE_DEACTIVATION);
    if (bKinematic)
        makeKinematic(*entry->pRigidBody);
    else
        setVelocities(vehicle, *entry);
    appendAs(vehicle, std::move(entry), (bKinematic ? "Kinematic_" : "Dynamic_") + element.getName());
}

void addStoredMesh(CCarCamObject& vehicle) {
    auto entry = newEntry(vehicle);
    setMesh(*entry, vehicle.cMesh_storedGroundMesh, true);
    addBody(vehicle, *entry);
    entry->pRigidBody->setActivationState(DISABLE_DEACTIVATION);
    makeKinematic(*entry->pRigidBody);
    appendAs(vehicle, std::move(entry), "groundMeshTemp");
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
