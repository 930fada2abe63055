// The side rays of a wheel: a fan about its axle, from back to front, and the work space for aiming it.
#pragma once

#include <cstddef>
#include <vector>

#include "ground/RayFan.h"
#include "ond/util/Vector3.h"

namespace ond::ovs::addon::rig {

/// A side ray's place in the fan, and the ray itself in the coordinates of the surface it is cast at.
struct SideRay {
    double sine;  ///< of the angle from straight down
    double cosine;
    double sineOfSize;  ///< of the angle without its sign
    double cosineOfSize;
    util::Vector3<double> direction;  ///< unit; means nothing until somebody aims the ray
    double reach = 0.0;               ///< how far the physics world looks along it, likewise
};

struct SideRays {
    double step = 0.0;          ///< angle between two rays, radians
    std::vector<SideRay> rays;  ///< an odd number; the middle one points straight down
    FanAngles angles;           ///< the same for a RayFan

    void spread(double stepAngle, std::size_t toEachSide);
};

/// Rays with these angles; where they point is what the last user left. All wheels of all vehicles share them, so that
/// a hundred vehicles do not drive one another's out of the processor's cache: angles rarely differ between wheels. A
/// few that do are kept apart. There is one thread, the host's.
/// @param step angle between two rays, radians
[[nodiscard]] SideRays& sideRays(double step, std::size_t toEachSide);

}  // namespace ond::ovs::addon::rig
