// What must be known of a mesh shape before rays are cast at a few of its triangles instead of at all of them.
#pragma once

#include <cmath>
#include <vector>

#include "ground/BulletLibrary.h"
#include "ground/LeafTree.h"
#include "ond/util/Prefetch.h"

namespace ond::ovs::addon {

/// Most triangles that a survey sets apart.
inline constexpr int kMostOutliers = 64;

/// Taken once of a shape. Lengths in the shape's units.
///
/// Bullet's test of a triangle rounds, and it takes a triangle for a little larger than it is. For a sound triangle
/// both stay within kReachOfEdge of its longest edge (and within the last digits of the numbers involved), so that a
/// box query which is wider by that finds every triangle that could be hit in the box. The others are the outliers:
/// slivers and triangles so tiny that rounding alone decides, and a few that are so much larger than usual that all
/// queries would have to be wide for their sake. Triangles that no ray can hit, because they have no normal, are
/// neither.
class MeshSurvey {
  public:
    /// By how much of its longest edge a hit may lie beyond a sound triangle; half of it is what Bullet allows.
    static constexpr double kReachOfEdge = 5e-4;

    MeshSurvey() = default;
    /// @param corners of the mesh, `indices` three for each triangle of the shape
    /// @param shape with a quantised tree over these triangles; else the survey is not usable
    MeshSurvey(btBvhTriangleMeshShape& shape, const btVector3* corners, const int* indices, int triangles);

    /// False when there are too many outliers, or when the coordinates are too large to reason about.
    [[nodiscard]] bool isUsable() const { return m_usable; }
    /// Largest coordinate, sign aside.
    [[nodiscard]] double extent() const { return m_extent; }
    /// How far from the shape's origin, on each axis, a hit may lie for the above to hold.
    [[nodiscard]] double room() const { return 16.0 * m_extent + 1000.0; }
    /// No sound triangle that is no outlier has a longer edge.
    [[nodiscard]] double longestEdge() const { return m_longestEdge; }
    /// Leaves of the shape's tree, in the order of its nodes.
    [[nodiscard]] const std::vector<int>& outliers() const { return m_outliers; }
    /// Triangles by place. Every box is taken to overlap the outliers.
    [[nodiscard]] const LeafTree& leaves() const { return m_leaves; }

    /// Whether what is said of sound triangles holds for this one.
    /// @param squaredEdge of the longest edge
    [[nodiscard]] bool isSound(double squaredNormal, double squaredEdge) const {
        return squaredNormal >= kFlattest * kFlattest * squaredEdge * squaredEdge &&
               squaredNormal >= kRoundingOfHeight * room() * squaredEdge * std::sqrt(squaredEdge);
    }

  private:
    [[nodiscard]] const btVector3& corner(int triangle, int i) const { return m_corners[m_indices[3 * triangle + i]]; }

    // A triangle's height on its longest edge, as a part of that edge, below which its normal is too inexact.
    static constexpr double kFlattest = 1e-5;
    // Times distance and edge: what rounding makes of a squared height when a hit is as far away as that.
    static constexpr double kRoundingOfHeight = 1000.0 * 2.3e-16;

    void collectOutliers(btBvhTriangleMeshShape& shape);

    const btVector3* m_corners = nullptr;
    const int* m_indices = nullptr;
    int m_numNodes = 0;
    bool m_usable = false;
    double m_extent = 0.0;
    double m_longestEdge = 0.0;
    std::vector<int> m_outliers;
    LeafTree m_leaves;
};

/// Longest edge, squared.
[[nodiscard]] double squaredLongestEdge(const btVector3& a, const btVector3& b, const btVector3& c);

}  // namespace ond::ovs::addon
