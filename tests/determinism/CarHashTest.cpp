#include <gtest/gtest.h>

#include <cmath>

#include "car/Fields.h"
#include "car/Follow.h"
#include "car/RandomCar.h"
#include "car/StepCar.h"
#include "car/WheelRolling.h"
#include "determinism/GoldenHash.h"
#include "util/PinnedRandom.h"

namespace ond::test {

namespace {

using ovs::addon::cCarCam;
using ovs::addon::FollowState;
using ovs::addon::kNumWheels;

/// Devices as an animator moves them: held for a while, then moved elsewhere; many at rest.
void moveDevices(cCarCam& car, PinnedRandom& random) {
    for (auto& channel : car.pcInput) {
        if (!random.chance(0.08)) continue;
        const bool rest = random.chance(0.5);
        const double raw = random.in(channel.bOneSided ? 0.0 : -1.0, 1.0);
        channel.raw = rest ? 0.0 : raw;
    }
}

/// Ground that the wheels find: bumps, and now and then a wheel without any.
void moveGround(cCarCam& car, PinnedRandom& random) {
    for (auto& wheel : car.pcWheel) {
        wheel.dWheelGroundNormalDiff = 0.247 + random.in(-0.02, 0.02);
        wheel.dSuspDistanceMoved = std::abs(car.dVelocity) * random.in(0.03, 0.05);
        if (random.chance(0.05)) wheel.bInAir = random.chance(0.3);
    }
}

/// One run over all inputs; adds every number of the record after every frame.
void addRun(BitHash& hash, std::uint64_t seed) {
    PinnedRandom random(seed);
    const double frameSteps[] = {1.0 / 24, 1.0 / 25, 1.0 / 30, 1.0 / 60, 0.0017, 0.1};
    const double dt = frameSteps[seed % 6];
    cCarCam car(static_cast<std::int32_t>(seed));
    FollowState follow;
    car.bAutonomousMode = seed % 5 == 4;
    car.bGravityOn = seed % 3 == 1;
    car.dSteeringNoise = seed % 2 == 0 ? 0.0 : 0.4;
    StartCar(car, {}, {}, dt);
    for (int frame = 0; frame < 300; ++frame) {
        double raws[ovs::addon::kNumInputs];
        moveDevices(car, random);
        for (int i = 0; i < ovs::addon::kNumInputs; ++i) raws[i] = car.pcInput[i].raw;
        const util::Matrix4 body = ToMatrix(car.cCarBody.qTransAbs);
        const double angle = 0.02 * frame;
        UpdateFollow(car, follow, body, {30.0 * std::sin(angle), 0.0, -30.0 * angle}, dt);
        StepCar(car, dt);
        moveGround(car, random);
        UpdateWheelRolling(car, dt);
        walkRecord(car, [&hash, frame](const auto& name, double value) {
            ASSERT_TRUE(std::isfinite(value)) << name.text() << " in frame " << frame;
            hash.add(value);
        });
        if (::testing::Test::HasFatalFailure()) return;
        // The phases of a frame rewrite the device values; the next frame reads the devices anew.
        for (int i = 0; i < ovs::addon::kNumInputs; ++i) car.pcInput[i].raw = raws[i];
    }
}

}  // namespace

TEST(Determinism, RandomDrivesGiveTheSameBitsOnEveryBuild) {
    BitHash hash;
    for (std::uint64_t seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        addRun(hash, seed);
        if (HasFatalFailure()) return;
    }
    expectGoldenHash("car", hash.value());
}

TEST(Determinism, AHashSeesTheLastBitOfOneNumber) {
    BitHash a;
    BitHash b;
    a.add(1.0);
    b.add(std::nextafter(1.0, 2.0));
    EXPECT_NE(a.value(), b.value());
}

}  // namespace ond::test
