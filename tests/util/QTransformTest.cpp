// Rigid transforms: position first, rotation second.
#include "ond/util/QTransform.h"

#include <gtest/gtest.h>

#include <cstring>

#include "util/Close.h"
#include "util/PinnedRandom.h"

namespace ond::util {
namespace {

using T = QTransform<double>;
using Q = Quat<double>;
using V = Vector3<double>;
using test::isClose;
using test::PinnedRandom;

TEST(QTransform, HoldsSevenNumbersPositionFirst) {
    static_assert(sizeof(T) == 7 * sizeof(double));
    const T t(V(1, 2, 3), Q(4, 5, 6, 7));
    double raw[7];
    std::memcpy(raw, &t, sizeof raw);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(raw[i], i + 1.0);
    EXPECT_EQ(T().position, V());
    EXPECT_EQ(T().rotation, Q());
}

TEST(QTransform, TurnsAPointBeforeItMovesIt) {
    const double s = std::sqrt(0.5);
    const T t(V(10.0, 20.0, 30.0), Q(0.0, s, 0.0, s));
    EXPECT_TRUE(isClose(Transform(t, V(0.0, 1.0, -2.0)), V(8.0, 21.0, 30.0)));
}

TEST(QTransform, MatrixHasTheAxesAndTheTranslation) {
    const double s = std::sqrt(0.5);
    const T t(V(10.0, 20.0, 30.0), Q(0.0, s, 0.0, s));
    const Matrix4 m = ToMatrix(t);
    EXPECT_EQ(m[12], 10.0);
    EXPECT_EQ(m[13], 20.0);
    EXPECT_EQ(m[14], 30.0);
    EXPECT_EQ(m[15], 1.0);
    EXPECT_TRUE(isClose(m.row(2), V(1.0, 0.0, 0.0))) << "the Z axis of a car turned left points right";
}

TEST(QTransform, AgreesWithItsMatrixOnPoints) {
    PinnedRandom random(21);
    for (int i = 0; i < 500; ++i) {
        const T t(random.vector(100.0), random.rotation());
        const V p = random.vector(10.0);
        const V direct = t.position + Rotate(t.rotation, p);
        ASSERT_TRUE(isClose(Transform(t, p), direct)) << i;
        ASSERT_TRUE(isClose(Transform(ToMatrix(t), p), direct)) << i;
    }
}

TEST(QTransform, ComesBackFromItsMatrixEvenWhenThatIsScaled) {
    PinnedRandom random(22);
    for (int i = 0; i < 500; ++i) {
        T t(random.vector(100.0), random.rotation());
        Matrix4 m = ToMatrix(t);
        SetScale(m, V(0.5, 2.0, 7.0));
        const T back = T::FromMatrix(m);
        if (t.rotation.w < 0.0) Negate(t.rotation);
        ASSERT_EQ(back.position, t.position) << "the position is group 3 as it stands";
        ASSERT_TRUE(isClose(back.rotation, t.rotation)) << i;
    }
}

TEST(QTransform, WorksInSinglePrecision) {
    using F = QTransform<float>;
    const F t(Vector3<float>(1.0f, 2.0f, 3.0f), Quat<float>());
    EXPECT_EQ(Transform(t, Vector3<float>(1.0f, 1.0f, 1.0f)), Vector3<float>(2.0f, 3.0f, 4.0f));
    EXPECT_EQ(F::FromMatrix(ToMatrix(t)).position, t.position);
}

}  // namespace
}  // namespace ond::util
