// The stored mesh: it gives back what it was given whether or not it shares with a tree, and takes no memory twice.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "ground/GroundMeshes.h"
#include "ground/StoredGroundMesh.h"
#include "util/HeapUse.h"

namespace ond::ovs::addon {
namespace {

using util::CMesh;
using V = util::Vector3<double>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

std::vector<std::uint64_t> bitsOf(const std::vector<V>& list) {
    std::vector<std::uint64_t> bits;
    for (const V& v : list)
        for (const double number : {v.x, v.y, v.z}) bits.push_back(std::bit_cast<std::uint64_t>(number));
    return bits;
}

void expectSame(const CMesh& mesh, const CMesh& expected) {
    EXPECT_EQ(bitsOf(mesh.vertices), bitsOf(expected.vertices));
    EXPECT_EQ(bitsOf(mesh.texCoords), bitsOf(expected.texCoords));
    EXPECT_EQ(mesh.faces, expected.faces);
    EXPECT_EQ(mesh.tFaces, expected.tFaces);
}

/// Stores the mesh, builds a tree over it, and asks for the mesh in every way.
void expectKept(const CMesh& mesh, bool isShared) {
    StoredGroundMesh stored;
    stored = mesh;
    expectSame(stored.copy(), mesh);
    GroundMeshTreeNode tree;
    stored.buildTree(tree);
    EXPECT_EQ(stored.isShared(), isShared);
    EXPECT_EQ(stored.getNumVertices(), mesh.getNumVertices());
    EXPECT_EQ(stored.getNumFaces(), mesh.getNumFaces());
    expectSame(stored.copy(), mesh);
    EXPECT_EQ(stored.toXml(false).toString(), mesh.toXml(false).toString());
    EXPECT_EQ(stored.toXml(true).toString(), mesh.toXml(true).toString());
    EXPECT_EQ(stored.isShared(), isShared) << "asking changes nothing";
    tree = {};
    expectSame(stored.copy(), mesh);
    expectSame(stored.whole(), mesh);
    EXPECT_FALSE(stored.isShared());
    EXPECT_EQ(stored.getNumVertices(), mesh.getNumVertices());
    EXPECT_EQ(stored.getNumFaces(), mesh.getNumFaces());
    expectSame(stored.copy(), mesh);
}

CMesh terrain() { return test::gridMesh(20, 0.7, test::hills); }

void shuffle(std::vector<int>& faces, test::PinnedRandom& random) {
    for (std::size_t left = faces.size() / 3; left > 1; --left) {
        const std::size_t other = random.bits() % left;
        for (std::size_t i = 0; i < 3; ++i) std::swap(faces[3 * (left - 1) + i], faces[3 * other + i]);
    }
}

TEST(StoredGroundMesh, WithoutAMeshHasNothingToShare) {
    expectKept(CMesh(), false);
    CMesh points;
    points.setNumVertices(4);
    points.setNumFaces(0);
    expectKept(points, false);
}

TEST(StoredGroundMesh, OfAnOrdinaryMeshIsShared) {
    expectKept(terrain(), true);
    test::PinnedRandom random(1);
    CMesh mesh = terrain();
    shuffle(mesh.faces, random);
    expectKept(mesh, true);
    expectKept(test::triangleCloud(random, 200, 9.0, 3.0), true);
}

TEST(StoredGroundMesh, KeepsVerticesWithoutAFace) {
    CMesh mesh = terrain();
    mesh.vertices.insert(mesh.vertices.begin(), {V(kNan, 1, 2), V(-0.0, 0.0, INFINITY)});
    for (int& vertex : mesh.faces) vertex += 2;
    mesh.vertices.emplace_back(3, 4, -kNan);
    mesh.vertices.push_back(mesh.vertices[5]);
    expectKept(mesh, true);
}

TEST(StoredGroundMesh, TellsVerticesInOnePlaceApart) {
    CMesh mesh = test::meshOf({{V(0, 0, 0), V(1, 0, 0), V(0, 0, 1)}, {V(0, 0, 0), V(1, 0, 0), V(-0.0, 0, 1)}});
    expectKept(mesh, true);
    mesh.faces = {0, 1, 2, 0, 1, 2, 2, 2, 2, 5, 0, 5};
    expectKept(mesh, true);
}

TEST(StoredGroundMesh, KeepsFaultyFaces) {
    for (const int wrong : {-1, 441, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        CMesh mesh = terrain();
        mesh.faces[100] = wrong;
        expectKept(mesh, false);
    }
    CMesh mesh = terrain();
    mesh.vertices[77].y = kNan;
    expectKept(mesh, false);
    mesh = terrain();
    mesh.faces.push_back(3);
    expectKept(mesh, false);
    // As many faces as there are good ones, but not the same.
    mesh = terrain();
    mesh.faces[3] = -1;
    mesh.faces.insert(mesh.faces.end(), {0, 1, 2});
    expectKept(mesh, false);
}

TEST(StoredGroundMesh, KeepsWhatThereIsForTextures) {
    CMesh mesh = terrain();
    for (int i = 0; i < 9; ++i) mesh.texCoords.emplace_back(i, 0.1 * i, kNan);
    mesh.tFaces.clear();
    expectKept(mesh, true);
    mesh.tFaces = mesh.faces;
    expectKept(mesh, true);
    mesh.tFaces.back() = 9;
    expectKept(mesh, true);
    mesh.tFaces = {7, 7};
    expectKept(mesh, true);
    mesh.tFaces = {7, 7, 8};
    expectKept(mesh, true);
    mesh.tFaces.assign(5000, -3);
    expectKept(mesh, true);
}

TEST(StoredGroundMesh, CanBeChangedAndBuiltAnew) {
    StoredGroundMesh stored;
    stored = terrain();
    GroundMeshTreeNode tree;
    stored.buildTree(tree);
    CMesh changed = terrain();
    changed.vertices[3].y = 99.0;
    stored.whole().vertices[3].y = 99.0;
    EXPECT_LT(tree.vMax.y, 50.0) << "the tree stays as it is";
    expectSame(stored.copy(), changed);
    stored.buildTree(tree);
    EXPECT_EQ(tree.vMax.y, 99.0);
    EXPECT_TRUE(stored.isShared());
    expectSame(stored.copy(), changed);
    const StoredGroundMesh other = stored;
    stored = CMesh();
    EXPECT_EQ(stored.getNumFaces(), 0);
    EXPECT_EQ(stored.getNumVertices(), 0);
    EXPECT_FALSE(stored.isShared());
    expectSame(stored.copy(), CMesh());
    expectSame(other.copy(), changed);
    stored.buildTree(tree);
    EXPECT_TRUE(tree.aTriangleVertices.empty());
    EXPECT_FALSE(stored.isShared());
}

TEST(StoredGroundMesh, GivesTheTreeTheMesh) {
    StoredGroundMesh stored;
    stored = terrain();
    GroundMeshTreeNode tree;
    stored.buildTree(tree);
    GroundMeshTreeNode plain;
    plain.buildFromMesh(terrain());
    ASSERT_EQ(tree.aTriangleVertices.size(), plain.aTriangleVertices.size());
    EXPECT_TRUE(std::equal(tree.aTriangleVertices.begin(), tree.aTriangleVertices.end(),
                           plain.aTriangleVertices.begin(), plain.aTriangleVertices.end()));
    double t = 0.0;
    double expected = 0.0;
    ASSERT_TRUE(tree.rayQuery({0.3, 50, 0.2}, {0, -1, 0}, t, nullptr));
    ASSERT_TRUE(plain.rayQuery({0.3, 50, 0.2}, {0, -1, 0}, expected, nullptr));
    EXPECT_EQ(t, expected);
}

#ifndef HEAP_TELLS_NOTHING
TEST(StoredGroundMesh, TakesFourBytesAVertexBesideTheTree) {
    const CMesh mesh = test::gridMesh(200, 0.5, test::hills);
    const double before = test::heapInUse();
    GroundMeshTreeNode tree;
    tree.buildFromMesh(mesh);
    const double ofTree = test::heapInUse() - before;
    tree = {};
    StoredGroundMesh stored;
    stored = mesh;
    EXPECT_GT(test::heapInUse() - before, 70.0 * mesh.getNumVertices()) << "without a tree it has arrays of its own";
    stored.buildTree(tree);
    EXPECT_LT(test::heapInUse() - before - ofTree, 5.0 * mesh.getNumVertices());
}

TEST(StoredGroundMesh, TakesNoMoreThanItsMeshNeeds) {
    CMesh mesh = terrain();
    mesh.vertices.reserve(100000);
    mesh.faces.reserve(100000);
    const double before = test::heapInUse();
    StoredGroundMesh stored;
    stored = std::move(mesh);
    EXPECT_LT(test::heapInUse() - before, 0.0);
}
#endif

}  // namespace
}  // namespace ond::ovs::addon
