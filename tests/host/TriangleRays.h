// Rays against a triangle mesh, in doubles.
#pragma once

#include <array>
#include <memory>
#include <vector>

#include "ond/util/CMesh.h"
#include "ond/util/Vector3.h"

namespace ond::test {

/// Nearest hit of the ray origin + t * direction with t >= 0, of both faces. Of two hits at the same t the triangle
/// that stands first in the mesh wins. Triangles without an area, or with indices out of range, are never hit.
class TriangleRays {
  public:
    explicit TriangleRays(const util::CMesh& mesh);

    /// @param t on a hit how often `direction` fits between `origin` and it; unchanged without one
    /// @param normal unit normal (b - a) x (c - a), not turned towards the ray; unchanged without a hit
    [[nodiscard]] bool intersect(const util::Vector3<double>& origin, const util::Vector3<double>& direction, double* t,
                                 util::Vector3<double>* normal) const;

  private:
    struct Triangle {
        util::Vector3<double> a, b, c;
        int index;
    };
    /// A box of the tree; a leaf if it has triangles, else its two children stand at `first` and `first` + 1.
    struct Box {
        util::Vector3<double> low, high;
        int first;
        int count;
    };

    void split(int box, int first, int count);
    void hitTriangle(const Triangle& triangle, const util::Vector3<double>& origin,
                     const util::Vector3<double>& direction, double& best, int& winner,
                     util::Vector3<double>& normal) const;

    std::vector<Triangle> m_triangles;
    std::vector<Box> m_boxes;
};

}  // namespace ond::test
