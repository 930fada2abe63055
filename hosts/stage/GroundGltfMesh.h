// Meshes of a glTF file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ond/util/CMesh.h"
#include "stage/GroundGltfData.h"

namespace ond::stage::gltf {

/// A mesh and the colour of its first material that has one.
struct ColouredMesh {
    /// Null if the mesh has no triangle.
    std::shared_ptr<const util::CMesh> mesh;
    float colour[3] = {0.8F, 0.8F, 0.8F};
    bool hasColour = false;
};

/// Reads each mesh once.
class Meshes {
  public:
    explicit Meshes(Data& data);

    /// Mesh `index` of the file. Throws GroundError, without the name of the file, if it is damaged.
    const ColouredMesh& get(std::size_t index);

    /// Appends what was left out.
    void addWarnings(std::vector<std::string>& warnings) const;

  private:
    ColouredMesh read(std::size_t index);
    void readColour(const Json& primitive, ColouredMesh& mesh) const;

    Data& m_data;
    std::vector<std::unique_ptr<ColouredMesh>> m_meshes;
    std::int64_t m_pointsAndLines = 0;
    std::int64_t m_morphed = 0;
};

}  // namespace ond::stage::gltf
