// How a node of the ground tree is split: which triangles overlap its halves and its cells.
//
// Triangles far from the borders of a cell are decided by their boxes in single precision; everything else by the exact
// comparisons of LineTests. The outcome is that of the exact comparisons throughout: boxes decide only with margins
// wider than all rounding, and only where the exact tests cannot be led astray by rounding (a triangle that stands
// nearly edge-on to an axis, a mesh with sizes at the ends of the range of doubles).
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <vector>

#include "ground/FourFloats.h"
#include "ground/GroundTriangles.h"
#include "ground/LineTests.h"

namespace ond::ovs::addon {

/// A triangle on its way down the tree: its box relative to the middle of the mesh, rounded to nearest.
struct SplitEntry {
    /// Lower ends along x, y, z; the fourth lane holds the bits of the triangle's number.
    FourFloats low;
    /// Upper ends; the fourth lane is 1 when "its box is clear of the cell" proves that the exact tests find no
    /// overlap.
    FourFloats high;

    [[nodiscard]] std::uint32_t number() const {
        const float bits = low[3];
        return std::bit_cast<std::uint32_t>(bits);
    }
    [[nodiscard]] bool isSound() const { return high[3] == 1.0F; }
};

/// A part of a node: its box, and the triangles that overlap it in the order of the mesh.
struct SplitCell {
    AxisBox box;
    std::vector<SplitEntry> entries;
};

class GroundSplitting {
  public:
    /// @param triangles must outlive this object
    /// @param box of the node that the splitting starts from, finite
    GroundSplitting(const GroundTriangles& triangles, const AxisBox& box);

    /// Of triangles `numbers`, in that order.
    [[nodiscard]] std::vector<SplitEntry> entriesOf(const TriangleNumbers& numbers) const;
    /// The cells that a split of `box` gives; empty if the node is to stay a leaf.
    [[nodiscard]] std::vector<SplitCell> cellsOf(const AxisBox& box, const std::vector<SplitEntry>& entries) const;

  private:
    /// Borders of boxes along x, y and z, with the margin on their near side and on their far side.
    struct Borders {
        FourFloats inLow, inHigh;    ///< surely inside from here to there
        FourFloats outLow, outHigh;  ///< surely outside below and above
    };
    /// How an entry lies to borders; bit per axis.
    struct Place {
        unsigned lowIn;
        unsigned highIn;
        unsigned apart;
    };
    /// How many pieces each axis of a node is cut into, x, y, z: 1 or 2.
    using Divisions = std::array<unsigned, 3>;
    /// Where in a node an entry surely is. Bits 0 to 2: it is in the upper half of x, y, z. Bits 3 to 5: it is in both
    /// halves, on one axis at most but for those along which the node is flat.
    using Octant = std::uint8_t;
    static constexpr unsigned kOctants = 64;
    static constexpr Octant kUnsure = 0xff;

    [[nodiscard]] SplitEntry entryOf(std::uint32_t number) const;
    [[nodiscard]] bool isSound(std::uint32_t number) const;
    [[nodiscard]] Borders bordersOf(const AxisBox& box) const;
    [[nodiscard]] static Place placeOf(const SplitEntry& entry, const Borders& borders);
    [[nodiscard]] bool overlaps(const SplitEntry& entry, const Place& place, const AxisBox& box) const;
    [[nodiscard]] bool overlapsExactly(std::uint32_t number, const AxisBox& box) const;
    [[nodiscard]] bool overlapsNearby(std::uint32_t number, const AxisBox& box) const;
    [[nodiscard]] std::vector<Octant> octantsOf(const AxisBox& box, const std::vector<SplitEntry>& entries) const;
    [[nodiscard]] std::array<std::size_t, 6> countHalves(const AxisBox& box, const std::vector<SplitEntry>& entries,
                                                         const std::vector<Octant>& octants) const;
    [[nodiscard]] static std::vector<SplitCell> emptyCells(const AxisBox& box, const Divisions& n);
    /// Bit per cell that entries of an octant are surely in, and in no other; 0 where that is not sure.
    [[nodiscard]] static unsigned cellsOf(unsigned octant, const Divisions& n);
    [[nodiscard]] bool isSplittable(const AxisBox& box) const;

    const GroundTriangles& m_triangles;
    AxisBox m_box;  ///< holds all triangles and the first node
    util::Vector3<double> m_middle;
    double m_radius = 0.0;  ///< half the longest side
    double m_margin = 0.0;
    bool m_isModerate = false;  ///< sizes are such that boxes may decide
};

}  // namespace ond::ovs::addon
