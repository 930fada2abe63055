// The probing of the wheels through the physics world beside its plain form: every output the same, to the bit.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "CCarCamObject.h"
#include "ground/BulletLibrary.h"
#include "ground/HostileMeshes.h"
#include "rig/CornerHost.h"
#include "rig/plain/PlainWheelUpdate.h"

namespace ond::ovs::addon {
namespace {

using test::MeshKind;
using test::PinnedRandom;
using util::Matrix4;
using V = util::Vector3<double>;

/// Counts whole casts on their way to the world.
class CountingCaster final : public btDefaultVehicleRaycaster {
  public:
    using btDefaultVehicleRaycaster::btDefaultVehicleRaycaster;
    void* castRay(const btVector3& from, const btVector3& to, btVehicleRaycasterResult& result) override {
        ++rays;
        return btDefaultVehicleRaycaster::castRay(from, to, result);
    }
    long rays = 0;
};

/// What an update reads and writes.
struct WheelState {
    pcWheel wheel;
    Matrix4 matrices[3];
    V scale;
    V down;
    double deltas[2];
    std::vector<V> normals;
    std::vector<V> points;
    std::vector<double> dists;
};

bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }
bool sameBits(const V& a, const V& b) { return sameBits(a.x, b.x) && sameBits(a.y, b.y) && sameBits(a.z, b.z); }
bool sameBits(const Matrix4& a, const Matrix4& b) { return std::memcmp(&a.m, &b.m, sizeof a.m) == 0; }

template <class T>
bool sameBits(const std::vector<T>& a, const std::vector<T>& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!sameBits(a[i], b[i])) return false;
    return true;
}

void expectSame(const WheelState& a, const WheelState& b) {
    EXPECT_EQ(a.wheel.bInAir, b.wheel.bInAir);
    EXPECT_TRUE(sameBits(a.wheel.vGroundNormal, b.wheel.vGroundNormal));
    EXPECT_TRUE(sameBits(a.wheel.vGroundHitPoint, b.wheel.vGroundHitPoint));
    EXPECT_TRUE(sameBits(a.wheel.qTransWheelAbs.position, b.wheel.qTransWheelAbs.position));
    EXPECT_TRUE(sameBits(ToMatrix(a.wheel.qTransWheelAbs), ToMatrix(b.wheel.qTransWheelAbs)));
    EXPECT_TRUE(sameBits(a.wheel.vSuspPoint, b.wheel.vSuspPoint));
    EXPECT_TRUE(sameBits(a.wheel.dSuspDistanceMoved, b.wheel.dSuspDistanceMoved));
    EXPECT_TRUE(sameBits(a.wheel.dWheelGroundNormalDiff, b.wheel.dWheelGroundNormalDiff));
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(sameBits(a.matrices[i], b.matrices[i])) << i;
    EXPECT_TRUE(sameBits(a.scale, b.scale));
    EXPECT_TRUE(sameBits(a.down, b.down));
    EXPECT_TRUE(sameBits(a.deltas[0], b.deltas[0]));
    EXPECT_TRUE(sameBits(a.deltas[1], b.deltas[1]));
    EXPECT_TRUE(sameBits(a.normals, b.normals));
    EXPECT_TRUE(sameBits(a.points, b.points));
    EXPECT_TRUE(sameBits(a.dists, b.dists));
}

class WheelProbing : public testing::Test {
  protected:
    WheelProbing() {
        vehicle->hostInterface = &host;
        vehicle->aWheelNodes.resize(1);
        vehicle->aWheelNodes[0].parent = vehicle;
        vehicle->aWheelRelocatorNodes.resize(1);
        vehicle->aWheelRelocatorNodes[0].parent = vehicle;
        vehicle->aWheelRelocatorNodes[0].pMesh = &element;
        vehicle->bUseStaticMesh = true;
    }
    ~WheelProbing() override {
        RecordProperty("updates", std::to_string(updates));
        RecordProperty("rays", std::to_string(rays));
        vehicle->release();
    }

    rig::CWheelNode& node() { return vehicle->aWheelNodes[0]; }
    cCarCam& car() { return vehicle->cCarCam; }

