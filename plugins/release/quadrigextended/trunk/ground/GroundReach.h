// Tells which rays of a wheel's fan certainly hit nothing of a stored ground within the wheel.
//
// Only such hits lift the wheel, and they are rare: most rays end on ground that is farther away. A query tells the
// triangle that comes first in the tree, wherever on the line it is. If no triangle at all can be hit within reach,
// then the answer, whatever it is, is not; nobody needs to ask. That holds for rays that are edge-on to no triangle,
// for then rounding cannot turn what is far away into a hit; of others the index knows whether such a triangle is in
// their way. Slivers count as edge-on to all rays.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "ground/GroundRayIndex.h"
#include "ground/GroundRayTables.h"
#include "ond/util/Vector3.h"

namespace ond::ovs::addon {

/// Coordinates are those of the ground; directions have unit length, within 4e-6.
class GroundReach {
  public:
    /// Eight triangles that are near. A lane without one is hit by nothing.
    struct Near {
        std::array<EightFloats, 3> corner;  ///< relative to the middle of where rays start
        std::array<EightFloats, 3> p;       ///< sides from the corner
        std::array<EightFloats, 3> q;
        EightFloats longest;
        /// As seen from where rays start. For a ray the other way, times these along x, y, z: numerators of the two
        /// parameters on the triangle, and the determinant.
        std::array<EightFloats, 3> first;
        std::array<EightFloats, 3> second;
        std::array<EightFloats, 3> normal;
        EightFloats height;  ///< numerator of the parameter on the ray, without sign, or less
        EightFloats slack;   ///< of these numbers, see couldHit()
    };

    explicit GroundReach(GroundRayIndex::Lanes lanes = GroundRayIndex::Lanes::best);

    /// Gathers the triangles near places where rays will start.
    /// @param tables of the ground; have to live as long as rays are asked about
    /// @param low, high corners of a box that holds these places
    /// @param reach how far a ray counts, to either side
    /// @return false if that cannot be told about
    [[nodiscard]] bool gather(const GroundRayTables& tables, const util::Vector3<double>& low,
                              const util::Vector3<double>& high, double reach);
    /// What can be told about a direction.
    enum class Tells : std::uint8_t {
        nothing,
        unlessEdgeOn,  ///< what couldHit() says, of rays that GroundRayIndex::mayHitEdgeOn() rules out
        all,           ///< no triangle of the ground stands edge-on to it
    };
    [[nodiscard]] Tells tells(const GroundRayTables& tables, const util::Vector3<double>& direction) const;
    /// Whether a place, and the one where the wheel is lifted from there, are in the box.
    [[nodiscard]] bool holds(const util::Vector3<double>& origin, const util::Vector3<double>& lift) const;
    /// Keeps what is within reach of a place, and of those that a wheel comes to from there while it is lifted.
    /// @return false if that is outside of what was gathered, or if too much is near
    [[nodiscard]] bool narrow(const util::Vector3<double>& origin, const util::Vector3<double>& lift);
    /// Rays start here from now on.
    /// @return false if that is outside of what was kept
    [[nodiscard]] bool startFrom(const util::Vector3<double>& origin);
    /// Whether anything may be hit, at a parameter from -`reach` to `reach`. Of directions that it can tell about.
    [[nodiscard]] bool couldHit(const util::Vector3<double>& direction) const;

  private:
    /// Where rays may start; nowhere at first.
    struct Places {
        util::Vector3<double> low{1.0, 1.0, 1.0};
        util::Vector3<double> high{-1.0, -1.0, -1.0};

        [[nodiscard]] bool have(const util::Vector3<double>& place) const {
            return place.x >= low.x && place.x <= high.x && place.y >= low.y && place.y <= high.y && place.z >= low.z &&
                   place.z <= high.z;
        }
    };
    static constexpr std::size_t kMost = 256;
    static constexpr std::size_t kMostNear = 16;

    [[nodiscard]] bool addNear(const EightTriangles& eight, const AxisFloats& low, const AxisFloats& high);
    void setNear(Near& near, int to, const EightTriangles& eight, std::size_t lane) const;

    bool m_isWide = false;
    const GroundRayTables* m_tables = nullptr;
    Places m_gatheredFor{};
    Places m_keptFor{};
    float m_reach = 0.0F;     ///< a little wider than the true one, since directions are a little longer than 1
    float m_margin = 0.0F;    ///< as of lines: what the index knows of coordinates
    float m_farthest = 0.0F;  ///< what is farther away, as the index knows it, is out of reach
    std::size_t m_count = 0;
    std::array<const EightTriangles*, kMost> m_gathered{};
    util::Vector3<double> m_nearMiddle;  ///< where the coordinates of what is near count from
    float m_nearExtent = 0.0F;           ///< how large they are, but for the sides of triangles
    std::size_t m_nearTriangles = 0;
    std::array<Near, kMostNear> m_near{};
};

}  // namespace ond::ovs::addon
