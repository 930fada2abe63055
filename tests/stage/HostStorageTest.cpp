// The vehicle's saved block, as the host keeps and lends it.
#include <cstdint>
#include <cstring>

#include "stage/FakeVehicle.h"
#include "stage/SavedBlock.h"

namespace ond::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class HostStorage : public FakeStage {
  protected:
    static std::vector<unsigned char> bytes(std::size_t length) {
        std::vector<unsigned char> all(length);
        for (std::size_t i = 0; i < length; ++i) all[i] = static_cast<unsigned char>(i * 31 + i / 251);
        return all;
    }
};

TEST_F(HostStorage, BlockIsCopiedInsideTheCall) {
    Vehicle& car = add("car");
    const std::vector<unsigned char> original = bytes(1000);
    plugin.onSave = [&](FakeVehicle& v) {
        std::vector<unsigned char> own = original;
        v.hostInterface->storeChunk(own.data(), own.size());
        std::fill(own.begin(), own.end(), static_cast<unsigned char>(0));
    };
    car.save();
    EXPECT_EQ(car.chunk, original);
}

TEST_F(HostStorage, BlocksOfAnyLengthComeBackByteForByte) {
    for (const std::size_t length : {1U, 7U, 8U, 63U, 64U, 4096U, 5000001U}) {
        SCOPED_TRACE(length);
        stage = std::make_unique<Stage>(vehicleModule());
        useFakes(*stage);
        const std::vector<unsigned char> original = bytes(length);
        plugin.onSave = [&](FakeVehicle& v) { v.hostInterface->storeChunk(original.data(), original.size()); };
        Vehicle& first = add("car");
        first.save();
        int loads = 0;
        plugin.onLoad = [&](FakeVehicle& v) -> std::uint64_t {
            ++loads;
            const auto* block = static_cast<const unsigned char*>(v.hostInterface->getChunk(0));
            EXPECT_NE(block, nullptr);
            if (block == nullptr) return 1;
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 8, 0U);
            EXPECT_EQ(std::memcmp(block, original.data(), length), 0);
            // A damaged block is read on behind its end: zeros stop that.
            for (std::size_t i = 0; i < 64; ++i) EXPECT_EQ(block[length + i], 0) << i;
            EXPECT_EQ(v.hostInterface->getChunk(0), block) << "the first pointer must hold until the call returns";
            EXPECT_EQ(std::memcmp(block, original.data(), length), 0);
            return 0;
        };
        Vehicle& car = stage->replace(first);
        EXPECT_EQ(car.load(), 0U);
        EXPECT_EQ(loads, 1);
        EXPECT_EQ(car.chunk, original);
        EXPECT_EQ(stage->complaints(), Lines());
    }
}

TEST_F(HostStorage, WithoutABlockThereIsNull) {
    Vehicle& car = stage->create("car");
    car.declare();
    const void* block = &car;
    plugin.onLoad = [&](FakeVehicle& v) -> std::uint64_t {
        block = v.hostInterface->getChunk(0);
        return 1;
    };
    EXPECT_EQ(car.load(), 1U);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(car.life, Vehicle::Life::loadFailed);
}

TEST_F(HostStorage, LaterBlockReplacesTheEarlierOne) {
    Vehicle& car = add("car");
    std::size_t length = 100;
    plugin.onSave = [&](FakeVehicle& v) {
        const std::vector<unsigned char> own = bytes(length);
        v.hostInterface->storeChunk(own.data(), own.size());
    };
    car.save();
    length = 3;
    car.save();
    EXPECT_EQ(car.chunk, bytes(3));
}

TEST_F(HostStorage, NothingIsSavedDuringARun) {
    Vehicle& car = add("car");
    plugin.onSave = [](FakeVehicle& v) { v.hostInterface->storeChunk("block", 6); };
    stage->startRun(0);
    plugin.calls.clear();
    car.save();
    EXPECT_TRUE(car.chunk.empty());
    EXPECT_THAT(plugin.calls, IsEmpty());
    EXPECT_THAT(car.misuse, ElementsAre(HasSubstr("saveState during a run")));
    stage->stopRun();
}

TEST_F(HostStorage, EachVehicleHasItsOwn) {
    plugin.onSave = [](FakeVehicle& v) { v.hostInterface->storeChunk(v.name.data(), v.name.size()); };
    Vehicle& a = add("a");
    Vehicle& b = add("bus");
    a.save();
    b.save();
    EXPECT_EQ(a.chunk, std::vector<unsigned char>{'a'});
    EXPECT_EQ(b.chunk, (std::vector<unsigned char>{'b', 'u', 's'}));
}

TEST(StorageOfTheModule, TruncatedBlocksAreKnown) {
    Stage stage(vehicleModule());
    Vehicle& car = stage.addVehicle("car");
    car.save();
    const std::vector<unsigned char> whole = car.chunk;
    ASSERT_TRUE(isWholeBlock(whole));
    EXPECT_FALSE(isWholeBlock({}));
    for (std::size_t length = 1; length < whole.size(); length += 97)
        EXPECT_FALSE(isWholeBlock({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)})) << length;
    std::vector<unsigned char> longer = whole;
    longer.push_back(0);
    EXPECT_FALSE(isWholeBlock(longer));
}

TEST(StorageOfTheModule, HostSavesNoRowsInPlaceOfTheBlock) {
    // Loading the block alone brings back what the block holds: rows outside of it stand at their defaults.
    Stage stage(vehicleModule());
    Vehicle& first = stage.addVehicle("car");
    const std::string adder = "Random Seed Adder";
    ASSERT_TRUE(first.dialog.has(adder));
    const double fresh = first.value(adder);
    first.put(adder, fresh + 3.0);
    first.put("Mass Multiplier", 2.5);
    first.save();
    Vehicle& car = stage.replace(first);
    EXPECT_EQ(car.load(), 0U);
    EXPECT_EQ(car.value(adder), fresh);
    EXPECT_EQ(car.value("Mass Multiplier"), 2.5);
}

}  // namespace
}  // namespace ond::test
