#include "ground/GroundSplitting.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace ond::ovs::addon {

namespace {

using util::Vector3;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

// Most entries of the triangles of one axis' halves together, as a multiple of the node's, for which a split pays.
constexpr double kMaxDuplication = 1.1;
// Fewest triangles that a half must have.
constexpr std::size_t kMinTrianglesOfHalf = 3;
// Two on each axis.
constexpr std::size_t kMaxCells = 8;

// Half sizes of a mesh for which boxes may decide: products of three lengths are then normal numbers.
constexpr double kLeastRadius = 1e-12;
constexpr double kMostRadius = 1e15;
// Margin of comparisons of boxes, in half sizes of the mesh and in distances of its middle from the origin: wider than
// the rounding of single precision here and than that of the corners of cells there, which are sums of large numbers.
constexpr double kMarginOfRadius = 0x1p-20;
constexpr double kMarginOfOffset = 0x1p-46;
// A side of a triangle that runs along an axis by less, but not by nothing, has determinants with faces of boxes that
// may be below the smallest normal number.
constexpr double kLeastSlope = 1e-200;
// A box thinner than this many half sizes, but not flat, is left to the exact tests.
constexpr double kLeastThickness = 0x1p-40;
// Least product of how full a triangle is (doubled area over longest side squared) and how squarely it stands to an
// axis. The rounding of where an edge of a box at distance D meets the triangle's plane is below 64 * 2^-53 * D over
// that product, so far below the margin.
constexpr double kLeastSoundness = 0x1p-22;

std::array<double, 3> numbersOf(const Vector3<double>& v) { return {v.x, v.y, v.z}; }

void widen(const Vector3<double>& v, AxisBox& box) {
    box.vMin = {std::min(box.vMin.x, v.x), std::min(box.vMin.y, v.y), std::min(box.vMin.z, v.z)};
    box.vMax = {std::max(box.vMax.x, v.x), std::max(box.vMax.y, v.y), std::max(box.vMax.z, v.z)};
}

unsigned divisionsOfAxis(std::size_t low, std::size_t high, std::size_t triangles) {
    const double ratio = static_cast<double>(low + high) / static_cast<double>(triangles);
    return ratio > kMaxDuplication || low < kMinTrianglesOfHalf || high < kMinTrianglesOfHalf ? 1 : 2;
}

/// Six halves of `box`: for each axis the part below its middle and the part above.
std::array<AxisBox, 6> halvesOf(const AxisBox& box) {
    const Vector3<double> middle = box.vMin + (box.vMax - box.vMin) / 2.0;
    std::array<AxisBox, 6> halves;
    halves.fill(box);
    halves[0].vMax.x = middle.x;
    halves[1].vMin.x = middle.x;
    halves[2].vMax.y = middle.y;
    halves[3].vMin.y = middle.y;
    halves[4].vMax.z = middle.z;
    halves[5].vMin.z = middle.z;
    return halves;
}

/// Box of the corners, wider by `margin` on all sides.
AxisBox boxAround(const std::array<Vector3<double>, 3>& corner, double margin) {
    const Vector3<double> wide(margin, margin, margin);
    AxisBox box{corner[0], corner[0]};
    widen(corner[1], box);
    widen(corner[2], box);
    return {box.vMin - wide, box.vMax + wide};
}

/// Whether the piece of a line from `from` to `from` + `along` comes nearer to the box than the margin; may be told so
/// of one that does not.
bool comesNear(const Vector3<double>& from, const Vector3<double>& along, const AxisBox& box, double margin) {
    const auto start = numbersOf(from);
    const auto step = numbersOf(along);
    const auto low = numbersOf(box.vMin);
    const auto high = numbersOf(box.vMax);
    double enter = 0.0;
    double leave = 1.0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double below = low[axis] - margin - start[axis];
        const double above = high[axis] + margin - start[axis];
        if (std::fabs(step[axis]) < margin * 0x1p-10) {
            // Moves by nothing against the margin.
            if (below > 0.0 || above < 0.0) return false;
            continue;
        }
        const double first = below / step[axis];
        const double second = above / step[axis];
        enter = std::max(enter, std::min(first, second));
        leave = std::min(leave, std::max(first, second));
    }
    return enter <= leave * (1.0 + 0x1p-20);
}

