#include "stage/GroundObj.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "stage/GroundObjColours.h"
#include "stage/GroundObjFile.h"
#include "stage/GroundPolygons.h"

namespace ond::stage {

namespace {

/// Makes the meshes of the parts of a file.
class PartMesher {
  public:
    explicit PartMesher(const std::vector<util::Vector3<double>>& vertices)
        : m_vertices(vertices), m_places(vertices.size(), kNowhere) {}

    /// Takes the corners of the part. Null if it has no triangle.
    std::shared_ptr<util::CMesh> meshOf(obj::Part& part) {
        m_polygons.mesh = util::CMesh();
        takeVertices(part);
        std::size_t first = 0;
        for (const std::uint32_t size : part.sizes) {
            m_polygons.add(std::span(part.corners).subspan(first, size));
            first += size;
        }
        if (m_polygons.mesh.faces.empty()) return nullptr;
        return std::make_shared<util::CMesh>(std::move(m_polygons.mesh));
    }

    void addWarnings(std::vector<std::string>& warnings) const { m_polygons.addWarnings(warnings); }

  private:
    static constexpr std::uint32_t kNowhere = std::numeric_limits<std::uint32_t>::max();

    /// Copies the vertices that the part has corners on, and makes its corners indices into them.
    void takeVertices(obj::Part& part) {
        m_used.clear();
        for (const std::uint32_t corner : part.corners) {
            if (m_places[corner] != kNowhere) continue;
            m_places[corner] = 0;
            m_used.push_back(corner);
        }
        std::sort(m_used.begin(), m_used.end());
        std::uint32_t place = 0;
        for (const std::uint32_t vertex : m_used) {
            m_places[vertex] = place++;
            m_polygons.mesh.vertices.push_back(m_vertices[vertex]);
        }
        for (std::uint32_t& corner : part.corners) corner = m_places[corner];
        for (const std::uint32_t vertex : m_used) m_places[vertex] = kNowhere;
    }

    const std::vector<util::Vector3<double>>& m_vertices;
    /// Of each vertex of the file, where it is in the mesh.
    std::vector<std::uint32_t> m_places;
    std::vector<std::uint32_t> m_used;
    GroundPolygons m_polygons;
};

/// The colour of the first material of the part that has one.
void takeColour(const obj::Part& part, const obj::ObjFile& file, const obj::Colours& colours, GroundNode& node) {
    for (const std::size_t material : part.materials) {
        const auto found = colours.find(file.materials[material]);
        if (found == colours.end()) continue;
        std::copy(found->second.begin(), found->second.end(), std::begin(node.colour));
        node.hasColour = true;
        return;
    }
}

}  // namespace

GroundScene readObjGround(std::string_view text, const std::string& stem,
                          const std::optional<std::filesystem::path>& folder) {
    obj::ObjFile file = obj::readObj(text);
    GroundScene scene;
    obj::Colours colours;
    if (folder && !file.materials.empty()) {
        colours = obj::readColours(file.materialFiles, *folder, stem, scene.warnings);
    }
    PartMesher mesher(file.vertices);
    for (obj::Part& part : file.parts) {
        GroundNode node;
        node.name = part.name.empty() ? stem : part.name;
        node.mesh = mesher.meshOf(part);
        if (!node.mesh) continue;
        takeColour(part, file, colours, node);
        scene.nodes.push_back(std::move(node));
        part = {};
    }
    warnOfPointsAndLines(file.pointsAndLines, scene.warnings);
    mesher.addWarnings(scene.warnings);
    return scene;
}

}  // namespace ond::stage
