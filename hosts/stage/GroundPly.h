// A .ply file as a ground.
#pragma once

#include <string>
#include <string_view>

#include "stage/GroundFile.h"

namespace ond::stage {

/// The mesh in the file `bytes` as one node called `name`; triangles are not counted yet.
/// Throws GroundError, without the name of the file, for a file that is damaged.
[[nodiscard]] GroundScene readPlyGround(std::string_view bytes, const std::string& name);

}  // namespace ond::stage
