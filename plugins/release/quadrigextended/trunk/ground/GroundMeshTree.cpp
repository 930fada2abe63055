#include "ground/GroundMeshTree.h"

#include <cmath>
#include <utility>

#include "ground/GroundSplitting.h"
#include "ground/LineTests.h"

namespace ond::ovs::addon {

namespace {

using util::Vector3;

bool isFinite(const Vector3<double>& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

void widen(double value, double& min, double& max) {
    if (value < min) min = value;
    if (value > max) max = value;
}

/// Whether the face names three finite vertices of the mesh.
bool isUsable(const util::CMesh& mesh, int face) {
    for (int corner = 0; corner < 3; ++corner) {
        const int vertex = mesh.getFaceVertex(face, corner);
        if (vertex < 0 || vertex >= mesh.getNumVertices()) return false;
        if (!isFinite(mesh.vertices[static_cast<std::size_t>(vertex)])) return false;
    }
    return true;
}

TriangleNumbers numbersOf(const std::vector<SplitEntry>& entries) {
    TriangleNumbers::Packer numbers;
    for (const SplitEntry& entry : entries) numbers.add(entry.number());
    return numbers.take();
}

}  // namespace

void GroundMeshTreeNode::buildFromMesh(const util::CMesh& mesh) {
    m_index.reset();
    setBoxFrom(mesh);
    const std::shared_ptr<GroundTriangles> triangles = copyTriangles(mesh);
    subdivide(0);
    if (triangles->corners.empty()) return;
    sortVertices(*triangles);
    m_index = GroundRayIndex::of(*this);
}

// Queries read the vertices of a leaf together.
void GroundMeshTreeNode::sortVertices(GroundTriangles& triangles) const {
    constexpr std::uint32_t kNone = 0xffffffffU;
    std::vector<std::uint32_t> places(triangles.vertices.size(), kNone);
    decltype(triangles.vertices) sorted;
    sorted.reserve(triangles.vertices.size());
    visitLeaves([&](const GroundMeshTreeNode& leaf) {
        for (const std::uint32_t number : leaf.aTriangleVertices.numbers())
            for (const std::uint32_t vertex : triangles.corners[number]) {
                if (places[vertex] != kNone) continue;
                places[vertex] = static_cast<std::uint32_t>(sorted.size());
                sorted.push_back(triangles.vertices[vertex]);
            }
    });
    // Triangles that no leaf holds keep their vertices, too.
    for (auto& corners : triangles.corners)
        for (std::uint32_t& vertex : corners) {
            if (places[vertex] == kNone) {
                places[vertex] = static_cast<std::uint32_t>(sorted.size());
                sorted.push_back(triangles.vertices[vertex]);
            }
            vertex = places[vertex];
        }
    // Vertices that no triangle names are gone.
    sorted.shrink_to_fit();
    triangles.vertices.swap(sorted);
}

template <typename Visitor>
void GroundMeshTreeNode::visitLeaves(const Visitor& visitor) const {
    if (aChildren.empty()) visitor(*this);
    for (const GroundMeshTreeNode& child : aChildren) child.visitLeaves(visitor);
}

void GroundMeshTreeNode::setBoxFrom(const util::CMesh& mesh) {
    vMin = vMax = Vector3<double>();
    bool first = true;
    for (const Vector3<double>& vertex : mesh.vertices) {
        if (!isFinite(vertex)) continue;
        if (first) vMin = vMax = vertex;
        first = false;
        widen(vertex.x, vMin.x, vMax.x);
        widen(vertex.y, vMin.y, vMax.y);
        widen(vertex.z, vMin.z, vMax.z);
    }
}

std::shared_ptr<GroundTriangles> GroundMeshTreeNode::copyTriangles(const util::CMesh& mesh) {
    auto triangles = std::make_shared<GroundTriangles>();
    triangles->vertices.assign(mesh.vertices.begin(), mesh.vertices.end());
    triangles->corners.reserve(static_cast<std::size_t>(mesh.getNumFaces()));
    for (int face = 0; face < mesh.getNumFaces(); ++face) {
        if (!isUsable(mesh, face)) continue;
        auto& corners = triangles->corners.emplace_back();
        for (int corner = 0; corner < 3; ++corner)
            corners[static_cast<std::size_t>(corner)] = static_cast<std::uint32_t>(mesh.getFaceVertex(face, corner));
    }
    triangles->corners.shrink_to_fit();
    const auto count = static_cast<std::uint32_t>(triangles->corners.size());
    aTriangleVertices = TriangleVertices(triangles, TriangleNumbers::upTo(count));
    return triangles;
}

void GroundMeshTreeNode::subdivide(int depth) {
    aChildren.clear();
    m_index.reset();
    if (aTriangleVertices.size() < 3 * kMinTrianglesToSplit) return;
    const GroundSplitting splitting(*aTriangleVertices.all(), {vMin, vMax});
    split(splitting, splitting.entriesOf(aTriangleVertices.numbers()), depth);
}

// The work on the cells is done in functions that have returned before the recursion goes deeper: meshes whose parts
// differ by hundreds of orders of magnitude give trees a few thousand levels deep, and small frames carry these.
void GroundMeshTreeNode::split(const GroundSplitting& splitting, std::vector<SplitEntry> entries, int depth) {
    if (entries.size() < kMinTrianglesToSplit) return;
    std::vector<SplitCell> cells = splitting.cellsOf({vMin, vMax}, entries);
    entries = std::vector<SplitEntry>();  // empty braces would keep the memory
    aChildren.resize(cells.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
        GroundMeshTreeNode& child = aChildren[i];
        child.vMin = cells[i].box.vMin;
        child.vMax = cells[i].box.vMax;
        child.aTriangleVertices = TriangleVertices(aTriangleVertices.all(), numbersOf(cells[i].entries));
        child.split(splitting, std::move(cells[i].entries), depth + 1);
    }
}

bool GroundMeshTreeNode::rayQuery(const Vector3<double>& origin, const Vector3<double>& direction, double& t,
                                  Vector3<double>* normal) const {
    using Answer = GroundRayIndex::Answer;
    GroundRayIndex::Found found;
    const Answer answer = m_index ? m_index->query(origin, direction, found) : Answer::unknown;
    if (answer == Answer::miss || (answer == Answer::unknown && !walk(origin, direction, found))) return false;
    t = found.t;
    if (normal) *normal = util::Normalized(found.across);
    return true;
}

bool GroundMeshTreeNode::walk(const Vector3<double>& origin, const Vector3<double>& direction,
                              GroundRayIndex::Found& found) const {
    double t = 0.0;
    if (!lineMeetsBox({vMin, vMax}, origin, direction, t)) return false;
    if (aChildren.empty()) return walkLeaf(origin, direction, found);
    for (const GroundMeshTreeNode& child : aChildren)
        if (child.walk(origin, direction, found)) return true;
    return false;
}

bool GroundMeshTreeNode::walkLeaf(const Vector3<double>& origin, const Vector3<double>& direction,
                                  GroundRayIndex::Found& found) const {
    if (aTriangleVertices.empty()) return false;
    const GroundTriangles& all = *aTriangleVertices.all();
    for (const std::uint32_t number : aTriangleVertices.numbers()) {
        const Vector3<double>& a = all.corner(number, 0);
        const Vector3<double>& b = all.corner(number, 1);
        const Vector3<double>& c = all.corner(number, 2);
        if (!lineMeetsTriangle(a, b, c, origin, direction, found.t)) continue;
        found.across = util::Cross(b - a, c - a);
        return true;
    }
    return false;
}

}  // namespace ond::ovs::addon
