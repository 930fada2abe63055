// Cones around the normals of triangles, and the planes of those that stand steeply: what tells which triangles a line
// may be edge-on to.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>
#include <utility>

#include "ground/GroundRayIndexBuilder.h"

namespace ond::ovs::addon {

namespace {

using util::Vector3;

// Angle that normals must leave to a right angle with the line, radians. Times the fullness this bounds the rounding of
// a parameter on the triangle by 64 * 2^-53 * 2^20 of the distance, which the margin of lines exceeds.
constexpr double kLeastAngle = double{ground_line::kEdgeOn};
// More than the rounding of the axis of a cone and of what is made of it, radians.
constexpr double kConeSlack = 1e-5;
// The same of the angle to a normal in single precision, by its cosine; also the least length of a sum of normals whose
// direction counts.
constexpr double kNormalSlack = 1e-3;
constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// A number between -1 and 1, or none, in the units of planes.
std::int16_t scaled(float value) {
    if (std::isnan(value)) return 0;
    return static_cast<std::int16_t>(
        std::lround(std::clamp(value, -1.0F, 1.0F) * static_cast<float>(GroundPlanes::kScale)));
}

Vector3<double> doubles(const std::array<float, 3>& v) {
    return {static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2])};
}

}  // namespace

std::span<const std::uint32_t> GroundRayIndexBuilder::listOf(std::uint32_t leaf) const {
    const std::size_t from = leaf == 0 ? 0 : m_leafEnds[leaf - 1];
    return {m_leafLists.data() + from, m_leafEnds[leaf] - from};
}

float GroundRayIndexBuilder::uprightOf(std::uint32_t triangle) const {
    const float upright = std::fabs(m_normals[triangle][1]);
    return std::isnan(upright) ? 0.0F : upright;
}

// Around the normals, either way round.
GroundRayIndexBuilder::Cone GroundRayIndexBuilder::coneOf(std::uint32_t leaf) const {
    const std::span<const std::uint32_t> list = listOf(leaf);
    if (list.empty()) return {{}, -1.0};
    const Vector3<double> first = doubles(m_normals[list[0]]);
    Vector3<double> sum;
    for (const std::uint32_t triangle : list) {
        const Vector3<double> normal = doubles(m_normals[triangle]);
        sum += util::Dot(first, normal) < 0.0 ? -normal : normal;
    }
    const double length = util::Length(sum);
    if (!(length > kNormalSlack)) return {{}, 2.0 * kRightAngle};
    const Vector3<double> axis = sum / length;
    double least = 1.0;
    for (const std::uint32_t triangle : list)
        least = std::min(least, std::fabs(util::Dot(axis, doubles(m_normals[triangle]))));
    return {axis, std::acos(least) + kNormalSlack};
}

// Children stand behind their parents.
void GroundRayIndexBuilder::addCones() {
    std::vector<Cone> cones(m_tables.cellBoxes.size());
    std::vector<float> upright(cones.size(), kInfinity);
    std::vector<GroundAims> aims(cones.size());
    std::vector<std::uint32_t> firstLeaf(cones.size());
    for (std::size_t at = cones.size(); at-- > 0;) {
        GroundCellBoxes& cells = m_tables.cellBoxes[at];
        cones[at].width = -1.0;
        for (int lane = 0; lane < 8; ++lane) {
            cells.upright[lane] = kInfinity;
            if (!(cells.cells.border[0][lane] <= cells.cells.border[3][lane])) continue;
            const std::uint32_t child = cells.child[static_cast<std::size_t>(lane)];
            const std::uint32_t number = child & ground_child::kMost;
            const bool isLeaf = (child & ground_child::kKind) == ground_child::kLeaf;
            const std::uint32_t first = isLeaf ? number : firstLeaf[number];
            cells.firstLeaf[lane] = static_cast<int>(first);
            if (lane == 0) firstLeaf[at] = first;
            const Cone cone = isLeaf ? coneOf(number) : cones[number];
            if (cone.width < 0.0) continue;
            if (!isLeaf) cells.upright[lane] = upright[number];
            if (isLeaf)
                for (const std::uint32_t triangle : listOf(number))
                    cells.upright[lane] = std::min<float>(cells.upright[lane], uprightOf(triangle));
            const GroundAims below = isLeaf ? aimsOfLeaf(number) : aims[number];
            cells.edgeChild[static_cast<std::size_t>(lane)] =
                isLeaf ? ground_child::kLeaf | m_leafPlanes[number] : child;
            for (std::size_t word = 0; word < GroundAims::kWords; ++word)
                cells.edgeOn[word][lane] = static_cast<int>(below.word[word]);
            aims[at] |= below;
            setCone(cells.cones, lane, cone);
            cones[at] = cones[at].width < 0.0 ? cone : join(cones[at], cone);
            upright[at] = std::min<float>(upright[at], cells.upright[lane]);
        }
    }
    const std::uint32_t root = m_tables.cellRoot & ground_child::kMost;
    const Cone& all = cones[root];
    m_tables.upright = upright[root];
    m_tables.normals.axis = AxisFloats{static_cast<float>(all.axis.x), static_cast<float>(all.axis.y),
                                       static_cast<float>(all.axis.z), 0.0F};
    m_tables.normals.leastSquare = all.width < 0.0 ? 2.0F : leastSquare(all);
}

