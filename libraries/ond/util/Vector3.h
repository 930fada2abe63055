// Three-component vector. Axes: +Y up, the front of things towards -Z, their right-hand side towards +X.
#pragma once

#include <cmath>

namespace ond::util {

template <typename T>
struct Vector3 {
    T x = T(0);
    T y = T(0);
    T z = T(0);

    constexpr Vector3() = default;
    constexpr Vector3(T px, T py, T pz) : x(px), y(py), z(pz) {}

    constexpr Vector3& operator+=(const Vector3& o) {
        x += o.x;
        y += o.y;
        z += o.z;
        return *this;
    }
    constexpr Vector3& operator-=(const Vector3& o) {
        x -= o.x;
        y -= o.y;
        z -= o.z;
        return *this;
    }
    /// Exact comparison of the components, without a tolerance.
    friend constexpr bool operator==(const Vector3& a, const Vector3& b) {
        return a.x == b.x && a.y == b.y && a.z == b.z;
    }
    friend constexpr bool operator!=(const Vector3& a, const Vector3& b) { return !(a == b); }

    friend constexpr Vector3 operator+(const Vector3& a, const Vector3& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
    friend constexpr Vector3 operator-(const Vector3& a, const Vector3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
    friend constexpr Vector3 operator-(const Vector3& a) { return {-a.x, -a.y, -a.z}; }
    friend constexpr Vector3 operator*(T s, const Vector3& v) { return {s * v.x, s * v.y, s * v.z}; }
    friend constexpr Vector3 operator*(const Vector3& v, T s) { return {v.x * s, v.y * s, v.z * s}; }
    /// Divides each component; not a multiplication by the reciprocal, which rounds differently.
    friend constexpr Vector3 operator/(const Vector3& v, T s) { return {v.x / s, v.y / s, v.z / s}; }
};

template <typename T>
[[nodiscard]] constexpr T Dot(const Vector3<T>& a, const Vector3<T>& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// Right-handed cross product: Cross(X, Y) = Z.
template <typename T>
[[nodiscard]] constexpr Vector3<T> Cross(const Vector3<T>& a, const Vector3<T>& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

template <typename T>
[[nodiscard]] inline T Length(const Vector3<T>& v) {
    return std::sqrt(Dot(v, v));
}

/// `v` scaled to length 1. A length of exactly 0 has no direction; the result is then +Y, so that callers can go on.
template <typename T>
[[nodiscard]] inline Vector3<T> Normalized(const Vector3<T>& v) {
    const T length = Length(v);
    if (length == T(0)) return {T(0), T(1), T(0)};
    return v / length;
}

/// In-place form of Normalized().
template <typename T>
inline void Normalize(Vector3<T>& v) {
    v = Normalized(v);
}

/// `v` shortened to length `max` if it is longer, else `v` unchanged.
template <typename T>
[[nodiscard]] inline Vector3<T> ClampLength(const Vector3<T>& v, T max) {
    const T length = Length(v);
    return length > max ? v * max / length : v;
}

}  // namespace ond::util
