// Rotation quaternions: order of products, signs and degenerate input.
#include "ond/util/Quat.h"

#include <gtest/gtest.h>

#include <cstring>

#include "util/Close.h"
#include "util/PinnedRandom.h"

namespace ond::util {
namespace {

using Q = Quat<double>;
using V = Vector3<double>;
using test::isClose;
using test::isWithin;
using test::PinnedRandom;

constexpr double kPi = 3.141592653589793;

Q aboutX(double angle) { return {std::sin(angle / 2), 0.0, 0.0, std::cos(angle / 2)}; }
Q aboutY(double angle) { return {0.0, std::sin(angle / 2), 0.0, std::cos(angle / 2)}; }
Q aboutZ(double angle) { return {0.0, 0.0, std::sin(angle / 2), std::cos(angle / 2)}; }
Q negated(Q q) {
    Negate(q);
    return q;
}

TEST(Quat, HoldsXYZWInThisOrderAndStartsAsIdentity) {
    static_assert(sizeof(Q) == 4 * sizeof(double));
    const Q q(1.0, 2.0, 3.0, 4.0);
    double raw[4];
    std::memcpy(raw, &q, sizeof raw);
    EXPECT_EQ(raw[0], 1.0);
    EXPECT_EQ(raw[3], 4.0);
    EXPECT_EQ(Q(), Q(0.0, 0.0, 0.0, 1.0));
}

TEST(Quat, HasComponentwiseArithmetic) {
    const Q a(1.0, -2.0, 3.0, -4.0);
    const Q b(0.5, 0.25, 2.0, 8.0);
    EXPECT_EQ(a + b, Q(1.5, -1.75, 5.0, 4.0));
    EXPECT_EQ(2.0 * a, Q(2.0, -4.0, 6.0, -8.0));
    EXPECT_EQ(a * 2.0, Q(2.0, -4.0, 6.0, -8.0));
    EXPECT_EQ(Dot4(a, b), 0.5 - 0.5 + 6.0 - 32.0);
    EXPECT_EQ(SquaredNorm(a), 30.0);
    EXPECT_EQ(Conjugate(a), Q(-1.0, 2.0, -3.0, -4.0));
    EXPECT_EQ(negated(a), Q(-1.0, 2.0, -3.0, 4.0));
    EXPECT_EQ(SumAbsDiff(a, b), 0.5 + 2.25 + 1.0 + 12.0);
}

TEST(Quat, ComparesComponentsExactly) {
    EXPECT_FALSE(Q(1, 2, 3, 4) != Q(1, 2, 3, 4));
    EXPECT_TRUE(Q(1, 2, 3, 4) != Q(1, 2, 3, std::nextafter(4.0, 5.0)));
    EXPECT_TRUE(Q() != negated(Q())) << "the same rotation, but not the same numbers";
}

TEST(Quat, MultiplyIsTheWrittenOutProduct) {
    const Q a(2.0, 3.0, 5.0, 7.0);
    const Q b(11.0, 13.0, 17.0, 19.0);
    EXPECT_EQ(Multiply(a, b), Q(11.0 * 7 + 13 * 5 - 17 * 3 + 19 * 2, -11.0 * 5 + 13 * 7 + 17 * 2 + 19 * 3,
                                11.0 * 3 - 13 * 2 + 17 * 7 + 19 * 5, -11.0 * 2 - 13 * 3 - 17 * 5 + 19 * 7));
    EXPECT_NE(Multiply(a, b), Multiply(b, a));
}

TEST(Quat, MultiplyAppliesTheFirstOperandFirst) {
    // Forward is -Z. Turned left by the quarter turn about Y it is -X; then rolled about Z it is -Y.
    const Q yawThenRoll = Multiply(aboutY(kPi / 2), aboutZ(kPi / 2));
    EXPECT_TRUE(isClose(Rotate(yawThenRoll, V(0, 0, -1)), V(0, -1, 0)));
    // Rolled about Z first it stays -Z and then turns to -X.
    const Q rollThenYaw = Multiply(aboutZ(kPi / 2), aboutY(kPi / 2));
    EXPECT_TRUE(isClose(Rotate(rollThenYaw, V(0, 0, -1)), V(-1, 0, 0)));
}

TEST(Quat, RotatingByAProductIsRotatingTwice) {
    PinnedRandom random(5);
    for (int i = 0; i < 1000; ++i) {
        const Q a = random.rotation();
        const Q b = random.rotation();
        const V v = random.vector(10.0);
        ASSERT_TRUE(isClose(Rotate(Multiply(a, b), v), Rotate(b, Rotate(a, v)))) << i;
    }
}

TEST(Quat, ConjugateUndoesTheRotation) {
    PinnedRandom random(6);
    for (int i = 0; i < 1000; ++i) {
        const Q q = random.rotation();
        const V v = random.vector(10.0);
        ASSERT_TRUE(isClose(Rotate(Conjugate(q), Rotate(q, v)), v)) << i;
        ASSERT_TRUE(isClose(Multiply(q, Conjugate(q)), Q())) << i;
        const Q p = random.rotation();
        ASSERT_TRUE(isClose(Conjugate(Multiply(p, q)), Multiply(Conjugate(q), Conjugate(p)))) << i;
    }
}

TEST(Quat, RotateTurnsForwardToTheLeftForAPositiveYaw) {
    EXPECT_TRUE(isClose(Rotate(aboutY(kPi / 2), V(0, 0, -1)), V(-1, 0, 0)));
    EXPECT_TRUE(isClose(Rotate(aboutX(kPi / 2), V(0, 1, 0)), V(0, 0, 1)));
    EXPECT_TRUE(isClose(Rotate(aboutZ(kPi / 2), V(1, 0, 0)), V(0, 1, 0)));
}

TEST(Quat, RotateIsTheSandwichProduct) {
    PinnedRandom random(7);
    for (int i = 0; i < 500; ++i) {
        const Q q = random.rotation();
        const V v = random.vector(3.0);
        // q v q* with the vector as a pure quaternion; Multiply takes the inner factor first.
        const Q s = Multiply(Multiply(Conjugate(q), Q(v.x, v.y, v.z, 0.0)), q);
        ASSERT_TRUE(isClose(Rotate(q, v), V(s.x, s.y, s.z))) << i;
        ASSERT_TRUE(isClose(Rotate(negated(q), v), Rotate(q, v))) << "both signs are one rotation";
    }
}

TEST(Quat, RotateAlsoScalesByTheSquaredNorm) {
    const V turned = Rotate(Q(0.0, 0.0, 0.0, 3.0), V(1.0, 2.0, -4.0));
    EXPECT_EQ(turned, V(9.0, 18.0, -36.0));
    EXPECT_EQ(Rotate(Q(0.0, 0.0, 0.0, 0.0), V(1.0, 2.0, 3.0)), V(0.0, 0.0, 0.0));
}

TEST(Quat, MatrixHasTheWrittenOutRows) {
    const Q q(2.0, 3.0, 5.0, 7.0);  // not a unit quaternion: every term shows
    const Matrix4 m = ToMatrix(q);
    const double rows[3][3] = {{4.0 - 9 - 25 + 49, 2.0 * (6 - 35), 2.0 * (10 + 21)},
                               {2.0 * (6 + 35), -4.0 + 9 - 25 + 49, 2.0 * (15 - 14)},
                               {2.0 * (10 - 21), 2.0 * (15 + 14), -4.0 - 9 + 25 + 49}};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) EXPECT_EQ(m[4 * c + r], rows[r][c]) << r << c;
    EXPECT_EQ(m.row(3), V());
    EXPECT_EQ(m[3], 0.0);
    EXPECT_EQ(m[7], 0.0);
    EXPECT_EQ(m[11], 0.0);
    EXPECT_EQ(m[15], 1.0);
}

TEST(Quat, NormalizeOfZeroIsTheIdentity) {
    Q q(0.0, 0.0, 0.0, 0.0);
    Normalize(q);
    EXPECT_EQ(q, Q(0.0, 0.0, 0.0, 1.0));
    EXPECT_EQ(Normalized(Q(0.0, -0.0, 0.0, 0.0)), Q());
}

TEST(Quat, TheOtherNormalizeLeavesZeroAsItStands) {
    Q zero(0.0, 0.0, 0.0, 0.0);
    NormalizeNonZero(zero);
    EXPECT_EQ(zero, Q(0.0, 0.0, 0.0, 0.0));
    Q q(0.0, 3.0, 0.0, -4.0);
    NormalizeNonZero(q);
    EXPECT_EQ(q, Q(0.0, 3.0 * (1.0 / 5.0), 0.0, -4.0 * (1.0 / 5.0)));
}

TEST(Quat, NormalizeMultipliesByTheReciprocalRoot) {
    Q q(1.0, 2.0, -3.0, 5.0);
    Normalize(q);
    const double s = 1.0 / std::sqrt(39.0);
    EXPECT_EQ(q, Q(s, 2.0 * s, -3.0 * s, 5.0 * s)) << "no change of sign, no quotients";
}

TEST(Quat, RotationVectorIsAxisTimesAngle) {
    Q q = aboutY(0.3);
    EXPECT_TRUE(isClose(ToRotationVector(q), V(0.0, 0.3, 0.0)));
    q = aboutX(-2.0);
    EXPECT_TRUE(isClose(ToRotationVector(q), V(-2.0, 0.0, 0.0)));
}

TEST(Quat, ToRotationVectorNegatesItsArgumentInPlace) {
    Q q = aboutY(0.3);
    Negate(q);
    ASSERT_LT(q.w, 0.0);
    EXPECT_TRUE(isClose(ToRotationVector(q), V(0.0, 0.3, 0.0)));
    EXPECT_EQ(q, aboutY(0.3)) << "the caller's quaternion has changed its sign";
    // A turn by more than half comes out as the shorter one the other way.
    q = aboutZ(1.5 * kPi);
    EXPECT_TRUE(isClose(ToRotationVector(q), V(0.0, 0.0, -0.5 * kPi)));
    EXPECT_GT(q.w, 0.0);
}

TEST(Quat, ToRotationVectorOfNoRotationIsZero) {
    Q q;
    EXPECT_EQ(ToRotationVector(q), V());
    q = Q(0.0, 0.0, 0.0, -1.0);
    EXPECT_EQ(ToRotationVector(q), V());
    EXPECT_EQ(q.w, 1.0);
    q = Q(0.1, 0.2, 0.3, 1.5);
    EXPECT_EQ(ToRotationVector(q), V()) << "w above 1 is clamped to an angle of 0";
}

TEST(Quat, RotationVectorIsNeverLongerThanPi) {
    PinnedRandom random(8);
    double longest = 0.0;
    for (int i = 0; i < 2000; ++i) {
        Q q = random.rotation();
        longest = std::max(longest, Length(ToRotationVector(q)));
    }
    EXPECT_LE(longest, kPi * (1.0 + 1e-15));
    EXPECT_GT(longest, 3.1) << "the sample comes close to the bound";
}

TEST(Quat, RotationVectorsComeBack) {
    PinnedRandom random(9);
    int compared = 0;
    for (int i = 0; i < 2000; ++i) {
        const V v = random.vector(1.7);  // at most 2.95 long
        const Q q = Q::FromRotationVector(v);
        ASSERT_TRUE(isClose(SquaredNorm(q), 1.0)) << i;
        Q copy = q;
        // acos loses digits towards an angle of 0; what is left there is bounded apart.
        if (Length(v) < 0.1) continue;
        ASSERT_TRUE(isClose(ToRotationVector(copy), v, 1e-11)) << i;
        ++compared;
    }
    EXPECT_GT(compared, 1900);
}

TEST(Quat, FromRotationVectorHalvesTheAngle) {
    EXPECT_EQ(Q::FromRotationVector(V(0.0, 0.5, 0.0)), Q(0.0, std::sin(0.25), 0.0, std::cos(0.25)));
    EXPECT_EQ(Q::FromRotationVector(V(0.0, -0.5, 0.0)), Q(0.0, -std::sin(0.25), 0.0, std::cos(0.25)));
    EXPECT_EQ(Q::FromRotationVector(V()), Q()) << "the sum of the zero vector is 0, so its axis is not made up";
}

TEST(Quat, FromRotationVectorTakesAnAxisOfComponentSumZeroAsItStands) {
    const V v(1.0, -1.0, 0.0);
    const double half = std::sqrt(2.0) * 0.5;
    const Q q = Q::FromRotationVector(v);
    EXPECT_EQ(q, Q(std::sin(half), -std::sin(half), 0.0, std::cos(half)));
    EXPECT_GT(SquaredNorm(q), 1.4) << "so the result is no unit quaternion";
    // The least departure from the sum of zero brings the normalised axis back.
    const Q near = Q::FromRotationVector(V(1.0, std::nextafter(-1.0, 0.0), 0.0));
    EXPECT_TRUE(isClose(SquaredNorm(near), 1.0));
}

TEST(Quat, FromMatrixComesBackFromToMatrixWithAPositiveW) {
    PinnedRandom random(10);
    int negatedOnes = 0;
    for (int i = 0; i < 2000; ++i) {
        Q q = random.rotation();
        const Q back = Q::FromMatrix(ToMatrix(q));
        if (q.w < 0.0) {
            ++negatedOnes;
            Negate(q);
        }
        ASSERT_TRUE(isClose(back, q)) << i;
        ASSERT_GE(back.w, 0.0);
    }
    EXPECT_GT(negatedOnes, 500);
}

struct WinnerRow {
    const char* what;
    Q q;
};

TEST(Quat, FromMatrixFindsEachLargestComponent) {
    // One row per candidate that can win, the others small but present.
    const WinnerRow rows[] = {{"w", Normalized(Q(0.1, -0.2, 0.3, 0.9))},
                              {"x", Normalized(Q(0.9, 0.2, -0.3, 0.1))},
                              {"y", Normalized(Q(-0.2, 0.9, 0.3, 0.1))},
                              {"z", Normalized(Q(0.2, 0.3, 0.9, 0.1))}};
    for (const WinnerRow& row : rows) EXPECT_TRUE(isClose(Q::FromMatrix(ToMatrix(row.q)), row.q)) << row.what;
    // The half turns have w = 0 and a definite axis sign.
    EXPECT_TRUE(isClose(Q::FromMatrix(ToMatrix(Q(1, 0, 0, 0))), Q(1, 0, 0, 0)));
    EXPECT_TRUE(isClose(Q::FromMatrix(ToMatrix(Q(0, 1, 0, 0))), Q(0, 1, 0, 0)));
    EXPECT_TRUE(isClose(Q::FromMatrix(ToMatrix(Q(0, 0, 1, 0))), Q(0, 0, 1, 0)));
}

TEST(Quat, FromMatrixGivesATieToTheEarliestCandidate) {
    // Exact permutation matrix X to Y, Y to Z, Z to X: all four candidates are exactly 1 and w wins.
    Matrix4 m;
    m.setRow(0, V(0, 1, 0));
    m.setRow(1, V(0, 0, 1));
    m.setRow(2, V(1, 0, 0));
    EXPECT_EQ(Q::FromMatrix(m), Q(0.5, 0.5, 0.5, 0.5));
    // A reflection is where a tie shows: 1 + trace and 1 + m00 - m11 - m22 are both 2 for diag(1, 1, -1), w again.
    Matrix4 mirror;
    mirror.setRow(2, V(0, 0, -1));
    EXPECT_EQ(Q::FromMatrix(mirror), Q(0, 0, 0, 1));
    // diag(1, 1, 1) turned into diag(-1, -1, -1): the sums are -2, 2, 2, 2 and their magnitudes all tie.
    Matrix4 inverted;
    inverted.setRow(0, V(-1, 0, 0));
    inverted.setRow(1, V(0, -1, 0));
    inverted.setRow(2, V(0, 0, -1));
    EXPECT_EQ(Q::FromMatrix(inverted), Q(0, 0, 0, 1));
    // diag(1, 1, -1) with its first axis swapped: x and y tie behind a smaller w; x comes first.
    Matrix4 swapped;
    swapped.setRow(0, V(0, 1, 0));
    swapped.setRow(1, V(1, 0, 0));
    swapped.setRow(2, V(0, 0, -1));
    const double s = std::sqrt(0.5);
    EXPECT_TRUE(isClose(Q::FromMatrix(swapped), Q(s, s, 0.0, 0.0)));
}

TEST(Quat, FromMatrixRemovesScaleAndLeavesTheArgument) {
    const Q q = Normalized(Q(0.1, -0.2, 0.3, 0.9));
    Matrix4 m = ToMatrix(q);
    m.setRow(0, m.row(0) * 3.0);
    m.setRow(1, m.row(1) * 0.25);
    m.setRow(2, m.row(2) * 1e6);
    const Matrix4 before = m;
    EXPECT_TRUE(isClose(Q::FromMatrix(m), q));
    EXPECT_EQ(m, before);
}

TEST(Quat, FromMatrixTakesAZeroAxisAsUp) {
    // With the Y axis of nothing the matrix is the identity again.
    Matrix4 m;
    m.setRow(1, V());
    EXPECT_EQ(Q::FromMatrix(m), Q());
    // All three axes up: m01 = m11 = m21 = 1 in group order, candidates 2, 0, 2, 0, so w wins with s = 2 * sqrt 2.
    m.setRow(0, V());
    m.setRow(2, V());
    const double s = 2.0 * std::sqrt(2.0);
    const Q expected = Normalized(Q(-1.0 / s, 0.0, 1.0 / s, s / 4.0));
    EXPECT_TRUE(isClose(Q::FromMatrix(m), expected));
}

TEST(Quat, SlerpTurnsEvenlyAlongTheArc) {
    const Q a;
    const Q b = aboutY(1.2);
    EXPECT_TRUE(isClose(Slerp(a, b, 0.25), aboutY(0.3)));
    EXPECT_TRUE(isClose(Slerp(a, b, 0.0), a));
    EXPECT_TRUE(isClose(Slerp(a, b, 1.0), b));
}

TEST(Quat, WorksInSinglePrecision) {
    using F = Quat<float>;
    F zero(0.0f, 0.0f, 0.0f, 0.0f);
    Normalize(zero);
    EXPECT_EQ(zero, F());
    const F quarter = F::FromRotationVector(Vector3<float>(0.0f, 1.5707964f, 0.0f));
    const Vector3<float> left = Rotate(quarter, Vector3<float>(0.0f, 0.0f, -1.0f));
    EXPECT_NEAR(left.x, -1.0f, 1e-6f);
    EXPECT_NEAR(left.z, 0.0f, 1e-6f);
    F again = F::FromMatrix(ToMatrix(quarter));
    EXPECT_NEAR(ToRotationVector(again).y, 1.5707964f, 1e-6f);
    EXPECT_NEAR(Multiply(quarter, quarter).y, 1.0f, 1e-6f);
    EXPECT_NEAR(Slerp(F(), quarter, 1.0f).y, quarter.y, 1e-6f);
    EXPECT_EQ(SumAbsDiff(quarter, quarter), 0.0f);
}

}  // namespace
}  // namespace ond::util
