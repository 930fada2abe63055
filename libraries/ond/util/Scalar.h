// Signs, clamps and repeatable noise on single numbers.
//
// Every function works on its arguments alone, allocates nothing and throws nothing.
#pragma once

#include <cmath>
#include <cstdint>

namespace ond::util {

/// -1 below zero, +1 everywhere else: for both zeros and for NaN too.
template <typename T>
[[nodiscard]] inline T Sign(T x) {
    return T(0) > x ? T(-1) : T(1);
}

/// Sign with zero as a class of its own: -1, 0 or +1. NaN stays NaN.
template <typename T>
[[nodiscard]] inline T SignZero(T x) {
    if (T(0) > x) return T(-1);
    if (x > T(0)) return T(1);
    return x == T(0) ? T(0) : x;
}

/// Whether `a` and `b` are both negative, both zero or both positive. False if either is NaN.
template <typename T>
[[nodiscard]] inline bool SameSign(T a, T b) {
    return SignZero(a) == SignZero(b);
}

/// `x` limited to [-max, max]; a NaN passes through.
template <typename T>
[[nodiscard]] inline T ClampAbs(T x, T max) {
    return std::abs(x) > max ? Sign(x) * max : x;
}

/// `x` kept away from zero: magnitudes below `min` become `min` with the sign of `x`, and 0 becomes +min.
template <typename T>
[[nodiscard]] inline T ClampAbsMin(T x, T min) {
    return min > std::abs(x) ? Sign(x) * min : x;
}

/// Noise from an integer hash: advances `counter` by one (wrapping) and returns what the new count hashes to, at least
/// 0 and below 1.
///
/// There is no other state: who keeps the counter with a frame gets that frame's noise again.
/// Source of the formula: the classic one-dimensional integer lattice noise (cubic in the scrambled counter).
[[nodiscard]] inline double RandomUnit(std::uint32_t& counter) {
    counter += 1u;
    const std::uint32_t n = (counter << 13) ^ counter;
    const std::uint32_t m = (n * (n * n * 15731u + 789221u) + 1376312589u) & 0x7fffffffu;
    return 0.5 * static_cast<double>(m) / 1073741824.0;
}

/// The same for a counter kept as a signed number, as animated variables hold it; wraps from max to min.
[[nodiscard]] inline double RandomUnit(std::int32_t& counter) {
    auto bits = static_cast<std::uint32_t>(counter);
    const double result = RandomUnit(bits);
    counter = static_cast<std::int32_t>(bits);
    return result;
}

}  // namespace ond::util
