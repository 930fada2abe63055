#include "ground/TriMeshStorage.h"

#include <utility>

#include "ground/BulletLibrary.h"

namespace ond::ovs::addon {

triMeshStorage::triMeshStorage() = default;
triMeshStorage::~triMeshStorage() = default;

btCollisionShape* triMeshStorage::getShape() const { return pShape.get(); }

void triMeshStorage::clear() {
    pShape.reset();
    pStaticMesh.reset();
    pIndexVertexArray.reset();
    pVertices.reset();
    pIndices.reset();
    dVolume = 0.0;
}

void triMeshStorage::setStaticMesh(const util::CMesh& mesh, const btTransform& transform, const btVector3& localScaling,
                                   double margin) {
    // What is held until now may be what is wanted.
    auto made = StaticMesh::of(mesh, transform, localScaling, margin);
    clear();
    if (!made) return;
    pStaticMesh = std::move(made);
    pIndexVertexArray = {pStaticMesh, pStaticMesh->arrays.view.get()};
    pVertices = {pStaticMesh, pStaticMesh->arrays.vertices.get()};
    pIndices = {pStaticMesh, pStaticMesh->arrays.indices.get()};
    pShape = {pStaticMesh, pStaticMesh->shape.get()};
    dVolume = pStaticMesh->volume;
}

void triMeshStorage::setConvexMesh(const util::CMesh& mesh, const btTransform& transform, const btVector3& localScaling,
                                   double margin) {
    clear();
    MeshArrays arrays(mesh);
    if (arrays.triangles == 0) return;
    pIndices = std::move(arrays.indices);
    pVertices = std::move(arrays.vertices);
    pIndexVertexArray = std::move(arrays.view);
    pShape.reset(new btConvexTriangleMeshShape(pIndexVertexArray.get()));
    pShape->setLocalScaling(localScaling);
    btVector3 min;
    btVector3 max;
    pShape->getAabb(transform, min, max);
    pShape->setMargin(margin);
    const btVector3 extent = max - min;
    dVolume = extent.x() * extent.y() * extent.z();
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
