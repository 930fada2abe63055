// What the index beside a ground tree consists of: boxes in groups of sixteen and triangles in groups of eight, which
// one instruction each can compare where the processor has lanes enough.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>
#include <vector>

#include "ground/GroundAims.h"
#include "ground/LargePages.h"
#include "ground/LineTests.h"
#include "ond/util/Vector3.h"

namespace ond::ovs::addon {

/// Eight single-precision numbers. Only for what rules things out with a margin: answers come from doubles.
using EightFloats = float __attribute__((vector_size(32)));

/// Eight whole numbers, or words of bits.
using EightInts = int __attribute__((vector_size(32)));

/// A single-precision number for each of x, y, z, and one that counts for nothing.
using AxisFloats = float __attribute__((vector_size(16)));

/// Eight axis-aligned boxes. Coordinates relative to the middle of the mesh, rounded to nearest.
struct alignas(64) EightBoxes {
    /// Lower borders along x, y, z, then upper ones; a lane per box.
    std::array<EightFloats, 6> border;

    /// Eight boxes that nothing meets.
    EightBoxes() : border{} {
        for (std::size_t axis = 0; axis < 3; ++axis)
            for (int lane = 0; lane < 8; ++lane) {
                border[axis][lane] = kInfinity;
                border[axis + 3][lane] = -kInfinity;
            }
    }
    void set(int lane, const AxisFloats& low, const AxisFloats& high) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            border[axis][lane] = low[axis];
            border[axis + 3][lane] = high[axis];
        }
    }
    /// Makes a box that no line surely meets.
    void setUnsure(int lane) {
        constexpr float nan = std::numeric_limits<float>::quiet_NaN();
        set(lane, AxisFloats{} + nan, AxisFloats{} + nan);
    }

  private:
    static constexpr float kInfinity = std::numeric_limits<float>::infinity();
};

/// Sixteen numbers in single precision, in halves.
using SixteenFloats = std::array<EightFloats, 2>;

/// Four double-precision numbers: for each of x, y, z, and one that counts for nothing.
using AxisDoubles = double __attribute__((vector_size(32)));

/// Eight triangles, a lane each, with what the exact test of each of them needs right behind.
struct alignas(64) EightTriangles {
    /// First corner, and from it to the second and to the third, along x, y, z. Coordinates as above; not a number in a
    /// lane without a triangle.
    std::array<EightFloats, 3> corner{};
    std::array<EightFloats, 3> second{};
    std::array<EightFloats, 3> third{};
    /// Which triangles of the ground they are; kNone in a lane without one.
    std::array<std::uint32_t, 8> number{};
    /// The leaf of the tree that lists it, in `leaves`; or kMany and where the list of such leaves begins, in numbers
    /// from the beginning of this.
    std::array<std::uint32_t, 8> leaf{};
    /// Their corners, in `vertices`.
    std::array<std::array<std::uint8_t, 3>, 8> corners{};
    /// Longest side of the eight.
    float longest = 0.0F;
    /// Squares with lines that come to the box of the eight and may be edge-on to triangles of leaves they come to.
    GroundAims edgeOn{};

    /// What stands behind begins here.
    static constexpr std::size_t kBytes = 400;

    static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();
    static constexpr std::uint32_t kMany = 1U << 31;

    /// How many leaves list a triangle that more than one does, then which, ascending.
    [[nodiscard]] const std::uint32_t* list(std::size_t lane) const {
        return std::launder(reinterpret_cast<const std::uint32_t*>(this) + (leaf[lane] & ~kMany));
    }
    /// The exact corners, those that triangles have in common once, in the coordinates of the ground.
    [[nodiscard]] const util::Vector3<double>* vertices() const {
        return std::launder(
            reinterpret_cast<const util::Vector3<double>*>(reinterpret_cast<const std::byte*>(this) + kBytes));
    }
};

static_assert(offsetof(EightTriangles, edgeOn) + sizeof(GroundAims) <= EightTriangles::kBytes &&
              EightTriangles::kBytes % alignof(util::Vector3<double>) == 0);

/// What stands under a box: the two topmost bits tell the kind, the rest is the number.
namespace ground_child {
inline constexpr std::uint32_t kKind = 3U << 30;
inline constexpr std::uint32_t kBoxes = 0U << 30;      ///< boxes, in `boxes` or `cellBoxes`
inline constexpr std::uint32_t kTriangles = 1U << 30;  ///< up to eight triangles, in `triangles`
inline constexpr std::uint32_t kLeaf = 3U << 30;       ///< a leaf of the tree, in `leaves`
/// Largest number: eight times as many count the triangles of groups.
inline constexpr std::uint32_t kMost = (1U << 29) - 1;
}  // namespace ground_child

