// Spatial subdivision of the stored ground mesh, and the ray query on it.
//
// What the answers are is told by a walk through the tree: a query ends at the first triangle on the line that it looks
// at, which need not be the nearest and may lie behind the origin; callers start far above the ground. Two things
// beside the tree make it fast and change no answer: GroundSplitting decides most overlaps by boxes, and GroundRayIndex
// finds what the walk would have found.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "ground/GroundRayIndex.h"
#include "ground/GroundTriangles.h"
#include "ond/util/CMesh.h"
#include "ond/util/Vector3.h"

namespace ond::ovs::addon {

class GroundSplitting;
struct SplitEntry;

class GroundMeshTreeNode {
  public:
    /// A node with fewer triangles is a leaf.
    static constexpr std::size_t kMinTrianglesToSplit = 10;

    /// The node's share of space along the axes of the mesh, scene units. The root's holds every vertex; a
    /// child's is a cell of its parent's box, which its triangles may stick out of.
    util::Vector3<double> vMin;
    util::Vector3<double> vMax;
    /// Empty in a leaf.
    std::vector<GroundMeshTreeNode> aChildren;
    /// Three in a row a triangle. Inner nodes have theirs, too; queries read those of leaves.
    TriangleVertices aTriangleVertices;

    /// Makes this node the root of a tree over `mesh`, in place of what it was; an empty mesh gives an empty tree.
    ///
    /// Faces with an index outside the vertices, or with a coordinate that is not finite, are left out; vertices that
    /// are not finite do not count for the box. The tree keeps a copy of the vertices, one for all nodes.
    void buildFromMesh(const util::CMesh& mesh);

    /// Splits the node into up to eight equal cells of its box, and these likewise. An axis is split when each half has
    /// at least 3 triangles and both together at most 1.1 times those of the node. A triangle goes into each cell that
    /// it overlaps. A cell that takes all triangles of the node makes it a leaf; so every child has fewer than its
    /// parent, and the recursion ends.
    /// @param depth of this node, 0 at the root; limits nothing
    void subdivide(int depth);

    /// The first triangle on the line that a walk meets, depth first and each list from its front. Boxes that the line
    /// misses are passed over.
    /// @param direction any length but 0; its length is the unit of `t`
    /// @param t on a hit the parameter of the point, negative behind the origin; without one it may have been changed
    /// @param normal on a hit the unit normal (b - a) x (c - a) of the triangle, not turned towards the ray; may be
    /// null
    /// @return whether there is a hit
    bool rayQuery(const util::Vector3<double>& origin, const util::Vector3<double>& direction, double& t,
                  util::Vector3<double>* normal) const;

    /// Of the root of a tree that was built from a mesh; null for others, and where sizes rule it out.
    [[nodiscard]] const GroundRayIndex* index() const { return m_index.get(); }

  private:
    void setBoxFrom(const util::CMesh& mesh);
    [[nodiscard]] std::shared_ptr<GroundTriangles> copyTriangles(const util::CMesh& mesh);
    /// Brings the vertices into the order in which the leaves name them.
    void sortVertices(GroundTriangles& triangles) const;
    template <typename Visitor>
    void visitLeaves(const Visitor& visitor) const;
    void split(const GroundSplitting& splitting, std::vector<SplitEntry> entries, int depth);
    [[nodiscard]] bool walk(const util::Vector3<double>& origin, const util::Vector3<double>& direction,
                            GroundRayIndex::Found& found) const;
    [[nodiscard]] bool walkLeaf(const util::Vector3<double>& origin, const util::Vector3<double>& direction,
                                GroundRayIndex::Found& found) const;

    /// Of the root of a tree that was built from a mesh, else null. Shared by copies of the node, like the vertices.
    std::shared_ptr<const GroundRayIndex> m_index;
};

}  // namespace ond::ovs::addon
