#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "ond/ovs/CS.h"

namespace ond::ovs::CS {
namespace {

class Counted : public Converter<double> {
  public:
    explicit Counted(int& count, Converter* following = nullptr) : Converter(following), alive(count) { ++alive; }
    ~Counted() override { --alive; }
    double forward(const double&) const override { return -1.0; }
    double backward(const double&) const override { return -2.0; }

  private:
    int& alive;
};

TEST(Converter, BaseChangesNothing) {
    const Converter<double> plain;
    EXPECT_EQ(plain.forward(12.75), 12.75);
    EXPECT_EQ(plain.backward(-0.1), -0.1);
    EXPECT_EQ(plain.next, nullptr);
}

TEST(Converter, BaseDoesNotConsultTheNextOne) {
    int alive = 0;
    const Converter<double> plain(new Counted(alive));
    EXPECT_EQ(plain.forward(3.0), 3.0);
    EXPECT_EQ(plain.backward(3.0), 3.0);
}

TEST(Converter, OwnsTheChainBehindIt) {
    int alive = 0;
    auto* head = new Converter<double>(new Counted(alive, new Counted(alive)));
    EXPECT_EQ(alive, 2);
    delete head;
    EXPECT_EQ(alive, 0);
}

TEST(Multiply, ForwardMultipliesBackwardDivides) {
    const Multiply<double> times(2.5);
    EXPECT_EQ(times.forward(4.0), 10.0);
    EXPECT_EQ(times.backward(10.0), 4.0);
    EXPECT_EQ(times.factor, 2.5);
}

TEST(Multiply, BackwardDividesAndDoesNotMultiplyByTheReciprocal) {
    const Multiply<double> times(49.0);
    ASSERT_NE(49.0 / 49.0, 49.0 * (1.0 / 49.0));
    EXPECT_EQ(times.backward(49.0), 1.0);
}

TEST(Multiply, DoesNotConsultTheNextOne) {
    int alive = 0;
    {
        const Multiply<double> times(2.0, new Counted(alive));
        EXPECT_EQ(times.forward(4.0), 8.0);
        EXPECT_EQ(times.backward(4.0), 2.0);
    }
    EXPECT_EQ(alive, 0);
}

TEST(Multiply, WorksThroughTheBase) {
    const Multiply<double> times(2.0);
    const Converter<double>& base = times;
    EXPECT_EQ(base.forward(4.0), 8.0);
    EXPECT_EQ(base.backward(4.0), 2.0);
}

TEST(Multiply, GlobalsShowDegreesAndPercent) {
    EXPECT_EQ(radiansToDegrees.factor, 57.29577951308232);
    EXPECT_NEAR(radiansToDegrees.forward(3.141592653589793), 180.0, 1e-12 * 180.0);
    EXPECT_EQ(fractionToPercent.factor, 100.0);
    EXPECT_EQ(fractionToPercent.forward(0.5), 50.0);
    EXPECT_EQ(fractionToPercent.backward(25.0), 0.25);
    EXPECT_EQ(radiansToDegrees.next, nullptr);
    EXPECT_EQ(fractionToPercent.next, nullptr);
}

TEST(Multiply, RoundTripStaysWithinRounding) {
    constexpr std::uint64_t kSeed = 20;
    SCOPED_TRACE(kSeed);
    std::mt19937_64 random(kSeed);
    for (int i = 0; i < 10000; ++i) {
        const double value = static_cast<double>(random() >> 11) * 0x1p-53 * 2000.0 - 1000.0;
        const double factor = static_cast<double>(random() >> 11) * 0x1p-53 * 200.0 + 1e-3;
        const Multiply<double> times(factor);
        EXPECT_NEAR(times.backward(times.forward(value)), value, 4e-16 * std::abs(value)) << value << ' ' << factor;
    }
}

}  // namespace
}  // namespace ond::ovs::CS
