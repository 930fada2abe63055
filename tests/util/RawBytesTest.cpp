#include "ond/util/RawBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace {

using ond::util::RawBytes;

TEST(RawBytes, KeepsWhatIsThereWhenItGrows) {
    RawBytes bytes;
    for (int i = 0; i < 1000; ++i) bytes.push_back(static_cast<unsigned char>(i));
    bytes.resize(100000);
    bytes.insert(bytes.end(), 3, 7);
    for (std::size_t i = 0; i < 1000; ++i) ASSERT_EQ(bytes[i], i % 256);
    EXPECT_EQ(bytes.back(), 7);
    EXPECT_EQ(bytes.size(), 100003u);
    bytes.resize(5);
    EXPECT_EQ(bytes, (RawBytes{0, 1, 2, 3, 4}));
}

TEST(RawBytes, LeavesTheMemoryOfNewBytesAsItIs) {
    RawBytes bytes(64, 0xab);
    bytes.resize(0);
    bytes.resize(64);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0xab), 64);
    bytes.resize(0);
    bytes.resize(64, 0);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0), 64);
}

// Large enough for large pages, whose limits a block of any size does not meet.
TEST(RawBytes, HoldsTensOfMegabytes) {
    for (const std::size_t size : {(std::size_t{33} << 20) - 1, (std::size_t{33} << 20) + 4097}) {
        RawBytes bytes(size);
        for (std::size_t at = 0; at < size; at += 4096) bytes[at] = static_cast<unsigned char>(at / 4096 + 1);
        bytes.back() = 9;
        RawBytes moved = std::move(bytes);
        ASSERT_EQ(moved.size(), size);
        EXPECT_EQ(moved.back(), 9);
        for (std::size_t at = 0; at + 1 < size; at += 4096)
            ASSERT_EQ(moved[at], static_cast<unsigned char>(at / 4096 + 1)) << at;
    }
}

TEST(RawBytes, BeginsOnALargePageWhereItHasMemoryOfItsOwn) {
    for (const std::size_t size : {ond::util::kOwnMapping, ond::util::kOwnMapping + 1}) {
        const RawBytes bytes(size);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(bytes.data()) % ond::util::kLargePage, 0u) << size;
    }
}

}  // namespace
