// What a frame allocates: nothing but the growth of its histories.
#include <atomic>
#include <cstddef>

#include "whole/Grounds.h"
#include "whole/WholeRun.h"

// The address sanitizer brings its own malloc, which the module takes in place of the program's.
#if defined(__SANITIZE_ADDRESS__) || !defined(__GLIBC__)
#define QUADRIG_COUNTS_ALLOCATIONS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUADRIG_COUNTS_ALLOCATIONS 0
#endif
#endif
#ifndef QUADRIG_COUNTS_ALLOCATIONS
#define QUADRIG_COUNTS_ALLOCATIONS 1
#endif

namespace {

/// Requests for memory from inside the module, the physics library's and those of operator new among them.
std::atomic<long> g_allocations{0};

}  // namespace

#if QUADRIG_COUNTS_ALLOCATIONS
// The program's own functions stand in for those of the C library everywhere, the module included, if they can be seen.
#pragma GCC visibility push(default)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

void* malloc(std::size_t size) noexcept {
    if (ond::test::ModuleBoundary::inside()) ++g_allocations;
    return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) noexcept {
    if (ond::test::ModuleBoundary::inside()) ++g_allocations;
    return __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) noexcept {
    if (ond::test::ModuleBoundary::inside()) ++g_allocations;
    return __libc_realloc(memory, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    if (ond::test::ModuleBoundary::inside()) ++g_allocations;
    return __libc_memalign(alignment, size);
}
}
#pragma GCC visibility pop
#endif

namespace ond::test {
namespace {

class Allocation : public WholeRun {
  protected:
    void SetUp() override {
        if (!QUADRIG_COUNTS_ALLOCATIONS) GTEST_SKIP() << "allocations cannot be counted under the address sanitizer";
    }

    /// Allocations of the module in each frame of a run, by frame; the first is the start itself.
    std::vector<long> perFrame(Vehicle& car, int frames = 130) {
        car.axis("Gas Pedal").position = 0.3;
        car.axis("Steering").position = 0.2;
        car.axis("External Force").position = 0.2;
        car.log.enabled = false;
        std::vector<long> counts;
        const auto count = [&](const auto& work) {
            const long before = g_allocations;
            work();
            counts.push_back(g_allocations - before);
        };
        count([&] { host.startRun(0); });
        for (int frame = 1; frame <= frames; ++frame) count([&] { host.advance(1); });
        host.stopRun();
        return counts;
    }

    /// The start makes room for more keys than a history gets here.
    static void expectNothingAfterWarmUp(const std::vector<long>& counts) {
        ASSERT_GT(counts[0], 59) << "the program's malloc does not serve the module, so nothing was counted";
        for (int frame = 20; frame <= 126; ++frame)
            EXPECT_EQ(counts[static_cast<std::size_t>(frame)], 0) << "frame " << frame;
    }
};

TEST_F(Allocation, FrameOnThePlaneAllocatesNothing) { expectNothingAfterWarmUp(perFrame(addCarOnPlane())); }

TEST_F(Allocation, FrameInEachWayOfCastingAllocatesNothing) {
    for (const Casting casting : {Casting::surface, Casting::stored, Casting::bullet}) {
        SCOPED_TRACE(static_cast<int>(casting));
        Vehicle& car = addCar();
        Element& ground = linkGround(car, wavyGround());
        Element& child = host.scene.addMesh("Child", wavyGround(), &car.element("GravityDirectionMesh"));
        if (casting != Casting::bullet) car.edit("Use Fast Ray Cast", 0.0);
        if (casting == Casting::stored) car.edit("Store Ground Mesh Data", 1.0);
        expectNothingAfterWarmUp(perFrame(car));
        host.removeVehicle(car);
        host.scene.remove(ground);
        host.scene.remove(child);
    }
}

TEST_F(Allocation, FrameWithoutGroundUnderTheWheelsAllocatesNothing) {
    Vehicle& car = addCar();
    linkGround(car, flatGround(0.0, 3.0));
    car.axis("Gas Pedal").position = 1.0;
    expectNothingAfterWarmUp(perFrame(car));
}

TEST_F(Allocation, FrameInAutonomousModeAllocatesNothing) {
    Vehicle& car = addCarOnPlane();
    car.put("Autonomous Mode", 1.0);
    expectNothingAfterWarmUp(perFrame(car));
}

TEST_F(Allocation, FrameWithoutKeysAllocatesNothingAtAll) {
    Vehicle& car = addCarOnPlane();
    car.put("Enable Seamless Transitions", 0.0);
    const std::vector<long> counts = perFrame(car);
    for (int frame = 3; frame <= 130; ++frame) EXPECT_EQ(counts[static_cast<std::size_t>(frame)], 0) << frame;
}

// Full ones move to a place of twice the size, which takes long for long ones.
TEST_F(Allocation, HistoriesGrowInFramesOfTheirOwn) {
    const std::vector<long> counts = perFrame(addCarOnPlane(), 1100);
    long growths = 0;
    for (std::size_t frame = 127; frame < counts.size(); ++frame) {
        EXPECT_LE(counts[frame], 1) << frame;
        growths += counts[frame];
    }
    EXPECT_GT(growths, 3 * 50) << "each at 128 and some, at twice and at four times that";
}

TEST_F(Allocation, HistoriesOfARunThatGoesOnDoNotGrowTogether) {
    // A run that was undone leaves the histories that it found, without room.
    for (const bool undone : {false, true}) {
        Vehicle& car = addCarOnPlane();
        static_cast<void>(perFrame(car, 600));
        if (undone) {
            host.run(600, 10);
            host.undo.undo();
        }
        long growths = 0;
        host.startRun(600);
        for (int frame = 1; frame <= 900; ++frame) {
            const long before = g_allocations;
            host.advance(1);
            EXPECT_LE(g_allocations - before, frame < 3 ? 10 : 3) << frame << (undone ? " undone" : "");
            growths += g_allocations - before;
        }
        host.stopRun();
        EXPECT_GT(growths, 50);
        host.removeVehicle(car);
    }
}

}  // namespace
}  // namespace ond::test