    void enterMeshes(const std::vector<util::CMesh>& meshes) {
        vehicle->cPhysicsWorld.createWorld(V(0, -1, 0));
        storages.clear();
        bodies.assign(meshes.size(), nullptr);
        for (std::size_t i = 0; i < meshes.size(); ++i) {
            storages.push_back(std::make_unique<triMeshStorage>());
            storages.back()->setStaticMesh(meshes[i], btTransform::getIdentity(), btVector3(1, 1, 1), 0.01);
            vehicle->cPhysicsWorld.addRigidBody(bodies[i], 0.0, btTransform::getIdentity(),
                                                storages.back()->getShape());
        }
        vehicle->m_vehicleRaycaster = std::make_unique<btDefaultVehicleRaycaster>(vehicle->cPhysicsWorld.pWorld.get());
    }

    void linkGround(const Matrix4& toWorld) {
        vehicle->cGravityDirectionNode.mParentMesh = {toWorld};
        vehicle->cGravityDirectionNode.mParentMesh_inv = {Inverse(toWorld)};
    }

    WheelState state() {
        return {car().pcWheel[0],
                {node().mCurr, node().mPrev, node().mPrev2},
                node().vInitScale,
                node().vWheelDownPrev,
                {node().dCurrDelta, node().dCurrDeltaW},
                node().hits.normals,
                node().hits.points,
                node().hits.dists};
    }

    void setState(const WheelState& s) {
        car().pcWheel[0] = s.wheel;
        node().mCurr = s.matrices[0];
        node().mPrev = s.matrices[1];
        node().mPrev2 = s.matrices[2];
        node().vInitScale = s.scale;
        node().vWheelDownPrev = s.down;
        node().dCurrDelta = s.deltas[0];
        node().dCurrDeltaW = s.deltas[1];
    }

    /// Updates the wheel in both ways from the state that it is in.
    void updateBothWays() {
        const WheelState before = state();
        test::plainWheelUpdate(node(), 0.0);
        const WheelState plain = state();
        setState(before);
        node().update(0.0);
        expectSame(state(), plain);
        ++updates;
        rays += raysOf();
        if (!car().pcWheel[0].bInAir) ++grounded;
    }

    /// Side rays of an update with the present settings, at most.
    long raysOf() {
        // None looks up.
        const auto mostToASide = static_cast<long>(90.0 / vehicle->dDegsPerRay);
        const long toEachSide = std::min<long>(vehicle->iRayMultiplier - 1, mostToASide);
        return toEachSide < 1 ? 1 : 1 + (2 * toEachSide + 1) * (vehicle->bAddRaysAtWheelEdges ? 3 : 1);
    }

    void chooseSettings(PinnedRandom& random, double scale, bool aligned) {
        car().wheelGeom[0].radius = 0.26 * scale * (aligned ? 1.0 : random.in(0.3, 3.0));
        car().wheelGeom[0].x = car().wheelGeom[0].z = 0.0;
        car().dWheelRadiusMult = aligned ? 1.0 : 0.95;
        car().fBodyLength = 4.0 * scale;
        car().fBodyRestHeight = 0.137 * scale;
        car().bGravityOn = random.chance(0.3);
        car().fRelMaxBumperLen = random.chance(0.1) ? -0.9 : 0.2;
        vehicle->iRayMultiplier = random.chance(0.5) ? 10 : 1 + static_cast<int>(random.bits() % 20);
        vehicle->dDegsPerRay = aligned              ? 22.5 / (1 + random.bits() % 4)
                               : random.chance(0.5) ? 2.0
                                                    : random.in(0.1, 30.0);
        vehicle->bAddRaysAtWheelEdges = random.chance(0.7);
        node().vInitScale = V(0.2 * scale, 1.0, 1.0);
    }

    /// Stands the wheel somewhere on the ground, at times below it or beside it.
    void place(PinnedRandom& random, const Matrix4& toWorld, MeshKind kind, double cell, bool aligned, const V& at) {
        const double R = car().wheelGeom[0].radius * car().dWheelRadiusMult;
        const V local = cell * V(at.x, test::heightOf(kind, at.x, at.z), at.z);
        const V ground = Transform(toWorld, local);
        const double above = aligned ? R : R * random.in(-0.5, 1.5);
        vehicle->cCarBodyNode.mCurr.setRow(3, ground + V(0, car().fBodyRestHeight + above - R, 0));
        host.corner = aligned ? Matrix4() : ToMatrix(util::QTransform<double>{{}, tilt(random, random.chance(0.1))});
    }

