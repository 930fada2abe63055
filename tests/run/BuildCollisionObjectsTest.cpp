// Entering the ground into the collision world: which bodies there are, how they are set up, what rays find.
#include "run/BuildCollisionObjects.h"

#include <gtest/gtest.h>

#include "CCarCamObject.h"
#include "ground/BulletLibrary.h"
#include "ground/GroundMeshes.h"
#include "ground/Rays.h"
#include "run/GroundHost.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::castRay;
using test::GroundElement;
using test::RayHit;
using V = util::Vector3<double>;

util::CMesh plateau(double height) {
    return test::gridMesh(10, 1.0, [height](double, double) { return height; });
}

/// A tetrahedron with a volume.
util::CMesh solid() {
    const V a(0, 0, 0);
    const V b(4, 0, 0);
    const V c(0, 0, 4);
    const V d(0, 4, 0);
    return test::meshOf({{a, b, c}, {a, b, d}, {b, c, d}, {a, c, d}});
}

class BuildCollisionObjects : public testing::Test {
  protected:
    BuildCollisionObjects() {
        vehicle->hostInterface = &host;
        vehicle->cCarCam.fBodyLength = 2.0;
        vehicle->cPhysicsWorld.createWorld(V(0, -1, 0));
    }
    ~BuildCollisionObjects() override { vehicle->release(); }

    void build(bool bKinematic = true) { buildCollisionObjects(*vehicle, &gravity, bKinematic); }
    [[nodiscard]] const std::vector<std::unique_ptr<CollisionObjects>>& entries() const {
        return vehicle->aCollisionObjects;
    }
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> list;
        for (const auto& entry : entries()) list.push_back(entry->sName);
        return list;
    }
    RayHit down(double x, double z) { return castRay(vehicle->cPhysicsWorld, V(x, 7, z), V(x, -1, z)); }
    int numBodies() const { return vehicle->cPhysicsWorld.pWorld->getNumCollisionObjects(); }

    /// An element with a surface of that height.
    GroundElement& element(const char* name, std::optional<util::CMesh> mesh) {
        elements.emplace_back(name);
        elements.back().mesh = std::move(mesh);
        return elements.back();
    }

    test::GroundHost host;
    std::deque<GroundElement> elements;
    GroundElement gravity{"Car_GravityDirectionMesh"};
    CCarCamObject* vehicle = new CCarCamObject(CameraCreationRecord{});
};

TEST_F(BuildCollisionObjects, WithoutGroundTheDefaultGroundEndsAtHeightZero) {
    build();
    ASSERT_EQ(names(), std::vector<std::string>{"DefaultGround"});
    const CollisionObjects& entry = *entries()[0];
    EXPECT_EQ(entry.pMesh, nullptr);
    EXPECT_EQ(entry.parent, vehicle);
    EXPECT_EQ(entry.mSurface.row(3), V(0, -20, 0));
    EXPECT_EQ(entry.dMass, 0.0);
    EXPECT_EQ(entry.pRigidBody->getFriction(), 0.5);
    EXPECT_EQ(entry.pRigidBody->getRestitution(), 0.5);
    EXPECT_EQ(entry.pRigidBody->getBroadphaseProxy()->m_collisionFilterGroup, 2);
    EXPECT_EQ(entry.pRigidBody->getBroadphaseProxy()->m_collisionFilterMask, 3);
    EXPECT_EQ(entry.pTriMeshStorage->getShape()->getMargin(), 2.0 * 0.0001);
    EXPECT_EQ(fromBullet(entry.pTriMeshStorage->getShape()->getLocalScaling()), V(2, 2, 2));
    for (const double x : {0.0, 100.0, -1990.0}) {
        const RayHit hit = down(x, 3.0);
        ASSERT_TRUE(hit.hit);
        EXPECT_NEAR(hit.point.y, 0.0, 1e-8);
        EXPECT_TRUE(test::isClose(hit.normal, V(0, 1, 0)));
    }
    EXPECT_FALSE(down(2001.0, 0.0).hit) << "it is 1000 body lengths wide to each side";
}

TEST_F(BuildCollisionObjects, WithoutAGroundElementTheDefaultGroundIsMade) {
    buildCollisionObjects(*vehicle, nullptr, true);
    EXPECT_EQ(names(), std::vector<std::string>{"DefaultGround"});
}

TEST_F(BuildCollisionObjects, AStoredMeshWithoutLinkedGroundIsTheGround) {
    vehicle->bStoreGroundMeshData = true;
    vehicle->cMesh_storedGroundMesh = plateau(3.0);
    build();
    ASSERT_EQ(names(), std::vector<std::string>{"groundMeshTemp"});
    const CollisionObjects& entry = *entries()[0];
    EXPECT_EQ(entry.pMesh, nullptr);
    EXPECT_EQ(entry.mSurface, util::Matrix4());
    EXPECT_EQ(entry.pRigidBody->getActivationState(), 4);
    EXPECT_EQ(entry.pRigidBody->getCollisionFlags(), 2);
    EXPECT_EQ(entry.pRigidBody->getFriction(), 0.5);
    EXPECT_EQ(entry.pRigidBody->getRestitution(), 0.5);
    EXPECT_EQ(entry.pTriMeshStorage->getShape()->getMargin(), 0.01);
    EXPECT_EQ(down(0.3, 0.2).fraction, 0.5);
}

