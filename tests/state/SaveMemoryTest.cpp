// How much memory a save needs beside the vehicle. Counts every allocation of the program.
#include <gtest/gtest.h>

#include "state/FakeHost.h"
#include "state/VehicleFields.h"
#include "util/CountedMemory.h"

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

}  // namespace
