// Meshes as collision shapes: what is copied, what is left out, who frees it.
#include "ground/TriMeshStorage.h"

#include <gtest/gtest.h>

#include <limits>

#include "ground/BulletLibrary.h"
#include "ground/GroundMeshes.h"
#include "ground/Rays.h"

namespace ond::ovs::addon {
namespace {

using V = util::Vector3<double>;

const btVector3 kUnscaled(1, 1, 1);
constexpr double kMargin = 0.01;

/// Two triangles between (0, 0, 0) and (4, 2, 3).
util::CMesh roof() {
    util::CMesh mesh;
    mesh.setNumVertices(5);
    mesh.setVertex(0, 0, 0, 0);
    mesh.setVertex(1, 4, 0, 0);
    mesh.setVertex(2, 4, 0, 3);
    mesh.setVertex(3, 0, 0, 3);
    mesh.setVertex(4, 2, 2, 1.5);
    mesh.setNumFaces(2);
    mesh.setFace(0, 0, 4, 1);
    mesh.setFace(1, 2, 4, 3);
    return mesh;
}

const btBvhTriangleMeshShape* staticShape(const triMeshStorage& storage) {
    return dynamic_cast<const btBvhTriangleMeshShape*>(storage.getShape());
}

int numTriangles(const triMeshStorage& storage) {
    return storage.pIndexVertexArray->getIndexedMeshArray()[0].m_numTriangles;
}

TEST(TriMeshStorage, IsEmptyAtFirst) {
    const triMeshStorage storage;
    EXPECT_EQ(storage.getShape(), nullptr);
    EXPECT_EQ(storage.dVolume, 0.0);
}

TEST(TriMeshStorage, KeepsCopiesOfVerticesAndIndices) {
    triMeshStorage storage;
    util::CMesh mesh = roof();
    storage.setStaticMesh(mesh, btTransform::getIdentity(), kUnscaled, kMargin);
    const util::CMesh original = mesh;
    mesh = util::CMesh();
    for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(fromBullet(storage.pVertices[i]), original.vertices[i]);
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(storage.pIndices[i], original.faces[i]);
}

TEST(TriMeshStorage, TheShapeReadsTheArraysInPlace) {
    triMeshStorage storage;
    storage.setStaticMesh(roof(), btTransform::getIdentity(), kUnscaled, kMargin);
    ASSERT_NE(storage.pIndexVertexArray, nullptr);
    const btIndexedMesh& view = storage.pIndexVertexArray->getIndexedMeshArray()[0];
    EXPECT_EQ(view.m_numTriangles, 2);
    EXPECT_EQ(view.m_triangleIndexStride, 12);
    EXPECT_EQ(view.m_numVertices, 5);
    EXPECT_EQ(view.m_vertexStride, 32);
    EXPECT_EQ(view.m_triangleIndexBase, static_cast<const void*>(storage.pIndices.get()));
    EXPECT_EQ(view.m_vertexBase, static_cast<const void*>(storage.pVertices.get()));
    EXPECT_EQ(view.m_vertexType, PHY_DOUBLE);
    EXPECT_EQ(view.m_indexType, PHY_INTEGER);
    ASSERT_NE(staticShape(storage), nullptr);
    EXPECT_EQ(staticShape(storage)->getMeshInterface(), storage.pIndexVertexArray.get());
}

TEST(TriMeshStorage, AnUnfinishedTriangleIsDropped) {
    util::CMesh mesh = roof();
    mesh.faces.push_back(0);
    mesh.faces.push_back(1);
    triMeshStorage storage;
    storage.setStaticMesh(mesh, btTransform::getIdentity(), kUnscaled, kMargin);
    EXPECT_EQ(numTriangles(storage), 2);
}

TEST(TriMeshStorage, AStaticMeshGetsAQuantisedTreeAndItsMargin) {
    triMeshStorage storage;
    storage.setStaticMesh(roof(), btTransform::getIdentity(), kUnscaled, 0.25);
    ASSERT_NE(staticShape(storage), nullptr);
    EXPECT_TRUE(staticShape(storage)->usesQuantizedAabbCompression());
    EXPECT_EQ(storage.getShape()->getMargin(), 0.25);
}

TEST(TriMeshStorage, TheVolumeOfAStaticMeshIsThatOfItsBoxBeforeTheMargin) {
    triMeshStorage storage;
    storage.setStaticMesh(roof(), btTransform::getIdentity(), kUnscaled, kMargin);
    EXPECT_EQ(storage.dVolume, 4.0 * 2.0 * 3.0);
}

TEST(TriMeshStorage, TheVolumeIsMeasuredScaledAndTransformed) {
    triMeshStorage storage;
    storage.setStaticMesh(roof(), btTransform::getIdentity(), btVector3(2, 3, 1), kMargin);
    EXPECT_EQ(storage.dVolume, 8.0 * 6.0 * 3.0);
    EXPECT_EQ(fromBullet(storage.getShape()->getLocalScaling()), V(2, 3, 1));
    // Turned by 45 degrees about y, the ground plan (4 by 3) has a box of 7 / sqrt 2 squared.
    const btTransform turned(btQuaternion(btVector3(0, 1, 0), std::atan(1.0)), btVector3(100, 0, 0));
    storage.setStaticMesh(roof(), turned, kUnscaled, kMargin);
    EXPECT_NEAR(storage.dVolume, 49.0 / 2.0 * 2.0, 1e-10);
}

TEST(TriMeshStorage, AConvexMeshIsMeasuredInTheOrderScaleBoxMargin) {
    triMeshStorage storage;
    storage.setConvexMesh(roof(), btTransform::getIdentity(), btVector3(2, 1, 1), 0.3);
    ASSERT_EQ(storage.getShape()->getShapeType(), CONVEX_TRIANGLEMESH_SHAPE_PROXYTYPE);
    EXPECT_EQ(storage.getShape()->getMargin(), 0.3);
    // The library's own margin is in the box that counts.
    btConvexTriangleMeshShape second(storage.pIndexVertexArray.get());
    second.setLocalScaling(btVector3(2, 1, 1));
    btVector3 min;
    btVector3 max;
    second.getAabb(btTransform::getIdentity(), min, max);
    const btVector3 before = max - min;
    EXPECT_EQ(storage.dVolume, before.x() * before.y() * before.z());
    second.setMargin(0.3);
    second.getAabb(btTransform::getIdentity(), min, max);
    const btVector3 after = max - min;
    EXPECT_LT(storage.dVolume, after.x() * after.y() * after.z());
    EXPECT_GT(storage.dVolume, 8.0 * 2.0 * 3.0);
}

TEST(TriMeshStorage, TakesOverAReadyShapeWithItsMass) {
    triMeshStorage storage;
    storage.setStaticMesh(roof(), btTransform::getIdentity(), kUnscaled, kMargin);
    auto box = std::make_unique<btBoxShape>(btVector3(10, 20, 30));
    const btBoxShape* address = box.get();
    storage.setShape(std::move(box), 7.5, btVector3(2, 2, 2), 0.001);
    EXPECT_EQ(storage.getShape(), address);
    EXPECT_EQ(storage.dVolume, 7.5);
    EXPECT_EQ(storage.getShape()->getMargin(), 0.001);
    EXPECT_EQ(storage.pVertices, nullptr);
    EXPECT_EQ(storage.pIndices, nullptr);
    EXPECT_EQ(storage.pIndexVertexArray, nullptr);
    btVector3 min;
    btVector3 max;
    storage.getShape()->getAabb(btTransform::getIdentity(), min, max);
    EXPECT_NEAR(max.x(), 20.0, 1e-12);
    EXPECT_NEAR(max.y(), 40.0, 1e-12);
    EXPECT_NEAR(max.z(), 60.0, 1e-12);
}

TEST(TriMeshStorage, CanBeSetAnew) {
    triMeshStorage storage;
    storage.setConvexMesh(roof(), btTransform::getIdentity(), kUnscaled, kMargin);
    storage.setStaticMesh(test::gridMesh(4, 1.0, test::hills), btTransform::getIdentity(), kUnscaled, kMargin);
    EXPECT_EQ(numTriangles(storage), 32);
    storage.setStaticMesh(util::CMesh(), btTransform::getIdentity(), kUnscaled, kMargin);
    EXPECT_EQ(storage.getShape(), nullptr);
    EXPECT_EQ(storage.dVolume, 0.0);
    EXPECT_EQ(storage.pVertices, nullptr);
}

TEST(TriMeshStorageFaults, WithoutAUsableFaceThereIsNoShape) {
    util::CMesh onlyVertices = roof();
    onlyVertices.faces.clear();
    util::CMesh wild = roof();
    wild.faces = {0, 1, 5, -1, 2, 3};
    util::CMesh onlyFaces = roof();
    onlyFaces.vertices.clear();
    for (const util::CMesh& mesh : {util::CMesh(), onlyVertices, wild, onlyFaces}) {
        triMeshStorage storage;
        storage.setStaticMesh(mesh, btTransform::getIdentity(), kUnscaled, kMargin);
        EXPECT_EQ(storage.getShape(), nullptr);
        storage.setConvexMesh(mesh, btTransform::getIdentity(), kUnscaled, kMargin);
        EXPECT_EQ(storage.getShape(), nullptr);
        EXPECT_EQ(storage.dVolume, 0.0);
    }
}

TEST(TriMeshStorageFaults, FacesWithWildIndicesAreDroppedAndTheOthersStay) {
    util::CMesh mesh = roof();
    mesh.faces = {0, 4, 1, 0, 1, 5, 2, 4, 3, -1, 0, 1, 0, std::numeric_limits<int>::max(), 1};
    triMeshStorage storage;
    storage.setStaticMesh(mesh, btTransform::getIdentity(), kUnscaled, kMargin);
    ASSERT_EQ(numTriangles(storage), 2);
    const int expected[] = {0, 4, 1, 2, 4, 3};
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(storage.pIndices[i], expected[i]);
    EXPECT_EQ(storage.dVolume, 24.0);
}

TEST(TriMeshStorageFaults, FacesWithVerticesThatAreNoPlacesAreDropped) {
    for (const double bad :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), -1e30, 1e308}) {
        util::CMesh mesh = roof();
        mesh.vertices.push_back(V(1, bad, 1));
        mesh.faces.insert(mesh.faces.begin(), {5, 0, 1, 0, 5, 1, 0, 1, 5});
        triMeshStorage storage;
        storage.setStaticMesh(mesh, btTransform::getIdentity(), kUnscaled, kMargin);
        EXPECT_EQ(numTriangles(storage), 2);
        EXPECT_EQ(storage.dVolume, 24.0);
    }
}

