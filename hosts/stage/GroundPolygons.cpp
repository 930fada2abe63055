#include "stage/GroundPolygons.h"

#include <algorithm>
#include <stdexcept>

#include "stage/GroundFile.h"
#include "stage/PolygonCut.h"

namespace ond::stage {

void GroundPolygons::add(std::span<const std::uint32_t> corners) {
    const std::size_t count = mesh.vertices.size();
    if (std::any_of(corners.begin(), corners.end(), [count](std::uint32_t corner) { return corner >= count; })) {
        throw GroundError("a face has a corner that is not among its " + std::to_string(count) +
                          " vertices; export the file again");
    }
    if (corners.size() < 3) {
        ++m_pointsAndLines;
        return;
    }
    m_corners.clear();
    for (const std::uint32_t corner : corners) m_corners.push_back(mesh.vertices[corner]);
    m_triangles.clear();
    try {
        if (!cutPolygon(m_corners, m_triangles)) ++m_crossing;
    } catch (const std::length_error&) {
        throw GroundError("a concave face has " + std::to_string(corners.size()) + " corners, more than the " +
                          std::to_string(kMostConcaveCorners) + " that are cut; export the file with triangles");
    }
    for (const std::size_t corner : m_triangles) mesh.faces.push_back(static_cast<int>(corners[corner]));
}

void GroundPolygons::addWarnings(std::vector<std::string>& warnings) const {
    warnOfPointsAndLines(m_pointsAndLines, warnings);
    if (m_crossing > 0) {
        warnings.push_back(std::to_string(m_crossing) + (m_crossing == 1 ? " face crosses" : " faces cross") +
                           " or touches its own outline, so that its triangles are a guess.");
    }
}

void warnOfPointsAndLines(std::int64_t count, std::vector<std::string>& warnings) {
    if (count == 0) return;
    warnings.push_back(std::to_string(count) +
                       (count == 1 ? " point or line was left out." : " points and lines were left out."));
}

}  // namespace ond::stage
