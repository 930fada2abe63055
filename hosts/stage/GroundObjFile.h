// What a .obj file says about its surfaces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ond/util/Vector3.h"

namespace ond::stage::obj {

/// Most objects and groups with faces that are read. Each takes far more memory than the text that begins it.
inline constexpr std::size_t kMostParts = 500'000;

/// The faces of an object or a group.
struct Part {
    /// Empty for what stands in no object and no group, and for one without a name.
    std::string name;
    /// Corners of all faces, one face after the other: indices into ObjFile::vertices.
    std::vector<std::uint32_t> corners;
    /// How many of `corners` each face has, three or more.
    std::vector<std::uint32_t> sizes;
    /// Indices into ObjFile::materials: those of the faces in their order, each once where it lasts.
    std::vector<std::size_t> materials;
};

/// Texture coordinates, normals, smoothing groups, curves and free-form surfaces are skipped.
struct ObjFile {
    std::vector<util::Vector3<double>> vertices;
    /// By their first face, in the order of the file. An object that comes again is gone on with, a group is not.
    std::vector<Part> parts;
    /// Names of the materials that the faces have.
    std::vector<std::string> materials;
    /// Names of the files that materials are in, as they stand there.
    std::vector<std::string> materialFiles;
    /// Faces with fewer than three corners count, too.
    std::int64_t pointsAndLines = 0;
};

/// Reads a whole .obj file. Each coordinate becomes the double nearest to it. Faces may be on vertices that come later.
/// Throws GroundError, without the name of the file, for a file that is damaged or of another kind or has more parts
/// than `mostParts`.
[[nodiscard]] ObjFile readObj(std::string_view text, std::size_t mostParts = kMostParts);

}  // namespace ond::stage::obj
