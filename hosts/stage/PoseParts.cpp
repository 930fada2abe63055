#include "stage/PoseParts.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ond::stage {

using util::Matrix4;
using util::Quat;
using util::Vector3;

namespace {

using Axes = std::array<Vector3<double>, 3>;

/// Cosines between axes up to this count as right angles.
constexpr double kSquare = 1e-9;
/// Below this volume of three unit axes no rotation is near them.
constexpr double kFlat = 1e-6;

Matrix4 matrixOf(const Axes& axes) {
    Matrix4 m;
    for (int i = 0; i < 3; ++i) m.setRow(i, axes[static_cast<std::size_t>(i)]);
    return m;
}

/// A unit vector square to `v`, which has length 1.
Vector3<double> squareTo(const Vector3<double>& v) {
    const Vector3<double> other = std::abs(v.x) < 0.6 ? Vector3<double>(1, 0, 0) : Vector3<double>(0, 1, 0);
    return util::Normalized(util::Cross(util::Cross(v, other), v));
}

/// Gives axes without length a direction that is square to the others.
void completeAxes(Axes& axes, const Vector3<double>& lengths) {
    const std::array<bool, 3> known{lengths.x > 0.0, lengths.y > 0.0, lengths.z > 0.0};
    const auto count = std::count(known.begin(), known.end(), true);
    if (count == 3) return;
    if (count == 0) {
        axes = {Vector3<double>(1, 0, 0), Vector3<double>(0, 1, 0), Vector3<double>(0, 0, 1)};
        return;
    }
    std::size_t first = 0;
    while (!known[first]) ++first;
    const std::size_t second = (first + 1) % 3;
    const std::size_t third = (first + 2) % 3;
    if (!known[second] && !known[third]) axes[second] = squareTo(axes[first]);
    if (known[second] || !known[third])
        axes[third] = util::Normalized(util::Cross(axes[first], axes[second]));
    else
        axes[second] = util::Normalized(util::Cross(axes[third], axes[first]));
}

bool isSquare(const Axes& axes) {
    return std::abs(util::Dot(axes[0], axes[1])) < kSquare && std::abs(util::Dot(axes[1], axes[2])) < kSquare &&
           std::abs(util::Dot(axes[2], axes[0])) < kSquare;
}

/// The orthogonal matrix that is nearest to three unit axes: the mean with the inverse transposed, again and again.
Axes nearestSquare(Axes axes) {
    if (std::abs(util::Determinant(matrixOf(axes))) < kFlat) {
        const Vector3<double> y = axes[1] - axes[0] * util::Dot(axes[0], axes[1]);
        axes[1] = util::Length(y) < kFlat ? squareTo(axes[0]) : util::Normalized(y);
        axes[2] = util::Cross(axes[0], axes[1]);
        return axes;
    }
    for (int round = 0; round < 100 && !isSquare(axes); ++round) {
        const Matrix4 inverse = util::Inverse(matrixOf(axes));
        for (std::size_t i = 0; i < 3; ++i) {
            const int column = static_cast<int>(i);
            const Vector3<double> other(inverse[column], inverse[column + 4], inverse[column + 8]);
            axes[i] = (axes[i] + other) * 0.5;
        }
    }
    return axes;
}

}  // namespace

PoseParts partsOf(const Matrix4& matrix) {
    PoseParts parts;
    parts.translation = matrix.row(3);
    parts.scale = util::Scale(matrix);
    Axes axes{util::Normalized(matrix.row(0)), util::Normalized(matrix.row(1)), util::Normalized(matrix.row(2))};
    completeAxes(axes, parts.scale);
    if (!isSquare(axes)) {
        axes = nearestSquare(axes);
        parts.scale = {util::Dot(axes[0], matrix.row(0)), util::Dot(axes[1], matrix.row(1)),
                       util::Dot(axes[2], matrix.row(2))};
    }
    if (util::Determinant(matrixOf(axes)) < 0.0) {
        axes[0] = -axes[0];
        parts.scale.x = -parts.scale.x;
    }
    parts.rotation = Quat<double>::FromMatrix(matrixOf(axes));
    return parts;
}

Matrix4 matrixOf(const PoseParts& parts) {
    Matrix4 m = util::ToMatrix(parts.rotation) * util::Scaling(parts.scale);
    m.setRow(3, parts.translation);
    return m;
}

}  // namespace ond::stage
