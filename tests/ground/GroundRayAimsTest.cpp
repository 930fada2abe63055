// Lines that triangles stand edge-on to. The exact test may hit such a triangle although the line passes it at a
// distance: the index beside the ground tree then has to give what the walk gives, and groups of triangles have to know
// in which directions that may be so. With QUADRIG_REPEAT=100 in the environment the comparisons run a hundred times as
// long, on other meshes.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ground/GroundAims.h"
#include "ground/GroundMeshTree.h"
#include "ground/GroundMeshes.h"
#include "ground/HostileMeshes.h"
#include "ground/LineTests.h"
#include "ground/plain/GroundComparison.h"
#include "ground/plain/PlainGroundTree.h"
#include "ground/plain/TrialMeshes.h"
#include "ground/plain/TrialRays.h"

namespace ond::ovs::addon {
namespace {

using test::pick;
using test::PinnedRandom;
using test::TrialRay;
using test::Triangle;
using test::plain::PlainGroundTree;
using Lanes = GroundRayIndex::Lanes;
using V = util::Vector3<double>;

constexpr std::uint64_t kSeed = 20341123;
constexpr std::uint32_t kSquares = ground_aim::kSide * ground_aim::kSide;

// Meshes that are a few lengths high, so that lines may leave one part of them for another.

util::CMesh meadow(double height, int side = 14) {
    return test::gridMesh(side, 14.0 / side, [height](double x, double z) { return height + 0.1 * test::hills(x, z); });
}

/// A triangle in a plane that some lines of the grid run along.
Triangle fin(PinnedRandom& random, double low, double high) {
    const V at{random.in(-6.0, 6.0), random.in(low, high), random.in(-6.0, 6.0)};
    const double turn = random.in(0.0, 6.28);
    const V aside(std::cos(turn), random.in(-0.5, 0.5), std::sin(turn));
    const V up{random.in(-0.6, 0.6), 1.0, random.in(-0.6, 0.6)};
    return {at, at + random.in(0.3, 1.0) * aside, at + random.in(0.3, 1.0) * up};
}

util::CMesh fins(PinnedRandom& random, int count, double low, double high) {
    std::vector<Triangle> triangles;
    for (int i = 0; i < count; ++i) triangles.push_back(fin(random, low, high));
    return test::meshOf(triangles);
}

util::CMesh finsAbove(PinnedRandom& random) {
    util::CMesh mesh = fins(random, 10, 3.0, 9.0);
    test::append(mesh, meadow(0.0, 20));
    return mesh;
}

util::CMesh finsBelow(PinnedRandom& random) {
    util::CMesh mesh = fins(random, 10, 0.0, 6.0);
    test::append(mesh, meadow(9.0));
    return mesh;
}

/// Houses with leaning walls, each turned its own way.
util::CMesh town(PinnedRandom& random) {
    std::vector<Triangle> triangles;
    for (int house = 0; house < 64; ++house) {
        const V at(2.5 * (house % 8), 0.0, 2.5 * (house / 8));
        const double turn = random.in(0.0, 3.0);
        const double high = random.in(0.5, 5.0);
        const double narrower = random.chance(0.5) ? 1.0 : random.in(0.3, 1.0);
        std::array<V, 4> foot;
        std::array<V, 4> roof;
        for (std::size_t i = 0; i < 4; ++i) {
            const double angle = turn + 1.5707963267948966 * static_cast<double>(i);
            const V corner(std::cos(angle), 0.0, std::sin(angle));
            foot[i] = at + corner;
            roof[i] = at + narrower * corner + V(0.0, high, 0.0);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            triangles.push_back({foot[i], foot[(i + 1) % 4], roof[i]});
            triangles.push_back({roof[(i + 1) % 4], roof[i], foot[(i + 1) % 4]});
        }
        triangles.push_back({roof[0], roof[1], roof[2]});
        triangles.push_back({roof[2], roof[3], roof[0]});
    }
    return test::meshOf(triangles);
}

util::CMesh rough(PinnedRandom& random) {
    return test::gridMesh(15, 0.5, [&](double, double) { return random.in(-0.7, 0.7); });
}

/// Levels with leaning walls between them, in two directions.
util::CMesh terraces(PinnedRandom& random) {
    const double alongX = random.in(-2.0, 2.0);
    const double alongZ = random.in(-2.0, 2.0);
    return test::gridMesh(20, 0.5, [&](double x, double z) { return std::floor(alongX * x + alongZ * z); });
}

/// Spires with more sides than a cell of planes holds, from steep to flat, all around one corner.
util::CMesh spires(PinnedRandom& random) {
    constexpr int kSides = 44;
    std::vector<Triangle> triangles;
    for (int spire = 0; spire < 5; ++spire) {
        const V top{random.in(-5.0, 5.0), random.in(1.0, 4.0), random.in(-5.0, 5.0)};
        V last;
        for (int side = 0; side <= kSides; ++side) {
            const double angle = 6.283185307179586 * side / kSides;
            const double wide = random.in(0.2, 2.0);
            const V foot = top + V(wide * std::cos(angle), -random.in(0.5, 3.0), wide * std::sin(angle));
            if (side != 0) triangles.push_back({top, last, foot});
            last = foot;
        }
    }
    util::CMesh mesh = test::meshOf(triangles);
    test::append(mesh, meadow(-3.0));
    return mesh;
}

/// So few that they are one group.
util::CMesh few(PinnedRandom& random) {
    util::CMesh mesh = fins(random, 6, -2.0, 2.0);
    test::append(mesh, test::meshOf({{V(-9, -5, -9), V(-9, -5, 20), V(20, -5, -9)}}));
    return mesh;
}

struct Scene {
    const char* name;
    util::CMesh (*mesh)(PinnedRandom& random);
};

constexpr std::array kScenes{
    Scene{"fins above", finsAbove}, Scene{"fins below", finsBelow}, Scene{"town", town}, Scene{"rough", rough},
    Scene{"terraces", terraces},    Scene{"spires", spires},        Scene{"few", few}};

std::array<double, 3> axesOf(const V& v) { return {v.x, v.y, v.z}; }

struct Box {
    V low;
    V high;
};

/// Whether a line runs through a box.
bool comesTo(const Box& box, const TrialRay& line) {
    const std::array<double, 3> low = axesOf(box.low);
    const std::array<double, 3> high = axesOf(box.high);
    const std::array<double, 3> from = axesOf(line.origin);
    const std::array<double, 3> along = axesOf(line.direction);
    double enter = -std::numeric_limits<double>::infinity();
    double leave = std::numeric_limits<double>::infinity();
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (along[axis] == 0.0) {
            if (from[axis] < low[axis] || from[axis] > high[axis]) return false;
            continue;
        }
        const double one = (low[axis] - from[axis]) / along[axis];
        const double other = (high[axis] - from[axis]) / along[axis];
        enter = std::max(enter, std::min(one, other));
        leave = std::min(leave, std::max(one, other));
    }
    return enter <= leave;
}

Box boxAround(const Triangle& triangle, double margin) {
    const auto& [a, b, c] = triangle;
    const V aside(margin, margin, margin);
    return {V(std::min({a.x, b.x, c.x}), std::min({a.y, b.y, c.y}), std::min({a.z, b.z, c.z})) - aside,
            V(std::max({a.x, b.x, c.x}), std::max({a.y, b.y, c.y}), std::max({a.z, b.z, c.z})) + aside};
}

bool isWithin(const Box& box, const Box& outer) {
    return box.low.x >= outer.low.x && box.low.y >= outer.low.y && box.low.z >= outer.low.z &&
           box.high.x <= outer.high.x && box.high.y <= outer.high.y && box.high.z <= outer.high.z;
}

V normalOf(const Triangle& triangle) {
    return util::Normalized(util::Cross(triangle[1] - triangle[0], triangle[2] - triangle[0]));
}

/// A group of triangles of the index.
struct Group {
    Box box;
    GroundAims edgeOn;
};

std::vector<Group> groupsOf(const GroundRayTables& tables) {
    std::vector<Group> groups;
    for (const GroundBoxes& boxes : tables.boxes)
        for (std::size_t place = 0; place < GroundBoxes::kCount; ++place) {
            std::array<double, 6> border{};
            for (std::size_t i = 0; i < border.size(); ++i)
                border[i] = static_cast<double>(boxes.border[i][place / 8][static_cast<int>(place % 8)]);
            const std::uint32_t child = boxes.child[place];
            if ((child & ground_child::kKind) != ground_child::kTriangles || !(border[0] <= border[3])) continue;
            groups.push_back({{tables.middle + V(border[0], border[1], border[2]),
                               tables.middle + V(border[3], border[4], border[5])},
                              tables.triangles.at(child & ground_child::kMost).edgeOn});
        }
    return groups;
}

void addLeaves(const PlainGroundTree& node, std::vector<const PlainGroundTree*>& leaves) {
    if (node.aChildren.empty() && !node.aTriangleVertices.empty()) leaves.push_back(&node);
    for (const PlainGroundTree& child : node.aChildren) addLeaves(child, leaves);
}

/// A mesh as both forms of the tree have it.
struct Ground {
    explicit Ground(const util::CMesh& mesh) {
        tree.buildFromMesh(mesh);
        expected.buildFromMesh(mesh);
        addLeaves(expected, leaves);
        if (tree.index()) groups = groupsOf(tree.index()->tables());
        size = util::Length(expected.vMax - expected.vMin);
    }
    GroundMeshTreeNode tree;
    PlainGroundTree expected;
    std::vector<const PlainGroundTree*> leaves;  ///< with triangles
    std::vector<Group> groups;
    double size = 0.0;
};

/// A line in the plane of a triangle, through the cell of a leaf that lists it, with a direction of the grid.
struct EdgeLine {
    Triangle triangle;
    TrialRay line;
    bool isOne;  ///< it has such a direction
};

EdgeLine edgeLineOf(PinnedRandom& random, const PlainGroundTree& leaf) {
    EdgeLine edge{};
    const std::size_t first = 3 * pick(random, leaf.aTriangleVertices.size() / 3);
    for (std::size_t i = 0; i < 3; ++i) edge.triangle[i] = leaf.aTriangleVertices[first + i];
    const V p = edge.triangle[1] - edge.triangle[0];
    const V q = edge.triangle[2] - edge.triangle[0];
    const V normal = normalOf(edge.triangle);
    const V size = leaf.vMax - leaf.vMin;
    const V at = leaf.vMin + V{random.in(0, 1) * size.x, random.in(0, 1) * size.y, random.in(0, 1) * size.z};
    edge.line.origin = at - util::Dot(at - edge.triangle[0], normal) * normal;
    const double shareOfP = random.in(-1.0, 1.0);
    edge.line.direction = shareOfP * p + random.in(-1.0, 1.0) * q;
    const double reach = 1.1 * std::fabs(edge.line.direction.y);
    edge.isOne = std::fabs(edge.line.direction.x) < reach && std::fabs(edge.line.direction.z) < reach;
    return edge;
}

EdgeLine edgeLine(PinnedRandom& random, const Ground& ground) {
    for (;;) {
        const EdgeLine edge = edgeLineOf(random, *ground.leaves[pick(random, ground.leaves.size())]);
        if (edge.isOne) return edge;
    }
}

/// Whether a line comes to a leaf with a triangle that it is edge-on to.
bool isEdgeOn(const PlainGroundTree& node, const TrialRay& line) {
    if (!comesTo({node.vMin, node.vMax}, line)) return false;
    for (const PlainGroundTree& child : node.aChildren)
        if (isEdgeOn(child, line)) return true;
    if (!node.aChildren.empty()) return false;
    const double length = util::Length(line.direction);
    const std::vector<V>& list = node.aTriangleVertices;
    for (std::size_t i = 0; i < list.size(); i += 3) {
        const V cross = util::Cross(list[i + 1] - list[i], list[i + 2] - list[i]);
        if (std::fabs(util::Dot(cross, line.direction)) < 0x1p-9 * length * util::Length(cross)) return true;
    }
    return false;
}

/// The square of the grid that a line comes to; kOutside also where rounding decides.
std::uint32_t squareOf(const TrialRay& line) {
    const double square = static_cast<double>(ground_aim::kSquare);
    const double x = (static_cast<double>(ground_aim::kReach) - line.direction.x / line.direction.y) / square;
    const double z = (static_cast<double>(ground_aim::kReach) - line.direction.z / line.direction.y) / square;
    for (const double place : {x, z})
        if (!(place > 0.0 && place < ground_aim::kSide) || std::fabs(place - std::round(place)) < 1e-4)
            return ground_aim::kOutside;
    return static_cast<std::uint32_t>(z) * ground_aim::kSide + static_cast<std::uint32_t>(x);
}

/// Of the groups that lines come to: how many know their directions, and how many know that nothing is edge-on.
struct Known {
    int some = 0;
    int none = 0;
};

/// No group that the line comes to may know that it is edge-on to nothing if it is.
void checkGroups(const Ground& ground, const TrialRay& line, Known& known) {
    const std::uint32_t square = squareOf(line);
    if (square == ground_aim::kOutside) return;
    const bool isSome = isEdgeOn(ground.expected, line);
    for (const Group& group : ground.groups) {
        if (!comesTo(group.box, line)) continue;
        const bool isKnown = group.edgeOn.has(square);
        ++(isKnown ? known.some : known.none);
        ASSERT_TRUE(isKnown || !isSome) << "square " << square << ", from " << test::inWords(line.origin) << " along "
                                        << test::inWords(line.direction);
    }
}

TEST(GroundRayAims, GroupsKnowEveryDirectionInWhichALineIsEdgeOnToSomethingItComesTo) {
    Known edgeOn;
    Known any;
    for (std::size_t i = 0; i < kScenes.size() * static_cast<std::size_t>(test::repetitions()); ++i) {
        const Scene& scene = kScenes[i % kScenes.size()];
        SCOPED_TRACE(scene.name + std::string(", seed ") + std::to_string(kSeed + i));
        PinnedRandom random(kSeed + i);
        const Ground ground(scene.mesh(random));
        for (int line = 0; line < 1500; ++line) {
            EdgeLine edge = edgeLine(random, ground);
            // Edge-on is what leaves a right angle with the normal by little, too.
            const V normal = normalOf(edge.triangle);
            edge.line.direction += (random.in(-0.0019, 0.0019) * util::Length(edge.line.direction)) * normal;
            checkGroups(ground, edge.line, edgeOn);
            const V through{random.in(-1.1, 1.1), -1.0, random.in(-1.1, 1.1)};
            checkGroups(ground, {edge.line.origin, through}, any);
            if (HasFatalFailure()) return;
        }
    }
    EXPECT_GT(edgeOn.some, 5000);
    EXPECT_GT(any.some, 2000);
    EXPECT_GT(any.none, 200) << "nothing would be gained";
}

/// Moves a line along itself until the exact test hits the triangle, whose box it passes at a distance.
bool isHitFromAfar(PinnedRandom& random, const Ground& ground, EdgeLine& edge) {
    const V normal = normalOf(edge.triangle);
    const Box near = boxAround(edge.triangle, 1e-4 * ground.size);
    if (comesTo(near, edge.line)) return false;
    const V at = edge.line.origin;
    const double length = util::Length(edge.line.direction);
    for (int tries = 0; tries < 60; ++tries) {
        const double away = random.chance(0.1) ? random.in(-100.0, 100.0) : random.in(-2.0, 2.0);
        edge.line.origin = at - (ground.size / length * away) * edge.line.direction;
        edge.line.origin = edge.line.origin - util::Dot(edge.line.origin - edge.triangle[0], normal) * normal;
        double t = 0.0;
        const auto& [a, b, c] = edge.triangle;
        if (lineMeetsTriangle(a, b, c, edge.line.origin, edge.line.direction, t) && !comesTo(near, edge.line))
            return true;
    }
    return false;
}

/// How often the answer was a triangle that the line passes at a distance.
struct Passed {
    int all = 0;
    int besides = 0;  ///< with a group on the line, but not that of the triangle
};

void countPassed(const Ground& ground, const EdgeLine& edge, const test::Answer& answer, Passed& passed) {
    const V cross = util::Cross(edge.triangle[1] - edge.triangle[0], edge.triangle[2] - edge.triangle[0]);
    if (!answer.hit || !test::sameBits(answer.normal, util::Normalized(cross))) return;
    ++passed.all;
    const Box box = boxAround(edge.triangle, -1e-6 * ground.size);
    bool isAny = false;
    for (const Group& group : ground.groups) {
        if (!comesTo(group.box, edge.line)) continue;
        isAny = true;
        if (isWithin(box, group.box)) return;
    }
    if (isAny) ++passed.besides;
}

/// The tree, and what another processor would answer.
void compareAnswers(const Ground& ground, const GroundRayIndex& other, const TrialRay& line,
                    const test::Answer& expected) {
    ASSERT_EQ(test::answerDifference(test::answerOf(ground.tree, line), expected, line), "");
    GroundRayIndex::Found found{};
    const GroundRayIndex::Answer answer = other.query(line.origin, line.direction, found);
    if (answer == GroundRayIndex::Answer::unknown) return;
    ASSERT_EQ(answer == GroundRayIndex::Answer::hit, expected.hit) << test::inWords(line.origin);
    ASSERT_TRUE(!expected.hit || test::sameBits(found.t, expected.t)) << test::inWords(line.origin);
}

TEST(GroundRayAims, TrianglesThatTheExactTestHitsFromAfarAreAnswered) {
    Passed passed;
    for (std::size_t i = 0; i < kScenes.size() * static_cast<std::size_t>(test::repetitions()); ++i) {
        const Scene& scene = kScenes[i % kScenes.size()];
        SCOPED_TRACE(scene.name + std::string(", seed ") + std::to_string(kSeed + 1000000 + i));
        PinnedRandom random(kSeed + 1000000 + i);
        const Ground ground(scene.mesh(random));
        ASSERT_TRUE(ground.tree.index());
        const auto other = GroundRayIndex::of(ground.tree, i % 2 == 0 ? Lanes::eight : Lanes::narrow);
        for (int line = 0; line < 2000; ++line) {
            EdgeLine edge = edgeLine(random, ground);
            if (!isHitFromAfar(random, ground, edge)) continue;
            // Neither the length nor the side from which it comes changes where a line runs.
            const double side = random.chance(0.5) ? 1.0 : -1.0;
            edge.line.direction = std::ldexp(side, static_cast<int>(pick(random, 9)) - 4) * edge.line.direction;
            const test::Answer expected = test::answerOf(ground.expected, edge.line);
            compareAnswers(ground, *other, edge.line, expected);
            if (HasFatalFailure()) return;
            countPassed(ground, edge, expected, passed);
        }
    }
    EXPECT_GT(passed.all, 1000);
    EXPECT_GT(passed.besides, 500);
}

/// Of slivers only the exact test knows, whichever way a line runs: they are found by way of their leaves alone.
TEST(GroundRayAims, SliversAreKnownInAllDirectionsAndAnswered) {
    const Triangle sliver{V(0.1, 5, 0.1), V(1, 6, 0.9), V(0.523, 5.47, 0.4762)};
    for (const bool isLarge : {false, true}) {
        PinnedRandom random(kSeed + 2000000);
        util::CMesh mesh = test::meshOf({sliver, {V(-9, 0, -9), V(-9, 0, 20), V(20, 0, -9)}});
        if (isLarge) test::append(mesh, meadow(1.0));
        const Ground ground(mesh);
        ASSERT_EQ(ground.groups.empty(), !isLarge);
        const V middle = (sliver[0] + sliver[1] + sliver[2]) / 3.0;
        int answered = 0;
        Known known;
        for (int i = 0; i < 300; ++i) {
            const V along{random.in(-1.0, 1.0), -1.0, random.in(-1.0, 1.0)};
            const test::Answer expected = test::answerOf(ground.expected, {middle, along});
            ASSERT_EQ(test::answerDifference(test::answerOf(ground.tree, {middle, along}), expected, {middle, along}),
                      "");
            if (expected.hit && std::fabs(expected.t) < 1e-6) ++answered;
            checkGroups(ground, {middle, along}, known);
        }
        EXPECT_GT(answered, 50);
        EXPECT_EQ(known.none, 0);
        EXPECT_GE(known.some, isLarge ? 200 : 0);
    }
}

TEST(GroundAims, HoldABitPerSquare) {
    EXPECT_FLOAT_EQ(ground_aim::kSquare * ground_aim::kSide, 2.0F * ground_aim::kReach);
    GroundAims even;
    GroundAims odd;
    EXPECT_TRUE(even.isNone());
    for (std::uint32_t square = 0; square < kSquares; ++square) {
        ASSERT_TRUE(GroundAims::all().has(square));
        GroundAims& aims = square % 2 == 0 ? even : odd;
        ASSERT_FALSE(aims.has(square)) << square;
        aims.add(square);
        ASSERT_TRUE(aims.has(square)) << square;
    }
    EXPECT_EQ(even.count() + odd.count(), static_cast<int>(kSquares));
    EXPECT_FALSE(odd.isNone());
    GroundAims both = even;
    both &= odd;
    EXPECT_TRUE(both.isNone());
    both = even;
    both |= odd;
    EXPECT_EQ(both.count(), static_cast<int>(kSquares));
    EXPECT_TRUE(both.hasAll(even));
    EXPECT_TRUE(GroundAims::all().hasAll(both));
    EXPECT_FALSE(even.hasAll(both));
    EXPECT_FALSE(even.hasAll(odd));
    EXPECT_TRUE(even.hasAll(GroundAims()));
}

}  // namespace
}  // namespace ond::ovs::addon
