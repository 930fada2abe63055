// The ground tree gives what its plain form gives, to the bit: trees and answers, over meshes and lines that are chosen
// to be hard on every shortcut. With QUADRIG_REPEAT=100 in the environment each comparison runs a hundred times as
// long, on other meshes.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ground/GroundMeshTree.h"
#include "ground/GroundMeshes.h"
#include "ground/HostileMeshes.h"
#include "ground/LineTests.h"
#include "ground/plain/GroundComparison.h"
#include "ground/plain/TrialMeshes.h"
#include "ground/plain/TrialRays.h"

namespace ond::ovs::addon {
namespace {

using test::Answer;
using test::answerDifference;
using test::answerOf;
using test::inWords;
using test::pick;
using test::PinnedRandom;
using test::sameBits;
using test::Shape;
using test::TrialRay;
using test::TrialRays;
using test::Twist;
using V = util::Vector3<double>;

constexpr std::uint64_t kSeed = 20260214;

/// The two forms of one tree.
struct Both {
    explicit Both(const util::CMesh& mesh) {
        tree.buildFromMesh(mesh);
        expected.buildFromMesh(mesh);
    }
    GroundMeshTreeNode tree;
    test::plain::PlainGroundTree expected;
};

struct Counts {
    int hit = 0;
    int missed = 0;
};

void compareAnswer(const Both& both, const TrialRay& ray, Counts& counts) {
    const Answer expected = answerOf(both.expected, ray);
    ASSERT_EQ(answerDifference(answerOf(both.tree, ray), expected, ray), "");
    ++(expected.hit ? counts.hit : counts.missed);
}

void compareRays(const Both& both, PinnedRandom& random, int count, Counts& counts) {
    const TrialRays rays(both.expected);
    for (int i = 0; i < count; ++i) {
        SCOPED_TRACE(i);
        compareAnswer(both, rays.ray(random), counts);
        if (testing::Test::HasFatalFailure()) return;
    }
}

void compareMesh(const util::CMesh& mesh, PinnedRandom& random, int count, Counts& counts) {
    const Both both(mesh);
    ASSERT_EQ(test::treeDifference(both.tree, both.expected), "");
    compareRays(both, random, count, counts);
}

class EveryShape : public testing::TestWithParam<std::size_t> {};

TEST_P(EveryShape, WithAnyTwistGivesTheSameTreeAndAnswers) {
    Counts counts;
    constexpr std::array kTriangles{15, 60, 150, 400, 900, 1800};
    const std::uint64_t seeds = kTriangles.size() * static_cast<std::uint64_t>(test::repetitions());
    for (std::uint64_t i = 0; i < seeds; ++i) {
        const std::uint64_t seed = kSeed + 1000 * i + GetParam();
        PinnedRandom random(seed);
        const int triangles = kTriangles[i % kTriangles.size()];
        const test::TrialMesh trial = test::trialMesh(random, static_cast<Shape>(GetParam()), triangles);
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + trial.name);
        compareMesh(trial.mesh, random, 200, counts);
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(counts.hit, 50);
    EXPECT_GT(counts.missed, 50);
}

INSTANTIATE_TEST_SUITE_P(GroundTreeEqual, EveryShape,
                         testing::Range<std::size_t>(0, static_cast<std::size_t>(Shape::count)));

class EveryTwist : public testing::TestWithParam<std::size_t> {};

TEST_P(EveryTwist, OfGroundsGivesTheSameTreeAndAnswers) {
    Counts counts;
    const std::uint64_t seeds = 5 * static_cast<std::uint64_t>(test::repetitions());
    for (std::uint64_t i = 0; i < seeds; ++i) {
        const std::uint64_t seed = kSeed + 500000 + 1000 * i + GetParam();
        PinnedRandom random(seed);
        const Shape shape = std::array{Shape::terrain, Shape::walls, Shape::flat, Shape::lattice, Shape::cube}[i % 5];
        util::CMesh mesh = test::meshOfShape(random, shape, 900);
        test::apply(random, static_cast<Twist>(GetParam()), mesh);
        SCOPED_TRACE("seed " + std::to_string(seed));
        compareMesh(mesh, random, 200, counts);
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(counts.hit, 50);
    EXPECT_GT(counts.missed, 50);
}

INSTANTIATE_TEST_SUITE_P(GroundTreeEqual, EveryTwist,
                         testing::Range<std::size_t>(0, static_cast<std::size_t>(Twist::count)));

TEST(GroundTreeEqual, LargerMeshesGiveTheSameTreeAndAnswers) {
    Counts counts;
    for (const Shape shape : {Shape::terrain, Shape::flat, Shape::walls, Shape::soup})
        for (int i = 0; i < test::repetitions(); ++i) {
            const std::uint64_t seed = kSeed + 9000 + 10 * static_cast<std::uint64_t>(i) + static_cast<unsigned>(shape);
            SCOPED_TRACE("seed " + std::to_string(seed));
            PinnedRandom random(seed);
            compareMesh(test::meshOfShape(random, shape, 6000), random, 1500, counts);
            if (HasFatalFailure()) return;
        }
    EXPECT_GT(counts.hit, 1000);
    EXPECT_GT(counts.missed, 100);
}

/// Straight down through every vertex, side and diagonal of a grid, from heights between them, and leaning by one step.
TEST(GroundTreeEqual, RaysOnTheLinesOfAGridGiveTheSameAnswers) {
    const double level = 1.5;
    for (const bool flat : {true, false}) {
        const util::CMesh mesh = test::gridMesh(
            32, 0.25, [&](double x, double z) { return flat ? level : level + 0.125 * std::floor(x) * std::floor(z); });
        const Both both(mesh);
        Counts counts;
        for (int i = -68; i <= 68; ++i)
            for (int j = -68; j <= 68; j += 3) {
                const V below(0.0625 * i, 0, 0.0625 * j);
                compareAnswer(both, {below + V(0, 10, 0), V(0, -1, 0)}, counts);
                compareAnswer(both, {below - V(0, 3, 0), V(0, -2, 0)}, counts);
                compareAnswer(both, {below + V(0.25, 10, 0), V(-0.0625, -1, 0.0625)}, counts);
                if (HasFatalFailure()) return;
            }
        EXPECT_GT(counts.hit, 5000);
        EXPECT_GT(counts.missed, flat ? 500 : 300);
    }
}

/// A wheel's rays around a circle, over levels with upright walls.
// Measured heights are whole centimetres: many sides are level, and their triangles edge-on to an axis to the bit.
TEST(GroundTreeEqual, HeightsInStepsGiveTheSameTreeAndAnswers) {
    Counts counts;
    const std::uint64_t seeds = 6 * static_cast<std::uint64_t>(test::repetitions());
    for (std::uint64_t i = 0; i < seeds; ++i) {
        PinnedRandom random(kSeed + 700000 + i);
        const double cell = std::array{1.0, 2.0, 0.7}[i % 3];
        const double step = std::array{0.01, 0.125}[i / 3 % 2] * cell;
        const double slope = random.in(-1.0, 1.0);
        util::CMesh mesh = test::gridMesh(20, cell, [&](double x, double z) {
            return step * std::round((slope * x + test::hills(x, z) + random.in(-1.0, 1.0)) / step);
        });
        const V moved(random.in(-9.0, 9.0), random.in(-9.0, 9.0), random.in(-9.0, 9.0));
        for (V& vertex : mesh.vertices) vertex += i % 2 == 0 ? moved : V();
        SCOPED_TRACE(i);
        compareMesh(mesh, random, 100, counts);
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(counts.hit, 50);
    EXPECT_GT(counts.missed, 50);
}

TEST(GroundTreeEqual, FansOfRaysGiveTheSameAnswers) {
    PinnedRandom random(kSeed + 1);
    const Both both(test::meshOfShape(random, Shape::walls, 2000));
    const V size = both.expected.vMax - both.expected.vMin;
    Counts counts;
    for (int fan = 0; fan < 150 * test::repetitions(); ++fan) {
        const V hub =
            both.expected.vMin + V{random.in(0, 1) * size.x, random.in(0, 2) * size.y, random.in(0, 1) * size.z};
        const double heading = random.chance(0.3) ? 0.0 : random.in(-3.0, 3.0);
        const V forward(std::cos(heading), 0, std::sin(heading));
        for (int step = -9; step <= 9; ++step) {
            const double angle = step * 0.174532925199432957;
            const V direction = std::sin(angle) * forward + V(0, -std::cos(angle), 0);
            compareAnswer(both, {hub - 1000.0 * direction, direction}, counts);
            compareAnswer(both, {hub + 0.4 * std::sin(angle) * forward + V(0, 1000, 0), V(0, -1, 0)}, counts);
        }
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(counts.hit, 1000);
}

TEST(GroundTreeEqual, AbsentNormalsAndBranchesChangeNothing) {
    PinnedRandom random(kSeed + 2);
    const Both both(test::meshOfShape(random, Shape::terrain, 3000));
    const TrialRays rays(both.expected);
    ASSERT_GT(both.expected.aChildren.size(), 1u);
    int hits = 0;
    for (int i = 0; i < 1000; ++i) {
        const TrialRay ray = rays.ray(random);
        const Answer expected = answerOf(both.expected, ray);
        double t = 0.0;
        ASSERT_EQ(both.tree.rayQuery(ray.origin, ray.direction, t, nullptr), expected.hit);
        if (expected.hit) {
            ASSERT_TRUE(sameBits(t, expected.t)) << i;
            ++hits;
        }
        const std::size_t child = pick(random, both.expected.aChildren.size());
        ASSERT_EQ(answerDifference(answerOf(both.tree.aChildren[child], ray),
                                   answerOf(both.expected.aChildren[child], ray), ray),
                  "");
    }
    EXPECT_GT(hits, 200);
}

/// Twelve triangles that are split along y at 0.77, or two such dozens above each other. A line along x in the plane
/// z = 0, little above the split, runs through the first two of them; the second reaches below the split.
util::CMesh meshAroundASplit(int dozens) {
    std::vector<test::Triangle> triangles;
    for (int dozen = 0; dozen < dozens; ++dozen) {
        const double foot = 2.0 * dozen;
        triangles.push_back({V(0.3, foot + 1.00001, 0), V(0.3, foot + 1.9, 0), V(0.3, foot + 1.00001, 1)});
        triangles.push_back({V(0.5, foot + 0.9, 0), V(0.5, foot + 1.9, 0), V(0.5, foot + 1, 1)});
        for (int i = 0; i < 5; ++i)
            for (const double y : {foot + 0.1, foot + 1.5})
                triangles.push_back({V(0.1, y, 0.1), V(0.6, y + 0.1 * i, 0.2), V(0.4, y, 0.9)});
    }
    util::CMesh mesh = test::meshOf(triangles);
    mesh.vertices.insert(mesh.vertices.end(), {V(), V(0.7, 2.0 * dozens, 1)});
    // Sides that are no powers of two round the denormal products.
    for (V& vertex : mesh.vertices) vertex = vertex * 0.77;
    return mesh;
}

/// A direction with a component so small that the determinants with faces of boxes are denormal: by the walk's
/// arithmetic the line then meets boxes that it passes at a distance.
TEST(GroundTreeEqual, LinesThatMeetBoxesByUnderflowOnlyGiveTheSameAnswers) {
    const Both both(meshAroundASplit(1));
    ASSERT_EQ(both.expected.aChildren.size(), 2u);
    int fromBelow = 0;
    for (int aside = 1; aside < 40; ++aside)
        for (int units = 1; units < 60; ++units) {
            const double residue = units * std::numeric_limits<double>::denorm_min();
            const TrialRay ray{V(0.125, 1.0 + 0.01 * aside, 0) * 0.77, V(1e-30, 0, residue)};
            const Answer expected = answerOf(both.expected, ray);
            ASSERT_EQ(answerDifference(answerOf(both.tree, ray), expected, ray), "");
            if (expected.hit && expected.t > 0.2e30) ++fromBelow;
        }
    EXPECT_GT(fromBelow, 30) << "hits by way of the box that the line does not meet";
}

/// The same with the sides of triangles, by which these are sorted into boxes.
TEST(GroundTreeEqual, TrianglesInBoxesByUnderflowOnlyGiveTheSameTrees) {
    for (std::uint64_t seed = kSeed + 80000; seed < kSeed + 80012; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        PinnedRandom random(seed);
        constexpr double kSize = 0x1p-26;
        std::vector<test::Triangle> triangles;
        for (int i = 0; i < 250; ++i) {
            const V a = kSize * V{random.in(0, 1), random.in(0, 1), 0};
            const V along = 0.02 * kSize * V{random.in(-1, 1), random.in(-1, 1), 0};
            const double residue = test::magnitude(random, -324.0, -321.0) / (kSize * kSize);
            triangles.push_back({a, a + along + V(0, 0, residue), a + V{0, 0, random.in(0.01, 1.0) * kSize}});
        }
        const Both both(test::meshOf(triangles));
        ASSERT_GT(both.expected.aChildren.size(), 1u);
        ASSERT_EQ(test::treeDifference(both.tree, both.expected), "");
    }
}

/// Lines that come down to the upper face of a leaf, all but along it, little beyond its edge: how far beyond is lost
/// in single precision. Both triangles on the line are in the upper leaf, one of them is in the lower.
TEST(GroundTreeEqual, LinesThatPassTheEdgeOfALeafByLittleGiveTheSameAnswers) {
    const Both both(meshAroundASplit(2));
    ASSERT_EQ(both.expected.aChildren.size(), 2u);
    ASSERT_EQ(both.expected.aChildren[0].aChildren.size(), 2u);
    const V& edge = both.expected.aChildren[0].aChildren[0].vMax;
    int fromAbove = 0;
    for (double slope = 0x1p-14; slope < 0x1p-7; slope *= 1.37)
        for (int step = 1; step < 300; ++step) {
            const V direction(1, -slope, 0);
            const V beyond(edge.x + 1e-6 * step, edge.y, 0.2);
            const TrialRay ray{beyond - 0.7 * direction, direction};
            const Answer expected = answerOf(both.expected, ray);
            ASSERT_EQ(answerDifference(answerOf(both.tree, ray), expected, ray), "") << slope << " " << step;
            if (expected.hit && expected.t < 0.5) ++fromAbove;
        }
    EXPECT_GT(fromAbove, 1000);
}

TEST(GroundTreeEqual, LinesAlongFacesOfBoxesGiveTheSameAnswers) {
    PinnedRandom random(kSeed + 5);
    Counts counts;
    for (const Shape shape : {Shape::cube, Shape::walls}) {
        const Both both(test::meshOfShape(random, shape, 1500));
        const TrialRays rays(both.expected);
        for (int i = 0; i < 4000 * test::repetitions(); ++i) {
            SCOPED_TRACE(i);
            compareAnswer(both, rays.grazingRay(random), counts);
            if (HasFatalFailure()) return;
        }
    }
    EXPECT_GT(counts.hit, 1000);
    EXPECT_GT(counts.missed, 1000);
}

/// As many triangles as groups of them hold in the index, one fewer and one more.
TEST(GroundTreeEqual, AnyNumberOfTrianglesGivesTheSameTreeAndAnswers) {
    Counts counts;
    for (const int triangles : {1, 2, 7, 8, 9, 10, 15, 16, 17, 63, 64, 65, 112, 113, 126, 127, 128, 129, 512})
        for (int i = 0; i < test::repetitions(); ++i) {
            const std::uint64_t seed =
                kSeed + 11000 + 1000 * static_cast<std::uint64_t>(i) + static_cast<unsigned>(triangles);
            SCOPED_TRACE("seed " + std::to_string(seed) + ": " + std::to_string(triangles));
            PinnedRandom random(seed);
            compareMesh(test::triangleCloud(random, triangles, 3.0, 1.0), random, 100, counts);
            if (HasFatalFailure()) return;
        }
    EXPECT_GT(counts.hit, 200);
    EXPECT_GT(counts.missed, 200);
}

/// One ground over the other, each so little higher that only the last digits of the answers differ.
TEST(GroundTreeEqual, LinesThroughManyLayersGiveTheFirstOfThem) {
    PinnedRandom random(kSeed + 6);
    for (const int layers : {2, 8, 9, 63, 64, 65, 200}) {
        SCOPED_TRACE(layers);
        util::CMesh mesh;
        std::vector<double> heights;
        for (int layer = 0; layer < layers; ++layer) heights.push_back(layer * 0x1p-40);
        for (std::size_t i = heights.size(); i > 1; --i) std::swap(heights[i - 1], heights[pick(random, i)]);
        for (const double height : heights)
            test::append(mesh, test::gridMesh(2, 1.0, [height](double x, double z) { return height + x * z; }));
        const Both both(mesh);
        ASSERT_EQ(test::treeDifference(both.tree, both.expected), "");
        Counts counts;
        for (int i = 0; i < 150; ++i) {
            const V through{random.in(-1.0, 1.0), 0.0, random.in(-1.0, 1.0)};
            const V direction = i % 2 == 0 ? V(0, -1, 0) : V(0.25 * through.z, -1, 0.25);
            compareAnswer(both, {through - 10.0 * direction, direction}, counts);
            if (HasFatalFailure()) return;
        }
        EXPECT_GT(counts.hit, 100);
    }
}

std::size_t leavesThatList(const test::plain::PlainGroundTree& node, const std::array<V, 3>& triangle) {
    std::size_t count = 0;
    for (const test::plain::PlainGroundTree& child : node.aChildren) count += leavesThatList(child, triangle);
    if (!node.aChildren.empty()) return count;
    const std::vector<V>& list = node.aTriangleVertices;
    for (std::size_t i = 0; i < list.size(); i += 3)
        if (list[i] == triangle[0] && list[i + 1] == triangle[1] && list[i + 2] == triangle[2]) ++count;
    return count;
}

/// Far off the origin the upper borders of cells are rounded, here to below those of the mesh: a triangle with all its
/// corners beyond is in no leaf, and no line finds it.
TEST(GroundTreeEqual, TrianglesThatNoLeafListsGiveTheSameAnswers) {
    constexpr double kFar = 0x1p44;
    constexpr double kStep = 0x1p-8;  // the last digit there
    std::size_t unlisted = 0;
    Counts counts;
    for (std::uint64_t seed = kSeed + 90000; seed < kSeed + 90000 + 5 * static_cast<std::uint64_t>(test::repetitions());
         ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        PinnedRandom random(seed);
        const std::size_t width = 9 + 4 * pick(random, 6);
        const double end = kFar + kStep * static_cast<double>(width);
        std::vector<test::Triangle> triangles{{V(kFar, 0, kFar), V(kFar, 0, kFar + kStep), V(kFar + kStep, 0, kFar)},
                                              {V(end, 0, kFar), V(end, 0, end), V(kFar, 0, end)}};
        for (int i = 0; i < 150; ++i) {
            const double x = kFar + kStep * static_cast<double>(pick(random, width));
            const double z = kFar + kStep * static_cast<double>(pick(random, width));
            triangles.push_back({V(x, 0, z), V(x, 0, z + kStep), V(x + kStep, 0, z)});
        }
        const Both both(test::meshOf(triangles));
        ASSERT_EQ(test::treeDifference(both.tree, both.expected), "");
        for (const test::Triangle& triangle : triangles) {
            if (leavesThatList(both.expected, triangle) == 0) ++unlisted;
            for (const double high : {3.0, -500.0})
                compareAnswer(both, {V(triangle[0].x, high, triangle[0].z), V(0, -1, 0)}, counts);
            if (HasFatalFailure()) return;
        }
        compareRays(both, random, 100, counts);
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(unlisted, 0u);
    EXPECT_GT(counts.hit, 500);
}

/// Copied, moved, assigned and rebuilt trees answer after the tree they come from is gone.
TEST(GroundTreeEqual, CopiesStandOnTheirOwn) {
    PinnedRandom random(kSeed + 3);
    const util::CMesh mesh = test::meshOfShape(random, Shape::terrain, 3000);
    Both both(mesh);
    Counts counts;
    {
        auto source = std::make_unique<GroundMeshTreeNode>(both.tree);
        GroundMeshTreeNode copy = *source;
        GroundMeshTreeNode assigned;
        assigned = *source;
        source.reset();
        GroundMeshTreeNode moved = std::move(copy);
        both.tree.buildFromMesh(util::CMesh());
        both.tree = std::move(assigned);
        ASSERT_EQ(test::treeDifference(both.tree, both.expected), "");
        compareRays(both, random, 300, counts);
        std::swap(both.tree, moved);
    }
    ASSERT_EQ(test::treeDifference(both.tree, both.expected), "");
    compareRays(both, random, 300, counts);
    GroundMeshTreeNode& self = both.tree;
    both.tree = self;
    ASSERT_EQ(test::treeDifference(both.tree, both.expected), "");
    compareRays(both, random, 100, counts);
    const util::CMesh other = test::meshOfShape(random, Shape::soup, 300);
    both.tree.buildFromMesh(other);
    both.expected.buildFromMesh(other);
    ASSERT_EQ(test::treeDifference(both.tree, both.expected), "");
    compareRays(both, random, 300, counts);
    EXPECT_GT(counts.hit, 300);
}

/// The result and, on a hit, the parameter of a line test.
struct LineAnswer {
    bool hit;
    double t;
};

std::string difference(const LineAnswer& answer, const LineAnswer& expected) {
    if (answer.hit == expected.hit && sameBits(answer.t, expected.t)) return {};
    return std::to_string(answer.hit) + " " + inWords(V(answer.t, expected.t, 0)) + " " + std::to_string(expected.hit);
}

// Misses have to leave the parameter alone.
constexpr double kUnwritten = 77.0;

/// All tests of a line, a triangle and a box; the same with the plain form's.
void compareLineTests(const TrialRay& ray, const std::array<V, 3>& triangle, const test::plain::AxisBox& plainBox,
                      Counts& counts) {
    namespace plain = test::plain;
    const auto& [a, b, c] = triangle;
    const AxisBox box{plainBox.vMin, plainBox.vMax};
    LineAnswer answer{false, kUnwritten};
    LineAnswer expected{false, kUnwritten};
    answer.hit = lineMeetsTriangle(a, b, c, ray.origin, ray.direction, answer.t);
    expected.hit = plain::lineMeetsTriangle(a, b, c, ray.origin, ray.direction, expected.t);
    ASSERT_EQ(difference(answer, expected), "") << "triangle";
    ++(expected.hit ? counts.hit : counts.missed);
    answer = expected = {false, kUnwritten};
    answer.hit = lineMeetsParallelogram({a, b - a, c - a}, ray.origin, ray.direction, answer.t);
    expected.hit = plain::lineMeetsParallelogram({a, b - a, c - a}, ray.origin, ray.direction, expected.t);
    ASSERT_EQ(difference(answer, expected), "") << "parallelogram";
    answer = expected = {false, kUnwritten};
    answer.hit = lineMeetsBox(box, ray.origin, ray.direction, answer.t);
    expected.hit = plain::lineMeetsBox(plainBox, ray.origin, ray.direction, expected.t);
    ASSERT_EQ(difference(answer, expected), "") << "box";
    ASSERT_EQ(boxContains(box, ray.origin), plain::boxContains(plainBox, ray.origin));
    ASSERT_EQ(boxContainsCorner(box, a, b, c), plain::boxContainsCorner(plainBox, a, b, c));
    ASSERT_EQ(boxEdgeMeetsTriangle(box, a, b, c), plain::boxEdgeMeetsTriangle(plainBox, a, b, c));
    ASSERT_EQ(triangleSideMeetsBox(box, a, b, c), plain::triangleSideMeetsBox(plainBox, a, b, c));
    ASSERT_EQ(triangleOverlapsBox(box, a, b, c), plain::triangleOverlapsBox(plainBox, a, b, c));
}

TEST(LineTestsEqual, OnLinesTrianglesAndBoxesOfTrees) {
    Counts counts;
    for (int i = 0; i < 40 * test::repetitions(); ++i) {
        const std::uint64_t seed = kSeed + 70000 + static_cast<std::uint64_t>(i);
        PinnedRandom random(seed);
        const auto shape = static_cast<Shape>(pick(random, static_cast<std::size_t>(Shape::count)));
        const test::TrialMesh trial = test::trialMesh(random, shape, 60);
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + trial.name);
        test::plain::PlainGroundTree tree;
        tree.buildFromMesh(trial.mesh);
        const TrialRays rays(tree);
        for (int line = 0; line < 250; ++line) {
            SCOPED_TRACE(line);
            const std::array<V, 3> triangle = rays.triangle(random);
            compareLineTests(rays.ray(random), triangle, rays.box(random), counts);
            // The line through a side of the triangle, which is how triangles are sorted into boxes.
            compareLineTests({triangle[0], triangle[1] - triangle[0]}, rays.triangle(random), rays.box(random), counts);
            if (HasFatalFailure()) return;
        }
    }
    EXPECT_GT(counts.hit, 500);
    EXPECT_GT(counts.missed, 5000);
}

TEST(LineTestsEqual, OnNumbersOfEveryKind) {
    PinnedRandom random(kSeed + 4);
    const auto number = [&] {
        return random.chance(0.6) ? 0.5 * static_cast<double>(pick(random, 7)) - 1.5 : test::extremeNumber(random);
    };
    const auto point = [&] { return V{number(), number(), number()}; };
    Counts counts;
    for (int i = 0; i < 10000 * test::repetitions(); ++i) {
        SCOPED_TRACE(i);
        const TrialRay ray{point(), point()};
        const std::array<V, 3> triangle{point(), point(), point()};
        // Boxes are in order; one of a cell may be empty.
        const V low = point();
        const V high = point();
        const test::plain::AxisBox box{{std::min(low.x, high.x), std::min(low.y, high.y), std::min(low.z, high.z)},
                                       {std::max(low.x, high.x), std::max(low.y, high.y), std::max(low.z, high.z)}};
        compareLineTests(ray, triangle, box, counts);
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(counts.hit, 500);
    EXPECT_GT(counts.missed, 1000);
}

}  // namespace
}  // namespace ond::ovs::addon
