// The one general shape of the rig.
#pragma once

#include "ond/util/CMesh.h"

namespace ond::util {

class CMesh_Box : public CMesh {
  public:
    /// A box centred on the origin with the full side lengths x, y and z: 8 vertices, of which vertex i lies on the
    /// positive side of x, y, z where bits 0, 1, 2 of i are set, and 12 triangles. No texture coordinates; `tFaces` has
    /// the size of `faces` and is 0.
    CMesh_Box(double x, double y, double z);
    using CMesh::operator=;
};

}  // namespace ond::util