bool isLevelOrSteep(const Vector3<double>& side) {
    const auto is = [](double step) { return step == 0.0 || std::fabs(step) > kLeastSlope; };
    return is(side.x) && is(side.y) && is(side.z);
}

/// Whether a * b - c * d is 0 however the products are rounded, and if `b` and `c`, or `a` and `d`, are scaled first.
bool isZeroProduct(double a, double b, double c, double d) {
    if ((a == 0.0 || b == 0.0) && (c == 0.0 || d == 0.0)) return true;
    return (a == d && b == c) || (a == -d && b == -c);
}

}  // namespace

GroundSplitting::GroundSplitting(const GroundTriangles& triangles, const AxisBox& box)
    : m_triangles(triangles), m_box(box) {
    const Vector3<double> half = box.vMax / 2.0 - box.vMin / 2.0;
    m_middle = box.vMin + half;
    m_radius = std::max({half.x, half.y, half.z});
    const double offset = std::max({std::fabs(m_middle.x), std::fabs(m_middle.y), std::fabs(m_middle.z)});
    m_isModerate = m_radius > kLeastRadius && m_radius < kMostRadius && offset < kMostRadius;
    m_margin = kMarginOfRadius * m_radius + kMarginOfOffset * offset;
    for (const auto& corners : triangles.corners)
        for (const std::uint32_t vertex : corners) widen(triangles.vertices[vertex], m_box);
}

std::vector<SplitEntry> GroundSplitting::entriesOf(const TriangleNumbers& numbers) const {
    std::vector<SplitEntry> entries;
    entries.reserve(numbers.size());
    for (const std::uint32_t number : numbers) entries.push_back(entryOf(number));
    return entries;
}

SplitEntry GroundSplitting::entryOf(std::uint32_t number) const {
    SplitEntry entry{{}, {}};
    entry.low[3] = std::bit_cast<float>(number);
    if (!m_isModerate) return entry;
    const auto a = numbersOf(m_triangles.corner(number, 0) - m_middle);
    const auto b = numbersOf(m_triangles.corner(number, 1) - m_middle);
    const auto c = numbersOf(m_triangles.corner(number, 2) - m_middle);
    for (unsigned axis = 0; axis < 3; ++axis) {
        entry.low[axis] = static_cast<float>(std::min({a[axis], b[axis], c[axis]}));
        entry.high[axis] = static_cast<float>(std::max({a[axis], b[axis], c[axis]}));
    }
    entry.high[3] = isSound(number) ? 1.0F : 0.0F;
    return entry;
}

// An edge of a box along an axis meets the plane of a triangle where a quotient says that rounds badly when the
// triangle stands edge-on to the axis. When it does so exactly, the determinant is exactly 0, which is no hit.
bool GroundSplitting::isSound(std::uint32_t number) const {
    const Vector3<double>& a = m_triangles.corner(number, 0);
    const Vector3<double> p = m_triangles.corner(number, 1) - a;
    const Vector3<double> q = m_triangles.corner(number, 2) - a;
    const Vector3<double> r = m_triangles.corner(number, 2) - m_triangles.corner(number, 1);
    const Vector3<double> normal = util::Cross(p, q);
    const double longest = std::max({util::Dot(p, p), util::Dot(q, q), util::Dot(r, r)});
    // Full times square: the area on the axis' plane over the longest side squared.
    const double least = kLeastSoundness * longest;
    if (!(longest > m_radius * m_radius * kLeastThickness * kLeastThickness)) return false;
    if (!isLevelOrSteep(p) || !isLevelOrSteep(q) || !isLevelOrSteep(r)) return false;
    const bool x = std::fabs(normal.x) > least || isZeroProduct(p.y, q.z, p.z, q.y);
    const bool y = std::fabs(normal.y) > least || isZeroProduct(p.z, q.x, p.x, q.z);
    const bool z = std::fabs(normal.z) > least || isZeroProduct(p.x, q.y, p.y, q.x);
    return x && y && z;
}

