// Rays cast at what is near beside the same rays cast through the whole physics world: the same hits, to the bit.
#include "ground/NearGround.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ground/BulletLibrary.h"
#include "ground/HostileMeshes.h"
#include "ground/PhysicsWorld.h"
#include "ground/TriMeshStorage.h"

namespace ond::ovs::addon {
namespace {

using test::MeshKind;
using test::PinnedRandom;
using V = util::Vector3<double>;

bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

bool sameBits(const V& a, const V& b) { return sameBits(a.x, b.x) && sameBits(a.y, b.y) && sameBits(a.z, b.z); }

/// A world of meshes that stand where they were modelled.
class World {
  public:
    World() { m_physics.createWorld(V(0, -1, 0)); }
    ~World() { m_physics.destroyWorld(); }

    btRigidBody& add(const util::CMesh& mesh, const btTransform& where = btTransform::getIdentity(),
                     const btVector3& scaling = btVector3(1, 1, 1)) {
        m_bodies.push_back(std::make_unique<Entry>());
        Entry& entry = *m_bodies.back();
        entry.storage.setStaticMesh(mesh, where, scaling, 0.01);
        m_physics.addRigidBody(entry.body, 0.0, where, entry.storage.getShape());
        return *entry.body;
    }

    [[nodiscard]] const btDynamicsWorld& bullet() const { return *m_physics.pWorld; }

    /// The whole cast.
    bool cast(const V& origin, const V& direction, double length, double& t, V& normal) {
        btDefaultVehicleRaycaster caster(m_physics.pWorld.get());
        btVehicleRaycaster::btVehicleRaycasterResult result;
        const btVector3 from = toBullet(origin);
        const btVector3 to = from + toBullet(direction) * length;
        if (caster.castRay(from, to, result) == nullptr) return false;
        t = length * result.m_distFraction;
        normal = fromBullet(result.m_hitNormalInWorld);
        return true;
    }

  private:
    struct Entry {
        triMeshStorage storage;
        btRigidBody* body = nullptr;
    };
    std::vector<std::unique_ptr<Entry>> m_bodies;
    PhysicsWorld m_physics;
};

struct Tally {
    long hits = 0;
    long beyond = 0;
    long unknown = 0;
    long refused = 0;
    [[nodiscard]] long rays() const { return hits + beyond + unknown; }
};

/// A fan of rays from a small box, all of them cast both ways.
class Fan {
  public:
    Fan(World& world, NearGround& near, double reach, double length)
        : m_world(world), m_near(near), m_reach(reach), m_length(length) {}

    void cast(const std::vector<V>& origins, const V& rise, const std::vector<V>& directions, Tally& tally) {
        m_near.beginFan(m_reach);
        for (const V& direction : directions) m_near.addDirection(direction, m_length);
        castFan(origins, rise, directions, tally);
    }

    /// The same of a fan that is given as a whole.
    void castTurned(const std::vector<V>& origins, const V& rise, const V& axle, const V& down, int perSide,
                    double step, Tally& tally) {
        FanAngles angles;
        std::vector<V> directions;
        for (int j = -perSide; j <= perSide; ++j) {
            const double sine = std::sin(0.5 * j * step);
            const double cosine = std::cos(0.5 * j * step);
            angles.add(sine, cosine);
            directions.push_back(
                Normalized(Rotate(util::Quat<double>(sine * axle.x, sine * axle.y, sine * axle.z, cosine), down)));
        }
        m_near.beginFan(m_reach, m_length, angles, down, Dot(axle, down) * axle, Cross(axle, down));
        castFan(origins, rise, directions, tally);
    }

  private:
    void castFan(const std::vector<V>& origins, const V& rise, const std::vector<V>& directions, Tally& tally) {
        V low = origins.front();
        V high = low;
        for (const V& origin : origins)
            for (const V& end : {origin, origin + rise}) {
                low = {std::min(low.x, end.x), std::min(low.y, end.y), std::min(low.z, end.z)};
                high = {std::max(high.x, end.x), std::max(high.y, end.y), std::max(high.z, end.z)};
            }
        if (!m_near.gather(low, high)) {
            ++tally.refused;
            return;
        }
        for (const V& origin : origins) {
            m_near.narrow(origin, rise);
            for (const double part : {0.0, 0.37, 1.0}) {
                const V start = origin + part * rise;
                ASSERT_TRUE(m_near.startFrom(start));
                std::size_t next = m_near.nextThatCouldHit(0);
                for (std::size_t ray = 0; ray < directions.size(); ++ray) {
                    EXPECT_EQ(next == ray, m_near.couldHit(ray));
                    for (const bool allFarAlike : {false, true})
                        compare(start, ray, directions[ray], allFarAlike, tally);
                    if (next == ray) next = m_near.nextThatCouldHit(ray + 1);
                }
                EXPECT_EQ(next, directions.size());
            }
        }
    }