void GroundRayIndexBuilder::addEdges() {
    std::vector<std::uint32_t> steep;
    m_tables.edges.reserve(m_leafEnds.size() + 1);
    for (std::uint32_t leaf = 0; leaf < m_leafEnds.size(); ++leaf) {
        const auto flats = static_cast<std::uint32_t>(m_tables.flats.size());
        GroundLeafEdges& edges = m_tables.edges.emplace_back();
        edges.flats = flats;
        steep.clear();
        for (const std::uint32_t triangle : listOf(leaf)) {
            if (uprightOf(triangle) < ground_line::kSteep)
                steep.push_back(triangle);
            else
                m_tables.flats.push_back(m_places[triangle] / 8);
        }
        const auto first = m_tables.flats.begin() + flats;
        std::sort(first, m_tables.flats.end());
        m_tables.flats.erase(std::unique(first, m_tables.flats.end()), m_tables.flats.end());
        std::sort(steep.begin(), steep.end(), [this](std::uint32_t a, std::uint32_t b) {
            return std::pair(uprightOf(a), m_places[a]) < std::pair(uprightOf(b), m_places[b]);
        });
        m_leafPlanes.push_back(steep.empty() ? ground_child::kMost
                                             : static_cast<std::uint32_t>(m_tables.planes.size()));
        addPlanes(edges, steep);
    }
    GroundLeafEdges& end = m_tables.edges.emplace_back();
    end.flats = static_cast<std::uint32_t>(m_tables.flats.size());
}

void GroundRayIndexBuilder::addPlanes(GroundLeafEdges& edges, const std::vector<std::uint32_t>& triangles) {
    if (triangles.empty()) return;
    Box box = nothingAdded().box;
    for (const std::uint32_t triangle : triangles)
        for (std::size_t corner = 0; corner < 3; ++corner) widen(box, relative(m_all->corner(triangle, corner)));
    edges.middle = (box.low + box.high) * 0.5F;
    const AxisFloats half = (box.high - box.low) * 0.5F;
    edges.reach = std::sqrt(half[0] * half[0] + half[1] * half[1] + half[2] * half[2]) * (1.0F + 0x1p-10F);
    for (std::size_t from = 0; from < triangles.size(); from += GroundPlanes::kCount) {
        if (from != 0) m_tables.planes.back().next() = scaled(uprightOf(triangles[from]));
        GroundPlanes& planes = m_tables.planes.emplace_back();
        GroundPlaneTriangles& numbers = m_tables.planeTriangles.emplace_back();
        for (std::size_t lane = 0; lane < GroundPlanes::kCount; ++lane) {
            const std::uint32_t triangle = triangles[std::min(from + lane, triangles.size() - 1)];
            const Normal& normal = m_normals[triangle];
            for (std::size_t axis = 0; axis < 3; ++axis) planes.normal[axis][lane] = scaled(normal[axis]);
            planes.height[lane] = heightOf(triangle, edges);
            numbers[lane] = m_places[triangle];
        }
        planes.next() = GroundPlanes::kEnd;
    }
}

std::int16_t GroundRayIndexBuilder::heightOf(std::uint32_t triangle, const GroundLeafEdges& edges) const {
    const Vector3<double> middle{edges.middle[0], edges.middle[1], edges.middle[2]};
    const Vector3<double> corner = m_all->corner(triangle, 0) - m_tables.middle - middle;
    return scaled(
        static_cast<float>(util::Dot(doubles(m_normals[triangle]), corner) / static_cast<double>(edges.reach)));
}

void GroundRayIndexBuilder::setCone(GroundCones& cones, int lane, const Cone& cone) {
    cones.axis[0][lane] = static_cast<float>(cone.axis.x);
    cones.axis[1][lane] = static_cast<float>(cone.axis.y);
    cones.axis[2][lane] = static_cast<float>(cone.axis.z);
    cones.leastSquare[lane] = leastSquare(cone);
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