// Where a border of the box is the mesh's own, no triangle lies beyond it, so there needs to be no margin.
GroundSplitting::Borders GroundSplitting::bordersOf(const AxisBox& box) const {
    const auto low = numbersOf(box.vMin);
    const auto high = numbersOf(box.vMax);
    const auto least = numbersOf(m_box.vMin);
    const auto most = numbersOf(m_box.vMax);
    const auto middle = numbersOf(m_middle);
    Borders borders{allFour(-kInfinity), allFour(kInfinity), allFour(-kInfinity), allFour(kInfinity)};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double from = low[axis] - middle[axis];
        const double to = high[axis] - middle[axis];
        if (low[axis] > least[axis]) borders.inLow[axis] = static_cast<float>(from + m_margin);
        if (high[axis] < most[axis]) borders.inHigh[axis] = static_cast<float>(to - m_margin);
        borders.outLow[axis] = static_cast<float>(from - m_margin);
        borders.outHigh[axis] = static_cast<float>(to + m_margin);
    }
    return borders;
}

GroundSplitting::Place GroundSplitting::placeOf(const SplitEntry& entry, const Borders& borders) {
    return {bitsOf((entry.low >= borders.inLow) & (entry.low <= borders.inHigh)) & 7U,
            bitsOf((entry.high >= borders.inLow) & (entry.high <= borders.inHigh)) & 7U,
            bitsOf((entry.high < borders.outLow) | (entry.low > borders.outHigh)) & 7U};
}

// A triangle whose box is within the cell on all axes has its corners there. With its box within on two axes, the
// corner that is lowest or highest on the third is in the cell where that end of the box is.
bool GroundSplitting::overlaps(const SplitEntry& entry, const Place& place, const AxisBox& box) const {
    if (entry.isSound() && place.apart != 0) return false;
    const unsigned missing = 7U & ~(place.lowIn & place.highIn);
    if (missing == 0) return true;
    const bool isOneAxis = (missing & (missing - 1)) == 0;
    if (isOneAxis && ((place.lowIn | place.highIn) & missing) != 0) return true;
    return entry.isSound() ? overlapsNearby(entry.number(), box) : overlapsExactly(entry.number(), box);
}

bool GroundSplitting::overlapsExactly(std::uint32_t number, const AxisBox& box) const {
    return triangleOverlapsBox(box, m_triangles.corner(number, 0), m_triangles.corner(number, 1),
                               m_triangles.corner(number, 2));
}

// The exact tests of a sound triangle, without those on edges of the box and sides of the triangle that pass the other
// by more than the margin.
bool GroundSplitting::overlapsNearby(std::uint32_t number, const AxisBox& box) const {
    const std::array<Vector3<double>, 3> corner{m_triangles.corner(number, 0), m_triangles.corner(number, 1),
                                                m_triangles.corner(number, 2)};
    if (boxContainsCorner(box, corner[0], corner[1], corner[2])) return true;
    const std::array<BoxEdge, 12> edges = edgesOfBox(box);
    const AxisBox around = boxAround(corner, m_margin);
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const Vector3<double>& at = edges[i].corner;
        const bool x = i < 4 || (at.x >= around.vMin.x && at.x <= around.vMax.x);
        const bool y = (i >= 4 && i < 8) || (at.y >= around.vMin.y && at.y <= around.vMax.y);
        const bool z = i >= 8 || (at.z >= around.vMin.z && at.z <= around.vMax.z);
        double t = 0.0;
        if (x && y && z && lineMeetsTriangle(corner[0], corner[1], corner[2], at, edges[i].along, t) && t >= 0.0 &&
            t <= 1.0)
            return true;
    }
    for (std::size_t i = 0; i < 3; ++i) {
        const Vector3<double>& from = corner[i];
        const Vector3<double> along = corner[(i + 1) % 3] - from;
        double t = 0.0;
        if (comesNear(from, along, box, m_margin) && lineMeetsBox(box, from, along, t) && t >= 0.0 && t <= 1.0)
            return true;
    }
    return false;
}

bool GroundSplitting::isSplittable(const AxisBox& box) const {
    if (!m_isModerate) return false;
    const double least = m_radius * kLeastThickness;
    for (const double side : numbersOf(box.vMax - box.vMin))
        if (side != 0.0 && !(side > least)) return false;
    return true;
}