    void compare(const V& origin, std::size_t ray, const V& direction, bool allFarAlike, Tally& tally) {
        double t = -1.0;
        V normal(7, 7, 7);
        double wholeT = -1.0;
        V wholeNormal(7, 7, 7);
        const auto answer = m_near.cast(ray, direction, m_length, allFarAlike, t, normal);
        const bool hit = m_world.cast(origin, direction, m_length, wholeT, wholeNormal);
        switch (answer) {
            case NearGround::Answer::hit:
                ++tally.hits;
                EXPECT_TRUE(hit && sameBits(t, wholeT) && sameBits(normal, wholeNormal)) << t << ' ' << wholeT;
                break;
            case NearGround::Answer::beyond:
                ++tally.beyond;
                EXPECT_TRUE(hit ? wholeT > m_reach : allFarAlike) << hit << ' ' << wholeT << ' ' << m_reach;
                break;
            case NearGround::Answer::unknown: ++tally.unknown; break;
        }
    }

    World& m_world;
    NearGround& m_near;
    double m_reach;
    double m_length;
};

/// About the directions of a wheel's side rays: in a plane through `down`, at even angles to both sides.
std::vector<V> fanOfDirections(const V& axle, const V& down, int perSide, double step) {
    std::vector<V> directions;
    const V ahead = Cross(axle, down);
    for (int j = -perSide; j <= perSide; ++j) {
        const V direction = std::cos(j * step) * down + std::sin(j * step) * ahead;
        directions.push_back(Normalized(direction));
    }
    return directions;
}

class NearGroundTest : public testing::Test {
  protected:
    /// One fan at a random place of the mesh; at every second one all numbers are multiples of an eighth of a cell.
    void castSomewhere(PinnedRandom& random, World& world, MeshKind kind, double cell, const V& shift) {
        const bool aligned = random.chance(0.5);
        const auto place = [&](double value) { return aligned ? std::round(8.0 * value) / 8.0 : value; };
        const double x = place(random.in(-9.0, 9.0));
        const double z = place(random.in(-9.0, 9.0));
        const double y = test::heightOf(kind, x, z) + place(random.in(-1.0, 2.0));
        const double reach = cell * (aligned ? 1.0 : std::pow(10.0, random.in(-1.0, 0.5)));
        V axle(1, 0, 0);
        V down(0, -1, 0);
        if (!aligned) {
            const auto turn = random.rotation();
            axle = Rotate(turn, axle);
            if (random.chance(0.5)) down = Rotate(turn, down);
            if (random.chance(0.5)) down = Normalized(down + random.vector(0.3));
        }
        const V origin = shift + cell * V(x, y, z);
        const double width = reach * place(random.in(0.0, 1.0));
        const V rise = -0.25 * place(random.in(0.0, 1.0)) * reach * down;
        const double step = aligned ? 3.141592653589793 / 4.0 / (1 + random.bits() % 4) : random.in(0.01, 0.4);
        if (!near.enter(world.bullet())) {
            ++tally.refused;
            return;
        }
        const int perSide = 1 + static_cast<int>(random.bits() % 5);
        const std::vector<V> origins{origin - width * axle, origin, origin + width * axle};
        Fan fan(world, near, reach, random.chance(0.5) ? 1200.0 * reach : 3.0e3 * cell);
        if (random.chance(0.5))
            fan.cast(origins, rise, fanOfDirections(axle, down, perSide, step), tally);
        else
            fan.castTurned(origins, rise, axle, down, perSide, step, tally);
    }

    ~NearGroundTest() override {
        RecordProperty("rays", std::to_string(tally.rays()));
        RecordProperty("hits", std::to_string(tally.hits));
        RecordProperty("unknown", std::to_string(tally.unknown));
        RecordProperty("refused", std::to_string(tally.refused));
    }

