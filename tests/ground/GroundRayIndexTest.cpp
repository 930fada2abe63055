// The index beside the ground tree: what every processor can do gives what the fastest instructions give.
#include "ground/GroundRayIndex.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>

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
        std::array<std::shared_ptr<const GroundRayIndex>, kLanes.size()> indices;
        for (std::size_t lanes = 0; lanes < kLanes.size(); ++lanes) {
            indices[lanes] = GroundRayIndex::of(tree, kLanes[lanes]);
            ASSERT_TRUE(indices[lanes]);
        }
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
