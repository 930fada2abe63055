#include "ground/MeshSurvey.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ond::ovs::addon {

namespace {

// Beyond it products of four coordinates come near to the ends of a double's range.
constexpr double kLargestExtent = 1e9;
// Times the edge of a usual triangle: edges that make queries wider by a few hundredths of that only. To look at their
// triangles in the wrong places would take longer.
constexpr double kOrdinary = 64.0;

/// Numbers of triangles by the binary order of magnitude of their longest edge.
class EdgeHistogram {
  public:
    void add(double squaredEdge) {
        ++m_counts[bin(squaredEdge)];
        ++m_count;
    }
    [[nodiscard]] int count() const { return m_count; }

    /// The least power of two that no more than `most` of the edges exceed.
    [[nodiscard]] double lengthWithFewAbove(int most) const {
        std::size_t i = m_counts.size();
        for (int above = 0; i > 0; --i) {
            above += m_counts[i - 1];
            if (above > most) break;
        }
        return std::ldexp(1.0, static_cast<int>(i) - kOffset);
    }

  private:
    static constexpr int kOffset = 64;

    static std::size_t bin(double squaredEdge) {
        const int exponent = std::ilogb(squaredEdge) / 2 + kOffset;
        return static_cast<std::size_t>(std::clamp(exponent, 0, 2 * kOffset - 1));
    }

    std::array<int, 2 * kOffset> m_counts{};
    int m_count = 0;
};

double largestCoordinate(const btVector3& v) { return v.absolute()[v.absolute().maxAxis()]; }

}  // namespace

double squaredLongestEdge(const btVector3& a, const btVector3& b, const btVector3& c) {
    return std::max({(b - a).length2(), (c - b).length2(), (a - c).length2()});
}

MeshSurvey::MeshSurvey(btBvhTriangleMeshShape& shape, const btVector3* corners, const int* indices, int triangles)
    : m_corners(corners), m_indices(indices), m_numNodes(2 * triangles - 1) {
    btOptimizedBvh* tree = shape.getOptimizedBvh();
    if (tree == nullptr || !tree->isQuantized() || tree->getQuantizedNodeArray().size() < m_numNodes) return;
    for (int i = 0; i < 3 * triangles; ++i) m_extent = std::max(m_extent, largestCoordinate(m_corners[m_indices[i]]));
    if (!(m_extent < kLargestExtent)) return;
    collectOutliers(shape);
}

void MeshSurvey::collectOutliers(btBvhTriangleMeshShape& shape) {
    const auto& nodes = shape.getOptimizedBvh()->getQuantizedNodeArray();
    const auto edgeOf = [this](int triangle) {
        return squaredLongestEdge(corner(triangle, 0), corner(triangle, 1), corner(triangle, 2));
    };
    const auto normalOf = [this](int triangle) {
        return (corner(triangle, 1) - corner(triangle, 0)).cross(corner(triangle, 2) - corner(triangle, 0));
    };
    const btVector3 kNone(0.0, 0.0, 0.0);
    EdgeHistogram histogram;
    int unsound = 0;
    for (int i = 0; i < (m_numNodes + 1) / 2; ++i) {
        const btVector3 normal = normalOf(i);
        if (normal == kNone) continue;
        const double edge = edgeOf(i);
        if (isSound(normal.length2(), edge))
            histogram.add(edge);
        else if (++unsound > kMostOutliers)
            return;
    }
    const double ordinary = kOrdinary * histogram.lengthWithFewAbove(histogram.count() / 2);
    m_longestEdge = std::min(histogram.lengthWithFewAbove(0),
                             std::max(histogram.lengthWithFewAbove(kMostOutliers - unsound), ordinary));
    for (int node = 0; node < m_numNodes; ++node) {
        if (!nodes[node].isLeafNode()) continue;
        const int triangle = nodes[node].getTriangleIndex();
        const btVector3 normal = normalOf(triangle);
        if (normal == kNone) continue;
        const double edge = edgeOf(triangle);
        if (!isSound(normal.length2(), edge) || edge > m_longestEdge * m_longestEdge) m_outliers.push_back(node);
    }
    m_leaves = LeafTree(&nodes[0], m_numNodes, m_corners, m_indices, m_outliers);
    m_usable = m_leaves.isUsable();
}

}  // namespace ond::ovs::addon
