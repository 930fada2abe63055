#include "rig/SideRays.h"

#include <array>
#include <cmath>

namespace ond::ovs::addon::rig {

SideRays::SideRays(double stepAngle, std::size_t toEachSide) : step(stepAngle), rays(2 * toEachSide + 1) {
    int number = -static_cast<int>(toEachSide);
    for (SideRay& ray : rays) {
        const double angle = number++ * step;
        ray.sine = std::sin(angle);
        ray.cosine = std::cos(angle);
        ray.sineOfSize = std::sin(std::abs(angle));
        ray.cosineOfSize = std::cos(std::abs(angle));
        angles.add(ray.sine, ray.cosine);
    }
}

SideRays& sideRays(double step, std::size_t toEachSide) {
    static std::array<SideRays, 8> kept;
    static std::size_t oldest = 0;
    for (SideRays& rays : kept)
        if (rays.step == step && rays.rays.size() == 2 * toEachSide + 1) return rays;
    SideRays& rays = kept[oldest];
    oldest = (oldest + 1) % kept.size();
    return rays = SideRays(step, toEachSide);
}

}  // namespace ond::ovs::addon::rig
