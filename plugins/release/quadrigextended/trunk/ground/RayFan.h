// The rays of a wheel's fan in single precision, four at once: near enough to the true ones to rule triangles out.
#pragma once

#include <cstddef>
#include <vector>

#include "ground/FourFloats.h"
#include "ond/util/Vector3.h"

namespace ond::ovs::addon {

/// How the rays of a fan stand to its axle. A ray is `straight` turned about the axle; it is the sum of three vectors,
/// see RayFan::turn(), times these.
struct FanAngles {
    struct Group {
        FourFloats alongStraight;
        FourFloats alongAxle;
        FourFloats aside;
    };
    std::size_t count = 0;  ///< of rays; behind them the last group has the last one again
    std::vector<Group> groups;

    void clear();
    /// A ray turned by twice the angle of these.
    void add(double sine, double cosine);
};

/// Directions of unit length, each known to within `kInexact` of the true one.
class RayFan {
  public:
    using Vector = util::Vector3<double>;

    struct Group {
        FourFloats x;
        FourFloats y;
        FourFloats z;
    };

    /// A ball that holds the directions of a group.
    struct Ball {
        float x;
        float y;
        float z;
        float radius;
    };

    /// No component of a direction is farther from the true one.
    static constexpr double kInexact = 3e-6;

    void clear();
    void add(const Vector& direction);
    /// Makes the fan of the rays that arise when `straight` turns about `axle`: both of unit length, within 1e-6.
    /// @param alongAxle the axle, as long as the part of `straight` along it
    /// @param aside product of axle and `straight`
    void turn(const FanAngles& angles, const Vector& straight, const Vector& alongAxle, const Vector& aside);

    [[nodiscard]] std::size_t count() const { return m_count; }
    /// Rays 4 * `i` and the next; behind the last one there are more of it.
    [[nodiscard]] const Group& group(std::size_t i) const { return m_groups[i]; }
    [[nodiscard]] const Ball& around(std::size_t i) const { return m_balls[i]; }
    [[nodiscard]] Vector direction(std::size_t ray) const;

    /// Where the rays reach, and their origin with them: no component of a true direction, and no 0, is beyond.
    void box(Vector& lowest, Vector& highest) const;
    /// The same along an axis of unit length.
    void range(const Vector& axis, double& least, double& most) const;
    /// Unit vector that the rays are about perpendicular to.
    [[nodiscard]] Vector across() const;

  private:
    [[nodiscard]] std::size_t numGroups() const { return (m_count + 3) / 4; }
    void surround(std::size_t group);

    std::size_t m_count = 0;
    std::vector<Group> m_groups;
    std::vector<Ball> m_balls;
};

}  // namespace ond::ovs::addon
