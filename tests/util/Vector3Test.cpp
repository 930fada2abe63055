// Three-component vectors, above all their degenerate cases.
#include "ond/util/Vector3.h"

#include <gtest/gtest.h>

#include <cstring>

#include "util/Close.h"
#include "util/PinnedRandom.h"

namespace ond::util {
namespace {

using V = Vector3<double>;
using test::isClose;
using test::PinnedRandom;

TEST(Vector3, HoldsXYZInThisOrderAndStartsAtZero) {
    static_assert(sizeof(V) == 3 * sizeof(double));
    const V v(1.0, 2.0, 3.0);
    double raw[3];
    std::memcpy(raw, &v, sizeof raw);
    EXPECT_EQ(raw[0], 1.0);
    EXPECT_EQ(raw[1], 2.0);
    EXPECT_EQ(raw[2], 3.0);
    EXPECT_EQ(V(), V(0.0, 0.0, 0.0));
}

TEST(Vector3, AddsSubtractsAndScalesByComponent) {
    const V a(1.0, -2.0, 4.0);
    const V b(0.5, 8.0, -16.0);
    EXPECT_EQ(a + b, V(1.5, 6.0, -12.0));
    EXPECT_EQ(a - b, V(0.5, -10.0, 20.0));
    EXPECT_EQ(-a, V(-1.0, 2.0, -4.0));
    EXPECT_EQ(2.0 * a, V(2.0, -4.0, 8.0));
    EXPECT_EQ(a * 2.0, V(2.0, -4.0, 8.0));
    EXPECT_EQ(Dot(a, b), 0.5 - 16.0 - 64.0);
    V c = a;
    c += b;
    EXPECT_EQ(c, V(1.5, 6.0, -12.0));
    c -= b;
    EXPECT_EQ(c, a);
}

TEST(Vector3, DividesEachComponent) {
    // 5 / 49 and 5 * (1 / 49) are different doubles.
    ASSERT_NE(5.0 / 49.0, 5.0 * (1.0 / 49.0));
    EXPECT_EQ(V(5.0, 10.0, 98.0) / 49.0, V(5.0 / 49.0, 10.0 / 49.0, 2.0));
}

TEST(Vector3, ComparesComponentsExactly) {
    const V a(1.0, 2.0, 3.0);
    EXPECT_FALSE(a != V(1.0, 2.0, 3.0));
    EXPECT_TRUE(a != V(std::nextafter(1.0, 2.0), 2.0, 3.0));
    EXPECT_TRUE(a != V(1.0, std::nextafter(2.0, 3.0), 3.0));
    EXPECT_TRUE(a != V(1.0, 2.0, std::nextafter(3.0, 4.0)));
    EXPECT_FALSE(V(0.0, 0.0, 0.0) != V(-0.0, -0.0, -0.0));
}

TEST(Vector3, MeasuresItsLength) {
    EXPECT_EQ(Length(V(2.0, 3.0, 6.0)), 7.0);
    EXPECT_EQ(Length(V(-2.0, 3.0, -6.0)), 7.0);
    EXPECT_EQ(Length(V()), 0.0);
}

TEST(Vector3, NormalizeOfNothingIsUp) {
    V v;
    Normalize(v);
    EXPECT_EQ(v, V(0.0, 1.0, 0.0));
    EXPECT_EQ(Normalized(V(0.0, 0.0, 0.0)), V(0.0, 1.0, 0.0));
    EXPECT_EQ(Normalized(V(-0.0, 0.0, -0.0)), V(0.0, 1.0, 0.0));
}

TEST(Vector3, NormalizeDividesByTheLength) {
    EXPECT_EQ(Normalized(V(2.0, 3.0, 6.0)), V(2.0 / 7.0, 3.0 / 7.0, 6.0 / 7.0));
    V v(0.0, -5.0, 0.0);
    Normalize(v);
    EXPECT_EQ(v, V(0.0, -1.0, 0.0));
    // A length so small that its square vanishes counts as 0.
    EXPECT_EQ(Normalized(V(1e-200, 0.0, 0.0)), V(0.0, 1.0, 0.0));
}

TEST(Vector3, NormalizedHasLengthOneAndKeepsTheDirection) {
    PinnedRandom random(3);
    for (int i = 0; i < 1000; ++i) {
        const V v = random.vector(50.0);
        const V n = Normalized(v);
        ASSERT_TRUE(isClose(Length(n), 1.0, 1e-15)) << i;
        ASSERT_TRUE(isClose(n * Length(v), v)) << i;
    }
}

TEST(Vector3, ClampLengthShortensOnlyWhatIsLonger) {
    EXPECT_EQ(ClampLength(V(2.0, 3.0, 6.0), 7.0), V(2.0, 3.0, 6.0));
    EXPECT_EQ(ClampLength(V(2.0, 3.0, 6.0), 100.0), V(2.0, 3.0, 6.0));
    EXPECT_EQ(ClampLength(V(2.0, 3.0, 6.0), 3.5), V(1.0, 1.5, 3.0));
    EXPECT_EQ(ClampLength(V(), 0.0), V()) << "a length of 0 is not above 0, so nothing is divided";
    // The product is formed before the quotient.
    const V v(0.3, 0.7, -1.1);
    const double length = Length(v);
    EXPECT_EQ(ClampLength(v, 0.9), V(0.3 * 0.9 / length, 0.7 * 0.9 / length, -1.1 * 0.9 / length));
}

TEST(Vector3, CrossIsRightHanded) {
    EXPECT_EQ(Cross(V(1, 0, 0), V(0, 1, 0)), V(0, 0, 1));
    EXPECT_EQ(Cross(V(0, 1, 0), V(0, 0, 1)), V(1, 0, 0));
    EXPECT_EQ(Cross(V(2, 3, 4), V(5, 6, 7)), V(-3, 6, -3));
}

TEST(Vector3, WorksInSinglePrecision) {
    using F = Vector3<float>;
    static_assert(sizeof(F) == 3 * sizeof(float));
    EXPECT_EQ(Normalized(F()), F(0.0f, 1.0f, 0.0f));
    EXPECT_EQ(ClampLength(F(2.0f, 3.0f, 6.0f), 3.5f), F(1.0f, 1.5f, 3.0f));
    EXPECT_EQ(2.0f * F(1.0f, 2.0f, 3.0f) + F(1.0f, 1.0f, 1.0f) / 2.0f, F(2.5f, 4.5f, 6.5f));
}

}  // namespace
}  // namespace ond::util
