// Four single-precision numbers that are worked on at once.
//
// Only for what rules things out with a margin: answers come from doubles.
#pragma once

#if defined(__SSE2__)
#include <emmintrin.h>
#else
#include <cmath>
#endif

#include "ond/util/Vector3.h"

namespace ond::ovs::addon {

/// Arithmetic and comparisons work lane by lane; a comparison gives 0 or -1 per lane.
using FourFloats = float __attribute__((vector_size(16)));
using FourMasks = int __attribute__((vector_size(16)));
/// Where they come from.
using FourDoubles = double __attribute__((vector_size(32), aligned(16)));

[[nodiscard]] inline FourFloats allFour(float value) { return FourFloats{value, value, value, value}; }

/// Four vectors side by side.
struct FourVectors {
    FourFloats x;
    FourFloats y;
    FourFloats z;
};

/// The same vector four times.
[[nodiscard]] inline FourVectors allFour(const util::Vector3<double>& v) {
    return {allFour(static_cast<float>(v.x)), allFour(static_cast<float>(v.y)), allFour(static_cast<float>(v.z))};
}

/// The lesser of each lane; that of `b` where one is not a number.
[[nodiscard]] inline FourFloats lesser(FourFloats a, FourFloats b) {
#if defined(__SSE2__)
    return _mm_min_ps(a, b);
#else
    return a < b ? a : b;
#endif
}

/// The greater of each lane; that of `b` where one is not a number.
[[nodiscard]] inline FourFloats greater(FourFloats a, FourFloats b) {
#if defined(__SSE2__)
    return _mm_max_ps(a, b);
#else
    return a > b ? a : b;
#endif
}

/// `value` with the sign turned in the lanes where `sign` is below zero.
[[nodiscard]] inline FourFloats withSignOf(FourFloats sign, FourFloats value) {
    const FourMasks top = reinterpret_cast<FourMasks>(allFour(-0.0F));
    return reinterpret_cast<FourFloats>(reinterpret_cast<FourMasks>(value) ^ (reinterpret_cast<FourMasks>(sign) & top));
}

/// `value` without its sign.
[[nodiscard]] inline FourFloats sizeOf(FourFloats value) {
    const FourMasks top = reinterpret_cast<FourMasks>(allFour(-0.0F));
    return reinterpret_cast<FourFloats>(reinterpret_cast<FourMasks>(value) & ~top);
}

[[nodiscard]] inline FourFloats squareRoot(FourFloats value) {
#if defined(__SSE2__)
    return _mm_sqrt_ps(value);
#else
    return FourFloats{std::sqrt(value[0]), std::sqrt(value[1]), std::sqrt(value[2]), std::sqrt(value[3])};
#endif
}

/// Lane by lane `a` where the mask holds, else `b`.
[[nodiscard]] inline FourFloats choose(FourMasks mask, FourFloats a, FourFloats b) {
    return reinterpret_cast<FourFloats>((reinterpret_cast<FourMasks>(a) & mask) |
                                        (reinterpret_cast<FourMasks>(b) & ~mask));
}

/// Makes rows of columns.
inline void transpose(FourFloats& a, FourFloats& b, FourFloats& c, FourFloats& d) {
    const FourFloats ab = __builtin_shufflevector(a, b, 0, 4, 1, 5);
    const FourFloats cd = __builtin_shufflevector(c, d, 0, 4, 1, 5);
    const FourFloats abBehind = __builtin_shufflevector(a, b, 2, 6, 3, 7);
    const FourFloats cdBehind = __builtin_shufflevector(c, d, 2, 6, 3, 7);
    a = __builtin_shufflevector(ab, cd, 0, 1, 4, 5);
    b = __builtin_shufflevector(ab, cd, 2, 3, 6, 7);
    c = __builtin_shufflevector(abBehind, cdBehind, 0, 1, 4, 5);
    d = __builtin_shufflevector(abBehind, cdBehind, 2, 3, 6, 7);
}

/// Bit `i` tells whether lane `i` of a comparison holds.
[[nodiscard]] inline unsigned bitsOf(FourMasks mask) {
#if defined(__SSE2__)
    return static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(reinterpret_cast<__m128i>(mask))));
#else
    return (mask[0] & 1U) | (mask[1] & 2U) | (mask[2] & 4U) | (mask[3] & 8U);
#endif
}

}  // namespace ond::ovs::addon
