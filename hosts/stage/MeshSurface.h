// Rays against a triangle mesh: a tree of boxes by Embree, the hits themselves in doubles.
#pragma once

#include <memory>

#include "ond/util/CMesh.h"
#include "ond/util/Vector3.h"

namespace ond::stage {

/// Nearest hit of the ray origin + t * direction with t >= 0, of both faces. Of two hits at the same t the triangle
/// that stands first in the mesh wins. A ray through an edge or a vertex that triangles share hits one of them: there
/// are no cracks. Triangles without an area, with indices out of range or with coordinates that are no finite numbers
/// are never hit. Keeps a copy of the triangles.
class MeshSurface {
  public:
    explicit MeshSurface(const util::CMesh& mesh);
    MeshSurface(const MeshSurface&) = delete;
    MeshSurface& operator=(const MeshSurface&) = delete;
    ~MeshSurface();

    /// @param direction of any length but zero
    /// @param t on a hit how often `direction` fits between `origin` and it; unchanged without one
    /// @param normal unit normal (b - a) x (c - a), not turned towards the ray; unchanged without a hit
    [[nodiscard]] bool intersect(const util::Vector3<double>& origin, const util::Vector3<double>& direction, double* t,
                                 util::Vector3<double>* normal) const;

  private:
    struct Tree;
    std::unique_ptr<Tree> m_tree;
};

}  // namespace ond::stage
