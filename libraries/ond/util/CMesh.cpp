#include "ond/util/CMesh.h"

#include <algorithm>
#include <cassert>

namespace ond::util {

namespace {

std::size_t countOf(int n) { return static_cast<std::size_t>(std::max(n, 0)); }

template <typename T>
T& entry(std::vector<T>& list, std::size_t i) {
    assert(i < list.size());
    return list[i];
}

}  // namespace

CMesh::CMesh() = default;

CMesh::CMesh(const CMesh& other) { CMesh::operator=(other); }

CMesh::CMesh(CMesh&& other) noexcept
    : vertices(std::move(other.vertices)),
      texCoords(std::move(other.texCoords)),
      faces(std::move(other.faces)),
      tFaces(std::move(other.tFaces)) {}

CMesh::~CMesh() = default;

CMesh& CMesh::operator=(const CMesh& other) {
    if (this == &other) return *this;
    vertices = other.vertices;
    faces = other.faces;
    tFaces = other.tFaces;
    texCoords = other.texCoords;
    return *this;
}

void CMesh::setNumVertices(int n) { vertices.resize(countOf(n)); }

void CMesh::setNumFaces(int n) {
    faces.resize(3 * countOf(n));
    tFaces.resize(3 * countOf(n));
}

void CMesh::setVertex(int i, double x, double y, double z) { entry(vertices, static_cast<std::size_t>(i)) = {x, y, z}; }

void CMesh::setFace(int i, int a, int b, int c) {
    const std::size_t first = 3 * static_cast<std::size_t>(i);
    entry(faces, first) = a;
    entry(faces, first + 1) = b;
    entry(faces, first + 2) = c;
}

int CMesh::getFaceVertex(int face, int corner) const {
    const std::size_t i = 3 * static_cast<std::size_t>(face) + static_cast<std::size_t>(corner);
    assert(i < faces.size());
    return faces[i];
}

int CMesh::getNumVertices() const { return static_cast<int>(vertices.size()); }

int CMesh::getNumFaces() const { return static_cast<int>(faces.size() / 3); }

CMesh CMesh::operator*(const Matrix4& matrix) const {
    CMesh result(*this);
    for (Vector3<double>& vertex : result.vertices) vertex = Transform(matrix, vertex);
    return result;
}

}  // namespace ond::util
