// Numbers that are the same in every run with the same seed.
#pragma once

#include <cstdint>

namespace ond::bench::table {

/// SplitMix64, after S. Vigna.
class Random {
  public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t bits() {
        m_state += 0x9E3779B97F4A7C15u;
        std::uint64_t z = m_state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }
    /// Evenly in [low, high).
    double between(double low, double high) { return low + (high - low) * 0x1p-53 * static_cast<double>(bits() >> 11); }

  private:
    std::uint64_t m_state;
};

}  // namespace ond::bench::table
