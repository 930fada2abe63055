// Rigid transform: a position and a rotation, seven numbers in that order.
#pragma once

#include "ond/util/Matrix4.h"
#include "ond/util/Quat.h"
#include "ond/util/Vector3.h"

namespace ond::util {

template <typename T>
struct QTransform {
    Vector3<T> position;
    Quat<T> rotation;

    constexpr QTransform() = default;
    constexpr QTransform(const Vector3<T>& p, const Quat<T>& r) : position(p), rotation(r) {}

    /// The transform of a matrix: its position, and its rotation with any scale removed.
    [[nodiscard]] static QTransform FromMatrix(const Matrix4& m) {
        const Vector3<double> p = m.row(3);
        return {{static_cast<T>(p.x), static_cast<T>(p.y), static_cast<T>(p.z)}, Quat<T>::FromMatrix(m)};
    }

    friend constexpr bool operator==(const QTransform& a, const QTransform& b) {
        return a.position == b.position && a.rotation == b.rotation;
    }
    friend constexpr bool operator!=(const QTransform& a, const QTransform& b) { return !(a == b); }
};

/// `p` turned by the rotation, then moved by the position.
template <typename T>
[[nodiscard]] inline Vector3<T> Transform(const QTransform<T>& t, const Vector3<T>& p) {
    return t.position + Rotate(t.rotation, p);
}

/// Rotation matrix of the rotation, with the position as its translation.
template <typename T>
[[nodiscard]] inline Matrix4 ToMatrix(const QTransform<T>& t) {
    Matrix4 m = ToMatrix(t.rotation);
    m.setRow(3, {t.position.x, t.position.y, t.position.z});
    return m;
}

}  // namespace ond::util
