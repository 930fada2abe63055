// Random lines for comparing two forms of the ground tree: most of them aimed at where rounding decides.
#pragma once

#include <array>
#include <vector>

#include "ground/plain/PlainGroundTree.h"
#include "ground/plain/PlainLineTests.h"
#include "util/PinnedRandom.h"

namespace ond::test {

struct TrialRay {
    util::Vector3<double> origin;
    util::Vector3<double> direction;
};

/// Draws lines that have to do with the triangles and boxes of a tree.
class TrialRays {
  public:
    /// @param tree must outlive this
    explicit TrialRays(const plain::PlainGroundTree& tree);

    /// Any of the kinds.
    [[nodiscard]] TrialRay ray(PinnedRandom& random) const;
    /// Nearly along a face of a box, past one of its edges.
    [[nodiscard]] TrialRay grazingRay(PinnedRandom& random) const;
    /// Through borders, corners and middles of cells of the tree, exactly or one step of doubles beside them.
    [[nodiscard]] TrialRay borderRay(PinnedRandom& random) const;
    /// In the plane of a triangle, or next to it, through the cell of a leaf that lists the triangle.
    [[nodiscard]] TrialRay planeRay(PinnedRandom& random) const;
    /// Past a triangle by about what the rounding of the exact test amounts to there.
    [[nodiscard]] TrialRay narrowlyPastRay(PinnedRandom& random) const;
    /// The box of a node.
    [[nodiscard]] plain::AxisBox box(PinnedRandom& random) const;
    /// One of the tree's triangles; of none, zeros.
    [[nodiscard]] std::array<util::Vector3<double>, 3> triangle(PinnedRandom& random) const;

  private:
    /// At a point of a triangle, its plane or a box.
    [[nodiscard]] TrialRay aimedRay(PinnedRandom& random) const;
    /// In the plane of a face of a box but for a component next to nothing.
    [[nodiscard]] TrialRay residueRay(PinnedRandom& random) const;
    [[nodiscard]] util::Vector3<double> target(PinnedRandom& random,
                                               const std::array<util::Vector3<double>, 3>& triangle) const;
    [[nodiscard]] util::Vector3<double> direction(PinnedRandom& random, const util::Vector3<double>& target,
                                                  const std::array<util::Vector3<double>, 3>& triangle) const;
    [[nodiscard]] double length(PinnedRandom& random) const;
    /// Of the origin from the target, in directions.
    [[nodiscard]] double distance(PinnedRandom& random) const;

    const plain::PlainGroundTree& m_tree;
    std::vector<plain::AxisBox> m_boxes;
    std::vector<const plain::PlainGroundTree*> m_leaves;
    double m_size;  ///< of the root's box
};

}  // namespace ond::test
