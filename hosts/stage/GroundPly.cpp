#include "stage/GroundPly.h"

#include <span>
#include <utility>

#include "stage/GroundPolygons.h"
#include "stage/PlyFile.h"

namespace ond::stage {

GroundScene readPlyGround(std::string_view bytes, const std::string& name) {
    PlyFile file = readPly(bytes);
    GroundPolygons polygons;
    polygons.mesh.vertices = std::move(file.vertices);
    std::size_t first = 0;
    for (const std::uint32_t size : file.sizes) {
        polygons.add(std::span(file.corners).subspan(first, size));
        first += size;
    }
    GroundScene scene;
    polygons.addWarnings(scene.warnings);
    GroundNode& node = scene.nodes.emplace_back();
    node.name = name;
    node.mesh = std::make_shared<util::CMesh>(std::move(polygons.mesh));
    return scene;
}

}  // namespace ond::stage
