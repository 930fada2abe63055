// The proving ground as a file that any 3D program opens.
#pragma once

#include <string>
#include <vector>

#include "provingground/ProvingGround.h"

namespace ond::provingground {

/// Binary glTF 2.0: one node with one plain material per mesh, no transforms; float32 positions and normals, uint32
/// indices.
[[nodiscard]] std::string toGlb(const std::vector<GroundMesh>& meshes);

}  // namespace ond::provingground
