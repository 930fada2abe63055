// What the index beside a ground tree consists of: boxes and triangles in groups of eight, which one instruction each
// can compare where the processor has lanes enough.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

#include "ground/GroundTriangles.h"
#include "ground/LargePages.h"
#include "ground/LineTests.h"

namespace ond::ovs::addon {

/// Eight single-precision numbers. Only for what rules things out with a margin: answers come from doubles.
using EightFloats = float __attribute__((vector_size(32)));

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
    void set(int lane, const std::array<float, 3>& low, const std::array<float, 3>& high) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            border[axis][lane] = low[axis];
            border[axis + 3][lane] = high[axis];
        }
    }
    /// Makes a box that every line may meet.
    void setEverything(int lane) { set(lane, {-kInfinity, -kInfinity, -kInfinity}, {kInfinity, kInfinity, kInfinity}); }
    /// Makes a box that no line surely meets.
    void setUnsure(int lane) {
        constexpr float nan = std::numeric_limits<float>::quiet_NaN();
        set(lane, {nan, nan, nan}, {nan, nan, nan});
    }

  private:
    static constexpr float kInfinity = std::numeric_limits<float>::infinity();
};

/// Eight triangles, a lane each. Coordinates as above.
struct alignas(64) EightTriangles {
    /// First corner, and from it to the second and to the third, along x, y, z.
    std::array<EightFloats, 3> corner{};
    std::array<EightFloats, 3> second{};
    std::array<EightFloats, 3> third{};
    /// Which triangles they are, for the exact test.
    struct Name {
        std::array<std::uint32_t, 3> corners{};  ///< in the vertices of the ground
        std::uint32_t number = kNone;            ///< in its triangles; kNone in a lane without one
    };
    std::array<Name, 8> name{};
    /// Longest side of the eight.
    float longest = 0.0F;

    static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();
};

/// What stands under a box: the two topmost bits tell the kind, the rest is the number, in `inner` or in `nodes`.
namespace ground_child {
inline constexpr std::uint32_t kKind = 3U << 30;
inline constexpr std::uint32_t kInner = 0U << 30;      ///< inner node of the tree
inline constexpr std::uint32_t kLeaf = 1U << 30;       ///< leaf of the tree
inline constexpr std::uint32_t kBoxes = 2U << 30;      ///< boxes below a leaf
inline constexpr std::uint32_t kTriangles = 3U << 30;  ///< up to eight triangles of a leaf
inline constexpr std::uint32_t kSafe = 1U << 29;       ///< on the way only: all normals below are safe with the line
inline constexpr std::uint32_t kMost = kSafe - 1;      ///< largest number
}  // namespace ground_child

/// Up to eight parts of what a node of the tree, or a box below a leaf, holds: the boxes of the triangles in each.
struct GroundBoxes {
    EightBoxes contents;
    std::array<std::uint32_t, 8> child{};
};

/// The cones that hold the normals of the triangles in each of eight parts.
struct GroundCones {
    /// Middles along x, y, z, unit length.
    std::array<EightFloats, 3> axis{};
    /// Least squared cosine to a line that all normals are safe with; above 1 if there is none, below 0 where there is
    /// nothing.
    EightFloats leastSquare{-1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F, -1.0F};
};

/// What is asked of an inner node of the tree while normals are not known to be safe.
struct GroundGuard {
    GroundCones cones;
    EightBoxes cells;  ///< the children's
};

/// The cells of a leaf and of the seven nodes above it; the root's again where there are no more.
struct GroundPath {
    EightBoxes boxes;
    std::uint32_t next = 0;  ///< the path of what is above these; kEnd when the root is among them

    static constexpr std::uint32_t kEnd = 0xffffffffU;
};

/// A leaf of the tree. Its parts hold triangles with similar normals.
struct GroundLeaf {
    GroundBoxes parts;
    GroundPath path;
    GroundCones cones;
    /// Triangles that are tested always, in `odd`.
    std::uint32_t firstOdd = 0;
    std::uint32_t oddCount = 0;
    /// In `cells`.
    std::uint32_t cell = 0;
};

/// A node of the tree.
struct GroundCell {
    AxisBox box;
    std::uint32_t parent;  ///< its own number in the root
};

/// Leaves of the tree, each with what is below it right behind it, so that a line that has come to a leaf finds the
/// rest nearby. Numbered in units of 64 bytes.
class GroundNodes {
  public:
    /// Adds a node; the number tells where.
    template <typename Node>
    [[nodiscard]] std::uint32_t add(const Node& node) {
        static_assert(std::is_trivially_copyable_v<Node> && alignof(Node) <= sizeof(Unit));
        const std::size_t at = m_units.size();
        m_units.resize(at + unitsOf<Node>());
        std::memcpy(m_units[at].bytes.data(), &node, sizeof(Node));
        return static_cast<std::uint32_t>(at);
    }
    /// @param number of a node of this kind
    template <typename Node>
    [[nodiscard]] const Node& at(std::uint32_t number) const {
        return *std::launder(reinterpret_cast<const Node*>(m_units[number].bytes.data()));
    }
    /// The same, to be changed. Adding moves nodes.
    template <typename Node>
    [[nodiscard]] Node& at(std::uint32_t number) {
        return *std::launder(reinterpret_cast<Node*>(m_units[number].bytes.data()));
    }
    [[nodiscard]] const void* address(std::uint32_t number) const { return &m_units[number]; }
    [[nodiscard]] std::size_t size() const { return m_units.size(); }
    void reserve(std::size_t units) { m_units.reserve(units); }
    /// Gives back what is not used, if it is much.
    void shrink() {
        if (m_units.capacity() / 8 > m_units.size() / 7) m_units.shrink_to_fit();
    }

    /// How many units a node takes.
    template <typename Node>
    [[nodiscard]] static constexpr std::size_t unitsOf() {
        return (sizeof(Node) + sizeof(Unit) - 1) / sizeof(Unit);
    }

  private:
    struct alignas(64) Unit {
        std::array<std::byte, 64> bytes;
    };
    std::vector<Unit, LargePages<Unit>> m_units;
};

struct GroundRayTables {
    std::shared_ptr<const GroundTriangles> all;
    std::vector<GroundBoxes> inner;   ///< inner nodes of the tree
    std::vector<GroundGuard> guards;  ///< of `inner`
    GroundNodes nodes;                ///< leaves and what is below them
    std::vector<std::uint32_t> odd;
    std::vector<GroundCell> cells;
    std::vector<GroundPath> paths;  ///< above those of leaves
    std::uint32_t root = 0;
    util::Vector3<double> middle;
    double radius = 0.0;  ///< half the longest side of the root
    double offset = 0.0;  ///< largest coordinate of the middle
};

}  // namespace ond::ovs::addon
