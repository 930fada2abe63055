#include "ond/util/ArrayRegion.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <numeric>
#include <random>
#include <utility>
#include <vector>

#include "util/HeapUse.h"
#include "util/PageState.h"

#ifdef HEAP_TELLS_NOTHING
#include <sanitizer/asan_interface.h>
#endif

namespace {

using namespace ond;
using util::ArrayRegion;

using Array = std::vector<std::uint64_t, util::RegionAllocator<std::uint64_t>>;

constexpr std::size_t kSmallestArray = ArrayRegion::kSmallest;
constexpr std::size_t kSmallestRegion = ArrayRegion::kSmallestRegion;

std::size_t bytesOf(const Array& array) { return array.capacity() * sizeof(std::uint64_t); }

/// Ascending from `first`.
Array arrayOf(std::size_t bytes, std::uint64_t first) {
    Array array(bytes / sizeof(std::uint64_t));
    std::iota(array.begin(), array.end(), first);
    return array;
}

bool holdsFrom(const Array& array, std::uint64_t first) {
    return std::all_of(array.begin(), array.end(), [&first](std::uint64_t value) { return value == first++; });
}

/// Whether `second` lies right behind `first`, as arrays of one region do that were made in turn.
bool isNext(const Array& first, const Array& second) {
    return reinterpret_cast<std::uintptr_t>(second.data()) - reinterpret_cast<std::uintptr_t>(first.data()) ==
           ArrayRegion::roomOf(bytesOf(first));
}

TEST(ArrayRegion, HasNoRoomForSmallArrays) {
    EXPECT_EQ(ArrayRegion::roomOf(0), 0u);
    EXPECT_EQ(ArrayRegion::roomOf(kSmallestArray - 1), 0u);
    EXPECT_EQ(ArrayRegion::roomOf(kSmallestArray), kSmallestArray + 16);
    EXPECT_EQ(ArrayRegion::roomOf(kSmallestArray + 1), kSmallestArray + 32);
}

TEST(ArrayRegion, PutsArraysSideBySide) {
    const ArrayRegion region(kSmallestRegion);
    const Array first = arrayOf(100000, 1);
    const Array small = arrayOf(kSmallestArray - 8, 2);
    const Array second = arrayOf(kSmallestArray, 3);
    const Array third = arrayOf(kSmallestArray + 8, 4);
    const Array fourth = arrayOf(100000, 5);
    EXPECT_TRUE(isNext(first, second)) << "the small one has memory of its own";
    EXPECT_TRUE(isNext(second, third));
    EXPECT_TRUE(isNext(third, fourth));
    for (const Array* array : {&first, &second, &third, &fourth})
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(array->data()) % __STDCPP_DEFAULT_NEW_ALIGNMENT__, 0u);
    EXPECT_TRUE(holdsFrom(first, 1) && holdsFrom(small, 2) && holdsFrom(second, 3) && holdsFrom(third, 4) &&
                holdsFrom(fourth, 5));
}

TEST(ArrayRegion, HoldsExactlyTheRoomThatItWasMadeFor) {
    // Room that fills large pages to the end, so that nothing is left over unless the region's own head has a place,
    // too.
    constexpr std::size_t kHalf = util::wholeLargePages(kSmallestRegion) / 2 - 16;
    ASSERT_EQ(2 * ArrayRegion::roomOf(kHalf) % util::kLargePage, 0u);
    const ArrayRegion region(2 * ArrayRegion::roomOf(kHalf));
    const Array first = arrayOf(kHalf, 1);
    const Array second = arrayOf(kHalf, 2);
    EXPECT_TRUE(isNext(first, second));
}

TEST(ArrayRegion, IsFilledToItsLastByteAndNotBeyond) {
    constexpr std::size_t kHead = 32;  // of the region, ahead of the first array
    constexpr std::size_t kSize = util::wholeLargePages(kSmallestRegion);
    for (const std::size_t more : {0, 16}) {
        const ArrayRegion region(kSize - kHead);
        const Array first = arrayOf(kSmallestArray, 1);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first.data()) % util::kLargePage, kHead + 16) << "on a large page";
        Array second;
        second.reserve((kSize - kHead - ArrayRegion::roomOf(kSmallestArray) - 16 + more) / sizeof(std::uint64_t));
        EXPECT_EQ(isNext(first, second), more == 0);
    }
}

