// Rays as wheels cast them.
#pragma once

#include <cstdint>
#include <vector>

#include "table/EmbreeGround.h"
#include "table/Terrain.h"

namespace ond::bench::table {

/// One centre ray and 56 side rays.
inline constexpr int kRaysOfFan = 57;

/// Straight down on places all over the terrain, from a little above it.
[[nodiscard]] std::vector<Ray> verticalRays(const Terrain& terrain, int count, std::uint64_t seed);

/// The rays of one wheel in one frame, fan after fan: on places all over the terrain, in all headings, on cars that
/// lean by some degrees. A fan starts with its centre ray.
[[nodiscard]] std::vector<Ray> wheelFans(const Terrain& terrain, int fans, std::uint64_t seed);

}  // namespace ond::bench::table
