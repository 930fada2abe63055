// Cameras of FBX files, which the importer library's exporter leaves out.
#pragma once

#include <string>
#include <vector>

#include "command/FbxRecords.h"

namespace ond::command {

/// A camera that looks along -Z of its node, up along +Y. Angles in radians, lengths in units of the file.
struct FbxCamera {
    std::string node;  ///< the node that carries it
    double wide = 0.0;
    double aspect = 1.0;  ///< width by height
    double nearest = 0.0;
    double farthest = 0.0;
};

/// The cameras of a plain glTF file.
[[nodiscard]] std::vector<FbxCamera> camerasOf(const std::vector<unsigned char>& glb);

/// Cameras of the format look along +X of their node, so each gets a node "<node>_Camera" of its own below the one that
/// carries it, turned by a quarter.
void addFbxCameras(FbxFile& file, const std::vector<FbxCamera>& cameras);

}  // namespace ond::command