/// Up to sixteen boxes around triangles with what stands under each.
struct alignas(64) GroundBoxes {
    static constexpr std::size_t kCount = 16;

    /// Lower borders along x, y, z, then upper ones; a lane per box. Coordinates relative to the middle of the mesh,
    /// rounded to nearest. Where there is no box the lower ones are above the upper ones.
    std::array<SixteenFloats, 6> border{};
    /// Eight triangles that are none where there is no box.
    std::array<std::uint32_t, kCount> child{};
};

/// The cones that hold the normals of the triangles in each of eight parts.
struct GroundCones {
    /// Middles along x, y, z, unit length.
    std::array<EightFloats, 3> axis{};
    /// Least squared cosine to a line that all normals are safe with; above 1 if there is none, below 0 where there is
    /// nothing.
    EightFloats leastSquare{-1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F};
};

/// One that holds all normals.
struct GroundCone {
    AxisFloats axis{};
    float leastSquare = 2.0F;
};

/// Up to eight cells of the tree, with what stands under each.
struct GroundCellBoxes {
    EightBoxes cells;
    /// Squares with lines that may be edge-on to triangles below: words of GroundAims, a lane per cell.
    std::array<EightInts, GroundAims::kWords> edgeOn{};
    EightInts firstLeaf{};  ///< of each cell
    /// The same as `child`, but for a leaf the first of its groups in `planes`; ground_child::kMost if it has none.
    std::array<std::uint32_t, 8> edgeChild{};
    GroundCones cones;      ///< around the normals of all triangles below
    EightFloats upright{};  ///< the least upward share of these normals
    std::array<std::uint32_t, 8> child{};
};

/// The planes of up to fifteen steep triangles that a leaf lists.
struct alignas(64) GroundPlanes {
    static constexpr std::size_t kCount = 15;
    static constexpr std::int16_t kScale = 32767;

    /// Normals of unit length, along x, y, z, in units of 1 / kScale; 0 where only the exact test can tell about a
    /// triangle. The last triangle fills the lanes behind it, too.
    std::array<std::array<std::int16_t, kCount + 1>, 3> normal{};
    /// Of the planes along the normals, from the middle of the leaf's steep triangles, in units of their reach /
    /// kScale.
    std::array<std::int16_t, kCount + 1> height{};

    /// The least upward share of a normal in the next group of the leaf, in these units; kEnd if there is none.
    [[nodiscard]] std::int16_t& next() { return normal[1][kCount]; }
    [[nodiscard]] std::int16_t next() const { return normal[1][kCount]; }
    static constexpr std::int16_t kEnd = kScale;
};

/// Which triangles these are: eight times the number of their group in `triangles`, plus the lane there.
using GroundPlaneTriangles = std::array<std::uint32_t, GroundPlanes::kCount>;

/// What a leaf lists, for lines that may be edge-on to it.
struct GroundLeafEdges {
    AxisFloats middle{};  ///< no corner of the steep ones is farther from here than `reach`
    float reach = 0.0F;
    std::uint32_t flats = 0;  ///< groups of eight with others, in `flats`, up to where those of the next leaf begin
};

/// The cells of a node of the tree and of the seven nodes above it; the root's again where there are no more.
struct GroundPath {
    EightBoxes boxes;
    std::array<std::uint32_t, 8> cells{};  ///< numbers in `cells`
    std::uint32_t next = 0;                ///< in `paths`, of what is above these; kEnd when the root is among them

    static constexpr std::uint32_t kEnd = 0xffffffffU;
};

