// Finds what a walk through the ground tree would find, without the walk.
//
// All triangles that the leaves of the tree list stand here in a second tree, one of sixteen boxes a node, each
// triangle once. A line goes to the triangles that it may come near, in no order, and the exact test says which of them
// it hits. Each triangle knows the leaves that list it. The walk comes to a leaf if the line meets the cells of the
// leaf and of everything above it, which single precision proves or, where it cannot, the exact tests on these cells
// tell. A single hit is the answer if the walk comes to one of its leaves; of more hits, or where a hit has many
// leaves, the cells are searched in the order of the walk for the first leaf that lists one and is come to.
//
// Near is what cannot be ruled out with a margin. That is safe for triangles that do not stand edge-on to the line, for
// then rounding cannot make the exact test take a point outside for one inside. Boxes therefore know a cone that holds
// the normals of the triangles in them; to keep cones narrow, triangles are grouped by the axis that their normals are
// nearest to. Where a cone comes too near a right angle with the line, a triangle may be hit although the line passes
// by its box: then the line runs along the plane of the triangle, and through a cell of a leaf that lists it, for the
// walk comes to no other. Of slivers only the latter counts.
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

    [[nodiscard]] const GroundRayTables& tables() const { return m_tables; }

  private:
    using Query = Answer (*)(const GroundRayTables&, const util::Vector3<double>& origin,
                             const util::Vector3<double>& direction, Found& found);

    GroundRayTables m_tables;
    Query m_query;
};

}  // namespace ond::ovs::addon
