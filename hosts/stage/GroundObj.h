// A .obj file as a ground.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "stage/GroundFile.h"

namespace ond::stage {

/// The file with the text `text`: a root for each of its objects and groups that has a face, with the vertices that
/// its faces are on, in the order of the file. What has no name in the file is called `stem`, the file's own name
/// without its ending. Colours come from material files in `folder`, which nothing is looked for in if it is nothing.
/// Triangles are not counted yet. Throws GroundError, without the name of the file, for a file that is damaged.
[[nodiscard]] GroundScene readObjGround(std::string_view text, const std::string& stem,
                                        const std::optional<std::filesystem::path>& folder);

}  // namespace ond::stage
