// The mesh of the ground that a vehicle has taken along.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "ground/GroundMeshTree.h"
#include "ond/util/CMesh.h"
#include "ond/util/Vector3.h"
#include "ond/util/xml/Element.h"

namespace ond::ovs::addon {

/// Gives back the mesh that it was given, to the bit. While there is a tree over the mesh, it has a share in the tree's
/// vertices and triangles instead of its own, and keeps what these do not tell: where in the mesh they stood.
class StoredGroundMesh {
  public:
    StoredGroundMesh() = default;
    /// Takes the arrays, at the size of what is in them.
    StoredGroundMesh& operator=(util::CMesh mesh);

    /// As those of the mesh.
    [[nodiscard]] int getNumVertices() const;
    [[nodiscard]] int getNumFaces() const;

    /// Makes `tree` one over the mesh, and shares with it if it has all faces of the mesh: it leaves out faulty ones.
    void buildTree(GroundMeshTreeNode& tree);
    [[nodiscard]] bool isShared() const { return m_all != nullptr; }

    /// The mesh in arrays of its own, which it has from now on; to be read or changed.
    util::CMesh& whole();
    /// A copy; nothing changes here.
    [[nodiscard]] util::CMesh copy() const;
    /// Of the mesh.
    [[nodiscard]] util::xml::Element toXml(bool verbose) const;

  private:
    /// What the corners of faces on textures are, where they need not be listed.
    enum class TextureFaces { listed, allSame, asFaces };

    /// Sets `m_places`. False if faces and corners do not name the same vertices.
    [[nodiscard]] bool findPlaces(const GroundTriangles& all);
    [[nodiscard]] std::vector<util::Vector3<double>> sharedVertices() const;
    [[nodiscard]] std::vector<int> sharedFaces() const;
    void packTextureFaces();
    void unpackTextureFaces(util::CMesh& mesh) const;

    /// The arrays that are not shared. All, in the mesh's order, as long as nothing is.
    util::CMesh m_mesh;
    /// Null as long as nothing is shared.
    std::shared_ptr<const GroundTriangles> m_all;
    /// Per vertex of the mesh its number in `m_all`, kNowhere for one without a face; these stand in `m_mesh`.
    std::vector<std::uint32_t> m_places;
    TextureFaces m_textureFaces = TextureFaces::listed;
    int m_textureFace = 0;
    std::size_t m_numTextureFaces = 0;

    static constexpr std::uint32_t kNowhere = 0xffffffffU;
};

}  // namespace ond::ovs::addon
