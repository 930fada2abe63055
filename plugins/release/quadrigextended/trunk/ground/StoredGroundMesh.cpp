#include "ground/StoredGroundMesh.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace ond::ovs::addon {

namespace {

using util::Vector3;

bool isSame(const Vector3<double>& a, const Vector3<double>& b) {
    const auto isSameNumber = [](double left, double right) {
        return std::bit_cast<std::uint64_t>(left) == std::bit_cast<std::uint64_t>(right);
    };
    return isSameNumber(a.x, b.x) && isSameNumber(a.y, b.y) && isSameNumber(a.z, b.z);
}

// An empty list in braces would leave the memory with the vector.
template <typename T>
void drop(std::vector<T>& list) {
    list = std::vector<T>();
}

template <typename T>
void take(std::vector<T>& from, std::vector<T>& to) {
    to = std::move(from);
    to.shrink_to_fit();
}

}  // namespace

StoredGroundMesh& StoredGroundMesh::operator=(util::CMesh mesh) {
    m_all.reset();
    drop(m_places);
    m_textureFaces = TextureFaces::listed;
    take(mesh.vertices, m_mesh.vertices);
    take(mesh.texCoords, m_mesh.texCoords);
    take(mesh.faces, m_mesh.faces);
    take(mesh.tFaces, m_mesh.tFaces);
    return *this;
}

int StoredGroundMesh::getNumVertices() const {
    return isShared() ? static_cast<int>(m_places.size()) : m_mesh.getNumVertices();
}

int StoredGroundMesh::getNumFaces() const {
    return isShared() ? static_cast<int>(m_all->corners.size()) : m_mesh.getNumFaces();
}

void StoredGroundMesh::buildTree(GroundMeshTreeNode& tree) {
    tree.buildFromMesh(whole());
    const std::shared_ptr<const GroundTriangles>& all = tree.aTriangleVertices.all();
    if (all == nullptr || !findPlaces(*all)) {
        drop(m_places);
        return;
    }
    std::vector<Vector3<double>> loose;
    for (std::size_t i = 0; i < m_places.size(); ++i)
        if (m_places[i] == kNowhere) loose.push_back(m_mesh.vertices[i]);
    // From here on nothing throws: memory that runs out leaves the mesh whole.
    m_all = all;
    packTextureFaces();
    drop(m_mesh.faces);
    take(loose, m_mesh.vertices);
}

bool StoredGroundMesh::findPlaces(const GroundTriangles& all) {
    const std::vector<int>& faces = m_mesh.faces;
    if (all.corners.empty() || faces.size() != 3 * all.corners.size()) return false;
    m_places.assign(m_mesh.vertices.size(), kNowhere);
    std::vector<bool> isTaken(all.vertices.size());
    for (std::size_t i = 0; i < faces.size(); ++i) {
        const auto vertex = static_cast<std::size_t>(faces[i]);
        const std::uint32_t place = all.corners[i / 3][i % 3];
        if (m_places[vertex] == place) continue;
        if (m_places[vertex] != kNowhere || isTaken[place]) return false;
        if (!isSame(m_mesh.vertices[vertex], all.vertices[place])) return false;
        m_places[vertex] = place;
        isTaken[place] = true;
    }
    return true;
}

std::vector<Vector3<double>> StoredGroundMesh::sharedVertices() const {
    std::vector<Vector3<double>> vertices;
    vertices.reserve(m_places.size());
    auto loose = m_mesh.vertices.begin();
    for (const std::uint32_t place : m_places)
        vertices.push_back(place == kNowhere ? *loose++ : m_all->vertices[place]);
    return vertices;
}

std::vector<int> StoredGroundMesh::sharedFaces() const {
    std::vector<int> vertexAt(m_all->vertices.size());
    for (std::size_t i = 0; i < m_places.size(); ++i)
        if (m_places[i] != kNowhere) vertexAt[m_places[i]] = static_cast<int>(i);
    std::vector<int> faces;
    faces.reserve(3 * m_all->corners.size());
    for (const auto& corners : m_all->corners)
        for (const std::uint32_t place : corners) faces.push_back(vertexAt[place]);
    return faces;
}

void StoredGroundMesh::packTextureFaces() {
    std::vector<int>& list = m_mesh.tFaces;
    if (list.empty()) return;
    if (list == m_mesh.faces)
        m_textureFaces = TextureFaces::asFaces;
    else if (std::all_of(list.begin(), list.end(), [&](int face) { return face == list.front(); }))
        m_textureFaces = TextureFaces::allSame;
    else
        return;
    m_textureFace = list.front();
    m_numTextureFaces = list.size();
    drop(list);
}

void StoredGroundMesh::unpackTextureFaces(util::CMesh& mesh) const {
    if (m_textureFaces == TextureFaces::asFaces) mesh.tFaces = mesh.faces;
    if (m_textureFaces == TextureFaces::allSame) mesh.tFaces.assign(m_numTextureFaces, m_textureFace);
}

util::CMesh& StoredGroundMesh::whole() {
    if (isShared()) *this = copy();
    return m_mesh;
}

util::CMesh StoredGroundMesh::copy() const {
    if (!isShared()) return m_mesh;
    util::CMesh mesh;
    mesh.vertices = sharedVertices();
    mesh.faces = sharedFaces();
    mesh.texCoords = m_mesh.texCoords;
    mesh.tFaces = m_mesh.tFaces;
    unpackTextureFaces(mesh);
    return mesh;
}

util::xml::Element StoredGroundMesh::toXml(bool verbose) const {
    return isShared() ? copy().toXml(verbose) : m_mesh.toXml(verbose);
}

}  // namespace ond::ovs::addon
