// The smoothing filters: closed form, independence of the frame rate, signs of quaternions, hostile steps.
#include "ond/util/Filters.h"

#include <gtest/gtest.h>

#include <limits>

#include "util/Close.h"
#include "util/PinnedRandom.h"

namespace ond::util {
namespace {

using Q = Quat<double>;
using V = Vector3<double>;
using test::isClose;
using test::isWithin;
using test::PinnedRandom;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

double exact(double value, double target, double factor, double dt) {
    FilterExact(value, target, factor, 1.0, dt);
    return value;
}
double saturating(double value, double target, double factor, double dt) {
    FilterSaturating(value, target, factor, 1.0, dt);
    return value;
}

TEST(FilterExact, FactorsZeroAndOneGiveTheTargetAtAnyStep) {
    for (const double dt : {1e-9, 0.002, 0.02, 0.04, 0.1, 3.0, 0.0}) {
        SCOPED_TRACE(dt);
        EXPECT_EQ(exact(-3.0, 7.5, 0.0, dt), 7.5);
        EXPECT_EQ(exact(-3.0, 7.5, 1.0, dt), 7.5);
        EXPECT_LT(exact(-3.0, 7.5, 0.2, dt), 7.5) << "a factor between them does not jump";
        V v(1, 2, 3);
        FilterExact(v, V(4, 5, 6), 0.0, 1.0, dt);
        EXPECT_EQ(v, V(4, 5, 6));
        v = V(1, 2, 3);
        FilterExact(v, V(4, 5, 6), 1.0, 1.0, dt);
        EXPECT_EQ(v, V(4, 5, 6));
    }
}

TEST(FilterExact, HalfFactorOverOneReferencePeriodTakesTwoSlices) {
    EXPECT_EQ(exact(0.0, 16.0, 0.5, 0.04), 7.0) << "1 - 0.75 * 0.75 of the way";
}

TEST(FilterExact, HalfFactorOverHalfAPeriodTakesOneSlice) { EXPECT_EQ(exact(0.0, 16.0, 0.5, 0.02), 4.0); }

struct SliceRow {
    double dt;
    int slices;
};

TEST(FilterExact, CutsTheStepIntoSlicesBelowTheReferencePeriod) {
    // A step that is a whole number of periods gets one slice more than that number.
    const SliceRow rows[] = {{0.001, 1}, {0.0399, 1}, {0.04, 2}, {0.0799, 2},
                             {0.08, 3},  {0.1, 3},    {0.5, 13}, {1.0, 26}};
    for (const SliceRow& row : rows) {
        SCOPED_TRACE(row.dt);
        const double k = row.dt / 0.04 / row.slices;
        double expected = 1.0;
        for (int i = 0; i < row.slices; ++i) expected *= 1.0 - k * 0.3;
        EXPECT_TRUE(isClose(1.0 - exact(0.0, 1.0, 0.3, row.dt), expected));
        EXPECT_TRUE(isClose(1.0 - saturating(0.0, 1.0, 0.3, row.dt), expected));
    }
}

TEST(FilterExact, LeavesTheShareOfTheClosedFormAtAnyStep) {
    PinnedRandom random(41);
    for (int i = 0; i < 2000; ++i) {
        const double dt = random.in(1e-4, 0.5);
        const double factor = random.in(1e-3, 0.999);
        const double value = random.in(-5.0, 5.0);
        const double target = random.in(-5.0, 5.0);
        const double r = dt / 0.04;
        const double n = std::trunc(r) + 1.0;
        const double left = std::pow(1.0 - r / n * factor, n);
        SCOPED_TRACE(testing::Message() << "row " << i << " dt " << dt << " factor " << factor);
        ASSERT_TRUE(isWithin(exact(value, target, factor, dt), target + (value - target) * left, 1e-13));
        ASSERT_TRUE(isWithin(saturating(value, target, factor, dt), target + (value - target) * left, 1e-13));
    }
}

TEST(FilterExact, SettlesAlikeAtAnyFrameRate) {
    // Half a second in frames of several lengths; a small factor hardly feels how the time is sliced.
    const double reference = std::exp(-0.5 / 0.04 * 0.02);
    for (const int frames : {5, 10, 12, 15, 25, 30, 60, 120}) {
        double value = 1.0;
        for (int i = 0; i < frames; ++i) FilterExact(value, 0.0, 0.02, 1.0, 0.5 / frames);
        EXPECT_TRUE(isClose(value, reference, 0.003)) << frames << " frames";
    }
}

TEST(FilterExact, FactorsAboveOneOvershootWhereTheSaturatingFormStops) {
    // k is 0.99 just below one period: 0.99 * 1.1 of the way is beyond the target.
    EXPECT_TRUE(isClose(exact(0.0, 1.0, 1.1, 0.0396), 0.99 * 1.1));
    EXPECT_EQ(saturating(0.0, 1.0, 1.1, 0.0396), 1.0);
    // beyond 2, k * factor makes the value run away: each of the two slices multiplies the distance by -1.5.
    EXPECT_TRUE(isClose(1.0 - exact(0.0, 1.0, 5.0, 0.04), 2.25));
}

TEST(FilterSaturating, JumpsWhenOneSliceWouldReachTheTarget) {
    EXPECT_EQ(saturating(0.0, 1.0, 2.0, 0.04), 1.0) << "k is 0.5, so factor 2 is just enough";
    EXPECT_LT(saturating(0.0, 1.0, 1.999, 0.04), 1.0);
    EXPECT_EQ(saturating(0.0, 16.0, 1.0, 0.04), 12.0) << "factor 1 covers three quarters at 0.04, it does not jump";
    EXPECT_EQ(saturating(0.0, 16.0, 1.0, 0.02), 8.0);
    V v(0, 0, 0);
    FilterSaturating(v, V(16, -16, 32), 1.0, 0.0, 0.04);
    EXPECT_EQ(v, V(12, -12, 24));
    FilterSaturating(v, V(1, 2, 3), 2.0, 0.0, 0.04);
    EXPECT_EQ(v, V(1, 2, 3));
}

TEST(FilterSaturating, FactorZeroJumpsAtAnyStep) {
    for (const double dt : {0.0, 0.002, 0.04, 1.0}) {
        EXPECT_EQ(saturating(3.0, 8.0, 0.0, dt), 8.0) << dt;
        V v(1, 2, 3);
        FilterSaturating(v, V(4, 5, 6), 0.0, 1.0, dt);
        EXPECT_EQ(v, V(4, 5, 6)) << dt;
    }
}

TEST(FilterSaturating, ResponseOfATenthCoversItsShareInAFrame) {
    EXPECT_TRUE(isClose(saturating(0.0, 1.0, 0.1, 0.04), 0.0975));
}

TEST(Filters, AStepOfZeroMovesNothingUnlessTheFactorJumps) {
    EXPECT_EQ(exact(3.0, 8.0, 0.5, 0.0), 3.0);
    EXPECT_EQ(saturating(3.0, 8.0, 0.5, 0.0), 3.0);
    EXPECT_EQ(saturating(3.0, 8.0, 1.0, 0.0), 3.0) << "k is 0, so factor 1 is no jump for the saturating form";
    EXPECT_EQ(exact(3.0, 8.0, 1.0, 0.0), 8.0);
}

TEST(Filters, IgnoreTheRateLimit) {
    for (const double maxRate : {0.0, 1e-9, -5.0, kInf, kNan}) {
        double a = 0.0;
        FilterExact(a, 16.0, 0.5, maxRate, 0.04);
        EXPECT_EQ(a, 7.0);
        double b = 0.0;
        FilterSaturating(b, 16.0, 0.5, maxRate, 0.04);
        EXPECT_EQ(b, 7.0);
    }
}

TEST(Filters, VectorFormFollowsTheScalarLawPerComponent) {
    PinnedRandom random(42);
    for (int i = 0; i < 500; ++i) {
        const V from = random.vector(5.0);
        const V to = random.vector(5.0);
        const double dt = random.in(0.001, 0.3);
        const double factor = random.in(0.01, 1.5);
        V a = from;
        FilterExact(a, to, factor, 1.0, dt);
        ASSERT_EQ(a,
                  V(exact(from.x, to.x, factor, dt), exact(from.y, to.y, factor, dt), exact(from.z, to.z, factor, dt)));
        V b = from;
        FilterSaturating(b, to, factor, 1.0, dt);
        ASSERT_EQ(b, V(saturating(from.x, to.x, factor, dt), saturating(from.y, to.y, factor, dt),
                       saturating(from.z, to.z, factor, dt)));
    }
}

TEST(FilterQuat, LeavesATargetOfNegativeWNegated) {
    Q value;
    Q target(0.0, -0.6, 0.0, -0.8);
    FilterExact(value, target, 0.5, 1.0, 0.04);
    EXPECT_EQ(target, Q(0.0, 0.6, 0.0, 0.8));
    EXPECT_GT(value.y, 0.0);
    Q again;
    Q other(0.0, -0.6, 0.0, -0.8);
    FilterSaturating(again, other, 0.5, 1.0, 0.04);
    EXPECT_EQ(other, Q(0.0, 0.6, 0.0, 0.8));
    EXPECT_EQ(again, value);
}

TEST(FilterQuat, BringsTheValueToPositiveWBeforeItSmooths) {
    Q value(0.0, 0.0, -0.6, -0.8);
    Q target;
    FilterExact(value, target, 0.5, 1.0, 0.02);
    // From (0, 0, 0.6, 0.8) a quarter of the way to the identity, then to length 1.
    EXPECT_TRUE(isClose(value, Normalized(Q(0.0, 0.0, 0.45, 0.85))));
    EXPECT_EQ(target, Q());
}

TEST(FilterQuat, TakesTheNearerOfTheTwoSigns) {
    // Both w are positive, yet the two are more than a right angle apart on the sphere: the value flips to the near
    // side, and its w then is negative.
    const Q from = Normalized(Q(0.99, 0.0, 0.0, 0.1));
    Q value = from;
    Q target = Normalized(Q(-0.99, 0.0, 0.0, 0.1));
    const Q goal = target;
    FilterExact(value, target, 0.5, 1.0, 0.02);
    const Q flipped = -1.0 * from;
    EXPECT_TRUE(isClose(value, Normalized(flipped + 0.25 * (goal - flipped))));
    EXPECT_LT(value.w, 0.0);
    EXPECT_EQ(target, goal);
}

TEST(FilterQuat, KeepsTheSignOnATie) {
    // At a right angle on the sphere both signs are equally far.
    Q value(1.0, 0.0, 0.0, 0.0);
    Q target(0.0, 1.0, 0.0, 0.0);
    FilterExact(value, target, 0.5, 1.0, 0.02);
    EXPECT_TRUE(isClose(value, Normalized(Q(0.75, 0.25, 0.0, 0.0))));
}

TEST(FilterQuat, MovesOnAStraightLineAndNormalizesOnce) {
    // Two slices of a quarter each on unequal quaternions: with a normalisation in between the result would differ.
    const Q from;
    const Q to = Normalized(Q(0.9, 0.2, -0.1, 0.4));
    Q value = from;
    Q target = to;
    FilterExact(value, target, 0.5, 1.0, 0.04);
    const Q once = from + 0.25 * (to - from);
    const Q twice = once + 0.25 * (to - once);
    EXPECT_TRUE(isClose(value, Normalized(twice)));
    const Q between = Normalized(once);
    ASSERT_FALSE(isClose(Normalized(between + 0.25 * (to - between)), Normalized(twice), 1e-6));
}

TEST(FilterQuat, NormalizesOnThePassThroughPathToo) {
    for (const double factor : {0.0, 1.0}) {
        Q value(0.5, 0.5, 0.5, 0.5);
        Q target(0.0, 0.0, 0.0, 4.0);
        FilterExact(value, target, factor, 1.0, 0.04);
        EXPECT_EQ(value, Q());
        EXPECT_EQ(target, Q(0.0, 0.0, 0.0, 4.0)) << "the target is not normalised";
    }
    Q value(0.5, 0.5, 0.5, 0.5);
    Q target(0.0, 3.0, 0.0, 4.0);
    FilterSaturating(value, target, 2.0, 1.0, 0.04);
    EXPECT_TRUE(isClose(value, Q(0.0, 0.6, 0.0, 0.8)));
}

TEST(FilterQuat, AZeroTargetEndsAsTheIdentity) {
    Q value(0.0, 0.6, 0.0, 0.8);
    Q zero(0.0, 0.0, 0.0, 0.0);
    FilterExact(value, zero, 1.0, 1.0, 0.04);
    EXPECT_EQ(value, Q());
}

TEST(FilterQuat, SaturatingFormIteratesBelowTheJump) {
    Q a = Normalized(Q(0.3, 0.1, 0.0, 0.9));
    Q b = a;
    Q t1 = Normalized(Q(0.0, 0.5, 0.1, 0.7));
    Q t2 = t1;
    FilterExact(a, t1, 0.3, 1.0, 0.1);
    FilterSaturating(b, t2, 0.3, 1.0, 0.1);
    EXPECT_EQ(a, b);
    // Factor 1 at 0.04: the saturating form stays short of the target, the exact form does not.
    Q c;
    Q d;
    FilterExact(c, t1, 1.0, 1.0, 0.04);
    FilterSaturating(d, t2, 1.0, 1.0, 0.04);
    EXPECT_TRUE(isClose(c, t1));
    EXPECT_TRUE(isClose(d, Normalized(Q() + 0.75 * (t2 - Q()))));
}

TEST(FilterQuat, EndsAsAUnitQuaternionAndComesNearer) {
    PinnedRandom random(43);
    for (int i = 0; i < 1000; ++i) {
        Q value = random.rotation();
        Q target = random.rotation();
        const double before = std::abs(Dot4(value, target));
        FilterExact(value, target, random.in(0.01, 0.9), 1.0, random.in(0.001, 0.2));
        ASSERT_TRUE(isClose(SquaredNorm(value), 1.0)) << i;
        ASSERT_GE(Dot4(value, target), before - 1e-12) << "and it stands in the target's hemisphere, row " << i;
        ASSERT_GE(target.w, 0.0);
    }
}

TEST(FilterQuatPid, JumpsWhenTheGainsAddUpToZero) {
    Q value(0.0, 0.6, 0.0, 0.8);
    Q target(0.0, 0.0, 0.0, -1.0);
    FilterQuatPid(value, Q(), Q(), target, 0.0, 0.0, 0.0, 0.04);
    EXPECT_EQ(value, Q());
    EXPECT_EQ(target, Q()) << "through FilterExact, which turns the sign of its target";
}

TEST(FilterQuatPid, WeighsDistanceRateAndChangeOfRate) {
    const Q previous(0.0, 0.1, 0.0, 0.9);
    const Q previous2(0.1, 0.0, 0.0, 0.8);
    const Q start(0.0, 0.3, 0.2, 0.9);
    const Q goal(0.5, 0.5, 0.5, 0.5);
    Q value = start;
    Q target = goal;
    const double dt = 0.25;
    FilterQuatPid(value, previous, previous2, target, 0.5, 0.01, 0.02, dt);
    const Q rate = 4.0 * (start - previous);
    const Q change = 4.0 * (rate - 4.0 * (previous - previous2));
    const Q expected = start + (0.5 * (goal - start) - 0.01 * change - 0.02 * rate);
    EXPECT_TRUE(isClose(value, Normalized(expected)));
}

TEST(Filters, HostileStepsNeitherHangNorTrap) {
    for (const double dt : {kNan, kInf, -kInf, 1e300, -1e300, -0.04, -0.02, -1e9, 1e12, 5e-324}) {
        for (const double factor : {0.0, 1.0, 0.5, kNan, kInf, -1.0}) {
            SCOPED_TRACE(testing::Message() << dt << " " << factor);
            const double e = exact(1.0, 2.0, factor, dt);
            const double s = saturating(1.0, 2.0, factor, dt);
            EXPECT_TRUE(e == 2.0 || (factor != 0.0 && factor != 1.0)) << e;
            EXPECT_TRUE(s == 2.0 || factor != 0.0) << s;
            V v(1, 2, 3);
            FilterExact(v, V(), factor, 1.0, dt);
            FilterSaturating(v, V(), factor, 1.0, dt);
            Q q(0.0, 0.6, 0.0, 0.8);
            Q t;
            FilterExact(q, t, factor, 1.0, dt);
            FilterSaturating(q, t, factor, 1.0, dt);
        }
    }
}

TEST(Filters, AnUncountableStepIsOneSlice) {
    // 1e300 / 0.04 does not fit a counter: one slice that is as long as the step.
    EXPECT_TRUE(isClose(exact(0.0, 1.0, 0.5, 1e300), 1e300 / 0.04 * 0.5));
    EXPECT_TRUE(std::isnan(exact(0.0, 1.0, 0.5, kNan)));
    EXPECT_EQ(exact(0.0, 1.0, 0.5, kInf), kInf);
}

}  // namespace
}  // namespace ond::util
