#include "table/WheelRays.h"

#include <cmath>
#include <stdexcept>

#include "table/Random.h"

namespace ond::bench::table {

namespace {

// About those of a vehicle as it is made, in scene units.
constexpr double kCentreHeight = 1.2;
constexpr double kRadius = 0.35;
constexpr double kHalfTread = 0.12;

constexpr int kSideRays = 9;                                  // to the front, and as many to the back
constexpr double kRadians = 4.0 * 3.141592653589793 / 180.0;  // between two of them
constexpr double kLean = 0.1;                                 // most that a car leans, to either side

/// On the ground, and not at its rim. Gives up on grounds that are next to nothing.
Vector somewhere(const Terrain& terrain, Random& random) {
    for (int attempt = 0; attempt < 1000; ++attempt) {
        const double x = random.between(0.02, 0.98);
        if (const auto ground = terrain.groundAt(x, random.between(0.02, 0.98))) return *ground;
    }
    throw std::runtime_error("there is too little ground in the mesh; give one that covers more of its width");
}

void addFan(std::vector<Ray>& rays, const Vector& ground, Random& random) {
    const double heading = random.between(0.0, 6.283185307179586);
    const double leanX = random.between(-kLean, kLean);
    const Vector up = util::Normalized(Vector(leanX, 1.0, random.between(-kLean, kLean)));
    const Vector axle = util::Normalized(util::Cross(up, Vector(std::sin(heading), 0.0, std::cos(heading))));
    const Vector ahead = util::Cross(axle, up);
    rays.push_back({ground + kCentreHeight * up, -up});
    for (int e = -1; e <= 1; ++e)
        for (int j = -kSideRays; j <= kSideRays; ++j) {
            if (e == 0 && j == 0) continue;
            const Vector direction = std::sin(j * kRadians) * ahead - std::cos(j * kRadians) * up;
            rays.push_back({ground + kRadius * up + e * kHalfTread * axle, direction});
        }
}

}  // namespace

std::vector<Ray> verticalRays(const Terrain& terrain, int count, std::uint64_t seed) {
    Random random(seed);
    std::vector<Ray> rays;
    for (int i = 0; i < count; ++i)
        rays.push_back({somewhere(terrain, random) + Vector(0.0, kCentreHeight, 0.0), Vector(0.0, -1.0, 0.0)});
    return rays;
}

std::vector<Ray> wheelFans(const Terrain& terrain, int fans, std::uint64_t seed) {
    Random random(seed);
    std::vector<Ray> rays;
    rays.reserve(static_cast<std::size_t>(fans) * kRaysOfFan);
    for (int i = 0; i < fans; ++i) addFan(rays, somewhere(terrain, random), random);
    return rays;
}

}  // namespace ond::bench::table