/// Triangles in groups of eight, in one piece. Numbered in units of 64 bytes.
class GroundEights {
  public:
    /// The number tells where.
    /// @param lists what list() gives, from listsBehind() on
    [[nodiscard]] std::uint32_t add(const EightTriangles& eight, const std::vector<util::Vector3<double>>& vertices,
                                    const std::vector<std::uint32_t>& lists) {
        static_assert(std::is_trivially_copyable_v<EightTriangles> && sizeof(EightTriangles) % sizeof(Unit) == 0);
        const std::size_t at = m_units.size();
        const std::size_t bytes = vertices.size() * sizeof(util::Vector3<double>);
        const std::size_t listBytes = lists.size() * sizeof(std::uint32_t);
        const std::size_t used = std::max(sizeof eight, EightTriangles::kBytes + bytes + listBytes);
        m_units.resize(at + (used + sizeof(Unit) - 1) / sizeof(Unit));
        auto* memory = reinterpret_cast<std::byte*>(m_units.data() + at);
        std::memcpy(memory, &eight, sizeof eight);
        if (bytes > 0) std::memcpy(memory + EightTriangles::kBytes, vertices.data(), bytes);
        if (listBytes > 0) std::memcpy(memory + EightTriangles::kBytes + bytes, lists.data(), listBytes);
        return static_cast<std::uint32_t>(at);
    }
    /// Where lists begin behind so many corners.
    [[nodiscard]] static std::uint32_t listsBehind(std::size_t vertices) {
        return static_cast<std::uint32_t>((EightTriangles::kBytes + vertices * sizeof(util::Vector3<double>)) /
                                          sizeof(std::uint32_t));
    }
    [[nodiscard]] const EightTriangles& at(std::uint32_t number) const {
        return *std::launder(reinterpret_cast<const EightTriangles*>(m_units.data() + number));
    }
    [[nodiscard]] EightTriangles& at(std::uint32_t number) {
        return *std::launder(reinterpret_cast<EightTriangles*>(m_units.data() + number));
    }
    [[nodiscard]] const char* address(std::uint32_t number) const {
        return reinterpret_cast<const char*>(m_units.data() + number);
    }
    [[nodiscard]] std::size_t size() const { return m_units.size(); }
    /// Room for so many triangles that share their corners as those of a surface do.
    void reserveTriangles(std::size_t count) { m_units.reserve(count / 32 * 47 + 64); }
    /// Gives back what is not used, if it is much.
    void shrink() {
        if (m_units.capacity() / 16 > m_units.size() / 15) m_units.shrink_to_fit();
    }

  private:
    struct alignas(64) Unit {
        std::array<std::byte, 64> bytes;
    };
    std::vector<Unit, LargePages<Unit>> m_units;
};

struct GroundRayTables {
    /// A tree of boxes over all triangles that the leaves of the ground's tree list, each triangle once.
    std::vector<GroundBoxes, LargePages<GroundBoxes>> boxes;
    GroundEights triangles;
    std::uint32_t root = 0;
    /// The way to each leaf, in the order of the walk.
    std::vector<GroundPath, LargePages<GroundPath>> leaves;
    std::vector<GroundPath, LargePages<GroundPath>> paths;  ///< above those of leaves
    /// The cells of the ground's tree, in its order.
    std::vector<GroundCellBoxes, LargePages<GroundCellBoxes>> cellBoxes;
    std::vector<GroundLeafEdges, LargePages<GroundLeafEdges>> edges;  ///< per leaf, and one more
    std::vector<GroundPlanes, LargePages<GroundPlanes>> planes;
    std::vector<GroundPlaneTriangles, LargePages<GroundPlaneTriangles>> planeTriangles;
    std::vector<std::uint32_t, LargePages<std::uint32_t>> flats;  ///< numbers in `triangles`
    std::uint32_t cellRoot = 0;
    std::vector<AxisBox, LargePages<AxisBox>> cells;  ///< of the nodes of the tree
    util::Vector3<double> middle;
    double radius = 0.0;        ///< half the longest side of the root
    double offset = 0.0;        ///< largest coordinate of the middle
    AxisDoubles middleAxes{};   ///< the middle
    GroundCone normals;         ///< of all triangles
    float upright = 0.0F;       ///< their least upward share
    double nearDistance = 0.0;  ///< for lines that start within this from the middle:
    float nearMargin = 0.0F;    ///< more than marginAt()
};

namespace ground_line {
/// A triangle is steep if the upward share of its normal is less than this.
inline constexpr float kSteep = 0.866F;
/// A line is edge-on to no triangle with a larger upward share of the normal than the level share of the line, plus
/// this, which is more than kEdgeOn.
inline constexpr float kUprightSlack = 0.004F;
/// Cosine of a line and a normal below which the line counts as edge-on.
inline constexpr float kEdgeOn = 0x1p-9F + 1e-4F;
static_assert(kUprightSlack > kEdgeOn);
/// Lines that run along an axis by less than this, but not by nothing, are left to the walk: their determinants with
/// faces of boxes may be below the smallest normal number.
inline constexpr double kLeastSlope = 1e-200;
/// In half sizes of the mesh: from there on the origin of a line is far.
inline constexpr double kFar = 4.0;

/// Distance within which single precision cannot tell whether a line meets something: for its own rounding, for that of
/// the exact tests at the distance of the line's origin, and for that of the corners of boxes.
/// @param size half the mesh, and how far the point is from which the line is told
/// @param distance of the line's origin
[[nodiscard]] inline double marginAt(const GroundRayTables& tables, double size, double distance) {
    return 0x1p-20 * size + 0x1p-24 * (distance + tables.radius) + 0x1p-46 * tables.offset;
}
}  // namespace ground_line

}  // namespace ond::ovs::addon
