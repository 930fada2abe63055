// 4x4 matrices in column order.
#include "ond/util/Matrix4.h"

#include <gtest/gtest.h>

#include "ond/util/Quat.h"
#include "util/Close.h"
#include "util/PinnedRandom.h"

namespace ond::util {
namespace {

using V = Vector3<double>;
using test::isClose;
using test::isWithin;
using test::PinnedRandom;

Matrix4 counted() {
    Matrix4 m;
    for (int i = 0; i < 16; ++i) m[i] = i + 1.0;
    return m;
}

/// An invertible affine matrix with rotation, uneven scale and translation.
Matrix4 placed(PinnedRandom& random) {
    Matrix4 m = ToMatrix(random.rotation());
    SetScale(m, V(random.in(0.5, 3.0), random.in(0.5, 3.0), random.in(0.5, 3.0)));
    m.setRow(3, random.vector(20.0));
    return m;
}

TEST(Matrix4, IsTheIdentityAtConstruction) {
    const Matrix4 m;
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r) EXPECT_EQ(m[4 * c + r], c == r ? 1.0 : 0.0);
}

TEST(Matrix4, AGroupIsAnAxisAndTheLastOneThePosition) {
    const Matrix4 m = counted();
    EXPECT_EQ(m.row(0), V(1, 2, 3));
    EXPECT_EQ(m.row(2), V(9, 10, 11));
    EXPECT_EQ(m.row(3), V(13, 14, 15));
    Matrix4 n = counted();
    n.setRow(1, V(-1, -2, -3));
    EXPECT_EQ(n[4], -1.0);
    EXPECT_EQ(n[6], -3.0);
    EXPECT_EQ(n[7], 8.0) << "the fourth number of the group stays";
    // Each unit vector goes where its group says.
    Matrix4 affine;
    affine.setRow(0, V(2, 3, 4));
    affine.setRow(1, V(5, 6, 7));
    affine.setRow(3, V(100, 200, 300));
    EXPECT_EQ(Transform(affine, V(1, 0, 0)), V(102, 203, 304));
    EXPECT_EQ(Transform(affine, V(0, 1, 0)), V(105, 206, 307));
}

TEST(Matrix4, TransformDividesByTheFourthCoordinate) {
    Matrix4 m;
    m[15] = 4.0;
    EXPECT_EQ(Transform(m, V(1.0, 2.0, -8.0)), V(0.25, 0.5, -2.0));
    // The fourth mathematical row counts: w = 2 * 3 + 4 = 10.
    m[3] = 2.0;
    EXPECT_EQ(Transform(m, V(3.0, 10.0, 20.0)), V(0.3, 1.0, 2.0));
}

TEST(Matrix4, TransformTakesAFourthCoordinateOfZeroAsOne) {
    Matrix4 m;
    m[15] = 0.0;
    m.setRow(3, V(10, 20, 30));
    EXPECT_EQ(Transform(m, V(1, 2, 3)), V(11, 22, 33));
}

TEST(Matrix4, TransformNoProjectionWeighsTheTranslationAndNeverDivides) {
    Matrix4 m;
    m.setRow(3, V(10, 20, 30));
    m[3] = 7.0;
    m[15] = 5.0;
    EXPECT_EQ(TransformNoProjection(m, V(1, 2, 3), 1.0), V(11, 22, 33));
    EXPECT_EQ(TransformNoProjection(m, V(1, 2, 3), 0.0), V(1, 2, 3));
    EXPECT_EQ(TransformNoProjection(m, V(1, 2, 3), 0.5), V(6, 12, 18));
}

TEST(Matrix4, ProductAppliesTheRightFactorFirst) {
    Matrix4 move;
    move.setRow(3, V(1, 2, 3));
    Matrix4 grow;
    grow[0] = grow[5] = grow[10] = 2.0;
    EXPECT_EQ(Transform(move * grow, V(1, 1, 1)), V(3, 4, 5));
    EXPECT_EQ(Transform(grow * move, V(1, 1, 1)), V(4, 6, 8));
    PinnedRandom random(31);
    for (int i = 0; i < 200; ++i) {
        const Matrix4 a = placed(random);
        const Matrix4 b = placed(random);
        const V p = random.vector(5.0);
        ASSERT_TRUE(isClose(Transform(a * b, p), Transform(a, Transform(b, p)), 1e-11)) << i;
    }
    EXPECT_EQ(counted() * Matrix4(), counted());
    EXPECT_EQ(Matrix4() * counted(), counted());
    // One full element by hand: row 1 of `counted` times column 2 of itself.
    EXPECT_EQ((counted() * counted())[4 * 2 + 1], 2.0 * 9 + 6.0 * 10 + 10.0 * 11 + 14.0 * 12);
}

TEST(Matrix4, DeterminantReadsTheUpperLeftThreeByThreeOnly) {
    Matrix4 m;
    m.setRow(0, V(2, 0, 1));
    m.setRow(1, V(3, 5, 0));
    m.setRow(2, V(0, 4, 7));
    m.setRow(3, V(100, 200, 300));
    m[3] = m[7] = m[11] = 9.0;
    m[15] = 0.0;
    EXPECT_EQ(Determinant(m), 2.0 * 35.0 - 3.0 * (0.0 * 7.0 - 4.0 * 1.0) + 0.0) << "the triple product of the axes: 82";
    m.setRow(0, V(-2, 0, -1));
    EXPECT_EQ(Determinant(m), -82.0);
}

TEST(Matrix4, InverseOfASingularMatrixIsAllZero) {
    Matrix4 m;
    m.setRow(1, V());
    m.setRow(3, V(1, 2, 3));
    const Matrix4 inverse = Inverse(m);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(inverse[i], 0.0) << i;
}

TEST(Matrix4, InverseUndoesAPlacedMatrix) {
    PinnedRandom random(32);
    for (int i = 0; i < 500; ++i) {
        const Matrix4 m = placed(random);
        const Matrix4 inverse = Inverse(m);
        const V p = random.vector(10.0);
        ASSERT_TRUE(isClose(Transform(inverse, Transform(m, p)), p, 1e-11)) << i;
        ASSERT_TRUE(isClose(Transform(m, Transform(inverse, p)), p, 1e-11)) << i;
        ASSERT_EQ(inverse[3], 0.0);
        ASSERT_EQ(inverse[7], 0.0);
        ASSERT_EQ(inverse[11], 0.0);
        ASSERT_EQ(inverse[15], 1.0);
    }
}

TEST(Matrix4, InverseHasExactNumbersWhereTheDeterminantIsAPowerOfTwo) {
    // Unsymmetric, so a transposed inverse would show. Mathematical rows (1 2 0 | 10), (0 1 0 | 20), (0 0 4 | 30).
    Matrix4 m;
    m.setRow(1, V(2, 1, 0));
    m.setRow(2, V(0, 0, 4));
    m.setRow(3, V(10, 20, 30));
    const Matrix4 inverse = Inverse(m);
    EXPECT_EQ(inverse.row(0), V(1, 0, 0));
    EXPECT_EQ(inverse.row(1), V(-2, 1, 0));
    EXPECT_EQ(inverse.row(2), V(0, 0, 0.25));
    EXPECT_EQ(inverse.row(3), V(30, -20, -7.5));
}

TEST(Matrix4, InverseIgnoresTheFourthMathematicalRow) {
    Matrix4 m;
    m[3] = 5.0;
    m[15] = 8.0;
    EXPECT_EQ(Inverse(m), Matrix4());
}

TEST(Matrix4, ScaleReadsTheAxisLengthsAndSetScaleGivesThem) {
    Matrix4 m;
    m.setRow(0, V(2, 3, 6));
    m.setRow(1, V(0, -4, 0));
    m.setRow(2, V(0, 0, 0.5));
    EXPECT_EQ(Scale(m), V(7, 4, 0.5));
    SetScale(m, V(14, 2, 3));
    EXPECT_TRUE(isClose(m.row(0), V(4, 6, 12)));
    EXPECT_EQ(m.row(1), V(0, -2, 0));
    EXPECT_EQ(m.row(2), V(0, 0, 3));
    // An axis of nothing has the direction of nothing.
    m.setRow(2, V());
    SetScale(m, V(1, 1, 5));
    EXPECT_EQ(m.row(2), V(0, 5, 0));
}

}  // namespace
}  // namespace ond::util
