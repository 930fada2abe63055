#include "ground/GroundReach.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

// Vectors are handed about in this file only.
#pragma GCC diagnostic ignored "-Wpsabi"

// What follows is compiled for processors with eight lanes and for all others. A function can be inlined into one for
// more instructions than its own.
#define GROUND_REACH_INLINE __attribute__((always_inline)) inline

namespace ond::ovs::addon {

namespace {

using util::Vector3;
using EightMasks = int __attribute__((vector_size(32)));

// How much a margin is widened for what is rounded here on top of what it is made for.
constexpr double kWider = 4.0;
// Of places and triangles near the wheel, and of products of two of their lengths, relative to these lengths. A few
// dozen roundings of 2^-24 each, with room.
constexpr float kRounding = 0x1p-18F;
// More than is lost of products that are so small that they are rounded to nothing.
constexpr float kTiny = std::numeric_limits<float>::min();
// More than rounding takes from a length.
constexpr float kLonger = 1.0F + 0x1p-18F;
// More than a direction's length is off from 1.
constexpr double kUneven = 1e-5;
// Half sizes of grounds for which single precision has room for products of three lengths, of their smallest triangles,
// too.
constexpr double kLeastRadius = 1e-3;
constexpr double kMostRadius = 1e9;
// Room for boxes that are still to be looked at.
constexpr std::size_t kStack = 256;

[[nodiscard]] GROUND_REACH_INLINE EightFloats all(float value) { return EightFloats{} + value; }

[[nodiscard]] GROUND_REACH_INLINE EightFloats sizeOf(EightFloats v) { return v < 0.0F ? -v : v; }

/// Of the lanes of a comparison.
[[nodiscard]] GROUND_REACH_INLINE bool any(EightMasks mask) {
    using Words = long long __attribute__((vector_size(32)));
    const auto words = reinterpret_cast<Words>(mask);
    return ((words[0] | words[1]) | (words[2] | words[3])) != 0;
}

/// Bit per box that has a place in common with another.
[[nodiscard]] unsigned overlapping(const GroundBoxes& boxes, const AxisFloats& low, const AxisFloats& high) {
    unsigned bits = 0;
    for (std::size_t half = 0; half < 2; ++half) {
        EightMasks mask = (boxes.border[0][half] <= high[0]) & (boxes.border[3][half] >= low[0]);
        for (std::size_t axis = 1; axis < 3; ++axis)
            mask &= (boxes.border[axis][half] <= high[axis]) & (boxes.border[axis + 3][half] >= low[axis]);
        for (int lane = 0; lane < 8; ++lane)
            bits |= static_cast<unsigned>(mask[lane] != 0) << (8 * half + static_cast<unsigned>(lane));
    }
    return bits;
}

using EightVectors = std::array<EightFloats, 3>;

[[nodiscard]] GROUND_REACH_INLINE EightVectors cross(const EightVectors& a, const EightVectors& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

[[nodiscard]] GROUND_REACH_INLINE EightFloats dot(const EightVectors& a, const EightVectors& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

[[nodiscard]] GROUND_REACH_INLINE EightFloats greater(EightFloats a, EightFloats b) { return a > b ? a : b; }

/// Squared distance of the box of each triangle from another box.
[[nodiscard]] GROUND_REACH_INLINE EightFloats distanceToBoxes(const EightTriangles& eight, const AxisFloats& low,
                                                              const AxisFloats& high) {
    EightFloats sum{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const EightFloats& corner = eight.corner[axis];
        const EightFloats& p = eight.second[axis];
        const EightFloats& q = eight.third[axis];
        const EightFloats least = corner - greater(greater(-p, -q), EightFloats{});
        const EightFloats most = corner + greater(greater(p, q), EightFloats{});
        // Stays not a number in a lane without a triangle.
        const EightFloats beyond = greater(EightFloats{}, greater(least - high[axis], low[axis] - most));
        sum += beyond * beyond;
    }
    return sum;
}

[[nodiscard]] GROUND_REACH_INLINE AxisFloats singles(const Vector3<double>& v) {
    return AxisFloats{static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z), 0.0F};
}

/// Numerators and determinants are known here but for the slack; the numerator of the parameter on the ray has one side
/// more.
[[nodiscard]] GROUND_REACH_INLINE bool couldHitAny(const GroundReach::Near* near, std::size_t count, float reach,
                                                   const Vector3<double>& direction) {
    const AxisFloats along = singles(direction);
    const EightVectors back{all(-along[0]), all(-along[1]), all(-along[2])};
    EightMasks hits{};
    for (const GroundReach::Near* last = near + count; near != last; ++near) {
        const EightFloats det = dot(back, near->normal);
        const EightFloats size = sizeOf(det);
        const EightFloats u = dot(back, near->first);
        const EightFloats v = dot(back, near->second);
        const EightFloats turnedU = det < 0.0F ? -u : u;
        const EightFloats turnedV = det < 0.0F ? -v : v;
        hits |= (turnedU >= -near->slack) & (turnedV >= -near->slack) &
                (turnedU + turnedV <= size + 2.0F * near->slack) &
                (near->height <= size * reach + near->slack * near->longest);
    }
    return any(hits);
}

/// Whether all of eight cones are safe with a direction.
[[nodiscard]] GROUND_REACH_INLINE bool allSafe(const GroundCones& cones, const AxisFloats& along) {
    const float squared = along[0] * along[0] + along[1] * along[1] + along[2] * along[2];
    const EightFloats cosine =
        all(along[0]) * cones.axis[0] + all(along[1]) * cones.axis[1] + all(along[2]) * cones.axis[2];
    return !any(~(cosine * cosine > cones.leastSquare * all(squared)));
}

#if defined(__x86_64__)
#define GROUND_REACH_WIDE __attribute__((target("avx2")))
[[nodiscard]] GROUND_REACH_WIDE bool couldHitWide(const GroundReach::Near* near, std::size_t count, float reach,
                                                  const Vector3<double>& direction) {
    return couldHitAny(near, count, reach, direction);
}
[[nodiscard]] GROUND_REACH_WIDE bool allSafeWide(const GroundCones& cones, const AxisFloats& along) {
    return allSafe(cones, along);
}
#undef GROUND_REACH_WIDE
#endif

/// A component of a direction so small that a line is left to the walk.
[[nodiscard]] bool isNearlyLevel(double slope) {
    return slope != 0.0 && !(std::fabs(slope) > ground_line::kLeastSlope);
}

}  // namespace

bool GroundReach::gather(const GroundRayTables& tables, const Vector3<double>& low, const Vector3<double>& high,
                         double reach) {
    m_tables = &tables;
    m_count = m_nearTriangles = 0;
    m_gatheredFor = m_keptFor = Places();
    const Vector3<double> from = low - tables.middle;
    const Vector3<double> to = high - tables.middle;
    double distance = 0.0;
    for (const Vector3<double>& corner : {from, to})
        for (const double size : {std::fabs(corner.x), std::fabs(corner.y), std::fabs(corner.z)}) {
            if (!(size < ground_line::kFar * tables.radius)) return false;
            distance = std::max(distance, size);
        }
    if (!(tables.radius > kLeastRadius && tables.radius < kMostRadius)) return false;
    if (!(reach > 0.0 && reach < ground_line::kFar * tables.radius)) return false;
    const double margin = kWider * ground_line::marginAt(tables, distance + tables.radius, distance);
    const double wide = reach * (1.0 + kUneven) + margin;
    m_margin = static_cast<float>(margin);
    m_farthest = static_cast<float>(wide + margin);
    m_reach = static_cast<float>(reach * (1.0 + kUneven));
    // Places that rounding takes out of the box count as in it.
    const Vector3<double> rounding(margin, margin, margin);
    m_gatheredFor = {low - rounding, high + rounding};
    const Vector3<double> around = rounding * 2.0 + Vector3<double>(wide, wide, wide);
    const AxisFloats lowest = singles(from - around);
    const AxisFloats highest = singles(to + around);
    std::array<std::uint32_t, kStack> stack;
    std::size_t count = 0;
    stack[count++] = tables.root;
    while (count > 0) {
        const std::uint32_t child = stack[--count];
        const std::uint32_t number = child & ground_child::kMost;
        if ((child & ground_child::kKind) != ground_child::kBoxes) {
            if (m_count == kMost) return false;
            m_gathered[m_count++] = &tables.triangles.at(number);
            continue;
        }
        if (count + GroundBoxes::kCount > kStack) return false;
        const GroundBoxes& boxes = tables.boxes[number];
        for (unsigned met = overlapping(boxes, lowest, highest); met != 0; met &= met - 1)
            stack[count++] = boxes.child[static_cast<std::size_t>(std::countr_zero(met))];
    }
    return true;
}

GroundReach::GroundReach([[maybe_unused]] GroundRayIndex::Lanes lanes) {
#if defined(__x86_64__)
    m_isWide = lanes != GroundRayIndex::Lanes::narrow && __builtin_cpu_supports("avx2");
#endif
}

GroundReach::Tells GroundReach::tells(const GroundRayTables& tables, const Vector3<double>& direction) const {
    if (!(std::fabs(util::Dot(direction, direction) - 1.0) < kUneven)) return Tells::nothing;
    if (isNearlyLevel(direction.x) || isNearlyLevel(direction.y) || isNearlyLevel(direction.z)) return Tells::nothing;
    const AxisFloats along = singles(direction);
    const GroundCones& cones = tables.cellBoxes[tables.cellRoot & ground_child::kMost].cones;
#if defined(__x86_64__)
    if (m_isWide) return allSafeWide(cones, along) ? Tells::all : Tells::unlessEdgeOn;
#endif
    return allSafe(cones, along) ? Tells::all : Tells::unlessEdgeOn;
}

bool GroundReach::holds(const Vector3<double>& origin, const Vector3<double>& lift) const {
    return m_gatheredFor.have(origin) && m_gatheredFor.have(origin + lift);
}

bool GroundReach::narrow(const Vector3<double>& origin, const Vector3<double>& lift) {
    m_nearTriangles = 0;
    m_keptFor = Places();
    if (!holds(origin, lift)) return false;
    const double margin = static_cast<double>(m_margin);
    const Vector3<double> rounding(margin, margin, margin);
    const Vector3<double> lifted = origin + lift;
    const Places kept{
        Vector3<double>(std::min(origin.x, lifted.x), std::min(origin.y, lifted.y), std::min(origin.z, lifted.z)) -
            rounding,
        Vector3<double>(std::max(origin.x, lifted.x), std::max(origin.y, lifted.y), std::max(origin.z, lifted.z)) +
            rounding};
    m_nearMiddle = 0.5 * (kept.low + kept.high);
    const Vector3<double> size = kept.high - kept.low;
    m_nearExtent = m_farthest + static_cast<float>(size.x + size.y + size.z);
    const AxisFloats low = singles(kept.low - m_tables->middle);
    const AxisFloats high = singles(kept.high - m_tables->middle);
    for (std::size_t i = 0; i < m_count; ++i)
        if (!addNear(*m_gathered[i], low, high)) return false;
    m_keptFor = kept;
    return true;
}

// Lanes are filled one after the other, so that rays have few to look at.
bool GroundReach::addNear(const EightTriangles& eight, const AxisFloats& low, const AxisFloats& high) {
    const EightMasks isNear = distanceToBoxes(eight, low, high) <= EightFloats{} + m_farthest * m_farthest * 1.0001F;
    if (!any(isNear)) return true;
    for (int lane = 0; lane < 8; ++lane) {
        if (isNear[lane] == 0) continue;
        if (m_nearTriangles == 8 * kMostNear) return false;
        Near& near = m_near[m_nearTriangles / 8];
        const auto to = static_cast<int>(m_nearTriangles % 8);
        if (to == 0) near.corner.fill(EightFloats{} + std::numeric_limits<float>::quiet_NaN());
        setNear(near, to, eight, static_cast<std::size_t>(lane));
        ++m_nearTriangles;
    }
    return true;
}

// From the exact corners, which are small numbers as seen from here: that loses less than the index knows of them.
void GroundReach::setNear(Near& near, int to, const EightTriangles& eight, std::size_t lane) const {
    const Vector3<double>* vertices = eight.vertices();
    const std::array<std::uint8_t, 3>& corners = eight.corners[lane];
    const Vector3<double>& corner = vertices[corners[0]];
    const Vector3<double> p = vertices[corners[1]] - corner;
    const Vector3<double> q = vertices[corners[2]] - corner;
    const AxisFloats place = singles(corner - m_nearMiddle);
    const AxisFloats second = singles(p);
    const AxisFloats third = singles(q);
    for (unsigned axis = 0; axis < 3; ++axis) {
        near.corner[axis][to] = place[axis];
        near.p[axis][to] = second[axis];
        near.q[axis][to] = third[axis];
    }
    const double longest = std::max({util::Dot(p, p), util::Dot(q, q), util::Dot(q - p, q - p)});
    near.longest[to] = static_cast<float>(std::sqrt(longest)) * kLonger;
}

bool GroundReach::startFrom(const Vector3<double>& origin) {
    if (!m_keptFor.have(origin)) return false;
    const AxisFloats from = singles(origin - m_nearMiddle);
    for (std::size_t i = 0; 8 * i < m_nearTriangles; ++i) {
        Near& near = m_near[i];
        const EightVectors away{all(from[0]) - near.corner[0], all(from[1]) - near.corner[1],
                                all(from[2]) - near.corner[2]};
        near.first = cross(away, near.q);
        near.second = cross(near.p, away);
        near.normal = cross(near.p, near.q);
        near.height = sizeOf(dot(away, near.normal)) - kTiny;
        near.slack = kRounding * (m_nearExtent + near.longest) * near.longest;
    }
    return true;
}

bool GroundReach::couldHit(const Vector3<double>& direction) const {
    const std::size_t count = (m_nearTriangles + 7) / 8;
#if defined(__x86_64__)
    if (m_isWide) return couldHitWide(m_near.data(), count, m_reach, direction);
#endif
    return couldHitAny(m_near.data(), count, m_reach, direction);
}

}  // namespace ond::ovs::addon
