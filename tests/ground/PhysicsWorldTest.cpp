// The collision world: how it is set up, what rays find in it, and that nothing of it stays.
#include "ground/PhysicsWorld.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <type_traits>

#include "ground/BulletLibrary.h"
#include "ground/GroundMeshes.h"
#include "ground/Rays.h"
#include "ground/TriMeshStorage.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::castRay;
using test::isClose;
using test::RayHit;
using V = util::Vector3<double>;

const V kGravity(0, -1, 0);
const btVector3 kUnscaled(1, 1, 1);

int g_liveBlocks = 0;

void* countedAlloc(std::size_t size) {
    ++g_liveBlocks;
    return std::malloc(size);
}

void countedFree(void* block) {
    if (block) --g_liveBlocks;
    std::free(block);
}

/// From construction to destruction, every block of the Bullet library is counted.
class BulletMemory {
  public:
    BulletMemory() {
        g_liveBlocks = 0;
        btAlignedAllocSetCustom(countedAlloc, countedFree);
    }
    ~BulletMemory() { btAlignedAllocSetCustom(nullptr, nullptr); }
    BulletMemory(const BulletMemory&) = delete;
    BulletMemory& operator=(const BulletMemory&) = delete;
    [[nodiscard]] int liveBlocks() const { return g_liveBlocks; }
};

/// A mesh shape and its body; outlives the world that the body is entered into.
struct MeshBody {
    explicit MeshBody(const util::CMesh& mesh) {
        storage.setStaticMesh(mesh, btTransform::getIdentity(), kUnscaled, 0.01);
    }
    void enter(PhysicsWorld& physics) {
        physics.addRigidBody(body, 0.0, btTransform::getIdentity(), storage.getShape());
    }
    triMeshStorage storage;
    btRigidBody* body = nullptr;
};

util::CMesh plateau(double height) {
    return test::gridMesh(10, 1.0, [height](double, double) { return height; });
}

bool isEmpty(const PhysicsWorld& physics) {
    return !physics.pBroadphase && !physics.pDispatcher && !physics.pCollisionConfig && !physics.pSolver &&
           !physics.pWorld;
}

TEST(BulletLibrary, LibraryAndHeadersAgreeOnThePrecision) {
    EXPECT_TRUE(bulletLibraryMatchesHeaders());
    EXPECT_EQ(sizeof(btVector3), 32u);
    EXPECT_TRUE((std::is_same_v<btScalar, double>));
}

TEST(BulletLibrary, ConversionsKeepTheGroupsOfAMatrix) {
    util::Matrix4 m;
    m.setRow(0, V(0, 0, -1));
    m.setRow(2, V(1, 0, 0));
    m.setRow(3, V(5, 6, 7));
    EXPECT_EQ(fromBullet(toBullet(m) * btVector3(1, 2, 3)), util::Transform(m, V(1, 2, 3)));
    EXPECT_EQ(util::Transform(m, V(1, 2, 3)), V(8, 8, 6));
}

TEST(PhysicsWorld, IsEmptyUntilCreated) {
    PhysicsWorld physics;
    EXPECT_TRUE(isEmpty(physics));
    physics.resetSolver();
    physics.destroyWorld();
    EXPECT_TRUE(isEmpty(physics));
}

TEST(PhysicsWorld, IsSetUpAsNeeded) {
    PhysicsWorld physics;
    physics.createWorld(V(0.5, -2.5, 0.25));
    ASSERT_TRUE(physics.pWorld);
    btVector3 min;
    btVector3 max;
    physics.pBroadphase->getBroadphaseAabb(min, max);
    EXPECT_EQ(fromBullet(min), V(-1000, -1000, -1000));
    EXPECT_EQ(fromBullet(max), V(1000, 1000, 1000));
    EXPECT_EQ(fromBullet(physics.pWorld->getGravity()), V(0.5, -2.5, 0.25));
    EXPECT_EQ(physics.pWorld->getSolverInfo().m_numIterations, 10);
    EXPECT_EQ(physics.pWorld->getBroadphase(), physics.pBroadphase.get());
    EXPECT_EQ(physics.pWorld->getDispatcher(), physics.pDispatcher.get());
    EXPECT_EQ(physics.pWorld->getConstraintSolver(), physics.pSolver.get());
    EXPECT_EQ(physics.pDispatcher->getCollisionConfiguration(), physics.pCollisionConfig.get());
    EXPECT_EQ(physics.pWorld->getNumCollisionObjects(), 0);
}

