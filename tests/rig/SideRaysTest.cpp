// The fans of side rays: their angles, and that wheels with the same ones share a fan.
#include "rig/SideRays.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

using ond::ovs::addon::rig::SideRay;
using ond::ovs::addon::rig::SideRays;
using ond::ovs::addon::rig::sideRays;

void expectAngles(const SideRays& fan, double step, int toEachSide) {
    ASSERT_EQ(fan.rays.size(), static_cast<std::size_t>(2 * toEachSide + 1));
    EXPECT_EQ(fan.angles.count, fan.rays.size());
    for (int i = -toEachSide; i <= toEachSide; ++i) {
        const SideRay& ray = fan.rays[static_cast<std::size_t>(i + toEachSide)];
        EXPECT_EQ(ray.sine, std::sin(i * step));
        EXPECT_EQ(ray.cosine, std::cos(i * step));
        EXPECT_EQ(ray.sineOfSize, std::sin(std::abs(i * step)));
        EXPECT_EQ(ray.cosineOfSize, std::cos(std::abs(i * step)));
    }
}

TEST(SideRays, StandAtEqualAnglesFromBackToFront) {
    expectAngles(sideRays(0.03, 9), 0.03, 9);
    expectAngles(sideRays(0.03, 1), 0.03, 1);
    expectAngles(sideRays(2.0, 0), 2.0, 0);
}

TEST(SideRays, AreSharedByAllWithTheSameAngles) {
    SideRays& one = sideRays(0.11, 4);
    EXPECT_NE(&sideRays(0.12, 4), &one);
    EXPECT_NE(&sideRays(0.11, 5), &one);
    EXPECT_EQ(&sideRays(0.11, 4), &one);
}

TEST(SideRays, AreMadeAnewWhereThereAreTooManyKinds) {
    for (int pass = 0; pass < 2; ++pass)
        for (int kind = 1; kind <= 100; ++kind) expectAngles(sideRays(0.001 * kind, 3), 0.001 * kind, 3);
}

TEST(SideRays, WithoutANumberBetweenThemAreSharedToo) {
    const double none = std::numeric_limits<double>::quiet_NaN();
    SideRays& one = sideRays(none, 4);
    EXPECT_TRUE(std::isnan(one.rays.front().sine));
    EXPECT_EQ(&sideRays(none, 4), &one);
}

}  // namespace
