#include "ground/NearTriangles.h"

#include <array>
#include <bit>

#include "ground/MeshSurvey.h"

namespace ond::ovs::addon {

namespace {

using Vector = NearTriangles::Vector;

// Half the distance from 1 to the next number.
constexpr float kUlp = 6e-8F;
// Products of two coordinates, rounded a few dozen times on the way, and taken with inexact directions, are off by no
// more than some hundred times kUlp times the square of the largest coordinate. This is a thousand.
constexpr float kRounding = 1024.0F * kUlp;
// Where products are so small that they are rounded to nothing.
constexpr float kTiny = 1e-30F;
// Bullet takes a point for inside when each of its barycentric coordinates is -1e-4 at least; rounding moves those of
// sound triangles by less than another 1e-4.
constexpr float kOutside = 2e-4F;
// More than rounding takes from a squared distance.
constexpr float kWider = 1.0F + 2e-5F;

FourVectors operator-(const FourVectors& a, const FourVectors& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
FourFloats dot(const FourVectors& a, const FourVectors& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
FourVectors cross(const FourVectors& a, const FourVectors& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

FourFloats greatestOf(FourFloats a, FourFloats b, FourFloats c) { return greater(greater(a, b), c); }
FourFloats leastOf(FourFloats a, FourFloats b, FourFloats c) { return lesser(lesser(a, b), c); }

/// Largest coordinate of three corners.
template <class Corners>
FourFloats extentOf(const Corners& c) {
    FourFloats extent = allFour(0.0F);
    for (int i = 0; i < 3; ++i) extent = greater(extent, greatestOf(sizeOf(c.x[i]), sizeOf(c.y[i]), sizeOf(c.z[i])));
    return extent;
}

template <class Corners>
FourVectors corner(const Corners& c, int i) {
    return {c.x[i], c.y[i], c.z[i]};
}

template <class Corners>
FourFloats squaredLongestEdge(const Corners& c) {
    const FourVectors ab = corner(c, 1) - corner(c, 0);
    const FourVectors ac = corner(c, 2) - corner(c, 0);
    const FourVectors bc = corner(c, 2) - corner(c, 1);
    return greatestOf(dot(ab, ab), dot(ac, ac), dot(bc, bc));
}

/// How far beyond a triangle's box a hit may lie.
template <class Corners>
FourFloats marginOfBox(const Corners& c, FourFloats edge, FourFloats extent) {
    return static_cast<float>(MeshSurvey::kReachOfEdge) * 1.01F * edge + 4.0F * c.noise + 16.0F * kUlp * extent;
}

/// The bits of the first of four, when so many are left.
unsigned firstOf(std::size_t left) { return left < 4 ? (1U << left) - 1U : 15U; }

/// Which of four are kept: their lanes at the front.
struct Kept {
    std::uint32_t lanes[4];
    std::uint32_t count;
};

constexpr std::array<Kept, 16> kKept = [] {
    std::array<Kept, 16> all{};
    for (std::uint32_t bits = 0; bits < 16; ++bits)
        for (std::uint32_t lane = 0; lane < 4; ++lane)
            if ((bits >> lane & 1U) != 0) all[bits].lanes[all[bits].count++] = lane;
    return all;
}();

/// Bit by bit whether a ray could hit; `out` has those that are known not to.
unsigned couldHit(FourFloats slope, FourFloats first, FourFloats second, FourFloats edgeMargin, FourMasks out) {
    const FourFloats least = -(kOutside * slope + edgeMargin);
    out = out | (first < least) | (second < least) | (slope - first - second < least);
    return ~bitsOf(out) & 15U;
}

}  // namespace

void NearTriangles::begin(const Vector& centre, double unit, double noise, std::size_t most) {
    m_centre = centre;
    m_perUnit = 1.0 / unit;
    m_noise = static_cast<float>(noise * m_perUnit * 1.001);
    m_count = 0;
    m_numNarrowed = 0;
    m_numPossible = 0;
    const std::size_t groups = (most + 3) / 4;
    if (m_spans.size() >= groups) return;
    m_triangles.resize(4 * groups);
    m_spans.resize(groups);
    m_chosen.resize(groups);
    m_planes.resize(groups);
    m_facing.resize(groups);
    m_narrowed.resize(4 * groups + 4);
    m_possible.resize(4 * groups);
}

NearTriangles::Corners NearTriangles::sideBySide(const Triangle& a, const Triangle& b, const Triangle& c,
                                                 const Triangle& d) {
    Corners corners;
    for (int i = 0; i < 3; ++i) {
        FourFloats rows[4] = {a.corners[i], b.corners[i], c.corners[i], d.corners[i]};
        transpose(rows[0], rows[1], rows[2], rows[3]);
        corners.x[i] = rows[0];
        corners.y[i] = rows[1];
        corners.z[i] = rows[2];
        if (i == 0) corners.noise = rows[3];
    }
    return corners;
}

void NearTriangles::spread(const Vector& across) {
    const FourVectors axis = allFour(across);
    // Behind the last one there are more of it.
    for (std::size_t i = m_count; i % 4 != 0; ++i) m_triangles[i] = m_triangles[m_count - 1];
    for (std::size_t i = 0; 4 * i < m_count; ++i) {
        const Triangle* first = m_triangles.data() + 4 * i;
        const Corners c = sideBySide(first[0], first[1], first[2], first[3]);
        const auto along = [&](int k) { return axis.x * c.x[k] + axis.y * c.y[k] + axis.z * c.z[k]; };
        const FourFloats ends[3] = {along(0), along(1), along(2)};
        // The extent along any axis is as long as the longest edge at most.
        const FourFloats margin = marginOfBox(c, squareRoot(squaredLongestEdge(c)), extentOf(c));
        m_spans[i] = {leastOf(ends[0], ends[1], ends[2]) - margin, greatestOf(ends[0], ends[1], ends[2]) + margin};
    }
}

void NearTriangles::narrow(double least, double most, double farthest) {
    m_numPossible = 0;
    m_farthest = static_cast<float>(farthest);
    const FourFloats low = allFour(static_cast<float>(least) - kUlp * 8.0F * (1.0F + m_farthest));
    const FourFloats high = allFour(static_cast<float>(most) + kUlp * 8.0F * (1.0F + m_farthest));
    std::uint32_t* to = m_narrowed.data();
    for (std::size_t i = 0; 4 * i < m_count; ++i) {
        const unsigned beyond = bitsOf((m_spans[i].most < low) | (m_spans[i].least > high));
        // Room for four is written in any case, because nothing here can be foretold.
        const Kept& kept = kKept[~beyond & firstOf(m_count - 4 * i)];
        for (std::size_t lane = 0; lane < 4; ++lane) to[lane] = static_cast<std::uint32_t>(4 * i) + kept.lanes[lane];
        to += kept.count;
    }
    m_numNarrowed = static_cast<std::size_t>(to - m_narrowed.data());
    for (std::size_t i = m_numNarrowed; i % 4 != 0; ++i) m_narrowed[i] = m_narrowed[m_numNarrowed - 1];
    for (std::size_t i = 0; 4 * i < m_numNarrowed; ++i) prepare(i);
}

void NearTriangles::prepare(std::size_t group) {
    const std::uint32_t* numbers = m_narrowed.data() + 4 * group;
    const Corners c =
        sideBySide(m_triangles[numbers[0]], m_triangles[numbers[1]], m_triangles[numbers[2]], m_triangles[numbers[3]]);
    m_chosen[group] = c;
    Plane& plane = m_planes[group];
    const FourVectors normal = cross(corner(c, 1) - corner(c, 0), corner(c, 2) - corner(c, 0));
    plane.normal[0] = normal.x;
    plane.normal[1] = normal.y;
    plane.normal[2] = normal.z;
    plane.length = squareRoot(dot(normal, normal)) * 1.00001F;
    const FourFloats squaredEdge = squaredLongestEdge(c);
    const FourFloats edge = squareRoot(squaredEdge);
    const FourFloats extent = greater(allFour(1.0F), extentOf(c) + m_farthest);
    const FourFloats rounding = kRounding * extent * extent;
    plane.planeMargin = squaredEdge * c.noise + rounding * edge + kTiny;
    plane.edgeMargin = 12.0F * edge * c.noise + rounding + kTiny;
    plane.boxMargin = marginOfBox(c, edge, extent);
}

void NearTriangles::face(const Vector& origin) {
    const FourVectors at = allFour((origin - m_centre) * m_perUnit);
    for (std::size_t i = 0; 4 * i < m_numNarrowed; ++i) face(i, at);
}

void NearTriangles::face(std::size_t group, const FourVectors& origin) {
    const Corners& corners = m_chosen[group];
    const Plane& plane = m_planes[group];
    const FourVectors a = corner(corners, 0) - origin;
    const FourVectors b = corner(corners, 1) - origin;
    const FourVectors c = corner(corners, 2) - origin;
    Facing& facing = m_facing[group];
    facing.distance = dot({plane.normal[0], plane.normal[1], plane.normal[2]}, a);
    const FourVectors first = cross(a, b);
    const FourVectors second = cross(b, c);
    facing.first[0] = first.x;
    facing.first[1] = first.y;
    facing.first[2] = first.z;
    facing.second[0] = second.x;
    facing.second[1] = second.y;
    facing.second[2] = second.z;
    const auto away = [&](FourFloats u, FourFloats v, FourFloats w) {
        const FourFloats outside = greater(leastOf(u, v, w), -greatestOf(u, v, w)) - plane.boxMargin;
        return greater(outside, allFour(0.0F));
    };
    const FourVectors gap{away(a.x, b.x, c.x), away(a.y, b.y, c.y), away(a.z, b.z, c.z)};
    facing.near = ~bitsOf(dot(gap, gap) > allFour(kWider)) & firstOf(m_numNarrowed - 4 * group);
}

unsigned NearTriangles::lookAt(const RayFan& fan, std::size_t group) {
    const RayFan::Group& rays = fan.group(group);
    const RayFan::Ball& ball = fan.around(group);
    Possible* possible = m_possible.data();
    unsigned all = 0;
    for (std::size_t i = 0; 4 * i < m_numNarrowed; ++i) {
        const Plane& plane = m_planes[i];
        const Facing& facing = m_facing[i];
        // How far a ray of the group comes towards the plane at most.
        const FourFloats towards =
            sizeOf(plane.normal[0] * ball.x + plane.normal[1] * ball.y + plane.normal[2] * ball.z) +
            plane.length * ball.radius;
        unsigned left = ~bitsOf(sizeOf(facing.distance) > towards + plane.planeMargin) & facing.near;
        for (; left != 0; left &= left - 1) {
            const std::size_t narrowed = 4 * i + static_cast<std::size_t>(std::countr_zero(left));
            const unsigned bits = raysThatCouldHit(narrowed, rays);
            *possible = {narrowed, bits};
            possible += bits != 0 ? 1 : 0;
            all |= bits;
        }
    }
    m_numPossible = static_cast<std::size_t>(possible - m_possible.data());
    return all;
}

unsigned NearTriangles::raysThatCouldHit(std::size_t narrowed, const RayFan::Group& rays) const {
    const Plane& plane = m_planes[narrowed / 4];
    const Facing& facing = m_facing[narrowed / 4];
    const std::size_t lane = narrowed % 4;
    const auto along = [&](const FourFloats* v) {
        return v[0][lane] * rays.x + v[1][lane] * rays.y + v[2][lane] * rays.z;
    };
    const FourFloats towards = along(plane.normal);
    const FourFloats slope = sizeOf(towards);
    const FourFloats distance = withSignOf(towards, allFour(facing.distance[lane]));
    const FourFloats margin = allFour(plane.planeMargin[lane]);
    const FourMasks out = (distance < -margin) | (distance > slope + margin);
    if (bitsOf(out) == 15U) return 0;
    return couldHit(slope, withSignOf(towards, along(facing.first)), withSignOf(towards, along(facing.second)),
                    allFour(plane.edgeMargin[lane]), out);
}

unsigned NearTriangles::couldBeHit(std::size_t group, const FourVectors& direction) const {
    const Plane& plane = m_planes[group];
    const Facing& facing = m_facing[group];
    const auto along = [&](const FourFloats* v) {
        return v[0] * direction.x + v[1] * direction.y + v[2] * direction.z;
    };
    const FourFloats towards = along(plane.normal);
    const FourFloats distance = withSignOf(towards, facing.distance);
    return firstOf(m_numNarrowed - 4 * group) & couldHit(sizeOf(towards), withSignOf(towards, along(facing.first)),
                                                         withSignOf(towards, along(facing.second)), plane.edgeMargin,
                                                         distance < -plane.planeMargin);
}

}  // namespace ond::ovs::addon