TEST(PhysicsWorld, ResettingTheSolverSetsItsRandomNumbersBack) {
    PhysicsWorld physics;
    physics.createWorld(kGravity);
    const unsigned long first = physics.pSolver->getRandSeed();
    physics.pSolver->setRandSeed(first + 12345);
    physics.resetSolver();
    EXPECT_EQ(physics.pSolver->getRandSeed(), first);
}

TEST(PhysicsWorld, ABodyIsEnteredAsGround) {
    PhysicsWorld physics;
    physics.createWorld(kGravity);
    MeshBody ground(plateau(0.0));
    util::Matrix4 place;
    place.setRow(3, V(1, 2, 3));
    physics.addRigidBody(ground.body, 0.0, toBullet(place), ground.storage.getShape());
    ASSERT_NE(ground.body, nullptr);
    EXPECT_TRUE(ground.body->isInWorld());
    EXPECT_EQ(ground.body->getBroadphaseProxy()->m_collisionFilterGroup, 2);
    EXPECT_EQ(ground.body->getBroadphaseProxy()->m_collisionFilterMask, 3);
    EXPECT_EQ(ground.body->getCollisionShape(), ground.storage.getShape());
    EXPECT_EQ(fromBullet(ground.body->getWorldTransform().getOrigin()), V(1, 2, 3));
    ASSERT_NE(ground.body->getMotionState(), nullptr);
    EXPECT_EQ(ground.body->getInvMass(), 0.0);
    EXPECT_TRUE(ground.body->isStaticObject());
    physics.destroyWorld();
}

TEST(PhysicsWorld, ABodyWithAMassGetsTheInertiaOfItsShape) {
    PhysicsWorld physics;
    physics.createWorld(kGravity);
    triMeshStorage storage;
    storage.setShape(std::make_unique<btBoxShape>(btVector3(1, 2, 3)), 6.0, kUnscaled, 0.01);
    btRigidBody* body = nullptr;
    physics.addRigidBody(body, 6.0, btTransform::getIdentity(), storage.getShape());
    btVector3 inertia;
    storage.getShape()->calculateLocalInertia(6.0, inertia);
    EXPECT_EQ(body->getInvMass(), 1.0 / 6.0);
    EXPECT_EQ(body->getInvInertiaDiagLocal().x(), 1.0 / inertia.x());
    EXPECT_EQ(body->getBroadphaseProxy()->m_collisionFilterGroup, 2);
    physics.destroyWorld();
}

TEST(PhysicsWorld, RaysFindTheFirstSurfaceInFrontOfThem) {
    PhysicsWorld physics;
    physics.createWorld(kGravity);
    MeshBody low(plateau(1.0));
    MeshBody high(plateau(3.0));
    low.enter(physics);
    high.enter(physics);
    RayHit hit = castRay(physics, V(0.3, 7, 0.2), V(0.3, -1, 0.2));
    ASSERT_TRUE(hit.hit);
    EXPECT_EQ(hit.fraction, 0.5);
    EXPECT_EQ(hit.normal, V(0, 1, 0));
    hit = castRay(physics, V(0.3, 2, 0.2), V(0.3, -2, 0.2));
    ASSERT_TRUE(hit.hit);
    EXPECT_EQ(hit.fraction, 0.25) << "from between the two only the lower is in front";
    hit = castRay(physics, V(0.3, -1, 0.2), V(0.3, 3, 0.2));
    ASSERT_TRUE(hit.hit);
    EXPECT_EQ(hit.normal, V(0, -1, 0)) << "the normal looks at the start of the ray";
    EXPECT_FALSE(castRay(physics, V(0.3, 7, 0.2), V(0.3, 3.5, 0.2)).hit) << "too short";
    EXPECT_FALSE(castRay(physics, V(0.3, 0.5, 0.2), V(0.3, -9, 0.2)).hit) << "nothing behind the start counts";
    EXPECT_FALSE(castRay(physics, V(5.3, 7, 0.2), V(5.3, -1, 0.2)).hit) << "beside the ground";
    physics.destroyWorld();
}

