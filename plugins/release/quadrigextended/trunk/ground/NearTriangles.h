// Triangles around a wheel in single precision, four at once: tells of most of them that a ray cannot hit them.
//
// What is ruled out here is ruled out for Bullet's test, which rounds in double precision and takes triangles for a
// little larger than they are: every comparison has a margin that is wider than both that and the rounding here. A
// comparison with a number that ran away rules nothing out. Coordinates are relative to a place near the wheel, in
// units of the rays' reach, so that the numbers are of ordinary size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <vector>

#include "ground/BulletLibrary.h"
#include "ground/FourFloats.h"
#include "ground/RayFan.h"
#include "ond/util/Vector3.h"

namespace ond::ovs::addon {

class NearTriangles {
  public:
    using Vector = util::Vector3<double>;

    /// Forgets all triangles.
    /// @param centre where coordinates count from
    /// @param unit of length: the reach
    /// @param noise how far rounding moves a hit on a sound triangle, a length
    /// @param most how many triangles there can be
    void begin(const Vector& centre, double unit, double noise, std::size_t most);
    /// The corners of a triangle. Whether what MeshSurvey says of sound triangles holds; others are never ruled out.
    struct Added {
        const btVector3& a;
        const btVector3& b;
        const btVector3& c;
        bool isSound;
    };
    /// So many more.
    /// @param number called with 0 to `count` - 1, gives each as an Added
    template <class Number>
    void add(std::size_t count, Number number);
    /// Once, behind the last one: from now on they can be told apart along this axis of unit length.
    void spread(const Vector& across);

    /// Chooses those that reach into a slab, from `least` to `most` along the axis, relative to the centre in units.
    /// @param farthest no origin of a ray has a larger coordinate, relative to the centre in units, sign aside
    void narrow(double least, double most, double farthest);
    [[nodiscard]] std::size_t numNarrowed() const { return m_numNarrowed; }
    /// Number of a chosen one in the order in which they were added, which is also the order of the chosen ones.
    [[nodiscard]] std::size_t numberOf(std::size_t narrowed) const { return m_narrowed[narrowed]; }

    /// Sets the origin of the rays that follow; it is in the world.
    void face(const Vector& origin);
    /// A chosen one and which of four rays could hit it: one bit each.
    struct Possible {
        std::size_t narrowed;
        unsigned rays;
    };
    /// Finds out what four rays of a fan could hit within reach of the origin. Gives their bits: whether anything.
    unsigned lookAt(const RayFan& fan, std::size_t group);
    /// What lookAt() found, in the order of the chosen ones.
    [[nodiscard]] std::span<const Possible> possible() const { return {m_possible.data(), m_numPossible}; }
    /// Of four chosen ones, from number 4 * `group` on, which a ray could hit however far away.
    /// @param direction in all four lanes
    [[nodiscard]] unsigned couldBeHit(std::size_t group, const FourVectors& direction) const;

  private:
    /// The fourth number of the first corner tells how far a hit moves: infinitely on unsound triangles. Those of the
    /// others mean nothing.
    struct Triangle {
        FourFloats corners[3];
    };
    /// Four triangles.
    struct Corners {
        FourFloats x[3];
        FourFloats y[3];
        FourFloats z[3];
        FourFloats noise;
    };
    struct Span {
        FourFloats least;
        FourFloats most;
    };
    /// What does not depend on the origin.
    struct Plane {
        FourFloats normal[3];    ///< as long as the doubled area
        FourFloats length;       ///< of it, or a little more
        FourFloats planeMargin;  ///< for comparisons with the distance from the plane times that length
        FourFloats edgeMargin;   ///< for those with doubled areas
        FourFloats boxMargin;    ///< a length
    };
    /// What does.
    struct Facing {
        FourFloats distance;  ///< from the plane, times the length of the normal
        FourFloats first[3];  ///< normals of the planes through the origin and an edge
        FourFloats second[3];
        unsigned near;  ///< bits of those that have a point within reach
    };

    static Corners sideBySide(const Triangle& a, const Triangle& b, const Triangle& c, const Triangle& d);
    void prepare(std::size_t group);
    void face(std::size_t group, const FourVectors& origin);
    [[nodiscard]] unsigned raysThatCouldHit(std::size_t narrowed, const RayFan::Group& rays) const;

    Vector m_centre;
    double m_perUnit = 0.0;
    float m_noise = 0.0F;
    std::size_t m_count = 0;
    std::vector<Triangle> m_triangles;  ///< as many as there can be, like the next ones
    std::vector<Span> m_spans;
    std::vector<std::uint32_t> m_narrowed;  ///< of which the first are in use
    std::size_t m_numNarrowed = 0;
    std::vector<Corners> m_chosen;
    std::vector<Plane> m_planes;
    std::vector<Facing> m_facing;
    std::vector<Possible> m_possible;  ///< of which the first are in use
    std::size_t m_numPossible = 0;
    float m_farthest = 0.0F;
};

template <class Number>
void NearTriangles::add(std::size_t count, Number number) {
    const FourDoubles centre{m_centre.x, m_centre.y, m_centre.z, 0.0};
    const FourDoubles perUnit{m_perUnit, m_perUnit, m_perUnit, 0.0};
    const auto place = [&](const btVector3& v) {
        FourDoubles at;
        std::memcpy(&at, &v, sizeof at);
        return __builtin_convertvector((at - centre) * perUnit, FourFloats);
    };
    Triangle* next = m_triangles.data() + m_count;
    for (std::size_t i = 0; i < count; ++i, ++next) {
        const Added added = number(i);
        next->corners[0] = place(added.a);
        next->corners[1] = place(added.b);
        next->corners[2] = place(added.c);
        next->corners[0][3] = added.isSound ? m_noise : std::numeric_limits<float>::infinity();
    }
    m_count += count;
}

}  // namespace ond::ovs::addon
