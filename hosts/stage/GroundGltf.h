// glTF 2.0 as a ground.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "stage/GroundFile.h"

namespace ond::stage {

/// .glb and .gltf.
enum class GltfKind { binary, text };

/// The scene that the file `bytes` shows; triangles are not counted yet.
///
/// Buffers in other files are looked for from `folder` on; without a folder they are an error. Skins and morph targets
/// are taken in their rest shape, with a warning. Unnamed nodes get the name of their mesh or "node N".
/// Throws GroundError, without the name of the file, for a file that is damaged or needs an extension that is not
/// read.
[[nodiscard]] GroundScene readGltf(const std::string& bytes, GltfKind kind,
                                   const std::optional<std::filesystem::path>& folder);

}  // namespace ond::stage
