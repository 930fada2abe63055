// The proving ground as triangles: a round piece of land with a circuit in it.
//
// One net of triangles without holes and overlaps, seen from above: rings of vertices that run round the circuit's
// middle, in the corridor along the line, beside it on rays from the middle. So a ray straight down meets the ground
// exactly once. The triangles are sorted by what they are made of into meshes that share their border to the bit.
//
// The same program gives the same bits in each run; another compiler or C library may round some last places otherwise.
#pragma once

#include <cstdint>
#include <vector>

#include "provingground/Surface.h"

namespace ond::provingground {

/// The land ends at this distance from Circuit::middle(), metres.
constexpr double kLandRadius = 230.0;

/// Triangles of one kind: metres, +Y up, counter-clockwise seen from above.
struct GroundMesh {
    Kind kind;
    std::vector<float> positions;  ///< x, y, z of each vertex
    std::vector<float> normals;    ///< of each vertex, length 1
    std::vector<std::uint32_t> indices;
};

/// All meshes, in the order of Kind.
[[nodiscard]] std::vector<GroundMesh> buildGround(const Circuit& circuit, const Surface& surface);

/// The name of a kind, as nodes and materials bear it.
[[nodiscard]] const char* nameOf(Kind kind);

}  // namespace ond::provingground
