// Rays of a fan in single precision beside the same rays worked out one by one.
#include "ground/RayFan.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "ground/GroundMeshes.h"
#include "ond/util/Quat.h"

namespace ond::ovs::addon {
namespace {

using test::PinnedRandom;
using V = util::Vector3<double>;

/// A fan about any axle, to it the true directions.
struct TurnedFan {
    explicit TurnedFan(PinnedRandom& random) {
        const V axle = Normalized(random.vector(1.0));
        const V straight = Normalized(random.vector(1.0));
        const int count = 1 + static_cast<int>(random.bits() % 30);
        FanAngles angles;
        for (int i = 0; i < count; ++i) {
            const double angle = random.in(-1.6, 1.6);
            const double sine = std::sin(angle);
            angles.add(sine, std::cos(angle));
            const V part = sine * axle;
            directions.push_back(Rotate(util::Quat<double>(part.x, part.y, part.z, std::cos(angle)), straight));
        }
        fan.turn(angles, straight, Dot(axle, straight) * axle, Cross(axle, straight));
    }

    RayFan fan;
    std::vector<V> directions;
};

TEST(RayFanTest, TurnsTheRaysWhereTheyPoint) {
    PinnedRandom random(1);
    for (int i = 0; i < 500; ++i) {
        const TurnedFan turned(random);
        ASSERT_EQ(turned.fan.count(), turned.directions.size());
        for (std::size_t ray = 0; ray < turned.directions.size(); ++ray) {
            const V off = turned.fan.direction(ray) - turned.directions[ray];
            EXPECT_LE(std::abs(off.x), RayFan::kInexact);
            EXPECT_LE(std::abs(off.y), RayFan::kInexact);
            EXPECT_LE(std::abs(off.z), RayFan::kInexact);
        }
    }
}

TEST(RayFanTest, BoxAndRangeHoldAllRaysAndHardlyMore) {
    PinnedRandom random(2);
    for (int i = 0; i < 500; ++i) {
        const TurnedFan turned(random);
        const V axis = Normalized(random.vector(1.0));
        V low;
        V high;
        double least = 0.0;
        double most = 0.0;
        turned.fan.box(low, high);
        turned.fan.range(axis, least, most);
        V trueHigh;
        double trueLeast = 0.0;
        for (const V& direction : turned.directions) {
            EXPECT_TRUE(direction.x >= low.x && direction.y >= low.y && direction.z >= low.z);
            EXPECT_TRUE(direction.x <= high.x && direction.y <= high.y && direction.z <= high.z);
            EXPECT_TRUE(Dot(axis, direction) >= least && Dot(axis, direction) <= most);
            trueHigh.x = std::max(trueHigh.x, direction.x);
            trueLeast = std::min(trueLeast, Dot(axis, direction));
        }
        EXPECT_NEAR(high.x, trueHigh.x, 1e-5);
        EXPECT_NEAR(least, trueLeast, 3e-5);
    }
}

TEST(RayFanTest, AFanThatIsFilledAnewKeepsNothing) {
    RayFan fan;
    for (int i = 0; i < 7; ++i) fan.add({0.0, 1.0, 0.0});
    fan.clear();
    fan.add({1.0, 0.0, 0.0});
    EXPECT_EQ(fan.count(), 1U);
    V low;
    V high;
    fan.box(low, high);
    EXPECT_LT(high.y, 1e-5);
    EXPECT_EQ(fan.direction(0), V(1.0, 0.0, 0.0));
    EXPECT_EQ(fan.group(0).y[1], 0.0F);
}

TEST(RayFanTest, AcrossIsAtRightAnglesToTheRays) {
    RayFan fan;
    fan.add({0.0, -1.0, 0.0});
    EXPECT_NEAR(Dot(fan.across(), V(0.0, -1.0, 0.0)), 0.0, 1e-12) << "any of them";
    EXPECT_NEAR(Length(fan.across()), 1.0, 1e-12);
    fan.add(Normalized(V(0.0, -1.0, 1.0)));
    EXPECT_NEAR(std::abs(fan.across().x), 1.0, 1e-12);
}

}  // namespace
}  // namespace ond::ovs::addon
