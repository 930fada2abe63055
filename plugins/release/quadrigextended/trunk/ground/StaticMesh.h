// A mesh as ground that stands still: Bullet's shape over its triangles, shared by all whose ground is the same.
#pragma once

#include <array>
#include <memory>
#include <vector>

#include "ground/LargePages.h"
#include "ond/util/CMesh.h"

class btBvhTriangleMeshShape;
class btTransform;
class btTriangleIndexVertexArray;
class btVector3;

namespace ond::ovs::addon {

class MeshSurvey;

/// Largest number of triangles that Bullet's quantised tree can tell apart: it numbers them in 21 bits.
inline constexpr int kMaxQuantisedTriangles = (1 << 21) - 1;

/// The arrays that a shape of triangles reads. A face with an index outside of the mesh, or with a corner that is not a
/// number or too far away for Bullet, is left out.
struct MeshArrays {
    LargeArray<btVector3> vertices;  ///< one per vertex of the mesh, in its order
    LargeArray<int> indices;         ///< three for each triangle
    int triangles = 0;               ///< 0: no face is usable, and the pointers are null
    /// How the library finds the arrays.
    std::unique_ptr<btTriangleIndexVertexArray> view;

    explicit MeshArrays(const util::CMesh& mesh);
    MeshArrays(MeshArrays&&) noexcept;
    ~MeshArrays();
};

/// Building one takes long and much memory, so that vehicles on one ground, and runs on ground that did not change,
/// share it. Whoever holds it may hand the shape to bodies and nothing else: it stays as it was made.
class StaticMesh {
  public:
    /// How a mesh is made a shape. Compared by its bits.
    struct Form {
        std::array<double, 16> transform;  ///< where the shape stands when its volume is measured
        std::array<double, 3> scaling;     ///< along the axes
        double margin;                     ///< thickness that Bullet adds for collisions; rays do not see it
    };

    /// The shape of a mesh: one that is alive if its content is the same to the bit, else a new one.
    /// Null when no face is usable.
    [[nodiscard]] static std::shared_ptr<StaticMesh> of(const util::CMesh& mesh, const btTransform& transform,
                                                        const btVector3& localScaling, double margin);

    StaticMesh(MeshArrays arrays, const util::CMesh& mesh, const Form& form);
    StaticMesh(const StaticMesh&) = delete;
    StaticMesh& operator=(const StaticMesh&) = delete;
    ~StaticMesh();

    MeshArrays arrays;
    double volume = 0.0;                 ///< how much space the shape's box takes without its margin, cubic scene units
    std::unique_ptr<MeshSurvey> survey;  ///< of a mesh that is not scaled, else null; the shape's user pointer
    std::unique_ptr<btBvhTriangleMeshShape> shape;  ///< goes before the arrays

  private:
    [[nodiscard]] bool isMadeOf(const util::CMesh& mesh, const Form& form) const;

    Form m_form;
    int m_numVertices;
    int m_numFaces;            ///< of the mesh
    std::vector<int> m_faces;  ///< of the mesh, if it has other faces than the shape
};

}  // namespace ond::ovs::addon
