// The one general shape of the rig.
#pragma once

#include "ond/util/CMesh.h"

namespace ond::util {

class CMesh_Box : public CMesh {
  public:
    /// A box from -x/2, -y/2, -z/2 to x/2, y/2, z/2. Eight vertices: bits 0, 1 and 2 of a vertex' index are set where
    /// its x, y and z are positive. Twelve triangles. No texture coordinates; `tFaces` has the size of `faces` and is
    /// 0.
    CMesh_Box(double x, double y, double z);
    using CMesh::operator=;
};

}  // namespace ond::util
