// Cones around the normals of triangles, and slabs around their corners: which lines the boxes of an index tell about.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "ground/GroundRayIndexBuilder.h"

namespace ond::ovs::addon {

namespace {

using util::Vector3;

// Angle that the normals of a group must leave to a right angle with the line, radians. Times the fullness this bounds
// the rounding of a parameter on the triangle by 64 * 2^-53 * 2^20 of the distance, which the margin of lines exceeds.
constexpr double kLeastAngle = 0x1p-9 + 1e-4;
// More than the rounding of the axis of a cone and of what is made of it, radians.
constexpr double kConeSlack = 1e-5;
// More than the rounding of single precision in planes, as a share of distances.
constexpr double kFanSlack = 0x1p-18;
constexpr float kInfinity = std::numeric_limits<float>::infinity();

}  // namespace

// A cone around normals that point to the same side of an axis.
GroundRayIndexBuilder::Cone GroundRayIndexBuilder::coneOf(const std::array<Vector3<double>, 8>& normals,
                                                          std::size_t count) {
    Vector3<double> sum;
    for (std::size_t i = 0; i < count; ++i) sum += normals[i];
    const Vector3<double> axis = util::Normalized(sum);
    double least = 1.0;
    for (std::size_t i = 0; i < count; ++i) least = std::min(least, util::Dot(axis, normals[i]));
    return {axis, std::acos(std::clamp(least, -1.0, 1.0)) + kConeSlack};
}

void GroundRayIndexBuilder::setCone(GroundCones& cones, int lane, const Cone& cone) {
    cones.axis[0][lane] = static_cast<float>(cone.axis.x);
    cones.axis[1][lane] = static_cast<float>(cone.axis.y);
    cones.axis[2][lane] = static_cast<float>(cone.axis.z);
    cones.leastSquare[lane] = leastSquare(cone);
}

Vector3<double> GroundRayIndexBuilder::middleOf(const Box& box) {
    const AxisFloats middle = (box.low + box.high) * 0.5F;
    return {static_cast<double>(middle[0]), static_cast<double>(middle[1]), static_cast<double>(middle[2])};
}

Vector3<double> GroundRayIndexBuilder::halfOf(const Box& box) {
    const AxisFloats half = (box.high - box.low) * 0.5F;
    return {static_cast<double>(half[0]), static_cast<double>(half[1]), static_cast<double>(half[2])};
}

// A triangle whose normal is at least kLeastAngle away from a right angle with a line is hit only where the line comes
// near it. For others: the line meets the plane of the triangle where the exact test has it, within the triangle but
// for rounding, or runs beside that plane within rounding. The way along the line from there to the place nearest to
// the middle of the box is no longer than that between the two points, at most three half diagonals.
void GroundRayIndexBuilder::setSlab(GroundGuard& guard, int lane, const Added& added) {
    guard.slab[lane] = kInfinity;
    guard.fan[lane] = kInfinity;
    if (!(added.cone.width < kRightAngle)) return;
    const double radius = util::Length(halfOf(added.box));
    const double fan = 2.0 * std::sin(added.cone.width / 2.0) + kFanSlack;
    const double slab = added.slab + radius * (3.0 * std::sin(kLeastAngle) + fan);
    guard.slab[lane] = static_cast<float>(slab * (1.0 + kConeSlack));
    guard.fan[lane] = static_cast<float>(fan * (1.0 + kConeSlack));
}

double GroundRayIndexBuilder::slabOf(const Added& all, const Added* first, const Added* last) {
    if (!(all.cone.width < kRightAngle)) return 0.0;
    const Vector3<double>& axis = all.cone.axis;
    const Vector3<double> middle = middleOf(all.box);
    double slab = 0.0;
    for (; first != last; ++first) {
        const Vector3<double> half = halfOf(first->box);
        const double apart = std::min(util::Length(axis - first->cone.axis), util::Length(axis + first->cone.axis));
        const double within =
            std::min(first->slab + apart * util::Length(half),
                     std::fabs(axis.x) * half.x + std::fabs(axis.y) * half.y + std::fabs(axis.z) * half.z);
        slab = std::max(slab, std::fabs(util::Dot(axis, middleOf(first->box) - middle)) + within);
    }
    return slab;
}

GroundRayIndexBuilder::Cone GroundRayIndexBuilder::join(const Cone& a, const Cone& b) {
    if (!(a.width < kRightAngle)) return a;
    if (!(b.width < kRightAngle)) return b;
    const double cosine = util::Dot(a.axis, b.axis);
    const Vector3<double> turned = cosine < 0.0 ? -b.axis : b.axis;
    const double apart = std::acos(std::min(std::fabs(cosine), 1.0)) + kConeSlack;
    if (apart + b.width <= a.width) return a;
    if (apart + a.width <= b.width) return b;
    // The middle of the arc from the outer edge of the one to that of the other.
    const double width = (apart + a.width + b.width) / 2.0;
    const double share = std::clamp((width - a.width) / apart, 0.0, 1.0);
    const Vector3<double> axis = util::Normalized(a.axis * (1.0 - share) + turned * share);
    const double toA = std::acos(std::clamp(util::Dot(axis, a.axis), -1.0, 1.0)) + a.width;
    const double toB = std::acos(std::clamp(util::Dot(axis, turned), -1.0, 1.0)) + b.width;
    return {axis, std::max(toA, toB) + kConeSlack};
}

float GroundRayIndexBuilder::leastSquare(const Cone& cone) {
    const double width = cone.width + kLeastAngle;
    if (!(width < kRightAngle)) return 2.0F;
    return static_cast<float>(std::sin(width) * std::sin(width) + kConeSlack);
}

}  // namespace ond::ovs::addon
