// Where a line meets a plane, with the outcome of the general inverse matrix to the bit.
#pragma once

#include <cmath>

#include "ond/util/Vector3.h"

namespace ond::ovs::addon {

/// Parameters of a point: along the two sides that span the plane, and along the line.
struct LinePoint {
    double u;
    double v;
    double t;
};

/// Where the line meets the plane of `p` and `q` through `corner`; false if the determinant is exactly 0. Of all
/// numbers, however large or small.
[[nodiscard]] bool solveByInverse(const util::Vector3<double>& corner, const util::Vector3<double>& p,
                                  const util::Vector3<double>& q, const util::Vector3<double>& origin,
                                  const util::Vector3<double>& direction, LinePoint& point);

/// Tells parameters that are below 0 or above 1 by more than rounding can amount to, without the divisions.
class OutsideTest {
  public:
    OutsideTest(const util::Vector3<double>& x, double det)
        : m_x(x), m_det(det), m_size(std::fabs(det)), m_canTell(m_size > kSmall && m_size < kLarge && isModerate(x)) {}

    /// Of the parameter (a, b, c) * x / det.
    [[nodiscard]] bool surely(double a, double b, double c) const {
        const double ax = a * m_x.x;
        const double by = b * m_x.y;
        const double cz = c * m_x.z;
        const double sizes = std::fabs(ax) + std::fabs(by) + std::fabs(cz);
        if (!(m_canTell && sizes > kSmall && sizes < kLarge)) return false;
        const double sum = m_det > 0.0 ? ax + by + cz : -(ax + by + cz);
        const double slack = sizes * kRounding;
        return sum < -slack || sum > m_size + slack;
    }

  private:
    /// Numbers with sizes between these have products and quotients far from both ends of the range of doubles, so that
    /// every rounding is in proportion.
    static constexpr double kSmall = 1e-60;
    static constexpr double kLarge = 1e60;
    /// Bound of the rounding of a sum of three products, as a multiple of the sum of their sizes. Generous: a handful
    /// of roundings of 2^-53 each.
    static constexpr double kRounding = 0x1p-48;

    static bool isModerate(const util::Vector3<double>& x) {
        return std::fabs(x.x) + std::fabs(x.y) + std::fabs(x.z) < kLarge;
    }
    const util::Vector3<double>& m_x;
    double m_det;
    double m_size;
    bool m_canTell;
};

/// As solveByInverse(), with the operations on zeros and ones of the fourth dimension left out. Each number is rounded
/// as there: the inverse's translation is -0, which leaves every sum as it is, and the division is by 1. That holds
/// while all is finite; what is not is done again in full.
/// @tparam kRejects gives false also where u or v is surely not within 0 to 1, which saves the divisions
template <bool kRejects>
[[nodiscard]] inline bool solveLineOnPlane(const util::Vector3<double>& corner, const util::Vector3<double>& p,
                                           const util::Vector3<double>& q, const util::Vector3<double>& origin,
                                           const util::Vector3<double>& direction, LinePoint& point) {
    const util::Vector3<double> r = -direction;
    const util::Vector3<double> x = origin - corner;
    const double u0 = q.y * r.z - r.y * q.z;
    const double t0 = p.y * q.z - q.y * p.z;
    const double det = p.x * u0 - q.x * (p.y * r.z - r.y * p.z) + r.x * t0;
    if (det == 0.0) return false;
    const double u1 = r.x * q.z - q.x * r.z;
    const double u2 = q.x * r.y - r.x * q.y;
    const double v0 = r.y * p.z - p.y * r.z;
    const double v1 = p.x * r.z - r.x * p.z;
    const double v2 = r.x * p.y - p.x * r.y;
    if constexpr (kRejects) {
        const OutsideTest outside(x, det);
        if (outside.surely(u0, u1, u2) || outside.surely(v0, v1, v2)) return false;
    }
    const double t1 = q.x * p.z - p.x * q.z;
    const double t2 = p.x * q.y - q.x * p.y;
    point.u = u0 / det * x.x + u1 / det * x.y + u2 / det * x.z;
    point.v = v0 / det * x.x + v1 / det * x.y + v2 / det * x.z;
    point.t = t0 / det * x.x + t1 / det * x.y + t2 / det * x.z;
    if (std::isfinite(point.u + point.v + point.t)) return true;
    return solveByInverse(corner, p, q, origin, direction, point);
}

/// Whether a point on the plane of a triangle is on the triangle: the sides at the corner belong to it, the one across
/// does not.
[[nodiscard]] inline bool isOnTriangle(const LinePoint& point) {
    return point.u >= 0.0 && point.v >= 0.0 && point.u + point.v < 1.0;
}

}  // namespace ond::ovs::addon
