// Files that the importer library reads, as a ground.
#pragma once

#include <filesystem>

#include "stage/GroundFile.h"

namespace ond::stage {

enum class ImportKind { fbx, stl };

/// The scene in the file at `path`, which must be of the kind `kind`; triangles are not counted yet.
/// Throws GroundError, without the name of the file, for a file that is not there, damaged or of another kind.
[[nodiscard]] GroundScene importGround(const std::filesystem::path& path, ImportKind kind);

}  // namespace ond::stage
