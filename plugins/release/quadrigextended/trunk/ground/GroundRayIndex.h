// Finds what a walk through the ground tree would find, without the walk.
//
// The tree's nodes stand here with their children side by side, in the tree's order, each child with the box of its
// triangles; under each leaf there is a small tree of boxes over the leaf's triangles. A line goes to the leaves whose
// triangles it may come near, in the order of the walk; in a leaf, the exact test decides on the triangles that the
// line may hit, and the first of them in the leaf's list is taken. The walk would have taken it if the line meets the
// cells of the leaf and of everything above it, which single precision proves or, where it cannot, the exact tests on
// these cells tell.
//
// Near is what cannot be ruled out with a margin. That is safe for triangles that do not stand edge-on to the line, for
// then rounding cannot make the exact test take a point outside for one inside. Nodes therefore know a cone that holds
// the normals of their triangles. Where it comes too near a right angle with the line, their cell takes the place of
// the box of their triangles, for the walk comes to no triangle whose cell the line does not meet; in a leaf, which
// keeps its triangles in three groups by the axis that their normals are nearest to, all triangles of such a group are
// looked at, and so are all slivers.
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
        double t;                              ///< parameter on the line
        std::array<std::uint32_t, 3> corners;  ///< of the triangle, in the vertices of the ground
    };

    /// Which instructions queries are made of. All give the same to the bit.
    enum class Lanes {
        best,    ///< the fastest that this processor has
        narrow,  ///< those that every processor has
    };

    /// Of the tree below `root`, whose vertices it shares; null when sizes rule it out.
    [[nodiscard]] static std::shared_ptr<const GroundRayIndex> of(const GroundMeshTreeNode& root,
                                                                  Lanes lanes = Lanes::best);

    GroundRayIndex(GroundRayTables tables, Lanes lanes);

    /// @param found set on a hit
    [[nodiscard]] Answer query(const util::Vector3<double>& origin, const util::Vector3<double>& direction,
                               Found& found) const {
        return m_query(m_tables, origin, direction, found);
    }

  private:
    using Query = Answer (*)(const GroundRayTables&, const util::Vector3<double>& origin,
                             const util::Vector3<double>& direction, Found& found);

    GroundRayTables m_tables;
    Query m_query;
};

}  // namespace ond::ovs::addon
