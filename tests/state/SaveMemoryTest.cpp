// How much memory a save needs beside the vehicle. Counts every allocation of the program.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "state/FakeHost.h"
#include "state/VehicleFields.h"

namespace {

// Each block carries its size in front; 16 bytes keep it aligned.
constexpr std::size_t kHead = 16;
std::atomic<std::size_t> g_now{0};
std::atomic<std::size_t> g_peak{0};

void* take(std::size_t size) {
    auto* block = static_cast<unsigned char*>(std::malloc(size + kHead));
    if (block == nullptr) throw std::bad_alloc();
    *reinterpret_cast<std::size_t*>(block) = size;
    const std::size_t now = g_now += size;
    if (now > g_peak) g_peak = now;
    return block + kHead;
}

void giveBack(void* memory) {
    if (memory == nullptr) return;
    unsigned char* block = static_cast<unsigned char*>(memory) - kHead;
    g_now -= *reinterpret_cast<std::size_t*>(block);
    std::free(block);
}

}  // namespace

void* operator new(std::size_t size) { return take(size); }
void* operator new[](std::size_t size) { return take(size); }
void operator delete(void* memory) noexcept { giveBack(memory); }
void operator delete[](void* memory) noexcept { giveBack(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { giveBack(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { giveBack(memory); }

namespace {

using namespace ond;
using namespace ond::test;

TEST(SaveMemory, OfALongRecordingIsTheBlockAndLittleMore) {
    Car car;
    forEachHistory(*car, [](const std::string&, auto& variable) {
        variable.keys.resize(10000);
        double time = 0.0;
        for (auto& key : variable.keys) key.time = time += 0.04;
    });
    car.host.keepsBlock = false;  // the host's copy is the host's affair

    const std::size_t before = g_now;
    g_peak = before;
    car->saveState();
    const std::size_t after = g_now;
    const std::size_t peak = g_peak - before;
    const std::size_t block = car.host.storedLength;
    RecordProperty("block", static_cast<int>(block));
    RecordProperty("peak", static_cast<int>(peak));
    ASSERT_GT(block, 8000000u) << "ten thousand keys in each of 59 variables";
    EXPECT_LT(peak, block + 4096) << "one copy";
    EXPECT_EQ(after, before) << "nothing is kept";
}

}  // namespace
