// Polygons cut into triangles.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "ond/util/Vector3.h"

namespace ond::stage {

/// Most corners that a concave polygon may have: the work grows with their square.
inline constexpr std::size_t kMostConcaveCorners = 4096;

/// Cuts a polygon with the corners `corners` (three or more) into `corners.size() - 2` triangles on these corners that
/// together cover it once and keep its sense of rotation. Three indices into `corners` each are appended to
/// `triangles`.
///
/// A convex polygon becomes a fan about its first corner. The corners need not lie in a plane exactly. Returns false if
/// the outline crosses or touches itself so that there is no such cut: triangles of the same number are then a guess.
/// Throws std::length_error for a concave polygon above kMostConcaveCorners, with nothing appended.
bool cutPolygon(std::span<const util::Vector3<double>> corners, std::vector<std::size_t>& triangles);

}  // namespace ond::stage