TEST(ArrayRegion, AsksForLargePages) {
    const ArrayRegion region(kSmallestRegion);
    const Array array = arrayOf(util::kLargePage, 1);
    const test::Wish wish = test::wishAt(array.data());
    if (wish == test::Wish::unknown) GTEST_SKIP() << "the system has no large pages, or does not tell";
    EXPECT_EQ(wish, test::Wish::large);
}

#ifndef HEAP_TELLS_NOTHING
TEST(ArrayRegion, LeavesNothingBehind) {
    const double before = test::heapInUse();
    {
        Array kept;
        {
            const ArrayRegion region(kSmallestRegion);
            const Array first = arrayOf(100000, 1);
            kept = arrayOf(100000, 2);
            const Array tooLarge = arrayOf(kSmallestRegion + util::kLargePage, 3);
            EXPECT_GT(test::heapInUse(), before + 2.0 * kSmallestRegion);
        }
        EXPECT_GT(test::heapInUse(), before + kSmallestRegion) << "as long as one array is there";
    }
    EXPECT_LT(test::heapInUse(), before + 1000.0);
    { const ArrayRegion unused(kSmallestRegion); }
    EXPECT_LT(test::heapInUse(), before + 1000.0);
}
#endif

TEST(ArrayRegion, LeavesWhatDoesNotFitToMemoryOfItsOwn) {
    const ArrayRegion region(kSmallestRegion);
    const Array first = arrayOf(kSmallestRegion - 100000, 1);
    const Array tooLarge = arrayOf(util::kLargePage + 200000, 2);
    const Array second = arrayOf(kSmallestArray, 3);
    EXPECT_FALSE(isNext(first, tooLarge));
    EXPECT_TRUE(isNext(first, second)) << "what is left is still used";
    EXPECT_TRUE(holdsFrom(first, 1) && holdsFrom(tooLarge, 2) && holdsFrom(second, 3));
}

// The address sanitizer ends a program that asks for more than there can be.
#ifdef HEAP_TELLS_NOTHING
constexpr std::size_t kNotThere[] = {0, kSmallestRegion - 1, SIZE_MAX / 2 + 1, SIZE_MAX};
#else
constexpr std::size_t kNotThere[] = {0, kSmallestRegion - 1, SIZE_MAX / 4, SIZE_MAX / 2 + 1, SIZE_MAX};
#endif

TEST(ArrayRegion, IsNotThereForLittleRoomOrMoreThanTheSystemHas) {
    for (const std::size_t room : kNotThere) {
        const ArrayRegion region(room);
        // Of three in a row, memory of their own cannot lie as in a region: each has a header of the heap's ahead.
        const Array first = arrayOf(kSmallestArray, 1);
        const Array second = arrayOf(kSmallestArray, 2);
        const Array third = arrayOf(kSmallestArray, 3);
        EXPECT_FALSE(isNext(first, second) && isNext(second, third)) << room;
        EXPECT_TRUE(holdsFrom(first, 1) && holdsFrom(second, 2) && holdsFrom(third, 3));
    }
}

TEST(ArrayRegion, EndsWithTheScopeForNewArraysAndLivesOnForOld) {
    auto region = std::make_unique<ArrayRegion>(kSmallestRegion);
    Array first = arrayOf(kSmallestArray, 1);
    Array second = arrayOf(kSmallestArray, 2);
    ASSERT_TRUE(isNext(first, second));
    region.reset();
    const Array third = arrayOf(kSmallestArray, 3);
    EXPECT_FALSE(isNext(second, third));
    EXPECT_TRUE(holdsFrom(first, 1) && holdsFrom(second, 2));
    // Grows into memory of its own and leaves the other as it is.
    const std::uint64_t* const before = first.data();
    first.push_back(1 + first.size());
    EXPECT_NE(first.data(), before);
    EXPECT_TRUE(holdsFrom(first, 1) && holdsFrom(second, 2));
}

TEST(ArrayRegion, OnlyTheLastOneCounts) {
    const ArrayRegion outer(kSmallestRegion);
    const Array first = arrayOf(kSmallestArray, 1);
    {
        const ArrayRegion inner(kSmallestRegion);
        const Array other = arrayOf(kSmallestArray, 2);
        EXPECT_FALSE(isNext(first, other));
        const Array another = arrayOf(kSmallestArray, 3);
        EXPECT_TRUE(isNext(other, another));
    }
    {
        const ArrayRegion none(0);
        const Array other = arrayOf(kSmallestArray, 4);
        EXPECT_FALSE(isNext(first, other));
    }
    const Array second = arrayOf(kSmallestArray, 5);
    EXPECT_TRUE(isNext(first, second));
}

