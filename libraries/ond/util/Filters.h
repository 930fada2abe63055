// Smoothing filters whose result does not depend on the frame rate.
//
// Factors are tuned for frames of 0.04 s. A time step `dt` (seconds, > 0) is cut into n = trunc(dt / 0.04) + 1 slices,
// and each slice moves the value by k * factor of the remaining distance, with k = (dt / 0.04) / n. A factor between 0
// and 1 smooths, and the less of it the slower; exactly 0 is the exception and switches the filter off, like 1 for
// FilterExact. Nothing limits factors above 1: they overshoot. `maxRate` is a leftover of the signature, never read.
//
// The quaternion forms bring `target` and `value` to one hemisphere first and may therefore change the sign of BOTH.
#pragma once

#include "ond/util/Quat.h"
#include "ond/util/Vector3.h"

namespace ond::util {

/// How a time step is cut for the filters.
struct FilterSlices {
    int count;  ///< number of slices, 1 or more for a step of 0 or more
    double k;   ///< share of the reference period that one slice covers

    explicit FilterSlices(double dt) {
        constexpr double kReferencePeriod = 0.04;     // seconds: 25 steps a second
        constexpr double kLargestCount = 2147483646;  // what still fits the slice counter after adding one
        const double r = dt / kReferencePeriod;
        const bool countable = r > -kLargestCount && r < kLargestCount;  // false for NaN and infinities too
        count = (countable ? static_cast<int>(r) : 0) + 1;
        k = r / count;
    }
};

namespace detail {

template <typename V, typename T>
inline void approach(V& value, const V& target, T kFactor, int slices) {
    for (int i = 0; i < slices; ++i) value += kFactor * (target - value);
}

/// Brings `target` to w >= 0 and `value` to the hemisphere of `target`. At right angles `value` keeps its sign.
template <typename T>
inline void alignHemispheres(Quat<T>& value, Quat<T>& target) {
    if (target.w < T(0)) Negate(target);
    if (value.w < T(0)) Negate(value);
    Quat<T> opposite = value;
    Negate(opposite);
    if (SquaredNorm(target - value) > SquaredNorm(target - opposite)) value = opposite;
}

}  // namespace detail

/// Runs `value` towards `target`; jumps to it at a factor of 1 or 0 (to the bit).
template <typename T>
inline void FilterExact(T& value, T target, T factor, [[maybe_unused]] T maxRate, T dt) {
    const FilterSlices s(dt);
    if (factor == T(1) || factor == T(0))
        value = target;
    else
        detail::approach(value, target, static_cast<T>(s.k * factor), s.count);
}

/// Vector form: the scalar law on each component.
template <typename T>
inline void FilterExact(Vector3<T>& value, const Vector3<T>& target, T factor, [[maybe_unused]] T maxRate, T dt) {
    const FilterSlices s(dt);
    if (factor == T(1) || factor == T(0))
        value = target;
    else
        detail::approach(value, target, static_cast<T>(s.k * factor), s.count);
}

/// Quaternion form: each component for itself, along the chord; only the end result is brought back to norm 1.
/// `target` must not alias `value`; its sign may change.
template <typename T>
inline void FilterExact(Quat<T>& value, Quat<T>& target, T factor, [[maybe_unused]] T maxRate, T dt) {
    detail::alignHemispheres(value, target);
    const FilterSlices s(dt);
    if (factor == T(1) || factor == T(0))
        value = target;
    else
        detail::approach(value, target, static_cast<T>(s.k * factor), s.count);
    Normalize(value);
}

/// As FilterExact, but jumps when k * factor reaches 1 (or `factor` is exactly 0), so that it never overshoots.
template <typename T>
inline void FilterSaturating(T& value, T target, T factor, [[maybe_unused]] T maxRate, T dt) {
    const FilterSlices s(dt);
    if (s.k * factor >= T(1) || factor == T(0))
        value = target;
    else
        detail::approach(value, target, static_cast<T>(s.k * factor), s.count);
}

template <typename T>
inline void FilterSaturating(Vector3<T>& value, const Vector3<T>& target, T factor, [[maybe_unused]] T maxRate, T dt) {
    const FilterSlices s(dt);
    if (s.k * factor >= T(1) || factor == T(0))
        value = target;
    else
        detail::approach(value, target, static_cast<T>(s.k * factor), s.count);
}

template <typename T>
inline void FilterSaturating(Quat<T>& value, Quat<T>& target, T factor, [[maybe_unused]] T maxRate, T dt) {
    detail::alignHemispheres(value, target);
    const FilterSlices s(dt);
    if (s.k * factor >= T(1) || factor == T(0))
        value = target;
    else
        detail::approach(value, target, static_cast<T>(s.k * factor), s.count);
    Normalize(value);
}

/// Quaternion filter with gains on distance, on change of rate and on rate; `previous` and `previous2` are the values
/// one and two steps ago. When the three gains add up to exactly 0 it is FilterExact with the factor `gainP`.
template <typename T>
inline void FilterQuatPid(Quat<T>& value, const Quat<T>& previous, const Quat<T>& previous2, Quat<T>& target, T gainP,
                          T gainD, T gainV, T dt) {
    if (gainP + gainD + gainV == T(0)) {
        FilterExact(value, target, gainP, T(1), dt);
        return;
    }
    const auto over = [](const Quat<T>& q, T s) { return Quat<T>(q.x / s, q.y / s, q.z / s, q.w / s); };
    const Quat<T> rate = over(value - previous, dt);
    const Quat<T> rateBefore = over(previous - previous2, dt);
    const Quat<T> change = over(rate - rateBefore, dt);
    value += gainP * (target - value) - gainD * change - gainV * rate;
    Normalize(value);
}

}  // namespace ond::util
