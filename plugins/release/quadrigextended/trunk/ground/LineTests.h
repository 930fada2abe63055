// Lines against triangles, parallelograms and boxes, and triangles against boxes: the geometry under the ground tree.
//
// A line runs through `origin` in both directions; its parameter `t` counts in multiples of `direction`, whose length
// is free. All tests are exact comparisons on rounded numbers, without a tolerance: what lies on a border belongs to it
// where the comment says so. Not-a-number anywhere gives "no".
#pragma once

#include <array>

#include "ond/util/Vector3.h"

namespace ond::ovs::addon {

/// Axis-aligned box, scene units.
struct AxisBox {
    util::Vector3<double> vMin;
    util::Vector3<double> vMax;
};

/// A piece of a line: from `corner` (parameter 0) to `corner` + `along` (parameter 1).
struct BoxEdge {
    util::Vector3<double> corner;
    util::Vector3<double> along;
};

/// The parallelogram `corner` + u * `p` + v * `q`, u and v from 0 to 1.
struct BoxFace {
    util::Vector3<double> corner;
    util::Vector3<double> p;
    util::Vector3<double> q;
};

/// The four edges along x, then those along y, then those along z. Corners are sums of vMin and edge vectors.
[[nodiscard]] std::array<BoxEdge, 12> edgesOfBox(const AxisBox& box);
/// The three faces at vMin (xy, yz, zx), then the three at vMax, which run the negative way.
[[nodiscard]] std::array<BoxFace, 6> facesOfBox(const AxisBox& box);

/// Borders belong to the box.
[[nodiscard]] bool boxContains(const AxisBox& box, const util::Vector3<double>& point);

/// Line against the triangle a, b, c, from either side, at any t. The sides at a belong to the triangle, the side from
/// b to c does not. A line whose determinant with the sides is exactly 0 (parallel, or a triangle without area) never
/// hits. Solves (b - a) * u + (c - a) * v - direction * t = origin - a by the inverse matrix.
/// @param t written on a hit only
[[nodiscard]] bool lineMeetsTriangle(const util::Vector3<double>& a, const util::Vector3<double>& b,
                                     const util::Vector3<double>& c, const util::Vector3<double>& origin,
                                     const util::Vector3<double>& direction, double& t);

/// The same for a parallelogram, whose four sides all belong to it.
[[nodiscard]] bool lineMeetsParallelogram(const BoxFace& face, const util::Vector3<double>& origin,
                                          const util::Vector3<double>& direction, double& t);

/// Line against the faces of the box; a line along a face is no hit on that face.
/// @param t the smallest of all faces, so that of the first one on the way; written on a hit only
[[nodiscard]] bool lineMeetsBox(const AxisBox& box, const util::Vector3<double>& origin,
                                const util::Vector3<double>& direction, double& t);

/// Whether there is a `t`; faces that are looked at first decide it alone.
[[nodiscard]] bool lineMeetsBox(const AxisBox& box, const util::Vector3<double>& origin,
                                const util::Vector3<double>& direction);

/// A corner of the triangle lies in the box.
[[nodiscard]] bool boxContainsCorner(const AxisBox& box, const util::Vector3<double>& a, const util::Vector3<double>& b,
                                     const util::Vector3<double>& c);
/// An edge of the box meets the triangle, ends of the edge included.
[[nodiscard]] bool boxEdgeMeetsTriangle(const AxisBox& box, const util::Vector3<double>& a,
                                        const util::Vector3<double>& b, const util::Vector3<double>& c);
/// A side of the triangle (from a to b, b to c, c to a) comes to the box within its length, ends included. Only the
/// first face on the line through the side counts.
[[nodiscard]] bool triangleSideMeetsBox(const AxisBox& box, const util::Vector3<double>& a,
                                        const util::Vector3<double>& b, const util::Vector3<double>& c);
/// The three tests above in their order, up to the first that holds.
[[nodiscard]] bool triangleOverlapsBox(const AxisBox& box, const util::Vector3<double>& a,
                                       const util::Vector3<double>& b, const util::Vector3<double>& c);

}  // namespace ond::ovs::addon
