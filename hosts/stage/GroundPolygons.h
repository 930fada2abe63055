// A mesh of triangles from polygons.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "ond/util/CMesh.h"

namespace ond::stage {

/// Puts polygons into a mesh, whose vertices the caller adds before the polygons on them.
class GroundPolygons {
  public:
    util::CMesh mesh;

    /// Adds the triangles of a polygon on the vertices `corners`. What has fewer than three corners is counted only.
    /// Throws GroundError, without the name of the file, for a corner that is no vertex and for a concave polygon
    /// with too many corners.
    void add(std::span<const std::uint32_t> corners);

    /// Appends what was left out or guessed by all add() calls.
    void addWarnings(std::vector<std::string>& warnings) const;

  private:
    std::int64_t m_pointsAndLines = 0;
    std::int64_t m_crossing = 0;
    // Kept between calls for their memory alone.
    std::vector<util::Vector3<double>> m_corners;
    std::vector<std::size_t> m_triangles;
};

/// Appends "N points and lines were left out." if there were any.
void warnOfPointsAndLines(std::int64_t count, std::vector<std::string>& warnings);

}  // namespace ond::stage