TEST(PhysicsWorld, RaysOnSlopesMeetTheAnalyticalPlane) {
    // y = 0.5 x - 0.25 z, on a grid whose numbers are exact.
    PhysicsWorld physics;
    physics.createWorld(kGravity);
    MeshBody slope(test::gridMesh(64, 1.0, [](double x, double z) { return 0.5 * x - 0.25 * z; }));
    slope.enter(physics);
    const V normal = util::Normalized(V(-0.5, 1, 0.25));
    test::PinnedRandom random(31);
    for (int i = 0; i < 500; ++i) {
        SCOPED_TRACE(i);
        const V from(random.in(-20, 20), random.in(25, 40), random.in(-20, 20));
        const V to(random.in(-20, 20), random.in(-40, -25), random.in(-20, 20));
        const auto above = [](const V& p) { return p.y - 0.5 * p.x + 0.25 * p.z; };
        const RayHit hit = castRay(physics, from, to);
        ASSERT_TRUE(hit.hit);
        EXPECT_TRUE(isClose(hit.fraction, above(from) / (above(from) - above(to))));
        EXPECT_TRUE(isClose(hit.normal, normal));
    }
    physics.destroyWorld();
}

TEST(PhysicsWorld, RaysOnHillsMeetTheNearestTriangle) {
    PhysicsWorld physics;
    physics.createWorld(kGravity);
    const util::CMesh mesh = test::gridMesh(60, 1.0, test::hills);
    MeshBody ground(mesh);
    ground.enter(physics);
    test::PinnedRandom random(32);
    int hits = 0;
    int misses = 0;
    for (int i = 0; i < 400; ++i) {
        SCOPED_TRACE(i);
        const V from = random.vector(25.0);
        const V to = random.vector(25.0);
        double nearest = 2.0;
        for (int face = 0; face < mesh.getNumFaces(); ++face) {
            const V& a = mesh.vertices[mesh.getFaceVertex(face, 0)];
            const V n = util::Cross(mesh.vertices[mesh.getFaceVertex(face, 1)] - a,
                                    mesh.vertices[mesh.getFaceVertex(face, 2)] - a);
            const double start = util::Dot(n, from - a);
            const double end = util::Dot(n, to - a);
            if (start * end >= 0.0) continue;
            const double fraction = start / (start - end);
            const V p = from + (to - from) * fraction;
            bool inside = true;
            for (int corner = 0; corner < 3; ++corner) {
                const V& p0 = mesh.vertices[mesh.getFaceVertex(face, corner)];
                const V& p1 = mesh.vertices[mesh.getFaceVertex(face, (corner + 1) % 3)];
                inside = inside && util::Dot(util::Cross(p1 - p0, p - p0), n) >= 0.0;
            }
            if (inside) nearest = std::min(nearest, fraction);
        }
        const RayHit hit = castRay(physics, from, to);
        ASSERT_EQ(hit.hit, nearest <= 1.0);
        ++(hit.hit ? hits : misses);
        if (hit.hit) {
            EXPECT_NEAR(hit.fraction, nearest, 1e-10);
        }
    }
    EXPECT_GT(hits, 100);
    EXPECT_GT(misses, 100);
    physics.destroyWorld();
}

TEST(PhysicsWorld, TheTopOfAScaledBoxIsGround) {
    for (const double s : {0.3, 0.9, 1.0, 4.0}) {
        SCOPED_TRACE(s);
        PhysicsWorld physics;
        physics.createWorld(kGravity);
        triMeshStorage storage;
        storage.setShape(std::make_unique<btBoxShape>(btVector3(1000, 10, 1000)), 0.0, btVector3(s, s, s), s * 0.0001);
        util::Matrix4 place;
        place.setRow(3, V(0, -10.0 * s, 0));
        btRigidBody* body = nullptr;
        physics.addRigidBody(body, 0.0, toBullet(place), storage.getShape());
        for (const V& from : {V(0, 1, 0), V(-200 * s, 3, 77 * s), V(990 * s, 0.01, -990 * s)}) {
            const RayHit hit = castRay(physics, from, from - V(0, 8, 0));
            ASSERT_TRUE(hit.hit);
            // The library iterates towards the box; elsewhere rays are exact.
            EXPECT_NEAR(from.y - 8.0 * hit.fraction, 0.0, 1e-8);
            EXPECT_TRUE(isClose(hit.normal, V(0, 1, 0)));
        }
        EXPECT_FALSE(castRay(physics, V(1001 * s, 1, 0), V(1001 * s, -9, 0)).hit);
        physics.destroyWorld();
    }
}