TEST(ArrayRegion, GivesThePagesOfAnArrayBackAtOnce) {
    const ArrayRegion region(kSmallestRegion);
    Array first = arrayOf(4 * util::kLargePage, 1);
    Array second = arrayOf(4 * util::kLargePage, 2);
    Array third = arrayOf(4 * util::kLargePage, 3);
    const void* const place = second.data();
    const std::size_t size = bytesOf(second);
    const test::Residency before = test::residencyOf(place, size);
    ASSERT_GE(before.pages, size / static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) - 1);
    ASSERT_GT(before.backed, 0u);
    second = Array();
    EXPECT_EQ(test::residencyOf(place, size).backed, 0u);
    EXPECT_TRUE(holdsFrom(first, 1) && holdsFrom(third, 3));
}

TEST(ArrayRegion, RefusesSizesThatNoArrayHas) {
    const ArrayRegion region(kSmallestRegion);
    util::RegionAllocator<std::uint64_t> allocator;
    EXPECT_THROW(static_cast<void>(allocator.allocate(SIZE_MAX / 8)), std::bad_array_new_length);
    EXPECT_THROW(static_cast<void>(allocator.allocate(SIZE_MAX / 8 + 1)), std::bad_array_new_length);
#ifndef HEAP_TELLS_NOTHING
    EXPECT_THROW(static_cast<void>(allocator.allocate(SIZE_MAX / 32)), std::bad_alloc);
#endif
    const Array array = arrayOf(kSmallestArray, 1);
    EXPECT_TRUE(holdsFrom(array, 1)) << "and goes on";
}

#ifdef HEAP_TELLS_NOTHING
// The sanitizer is told what of a region is in use.
TEST(ArrayRegion, IsForbiddenToTheSanitizerWhereNoArrayIs) {
    const void* place = nullptr;
    {
        const ArrayRegion region(kSmallestRegion);
        Array first = arrayOf(kSmallestArray + 8, 1);
        const Array second = arrayOf(kSmallestArray, 2);
        const auto* const begin = reinterpret_cast<const unsigned char*>(first.data());
        place = begin;
        const std::size_t size = bytesOf(first);
        EXPECT_EQ(__asan_region_is_poisoned(first.data(), size), nullptr);
        EXPECT_TRUE(__asan_address_is_poisoned(begin - 1)) << "the head";
        EXPECT_TRUE(__asan_address_is_poisoned(begin + size)) << "the gap behind";
        EXPECT_TRUE(__asan_address_is_poisoned(second.data() + second.size())) << "what is not in use yet";
        first = Array();
        EXPECT_TRUE(__asan_address_is_poisoned(begin)) << "what was released";
        EXPECT_TRUE(__asan_address_is_poisoned(begin + size - 1));
        EXPECT_TRUE(holdsFrom(second, 2));
    }
    EXPECT_TRUE(__asan_address_is_poisoned(place)) << "of the heap";
}
#endif

// Arrays of all sizes, made and dropped and grown in any order, inside regions and behind their end.
TEST(ArrayRegion, ArraysOutliveItInAnyOrder) {
    for (unsigned seed = 0; seed < 6; ++seed) {
        std::mt19937 random(seed);
        std::vector<std::pair<Array, std::uint64_t>> arrays;
        const auto makeSome = [&] {
            for (unsigned i = 0; i < 12; ++i) {
                const std::uint64_t first = random();
                const std::size_t bytes =
                    random() % 4 == 0 ? random() % kSmallestArray : random() % (kSmallestRegion / 8);
                arrays.emplace_back(arrayOf(bytes, first), first);
            }
        };
        const auto dropSome = [&] {
            for (int i = 0; i < 7 && !arrays.empty(); ++i) {
                const std::size_t which = random() % arrays.size();
                auto& [array, first] = arrays[which];
                ASSERT_TRUE(holdsFrom(array, first));
                if (random() % 3 == 0) {
                    array.push_back(first + array.size());
                } else {
                    arrays.erase(arrays.begin() + static_cast<std::ptrdiff_t>(which));
                }
            }
        };
        for (int round = 0; round < 2; ++round) {
            const ArrayRegion region(kSmallestRegion + random() % kSmallestRegion);
            makeSome();
            dropSome();
            makeSome();
        }
        std::shuffle(arrays.begin(), arrays.end(), random);
        while (!arrays.empty()) {
            ASSERT_TRUE(holdsFrom(arrays.back().first, arrays.back().second));
            arrays.pop_back();
        }
    }
}

}  // namespace
