// Animations of a glTF file.
#pragma once

#include <string>
#include <vector>

#include "stage/GroundGltfData.h"
#include "stage/GroundMotion.h"

namespace ond::stage::gltf {

/// The motion of every node of the file, over all its animations. Where several move the same part of a node, the
/// first counts, with a warning; another warns of steps and splines, which keys do not tell.
/// Throws GroundError, without the name of the file, if it is damaged.
[[nodiscard]] std::vector<GroundMotion> readMotions(Data& data, std::vector<std::string>& warnings);

}  // namespace ond::stage::gltf
