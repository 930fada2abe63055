#include "ground/plain/PlainGroundTree.h"

#include <array>
#include <cmath>

#include "ground/plain/PlainLineTests.h"

namespace ond::test::plain {

namespace {

using util::Vector3;

// A node with fewer is a leaf.
constexpr std::size_t kMinTrianglesToSplit = 10;
// Most entries of the triangles of one axis' halves together, as a multiple of the node's, for which a split pays.
constexpr double kMaxDuplication = 1.1;
// Two on each axis.
constexpr std::size_t kMaxCells = 8;
// Fewest triangles that a half must have.
constexpr int kMinTrianglesOfHalf = 3;

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

/// How many pieces each axis of a node is cut into, 1 or 2.
struct Divisions {
    int x;
    int y;
    int z;
};

/// Six halves of `box`: for each axis the part below its middle and the part above.
std::array<AxisBox, 6> halvesOf(const AxisBox& box) {
    const Vector3<double> middle = box.vMin + (box.vMax - box.vMin) / 2.0;
    std::array<AxisBox, 6> halves;
    halves.fill(box);
    halves[0].vMax.x = middle.x;
    halves[1].vMin.x = middle.x;
    halves[2].vMax.y = middle.y;
    halves[3].vMin.y = middle.y;
    halves[4].vMax.z = middle.z;
    halves[5].vMin.z = middle.z;
    return halves;
}

int divisionsOfAxis(int low, int high, std::size_t triangles) {
    const double ratio = (low + high) / static_cast<double>(triangles);
    return ratio > kMaxDuplication || low < kMinTrianglesOfHalf || high < kMinTrianglesOfHalf ? 1 : 2;
}

Divisions divisionsOf(const AxisBox& box, const std::vector<Vector3<double>>& vertices) {
    const std::array<AxisBox, 6> halves = halvesOf(box);
    std::array<int, 6> count{};
    for (std::size_t i = 0; i < vertices.size(); i += 3)
        for (std::size_t half = 0; half < halves.size(); ++half)
            if (triangleOverlapsBox(halves[half], vertices[i], vertices[i + 1], vertices[i + 2])) ++count[half];
    const std::size_t triangles = vertices.size() / 3;
    return {divisionsOfAxis(count[0], count[1], triangles), divisionsOfAxis(count[2], count[3], triangles),
            divisionsOfAxis(count[4], count[5], triangles)};
}

/// Replaces `collected` by the triangles of `vertices` that overlap `box`, in their order.
void collectOverlapping(const AxisBox& box, const std::vector<Vector3<double>>& vertices,
                        std::vector<Vector3<double>>& collected) {
    collected.clear();
    for (std::size_t i = 0; i < vertices.size(); i += 3) {
        if (!triangleOverlapsBox(box, vertices[i], vertices[i + 1], vertices[i + 2])) continue;
        collected.insert(collected.end(), {vertices[i], vertices[i + 1], vertices[i + 2]});
    }
}

}  // namespace

void PlainGroundTree::buildFromMesh(const util::CMesh& mesh) {
    aChildren.clear();
    setBoxFrom(mesh);
    copyTriangles(mesh);
    subdivide();
}

void PlainGroundTree::setBoxFrom(const util::CMesh& mesh) {
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

void PlainGroundTree::copyTriangles(const util::CMesh& mesh) {
    aTriangleVertices.clear();
    aTriangleVertices.reserve(3 * static_cast<std::size_t>(mesh.getNumFaces()));
    for (int face = 0; face < mesh.getNumFaces(); ++face) {
        if (!isUsable(mesh, face)) continue;
        for (int corner = 0; corner < 3; ++corner)
            aTriangleVertices.push_back(mesh.vertices[static_cast<std::size_t>(mesh.getFaceVertex(face, corner))]);
    }
}

// The work on the cells is done in functions that have returned before the recursion goes deeper: meshes whose parts
// differ by hundreds of orders of magnitude give trees a few thousand levels deep, and small frames carry these.
void PlainGroundTree::subdivide() {
    if (aTriangleVertices.size() < 3 * kMinTrianglesToSplit) return;
    aChildren = cells();
    for (PlainGroundTree& child : aChildren) child.subdivide();
}

std::vector<PlainGroundTree> PlainGroundTree::cells() const {
    const Divisions n = divisionsOf({vMin, vMax}, aTriangleVertices);
    const Vector3<double> size = vMax - vMin;
    const Vector3<double> cellSize(size.x / n.x, size.y / n.y, size.z / n.z);
    std::vector<PlainGroundTree> cells;
    cells.reserve(kMaxCells);
    std::vector<Vector3<double>> collected;
    for (int i = 0; i < n.x; ++i)
        for (int j = 0; j < n.y; ++j)
            for (int k = 0; k < n.z; ++k) {
                const Vector3<double> moved(i * cellSize.x, j * cellSize.y, k * cellSize.z);
                const AxisBox cell{vMin + moved, vMin + cellSize + moved};
                collectOverlapping(cell, aTriangleVertices, collected);
                if (collected.size() >= aTriangleVertices.size()) return {};
                if (collected.empty()) continue;
                PlainGroundTree& child = cells.emplace_back();
                child.vMin = cell.vMin;
                child.vMax = cell.vMax;
                child.aTriangleVertices = collected;
            }
    return cells;
}

bool PlainGroundTree::rayQuery(const Vector3<double>& origin, const Vector3<double>& direction, double& t,
                               Vector3<double>* normal) const {
    if (!lineMeetsBox({vMin, vMax}, origin, direction, t)) return false;
    if (aChildren.empty()) return queryLeaf(origin, direction, t, normal);
    for (const PlainGroundTree& child : aChildren)
        if (child.rayQuery(origin, direction, t, normal)) return true;
    return false;
}

bool PlainGroundTree::queryLeaf(const Vector3<double>& origin, const Vector3<double>& direction, double& t,
                                Vector3<double>* normal) const {
    for (std::size_t i = 0; i < aTriangleVertices.size(); i += 3) {
        const Vector3<double>& a = aTriangleVertices[i];
        const Vector3<double>& b = aTriangleVertices[i + 1];
        const Vector3<double>& c = aTriangleVertices[i + 2];
        if (!lineMeetsTriangle(a, b, c, origin, direction, t)) continue;
        if (normal) *normal = util::Normalized(util::Cross(b - a, c - a));
        return true;
    }
    return false;
}

}  // namespace ond::test::plain
