// What a vehicle keeps of the ground between runs, and what several vehicles have together.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "ground/BulletLibrary.h"
#include "ground/GroundMeshes.h"
#include "ground/Rays.h"
#include "rig/RigBuilder.h"
#include "run/RunEnd.h"
#include "run/RunStart.h"
#include "state/FakeHost.h"
#include "util/HeapUse.h"

namespace ond::ovs::addon {
namespace {

using V = util::Vector3<double>;

util::CMesh plateau(double height) {
    return test::gridMesh(60, 1.0, [height](double, double) { return height; });
}

/// A vehicle that runs on its stored mesh, which it enters into the world as it does a linked surface.
struct Runner {
    explicit Runner(const util::CMesh& ground) {
        rig::buildRig(*car);
        car->bSaveDynamicData = false;  // the host would have to keep undo records
        car->bStoreGroundMeshData = true;
        car->cMesh_storedGroundMesh = ground;
    }

    /// Starts a run and tells on which shape.
    std::shared_ptr<StaticMesh> start() {
        startRun(*car, 0.0);
        return car->aCollisionObjects.back()->pTriMeshStorage->pStaticMesh;
    }
    void stop() { stopRun(*car); }

    /// Height of the ground that a ray finds.
    double height() {
        const test::RayHit hit = test::castRay(car->cPhysicsWorld, V(0.3, 7, 0.2), V(0.3, -9, 0.2));
        return hit.hit ? hit.point.y : NAN;
    }

    test::Car car;
};

TEST(KeptGround, TheNextRunTakesTheShapeOfTheLast) {
    Runner runner(plateau(1.0));
    const StaticMesh* const first = runner.start().get();
    runner.stop();
    EXPECT_EQ(runner.start().get(), first);
    EXPECT_NEAR(runner.height(), 1.0, 1e-9);
    EXPECT_EQ(runner.start().get(), first) << "nor need the run have been stopped";
    EXPECT_NEAR(runner.height(), 1.0, 1e-9);
    EXPECT_EQ(runner.car->cPhysicsWorld.pWorld->getNumCollisionObjects(), 1);
}

TEST(KeptGround, AChangeCountsFromTheNextRunOnAndTheOldShapeGoes) {
    Runner runner(plateau(1.0));
    const std::weak_ptr<StaticMesh> first = runner.start();
    runner.car->cMesh_storedGroundMesh = plateau(3.0);
    EXPECT_NEAR(runner.height(), 1.0, 1e-9);
    runner.stop();
    EXPECT_FALSE(first.expired());
    const std::weak_ptr<StaticMesh> second = runner.start();
    EXPECT_TRUE(first.expired());
    EXPECT_NEAR(runner.height(), 3.0, 1e-9);
    runner.stop();
    runner.car->cMesh_storedGroundMesh.whole().vertices[0].y = std::nextafter(3.0, 4.0);
    runner.start();
    EXPECT_TRUE(second.expired()) << "the smallest change there is";
}

TEST(KeptGround, ARunWithoutFastCastKeepsNothing) {
    Runner runner(plateau(1.0));
    const std::weak_ptr<StaticMesh> first = runner.start();
    runner.stop();
    runner.car->bUseStaticMesh = false;
    startRun(*runner.car, 0.0);
    EXPECT_TRUE(first.expired());
}

TEST(KeptGround, VehiclesOnOneGroundHaveOneShapeInWorldsOfTheirOwn) {
    Runner one(plateau(1.0));
    Runner two(plateau(1.0));
    Runner three(plateau(2.0));
    const auto shared = one.start();
    EXPECT_EQ(two.start(), shared);
    EXPECT_NE(three.start(), shared);
    EXPECT_NE(one.car->cPhysicsWorld.pWorld, two.car->cPhysicsWorld.pWorld);
    EXPECT_NE(one.car->aCollisionObjects[0]->pRigidBody, two.car->aCollisionObjects[0]->pRigidBody);
    one.car->cMesh_storedGroundMesh = plateau(2.0);
    one.stop();
    EXPECT_NEAR(two.height(), 1.0, 1e-9);
    EXPECT_EQ(one.start(), three.start());
    EXPECT_NEAR(one.height(), 2.0, 1e-9);
    EXPECT_NEAR(two.height(), 1.0, 1e-9);
}

TEST(KeptGround, VehiclesGoInAnyOrderAndTheLastTakesTheShapeAlong) {
    for (const std::size_t goesFirst : {0U, 1U}) {
        std::vector<std::unique_ptr<Runner>> runners;
        for (int i = 0; i < 2; ++i) runners.push_back(std::make_unique<Runner>(plateau(1.0)));
        const std::weak_ptr<StaticMesh> shape = runners[0]->start();
        runners[1]->start();
        runners[goesFirst].reset();
        EXPECT_FALSE(shape.expired());
        EXPECT_NEAR(runners[1 - goesFirst]->height(), 1.0, 1e-9);
        runners.clear();
        EXPECT_TRUE(shape.expired());
    }
}

TEST(KeptGround, TheDefaultGroundIsEachVehiclesOwn) {
    Runner one(util::CMesh{});
    Runner two(util::CMesh{});
    for (Runner* runner : {&one, &two}) {
        runner->car->bStoreGroundMeshData = false;
        EXPECT_EQ(runner->start(), nullptr);
    }
    EXPECT_NE(one.car->aCollisionObjects[0]->pTriMeshStorage->getShape(),
              two.car->aCollisionObjects[0]->pTriMeshStorage->getShape());
}

#ifndef HEAP_TELLS_NOTHING
TEST(KeptGround, RunAfterRunTakesNoMoreThanTheEntryThatStays) {
    Runner runner(plateau(1.0));
    const auto runs = [&](int count) {
        for (int i = 0; i < count; ++i) {
            runner.start();
            runner.stop();
            runner.car.host.log.clear();
            runner.car.host.transformTimes.clear();
        }
    };
    runs(20);
    const double before = test::heapInUse();
    runs(100);
    const double perRun = (test::heapInUse() - before) / 100.0;
    EXPECT_LT(perRun, 2000.0) << "the shape alone takes more than 100 times that";
}
#endif

}  // namespace
}  // namespace ond::ovs::addon
