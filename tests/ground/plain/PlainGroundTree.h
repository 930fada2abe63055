// The plain form of the ground tree, kept as what the module's is compared with: it states what the tree and the
// answers are, to the bit. Every triangle is tested against every half and every cell, and every query walks the tree.
#pragma once

#include <vector>

#include "ond/util/CMesh.h"
#include "ond/util/Vector3.h"

namespace ond::test::plain {

class PlainGroundTree {
  public:
    util::Vector3<double> vMin;
    util::Vector3<double> vMax;
    /// Empty in a leaf.
    std::vector<PlainGroundTree> aChildren;
    /// Three in a row a triangle, copied from the mesh, in inner nodes too.
    std::vector<util::Vector3<double>> aTriangleVertices;

    /// Faces with an index outside the vertices, or with a coordinate that is not finite, are left out; vertices that
    /// are not finite do not count for the box.
    void buildFromMesh(const util::CMesh& mesh);

    /// The first triangle on the line that a walk meets, depth first and each list from its front.
    /// @param t without a hit it may have been changed
    /// @param normal may be null
    bool rayQuery(const util::Vector3<double>& origin, const util::Vector3<double>& direction, double& t,
                  util::Vector3<double>* normal) const;

  private:
    void setBoxFrom(const util::CMesh& mesh);
    void copyTriangles(const util::CMesh& mesh);
    void subdivide();
    [[nodiscard]] std::vector<PlainGroundTree> cells() const;
    bool queryLeaf(const util::Vector3<double>& origin, const util::Vector3<double>& direction, double& t,
                   util::Vector3<double>* normal) const;
};

}  // namespace ond::test::plain
