// What fuzz targets check of a ground, whatever file it is from.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "fuzz/FuzzProperty.h"
#include "stage/GroundCheck.h"

namespace ond::test {

/// What `read` gives, checked as every ground is; nothing if it is refused, which is to be by the rest of a sentence.
template <typename Read>
std::optional<stage::GroundScene> checkedGround(Read read) {
    try {
        stage::GroundScene scene = read();
        checkGround(scene);
        return scene;
    } catch (const stage::GroundError& error) {
        const std::string text = error.what();
        require(!text.empty() && text.back() != '.', "an error is the rest of a sentence");
        require(text.find('\n') == std::string::npos, "an error is one line");
        return std::nullopt;
    }
}

inline void requireFinite(const util::Matrix4& m) {
    const bool holds = std::all_of(m.m.begin(), m.m.end(), [](double number) { return std::isfinite(number); });
    require(holds, "transforms are finite");
}

inline void requireSound(const util::CMesh& mesh) {
    require(!mesh.faces.empty() && mesh.faces.size() % 3 == 0, "a mesh has whole triangles");
    for (const auto& v : mesh.vertices) {
        require(std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z), "vertices are finite");
    }
    for (const int index : mesh.faces) require(index >= 0 && index < mesh.getNumVertices(), "faces are on vertices");
}

inline void requireSound(const stage::GroundScene& scene) {
    std::int64_t triangles = 0;
    for (std::size_t i = 0; i < scene.nodes.size(); ++i) {
        const stage::GroundNode& node = scene.nodes[i];
        require(node.parent >= -1 && node.parent < static_cast<int>(i), "parents stand before their children");
        requireFinite(node.local);
        for (std::size_t k = 0; k < node.keys.size(); ++k) {
            require(std::isfinite(node.keys[k].time), "key times are finite");
            requireFinite(node.keys[k].local);
            require(k == 0 || node.keys[k - 1].time < node.keys[k].time, "key times ascend");
        }
        for (const float part : node.colour) require(part >= 0.0F && part <= 1.0F, "colours are from 0 to 1");
        if (!node.mesh) continue;
        requireSound(*node.mesh);
        triangles += node.mesh->getNumFaces();
    }
    require(triangles > 0 && scene.triangles == triangles, "all triangles are counted");
}

/// What checkedGround() promises of what `read` gives, and that reading again gives the same.
template <typename Read>
void requireSoundGround(Read read) {
    const std::optional<stage::GroundScene> scene = checkedGround(read);
    if (!scene) return;
    requireSound(*scene);
    const std::optional<stage::GroundScene> again = checkedGround(read);
    require(again && again->nodes.size() == scene->nodes.size() && again->triangles == scene->triangles &&
                again->warnings == scene->warnings,
            "reading again gives the same");
}

}  // namespace ond::test
