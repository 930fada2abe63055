// A glTF file as a ground. An even first byte says that the rest is a .glb file, an odd one that it is the text of a
// .gltf file. Files next to it are not looked for.
//
// The result is an error in one sentence, or a scene whose parents stand before their children, whose numbers are
// finite and whose faces point into their meshes; reading it again gives the same scene.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "fuzz/FuzzProperty.h"
#include "stage/GroundCheck.h"
#include "stage/GroundGltf.h"

namespace {

using ond::stage::GltfKind;
using ond::stage::GroundError;
using ond::stage::GroundNode;
using ond::stage::GroundScene;
using ond::test::require;
using ond::util::CMesh;
using ond::util::Matrix4;

std::optional<GroundScene> read(const std::string& bytes, GltfKind kind) {
    try {
        GroundScene scene = ond::stage::readGltf(bytes, kind, std::nullopt);
        checkGround(scene);
        return scene;
    } catch (const GroundError& error) {
        const std::string text = error.what();
        require(!text.empty() && text.back() != '.', "an error is the rest of a sentence");
        return std::nullopt;
    }
}

bool isFinite(const Matrix4& m) {
    return std::all_of(m.m.begin(), m.m.end(), [](double number) { return std::isfinite(number); });
}

void requireSound(const CMesh& mesh) {
    require(!mesh.faces.empty() && mesh.faces.size() % 3 == 0, "a mesh has whole triangles");
    for (const auto& v : mesh.vertices) {
        require(std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z), "vertices are finite");
    }
    for (const int index : mesh.faces) require(index >= 0 && index < mesh.getNumVertices(), "faces are on vertices");
}

void requireSound(const GroundScene& scene) {
    std::int64_t triangles = 0;
    for (std::size_t i = 0; i < scene.nodes.size(); ++i) {
        const GroundNode& node = scene.nodes[i];
        require(node.parent >= -1 && node.parent < static_cast<int>(i), "parents stand before their children");
        require(isFinite(node.local), "transforms are finite");
        for (std::size_t k = 0; k < node.keys.size(); ++k) {
            require(std::isfinite(node.keys[k].time) && isFinite(node.keys[k].local), "keys are finite");
            require(k == 0 || node.keys[k - 1].time < node.keys[k].time, "key times ascend");
        }
        for (const float part : node.colour) require(part >= 0.0F && part <= 1.0F, "colours are from 0 to 1");
        if (!node.mesh) continue;
        requireSound(*node.mesh);
        triangles += node.mesh->getNumFaces();
    }
    require(triangles > 0 && scene.triangles == triangles, "all triangles are counted");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const GltfKind kind = data[0] % 2 == 0 ? GltfKind::binary : GltfKind::text;
    const std::string bytes(data + 1, data + size);
    const std::optional<GroundScene> scene = read(bytes, kind);
    if (!scene) return 0;
    requireSound(*scene);
    const std::optional<GroundScene> again = read(bytes, kind);
    require(again && again->nodes.size() == scene->nodes.size() && again->triangles == scene->triangles &&
                again->warnings == scene->warnings,
            "reading again gives the same");
    return 0;
}