TEST_F(BuildCollisionObjects, AStoredMeshReplacesLinkedSurfaces) {
    gravity.parent = &element("Land", plateau(1.0));
    vehicle->bStoreGroundMeshData = true;
    vehicle->cMesh_storedGroundMesh = plateau(3.0);
    build();
    EXPECT_EQ(names(), std::vector<std::string>{"groundMeshTemp"});
    EXPECT_TRUE(host.askedSurfaces.empty());
    EXPECT_EQ(numBodies(), 1);
}

TEST_F(BuildCollisionObjects, ALeftOverMeshDoesNotReplaceTheDefaultGround) {
    vehicle->cMesh_storedGroundMesh = plateau(3.0);
    build();
    EXPECT_EQ(names(), std::vector<std::string>{"DefaultGround"});
}

TEST_F(BuildCollisionObjects, WithTheFlagButWithoutMeshAndGroundThereIsNothing) {
    vehicle->bStoreGroundMeshData = true;
    build();
    EXPECT_TRUE(names().empty());
    EXPECT_EQ(numBodies(), 0);
}

TEST_F(BuildCollisionObjects, GroundLinkedByTheParentIsOneBody) {
    GroundElement& land = element("Land", plateau(1.0));
    gravity.parent = &land;
    build();
    ASSERT_EQ(names(), std::vector<std::string>{"Kinematic_Land"});
    const CollisionObjects& entry = *entries()[0];
    EXPECT_EQ(entry.pMesh, &land);
    EXPECT_EQ(entry.dMass, 0.0);
    EXPECT_EQ(entry.mSurface, util::Matrix4());
    EXPECT_EQ(entry.pRigidBody->getActivationState(), 4);
    EXPECT_EQ(entry.pRigidBody->getCollisionFlags(), 2);
    EXPECT_EQ(entry.pRigidBody->getFriction(), 0.5);
    EXPECT_EQ(entry.pRigidBody->getRestitution(), 0.5);
    EXPECT_EQ(entry.pRigidBody->getBroadphaseProxy()->m_collisionFilterGroup, 2);
    EXPECT_EQ(entry.pRigidBody->getBroadphaseProxy()->m_collisionFilterMask, 3);
    EXPECT_EQ(entry.pTriMeshStorage->getShape()->getMargin(), 0.01);
    EXPECT_EQ(host.askedTimes, std::vector<double>{2.0});
    EXPECT_EQ(host.openSurfaces, 0);
    EXPECT_EQ(down(0.3, 0.2).fraction, 0.75);
}

TEST_F(BuildCollisionObjects, ChildrenComeBeforeTheParent) {
    gravity.children = {&element("One", plateau(1.0)), &element("Two", plateau(3.0))};
    gravity.parent = &element("Land", plateau(-0.5));
    build();
    EXPECT_EQ(names(), (std::vector<std::string>{"Kinematic_One", "Kinematic_Two", "Kinematic_Land"}));
    EXPECT_EQ(host.askedSurfaces, (std::vector<std::string>{"One", "Two", "Land"}));
    EXPECT_EQ(numBodies(), 3);
    EXPECT_EQ(down(0.3, 0.2).fraction, 0.5) << "the highest one";
}

TEST_F(BuildCollisionObjects, SurfacesEnterInTheirOwnCoordinates) {
    GroundElement& land = element("Land", plateau(1.0));
    land.velocity = V(0, 1000, 0);
    gravity.parent = &land;
    build();
    EXPECT_EQ(down(0.3, 0.2).fraction, 0.75);
}

// The end of the vehicle frees these bodies, too: a leak check sees it.
TEST_F(BuildCollisionObjects, WhatHasNoShapeIsListedButNotInTheWorld) {
    util::CMesh onlyVertices = plateau(1.0);
    onlyVertices.faces.clear();
    util::CMesh wild = plateau(1.0);
    for (int& index : wild.faces) index += 100000;
    gravity.children = {&element("Light", std::nullopt), &element("Empty", util::CMesh()),
                        &element("Points", onlyVertices), &element("Wild", wild), &element("Land", plateau(3.0))};
    build();
    EXPECT_EQ(names(), (std::vector<std::string>{"Kinematic_Light", "Kinematic_Empty", "Kinematic_Points",
                                                 "Kinematic_Wild", "Kinematic_Land"}));
    for (std::size_t i = 0; i < 4; ++i) {
        ASSERT_NE(entries()[i]->pRigidBody, nullptr);
        EXPECT_FALSE(entries()[i]->pRigidBody->isInWorld());
        EXPECT_EQ(entries()[i]->pTriMeshStorage->getShape(), nullptr);
    }
    EXPECT_EQ(numBodies(), 1);
    EXPECT_EQ(down(0.3, 0.2).fraction, 0.5);
    EXPECT_EQ(host.openSurfaces, 0);
}