// What lies within the node, on one side of its middle on each axis, and clear of the middle by the margin, has all its
// corners in that octant and overlaps no other: no half on the other side, and no cell, whose borders differ from those
// of halves by rounding alone. If it lies across the middle of one axis, the corners at its two ends are in the two
// octants; if it sticks out of the node on one axis, the corner at its other end is in the octant. The upper border of
// the last cell may come out lower than the node's; so it is taken with its margin unless both are the same.
std::vector<GroundSplitting::Octant> GroundSplitting::octantsOf(const AxisBox& box,
                                                                const std::vector<SplitEntry>& entries) const {
    std::vector<Octant> octants(entries.size(), kUnsure);
    if (!isSplittable(box)) return octants;
    const auto low = numbersOf(box.vMin);
    const auto high = numbersOf(box.vMax);
    const auto middle = numbersOf(m_middle);
    Borders borders = bordersOf(box);
    FourFloats below{};
    FourFloats above{};
    unsigned flat = 0;
    for (unsigned axis = 0; axis < 3; ++axis) {
        const double size = high[axis] - low[axis];
        const double half = low[axis] + size / 2.0;
        below[axis] = static_cast<float>(half - middle[axis] - m_margin);
        above[axis] = static_cast<float>(half - middle[axis] + m_margin);
        if (size == 0.0) {
            flat |= 1U << axis;
            // Whatever is inside is in both halves.
            below[axis] = kInfinity;
            above[axis] = -kInfinity;
        } else if (low[axis] + size < high[axis] || half + size / 2.0 < high[axis]) {
            borders.inHigh[axis] = static_cast<float>(high[axis] - middle[axis] - m_margin);
        }
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const SplitEntry& entry = entries[i];
        const unsigned lowIn = bitsOf((entry.low >= borders.inLow) & (entry.low <= borders.inHigh));
        const unsigned highIn = bitsOf((entry.high >= borders.inLow) & (entry.high <= borders.inHigh));
        const unsigned clearOfUpper = bitsOf(entry.high < below) & ~flat;
        const unsigned clearOfLower = bitsOf(entry.low > above) & ~flat;
        const unsigned both = bitsOf((entry.low < below) & (entry.high > above)) & 7U;
        const unsigned told = clearOfUpper | clearOfLower | both;
        // Axes on which there may be no corner in every octant that the box of the entry reaches into.
        const unsigned out = 7U & ~(lowIn & highIn);
        const unsigned loose = out | (both & ~flat);
        const bool isOneEndIn = ((lowIn | highIn) & out) == out && (out & both) == 0;
        if (entry.isSound() && (told & 7U) == 7U && isOneEndIn && (loose & (loose - 1)) == 0)
            octants[i] = static_cast<Octant>((clearOfLower & 7U) | both << 3);
    }
    return octants;
}

std::array<std::size_t, 6> GroundSplitting::countHalves(const AxisBox& box, const std::vector<SplitEntry>& entries,
                                                        const std::vector<Octant>& octants) const {
    const std::array<AxisBox, 6> halves = halvesOf(box);
    const bool byBoxes = isSplittable(box);
    // Of each half only one axis differs from the node's.
    const Borders whole = bordersOf(box);
    const Vector3<double> middle(halves[0].vMax.x, halves[2].vMax.y, halves[4].vMax.z);
    const std::array<Borders, 2> sides{bordersOf({box.vMin, middle}), bordersOf({middle, box.vMax})};
    std::array<std::size_t, kOctants> inOctant{};
    std::array<std::size_t, 6> count{};
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (octants[i] != kUnsure) {
            ++inOctant[octants[i]];
            continue;
        }
        const SplitEntry& entry = entries[i];
        const Place all = placeOf(entry, whole);
        const std::array<Place, 2> side{placeOf(entry, sides[0]), placeOf(entry, sides[1])};
        for (unsigned half = 0; half < 6; ++half) {
            const unsigned axis = 1U << (half / 2);
            const Place& own = side[half % 2];
            const Place place{(all.lowIn & ~axis) | (own.lowIn & axis), (all.highIn & ~axis) | (own.highIn & axis),
                              (all.apart & ~axis) | (own.apart & axis)};
            if (byBoxes ? overlaps(entry, place, halves[half]) : overlapsExactly(entry.number(), halves[half]))
                ++count[half];
        }
    }
    for (unsigned octant = 0; octant < kOctants; ++octant)
        for (unsigned axis = 0; axis < 3; ++axis) {
            const bool isBoth = (octant >> (axis + 3) & 1U) != 0;
            const bool isUpper = (octant >> axis & 1U) != 0;
            if (isBoth || !isUpper) count[2 * axis] += inOctant[octant];
            if (isBoth || isUpper) count[2 * axis + 1] += inOctant[octant];
        }
    return count;
}

