// The ground tree: its splits, and the answers of its ray query.
#include "ground/GroundMeshTree.h"

#include <gtest/gtest.h>

#include <limits>

#include "ground/GroundMeshes.h"
#include "ground/GroundWalk.h"
#include "ground/LineTests.h"

namespace ond::ovs::addon {
namespace {

using test::GroundWalk;
using test::PinnedRandom;
using test::Triangle;
using V = util::Vector3<double>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
const V kDown(0, -1, 0);

GroundMeshTreeNode treeOf(const util::CMesh& mesh) {
    GroundMeshTreeNode tree;
    tree.buildFromMesh(mesh);
    return tree;
}

GroundWalk walkOf(const util::CMesh& mesh) {
    std::vector<test::WalkTriangle> triangles;
    for (int i = 0; i < mesh.getNumFaces(); ++i)
        triangles.push_back({mesh.vertices[mesh.getFaceVertex(i, 0)], mesh.vertices[mesh.getFaceVertex(i, 1)],
                             mesh.vertices[mesh.getFaceVertex(i, 2)]});
    V low;
    V high;
    for (std::size_t i = 0; i < mesh.vertices.size(); ++i) {
        const V& v = mesh.vertices[i];
        low = i == 0 ? v : V(std::min(low.x, v.x), std::min(low.y, v.y), std::min(low.z, v.z));
        high = i == 0 ? v : V(std::max(high.x, v.x), std::max(high.y, v.y), std::max(high.z, v.z));
    }
    return GroundWalk(std::move(triangles), low, high);
}

/// Exactly the same boxes, children and triangle lists.
void expectSameTree(const GroundMeshTreeNode& node, const test::WalkNode& other, const GroundWalk& walk) {
    ASSERT_EQ(node.vMin, other.low);
    ASSERT_EQ(node.vMax, other.high);
    ASSERT_EQ(node.aTriangleVertices.size(), 3 * other.triangles.size());
    for (std::size_t i = 0; i < other.triangles.size(); ++i) {
        const test::WalkTriangle& w = walk.triangle(other.triangles[i]);
        ASSERT_EQ(node.aTriangleVertices[3 * i], w.a);
        ASSERT_EQ(node.aTriangleVertices[3 * i + 1], w.b);
        ASSERT_EQ(node.aTriangleVertices[3 * i + 2], w.c);
    }
    ASSERT_EQ(node.aChildren.size(), other.children.size());
    for (std::size_t i = 0; i < other.children.size(); ++i) {
        expectSameTree(node.aChildren[i], *other.children[i], walk);
        if (testing::Test::HasFatalFailure()) return;
    }
}

struct Hits {
    int hit = 0;
    int missed = 0;
};

/// Exactly the same answer, parameter and normal.
void expectSameAnswer(const GroundMeshTreeNode& tree, const GroundWalk& walk, const V& origin, const V& direction,
                      Hits& hits) {
    double t = 0.0;
    double walkT = 0.0;
    V normal;
    V walkNormal;
    const bool hit = tree.rayQuery(origin, direction, t, &normal);
    ASSERT_EQ(hit, walk.query(origin, direction, walkT, walkNormal));
    ++(hit ? hits.hit : hits.missed);
    if (!hit) return;
    ASSERT_EQ(t, walkT);
    ASSERT_EQ(normal, walkNormal);
}

int depthOf(const GroundMeshTreeNode& node) {
    int deepest = 0;
    for (const GroundMeshTreeNode& child : node.aChildren) deepest = std::max(deepest, depthOf(child));
    return deepest + 1;
}

void collectLeaves(const GroundMeshTreeNode& node, std::vector<const GroundMeshTreeNode*>& leaves) {
    if (node.aChildren.empty()) leaves.push_back(&node);
    for (const GroundMeshTreeNode& child : node.aChildren) collectLeaves(child, leaves);
}

/// A triangle around x, as high and as deep as all others of its kind, so that only x separates them.
Triangle upright(double x) { return {V(x - 0.1, 0, 0), V(x + 0.1, 0, 10), V(x, 10, 5)}; }

util::CMesh uprights(const std::vector<double>& xs) {
    std::vector<Triangle> triangles;
    for (const double x : xs) triangles.push_back(upright(x));
    return test::meshOf(triangles);
}

std::vector<double> repeated(int low, int middle, int high) {
    std::vector<double> xs(static_cast<std::size_t>(low), 0.5);
    xs.insert(xs.end(), static_cast<std::size_t>(middle), 5.0);
    xs.insert(xs.end(), static_cast<std::size_t>(high), 9.5);
    return xs;
}

/// The mesh with two unused vertices that make the root's box 0 to 10 on every axis.
GroundMeshTreeNode tenWide(util::CMesh mesh) {
    mesh.vertices.push_back(V(0, 0, 0));
    mesh.vertices.push_back(V(10, 10, 10));
    return treeOf(mesh);
}

TEST(GroundMeshTree, NineTrianglesAreOneLeafAndTenAreSplit) {
    const GroundMeshTreeNode nine = tenWide(uprights(repeated(5, 0, 4)));
    EXPECT_TRUE(nine.aChildren.empty());
    EXPECT_EQ(nine.aTriangleVertices.size(), 27u);
    const GroundMeshTreeNode ten = tenWide(uprights(repeated(5, 0, 5)));
    ASSERT_EQ(ten.aChildren.size(), 2u);
    EXPECT_EQ(ten.aChildren[0].aTriangleVertices.size(), 15u);
    EXPECT_EQ(ten.aChildren[1].aTriangleVertices.size(), 15u);
    EXPECT_EQ(ten.aTriangleVertices.size(), 30u) << "inner nodes keep their copy";
}

TEST(GroundMeshTree, ChildrenAreEqualCellsOfTheBox) {
    const GroundMeshTreeNode tree = tenWide(uprights(repeated(5, 0, 5)));
    ASSERT_EQ(tree.aChildren.size(), 2u);
    EXPECT_EQ(tree.aChildren[0].vMin, V(0, 0, 0));
    EXPECT_EQ(tree.aChildren[0].vMax, V(5, 10, 10));
    EXPECT_EQ(tree.aChildren[1].vMin, V(5, 0, 0));
    EXPECT_EQ(tree.aChildren[1].vMax, V(10, 10, 10));
}

TEST(GroundMeshTree, EachHalfNeedsThreeTriangles) {
    EXPECT_EQ(tenWide(uprights(repeated(7, 0, 3))).aChildren.size(), 2u);
    EXPECT_EQ(tenWide(uprights(repeated(3, 0, 7))).aChildren.size(), 2u);
    EXPECT_TRUE(tenWide(uprights(repeated(8, 0, 2))).aChildren.empty());
    EXPECT_TRUE(tenWide(uprights(repeated(2, 0, 8))).aChildren.empty());
}

TEST(GroundMeshTree, ATenthOfTheTrianglesMayStraddleTheMiddle) {
    EXPECT_EQ(tenWide(uprights(repeated(5, 1, 4))).aChildren.size(), 2u) << "11 / 10 is not above 1.1";
    EXPECT_TRUE(tenWide(uprights(repeated(4, 2, 4))).aChildren.empty());
    EXPECT_EQ(tenWide(uprights(repeated(10, 2, 9))).aChildren.size(), 2u) << "23 / 21";
    EXPECT_TRUE(tenWide(uprights(repeated(9, 3, 9))).aChildren.empty()) << "24 / 21";
}

TEST(GroundMeshTree, ACellThatTakesEverythingLeavesTheNodeALeaf) {
    // 33 / 30 lets x be split, but its low half holds all thirty.
    const GroundMeshTreeNode tree = tenWide(uprights(repeated(27, 3, 0)));
    EXPECT_TRUE(tree.aChildren.empty());
    EXPECT_EQ(tree.aTriangleVertices.size(), 90u);
}

TEST(GroundMeshTree, IdenticalTrianglesStayALeaf) {
    EXPECT_TRUE(treeOf(uprights(std::vector<double>(500, 3.0))).aChildren.empty());
}

TEST(GroundMeshTree, ATriangleInSeveralCellsIsCopiedIntoEach) {
    const GroundMeshTreeNode tree = tenWide(uprights(repeated(6, 1, 5)));
    ASSERT_EQ(tree.aChildren.size(), 2u);
    EXPECT_EQ(tree.aChildren[0].aTriangleVertices.size(), 21u);
    EXPECT_EQ(tree.aChildren[1].aTriangleVertices.size(), 18u);
    EXPECT_EQ(tree.aChildren[0].aTriangleVertices[18], upright(5.0)[0]) << "in the order of the list";
    EXPECT_EQ(tree.aChildren[1].aTriangleVertices[0], upright(5.0)[0]);
}

TEST(GroundMeshTree, CellsRunOverZInsideYInsideX) {
    // Four small triangles near each corner of a cube: all three axes are split.
    std::vector<Triangle> triangles;
    for (int corner = 7; corner >= 0; --corner)
        for (int i = 0; i < 4; ++i) {
            const V c((corner & 4) ? 9 : 1, (corner & 2) ? 9 : 1, (corner & 1) ? 9 : 1);
            triangles.push_back({c, c + V(0.5, 0, 0), c + V(0, 0.5, 0.1 * i)});
        }
    const GroundMeshTreeNode tree = tenWide(test::meshOf(triangles));
    ASSERT_EQ(tree.aChildren.size(), 8u);
    for (int corner = 0; corner < 8; ++corner) {
        const V low((corner & 4) ? 5 : 0, (corner & 2) ? 5 : 0, (corner & 1) ? 5 : 0);
        EXPECT_EQ(tree.aChildren[static_cast<std::size_t>(corner)].vMin, low);
        EXPECT_EQ(tree.aChildren[static_cast<std::size_t>(corner)].vMax, low + V(5, 5, 5));
    }
}

TEST(GroundMeshTree, CellsWithoutTrianglesGiveNoChild) {
    // Two opposite corners of a square are inhabited: x and z are split into four cells, two of them empty.
    std::vector<Triangle> triangles;
    for (int i = 0; i < 5; ++i)
        for (const double at : {1.0, 9.0}) triangles.push_back({V(at, 0, at), V(at + 0.5, 0, at), V(at, 0, at + 0.5)});
    const GroundMeshTreeNode tree = tenWide(test::meshOf(triangles));
    ASSERT_EQ(tree.aChildren.size(), 2u);
    EXPECT_EQ(tree.aChildren[0].vMin, V(0, 0, 0));
    EXPECT_EQ(tree.aChildren[1].vMin, V(5, 0, 5));
}

TEST(GroundMeshTree, AFlatMeshIsNotSplitOnItsFlatAxis) {
    const GroundMeshTreeNode tree = treeOf(test::gridMesh(8, 1.0, [](double, double) { return 2.5; }));
    ASSERT_EQ(tree.aChildren.size(), 0u) << "here more than a tenth of the triangles straddles the middle";
    const GroundMeshTreeNode larger = treeOf(test::gridMesh(60, 1.0, [](double, double) { return 2.5; }));
    ASSERT_EQ(larger.aChildren.size(), 4u);
    for (const GroundMeshTreeNode& child : larger.aChildren) {
        EXPECT_EQ(child.vMin.y, 2.5);
        EXPECT_EQ(child.vMax.y, 2.5);
    }
}

TEST(GroundMeshTree, TheBoxHoldsEveryVertexAlsoUnusedOnes) {
    util::CMesh mesh = uprights({1.0});
    mesh.vertices.push_back(V(-7, 3, 44));
    const GroundMeshTreeNode tree = treeOf(mesh);
    EXPECT_EQ(tree.vMin, V(-7, 0, 0));
    EXPECT_EQ(tree.vMax, V(1.1, 10, 44));
}

TEST(GroundMeshTree, AnEmptyMeshGivesAnEmptyTree) {
    GroundMeshTreeNode tree = treeOf(test::gridMesh(20, 1.0, test::hills));
    ASSERT_FALSE(tree.aTriangleVertices.empty());
    tree.buildFromMesh(util::CMesh());
    EXPECT_EQ(tree.vMin, V(0, 0, 0));
    EXPECT_EQ(tree.vMax, V(0, 0, 0));
    EXPECT_TRUE(tree.aTriangleVertices.empty());
    EXPECT_TRUE(tree.aChildren.empty());
}

TEST(GroundMeshTree, ASecondBuildReplacesTheFirst) {
    const util::CMesh first = test::gridMesh(40, 1.0, test::hills);
    const util::CMesh second = uprights({1.0, 2.0});
    GroundMeshTreeNode tree = treeOf(first);
    ASSERT_FALSE(tree.aChildren.empty());
    tree.buildFromMesh(second);
    EXPECT_TRUE(tree.aChildren.empty());
    EXPECT_EQ(tree.aTriangleVertices.size(), 6u);
    EXPECT_EQ(tree.vMax, V(2.1, 10, 10));
}

TEST(GroundMeshTree, WithoutABuildEveryQueryIsFalse) {
    const GroundMeshTreeNode tree;
    double t = 5.0;
    V normal;
    EXPECT_FALSE(tree.rayQuery(V(0, 10, 0), kDown, t, &normal));
    EXPECT_FALSE(tree.rayQuery(V(0, 0, 0), V(1, 1, 1), t, nullptr));
    EXPECT_EQ(t, 5.0);
}

TEST(GroundMeshTreeRay, GivesParameterAndNormalOfTheTriangle) {
    const GroundMeshTreeNode tree = treeOf(test::meshOf({{V(0, 0, 0), V(0, 4, 4), V(4, 0, 0)}}));
    double t = 0.0;
    V normal;
    ASSERT_TRUE(tree.rayQuery(V(1, 9, 1), V(0, -2, 0), t, &normal));
    EXPECT_EQ(t, 4.0);
    EXPECT_EQ(normal, util::Normalized(V(0, 16, -16)));
    EXPECT_TRUE(tree.rayQuery(V(1, 9, 1), V(0, -2, 0), t, nullptr)) << "the normal may be absent";
}

TEST(GroundMeshTreeRay, TheWindingSetsTheNormalNotTheRay) {
    const GroundMeshTreeNode up = treeOf(test::meshOf({{V(0, 0, 0), V(0, 0.5, 4), V(4, 0, 0)}}));
    const GroundMeshTreeNode down = treeOf(test::meshOf({{V(0, 0, 0), V(4, 0, 0), V(0, 0.5, 4)}}));
    double t = 0.0;
    V fromAbove;
    V fromBelow;
    ASSERT_TRUE(up.rayQuery(V(1, 10, 1), kDown, t, &fromAbove));
    ASSERT_TRUE(up.rayQuery(V(1, -10, 1), -kDown, t, &fromBelow));
    EXPECT_GT(fromAbove.y, 0.9);
    EXPECT_EQ(fromAbove, fromBelow);
    ASSERT_TRUE(down.rayQuery(V(1, 10, 1), kDown, t, &fromAbove));
    EXPECT_LT(fromAbove.y, -0.9);
}

TEST(GroundMeshTreeRay, FromBelowTheGroundReportsItAtNegativeT) {
    const GroundMeshTreeNode tree = treeOf(test::gridMesh(40, 1.0, test::hills));
    double above = 0.0;
    double below = 0.0;
    ASSERT_TRUE(tree.rayQuery(V(3.3, 30, 4.2), kDown, above, nullptr));
    ASSERT_TRUE(tree.rayQuery(V(3.3, -30, 4.2), kDown, below, nullptr));
    EXPECT_GT(above, 0.0);
    EXPECT_LT(below, 0.0);
    EXPECT_NEAR(30 - above, -30 - below, 1e-9);
}

TEST(GroundMeshTreeRay, AParallelTriangleIsNotHit) {
    const GroundMeshTreeNode tree = treeOf(test::meshOf({upright(0.0)}));
    double t = 0.0;
    // Within the plane of the triangle, which holds the directions (0.2, 0, 10) and (0.1, 10, 5).
    EXPECT_FALSE(tree.rayQuery(V(-0.1, 0, 0), V(0.1, 10, 5), t, nullptr));
    EXPECT_TRUE(tree.rayQuery(V(-5, 3, 5), V(1, 0, 0), t, nullptr)) << "across it, it is";
}

TEST(GroundMeshTreeRay, GivesTheFirstTriangleOfTheListNotTheNearest) {
    const Triangle low = {V(0, 1, 0), V(0, 1, 4), V(4, 1, 0)};
    const Triangle high = {V(0, 3, 0), V(0, 3, 4), V(4, 3, 0)};
    double t = 0.0;
    ASSERT_TRUE(treeOf(test::meshOf({low, high})).rayQuery(V(1, 10, 1), kDown, t, nullptr));
    EXPECT_EQ(t, 9.0) << "the farther one comes first";
    ASSERT_TRUE(treeOf(test::meshOf({high, low})).rayQuery(V(1, 10, 1), kDown, t, nullptr));
    EXPECT_EQ(t, 7.0);
}

TEST(GroundMeshTreeRay, ChildrenAreWalkedInOrderWhateverTheDirection) {
    // Two sheets of overlapping triangles, low and high, that y separates: the low cell comes first.
    std::vector<Triangle> triangles;
    for (int i = 0; i < 6; ++i)
        for (const double y : {9.0, 1.0}) triangles.push_back({V(0, y, 0), V(0, y, 10), V(10, y, 0)});
    const GroundMeshTreeNode tree = tenWide(test::meshOf(triangles));
    ASSERT_EQ(tree.aChildren.size(), 2u);
    double t = 0.0;
    ASSERT_TRUE(tree.rayQuery(V(2, 20, 2), kDown, t, nullptr));
    EXPECT_EQ(t, 19.0) << "from above, too";
    ASSERT_TRUE(tree.rayQuery(V(2, -20, 2), -kDown, t, nullptr));
    EXPECT_EQ(t, 21.0);
}

TEST(GroundMeshTreeRay, OnASharedEdgeTheHitComesFromTheOtherTriangleOrNone) {
    const V a(0, 0, 0);
    const V b(4, 0, 0);
    const V c(4, 0, 4);
    const V d(0, 0, 4);
    // The diagonal a-c lies opposite the first corner of two of these triangles and at that of the third.
    const Triangle excluding = {b, c, a};
    const Triangle including = {a, c, d};
    const Triangle alsoExcluding = {d, a, c};
    for (const auto& [second, hit] : {std::pair(including, true), std::pair(alsoExcluding, false)}) {
        util::CMesh mesh = test::meshOf({excluding, second});
        double t = 77.0;
        V normal;
        EXPECT_EQ(treeOf(mesh).rayQuery(V(2, 5, 2), kDown, t, &normal), hit);
        if (!hit) continue;
        EXPECT_EQ(t, 5.0);
        EXPECT_EQ(normal, V(0, -1, 0));
    }
}

TEST(GroundMeshTreeRay, AnExactlyFlatMeshIsHit) {
    const GroundMeshTreeNode tree = treeOf(test::gridMesh(60, 1.0, [](double, double) { return 2.5; }));
    PinnedRandom random(5);
    for (int i = 0; i < 200; ++i) {
        SCOPED_TRACE(i);
        double t = 0.0;
        V normal;
        ASSERT_TRUE(tree.rayQuery(V(random.in(-30, 30), 10, random.in(-30, 30)), kDown, t, &normal));
        EXPECT_NEAR(t, 7.5, 1e-12);
        EXPECT_EQ(normal, V(0, 1, 0));
    }
}

TEST(GroundMeshTreeRay, WithinTheBoxButBesideEveryTriangleIsAMiss) {
    const GroundMeshTreeNode tree = tenWide(uprights(repeated(5, 0, 5)));
    double t = 0.0;
    EXPECT_FALSE(tree.rayQuery(V(5, 20, 5), kDown, t, nullptr));
    EXPECT_FALSE(tree.rayQuery(V(15, 20, 5), kDown, t, nullptr)) << "outside the box";
}

TEST(GroundMeshTreeFaults, FacesWithIndicesOutsideTheVerticesAreLeftOut) {
    util::CMesh mesh = uprights({1.0, 2.0});
    const int n = mesh.getNumVertices();
    for (const int bad : {-1, n, n + 1000, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        for (int corner = 0; corner < 3; ++corner) {
            int face[3] = {0, 1, 2};
            face[corner] = bad;
            mesh.faces.insert(mesh.faces.end(), face, face + 3);
        }
    mesh.faces.insert(mesh.faces.end(), {3, 4});
    const GroundMeshTreeNode tree = treeOf(mesh);
    ASSERT_EQ(tree.aTriangleVertices.size(), 6u);
    EXPECT_EQ(tree.aTriangleVertices[3], upright(2.0)[0]);
}

TEST(GroundMeshTreeFaults, AMeshOfFacesWithoutVerticesIsEmpty) {
    util::CMesh mesh;
    mesh.setNumFaces(50);
    const GroundMeshTreeNode tree = treeOf(mesh);
    double t = 0.0;
    EXPECT_TRUE(tree.aTriangleVertices.empty());
    EXPECT_FALSE(tree.rayQuery(V(0, 1, 0), kDown, t, nullptr));
}

TEST(GroundMeshTreeFaults, VerticesThatAreNotFiniteCountForNothing) {
    for (const double bad : {kNaN, kInfinity, -kInfinity}) {
        util::CMesh mesh = test::gridMesh(30, 1.0, test::hills);
        const GroundMeshTreeNode clean = treeOf(mesh);
        // In front, so that the box would start from it.
        for (int& index : mesh.faces) ++index;
        mesh.vertices.insert(mesh.vertices.begin(), V(0.5, bad, 0.5));
        mesh.faces.insert(mesh.faces.begin(), {0, 1, 2, 3, 0, 4, 5, 6, 0});
        const GroundMeshTreeNode tree = treeOf(mesh);
        EXPECT_EQ(tree.vMin, clean.vMin);
        EXPECT_EQ(tree.vMax, clean.vMax);
        ASSERT_EQ(tree.aTriangleVertices.size(), clean.aTriangleVertices.size());
        EXPECT_EQ(tree.aChildren.size(), clean.aChildren.size());
    }
}

TEST(GroundMeshTreeFaults, NumbersThatOverflowNeitherHangNorHit) {
    PinnedRandom random(17);
    for (const double scale : {1e200, 1e307, 1.7e308, 1e-200, 5e-324}) {
        SCOPED_TRACE(scale);
        util::CMesh mesh = test::triangleCloud(random, 60, 1.0, 0.3);
        for (V& vertex : mesh.vertices) vertex = vertex * scale;
        const GroundMeshTreeNode tree = treeOf(mesh);
        double t = 0.0;
        for (int i = 0; i < 20; ++i) {
            const V origin = random.vector(1.0) * scale;
            if (tree.rayQuery(origin, kDown, t, nullptr)) {
                EXPECT_FALSE(std::isnan(t));
            }
        }
    }
}

TEST(GroundMeshTreeFaults, RaysThatAreNotNumbersHitNothing) {
    const GroundMeshTreeNode tree = treeOf(test::gridMesh(20, 1.0, test::hills));
    double t = 0.0;
    EXPECT_FALSE(tree.rayQuery(V(kNaN, 10, 0), kDown, t, nullptr));
    EXPECT_FALSE(tree.rayQuery(V(0.3, 10, 0.2), V(0, kNaN, 0), t, nullptr));
    EXPECT_FALSE(tree.rayQuery(V(0.3, 10, 0.2), V(0, 0, 0), t, nullptr));
    EXPECT_TRUE(tree.rayQuery(V(0.3, 10, 0.2), kDown, t, nullptr));
}

TEST(GroundMeshTreeFaults, PartsOfVeryUnequalSizeGiveADeepTreeThatEnds) {
    // Three triangles in the upper half of each of 200 boxes, every one half as wide as the one before.
    std::vector<Triangle> triangles;
    double width = 1.0;
    for (int level = 0; level < 200; ++level, width *= 0.5)
        for (int i = 0; i < 3; ++i)
            triangles.push_back({V(0.6 * width, 0, 0), V(0.7 * width, 1, 0), V(0.8 * width, 0.5, 1)});
    util::CMesh mesh = test::meshOf(triangles);
    mesh.vertices.push_back(V(0, 0, 0));
    mesh.vertices.push_back(V(1, 1, 1));
    const GroundMeshTreeNode tree = treeOf(mesh);
    EXPECT_GT(depthOf(tree), 190);
    const double x = 0.7 * std::ldexp(1.0, -190);
    double t = 0.0;
    EXPECT_TRUE(tree.rayQuery(V(x, 0.5, -1), V(0, 0, 1), t, nullptr));
    const GroundMeshTreeNode copy = tree;
    EXPECT_EQ(depthOf(copy), depthOf(tree));
}

TEST(GroundMeshTreeFaults, EveryChildHasFewerTrianglesThanItsParent) {
    const GroundMeshTreeNode tree = treeOf(test::gridMesh(40, 1.0, test::hills));
    std::vector<const GroundMeshTreeNode*> pending{&tree};
    std::size_t inner = 0;
    while (!pending.empty()) {
        const GroundMeshTreeNode* node = pending.back();
        pending.pop_back();
        inner += node->aChildren.empty() ? 0 : 1;
        for (const GroundMeshTreeNode& child : node->aChildren) {
            ASSERT_LT(child.aTriangleVertices.size(), node->aTriangleVertices.size());
            pending.push_back(&child);
        }
    }
    EXPECT_GT(inner, 4u);
}

/// A mesh for the comparison with the second statement of the tree.
struct Case {
    const char* name;
    util::CMesh mesh;
};

std::vector<Case> comparedMeshes() {
    std::vector<Case> cases;
    PinnedRandom random(20240611);
    cases.push_back({"hills", test::gridMesh(36, 0.9, test::hills)});
    cases.push_back({"flat", test::gridMesh(40, 1.0, [](double, double) { return 0.0; })});
    cases.push_back({"flat, off the grid of numbers", test::gridMesh(30, 0.37, [](double, double) { return 0.1; })});
    cases.push_back({"slope", test::gridMesh(32, 1.0, [](double x, double z) { return 0.5 * x - 0.25 * z; })});
    cases.push_back({"steps", test::gridMesh(32, 1.0, [](double x, double) { return std::floor(x / 8.0); })});
    cases.push_back({"small cloud", test::triangleCloud(random, 40, 5.0, 1.0)});
    cases.push_back({"cloud", test::triangleCloud(random, 800, 20.0, 0.8)});
    cases.push_back({"large triangles", test::triangleCloud(random, 200, 20.0, 15.0)});
    cases.push_back({"far from the origin",
                     test::gridMesh(30, 1.0, [](double x, double z) { return 100000.0 + test::hills(x, z); })});
    cases.push_back({"huge", test::triangleCloud(random, 300, 1e9, 1e8)});
    cases.push_back({"tiny", test::triangleCloud(random, 300, 1e-9, 1e-10)});
    util::CMesh faulty = test::gridMesh(30, 1.0, test::hills);
    // Degenerate triangles of each kind, and every tenth triangle twice.
    for (int face = 0; face < 900; face += 10) {
        const int a = faulty.getFaceVertex(face, 0);
        const int b = faulty.getFaceVertex(face, 1);
        const int c = faulty.getFaceVertex(face, 2);
        faulty.faces.insert(faulty.faces.end(), {a, a, a, a, b, b, a, b, c});
    }
    cases.push_back({"degenerate and duplicated", std::move(faulty)});
    return cases;
}

TEST(GroundMeshTreeAgainstSecondStatement, TheTreesAreTheSameToTheBit) {
    for (const Case& c : comparedMeshes()) {
        SCOPED_TRACE(c.name);
        const GroundWalk walk = walkOf(c.mesh);
        const GroundMeshTreeNode tree = treeOf(c.mesh);
        expectSameTree(tree, walk.root, walk);
        if (HasFatalFailure()) return;
    }
}

TEST(GroundMeshTreeAgainstSecondStatement, TheAnswersAreTheSameToTheBit) {
    PinnedRandom random(77001);
    for (const Case& c : comparedMeshes()) {
        SCOPED_TRACE(c.name);
        const GroundWalk walk = walkOf(c.mesh);
        const GroundMeshTreeNode tree = treeOf(c.mesh);
        const V centre = (tree.vMin + tree.vMax) * 0.5;
        const double size = util::Length(tree.vMax - tree.vMin);
        Hits hits;
        for (int i = 0; i < 400; ++i) {
            SCOPED_TRACE(i);
            const V origin = centre + random.vector(0.5 * size);
            const V& vertex = c.mesh.vertices[random.bits() % c.mesh.vertices.size()];
            const V& other = c.mesh.vertices[random.bits() % c.mesh.vertices.size()];
            // Anywhere; straight down; straight down on a vertex; at a vertex; along an edge-like line; along an axis.
            expectSameAnswer(tree, walk, origin, random.vector(1.0), hits);
            expectSameAnswer(tree, walk, origin, kDown, hits);
            expectSameAnswer(tree, walk, vertex + V(0, size, 0), kDown, hits);
            expectSameAnswer(tree, walk, origin, vertex - origin, hits);
            expectSameAnswer(tree, walk, (vertex + other) * 0.5 + V(0, size, 0), kDown, hits);
            expectSameAnswer(tree, walk, vertex, other - vertex, hits);
            expectSameAnswer(tree, walk, vertex, V(1, 0, 0), hits);
            if (HasFatalFailure()) return;
        }
        EXPECT_GT(hits.hit, 50);
        EXPECT_GT(hits.missed, 50);
    }
}

TEST(GroundMeshTreeAgainstAllTriangles, AHitIsTheAnswerOfOneTriangleAndAMissIsAMissOfAll) {
    PinnedRandom random(4242);
    for (const util::CMesh& mesh :
         {test::gridMesh(48, 0.9, test::hills), test::triangleCloud(random, 800, 20.0, 3.0)}) {
        const GroundMeshTreeNode tree = treeOf(mesh);
        ASSERT_FALSE(tree.aChildren.empty());
        const std::vector<V> all(tree.aTriangleVertices.begin(), tree.aTriangleVertices.end());
        Hits hits;
        for (int i = 0; i < 1500; ++i) {
            SCOPED_TRACE(i);
            const V origin = random.vector(25.0);
            const V direction = random.vector(1.0);
            double t = 0.0;
            const bool hit = tree.rayQuery(origin, direction, t, nullptr);
            ++(hit ? hits.hit : hits.missed);
            bool met = false;
            bool same = false;
            for (std::size_t v = 0; v < all.size(); v += 3) {
                double triangleT = 0.0;
                if (!lineMeetsTriangle(all[v], all[v + 1], all[v + 2], origin, direction, triangleT)) continue;
                met = true;
                same = same || triangleT == t;
            }
            ASSERT_EQ(hit, met);
            ASSERT_EQ(hit, same);
        }
        EXPECT_GT(hits.hit, 300);
        EXPECT_GT(hits.missed, 300);
    }
}

TEST(GroundMeshTreeAgainstAllTriangles, TheLeavesHoldEveryTriangle) {
    PinnedRandom random(99);
    const util::CMesh mesh = test::triangleCloud(random, 1000, 20.0, 0.5);
    const GroundMeshTreeNode tree = treeOf(mesh);
    std::vector<const GroundMeshTreeNode*> leaves;
    collectLeaves(tree, leaves);
    ASSERT_GT(leaves.size(), 20u);
    std::size_t found = 0;
    for (std::size_t v = 0; v < tree.aTriangleVertices.size(); v += 3)
        for (const GroundMeshTreeNode* leaf : leaves) {
            const auto& list = leaf->aTriangleVertices;
            bool inLeaf = false;
            for (std::size_t i = 0; i < list.size(); i += 3)
                inLeaf =
                    inLeaf || (list[i] == tree.aTriangleVertices[v] && list[i + 1] == tree.aTriangleVertices[v + 1]);
            if (!inLeaf) continue;
            ++found;
            break;
        }
    EXPECT_EQ(found, 1000u);
}

}  // namespace
}  // namespace ond::ovs::addon
