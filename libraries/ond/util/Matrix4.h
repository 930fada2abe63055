// 4x4 matrix of doubles for column vectors; columns are contiguous.
//
// Written on paper, m[4*c + r] stands in line r and column c. The four numbers of a column are a group: 0 to 2 tell
// where the unit vectors of x, y and z go, 3 is where the origin goes. The rig and the car model say "row" for a group.
#pragma once

#include <array>
#include <cmath>

#include "ond/util/Vector3.h"

namespace ond::util {

struct Matrix4 {
    /// Sixteen doubles in memory order; the identity at construction.
    std::array<double, 16> m{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

    [[nodiscard]] double& operator[](int i) { return m[static_cast<std::size_t>(i)]; }
    [[nodiscard]] double operator[](int i) const { return m[static_cast<std::size_t>(i)]; }

    /// The first three numbers of group `i` (0 to 3): an axis, or for i = 3 the position.
    [[nodiscard]] Vector3<double> row(int i) const { return {(*this)[4 * i], (*this)[4 * i + 1], (*this)[4 * i + 2]}; }
    /// Sets the first three numbers of group `i`; the fourth stays.
    void setRow(int i, const Vector3<double>& v) {
        (*this)[4 * i] = v.x;
        (*this)[4 * i + 1] = v.y;
        (*this)[4 * i + 2] = v.z;
    }

    /// All four numbers of group `i` (0 to 3).
    [[nodiscard]] std::array<double, 4> group(int i) const {
        return {(*this)[4 * i], (*this)[4 * i + 1], (*this)[4 * i + 2], (*this)[4 * i + 3]};
    }

    friend bool operator==(const Matrix4& a, const Matrix4& b) { return a.m == b.m; }
    friend bool operator!=(const Matrix4& a, const Matrix4& b) { return !(a == b); }
};

/// Matrix that moves by `offset`.
[[nodiscard]] inline Matrix4 Translation(const Vector3<double>& offset) {
    Matrix4 m;
    m.setRow(3, offset);
    return m;
}

/// Matrix that scales about the origin, per axis.
[[nodiscard]] inline Matrix4 Scaling(const Vector3<double>& factors) {
    Matrix4 m;
    m[0] = factors.x;
    m[5] = factors.y;
    m[10] = factors.z;
    return m;
}

/// The same with one factor for all axes.
[[nodiscard]] inline Matrix4 Scaling(double factor) { return Scaling({factor, factor, factor}); }

/// Right-handed rotation about X by `angle` radians: takes Y towards Z.
[[nodiscard]] inline Matrix4 RotationX(double angle) {
    Matrix4 m;
    m.setRow(1, {0.0, std::cos(angle), std::sin(angle)});
    m.setRow(2, {0.0, -std::sin(angle), std::cos(angle)});
    return m;
}

/// Right-handed rotation about Y by `angle` radians: takes Z towards X.
[[nodiscard]] inline Matrix4 RotationY(double angle) {
    Matrix4 m;
    m.setRow(0, {std::cos(angle), 0.0, -std::sin(angle)});
    m.setRow(2, {std::sin(angle), 0.0, std::cos(angle)});
    return m;
}

/// Right-handed rotation about Z by `angle` radians: takes X towards Y.
[[nodiscard]] inline Matrix4 RotationZ(double angle) {
    Matrix4 m;
    m.setRow(0, {std::cos(angle), std::sin(angle), 0.0});
    m.setRow(1, {-std::sin(angle), std::cos(angle), 0.0});
    return m;
}

/// Mathematical product: applies `b` first, then `a`. Each element sums its four products from the left.
[[nodiscard]] inline Matrix4 operator*(const Matrix4& a, const Matrix4& b) {
    Matrix4 result;
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            result[4 * c + r] =
                a[r] * b[4 * c] + a[4 + r] * b[4 * c + 1] + a[8 + r] * b[4 * c + 2] + a[12 + r] * b[4 * c + 3];
    return result;
}

/// Upper left 3x3 of `m` times `p`, plus `w` times the translation. Never divides.
[[nodiscard]] inline Vector3<double> TransformNoProjection(const Matrix4& m, const Vector3<double>& p, double w) {
    return {m[0] * p.x + m[4] * p.y + m[8] * p.z + m[12] * w, m[1] * p.x + m[5] * p.y + m[9] * p.z + m[13] * w,
            m[2] * p.x + m[6] * p.y + m[10] * p.z + m[14] * w};
}

/// Transforms a point, projectively: the result is divided by its fourth coordinate w, unless w is exactly 0.
[[nodiscard]] inline Vector3<double> Transform(const Matrix4& m, const Vector3<double>& p) {
    const Vector3<double> q = TransformNoProjection(m, p, 1.0);
    const double w = m[3] * p.x + m[7] * p.y + m[11] * p.z + m[15];
    return q / (w == 0.0 ? 1.0 : w);
}

/// Of the 3x3 part that rotates and scales, developed along its top line on paper.
[[nodiscard]] inline double Determinant(const Matrix4& m) {
    return m[0] * (m[5] * m[10] - m[9] * m[6]) - m[4] * (m[1] * m[10] - m[9] * m[2]) +
           m[8] * (m[1] * m[6] - m[5] * m[2]);
}

/// Inverse of an affine matrix: the 3x3 part by cofactors, each divided by the determinant; the translation becomes
/// -(inverse 3x3 * translation), and the fourth number of each group is that of the identity.
/// Where the determinant is 0 to the bit, all sixteen numbers are 0.
[[nodiscard]] inline Matrix4 Inverse(const Matrix4& m) {
    Matrix4 r;
    const double det = Determinant(m);
    if (det == 0.0) {
        r.m.fill(0.0);
        return r;
    }
    r[0] = (m[5] * m[10] - m[9] * m[6]) / det;
    r[4] = (m[8] * m[6] - m[4] * m[10]) / det;
    r[8] = (m[4] * m[9] - m[8] * m[5]) / det;
    r[1] = (m[9] * m[2] - m[1] * m[10]) / det;
    r[5] = (m[0] * m[10] - m[8] * m[2]) / det;
    r[9] = (m[8] * m[1] - m[0] * m[9]) / det;
    r[2] = (m[1] * m[6] - m[5] * m[2]) / det;
    r[6] = (m[4] * m[2] - m[0] * m[6]) / det;
    r[10] = (m[0] * m[5] - m[4] * m[1]) / det;
    r.setRow(3, -TransformNoProjection(r, m.row(3), 0.0));
    return r;
}

/// Lengths of groups 0 to 2, all >= 0.
[[nodiscard]] inline Vector3<double> Scale(const Matrix4& m) {
    return {Length(m.row(0)), Length(m.row(1)), Length(m.row(2))};
}

/// Gives the three axes of `m` the lengths `scale`. An axis of length 0 has the direction (0, 1, 0).
inline void SetScale(Matrix4& m, const Vector3<double>& scale) {
    m.setRow(0, Normalized(m.row(0)) * scale.x);
    m.setRow(1, Normalized(m.row(1)) * scale.y);
    m.setRow(2, Normalized(m.row(2)) * scale.z);
}

}  // namespace ond::util
