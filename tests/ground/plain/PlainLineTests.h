// The plain form of the module's line tests, kept as what they are compared with: every line against a plane is solved
// by the determinant and the inverse of a 4x4 matrix, and nothing is left out because it cannot matter.
#pragma once

#include <array>

#include "ond/util/Vector3.h"

namespace ond::test::plain {

/// Axis-aligned box, scene units.
struct AxisBox {
    util::Vector3<double> vMin;
    util::Vector3<double> vMax;
};

/// From `corner` (parameter 0) to `corner` + `along` (parameter 1).
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

[[nodiscard]] std::array<BoxEdge, 12> edgesOfBox(const AxisBox& box);
[[nodiscard]] std::array<BoxFace, 6> facesOfBox(const AxisBox& box);
[[nodiscard]] bool boxContains(const AxisBox& box, const util::Vector3<double>& point);

/// @param t of the three below: written on a hit only
[[nodiscard]] bool lineMeetsTriangle(const util::Vector3<double>& a, const util::Vector3<double>& b,
                                     const util::Vector3<double>& c, const util::Vector3<double>& origin,
                                     const util::Vector3<double>& direction, double& t);
[[nodiscard]] bool lineMeetsParallelogram(const BoxFace& face, const util::Vector3<double>& origin,
                                          const util::Vector3<double>& direction, double& t);
[[nodiscard]] bool lineMeetsBox(const AxisBox& box, const util::Vector3<double>& origin,
                                const util::Vector3<double>& direction, double& t);

[[nodiscard]] bool boxContainsCorner(const AxisBox& box, const util::Vector3<double>& a, const util::Vector3<double>& b,
                                     const util::Vector3<double>& c);
[[nodiscard]] bool boxEdgeMeetsTriangle(const AxisBox& box, const util::Vector3<double>& a,
                                        const util::Vector3<double>& b, const util::Vector3<double>& c);
[[nodiscard]] bool triangleSideMeetsBox(const AxisBox& box, const util::Vector3<double>& a,
                                        const util::Vector3<double>& b, const util::Vector3<double>& c);
[[nodiscard]] bool triangleOverlapsBox(const AxisBox& box, const util::Vector3<double>& a,
                                       const util::Vector3<double>& b, const util::Vector3<double>& c);

}  // namespace ond::test::plain
