// Meshes for tests of the ground: terrain-like grids, piles of triangles, and hostile ones.
#pragma once

#include <array>
#include <cmath>
#include <functional>
#include <vector>

#include "ond/util/CMesh.h"
#include "ond/util/Vector3.h"
#include "util/PinnedRandom.h"

namespace ond::test {

using Triangle = std::array<util::Vector3<double>, 3>;

/// Each triangle with three vertices of its own.
inline util::CMesh meshOf(const std::vector<Triangle>& triangles) {
    util::CMesh mesh;
    for (const Triangle& triangle : triangles)
        for (const util::Vector3<double>& vertex : triangle) {
            mesh.faces.push_back(mesh.getNumVertices());
            mesh.vertices.push_back(vertex);
        }
    mesh.tFaces.resize(mesh.faces.size());
    return mesh;
}

/// A square height field around the origin, `cells` squares of length `cell` a side, two triangles a square, whose
/// normals (b - a) x (c - a) point up.
inline util::CMesh gridMesh(int cells, double cell, const std::function<double(double, double)>& height) {
    util::CMesh mesh;
    const int n = cells + 1;
    mesh.setNumVertices(n * n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            const double x = (j - 0.5 * cells) * cell;
            const double z = (i - 0.5 * cells) * cell;
            mesh.setVertex(i * n + j, x, height(x, z), z);
        }
    mesh.setNumFaces(2 * cells * cells);
    for (int i = 0; i < cells; ++i)
        for (int j = 0; j < cells; ++j) {
            const int a = i * n + j;
            mesh.setFace(2 * (i * cells + j), a, a + n, a + 1);
            mesh.setFace(2 * (i * cells + j) + 1, a + 1, a + n, a + n + 1);
        }
    return mesh;
}

/// Rolling hills of a few units.
inline double hills(double x, double z) {
    return 2.0 * std::sin(0.11 * x) * std::cos(0.07 * z) + 0.3 * std::sin(0.9 * x + 0.4 * z);
}

/// `count` triangles of about `size` in a cube of half width `room`.
inline util::CMesh triangleCloud(PinnedRandom& random, int count, double room, double size) {
    std::vector<Triangle> triangles;
    for (int i = 0; i < count; ++i) {
        const util::Vector3<double> centre = random.vector(room);
        Triangle triangle;
        for (util::Vector3<double>& vertex : triangle) vertex = centre + random.vector(size);
        triangles.push_back(triangle);
    }
    return meshOf(triangles);
}

}  // namespace ond::test