    void castAll(std::uint64_t seed, int worlds, int fansOfWorld, int bodies, double scale, const V& shift) {
        worlds *= test::repetitions();
        PinnedRandom random(seed);
        for (int i = 0; i < worlds; ++i) {
            const auto kind = static_cast<MeshKind>(random.bits() % static_cast<std::uint32_t>(MeshKind::count));
            SCOPED_TRACE(testing::Message() << "kind " << static_cast<int>(kind) << " world " << i);
            World world;
            for (int body = 0; body < bodies; ++body) {
                PinnedRandom twin(seed + static_cast<std::uint64_t>(i) + (random.chance(0.5) ? 1 : 0));
                util::CMesh mesh = test::hostileMesh(twin, kind, scale);
                for (V& vertex : mesh.vertices) vertex = vertex + shift;
                world.add(mesh);
            }
            for (int fan = 0; fan < fansOfWorld; ++fan) castSomewhere(random, world, kind, scale, shift);
            if (HasFailure()) return;
        }
    }

    NearGround near;
    Tally tally;
};

TEST_F(NearGroundTest, OneBodyOfAnyKind) {
    castAll(1, 60, 60, 1, 1.0, {});
    EXPECT_GT(tally.hits, 10000);
    EXPECT_GT(tally.beyond, 10000);
    EXPECT_LT(tally.unknown, tally.rays() / 2);
}

TEST_F(NearGroundTest, SeveralBodiesWithTiesBetweenThem) {
    castAll(2, 60, 20, 3, 1.0, {});
    EXPECT_GT(tally.hits, 1000);
    EXPECT_GT(tally.unknown, 0);
}

TEST_F(NearGroundTest, HugeTinyAndFarAway) {
    castAll(3, 25, 20, 1, 1e-3, {});
    castAll(4, 25, 20, 1, 1e4, {});
    castAll(5, 25, 20, 1, 0.1, {3000.0, -200.0, 40000.0});
    castAll(6, 25, 20, 1, 1.0, {1e7, 0.0, -1e7});
    EXPECT_GT(tally.hits, 10000);
}

TEST_F(NearGroundTest, FineTerrainIsAnsweredNearlyAlways) {
    World world;
    world.add(test::gridMesh(100, 0.3, test::hills));
    ASSERT_TRUE(near.enter(world.bullet()));
    PinnedRandom random(7);
    for (int i = 0; i < 300; ++i) {
        const double x = random.in(-12, 12);
        const double z = random.in(-12, 12);
        const V origin(x, test::hills(x, z) + random.in(0.0, 0.4), z);
        Fan(world, near, 0.25, 300.0)
            .cast({origin}, V(0, 0.03, 0), fanOfDirections({1, 0, 0}, {0, -1, 0}, 9, 0.07), tally);
    }
    EXPECT_EQ(tally.refused, 0);
    EXPECT_LT(tally.unknown, tally.rays() / 50);
}

// A ray down a column that was gathered along: what is told of it is what the world says, and on a terrain it is told.
TEST_F(NearGroundTest, RaysDownAColumn) {
    PinnedRandom random(8);
    int told = 0;
    int tried = 0;
    for (int i = 0; i < 60; ++i) {
        const auto kind = static_cast<MeshKind>(random.bits() % static_cast<std::uint32_t>(MeshKind::count));
        SCOPED_TRACE(testing::Message() << "world " << i << " kind " << static_cast<int>(kind));
        World world;
        for (std::uint32_t body = 0; body < 1 + random.bits() % 2; ++body)
            world.add(test::hostileMesh(random, kind, 1.0));
        if (!near.enter(world.bullet())) continue;
        for (int ray = 0; ray < 40; ++ray) {
            const bool aligned = random.chance(0.5);
            const V at(random.in(-6, 6), random.in(0, 2), random.in(-6, 6));
            const V top = aligned ? V(std::round(2 * at.x) / 2, 1.0, std::round(2 * at.z) / 2) : at;
            const V direction = aligned ? V(0, -1, 0) : Normalized(V(0, -1, 0) + random.vector(0.4));
            const double depth = random.in(0.0, 3.0);
            const NearGround::Column column{top, top + depth * direction};
            near.beginFan(0.25);
            near.addDirection(direction, 300.0);
            if (!near.gather(column.bottom, column.bottom, &column)) continue;
            ++tried;
            double t = -1.0;
            V normal;
            if (!near.castDown(direction, 300.0, t, normal)) continue;
            ++told;
            double wholeT = -1.0;
            V wholeNormal;
            EXPECT_TRUE(world.cast(top, direction, 300.0, wholeT, wholeNormal));
            EXPECT_TRUE(sameBits(t, wholeT) && sameBits(normal, wholeNormal)) << t << ' ' << wholeT;
            EXPECT_LE(t, depth);
            EXPECT_FALSE(near.castDown(-1.0 * direction, 300.0, t, normal)) << "that is not down";
        }
    }
    EXPECT_GT(told, tried / 4);
    // Without a column nothing is told.
    World world;
    world.add(test::gridMesh(4, 1.0, [](double, double) { return 0.0; }));
    ASSERT_TRUE(near.enter(world.bullet()));
    near.beginFan(0.25);
    near.addDirection({0, -1, 0}, 300.0);
    ASSERT_TRUE(near.gather({0, 1, 0}, {0, 1, 0}));
    double t = 0.0;
    V normal;
    EXPECT_FALSE(near.castDown({0, -1, 0}, 300.0, t, normal));
}

// What the shortcuts are not made for is left to the physics world.

TEST_F(NearGroundTest, MovedScaledAndOtherBodiesAreRefused) {
    const util::CMesh mesh = test::gridMesh(4, 1.0, [](double, double) { return 0.0; });
    {
        World world;
        EXPECT_FALSE(near.enter(world.bullet())) << "nothing in it";
        world.add(mesh);
        EXPECT_TRUE(near.enter(world.bullet()));
        world.add(mesh, btTransform(btQuaternion::getIdentity(), btVector3(0, 1, 0)));
        EXPECT_FALSE(near.enter(world.bullet())) << "moved";
    }
    {
        World world;
        world.add(mesh, btTransform::getIdentity(), btVector3(1, 2, 1));
        EXPECT_FALSE(near.enter(world.bullet())) << "scaled";
    }
    {
        World world;
        world.add(mesh).setCollisionFlags(btCollisionObject::CF_NO_CONTACT_RESPONSE);
        EXPECT_FALSE(near.enter(world.bullet())) << "no caster reports it";
    }
}

TEST_F(NearGroundTest, NumbersThatRanAwayAreRefused) {
    World world;
    world.add(test::gridMesh(4, 1.0, [](double, double) { return 0.0; }));
    ASSERT_TRUE(near.enter(world.bullet()));
    const double nan = std::nan("");
    const auto gathers = [&](const V& direction, double reach, double length, const V& at) {
        near.beginFan(reach);
        near.addDirection(direction, length);
        return near.gather(at, at);
    };
    EXPECT_TRUE(gathers({0, -1, 0}, 0.25, 300.0, {0, 1, 0}));
    EXPECT_FALSE(gathers({0, nan, 0}, 0.25, 300.0, {0, 1, 0}));
    EXPECT_FALSE(gathers({0, -2, 0}, 0.25, 300.0, {0, 1, 0}));
    EXPECT_FALSE(gathers({0, -1, 0}, nan, 300.0, {0, 1, 0}));
    EXPECT_FALSE(gathers({0, -1, 0}, 0.0, 300.0, {0, 1, 0}));
    EXPECT_FALSE(gathers({0, -1, 0}, 1e-200, 300.0, {0, 1, 0}));
    EXPECT_TRUE(gathers({0, -1, 0}, 1e-11, 300.0, {0, 1, 0}));
    EXPECT_FALSE(gathers({0, -1, 0}, 1e-13, 300.0, {0, 1, 0})) << "products would run away in single precision";
    EXPECT_FALSE(gathers({0, -1, 0}, 1e-7, 1e16, {0, 1, 0})) << "so would those of the noise of such a length";
    EXPECT_FALSE(gathers({0, -1, 0}, 0.25, -1.0, {0, 1, 0}));
    EXPECT_FALSE(gathers({0, -1, 0}, 0.25, 0.2, {0, 1, 0}));
    EXPECT_FALSE(gathers({0, -1, 0}, 0.25, 300.0, {0, nan, 0}));
    EXPECT_FALSE(gathers({0, -1, 0}, 0.25, 300.0, {1e8, 1, 0}));
}

}  // namespace
}  // namespace ond::ovs::addon
