// Ruling out rays of a fan: what is ruled out is never within reach, and most of what is not within reach is ruled out.
#include "ground/GroundReach.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "ground/GroundMeshTree.h"
#include "ground/plain/PlainGroundTree.h"
#include "ground/plain/TrialMeshes.h"
#include "ground/plain/TrialRays.h"

namespace ond::ovs::addon {
namespace {

using V = util::Vector3<double>;
using Tells = GroundReach::Tells;

struct Counts {
    int ruledOut = 0;
    int ofThemSteep = 0;  ///< of rays that something on the ground may stand edge-on to
    int inVain = 0;       ///< not ruled out, without being within reach
    int within = 0;
};

/// What the answer to a ray has to be, if it is ruled out.
bool isWithin(const GroundMeshTreeNode& tree, const V& origin, const V& direction, double reach) {
    double t = 0.0;
    return tree.rayQuery(origin, direction, t, nullptr) && !(std::fabs(t) > reach);
}

V between(test::PinnedRandom& random, const V& low, const V& high) {
    return {random.in(low.x, high.x), random.in(low.y, high.y), random.in(low.z, high.z)};
}

V anyDirection(test::PinnedRandom& random) {
    const V v(random.in(-1, 1), random.in(-1, 1), random.in(-1, 1));
    return util::Length(v) > 0.1 ? util::Normalized(v) : V(0, -1, 0);
}

/// Rays from a place near a triangle, or from one on a ray that is drawn to be difficult.
void tryRays(const GroundMeshTreeNode& tree, const test::TrialRays& rays, test::PinnedRandom& random, Counts& counts) {
    const V size = tree.vMax - tree.vMin;
    const double longest = std::max({size.x, size.y, size.z});
    const double reach = longest * std::pow(10.0, random.in(-4, 0));
    const test::TrialRay drawn = rays.ray(random);
    V middle = random.chance(0.5) ? rays.triangle(random)[0] : drawn.origin;
    middle += anyDirection(random) * (reach * random.in(0, 2));
    const V half(reach * random.in(0, 0.3), reach * random.in(0, 0.3), reach * random.in(0, 0.3));
    GroundReach near(random.chance(0.5) ? GroundRayIndex::Lanes::best : GroundRayIndex::Lanes::narrow);
    if (tree.index() == nullptr || !near.gather(tree.index()->tables(), middle - half, middle + half, reach)) return;
    for (int start = 0; start < 3; ++start) {
        const V origin = between(random, middle - half, middle + half);
        const V lifted = between(random, middle - half, middle + half);
        if (!near.narrow(origin, lifted - origin)) continue;
        const V place(random.chance(0.5) ? origin.x : lifted.x, random.chance(0.5) ? origin.y : lifted.y,
                      random.chance(0.5) ? origin.z : lifted.z);
        ASSERT_TRUE(near.startFrom(place));
        for (int i = 0; i < 12; ++i) {
            V direction = i == 0 ? util::Normalized(drawn.direction) : anyDirection(random);
            if (random.chance(0.1)) direction = V(0, random.chance(0.5) ? 1 : -1, 0);
            const Tells tells = near.tells(tree.index()->tables(), direction);
            if (tells == Tells::nothing) continue;
            if (tells == Tells::unlessEdgeOn && tree.index()->mayHitEdgeOn(place, direction)) continue;
            const bool within = isWithin(tree, place, direction, reach);
            if (within) ++counts.within;
            if (near.couldHit(direction)) {
                if (!within) ++counts.inVain;
                continue;
            }
            ASSERT_FALSE(within) << "from " << place.x << ' ' << place.y << ' ' << place.z << " along " << direction.x
                                 << ' ' << direction.y << ' ' << direction.z << " within " << reach;
            ++counts.ruledOut;
            if (tells == Tells::unlessEdgeOn) ++counts.ofThemSteep;
        }
    }
}

TEST(GroundReach, RulesOutNothingThatIsWithinReach) {
    constexpr std::uint64_t kSeed = 20340401;
    const char* repeat = std::getenv("QUADRIG_REPEAT");
    const int rounds = repeat != nullptr ? std::atoi(repeat) : 1;
    Counts counts;
    for (int round = 0; round < 4 * rounds; ++round)
        for (int shape = 0; shape < static_cast<int>(test::Shape::count); ++shape) {
            const std::uint64_t seed = kSeed + static_cast<std::uint64_t>(round * 100 + shape);
            SCOPED_TRACE("seed " + std::to_string(seed) + ", shape " + std::to_string(shape));
            test::PinnedRandom random(seed);
            util::CMesh mesh = test::meshOfShape(random, static_cast<test::Shape>(shape), 300);
            if (round % 2 == 1) {
                test::apply(random, test::Twist::shuffled, mesh);
                test::apply(random, test::Twist::turned, mesh);
                test::apply(random, test::Twist::moved, mesh);
            }
            // Some so large or small that products of lengths leave the range of single precision.
            const double scale = round % 2 == 0 ? 1.0 : std::pow(10.0, random.in(-13, 15));
            for (V& vertex : mesh.vertices) vertex = vertex * scale;
            GroundMeshTreeNode tree;
            tree.buildFromMesh(mesh);
            test::plain::PlainGroundTree plainTree;
            plainTree.buildFromMesh(mesh);
            const test::TrialRays rays(plainTree);
            for (int i = 0; i < 60; ++i) {
                tryRays(tree, rays, random, counts);
                if (HasFatalFailure()) return;
            }
        }
    EXPECT_GT(counts.ruledOut, 3000);
    EXPECT_GT(counts.ofThemSteep, 1000);
    EXPECT_GT(counts.within, 300);
    EXPECT_LT(counts.inVain, counts.ruledOut / 4);
}

/// Two triangles a square, on the plane y = 0, from -5 to 5.
util::CMesh flatGround() {
    constexpr int kSquares = 10;
    util::CMesh mesh;
    mesh.setNumVertices((kSquares + 1) * (kSquares + 1));
    mesh.setNumFaces(2 * kSquares * kSquares);
    for (int i = 0; i <= kSquares; ++i)
        for (int j = 0; j <= kSquares; ++j) mesh.setVertex(i * (kSquares + 1) + j, j - 5, 0.01 * ((i + j) % 2), i - 5);
    for (int i = 0; i < kSquares; ++i)
        for (int j = 0; j < kSquares; ++j) {
            const int a = i * (kSquares + 1) + j;
            mesh.setFace(2 * (i * kSquares + j), a, a + kSquares + 1, a + 1);
            mesh.setFace(2 * (i * kSquares + j) + 1, a + 1, a + kSquares + 1, a + kSquares + 2);
        }
    return mesh;
}

TEST(GroundReach, TellsAWheelAboveTheGroundFromOneInIt) {
    GroundMeshTreeNode tree;
    tree.buildFromMesh(flatGround());
    GroundReach near;
    const V place(0.3, 1.0, 0.2);
    ASSERT_TRUE(near.gather(tree.index()->tables(), place - V(0.1, 0.7, 0.1), place + V(0.1, 0.1, 0.1), 0.5));
    const V down(0, -1, 0);
    ASSERT_EQ(near.tells(tree.index()->tables(), down), Tells::all);
    ASSERT_TRUE(near.narrow(place, V(0, -0.6, 0)));
    ASSERT_TRUE(near.startFrom(place));
    EXPECT_FALSE(near.couldHit(down));
    ASSERT_TRUE(near.startFrom(place - V(0, 0.6, 0)));
    EXPECT_TRUE(near.couldHit(down));
    EXPECT_TRUE(near.couldHit(-down)) << "the line counts to both sides";
    EXPECT_FALSE(near.couldHit(util::Normalized(V(1, -0.3, 0)))) << "is that far away in this direction";
}

TEST(GroundReach, SaysWhereItCannotTell) {
    GroundMeshTreeNode tree;
    tree.buildFromMesh(flatGround());
    const GroundRayTables& tables = tree.index()->tables();
    GroundReach near;
    const V place(0, 1, 0);
    EXPECT_FALSE(near.gather(tables, place, place, 0.0));
    EXPECT_FALSE(near.gather(tables, place, place, 1e9)) << "reaches far beyond the ground";
    EXPECT_FALSE(near.gather(tables, V(0, 1e9, 0), V(0, 1e9, 0), 1.0)) << "starts there";
    EXPECT_FALSE(near.gather(tables, V(0, NAN, 0), place, 1.0));
    ASSERT_TRUE(near.gather(tables, place, place, 1.0));
    EXPECT_EQ(near.tells(tables, V(0, -2, 0)), Tells::nothing) << "is not of unit length";
    EXPECT_EQ(near.tells(tables, V(1, 0, 0)), Tells::unlessEdgeOn) << "runs along the ground";
    EXPECT_EQ(near.tells(tables, V(1e-300, -1, 0)), Tells::nothing);
    EXPECT_EQ(near.tells(tables, V(0, -1, 0)), Tells::all);
    EXPECT_FALSE(near.narrow(V(0, 1.001, 0), V())) << "is not where rays were to start";
    EXPECT_FALSE(near.narrow(place, V(0, 0.001, 0)));
    EXPECT_FALSE(near.narrow(V(0, NAN, 0), V()));
    EXPECT_FALSE(near.startFrom(place)) << "nothing was kept";
    ASSERT_TRUE(near.narrow(place, V()));
    EXPECT_FALSE(near.startFrom(V(0, 1.001, 0)));
    EXPECT_FALSE(near.startFrom(V(0, NAN, 0)));
    EXPECT_TRUE(near.startFrom(place));
}

TEST(GroundReach, CannotTellAboutSizesBeyondSinglePrecision) {
    for (const double scale : {1e-6, 1e-4, 1e10, 1e14}) {
        util::CMesh mesh = flatGround();
        for (V& vertex : mesh.vertices) vertex = vertex * scale;
        GroundMeshTreeNode tree;
        tree.buildFromMesh(mesh);
        ASSERT_NE(tree.index(), nullptr);
        GroundReach near;
        EXPECT_FALSE(near.gather(tree.index()->tables(), V(0, scale, 0), V(0, scale, 0), scale)) << scale;
    }
}

/// With one triangle more.
util::CMesh groundWith(const V& a, const V& b, const V& c) {
    util::CMesh mesh = flatGround();
    const int vertices = mesh.getNumVertices();
    mesh.setNumVertices(vertices + 3);
    mesh.setNumFaces(mesh.getNumFaces() + 1);
    int vertex = vertices;
    for (const V& corner : {a, b, c}) mesh.setVertex(vertex++, corner.x, corner.y, corner.z);
    mesh.setFace(mesh.getNumFaces() - 1, vertices, vertices + 1, vertices + 2);
    return mesh;
}

TEST(GroundReach, AsksTheExactTestAboutSliversInTheWay) {
    GroundMeshTreeNode tree;
    tree.buildFromMesh(groundWith(V(-3, 0, 0), V(3, 0, 0), V(0, 0, 1e-5)));
    GroundReach near;
    const V down(0, -1, 0);
    EXPECT_EQ(near.tells(tree.index()->tables(), down), Tells::unlessEdgeOn);
    EXPECT_TRUE(tree.index()->mayHitEdgeOn(V(0, 1, 0.5e-5), down)) << "is hit, and nothing else is known of it";
    EXPECT_FALSE(tree.index()->mayHitEdgeOn(V(0, 1, 2), down));
}

TEST(GroundReach, AsksTheExactTestAboutWallsInTheWay) {
    GroundMeshTreeNode tree;
    tree.buildFromMesh(groundWith(V(-1, 2, 0), V(1, 2, 0), V(0, 4, 1e-9)));
    const GroundRayIndex& index = *tree.index();
    GroundReach near;
    const V down(0, -1, 0);
    ASSERT_EQ(near.tells(index.tables(), down), Tells::unlessEdgeOn);
    for (int i = 1; i < 10; ++i)
        EXPECT_TRUE(index.mayHitEdgeOn(V(0.05, 1, 1e-10 * i), down)) << "runs down through the wall: " << i;
    EXPECT_FALSE(index.mayHitEdgeOn(V(0, 1, 0.01), down)) << "runs beside the wall";
    EXPECT_FALSE(index.mayHitEdgeOn(V(3, 1, 0), down)) << "runs along its plane, but elsewhere";
    EXPECT_FALSE(index.mayHitEdgeOn(V(0, 1, 0), util::Normalized(V(0, -1, 0.1)))) << "runs through it";
}

TEST(GroundReach, KnowsWhatIsNearToThousandthsOfTheReachOnGroundsOfKilometres) {
    util::CMesh mesh = groundWith(V(-2000, 0, -2000), V(-1999, 0, -2000), V(-2000, 0, -1999));
    for (V& vertex : mesh.vertices) vertex += V(1e5, 300, -2e5);
    GroundMeshTreeNode tree;
    tree.buildFromMesh(mesh);
    test::PinnedRandom random(20340402);
    constexpr double kReach = 0.25;
    for (int i = 0; i < 200; ++i) {
        const V place(1e5 + random.in(-4, 4), 301, -2e5 + random.in(-4, 4));
        const V direction = util::Normalized(V(random.in(-1, 1), -1, random.in(-1, 1)));
        double t = 0.0;
        ASSERT_TRUE(tree.rayQuery(place, direction, t, nullptr));
        for (const double beyond : {0.999, 1.001}) {
            const V origin = place + (t - beyond * kReach) * direction;
            GroundReach near;
            ASSERT_TRUE(near.gather(tree.index()->tables(), origin, origin, kReach));
            ASSERT_TRUE(near.narrow(origin, V()));
            ASSERT_TRUE(near.startFrom(origin));
            ASSERT_EQ(near.tells(tree.index()->tables(), direction), Tells::all);
            EXPECT_EQ(near.couldHit(direction), beyond < 1.0) << i;
        }
    }
}

}  // namespace
}  // namespace ond::ovs::addon