TEST(TriMeshStorageFaults, ExtremeButFiniteMeshesAreTaken) {
    test::PinnedRandom random(11);
    for (const double scale : {1e29, 1e15, 1e-15, 1e-300, 0.0}) {
        util::CMesh mesh = test::triangleCloud(random, 200, 0.5, 0.3);
        for (V& vertex : mesh.vertices) vertex = vertex * scale;
        triMeshStorage storage;
        storage.setStaticMesh(mesh, btTransform::getIdentity(), kUnscaled, kMargin);
        EXPECT_EQ(numTriangles(storage), 200);
        test::RayWorld world(storage.getShape());
        world.cast(V(0, 1, 0), V(0, -1, 0));
    }
}

TEST(TriMeshStorageFaults, DegenerateAndDuplicatedTrianglesHarmNothing) {
    util::CMesh mesh = test::gridMesh(20, 1.0, [](double, double) { return 1.0; });
    for (int i = 0; i < 300; ++i) mesh.faces.insert(mesh.faces.end(), {7, 7, 7, 8, 8, 9, 50, 51, 52, 0, 21, 1});
    triMeshStorage storage;
    storage.setStaticMesh(mesh, btTransform::getIdentity(), kUnscaled, kMargin);
    test::RayWorld world(storage.getShape());
    for (double x = -9.8; x < 10.0; x += 0.7) {
        const test::RayHit hit = world.cast(V(x, 5, 0.3), V(x, -3, 0.3));
        ASSERT_TRUE(hit.hit) << x;
        EXPECT_EQ(hit.fraction, 0.5);
        EXPECT_EQ(hit.normal, V(0, 1, 0));
    }
}

}  // namespace
}  // namespace ond::ovs::addon
