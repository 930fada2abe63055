#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstddef>
#include <type_traits>

#include "ond/util/CMesh.h"
#include "ond/util/CMesh_Box.h"

namespace {

using ond::util::CMesh;
using ond::util::CMesh_Box;
using ond::util::Matrix4;
using V = ond::util::Vector3<double>;

CMesh sample() {
    CMesh mesh;
    mesh.setNumVertices(3);
    mesh.setVertex(0, 1, 2, 3);
    mesh.setVertex(2, -1, -2, -3);
    mesh.setNumFaces(2);
    mesh.setFace(0, 0, 1, 2);
    mesh.setFace(1, 2, 1, 0);
    mesh.texCoords = {V(0.5, 0.25, 0), V(1, 1, 0)};
    mesh.tFaces[4] = 1;
    return mesh;
}

bool same(const CMesh& a, const CMesh& b) {
    return a.vertices == b.vertices && a.texCoords == b.texCoords && a.faces == b.faces && a.tFaces == b.tFaces;
}

TEST(CMesh, AssignmentHasTheFirstPlaceOfTheVirtualTable) {
    CMesh& (CMesh::*const assign)(const CMesh&) = &CMesh::operator=;
    const auto image = std::bit_cast<std::array<std::ptrdiff_t, 2>>(assign);
    EXPECT_EQ(image[0], 1);  // pointer to a virtual member: its offset in the table plus one
}

TEST(CMesh, FieldsFollowTheVirtualTablePointerInTheirFixedOrder) {
    CMesh mesh;
    const auto offset = [&](const auto& field) {
        return std::bit_cast<std::uintptr_t>(&field) - std::bit_cast<std::uintptr_t>(&mesh);
    };
    constexpr std::size_t kArray = sizeof(std::vector<int>);
    EXPECT_EQ(offset(mesh.vertices), sizeof(void*));
    EXPECT_EQ(offset(mesh.texCoords), sizeof(void*) + kArray);
    EXPECT_EQ(offset(mesh.faces), sizeof(void*) + 2 * kArray);
    EXPECT_EQ(offset(mesh.tFaces), sizeof(void*) + 3 * kArray);
    EXPECT_EQ(sizeof(CMesh_Box), sizeof(CMesh));
}

TEST(CMesh, NewMeshIsEmpty) {
    const CMesh mesh;
    EXPECT_EQ(mesh.getNumVertices(), 0);
    EXPECT_EQ(mesh.getNumFaces(), 0);
    EXPECT_TRUE(mesh.texCoords.empty());
    EXPECT_TRUE(mesh.tFaces.empty());
}

TEST(CMesh, SetNumVerticesAddsZeroesAndKeepsTheRest) {
    CMesh mesh = sample();
    mesh.setNumVertices(5);
    EXPECT_EQ(mesh.getNumVertices(), 5);
    EXPECT_EQ(mesh.vertices[0], V(1, 2, 3));
    EXPECT_EQ(mesh.vertices[4], V(0, 0, 0));
    mesh.setNumVertices(1);
    EXPECT_EQ(mesh.vertices, std::vector<V>{V(1, 2, 3)});
    mesh.setNumVertices(-1);
    EXPECT_EQ(mesh.getNumVertices(), 0);
}

TEST(CMesh, SetNumFacesSizesBothIndexLists) {
    CMesh mesh;
    mesh.setNumFaces(4);
    EXPECT_EQ(mesh.faces, std::vector<int>(12, 0));
    EXPECT_EQ(mesh.tFaces, std::vector<int>(12, 0));
    mesh.setNumFaces(-1);
    EXPECT_TRUE(mesh.faces.empty());
    EXPECT_TRUE(mesh.tFaces.empty());
}

TEST(CMesh, SetFaceWritesThreeVertexIndices) {
    CMesh mesh;
    mesh.setNumFaces(3);
    mesh.setFace(1, 7, 8, 9);
    EXPECT_EQ(mesh.faces, (std::vector<int>{0, 0, 0, 7, 8, 9, 0, 0, 0}));
    EXPECT_EQ(mesh.tFaces, std::vector<int>(9, 0));
    EXPECT_EQ(mesh.getFaceVertex(1, 0), 7);
    EXPECT_EQ(mesh.getFaceVertex(1, 1), 8);
    EXPECT_EQ(mesh.getFaceVertex(1, 2), 9);
}

TEST(CMesh, NumFacesCountsWholeTriangles) {
    CMesh mesh;
    mesh.faces.resize(7);
    EXPECT_EQ(mesh.getNumFaces(), 2);
}

TEST(CMesh, CopiesAllFourArrays) {
    const CMesh original = sample();
    CMesh copy(original);
    EXPECT_TRUE(same(copy, original));
    CMesh assigned = CMesh_Box(1, 1, 1);
    EXPECT_EQ(&(assigned = original), &assigned);
    EXPECT_TRUE(same(assigned, original));
    copy.setVertex(0, 9, 9, 9);
    EXPECT_EQ(original.vertices[0], V(1, 2, 3));
}

TEST(CMesh, AssignmentOfItselfChangesNothing) {
    CMesh mesh = sample();
    const CMesh& itself = mesh;
    mesh = itself;
    EXPECT_TRUE(same(mesh, sample()));
}

TEST(CMesh, AssignmentWorksThroughTheBase) {
    CMesh_Box box(1, 2, 3);
    CMesh& base = box;
    base = sample();
    EXPECT_TRUE(same(box, sample()));
    box = CMesh_Box(4, 4, 4);
    EXPECT_EQ(box.vertices[7], V(2, 2, 2));
}

TEST(CMesh, ProductWithAMatrixTransformsPointsOnly) {
    Matrix4 matrix;
    matrix.setRow(0, {0, 0, -2});  // x goes to -2z
    matrix.setRow(1, {0, 3, 0});
    matrix.setRow(2, {4, 0, 0});
    matrix.setRow(3, {10, 20, 30});
    const CMesh original = sample();
    const CMesh product = original * matrix;
    EXPECT_EQ(product.vertices[0], V(22, 26, 28));
    EXPECT_EQ(product.vertices[1], V(10, 20, 30));
    EXPECT_EQ(product.texCoords, original.texCoords);
    EXPECT_EQ(product.faces, original.faces);
    EXPECT_EQ(product.tFaces, original.tFaces);
    EXPECT_TRUE(same(original, sample()));
}

TEST(CMesh, ProductWithAProjectingMatrixDivides) {
    Matrix4 matrix;
    matrix[15] = 2;
    EXPECT_EQ((sample() * matrix).vertices[0], V(0.5, 1, 1.5));
}

TEST(CMesh_Box, HasTwelveTrianglesAndItsLastVertexAtHalfTheSizes) {
    const CMesh_Box box(1, 2, 3);
    EXPECT_EQ(box.getNumFaces(), 12);
    EXPECT_EQ(box.vertices[7], V(0.5, 1, 1.5));
}

TEST(CMesh_Box, VerticesStandInTheirOrder) {
    const CMesh_Box box(2, 4, 6);
    const std::vector<V> expected = {{-1, -2, -3}, {1, -2, -3}, {-1, 2, -3}, {1, 2, -3},
                                     {-1, -2, 3},  {1, -2, 3},  {-1, 2, 3},  {1, 2, 3}};
    EXPECT_EQ(box.vertices, expected);
}

TEST(CMesh_Box, TrianglesStandInTheirOrder) {
    const CMesh_Box box(1, 1, 1);
    const std::vector<int> expected = {0, 2, 3, 3, 1, 0, 4, 5, 7, 7, 6, 4, 0, 1, 5, 5, 4, 0,
                                       1, 3, 7, 7, 5, 1, 3, 2, 6, 6, 7, 3, 2, 0, 4, 4, 6, 2};
    EXPECT_EQ(box.faces, expected);
    EXPECT_EQ(box.tFaces, std::vector<int>(36, 0));
    EXPECT_TRUE(box.texCoords.empty());
}

}  // namespace
