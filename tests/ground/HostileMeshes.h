// Random meshes of many kinds, most of them chosen to be hard on ray casts, for comparing two ways of casting.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "ground/GroundMeshes.h"

namespace ond::test {

enum class MeshKind : std::uint32_t {
    hills,
    flat,        ///< one plane, grid lines at multiples of the cell
    tiltedFlat,  ///< exactly flat, yet no axis is square to it
    stairs,
    twoLarge,  ///< a square of two triangles, a thousand cells wide
    mixed,     ///< hills with a few large triangles through them
    cloud,
    duplicates,  ///< every triangle twice, once of them turned over
    degenerate,  ///< among the others, triangles without an area
    slivers,     ///< among the others, triangles with next to no area
    specks,      ///< among the others, triangles that are tiny
    count
};

/// By how much longer than usual to compare: the environment variable QUADRIG_REPEAT, else 1.
inline int repetitions() {
    const char* value = std::getenv("QUADRIG_REPEAT");
    return value != nullptr ? std::max(1, std::atoi(value)) : 1;
}

inline void append(util::CMesh& mesh, const util::CMesh& more) {
    const int first = mesh.getNumVertices();
    mesh.vertices.insert(mesh.vertices.end(), more.vertices.begin(), more.vertices.end());
    for (const int vertex : more.faces) mesh.faces.push_back(first + vertex);
    mesh.tFaces.resize(mesh.faces.size());
}

/// Where the surface of the mesh about is at x and z, for cells of length 1.
inline double heightOf(MeshKind kind, double x, double z) {
    switch (kind) {
        case MeshKind::flat:
        case MeshKind::twoLarge: return 0.0;
        case MeshKind::tiltedFlat: return 0.25 * x - 0.125 * z;
        case MeshKind::stairs: return 0.5 * std::floor(0.5 * x);
        default: return 0.6 * std::sin(0.7 * x) * std::cos(0.5 * z);
    }
}

inline util::CMesh hostileMesh(PinnedRandom& random, MeshKind kind, double cell) {
    const int cells = 4 + static_cast<int>(random.bits() % 20);
    util::CMesh mesh = gridMesh(cells, cell, [&](double x, double z) {
        return cell * heightOf(kind, std::round(2.0 * x / cell) / 2.0, std::round(2.0 * z / cell) / 2.0);
    });
    const double width = 0.5 * cells * cell;
    switch (kind) {
        case MeshKind::twoLarge: return gridMesh(1, 1000.0 * cell, [](double, double) { return 0.0; });
        case MeshKind::mixed: append(mesh, triangleCloud(random, 5, 10.0 * width, 200.0 * width)); break;
        case MeshKind::cloud: return triangleCloud(random, 300, width, 2.0 * cell);
        case MeshKind::duplicates: {
            util::CMesh turned = mesh;
            for (std::size_t i = 0; i + 2 < turned.faces.size(); i += 3)
                std::swap(turned.faces[i], turned.faces[i + 1]);
            append(mesh, turned);
            break;
        }
        case MeshKind::degenerate:
            for (int i = 0; i < 40; ++i) {
                const util::Vector3<double> a = random.vector(width);
                const util::Vector3<double> b = random.vector(cell);
                append(mesh, meshOf({{a, a, a + b}, {a, a + b, a + 2.0 * b}, {a, a + b, a + 0.3 * b}}));
            }
            break;
        case MeshKind::slivers:
            for (int i = 0; i < 20; ++i) {
                const util::Vector3<double> a = 0.3 * random.vector(width);
                const util::Vector3<double> b = random.vector(2.0 * width);
                const double thickness = std::pow(10.0, random.in(-16.0, -3.0));
                append(mesh, meshOf({{a - b, a + b, a + thickness * random.vector(cell)}}));
            }
            break;
        case MeshKind::specks:
            for (int i = 0; i < 30; ++i) {
                const util::Vector3<double> a = 0.3 * random.vector(width);
                const double size = std::pow(10.0, random.in(-14.0, -2.0)) * cell;
                append(mesh, meshOf({{a, a + random.vector(size), a + random.vector(size)}}));
            }
            break;
        default: break;
    }
    return mesh;
}

}  // namespace ond::test
