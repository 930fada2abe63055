// The car model takes no memory from the heap, whatever its inputs do.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "car/FlatGround.h"
#include "car/Follow.h"
#include "car/QuietCar.h"
#include "car/RandomCar.h"

namespace {
long g_allocations = 0;
}  // namespace

// Not inlined: a compiler that sees malloc behind one and free behind the other calls the pair mismatched.
[[gnu::noinline]] void* operator new(std::size_t size) {
    ++g_allocations;
    if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* p) noexcept { std::free(p); }
[[gnu::noinline]] void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace ond::ovs::addon {
namespace {

TEST(NoAllocation, TheCounterCounts) {
    const long before = g_allocations;
    int* volatile kept = new int(3);  // volatile, or the pair would be optimised away
    delete kept;
    EXPECT_EQ(g_allocations, before + 1);
}

TEST(NoAllocation, ThousandsOfFramesWithAllInputsTakeNothing) {
    test::PinnedRandom random(801);
    cCarCam car = test::quietCar();
    car.bGravityOn = true;
    car.dSteeringNoise = 0.1;
    car.dSkiddingOffset = 0.1;
    car.dForceOffset = 0.1;
    car.dWorldAvoidanceSphereRadius = 5;
    FollowState follow;
    test::FlatGround ground;
    int slides = 0;
    int boosts = 0;
    int burnouts = 0;
    int flights = 0;
    int skids = 0;
    const long before = g_allocations;
    for (int frame = 0; frame < 6000; ++frame) {
        for (auto& channel : car.pcInput) channel.raw = random.in(channel.bOneSided ? 0.0 : -1.0, 1.0);
        if (frame / 50 % 4 != 0) car.pcInput[pcInput_SKID_BRAKE].raw = 0.0;
        if (frame / 70 % 2 != 0) car.pcInput[pcInput_ABS_BRAKE].raw = 0.0;
        car.bAutonomousMode = frame / 500 % 3 == 2;
        ground.height = frame / 300 % 2 == 0 ? 0.0 : -1.0;
        UpdateFollow(car, follow, ToMatrix(car.cCarBody.qTransAbs), {3, 0, -20}, 0.04);
        ground.frame(car, 0.04);
        slides += car.bSkidBreakingOn;
        boosts += car.bStiffnessBoosted;
        burnouts += !car.bBurnoutIdle;
        flights += car.bCarInTheAir;
        skids += car.bSkiddingOn;
    }
    StartCar(car, car.qTransCarAbs, car.qTransCarAbs, 0.04);
    ResetCar(car);
    const cCarCam copy = car;
    EXPECT_EQ(g_allocations, before);
    EXPECT_EQ(copy.qTransCarAbs.position.x, car.qTransCarAbs.position.x);
    // All of it must have happened.
    EXPECT_GT(slides, 100);
    EXPECT_GT(boosts, 100);
    EXPECT_GT(burnouts, 100);
    EXPECT_GT(flights, 10);
    EXPECT_GT(skids, 100);
}

TEST(NoAllocation, NorDoesAFrameOfAnyRecord) {
    test::PinnedRandom random(802);
    long taken = 0;
    for (int i = 0; i < 2000; ++i) {
        cCarCam car = test::randomCar(random);
        const double dt = random.in(0.001, 0.1);
        const long before = g_allocations;
        StepCar(car, dt);
        UpdateWheelRolling(car, dt);
        taken += g_allocations - before;
    }
    EXPECT_EQ(taken, 0);
}

}  // namespace
}  // namespace ond::ovs::addon
