#include "rig/SideRays.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

namespace ond::ovs::addon::rig {

namespace {

constexpr std::size_t kMostKept = 32;

}  // namespace

void SideRays::spread(double stepAngle, std::size_t toEachSide) {
    step = stepAngle;
    rays.resize(2 * toEachSide + 1);
    angles.clear();
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
    static std::array<SideRays, kMostKept> kept;
    static std::size_t oldest = 0;
    // By bits: a step that is no number is the same as itself, too.
    const auto bits = std::bit_cast<std::uint64_t>(step);
    for (SideRays& rays : kept)
        if (std::bit_cast<std::uint64_t>(rays.step) == bits && rays.rays.size() == 2 * toEachSide + 1) return rays;
    SideRays& rays = kept[oldest];
    oldest = (oldest + 1) % kept.size();
    rays.spread(step, toEachSide);
    return rays;
}

}  // namespace ond::ovs::addon::rig
