// A take as FBX, through the importer library's exporter.
#pragma once

#include <vector>

namespace ond::command {

/// @param glb a plain glTF file
/// @return the bytes of a binary FBX file: nodes, meshes, materials and the animation; the exporter knows no cameras
/// @throws CommandError if the library does not manage
[[nodiscard]] std::vector<unsigned char> fbxOf(const std::vector<unsigned char>& glb);

}  // namespace ond::command
