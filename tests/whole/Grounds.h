// Meshes to drive on. Lengths in scene units, up is +Y, all triangles wound so that their normals point up.
#pragma once

#include <cmath>
#include <functional>

#include "ond/util/CMesh.h"

namespace ond::test {

/// A grid of 2 * `cellsX` * `cellsZ` triangles over x and z in the given ranges, at the heights that `height` gives.
inline util::CMesh heightGrid(double x0, double x1, int cellsX, double z0, double z1, int cellsZ,
                              const std::function<double(double, double)>& height) {
    util::CMesh mesh;
    mesh.setNumVertices((cellsX + 1) * (cellsZ + 1));
    mesh.setNumFaces(2 * cellsX * cellsZ);
    const auto vertex = [&](int i, int k) { return k * (cellsX + 1) + i; };
    for (int k = 0; k <= cellsZ; ++k)
        for (int i = 0; i <= cellsX; ++i) {
            const double x = x0 + (x1 - x0) * i / cellsX;
            const double z = z0 + (z1 - z0) * k / cellsZ;
            mesh.setVertex(vertex(i, k), x, height(x, z), z);
        }
    int face = 0;
    for (int k = 0; k < cellsZ; ++k)
        for (int i = 0; i < cellsX; ++i) {
            mesh.setFace(face++, vertex(i, k), vertex(i, k + 1), vertex(i + 1, k));
            mesh.setFace(face++, vertex(i + 1, k), vertex(i, k + 1), vertex(i + 1, k + 1));
        }
    return mesh;
}

/// Flat ground at height `y`, 40 to every side, with its cells off the middle so that no wheel runs along an edge.
inline util::CMesh flatGround(double y = 0.0, double half = 40.0) {
    return heightGrid(-half - 0.37, half, 9, -half - 0.23, half, 11, [y](double, double) { return y; });
}

/// Rises towards -Z by `degrees` everywhere, through the origin.
inline util::CMesh slopedGround(double degrees, double half = 60.0) {
    const double rise = std::tan(degrees / 57.29577951308232);
    return heightGrid(-half - 0.37, half, 9, -half - 0.23, half, 11, [rise](double, double z) { return -rise * z; });
}

/// Gentle waves.
inline util::CMesh wavyGround() {
    return heightGrid(-30.3, 30, 60, -60.2, 20, 80,
                      [](double x, double z) { return 0.15 * std::sin(0.4 * z) + 0.1 * std::cos(0.3 * x); });
}

}  // namespace ond::test
