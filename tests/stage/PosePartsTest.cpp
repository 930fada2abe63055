#include "stage/PoseParts.h"

#include <gtest/gtest.h>

#include <cmath>

#include "util/PinnedRandom.h"

namespace ond::test {

using namespace stage;
using util::Matrix4;
using util::Vector3;

namespace {

double difference(const Matrix4& a, const Matrix4& b) {
    double most = 0.0;
    for (int i = 0; i < 16; ++i) most = std::max(most, std::abs(a[i] - b[i]));
    return most;
}

TEST(PoseParts, PutTogetherGiveTheMatrix) {
    PinnedRandom random(3);
    for (int i = 0; i < 500; ++i) {
        const Vector3<double> scale(random.in(0.01, 9.0), random.in(0.01, 9.0), random.in(0.01, 9.0));
        Matrix4 m = util::ToMatrix(random.rotation()) * util::Scaling(scale);
        m.setRow(3, random.vector(1000.0));
        const PoseParts parts = partsOf(m);
        EXPECT_LT(difference(matrixOf(parts), m), 1e-12) << i;
        EXPECT_NEAR(parts.scale.x, scale.x, 1e-12);
        EXPECT_GE(parts.rotation.w, 0.0);
        EXPECT_NEAR(util::SquaredNorm(parts.rotation), 1.0, 1e-14);
        EXPECT_EQ(parts.translation, m.row(3));
    }
}

TEST(PoseParts, MirroredMatrixHasOneNegativeAxis) {
    PinnedRandom random(4);
    for (int i = 0; i < 8; ++i) {
        const Vector3<double> scale(i % 2 == 0 ? 2.0 : -2.0, i / 2 % 2 == 0 ? 3.0 : -3.0, i / 4 == 0 ? 4.0 : -4.0);
        const Matrix4 m = util::ToMatrix(random.rotation()) * util::Scaling(scale);
        const PoseParts parts = partsOf(m);
        EXPECT_LT(difference(matrixOf(parts), m), 1e-12) << i;
        EXPECT_EQ(parts.scale.x < 0.0, scale.x * scale.y * scale.z < 0.0) << i;
        EXPECT_GT(parts.scale.y, 0.0);
        EXPECT_GT(parts.scale.z, 0.0);
    }
}

TEST(PoseParts, AxesWithoutLengthKeepTheOthers) {
    PinnedRandom random(5);
    for (int missing = 0; missing < 8; ++missing) {
        const Vector3<double> scale(missing & 1 ? 0.0 : 2.0, missing & 2 ? 0.0 : 3.0, missing & 4 ? 0.0 : 4.0);
        const Matrix4 m = util::ToMatrix(random.rotation()) * util::Scaling(scale);
        const PoseParts parts = partsOf(m);
        EXPECT_NEAR(util::SquaredNorm(parts.rotation), 1.0, 1e-14) << missing;
        // A mirrored axis of length 0 is the same matrix.
        EXPECT_LT(difference(matrixOf(parts), m), 1e-12) << missing;
    }
}

TEST(PoseParts, ShearedMatrixGivesTheNearestRotation) {
    Matrix4 m;
    m.setRow(1, {0.2, 1.0, 0.0});
    const PoseParts parts = partsOf(m);
    // By symmetry the nearest rotation of two unit axes takes half of the angle from each.
    const double angle = std::atan(0.2);
    EXPECT_NEAR(2.0 * std::asin(std::abs(parts.rotation.z)), angle / 2.0, 1e-9);
    EXPECT_LT(parts.rotation.z, 0.0);
    EXPECT_NEAR(parts.scale.x, std::cos(angle / 2.0), 1e-9);
    Matrix4 flat;
    flat.setRow(1, {1.0, 0.0, 0.0});
    EXPECT_NEAR(util::SquaredNorm(partsOf(flat).rotation), 1.0, 1e-14);
}

}  // namespace
}  // namespace ond::test
