// The index beside the ground tree: what every processor can do gives what the fastest instructions give.
#include "ground/GroundRayIndex.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "ground/GroundMeshTree.h"
#include "ground/HostileMeshes.h"
#include "ground/plain/GroundComparison.h"
#include "ground/plain/PlainGroundTree.h"
#include "ground/plain/TrialMeshes.h"
#include "ground/plain/TrialRays.h"

namespace ond::ovs::addon {
namespace {

using Answer = GroundRayIndex::Answer;
using Lanes = GroundRayIndex::Lanes;
using V = util::Vector3<double>;

/// How often each answer was given.
struct Counts {
    int hit = 0;
    int miss = 0;
    int unknown = 0;
};

/// What the index says by itself, against the plain tree.
void compareIndex(const GroundRayIndex& index, const test::TrialRay& ray, const test::Answer& expected,
                  Counts& counts) {
    GroundRayIndex::Found found{};
    const Answer answer = index.query(ray.origin, ray.direction, found);
    ++(answer == Answer::hit ? counts.hit : answer == Answer::miss ? counts.miss : counts.unknown);
    if (answer == Answer::unknown) return;
    ASSERT_EQ(answer == Answer::hit, expected.hit);
    if (answer == Answer::miss) return;
    ASSERT_TRUE(test::sameBits(found.t, expected.t)) << found.t << " not " << expected.t;
    ASSERT_TRUE(test::sameBits(util::Normalized(found.across), expected.normal));
}

TEST(GroundRayIndex, AnyLanesGiveTheSameToTheBit) {
    constexpr std::uint64_t kSeed = 20340377;
    constexpr std::array kLanes{Lanes::best, Lanes::eight, Lanes::narrow};
    std::array<Counts, kLanes.size()> counts{};
    for (std::uint64_t i = 0;
         i < static_cast<unsigned>(test::Shape::count) * static_cast<unsigned>(test::repetitions()); ++i) {
        const auto shape = static_cast<test::Shape>(i % static_cast<unsigned>(test::Shape::count));
        SCOPED_TRACE("seed " + std::to_string(kSeed + i));
        test::PinnedRandom random(kSeed + i);
        const util::CMesh mesh = test::meshOfShape(random, shape, 600);
        GroundMeshTreeNode tree;
        tree.buildFromMesh(mesh);
        test::plain::PlainGroundTree plainTree;
        plainTree.buildFromMesh(mesh);
        // A mesh of a single point, or of none, has no size that an index could be made for.
        const bool hasSize = util::Length(tree.vMax - tree.vMin) > 0.0;
        std::array<std::shared_ptr<const GroundRayIndex>, kLanes.size()> indices;
        for (std::size_t lanes = 0; lanes < kLanes.size(); ++lanes) {
            indices[lanes] = GroundRayIndex::of(tree, kLanes[lanes]);
            ASSERT_EQ(indices[lanes] != nullptr, hasSize);
        }
        if (!hasSize) continue;
        const test::TrialRays rays(plainTree);
        for (int line = 0; line < 600; ++line) {
            const test::TrialRay ray = rays.ray(random);
            SCOPED_TRACE("from " + test::inWords(ray.origin) + " along " + test::inWords(ray.direction));
            const test::Answer expected = test::answerOf(plainTree, ray);
            for (std::size_t lanes = 0; lanes < kLanes.size(); ++lanes)
                compareIndex(*indices[lanes], ray, expected, counts[lanes]);
            if (HasFatalFailure()) return;
        }
    }
    for (const Counts& count : counts) {
        EXPECT_GT(count.hit, 2500);
        EXPECT_GT(count.miss, 3000);
        EXPECT_LT(count.unknown, count.hit) << "left to the walk";
    }
}

/// A face of two triangles.
void addQuad(util::CMesh& mesh, const V& corner, const V& p, const V& q) {
    const int first = mesh.getNumVertices();
    for (const V& vertex : {corner, corner + p, corner + p + q, corner + q}) mesh.vertices.push_back(vertex);
    for (const int place : {0, 1, 2, 0, 2, 3}) mesh.faces.push_back(first + place);
    mesh.tFaces.resize(mesh.faces.size());
}

struct Wall {
    V corner;
    V along;
};

/// Boxes that stand on a floor of their own and each a way of its own.
util::CMesh town(test::PinnedRandom& random, std::vector<Wall>& walls) {
    constexpr int kSide = 9;
    util::CMesh mesh;
    for (int i = 0; i < kSide * kSide; ++i) {
        const V at(3.0 * (i % kSide), 0.0, 3.0 * (i / kSide));
        const double turn = random.in(0.0, 3.0);
        const V p(std::cos(turn), 0.0, std::sin(turn));
        const V q(-p.z, 0.0, p.x);
        const V up(0.0, random.in(0.5, 2.0), 0.0);
        addQuad(mesh, at - V(1.5, 0.0, 1.5), V(0.0, 0.0, 3.0), V(3.0, 0.0, 0.0));
        addQuad(mesh, at + up, q, p);
        for (const Wall& wall : {Wall{at, p}, Wall{at + p, q}, Wall{at + p + q, -p}, Wall{at + q, -q}}) {
            addQuad(mesh, wall.corner, wall.along, up);
            walls.push_back(wall);
        }
    }
    return mesh;
}

/// A line in the plane of a wall, past it or through it, or but for so much.
test::TrialRay alongWall(test::PinnedRandom& random, const Wall& wall, double aside) {
    const V normal(-wall.along.z, 0.0, wall.along.x);
    const V from = wall.corner + wall.along * random.in(-3.0, 3.0) + V(0.0, random.in(-1.0, 4.0), 0.0);
    const V way = random.chance(0.5) ? V(0.0, -1.0, 0.0) : wall.along * random.in(-1.0, 1.0) + V(0.0, -1.0, 0.0);
    return {from + normal * aside, way};
}

TEST(GroundRayIndex, LinesAlongWallsHitWhatTheWalkHits) {
    test::PinnedRandom random(20340379);
    std::vector<Wall> walls;
    const util::CMesh mesh = town(random, walls);
    GroundMeshTreeNode tree;
    tree.buildFromMesh(mesh);
    test::plain::PlainGroundTree plainTree;
    plainTree.buildFromMesh(mesh);
    std::array<Counts, 3> counts{};
    const std::array indices{GroundRayIndex::of(tree), GroundRayIndex::of(tree, Lanes::eight),
                             GroundRayIndex::of(tree, Lanes::narrow)};
    for (int line = 0; line < 2000; ++line) {
        const Wall& wall = walls[static_cast<std::size_t>(line) % walls.size()];
        const test::TrialRay ray = alongWall(random, wall, random.chance(0.7) ? 0.0 : random.in(-1e-6, 1e-6));
        const test::Answer expected = test::answerOf(plainTree, ray);
        for (std::size_t lanes = 0; lanes < indices.size(); ++lanes)
            compareIndex(*indices[lanes], ray, expected, counts[lanes]);
        ASSERT_FALSE(HasFatalFailure()) << "from " << test::inWords(ray.origin) << " along "
                                        << test::inWords(ray.direction);
    }
    for (const Counts& count : counts) {
        EXPECT_EQ(count.unknown, 0);
        EXPECT_GT(count.miss, 100);
    }
}

TEST(GroundRayIndex, OfSeveralFloorsItTellsTheOneThatTheWalkComesToFirst) {
    constexpr int kFloors = 6;
    constexpr int kSide = 12;
    util::CMesh mesh;
    for (int i = 0; i < kFloors * kSide * kSide; ++i)
        addQuad(mesh, V(i % kSide, 1.5 * (i / (kSide * kSide)), i / kSide % kSide), V(0.0, 0.2, 1.0), V(1.0, 0.1, 0.0));
    GroundMeshTreeNode tree;
    tree.buildFromMesh(mesh);
    test::plain::PlainGroundTree plainTree;
    plainTree.buildFromMesh(mesh);
    const auto index = GroundRayIndex::of(tree);
    test::PinnedRandom random(20340380);
    Counts counts;
    for (int line = 0; line < 500; ++line) {
        const test::TrialRay ray{V(random.in(0.0, kSide), random.in(-1.0, 9.0), random.in(0.0, kSide)),
                                 V(random.in(-0.5, 0.5), random.chance(0.5) ? -1.0 : 1.0, random.in(-0.5, 0.5))};
        compareIndex(*index, ray, test::answerOf(plainTree, ray), counts);
        ASSERT_FALSE(HasFatalFailure());
    }
    EXPECT_EQ(counts.unknown, 0);
    EXPECT_GT(counts.hit, 450);
}

TEST(GroundRayIndex, SizesAtTheEndsOfTheRangeAreLeftToTheWalk) {
    test::PinnedRandom random(20340378);
    const util::CMesh mesh = test::meshOfShape(random, test::Shape::terrain, 100);
    GroundMeshTreeNode tree;
    tree.buildFromMesh(mesh);
    const auto index = GroundRayIndex::of(tree);
    ASSERT_TRUE(index);
    GroundRayIndex::Found found{};
    EXPECT_EQ(index->query(V(0, 1e31, 0), V(0, -1, 0), found), Answer::unknown);
    EXPECT_EQ(index->query(V(0, 10, 0), V(0, -1e-101, 0), found), Answer::unknown);
    EXPECT_EQ(index->query(V(0, 10, 0), V(0, -1e101, 0), found), Answer::unknown);
    EXPECT_EQ(index->query(V(0, 10, 0), V(0, 0, 0), found), Answer::unknown);
    EXPECT_EQ(index->query(V(0, 10, 0), V(1e-201, -1, 0), found), Answer::unknown);
    util::CMesh tiny = mesh;
    for (V& vertex : tiny.vertices) vertex = vertex * 1e-16;
    GroundMeshTreeNode tinyTree;
    tinyTree.buildFromMesh(tiny);
    EXPECT_FALSE(GroundRayIndex::of(tinyTree));
}

}  // namespace
}  // namespace ond::ovs::addon
