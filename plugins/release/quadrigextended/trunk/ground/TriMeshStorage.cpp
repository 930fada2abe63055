#include "ground/TriMeshStorage.h"

#include <cmath>

#include "ground/BulletLibrary.h"

namespace ond::ovs::addon {

namespace {

constexpr int kIndexStride = 3 * sizeof(int);
constexpr int kVertexStride = sizeof(btVector3);

bool isWithinBulletsRange(const util::Vector3<double>& v) {
    return std::abs(v.x) < BT_LARGE_FLOAT && std::abs(v.y) < BT_LARGE_FLOAT && std::abs(v.z) < BT_LARGE_FLOAT;
}

bool isUsableCorner(const util::CMesh& mesh, int vertex) {
    return vertex >= 0 && vertex < mesh.getNumVertices() &&
           isWithinBulletsRange(mesh.vertices[static_cast<std::size_t>(vertex)]);
}

bool isUsableFace(const util::CMesh& mesh, int face) {
    return isUsableCorner(mesh, mesh.getFaceVertex(face, 0)) && isUsableCorner(mesh, mesh.getFaceVertex(face, 1)) &&
           isUsableCorner(mesh, mesh.getFaceVertex(face, 2));
}

/// Copies the indices of the usable faces, in their order; gives how many faces these are.
int copyUsableFaces(const util::CMesh& mesh, int* indices) {
    int faces = 0;
    for (int face = 0; face < mesh.getNumFaces(); ++face) {
        if (!isUsableFace(mesh, face)) continue;
        for (int corner = 0; corner < 3; ++corner) *indices++ = mesh.getFaceVertex(face, corner);
        ++faces;
    }
    return faces;
}

}  // namespace

triMeshStorage::triMeshStorage() = default;
triMeshStorage::~triMeshStorage() = default;

btCollisionShape* triMeshStorage::getShape() const { return pShape.get(); }

void triMeshStorage::clear() {
    pShape.reset();
    pSurvey.reset();
    pIndexVertexArray.reset();
    pVertices.reset();
    pIndices.reset();
    dVolume = 0.0;
}

bool triMeshStorage::buildArrays(const util::CMesh& mesh) {
    clear();
    const auto faceEntries = 3 * static_cast<std::size_t>(mesh.getNumFaces());
    auto indices = std::make_unique<int[]>(faceEntries);
    const int triangles = copyUsableFaces(mesh, indices.get());
    if (triangles == 0) return false;
    pIndices = std::move(indices);
    pVertices.reset(new btVector3[mesh.vertices.size()]);
    for (std::size_t i = 0; i < mesh.vertices.size(); ++i) pVertices[i] = toBullet(mesh.vertices[i]);
    pIndexVertexArray = std::make_unique<btTriangleIndexVertexArray>(
        triangles, pIndices.get(), kIndexStride, mesh.getNumVertices(), &pVertices[0][0], kVertexStride);
    return true;
}

void triMeshStorage::installMeshShape(std::unique_ptr<btCollisionShape> shape, const btTransform& transform,
                                      const btVector3& localScaling, double margin) {
    shape->setLocalScaling(localScaling);
    btVector3 min;
    btVector3 max;
    shape->getAabb(transform, min, max);
    pShape = std::move(shape);
    pShape->setMargin(margin);
    const btVector3 extent = max - min;
    dVolume = extent.x() * extent.y() * extent.z();
}

void triMeshStorage::setStaticMesh(const util::CMesh& mesh, const btTransform& transform, const btVector3& localScaling,
                                   double margin) {
    if (!buildArrays(mesh)) return;
    const int triangles = pIndexVertexArray->getIndexedMeshArray()[0].m_numTriangles;
    const bool quantised = triangles <= kMaxQuantisedTriangles;
    auto shape = std::make_unique<btBvhTriangleMeshShape>(pIndexVertexArray.get(), quantised, true);
    if (quantised && localScaling == btVector3(1.0, 1.0, 1.0)) {
        pSurvey = std::make_unique<MeshSurvey>(*shape, pVertices.get(), pIndices.get(), triangles);
        shape->setUserPointer(pSurvey.get());
    }
    installMeshShape(std::move(shape), transform, localScaling, margin);
}

void triMeshStorage::setConvexMesh(const util::CMesh& mesh, const btTransform& transform, const btVector3& localScaling,
                                   double margin) {
    if (!buildArrays(mesh)) return;
    installMeshShape(std::make_unique<btConvexTriangleMeshShape>(pIndexVertexArray.get()), transform, localScaling,
                     margin);
}

void triMeshStorage::setShape(std::unique_ptr<btCollisionShape> shape, double mass, const btVector3& localScaling,
                              double margin) {
    clear();
    shape->setLocalScaling(localScaling);
    pShape = std::move(shape);
    pShape->setMargin(margin);
    dVolume = mass;
}

}  // namespace ond::ovs::addon
