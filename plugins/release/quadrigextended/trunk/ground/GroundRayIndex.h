// Finds what a walk through the ground tree would find, without the walk.
//
// All triangles that the leaves of the tree list stand here in a second tree, one of sixteen boxes a node, each
// triangle once. A line goes to the triangles that it may come near, in no order. Each triangle knows the leaves that
// list it, which are numbered in the order of the walk. The walk comes to a leaf if the line meets the cells of the
// leaf and of everything above it, which single precision proves or, where it cannot, the exact tests on these cells
// tell. The answer is the first triangle that the exact test hits in the first leaf come to that lists one. Leaves of
// triangles with many of them are found by searching the cells in the order of the walk.
//
// Near is what cannot be ruled out with a margin. That is safe for triangles that do not stand edge-on to the line, for
// then rounding cannot make the exact test take a point outside for one inside. Where a triangle does, it may be hit
// although the line passes by its box: then the line runs along the plane of the triangle, and through a cell of a leaf
// that lists it, for the walk comes to no other. Lines that are not far from upright are told apart by the square of a
// grid that they come to one unit lower. Groups of triangles know the squares with lines that come to them and may be
// edge-on to a triangle in a cell that they come to as well, which tells that most lines are not. Otherwise the leaves
// are looked for: cells know the squares with lines that may be edge-on to triangles in them, and for more level lines
// a cone that holds the normals of these triangles and how upright they are. Leaves know the planes of steep triangles.
// Those that do not stand steeply are looked at for level lines only, without planes. Of slivers nothing is known; the
// exact test tells.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "ground/GroundRayTables.h"
#include "ond/util/Vector3.h"

namespace ond::ovs::addon {

class GroundMeshTreeNode;

class GroundRayIndex {
  public:
    enum class Answer {
        hit,
        miss,
        unknown,  ///< for the walk to say: sizes at the ends of the range of doubles
    };

    struct Found {
        double t;                      ///< parameter on the line
        util::Vector3<double> across;  ///< (b - a) x (c - a) of the triangle
    };

    /// Which instructions queries are made of. All give the same to the bit.
    enum class Lanes {
        best,    ///< the fastest that this processor has
        eight,   ///< the fastest of eight lanes at most
        narrow,  ///< those that every processor has
    };

    /// Of the tree below `root`; null when sizes rule it out.
    [[nodiscard]] static std::shared_ptr<const GroundRayIndex> of(const GroundMeshTreeNode& root,
                                                                  Lanes lanes = Lanes::best);

    GroundRayIndex(GroundRayTables tables, Lanes lanes);

    /// @param found set on a hit; else it may have been changed
    [[nodiscard]] Answer query(const util::Vector3<double>& origin, const util::Vector3<double>& direction,
                               Found& found) const {
        return m_query(m_tables, origin, direction, found);
    }

    /// Whether the exact test may hit a triangle that the line is edge-on to; false is certain. Every other hit is
    /// where the line meets the triangle, but for what single precision cannot tell.
    [[nodiscard]] bool mayHitEdgeOn(const util::Vector3<double>& origin, const util::Vector3<double>& direction) const {
        return m_mayHitEdgeOn(m_tables, origin, direction);
    }

    [[nodiscard]] const GroundRayTables& tables() const { return m_tables; }

  private:
    using Query = Answer (*)(const GroundRayTables&, const util::Vector3<double>& origin,
                             const util::Vector3<double>& direction, Found& found);
    using EdgeOnQuery = bool (*)(const GroundRayTables&, const util::Vector3<double>& origin,
                                 const util::Vector3<double>& direction);

    GroundRayTables m_tables;
    Query m_query;
    EdgeOnQuery m_mayHitEdgeOn;
};

}  // namespace ond::ovs::addon