TEST_F(BuildCollisionObjects, AMissingChildIsPassedOver) {
    gravity.children = {nullptr, &element("Land", plateau(3.0))};
    build();
    EXPECT_EQ(names(), std::vector<std::string>{"Kinematic_Land"});
}

TEST_F(BuildCollisionObjects, FaultyTrianglesOfASurfaceDoNotHarmTheOthers) {
    util::CMesh mesh = plateau(3.0);
    mesh.faces.insert(mesh.faces.begin(), {0, 1, 9999, -5, 2, 3, 4, 4, 4});
    gravity.parent = &element("Land", mesh);
    build();
    EXPECT_EQ(down(0.3, 0.2).fraction, 0.5);
}

TEST_F(BuildCollisionObjects, MovableSurfacesGetMassAndVelocity) {
    GroundElement& boat = element("Boat", solid());
    boat.velocity = V(3, 0, -1);
    gravity.children = {&boat};
    vehicle->iSubSteps = 1;
    EXPECT_EQ(physicsFrameStep(*vehicle), 0.02);
    build(false);
    ASSERT_EQ(names(), std::vector<std::string>{"Dynamic_Boat"});
    const CollisionObjects& entry = *entries()[0];
    EXPECT_GT(entry.dMass, 64.0) << "the volume of the box, with the library's margin";
    EXPECT_EQ(entry.dMass, entry.pTriMeshStorage->dVolume);
    EXPECT_EQ(entry.pRigidBody->getCollisionFlags() & 2, 0);
    EXPECT_EQ(entry.pRigidBody->getActivationState(), 4);
    EXPECT_NEAR(entry.pRigidBody->getLinearVelocity().x(), 3.0, 1e-11);
    EXPECT_NEAR(entry.pRigidBody->getLinearVelocity().z(), -1.0, 1e-11);
    EXPECT_EQ(entry.pRigidBody->getAngularVelocity().length(), 0.0);
    EXPECT_EQ(host.openTransforms, 0);
}

TEST_F(BuildCollisionObjects, BehindASurfaceWithoutMassAllAreKinematic) {
    gravity.children = {&element("Boat", solid()), &element("Light", std::nullopt), &element("Raft", solid())};
    build(false);
    EXPECT_EQ(names(), (std::vector<std::string>{"Dynamic_Boat", "Kinematic_Light", "Kinematic_Raft"}));
    EXPECT_EQ(entries()[2]->dMass, 0.0);
    EXPECT_EQ(entries()[2]->pRigidBody->getCollisionFlags(), 2);
}

TEST_F(BuildCollisionObjects, WithoutGroundAMovableOneIsNotMade) {
    build(false);
    EXPECT_TRUE(names().empty());
}

TEST_F(BuildCollisionObjects, EntriesOfEarlierRunsStayWithoutABody) {
    gravity.parent = &element("Land", plateau(3.0));
    build();
    vehicle->cPhysicsWorld.createWorld(V(0, -1, 0));
    EXPECT_EQ(entries()[0]->pRigidBody, nullptr);
    EXPECT_NE(entries()[0]->pTriMeshStorage, nullptr);
    elements.back().mesh = plateau(1.0);
    build();
    EXPECT_EQ(names(), (std::vector<std::string>{"Kinematic_Land", "Kinematic_Land"}));
    EXPECT_EQ(numBodies(), 1);
    EXPECT_EQ(down(0.3, 0.2).fraction, 0.75) << "a changed surface counts from the next run on";
}

TEST_F(BuildCollisionObjects, OneEntryCanBeReleased) {
    gravity.children = {&element("One", plateau(1.0)), &element("Two", plateau(3.0))};
    build();
    releaseCollisionObject(vehicle->cPhysicsWorld, *entries()[1]);
    EXPECT_EQ(entries()[1]->pRigidBody, nullptr);
    EXPECT_EQ(entries()[1]->pTriMeshStorage, nullptr);
    EXPECT_EQ(numBodies(), 1);
    EXPECT_EQ(down(0.3, 0.2).fraction, 0.75);
    releaseCollisionObject(vehicle->cPhysicsWorld, *entries()[1]);
}

TEST_F(BuildCollisionObjects, AnEntryHasNoElementToMakeOrUpdate) {
    build();
    CollisionObjects& entry = *entries()[0];
    EXPECT_FALSE(entry.create());
    EXPECT_EQ(entry.update(1.0), 0);
}

}  // namespace
}  // namespace ond::ovs::addon
