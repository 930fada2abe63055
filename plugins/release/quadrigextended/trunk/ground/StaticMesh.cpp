#include "ground/StaticMesh.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

#include "ground/BulletLibrary.h"
#include "ground/MeshSurvey.h"

namespace ond::ovs::addon {

namespace {

constexpr int kIndexStride = 3 * sizeof(int);
constexpr int kVertexStride = sizeof(btVector3);

bool isWithinBulletsRange(const util::Vector3<double>& v) {
    return std::abs(v.x) < BT_LARGE_FLOAT && std::abs(v.y) < BT_LARGE_FLOAT && std::abs(v.z) < BT_LARGE_FLOAT;
}

bool isUsableCorner(const util::CMesh& mesh, int vertex) {
    return vertex >= 0 && vertex < mesh.getNumVertices() &&
           isWithinBulletsRange(mesh.vertices[static_cast<std::size_t>(vertex)]);
}

bool isUsableFace(const util::CMesh& mesh, int face) {
    return isUsableCorner(mesh, mesh.getFaceVertex(face, 0)) && isUsableCorner(mesh, mesh.getFaceVertex(face, 1)) &&
           isUsableCorner(mesh, mesh.getFaceVertex(face, 2));
}

/// Copies the indices of the usable faces, in their order; gives how many faces these are.
int copyUsableFaces(const util::CMesh& mesh, int* indices) {
    int faces = 0;
    for (int face = 0; face < mesh.getNumFaces(); ++face) {
        if (!isUsableFace(mesh, face)) continue;
        for (int corner = 0; corner < 3; ++corner) *indices++ = mesh.getFaceVertex(face, corner);
        ++faces;
    }
    return faces;
}

bool sameBits(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }

bool sameVertices(const btVector3* a, const std::vector<util::Vector3<double>>& b) {
    for (std::size_t i = 0; i < b.size(); ++i)
        if (!sameBits(a[i].x(), b[i].x) || !sameBits(a[i].y(), b[i].y) || !sameBits(a[i].z(), b[i].z)) return false;
    return true;
}

bool sameForm(const StaticMesh::Form& a, const StaticMesh::Form& b) {
    return std::equal(a.transform.begin(), a.transform.end(), b.transform.begin(), sameBits) &&
           std::equal(a.scaling.begin(), a.scaling.end(), b.scaling.begin(), sameBits) && sameBits(a.margin, b.margin);
}

StaticMesh::Form formOf(const btTransform& transform, const btVector3& localScaling, double margin) {
    StaticMesh::Form form{{}, {localScaling.x(), localScaling.y(), localScaling.z()}, margin};
    transform.getOpenGLMatrix(form.transform.data());
    return form;
}

/// All that were made, some of them no longer alive. It keeps none alive. There is one thread, the host's.
std::vector<std::weak_ptr<StaticMesh>> made;

}  // namespace

MeshArrays::MeshArrays(const util::CMesh& mesh) {
    const std::size_t corners = 3 * static_cast<std::size_t>(mesh.getNumFaces());
    // Wheels read a few triangles here and a few there.
    auto usable = makeLargeArray<int>(corners);
    triangles = copyUsableFaces(mesh, usable.get());
    if (triangles == 0) return;
    indices = std::move(usable);
    vertices = makeLargeArray<btVector3>(mesh.vertices.size());
    std::transform(mesh.vertices.begin(), mesh.vertices.end(), vertices.get(),
                   [](const util::Vector3<double>& v) { return toBullet(v); });
    view = std::make_unique<btTriangleIndexVertexArray>(triangles, indices.get(), kIndexStride, mesh.getNumVertices(),
                                                        &vertices[0][0], kVertexStride);
}

MeshArrays::MeshArrays(MeshArrays&&) noexcept = default;
MeshArrays::~MeshArrays() = default;

std::shared_ptr<StaticMesh> StaticMesh::of(const util::CMesh& mesh, const btTransform& transform,
                                           const btVector3& localScaling, double margin) {
    const Form form = formOf(transform, localScaling, margin);
    std::erase_if(made, [](const auto& gone) { return gone.expired(); });
    for (const auto& alive : made)
        if (auto known = alive.lock(); known && known->isMadeOf(mesh, form)) return known;
    MeshArrays arrays(mesh);
    if (arrays.triangles == 0) return nullptr;
    auto fresh = std::make_shared<StaticMesh>(std::move(arrays), mesh, form);
    made.push_back(fresh);
    return fresh;
}

StaticMesh::StaticMesh(MeshArrays meshArrays, const util::CMesh& mesh, const Form& form)
    : arrays(std::move(meshArrays)),
      m_form(form),
      m_numVertices(mesh.getNumVertices()),
      m_numFaces(mesh.getNumFaces()) {
    if (arrays.triangles != m_numFaces)
        m_faces.assign(mesh.faces.begin(), mesh.faces.begin() + 3 * static_cast<std::ptrdiff_t>(m_numFaces));
    const bool quantised = arrays.triangles <= kMaxQuantisedTriangles;
    shape = std::make_unique<btBvhTriangleMeshShape>(arrays.view.get(), quantised, true);
    const btVector3 scaling(form.scaling[0], form.scaling[1], form.scaling[2]);
    if (quantised && scaling == btVector3(1.0, 1.0, 1.0)) {
        survey = std::make_unique<MeshSurvey>(*shape, arrays.vertices.get(), arrays.indices.get(), arrays.triangles);
        shape->setUserPointer(survey.get());
    }
    shape->setLocalScaling(scaling);
    btTransform transform;
    transform.setFromOpenGLMatrix(form.transform.data());
    btVector3 min;
    btVector3 max;
    shape->getAabb(transform, min, max);
    shape->setMargin(form.margin);
    const btVector3 extent = max - min;
    volume = extent.x() * extent.y() * extent.z();
}

StaticMesh::~StaticMesh() = default;

bool StaticMesh::isMadeOf(const util::CMesh& mesh, const Form& form) const {
    if (mesh.getNumVertices() != m_numVertices || mesh.getNumFaces() != m_numFaces) return false;
    if (!sameForm(form, m_form)) return false;
    const int* const faces = m_faces.empty() ? arrays.indices.get() : m_faces.data();
    return std::memcmp(faces, mesh.faces.data(), 3 * sizeof(int) * static_cast<std::size_t>(m_numFaces)) == 0 &&
           sameVertices(arrays.vertices.get(), mesh.vertices);
}

}  // namespace ond::ovs::addon
