// A mesh as a Bullet collision shape, together with the arrays that the shape reads.
#pragma once

#include <memory>

#include "ground/StaticMesh.h"
#include "ond/util/CMesh.h"

class btCollisionShape;
class btTransform;
class btTriangleIndexVertexArray;
class btVector3;

namespace ond::ovs::addon {

/// Shape and arrays of one body. Lengths in scene units.
///
/// Faces that Bullet could not survive are left out of the shape: those with an index outside the mesh's vertices, and
/// those with a vertex that is not a number or lies 1e30 or more from the origin on an axis, which is where Bullet's
/// infinity begins. Degenerate and duplicated triangles stay; no ray hits the former.
///
/// Static meshes with the same content have one shape and one set of arrays, which all their storages own together;
/// nobody may change them.
class triMeshStorage {
  public:
    /// How the library finds the arrays below; the shape keeps a pointer to it.
    std::shared_ptr<btTriangleIndexVertexArray> pIndexVertexArray;
    /// One per vertex of the mesh, in its order; 32 bytes apart.
    std::shared_ptr<btVector3[]> pVertices;
    /// Corners of the triangles; a triangle takes 12 bytes.
    std::shared_ptr<int[]> pIndices;
    /// How much space the shape's box takes, cubic scene units; or the mass that setShape() was given.
    double dVolume = 0.0;
    /// Of a static mesh; null of other shapes.
    std::shared_ptr<StaticMesh> pStaticMesh;
    /// Declared behind the arrays, so that it goes before them.
    std::shared_ptr<btCollisionShape> pShape;

    triMeshStorage();
    triMeshStorage(const triMeshStorage&) = delete;
    triMeshStorage& operator=(const triMeshStorage&) = delete;
    virtual ~triMeshStorage();

    /// The shape, owned by the storage and needed by it as long as a body uses it. Null before one of the operations
    /// below, and when no face of the mesh was usable.
    [[nodiscard]] virtual btCollisionShape* getShape() const;

    /// Makes the triangles themselves the shape, with a bounding volume tree over them: for ground that stands still.
    /// The tree is quantised up to kMaxQuantisedTriangles triangles. Where the same was made before and is still in
    /// use, this is but a comparison.
    /// @param transform where the shape stands when its volume is measured
    /// @param localScaling factors along the axes
    /// @param margin thickness that Bullet adds for collisions; rays do not see it
    void setStaticMesh(const util::CMesh& mesh, const btTransform& transform, const btVector3& localScaling,
                       double margin);
    /// Makes the convex hull of the triangles the shape: for bodies that could move. Parameters as setStaticMesh().
    void setConvexMesh(const util::CMesh& mesh, const btTransform& transform, const btVector3& localScaling,
                       double margin);
    /// Takes over a ready shape.
    void setShape(std::unique_ptr<btCollisionShape> shape, double mass, const btVector3& localScaling, double margin);

  private:
    void clear();
};

}  // namespace ond::ovs::addon
