// Random numbers of tests: the same on every library and machine.
#pragma once

#include <cmath>
#include <cstdint>
#include <random>

#include "ond/util/Quat.h"
#include "ond/util/Vector3.h"

namespace ond::test {

/// Draws only on the generator's bits, whose sequence the C++ standard fixes; its distributions are left to libraries.
class PinnedRandom {
  public:
    explicit PinnedRandom(std::uint64_t seed) : m_generator(seed) {}

    /// In [low, high).
    double in(double low, double high) {
        return low + (high - low) * (static_cast<double>(m_generator() >> 11) * 0x1p-53);
    }
    bool chance(double probability) { return in(0.0, 1.0) < probability; }
    std::uint32_t bits() { return static_cast<std::uint32_t>(m_generator() >> 32); }
    util::Vector3<double> vector(double size) {
        const double x = in(-size, size);
        const double y = in(-size, size);
        return {x, y, in(-size, size)};
    }
    /// A unit quaternion of either sign.
    util::Quat<double> rotation() {
        util::Quat<double> q(in(-1, 1), in(-1, 1), in(-1, 1), in(-1, 1));
        util::Normalize(q);
        return q;
    }

  private:
    std::mt19937_64 m_generator;
};

}  // namespace ond::test
