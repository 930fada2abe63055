// How much memory a save needs beside the vehicle, and a load for it. Counts every allocation of the program.
#include <gtest/gtest.h>

#include <cstdint>
#include <variant>

#include "ond/util/LittleEndian.h"
#include "ond/util/Pages.h"
#include "state/BlockEditor.h"
#include "state/FakeHost.h"
#include "state/LoadState.h"
#include "state/SavedKeys.h"
#include "state/SavedTree.h"
#include "state/VehicleFields.h"
#include "util/CountedMemory.h"

namespace {

using namespace ond;
using namespace ond::test;
using namespace ond::ovs::addon;

void recordKeys(Car& car, std::size_t keys) {
    forEachHistory(*car, [keys](const std::string&, auto& variable) {
        variable.keys.resize(keys);
        double time = 0.0;
        for (auto& key : variable.keys) key.time = time += 0.04;
    });
}

TEST(SaveMemory, OfALongRecordingIsTheBlockAndLittleMore) {
    Car car;
    recordKeys(car, 10000);
    car.host.keepsBlock = false;  // the host's copy is the host's affair

    const std::size_t before = CountedMemory::now();
    const std::size_t peak = CountedMemory::peakOf([&] { car->saveState(); });
    const std::size_t after = CountedMemory::now();
    const std::size_t block = car.host.storedLength;
    RecordProperty("block", static_cast<int>(block));
    RecordProperty("peak", static_cast<int>(peak));
    ASSERT_GT(block, 8000000u) << "ten thousand keys in each of 59 variables";
    EXPECT_LT(peak, block + 4096) << "one copy";
    EXPECT_EQ(after, before) << "nothing is kept";
}

// Its block fills large pages to the end.
TEST(SaveMemory, OfAnHourIsTheBlockInWholeLargePages) {
    Car car;
    recordKeys(car, 40000);
    car.host.keepsBlock = false;
    const std::size_t before = CountedMemory::now();
    const std::size_t peak = CountedMemory::peakOf([&] { car->saveState(); });
    ASSERT_GT(car.host.storedLength, util::kOwnMapping);
    EXPECT_GE(peak, car.host.storedLength);
    EXPECT_LT(peak, util::wholeLargePages(car.host.storedLength) + 4096);
    EXPECT_EQ(CountedMemory::now(), before) << "nothing is kept";
}

constexpr std::size_t kHistories = 59;
constexpr std::size_t kMostAside = 256;  ///< keys that rooms differ by
constexpr std::size_t kLargestKey = 64;  ///< bytes

// Each key in memory, an eighth more, what rooms differ by, and the rest of a large page.
TEST(LoadMemory, OfALongRecordingIsItsHistoriesWithRoomToGoOn) {
    for (const std::size_t keys : {std::size_t{10000}, std::size_t{40000}}) {
        Car saved;
        recordKeys(saved, keys);
        saved->saveState();
        std::size_t bytes = 0;
        forEachHistory(*saved, [&](const std::string&, auto& variable) { bytes += keys * sizeof variable.keys[0]; });
        Car car;
        putRig(car.host);
        const std::size_t before = CountedMemory::now();
        const std::size_t peak = CountedMemory::peakOf([&] { ASSERT_EQ(load(car, saved.host.block), 0u); });
        const std::size_t block = saved.host.block.size();  // the host's copy
        const std::size_t most = bytes + bytes / 8 + kHistories * kMostAside * kLargestKey + util::kLargePage + 65536;
        EXPECT_GE(peak, bytes);
        EXPECT_LT(peak, block + most);
        EXPECT_LT(CountedMemory::now() - before, block + most);
    }
}

TEST(LoadMemory, OfABlockThatOnlyClaimsToBeLongIsLittle) {
    Car saved;
    recordKeys(saved, 40000);
    saved->saveState();
    // No keys, say all headers.
    const SavedTree tree(saved.host.block.data(), saved.host.block.size());
    const auto empty = [](const SavedChunk& chunk) {
        auto* const header = const_cast<unsigned char*>(chunk.data);
        util::storeLittleEndian(header + 4, std::uint32_t{0});
        util::storeLittleEndian(header + 12, std::uint32_t{0});
    };
    for (const SavedRow& row : kSavedRows)
        if (std::holds_alternative<HistoryLeaf>(row.binding)) empty(*tree.find(row.key));
    for (const SavedChunk& chunk : tree.find("wheelstore")->children) empty(chunk);
    Car car;
    putRig(car.host);
    car.host.block = saved.host.block;
    const std::size_t peak = CountedMemory::peakOf(
        [&] { EXPECT_EQ(loadStateFrom(*car, car.host.block.data(), car.host.block.size()), 0u); });
    EXPECT_EQ(car->anbCarInTheAir.getNumKeys(), 0);
    EXPECT_LT(peak, 65536u);
}

}  // namespace