    static util::Quat<double> tilt(PinnedRandom& random, bool wild) {
        if (wild) return random.rotation();
        util::Quat<double> q(random.in(-0.2, 0.2), random.in(-1, 1), random.in(-0.2, 0.2), 1.0);
        util::Normalize(q);
        return q;
    }

    static Matrix4 groundMatrix(PinnedRandom& random, double scale, bool aligned) {
        const double what = random.in(0.0, 1.0);
        if (aligned || what < 0.4) return {};
        const Matrix4 placed =
            ToMatrix(util::QTransform<double>{random.vector(20.0 * scale), tilt(random, what > 0.95)});
        if (what < 0.7) return placed;
        return placed * util::Scaling({random.in(0.3, 3.0), random.in(0.3, 3.0), what < 0.8 ? -1.0 : 1.0});
    }

    /// Drives of a few frames over random grounds.
    void drive(std::uint64_t seed, int worlds, int drives, double scale) {
        worlds *= test::repetitions();
        PinnedRandom random(seed);
        for (int i = 0; i < worlds; ++i) {
            const auto kind = static_cast<MeshKind>(random.bits() % static_cast<std::uint32_t>(MeshKind::count));
            const bool aligned = random.chance(0.3);
            const double cell = scale * (aligned ? 0.26 : std::pow(10.0, random.in(-1.5, 0.5)));
            std::vector<util::CMesh> meshes;
            const std::size_t count = random.chance(0.7) ? 1 : 1 + random.bits() % 3;
            while (meshes.size() < count) meshes.push_back(test::hostileMesh(random, kind, cell));
            enterMeshes(meshes);
            for (int j = 0; j < drives; ++j) {
                SCOPED_TRACE(testing::Message()
                             << "world " << i << " kind " << static_cast<int>(kind) << " drive " << j);
                const Matrix4 toWorld = groundMatrix(random, scale, aligned);
                linkGround(toWorld);
                chooseSettings(random, scale, aligned);
                V at(random.in(-6, 6), 0, random.in(-6, 6));
                if (aligned) at = V(std::round(2 * at.x) / 2, 0, std::round(2 * at.z) / 2);
                for (int frame = 0; frame < 5; ++frame) {
                    place(random, toWorld, kind, cell, aligned, at);
                    updateBothWays();
                    if (HasFailure()) return;
                    at = at + (aligned ? V(0.5, 0, 0) : random.vector(0.5));
                }
            }
        }
    }

    test::CornerHost host;
    test::GroundElement element{"Relocator"};
    CCarCamObject* vehicle = new CCarCamObject(CameraCreationRecord{{0, 0}, 0, "Car"});
    std::vector<std::unique_ptr<triMeshStorage>> storages;
    std::vector<btRigidBody*> bodies;
    long updates = 0;
    long grounded = 0;
    long rays = 0;
};

TEST_F(WheelProbing, IsThePlainOneOnAnyGround) {
    drive(1, 120, 25, 1.0);
    EXPECT_GT(grounded, updates / 3);
    EXPECT_GT(rays, 500000);
}

TEST_F(WheelProbing, IsThePlainOneAtAnyScale) {
    drive(2, 30, 10, 1e-3);
    drive(3, 30, 10, 1e3);
    EXPECT_GT(grounded, updates / 3);
}

TEST_F(WheelProbing, CasterOfSomebodyElseSeesEveryRay) {
    enterMeshes({test::gridMesh(20, 0.3, [](double, double) { return 0.0; })});
    linkGround({});
    PinnedRandom random(4);
    chooseSettings(random, 1.0, true);
    vehicle->iRayMultiplier = 10;
    vehicle->dDegsPerRay = 2.0;
    vehicle->bAddRaysAtWheelEdges = true;
    place(random, {}, MeshKind::flat, 0.3, true, {});
    auto caster = std::make_unique<CountingCaster>(vehicle->cPhysicsWorld.pWorld.get());
    const CountingCaster& counter = *caster;
    vehicle->m_vehicleRaycaster = std::move(caster);
    node().update(0.0);
    EXPECT_EQ(counter.rays, 57);
}

}  // namespace
}  // namespace ond::ovs::addon
