// Meshes in the polygon file format (.ply), text or binary.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "ond/util/Vector3.h"

namespace ond::stage {

/// What a .ply file says about its surface; everything else in it is skipped.
struct PlyFile {
    std::vector<util::Vector3<double>> vertices;
    /// Corners of all polygons, one polygon after the other, as the file has them: nothing says that they are vertices.
    std::vector<std::uint32_t> corners;
    /// How many of `corners` each polygon has. Triangle strips come as triangles behind the faces.
    std::vector<std::uint32_t> sizes;
};

/// Reads "format ascii", "binary_little_endian" and "binary_big_endian" of version 1.0. `bytes` is the whole file.
/// Memory is bounded by a small multiple of it, whatever its header says.
/// Throws GroundError, without the name of the file, for anything else and for a file that is damaged.
[[nodiscard]] PlyFile readPly(std::string_view bytes);

}  // namespace ond::stage
