// A take as FBX, through the importer library's exporter.
#pragma once

#include <vector>

#include "stage/FrameRate.h"

namespace ond::command {

/// @param glb a plain glTF file
/// @param rate of the take, which the file tells as its own
/// @return the bytes of a binary FBX file: nodes, meshes, materials, cameras and the animation
/// @throws CommandError if the library does not manage
[[nodiscard]] std::vector<unsigned char> fbxOf(const std::vector<unsigned char>& glb, const stage::FrameRate& rate);

}  // namespace ond::command
