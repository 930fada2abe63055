// Signs, clamps and the repeatable noise.
#include "ond/util/Scalar.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "util/PinnedRandom.h"

namespace ond::util {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(Sign, CountsZeroAsPositive) {
    EXPECT_EQ(Sign(0.0), 1.0);
    EXPECT_EQ(Sign(-0.0), 1.0);
    EXPECT_EQ(Sign(5e-324), 1.0);
    EXPECT_EQ(Sign(-5e-324), -1.0);
    EXPECT_EQ(Sign(kInf), 1.0);
    EXPECT_EQ(Sign(-kInf), -1.0);
    EXPECT_EQ(Sign(kNan), 1.0) << "0 > NaN is false";
}

TEST(SignZero, KeepsZeroAsItsOwnClass) {
    EXPECT_EQ(SignZero(0.0), 0.0);
    EXPECT_EQ(SignZero(-0.0), 0.0);
    EXPECT_EQ(SignZero(3.5), 1.0);
    EXPECT_EQ(SignZero(-3.5), -1.0);
    EXPECT_EQ(SignZero(5e-324), 1.0);
    EXPECT_EQ(SignZero(-kInf), -1.0);
}

TEST(SameSign, HasThreeClassesAndNoneForNotANumber) {
    EXPECT_FALSE(SameSign(0.0, 5.0));
    EXPECT_FALSE(SameSign(-5.0, 0.0));
    EXPECT_FALSE(SameSign(-5.0, 5.0));
    EXPECT_TRUE(SameSign(0.0, -0.0));
    EXPECT_TRUE(SameSign(2.0, 7.0));
    EXPECT_TRUE(SameSign(-2.0, -7.0));
    EXPECT_FALSE(SameSign(kNan, 1.0));
    EXPECT_FALSE(SameSign(1.0, kNan));
    EXPECT_FALSE(SameSign(kNan, kNan));
    EXPECT_FALSE(SameSign(kNan, 0.0));
}

TEST(ClampAbs, LimitsTheMagnitudeAndKeepsTheSign) {
    EXPECT_EQ(ClampAbs(3.0, 2.0), 2.0);
    EXPECT_EQ(ClampAbs(-3.0, 2.0), -2.0);
    EXPECT_EQ(ClampAbs(2.0, 2.0), 2.0);
    EXPECT_EQ(ClampAbs(-1.25, 2.0), -1.25);
    EXPECT_EQ(ClampAbs(-kInf, 1e45), -1e45);
    EXPECT_TRUE(std::isnan(ClampAbs(kNan, 2.0))) << "no comparison with NaN holds, so it passes";
}

TEST(ClampAbsMin, TurnsZeroIntoThePositiveMinimum) {
    EXPECT_EQ(ClampAbsMin(0.0, 1e-8), 1e-8);
    EXPECT_EQ(ClampAbsMin(-0.0, 1e-8), 1e-8);
    EXPECT_EQ(ClampAbsMin(-1e-9, 1e-8), -1e-8);
    EXPECT_EQ(ClampAbsMin(1e-9, 1e-8), 1e-8);
    EXPECT_EQ(ClampAbsMin(-1e-8, 1e-8), -1e-8);
    EXPECT_EQ(ClampAbsMin(-4.0, 1e-8), -4.0);
}

struct NoiseRow {
    std::uint32_t seed;
    double first;  // all three as 31-bit integers over 2^31
    double second;
    double third;
};

TEST(RandomUnit, FollowsTheWrittenOutInteger) {
    const NoiseRow rows[] = {{0u, 1316808037.0, 758455919.0, 1349892317.0},
                             {1000u, 1819694549.0, 314567191.0, 1475352333.0},
                             {10000u, 1075409989.0, 1967236095.0, 2125422141.0},
                             {100000u, 164963365.0, 2034502159.0, 2047405213.0},
                             {0xffffffffu, 1376312589.0, 1316808037.0, 758455919.0}};
    for (const NoiseRow& row : rows) {
        SCOPED_TRACE(row.seed);
        std::uint32_t counter = row.seed;
        EXPECT_EQ(RandomUnit(counter), row.first * 0x1p-31);
        EXPECT_EQ(counter, row.seed + 1u) << "the counter advances before it is used";
        EXPECT_EQ(RandomUnit(counter), row.second * 0x1p-31);
        EXPECT_EQ(RandomUnit(counter), row.third * 0x1p-31);
        EXPECT_EQ(counter, row.seed + 3u);
    }
}

TEST(RandomUnit, RepeatsWhenTheCounterIsRestored) {
    std::uint32_t counter = 0;
    const double first = RandomUnit(counter);
    EXPECT_NE(first, 0.0);
    EXPECT_NE(RandomUnit(counter), first);
    counter = 0;
    EXPECT_EQ(RandomUnit(counter), first);
}

TEST(RandomUnit, WrapsASignedCounterFromTheLargestToTheSmallest) {
    std::int32_t counter = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(RandomUnit(counter), 1376312589.0 * 0x1p-31);
    EXPECT_EQ(counter, std::numeric_limits<std::int32_t>::min());
}

TEST(RandomUnit, StaysBelowOneAndFillsTheInterval) {
    test::PinnedRandom random(11);
    std::vector<int> bins(16, 0);
    for (int i = 0; i < 32000; ++i) {
        std::uint32_t counter = random.bits();
        const double u = RandomUnit(counter);
        ASSERT_GE(u, 0.0) << "counter " << counter;
        ASSERT_LT(u, 1.0) << "counter " << counter;
        ++bins[static_cast<std::size_t>(u * 16.0)];
    }
    for (const int count : bins) EXPECT_GT(count, 1600) << "an even spread would be 2000 a bin";
}

TEST(ScalarHelpers, WorkInSinglePrecision) {
    EXPECT_EQ(Sign(-0.5f), -1.0f);
    EXPECT_EQ(SignZero(0.0f), 0.0f);
    EXPECT_TRUE(SameSign(1.0f, 2.0f));
    EXPECT_EQ(ClampAbs(-3.0f, 2.0f), -2.0f);
    EXPECT_EQ(ClampAbsMin(0.0f, 0.25f), 0.25f);
}

}  // namespace
}  // namespace ond::util