TEST(PhysicsWorld, BodiesBeyondTheSortedRangeAreStillFound) {
    // The broad phase sorts bodies beyond its range to its border, and casts rays through an index of its own that has
    // no border. So ground need not be cut at 1000.
    for (const double x : {999.5, 1500.0, 80000.0}) {
        SCOPED_TRACE(x);
        PhysicsWorld physics;
        physics.createWorld(kGravity);
        util::CMesh mesh = plateau(1.0);
        for (V& vertex : mesh.vertices) vertex.x += x;
        MeshBody ground(mesh);
        ground.enter(physics);
        EXPECT_TRUE(castRay(physics, V(x + 0.3, 7, 0.2), V(x + 0.3, -1, 0.2)).hit);
        EXPECT_FALSE(castRay(physics, V(0.3, 7, 0.2), V(0.3, -1, 0.2)).hit);
        physics.destroyWorld();
    }
}

TEST(PhysicsWorld, ABodyWithoutAShapeStaysOutsideTheWorld) {
    PhysicsWorld physics;
    physics.createWorld(kGravity);
    btRigidBody* body = nullptr;
    physics.addRigidBody(body, 0.0, btTransform::getIdentity(), nullptr);
    ASSERT_NE(body, nullptr);
    EXPECT_FALSE(body->isInWorld());
    EXPECT_EQ(physics.pWorld->getNumCollisionObjects(), 0);
    EXPECT_FALSE(castRay(physics, V(0, 5, 0), V(0, -5, 0)).hit);
    physics.destroyWorld();
    ASSERT_NE(body, nullptr) << "it is the caller's";
    deleteBody(body);
    EXPECT_EQ(body, nullptr);
    deleteBody(body);
}

TEST(PhysicsWorld, TakesNoMoreBodiesThanItHasRoomFor) {
    PhysicsWorld physics;
    physics.createWorld(kGravity);
    btSphereShape shape(0.001);
    std::vector<btRigidBody*> bodies(kMaxBodies + 2, nullptr);
    for (std::size_t i = 0; i < bodies.size(); ++i) {
        // Rows in a few planes: other orders cost the library far more.
        const double x = -900.0 + 0.1 * static_cast<double>(i);
        const double yz = -900.0 + 100.0 * static_cast<double>(i % 17);
        physics.addRigidBody(bodies[i], 0.0, btTransform(btMatrix3x3::getIdentity(), btVector3(x, yz, yz)), &shape);
    }
    EXPECT_EQ(physics.pWorld->getNumCollisionObjects(), kMaxBodies);
    EXPECT_TRUE(bodies[kMaxBodies - 1]->isInWorld());
    EXPECT_FALSE(bodies[kMaxBodies]->isInWorld());
    physics.destroyWorld();
    EXPECT_EQ(bodies[kMaxBodies - 1], nullptr);
    deleteBody(bodies[kMaxBodies]);
    deleteBody(bodies[kMaxBodies + 1]);
}

TEST(PhysicsWorld, ABodyCanBeTakenOut) {
    PhysicsWorld physics;
    physics.createWorld(kGravity);
    MeshBody low(plateau(1.0));
    MeshBody high(plateau(3.0));
    low.enter(physics);
    high.enter(physics);
    physics.removeRigidBody(high.body);
    EXPECT_EQ(high.body, nullptr);
    EXPECT_EQ(physics.pWorld->getNumCollisionObjects(), 1);
    EXPECT_EQ(castRay(physics, V(0.3, 7, 0.2), V(0.3, -1, 0.2)).fraction, 0.75);
    physics.removeRigidBody(high.body);
    physics.destroyWorld();
}

