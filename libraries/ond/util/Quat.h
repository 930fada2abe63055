// Rotation quaternion, scalar part last. Of the two signs that stand for one rotation, w >= 0 is the canonical one.
#pragma once

#include <cmath>

#include "ond/util/Matrix4.h"
#include "ond/util/Scalar.h"
#include "ond/util/Vector3.h"

namespace ond::util {

template <typename T>
struct Quat {
    T x = T(0);
    T y = T(0);
    T z = T(0);
    T w = T(1);

    constexpr Quat() = default;
    constexpr Quat(T px, T py, T pz, T pw) : x(px), y(py), z(pz), w(pw) {}

    [[nodiscard]] static Quat FromMatrix(const Matrix4& matrix);
    [[nodiscard]] static Quat FromRotationVector(const Vector3<T>& v);

    constexpr Quat& operator+=(const Quat& o) { return *this = *this + o; }
    /// Exact comparison of the components; q and -q differ although they are the same rotation.
    friend constexpr bool operator==(const Quat& a, const Quat& b) {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }
    friend constexpr bool operator!=(const Quat& a, const Quat& b) { return !(a == b); }

    friend constexpr Quat operator+(const Quat& a, const Quat& b) {
        return {a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w};
    }
    friend constexpr Quat operator-(const Quat& a, const Quat& b) {
        return {a.x - b.x, a.y - b.y, a.z - b.z, a.w - b.w};
    }
    friend constexpr Quat operator*(T s, const Quat& q) { return {s * q.x, s * q.y, s * q.z, s * q.w}; }
    friend constexpr Quat operator*(const Quat& q, T s) { return {q.x * s, q.y * s, q.z * s, q.w * s}; }
};

template <typename T>
[[nodiscard]] constexpr T Dot4(const Quat<T>& a, const Quat<T>& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

template <typename T>
[[nodiscard]] constexpr T SquaredNorm(const Quat<T>& q) {
    return Dot4(q, q);
}

/// Flips `q` to its antipode in place. It still stands for the rotation it stood for.
template <typename T>
constexpr void Negate(Quat<T>& q) {
    q = Quat<T>(-q.x, -q.y, -q.z, -q.w);
}

template <typename T>
[[nodiscard]] constexpr Quat<T> Conjugate(const Quat<T>& q) {
    return {-q.x, -q.y, -q.z, q.w};
}

/// Sum of the absolute differences of the components; 2 or more means opposite hemispheres.
template <typename T>
[[nodiscard]] inline T SumAbsDiff(const Quat<T>& a, const Quat<T>& b) {
    return std::abs(a.x - b.x) + std::abs(a.y - b.y) + std::abs(a.z - b.z) + std::abs(a.w - b.w);
}

/// Rotation `a` followed by rotation `b`, that is Hamilton's product with `b` as the left factor.
template <typename T>
[[nodiscard]] constexpr Quat<T> Multiply(const Quat<T>& a, const Quat<T>& b) {
    return {b.x * a.w + b.y * a.z - b.z * a.y + b.w * a.x, -b.x * a.z + b.y * a.w + b.z * a.x + b.w * a.y,
            b.x * a.y - b.y * a.x + b.z * a.w + b.w * a.z, -b.x * a.x - b.y * a.y - b.z * a.z + b.w * a.w};
}

/// In place to norm 1 by a multiplication with 1 / sqrt(squared norm). All zeros give the identity.
template <typename T>
inline void Normalize(Quat<T>& q) {
    const T squared = SquaredNorm(q);
    q = squared == T(0) ? Quat<T>() : q * (T(1) / std::sqrt(squared));
}

/// The same, but a zero quaternion stays as it is.
template <typename T>
inline void NormalizeNonZero(Quat<T>& q) {
    if (SquaredNorm(q) != T(0)) Normalize(q);
}

template <typename T>
[[nodiscard]] inline Quat<T> Normalized(Quat<T> q) {
    Normalize(q);
    return q;
}

/// Rotation matrix of `q`, without translation. `q` is taken as it is, so its squared norm is a scale of the result.
template <typename T>
[[nodiscard]] inline Matrix4 ToMatrix(const Quat<T>& q) {
    const double x2 = q.x * q.x;
    const double y2 = q.y * q.y;
    const double z2 = q.z * q.z;
    const double w2 = q.w * q.w;
    Matrix4 m;
    m.setRow(0, {x2 - y2 - z2 + w2, 2.0 * (q.x * q.y + q.z * q.w), 2.0 * (q.x * q.z - q.y * q.w)});
    m.setRow(1, {2.0 * (q.x * q.y - q.z * q.w), -x2 + y2 - z2 + w2, 2.0 * (q.y * q.z + q.x * q.w)});
    m.setRow(2, {2.0 * (q.x * q.z + q.y * q.w), 2.0 * (q.y * q.z - q.x * q.w), -x2 - y2 + z2 + w2});
    return m;
}

/// `v` turned by `q` (q v q*), through the matrix of `q`. Check: a quarter turn about +Y takes (0,0,-1) to (-1,0,0).
template <typename T>
[[nodiscard]] inline Vector3<T> Rotate(const Quat<T>& q, const Vector3<T>& v) {
    const Matrix4 m = ToMatrix(q);
    return {static_cast<T>(m[0] * v.x + m[4] * v.y + m[8] * v.z), static_cast<T>(m[1] * v.x + m[5] * v.y + m[9] * v.z),
            static_cast<T>(m[2] * v.x + m[6] * v.y + m[10] * v.z)};
}

/// Rotation vector: along the axis, as long as the angle, which is in [0, pi]. If w < 0, `q` itself is flipped first.
template <typename T>
[[nodiscard]] inline Vector3<T> ToRotationVector(Quat<T>& q) {
    if (q.w < T(0)) Negate(q);
    const T angle = T(2) * std::acos(ClampAbs(q.w, T(1)));
    if (angle == T(0)) return {};
    return Vector3<T>(q.x, q.y, q.z) * (T(1) / std::sin(angle / T(2))) * angle;
}

/// Quaternion of a rotation vector `v`. Where the components of `v` add up to exactly 0, as those of (2, -1, -1) do,
/// it serves as the axis without being brought to length 1, and the result is no unit quaternion.
template <typename T>
Quat<T> Quat<T>::FromRotationVector(const Vector3<T>& v) {
    const T half = Length(v) * T(0.5);
    const Vector3<T> axis = v.x + v.y + v.z != T(0) ? Normalized(v) : v;
    const T s = std::sin(half);
    return {axis.x * s, axis.y * s, axis.z * s, std::cos(half)};
}

/// Rotation of `matrix` with its scale removed (a zero axis counts as (0, 1, 0)); unit norm and w >= 0.
/// The largest of the four squared components is taken first, ties going to w, x, y, z in that order.
/// Source: the usual trace method for rotation matrices.
template <typename T>
Quat<T> Quat<T>::FromMatrix(const Matrix4& matrix) {
    const Vector3<double> a = Normalized(matrix.row(0));
    const Vector3<double> b = Normalized(matrix.row(1));
    const Vector3<double> c = Normalized(matrix.row(2));
    const double candidates[4] = {std::abs(1.0 + a.x + b.y + c.z), std::abs(1.0 + a.x - b.y - c.z),
                                  std::abs(1.0 - a.x + b.y - c.z), std::abs(1.0 - a.x - b.y + c.z)};
    int winner = 0;
    for (int i = 1; i < 4; ++i)
        if (candidates[i] > candidates[winner]) winner = i;
    const double s = 2.0 * std::sqrt(candidates[winner]);
    const double dx = (b.z - c.y) / s;
    const double dy = (c.x - a.z) / s;
    const double dz = (a.y - b.x) / s;
    const double sxy = (b.x + a.y) / s;
    const double sxz = (c.x + a.z) / s;
    const double syz = (c.y + b.z) / s;
    Quat<double> q;
    switch (winner) {
        case 0: q = {dx, dy, dz, s / 4.0}; break;
        case 1: q = {s / 4.0, sxy, sxz, dx}; break;
        case 2: q = {sxy, s / 4.0, syz, dy}; break;
        default: q = {sxz, syz, s / 4.0, dz}; break;
    }
    Normalize(q);
    if (q.w < 0.0) Negate(q);
    return {static_cast<T>(q.x), static_cast<T>(q.y), static_cast<T>(q.z), static_cast<T>(q.w)};
}

/// Interpolation along the arc from `a` (t = 0) to `b` (t = 1). Both operands keep their signs; equal operands give
/// `a` back. Source: K. Shoemake, "Animating rotation with quaternion curves" (1985).
template <typename T>
[[nodiscard]] inline Quat<T> Slerp(const Quat<T>& a, const Quat<T>& b, T t) {
    const T angle = std::acos(ClampAbs(Dot4(a, b), T(1)));
    const T s = std::sin(angle);
    if (s == T(0)) return a;
    return (std::sin((T(1) - t) * angle) / s) * a + (std::sin(t * angle) / s) * b;
}

}  // namespace ond::util
