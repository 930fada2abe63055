// The grounds that are driven on and cast at.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ond/util/CMesh.h"
#include "ond/util/Vector3.h"

namespace ond::bench::table {

struct Settings;

using Vector = util::Vector3<double>;

/// Hills of some three units' height on a square of 100 by 100 around the origin, cut into about `triangles` triangles
/// of equal width. The seed decides where the hills are; more or fewer triangles show the same hills.
[[nodiscard]] util::CMesh makeHills(std::int64_t triangles, std::uint64_t seed);

/// The same square with all heights 0.
[[nodiscard]] util::CMesh makePlain(std::int64_t triangles);

/// All meshes of a file as one, each where it stands in the file's scene.
/// Throws std::runtime_error with a sentence for the user.
[[nodiscard]] util::CMesh readMesh(const std::string& path);

/// A ground and what the table calls it.
struct NamedGround {
    std::string name;
    util::CMesh mesh;
};

/// Hills of that many triangles, or the user's own mesh instead.
[[nodiscard]] NamedGround groundOf(const Settings& settings, std::int64_t triangles);

/// Sizes that rays are compared at: all three, or the one that there is.
[[nodiscard]] std::vector<std::int64_t> groundSizes(const Settings& settings);

/// Like "200k".
[[nodiscard]] std::string sizeName(std::int64_t triangles);

inline constexpr std::int64_t kSmall = 2000;
inline constexpr std::int64_t kMiddle = 200000;
inline constexpr std::int64_t kLarge = 2000000;

/// Lowest and highest coordinates of the vertices.
struct Box {
    Vector low;
    Vector high;
};
[[nodiscard]] Box boxOf(const util::CMesh& mesh);

}  // namespace ond::bench::table
