// The index beside the ground tree: what every processor can do gives what the fastest instructions give.
#include "ground/GroundRayIndex.h"

#include <gtest/gtest.h>

#include <cstring>

#include "ground/GroundMeshTree.h"
#include "ground/plain/PlainGroundTree.h"
#include "ground/plain/TrialMeshes.h"
#include "ground/plain/TrialRays.h"

namespace ond::ovs::addon {
namespace {

using Answer = GroundRayIndex::Answer;

TEST(GroundRayIndex, NarrowLanesGiveTheSameToTheBit) {
    constexpr std::uint64_t kSeed = 20340377;
    int hits = 0;
    int misses = 0;
    for (int shape = 0; shape < static_cast<int>(test::Shape::count); ++shape) {
        SCOPED_TRACE("seed " + std::to_string(kSeed) + ", shape " + std::to_string(shape));
        test::PinnedRandom random(kSeed + static_cast<std::uint64_t>(shape));
        const util::CMesh mesh = test::meshOfShape(random, static_cast<test::Shape>(shape), 600);
        GroundMeshTreeNode tree;
        tree.buildFromMesh(mesh);
        test::plain::PlainGroundTree plainTree;
        plainTree.buildFromMesh(mesh);
        const auto best = GroundRayIndex::of(tree);
        const auto narrow = GroundRayIndex::of(tree, GroundRayIndex::Lanes::narrow);
        ASSERT_TRUE(best && narrow);
        const test::TrialRays rays(plainTree);
        for (int i = 0; i < 1000; ++i) {
            const test::TrialRay ray = rays.ray(random);
            GroundRayIndex::Found a{};
            GroundRayIndex::Found b{};
            const Answer answer = best->query(ray.origin, ray.direction, a);
            ASSERT_EQ(narrow->query(ray.origin, ray.direction, b), answer);
            if (answer == Answer::miss) ++misses;
            if (answer != Answer::hit) continue;
            ++hits;
            ASSERT_EQ(std::memcmp(&a.t, &b.t, sizeof a.t), 0);
            ASSERT_EQ(a.corners, b.corners);
        }
    }
    EXPECT_GT(hits, 1000);
    EXPECT_GT(misses, 1000);
}

TEST(GroundRayIndex, SizesAtTheEndsOfTheRangeAreLeftToTheWalk) {
    test::PinnedRandom random(20340378);
    const util::CMesh mesh = test::meshOfShape(random, test::Shape::terrain, 100);
    GroundMeshTreeNode tree;
    tree.buildFromMesh(mesh);
    const auto index = GroundRayIndex::of(tree);
    ASSERT_TRUE(index);
    GroundRayIndex::Found found{};
    using V = util::Vector3<double>;
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