/// The cells of a split in their order, x outermost.
std::vector<SplitCell> GroundSplitting::emptyCells(const AxisBox& box, const Divisions& n) {
    const Vector3<double> size = box.vMax - box.vMin;
    const Vector3<double> cellSize(size.x / n[0], size.y / n[1], size.z / n[2]);
    std::vector<SplitCell> cells;
    cells.reserve(kMaxCells);
    for (unsigned i = 0; i < n[0]; ++i)
        for (unsigned j = 0; j < n[1]; ++j)
            for (unsigned k = 0; k < n[2]; ++k) {
                const Vector3<double> moved(i * cellSize.x, j * cellSize.y, k * cellSize.z);
                cells.push_back({{box.vMin + moved, box.vMin + cellSize + moved}, {}});
            }
    return cells;
}

unsigned GroundSplitting::cellsOf(unsigned octant, const Divisions& n) {
    std::array<unsigned, 3> from{};
    std::array<unsigned, 3> to{};
    unsigned across = 0;
    for (unsigned axis = 0; axis < 3; ++axis) {
        if (n[axis] == 1) continue;
        const bool isBoth = (octant >> (axis + 3) & 1U) != 0;
        from[axis] = isBoth ? 0U : octant >> axis & 1U;
        to[axis] = isBoth ? 1U : from[axis];
        if (isBoth) ++across;
    }
    if (across > 1) return 0;
    unsigned cells = 0;
    for (unsigned i = from[0]; i <= to[0]; ++i)
        for (unsigned j = from[1]; j <= to[1]; ++j)
            for (unsigned k = from[2]; k <= to[2]; ++k) cells |= 1U << ((i * n[1] + j) * n[2] + k);
    return cells;
}

std::vector<SplitCell> GroundSplitting::cellsOf(const AxisBox& box, const std::vector<SplitEntry>& entries) const {
    const std::vector<Octant> octants = octantsOf(box, entries);
    const std::array<std::size_t, 6> count = countHalves(box, entries, octants);
    const Divisions n{divisionsOfAxis(count[0], count[1], entries.size()),
                      divisionsOfAxis(count[2], count[3], entries.size()),
                      divisionsOfAxis(count[4], count[5], entries.size())};
    std::vector<SplitCell> cells = emptyCells(box, n);
    std::vector<Borders> borders;
    for (SplitCell& cell : cells) {
        borders.push_back(bordersOf(cell.box));
        cell.entries.reserve(entries.size() / cells.size() + entries.size() / 16);
    }
    std::array<unsigned, kOctants> cellsOfOctant{};
    for (unsigned octant = 0; octant < kOctants; ++octant) cellsOfOctant[octant] = cellsOf(octant, n);
    const bool byBoxes = isSplittable(box);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const SplitEntry& entry = entries[i];
        unsigned sure = octants[i] == kUnsure ? 0U : cellsOfOctant[octants[i]];
        if (sure != 0) {
            for (; sure != 0; sure &= sure - 1)
                cells[static_cast<std::size_t>(std::countr_zero(sure))].entries.push_back(entry);
            continue;
        }
        for (std::size_t c = 0; c < cells.size(); ++c)
            if (byBoxes ? overlaps(entry, placeOf(entry, borders[c]), cells[c].box)
                        : overlapsExactly(entry.number(), cells[c].box))
                cells[c].entries.push_back(entry);
    }
    for (const SplitCell& cell : cells)
        if (cell.entries.size() >= entries.size()) return {};
    std::erase_if(cells, [](const SplitCell& cell) { return cell.entries.empty(); });
    return cells;
}

}  // namespace ond::ovs::addon