TEST(PhysicsWorld, DestroyingItFreesEverythingAndForgetsTheBodies) {
    const BulletMemory memory;
    MeshBody first(plateau(1.0));
    MeshBody second(plateau(3.0));
    const int shapes = memory.liveBlocks();
    ASSERT_GT(shapes, 0);
    PhysicsWorld physics;
    physics.createWorld(kGravity);
    first.enter(physics);
    second.enter(physics);
    physics.pWorld->addConstraint(new btPoint2PointConstraint(*first.body, btVector3(0, 0, 0)));
    castRay(physics, V(0.3, 7, 0.2), V(0.3, -1, 0.2));
    EXPECT_GT(memory.liveBlocks(), shapes + 10);
    physics.destroyWorld();
    EXPECT_TRUE(isEmpty(physics));
    EXPECT_EQ(first.body, nullptr);
    EXPECT_EQ(second.body, nullptr);
    EXPECT_EQ(memory.liveBlocks(), shapes);
    first.storage.setStaticMesh(util::CMesh(), btTransform::getIdentity(), kUnscaled, 0.01);
    second.storage.setStaticMesh(util::CMesh(), btTransform::getIdentity(), kUnscaled, 0.01);
    EXPECT_EQ(memory.liveBlocks(), 0);
}

TEST(PhysicsWorld, ItsDestructorFreesEverything) {
    const BulletMemory memory;
    {
        MeshBody ground(plateau(1.0));
        PhysicsWorld physics;
        physics.createWorld(kGravity);
        ground.enter(physics);
        ASSERT_GT(memory.liveBlocks(), 0);
    }
    EXPECT_EQ(memory.liveBlocks(), 0);
}

TEST(PhysicsWorld, ASecondRunHoldsOnlyItsOwnBodies) {
    PhysicsWorld physics;
    MeshBody first(plateau(3.0));
    MeshBody second(plateau(1.0));
    physics.createWorld(kGravity);
    first.enter(physics);
    physics.destroyWorld();
    physics.createWorld(kGravity);
    second.enter(physics);
    EXPECT_EQ(physics.pWorld->getNumCollisionObjects(), 1);
    EXPECT_EQ(castRay(physics, V(0.3, 7, 0.2), V(0.3, -1, 0.2)).fraction, 0.75);
    physics.destroyWorld();
}

TEST(PhysicsWorld, ASecondCreationDestroysTheFirstWorld) {
    const BulletMemory memory;
    MeshBody first(plateau(3.0));
    {
        PhysicsWorld physics;
        physics.createWorld(kGravity);
        const int empty = memory.liveBlocks();
        first.enter(physics);
        physics.createWorld(V(0, -7, 0));
        EXPECT_EQ(first.body, nullptr);
        EXPECT_EQ(memory.liveBlocks(), empty);
        EXPECT_EQ(physics.pWorld->getNumCollisionObjects(), 0);
        EXPECT_EQ(physics.pWorld->getGravity().y(), -7.0);
        EXPECT_FALSE(castRay(physics, V(0.3, 7, 0.2), V(0.3, -1, 0.2)).hit);
    }
    first.storage.setStaticMesh(util::CMesh(), btTransform::getIdentity(), kUnscaled, 0.01);
    EXPECT_EQ(memory.liveBlocks(), 0);
}

TEST(PhysicsWorld, TwoWorldsStandSideBySide) {
    PhysicsWorld one;
    PhysicsWorld two;
    MeshBody low(plateau(1.0));
    MeshBody high(plateau(3.0));
    one.createWorld(kGravity);
    two.createWorld(kGravity);
    low.enter(one);
    high.enter(two);
    EXPECT_EQ(castRay(one, V(0.3, 7, 0.2), V(0.3, -1, 0.2)).fraction, 0.75);
    one.destroyWorld();
    EXPECT_EQ(castRay(two, V(0.3, 7, 0.2), V(0.3, -1, 0.2)).fraction, 0.5);
    two.destroyWorld();
}

}  // namespace
}  // namespace ond::ovs::addon
