// The part of a take that every glTF tool reads: nodes, meshes, materials, cameras and the animation.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <vector>

#include "stage/GltfBuffer.h"
#include "stage/TakeContents.h"

namespace ond::stage {

/// Where the elements of the contents are in the document; -1 where they are not.
struct TakePlaces {
    std::vector<int> nodes;
    std::vector<int> meshes;
    int origin = 0;  ///< the frame that stands at second 0 of the animation; never above 0
};

/// Writes everything but the extension. The contents must have passed requireWritable().
[[nodiscard]] TakePlaces writeTakeScene(const TakeContents& contents, const TakeOptions& options,
                                        nlohmann::ordered_json& document, GltfBuffer& buffer);

}  // namespace ond::stage
