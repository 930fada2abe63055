#include "ond/util/PageHeap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <numeric>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "ond/util/AVar.h"
#include "util/HeapUse.h"
#include "util/PinnedRandom.h"

namespace {

using ond::test::PinnedRandom;
using ond::util::AVar;
using ond::util::AVar_Linear;
using ond::util::AVarKey;
using ond::util::PageHeap;
using ond::util::SharedPages;

/// Bytes of a line of the processor's caches, and of what its nearest cache tells lines apart by.
constexpr std::size_t kCacheLine = 64;
constexpr std::size_t kCacheWay = 4096;
/// More than a block needs for itself.
constexpr std::size_t kBookkeeping = 4096;

std::uintptr_t addressOf(const void* memory) { return reinterpret_cast<std::uintptr_t>(memory); }

bool isInBlocks(std::size_t bytes) { return bytes >= PageHeap::kSmallest && bytes <= PageHeap::kLargest; }

/// An array of a heap, filled with one number.
struct PageArray {
    unsigned char* memory = nullptr;
    std::size_t bytes = 0;
    unsigned char number = 0;

    PageArray(PageHeap& heap, std::size_t size, unsigned filler)
        : memory(static_cast<unsigned char*>(heap.allocate(size))),
          bytes(size),
          number(static_cast<unsigned char>(filler % 251 + 1)) {
        std::memset(memory, number, bytes);
    }
    [[nodiscard]] bool isWhole() const {
        return memory[0] == number && std::memcmp(memory, memory + 1, bytes - 1) == 0;
    }
    [[nodiscard]] std::uintptr_t first() const { return addressOf(memory); }
    [[nodiscard]] std::uintptr_t end() const { return addressOf(memory) + bytes; }
};

void giveBack(PageHeap& heap, const PageArray& array) {
    EXPECT_TRUE(array.isWhole()) << array.bytes << " bytes";
    heap.release(array.memory, array.bytes);
}

/// Takes arrays of `bytes` until the next one would need a second block.
std::vector<PageArray> fillOneBlock(PageHeap& heap, std::size_t bytes) {
    std::vector<PageArray> arrays;
    do {
        arrays.emplace_back(heap, bytes, static_cast<unsigned>(arrays.size()));
    } while (heap.numBlocks() < 2 && arrays.size() <= PageHeap::kBlock / bytes);
    EXPECT_EQ(heap.numBlocks(), 2u) << "more than a block can have";
    giveBack(heap, arrays.back());
    arrays.pop_back();
    EXPECT_EQ(heap.numBlocks(), 1u);
    return arrays;
}

/// Whether a heap with one block that is in no use gives nearly all of it in two pieces, which it can only if it is one
/// gap again.
void expectOneGap(PageHeap& heap) {
    ASSERT_EQ(heap.numBlocks(), 1u);
    const PageArray large(heap, PageHeap::kLargest, 1);
    const PageArray rest(heap, PageHeap::kBlock - PageHeap::kLargest - kBookkeeping, 2);
    EXPECT_EQ(heap.numBlocks(), 1u) << "what was given back has not become one gap";
    giveBack(heap, large);
    giveBack(heap, rest);
}

// --- Single arrays -------------------------------------------------------------------------------------------------

const std::size_t kTellingSizes[] = {1,
                                     63,
                                     64,
                                     65,
                                     PageHeap::kSmallest - 1,
                                     PageHeap::kSmallest,
                                     PageHeap::kSmallest + 1,
                                     9 * kCacheLine - 1,
                                     9 * kCacheLine,
                                     9 * kCacheLine + 1,
                                     10 * kCacheLine,
                                     11 * kCacheLine,
                                     kCacheWay - 1,
                                     kCacheWay,
                                     kCacheWay + 1,
                                     100 * kCacheWay,
                                     PageHeap::kLargest - kCacheLine,
                                     PageHeap::kLargest - 1,
                                     PageHeap::kLargest,
                                     PageHeap::kLargest + 1,
                                     PageHeap::kBlock,
                                     PageHeap::kBlock + 1};

TEST(PageHeap, AnEmptyHeapHasNoBlock) { EXPECT_EQ(PageHeap().numBlocks(), 0u); }

TEST(PageHeap, ArraysOfAnySizeBeginOnLinesAndKeepTheirBytes) {
    PageHeap heap;
    std::vector<PageArray> arrays;
    for (const std::size_t bytes : kTellingSizes) {
        arrays.emplace_back(heap, bytes, static_cast<unsigned>(arrays.size()));
        const std::size_t alignment =
            bytes < PageHeap::kSmallest ? std::size_t{__STDCPP_DEFAULT_NEW_ALIGNMENT__} : PageHeap::kAlignment;
        if (bytes >= alignment) {
            EXPECT_EQ(arrays.back().first() % alignment, 0u) << bytes << " bytes";
        }
    }
    for (const PageArray& array : arrays) giveBack(heap, array);
}

TEST(PageHeap, OnlySizesInBetweenTakeABlock) {
    for (const std::size_t bytes : kTellingSizes) {
        PageHeap heap;
        const PageArray array(heap, bytes, 3);
        EXPECT_EQ(heap.numBlocks(), isInBlocks(bytes) ? 1u : 0u) << bytes << " bytes";
        giveBack(heap, array);
        EXPECT_EQ(heap.numBlocks(), isInBlocks(bytes) ? 1u : 0u) << bytes << " bytes, given back";
    }
}

TEST(PageHeap, ABlockBeginsOnAMultipleOfItsSize) {
    PageHeap heap;
    const std::vector<PageArray> arrays = fillOneBlock(heap, 100000);
    std::set<std::uintptr_t> blocks;
    for (const PageArray& array : arrays) {
        blocks.insert(array.first() / PageHeap::kBlock);
        blocks.insert((array.end() - 1) / PageHeap::kBlock);
    }
    EXPECT_EQ(blocks.size(), 1u);
    for (const PageArray& array : arrays) giveBack(heap, array);
}

TEST(PageHeap, NullIsGivenBackWithoutEffect) {
    PageHeap heap;
    for (const std::size_t bytes : kTellingSizes) heap.release(nullptr, bytes);
    EXPECT_EQ(heap.numBlocks(), 0u);
    const PageArray array(heap, 1000, 1);
    heap.release(nullptr, 0);
    heap.release(nullptr, 1000);
    EXPECT_EQ(heap.numBlocks(), 1u);
    giveBack(heap, array);
}

// --- Neighbours ----------------------------------------------------------------------------------------------------

// An odd number of lines apart, so many neighbours in a row as a way has lines are all at different places in it.
TEST(PageHeap, EqualPlacesInNeighboursAreDifferentPlacesInTheCache) {
    constexpr std::size_t kNeighbours = kCacheWay / kCacheLine;
    for (const std::size_t bytes : {PageHeap::kSmallest, PageHeap::kSmallest + 1, 9 * kCacheLine, 10 * kCacheLine,
                                    std::size_t{1024}, kCacheWay - kCacheLine, kCacheWay, 2 * kCacheWay,
                                    kCacheWay + kCacheLine, std::size_t{48 * 300}, std::size_t{100000}}) {
        PageHeap heap;
        std::vector<PageArray> arrays;
        std::set<std::size_t> places;
        for (std::size_t i = 0; i < kNeighbours; ++i) {
            arrays.emplace_back(heap, bytes, static_cast<unsigned>(i));
            places.insert((arrays.back().end() - 1) % kCacheWay / kCacheLine);
            if (i == 0) continue;
            const std::size_t distance = arrays[i].first() - arrays[i - 1].first();
            EXPECT_EQ(distance / kCacheLine % 2, 1u) << bytes << " bytes, number " << i;
            EXPECT_LT(distance, bytes + 2 * kCacheLine) << "no more than one line for nothing";
        }
        ASSERT_EQ(heap.numBlocks(), 1u);
        EXPECT_EQ(places.size(), kNeighbours) << bytes << " bytes";
        for (const PageArray& array : arrays) giveBack(heap, array);
    }
}

TEST(PageHeap, ABlockIsFullOnlyWhenItIs) {
    for (const std::size_t bytes : {PageHeap::kSmallest, std::size_t{5000}, std::size_t{100000}, PageHeap::kLargest}) {
        PageHeap heap;
        const std::vector<PageArray> arrays = fillOneBlock(heap, bytes);
        EXPECT_GE(arrays.size(), (PageHeap::kBlock - kBookkeeping) / (bytes + 2 * kCacheLine)) << bytes << " bytes";
        for (const PageArray& array : arrays) giveBack(heap, array);
        expectOneGap(heap);
    }
}

// --- Gaps ----------------------------------------------------------------------------------------------------------

enum class Order { ascending, descending, everyOtherFirst, outwards, shuffled };

std::vector<std::size_t> sequence(std::size_t count, Order order, PinnedRandom& random) {
    std::vector<std::size_t> all(count);
    std::iota(all.begin(), all.end(), std::size_t{0});
    switch (order) {
        case Order::ascending: break;
        case Order::descending: std::reverse(all.begin(), all.end()); break;
        case Order::everyOtherFirst:
            std::stable_partition(all.begin(), all.end(), [](std::size_t i) { return i % 2 == 0; });
            break;
        case Order::outwards:
            std::stable_sort(all.begin(), all.end(), [count](std::size_t a, std::size_t b) {
                const auto fromMiddle = [count](std::size_t i) {
                    return i < count / 2 ? count / 2 - i : i - count / 2;
                };
                return fromMiddle(a) < fromMiddle(b);
            });
            break;
        case Order::shuffled:
            for (std::size_t i = count; i > 1; --i) std::swap(all[i - 1], all[random.bits() % i]);
            break;
    }
    return all;
}

TEST(PageHeap, WhatWasGivenBackInAnyOrderIsOneGapAgain) {
    for (const Order order :
         {Order::ascending, Order::descending, Order::everyOtherFirst, Order::outwards, Order::shuffled})
        for (std::uint64_t seed = 1; seed <= (order == Order::shuffled ? 20u : 1u); ++seed) {
            SCOPED_TRACE("order " + std::to_string(static_cast<int>(order)) + ", seed " + std::to_string(seed));
            PinnedRandom random(seed);
            PageHeap heap;
            const std::vector<PageArray> arrays = fillOneBlock(heap, 30000);
            for (const std::size_t i : sequence(arrays.size(), order, random)) giveBack(heap, arrays[i]);
            expectOneGap(heap);
            const std::vector<PageArray> again = fillOneBlock(heap, 30000);
            EXPECT_EQ(again.size(), arrays.size());
            for (const PageArray& array : again) giveBack(heap, array);
        }
}

// Between neighbours that stay, there is just one place where the larger array can be.
TEST(PageHeap, NeighboursGivenBackMakeRoomForALargerArray) {
    constexpr std::size_t kLines = 101;
    constexpr std::size_t kBytes = kLines * kCacheLine;
    for (std::size_t together = 1; together <= 4; ++together)
        for (const Order order : {Order::ascending, Order::descending, Order::everyOtherFirst, Order::outwards}) {
            SCOPED_TRACE(std::to_string(together) + " in order " + std::to_string(static_cast<int>(order)));
            PinnedRandom random(together);
            PageHeap heap;
            std::vector<PageArray> arrays = fillOneBlock(heap, kBytes);
            // Whatever the block has left at its end is less than what the neighbours leave.
            constexpr std::size_t kFirst = 5;
            const std::uintptr_t place = arrays[kFirst].first();
            for (const std::size_t i : sequence(together, order, random)) giveBack(heap, arrays[kFirst + i]);
            const std::size_t lines = together * kLines - (together % 2 == 0 ? 1 : 0);
            const PageArray larger(heap, lines * kCacheLine, 77);
            EXPECT_EQ(heap.numBlocks(), 1u);
            EXPECT_EQ(larger.first(), place);
            arrays.erase(arrays.begin() + kFirst, arrays.begin() + static_cast<std::ptrdiff_t>(kFirst + together));
            for (const PageArray& array : arrays) giveBack(heap, array);
            giveBack(heap, larger);
            expectOneGap(heap);
        }
}

TEST(PageHeap, AGapThatIsTooSmallIsNotTaken) {
    PageHeap heap;
    std::vector<PageArray> arrays = fillOneBlock(heap, 101 * kCacheLine);
    giveBack(heap, arrays[3]);
    giveBack(heap, arrays[7]);
    const PageArray larger(heap, 103 * kCacheLine, 50);
    EXPECT_EQ(heap.numBlocks(), 2u) << "two gaps that do not touch are no place for more than each of them has";
    const PageArray third(heap, 101 * kCacheLine, 51);
    const PageArray seventh(heap, 101 * kCacheLine, 52);
    std::set<std::uintptr_t> taken{third.first() / PageHeap::kBlock, seventh.first() / PageHeap::kBlock};
    EXPECT_EQ(heap.numBlocks(), 2u);
    for (std::size_t i = 0; i < arrays.size(); ++i)
        if (i != 3 && i != 7) giveBack(heap, arrays[i]);
    for (const PageArray* array : {&third, &seventh, &larger}) giveBack(heap, *array);
    expectOneGap(heap);
}

// --- Blocks --------------------------------------------------------------------------------------------------------

TEST(PageHeap, ABlockWithoutArraysGoesBackButForOne) {
    // Three blocks, emptied in any order; the one array of each takes more than half of it.
    std::vector<std::size_t> order{0, 1, 2};
    do {
        PageHeap heap;
        std::vector<PageArray> arrays;
        for (unsigned i = 0; i < 3; ++i) {
            arrays.emplace_back(heap, PageHeap::kLargest, i);
            EXPECT_EQ(heap.numBlocks(), i + 1);
        }
        giveBack(heap, arrays[order[0]]);
        EXPECT_EQ(heap.numBlocks(), 2u);
        EXPECT_TRUE(arrays[order[1]].isWhole() && arrays[order[2]].isWhole());
        giveBack(heap, arrays[order[1]]);
        EXPECT_EQ(heap.numBlocks(), 1u);
        giveBack(heap, arrays[order[2]]);
        EXPECT_EQ(heap.numBlocks(), 1u);
        const std::uintptr_t last = arrays[order[2]].first();
        const PageArray next(heap, PageHeap::kLargest, 9);
        EXPECT_EQ(heap.numBlocks(), 1u);
        EXPECT_EQ(next.first(), last) << "the block that stayed is the one that is used";
        giveBack(heap, next);
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(PageHeap, RoomInAnyBlockIsFoundBeforeThereIsAnother) {
    for (std::size_t hasRoom = 0; hasRoom < 3; ++hasRoom) {
        PageHeap heap;
        std::vector<PageArray> arrays;
        while (heap.numBlocks() < 4) arrays.emplace_back(heap, 1000000, static_cast<unsigned>(arrays.size()));
        giveBack(heap, arrays.back());
        arrays.pop_back();
        ASSERT_EQ(heap.numBlocks(), 3u);
        const std::size_t gap = hasRoom * arrays.size() / 3 + 1;
        const std::uintptr_t place = arrays[gap].first();
        giveBack(heap, arrays[gap]);
        arrays[gap] = PageArray(heap, 1000000, 5);
        EXPECT_EQ(heap.numBlocks(), 3u);
        EXPECT_EQ(arrays[gap].first(), place);
        for (const PageArray& array : arrays) giveBack(heap, array);
    }
}

TEST(PageHeap, MemoryThatWasNotReleasedOutlivesTheHeap) {
    std::optional<PageHeap> heap(std::in_place);
    std::vector<PageArray> arrays;
    for (unsigned i = 0; i < 3; ++i) arrays.emplace_back(*heap, PageHeap::kLargest, i);
    arrays.emplace_back(*heap, PageHeap::kSmallest, 3);
    arrays.emplace_back(*heap, PageHeap::kSmallest - 1, 4);
    arrays.emplace_back(*heap, PageHeap::kLargest + 1, 5);
    const PageArray small(*heap, PageHeap::kSmallest, 6);
    giveBack(*heap, small);
    heap.reset();
    for (const PageArray& array : arrays) EXPECT_TRUE(array.isWhole()) << array.bytes << " bytes";
    // Nobody is left to take the memory back, so it goes the way that it came.
    std::set<std::uintptr_t> blocks;
    for (const PageArray& array : arrays)
        if (isInBlocks(array.bytes)) blocks.insert(array.first() / PageHeap::kBlock * PageHeap::kBlock);
    EXPECT_EQ(blocks.size(), 3u);
    for (const std::uintptr_t block : blocks)
        ::operator delete (reinterpret_cast<void*>(block), std::align_val_t{PageHeap::kBlock});
    PageHeap other;
    for (const PageArray& array : arrays)
        if (!isInBlocks(array.bytes)) other.release(array.memory, array.bytes);
}

#ifndef HEAP_TELLS_NOTHING
TEST(PageHeap, AHeapThatGoesGivesItsBlockBack) {
    const double before = ond::test::heapInUse();
    for (int i = 0; i < 5; ++i) {
        PageHeap heap;
        heap.release(heap.allocate(1000), 1000);
        EXPECT_EQ(heap.numBlocks(), 1u);
    }
    EXPECT_LT(ond::test::heapInUse() - before, 0.5 * PageHeap::kBlock);
}

TEST(PageHeap, SizesThatNothingHasThrow) {
    constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();
    PageHeap heap;
    void* memory = nullptr;
    for (const std::size_t bytes : {kMost, kMost - (std::size_t{1} << 20), kMost / 2 + 1})
        EXPECT_THROW(memory = heap.allocate(bytes), std::bad_alloc) << bytes;
    SharedPages<double> pages;
    EXPECT_THROW(memory = pages.allocate(kMost / sizeof(double) + 2), std::bad_alloc);
    EXPECT_EQ(memory, nullptr);
}

// The address sanitizer ends the program where there is no memory.
TEST(PageHeap, MoreThanThereIsThrowsAndChangesNothing) {
    PageHeap heap;
    const PageArray array(heap, 1000, 1);
    constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();
    for (const std::size_t bytes : {kAll / 2, kAll - 3 * PageHeap::kBlock}) {
        void* memory = nullptr;
        EXPECT_THROW(memory = heap.allocate(bytes), std::bad_alloc) << bytes;
        EXPECT_EQ(memory, nullptr);
    }
    EXPECT_EQ(heap.numBlocks(), 1u);
    giveBack(heap, array);
}
#endif

// --- Any use -------------------------------------------------------------------------------------------------------

/// A heap and the list of what it has given out.
class Ledger {
  public:
    explicit Ledger(std::uint64_t seed) : m_random(seed) {}

    void allocate() {
        const PageArray array(m_heap, anySize(), m_random.bits());
        const auto behind = m_arrays.lower_bound(array.first());
        if (behind != m_arrays.end()) {
            ASSERT_LE(array.end(), behind->first);
        }
        if (behind != m_arrays.begin()) {
            ASSERT_LE(std::prev(behind)->second.end(), array.first());
        }
        if (array.bytes >= PageHeap::kSmallest) {
            ASSERT_EQ(array.first() % PageHeap::kAlignment, 0u);
        }
        if (isInBlocks(array.bytes)) m_bytes += array.bytes;
        m_arrays.emplace(array.first(), array);
    }
    void release() {
        if (m_arrays.empty()) return;
        // Any of them: the one that follows any place between the first and the last.
        const std::uintptr_t first = m_arrays.begin()->first;
        const double span = static_cast<double>(m_arrays.rbegin()->first - first);
        auto chosen = m_arrays.lower_bound(first + static_cast<std::uintptr_t>(m_random.in(0.0, span)));
        for (std::uint32_t skip = m_random.bits() % 8; skip > 0 && std::next(chosen) != m_arrays.end(); --skip)
            ++chosen;
        ASSERT_TRUE(chosen->second.isWhole()) << chosen->second.bytes << " bytes";
        m_heap.release(chosen->second.memory, chosen->second.bytes);
        if (isInBlocks(chosen->second.bytes)) m_bytes -= chosen->second.bytes;
        m_arrays.erase(chosen);
    }
    /// More often the one that leads to about `bytes` in use.
    void step(std::size_t bytes) {
        if (m_random.chance(m_bytes < bytes ? 0.7 : 0.3))
            allocate();
        else
            release();
        m_hadBlock = m_hadBlock || m_heap.numBlocks() > 0;
        ASSERT_EQ(m_heap.numBlocks(), std::max<std::size_t>(blocksInUse(), m_hadBlock ? 1 : 0));
    }
    void releaseAll() {
        while (!m_arrays.empty()) {
            release();
            if (testing::Test::HasFatalFailure()) return;
        }
        EXPECT_EQ(m_heap.numBlocks(), 1u);
        expectOneGap(m_heap);
    }
    [[nodiscard]] std::size_t numBlocks() const { return m_heap.numBlocks(); }

  private:
    std::size_t anySize() {
        constexpr std::size_t kSmall = std::size(kTellingSizes) - 6;  // those up to 100 ways
        if (m_random.chance(0.3)) return kTellingSizes[m_random.bits() % kSmall];
        if (m_random.chance(0.02)) return kTellingSizes[kSmall + m_random.bits() % 6];
        if (m_random.chance(0.5)) return 1 + m_random.bits() % 2000;
        // As many of each order of magnitude.
        return std::size_t{512} + (m_random.bits() >> (10 + m_random.bits() % 12));
    }
    [[nodiscard]] std::size_t blocksInUse() const {
        std::set<std::uintptr_t> blocks;
        for (const auto& [first, array] : m_arrays)
            if (isInBlocks(array.bytes)) blocks.insert(first / PageHeap::kBlock);
        return blocks.size();
    }

    PinnedRandom m_random;
    PageHeap m_heap;
    std::map<std::uintptr_t, PageArray> m_arrays;  ///< by address
    std::size_t m_bytes = 0;                       ///< of those in blocks
    bool m_hadBlock = false;
};

TEST(PageHeap, InAnyUseArraysDoNotOverlapAndKeepTheirBytes) {
    for (std::uint64_t seed = 1; seed <= 8; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Ledger ledger(seed);
        std::size_t mostBlocks = 0;
        for (int i = 0; i < 2500; ++i) {
            // Waves, so that blocks come and go.
            ASSERT_NO_FATAL_FAILURE(ledger.step(i / 400 % 2 == 0 ? std::size_t{40} << 20 : 100000)) << "step " << i;
            mostBlocks = std::max(mostBlocks, ledger.numBlocks());
        }
        EXPECT_GT(mostBlocks, 2u) << "so few blocks show little";
        ASSERT_NO_FATAL_FAILURE(ledger.releaseAll());
    }
}

// --- The shared heap, and containers on it -------------------------------------------------------------------------

TEST(SharedPages, MemoryIsGivenAndTakenBack) {
    std::vector<std::pair<unsigned char*, std::size_t>> arrays;
    for (const std::size_t bytes : kTellingSizes) {
        auto* const memory = static_cast<unsigned char*>(ond::util::allocateShared(bytes));
        if (bytes >= __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
            EXPECT_EQ(addressOf(memory) % __STDCPP_DEFAULT_NEW_ALIGNMENT__, 0u);
        }
        std::memset(memory, static_cast<int>(arrays.size() + 1), bytes);
        arrays.emplace_back(memory, bytes);
    }
    for (std::size_t i = 0; i < arrays.size(); ++i) {
        const auto [memory, bytes] = arrays[i];
        EXPECT_EQ(std::count(memory, memory + bytes, i + 1), static_cast<std::ptrdiff_t>(bytes));
        ond::util::releaseShared(memory, bytes);
    }
    ond::util::releaseShared(nullptr, 0);
    ond::util::releaseShared(nullptr, 10000);
}

using PagedNumbers = std::vector<std::uint64_t, SharedPages<std::uint64_t>>;

PagedNumbers countUp(std::size_t count, std::uint64_t from) {
    PagedNumbers numbers(count);
    std::iota(numbers.begin(), numbers.end(), from);
    return numbers;
}

const std::size_t kTellingCounts[] = {1, 63, 64, 65, 1000, PageHeap::kLargest / 8, PageHeap::kLargest / 8 + 1, 700000};

// From memory that the operators new give over blocks to large pages of its own.
TEST(SharedPages, AVectorKeepsWhatIsThereWhileItGrows) {
    PagedNumbers numbers;
    PagedNumbers beside;
    for (std::uint64_t i = 0; i < 700000; ++i) {
        numbers.push_back(i);
        if (i % 7 == 0) beside.push_back(~i);
    }
    EXPECT_EQ(numbers, countUp(700000, 0));
    for (std::size_t i = 0; i < beside.size(); ++i) ASSERT_EQ(beside[i], ~std::uint64_t{7 * i});
    numbers.resize(100);
    numbers.shrink_to_fit();
    EXPECT_EQ(numbers, countUp(100, 0));
    numbers.clear();
    numbers.shrink_to_fit();
    EXPECT_TRUE(numbers.empty());
}

TEST(SharedPages, CopiesAreTheirOwn) {
    for (const std::size_t count : kTellingCounts) {
        const PagedNumbers original = countUp(count, 5);
        PagedNumbers copy = original;
        PagedNumbers assigned(3, 1);
        assigned = original;
        copy[0] = 1;
        assigned.back() = 2;
        EXPECT_EQ(original, countUp(count, 5)) << count;
        EXPECT_TRUE(std::equal(copy.begin() + 1, copy.end(), original.begin() + 1)) << count;
        EXPECT_TRUE(std::equal(assigned.begin(), assigned.end() - 1, original.begin())) << count;
    }
}

TEST(SharedPages, AMoveTakesTheMemoryAlong) {
    static_assert(std::allocator_traits<SharedPages<int>>::is_always_equal::value);
    for (const std::size_t count : kTellingCounts) {
        PagedNumbers original = countUp(count, 5);
        const std::uint64_t* const memory = original.data();
        PagedNumbers moved = std::move(original);
        EXPECT_EQ(moved.data(), memory);
        PagedNumbers assigned(1000, 1);
        assigned = std::move(moved);
        EXPECT_EQ(assigned.data(), memory);
        EXPECT_EQ(assigned, countUp(count, 5)) << count;
    }
}

TEST(SharedPages, ASwapExchangesTheContents) {
    constexpr std::size_t kCounts[] = {1, 64, 1000, PageHeap::kLargest / 8 + 1};
    for (const std::size_t one : kCounts)
        for (const std::size_t two : kCounts) {
            PagedNumbers a = countUp(one, 1);
            PagedNumbers b = countUp(two, 2);
            std::swap(a, b);
            EXPECT_EQ(a, countUp(two, 2));
            EXPECT_EQ(b, countUp(one, 1));
            a.swap(b);
            EXPECT_EQ(a, countUp(one, 1));
        }
}

TEST(SharedPages, AllocatorsAreOneForAllTypes) {
    EXPECT_TRUE(SharedPages<int>() == SharedPages<double>());
    EXPECT_FALSE(SharedPages<int>() != SharedPages<double>(SharedPages<int>()));
    // A tree asks for nodes of a type of its own.
    std::set<int, std::less<>, SharedPages<int>> numbers;
    for (int i = 0; i < 1000; ++i) numbers.insert(i * 7919 % 1000);
    EXPECT_EQ(numbers.size(), 1000u);
    EXPECT_EQ(*numbers.rbegin(), 999);
}

// --- Keys of variables ---------------------------------------------------------------------------------------------

AVar_Linear<double> recorded(int frames, double rate) {
    AVar_Linear<double> variable;
    for (int i = 0; i < frames; ++i) variable.setKey(0.04 * i, rate * i);
    return variable;
}

void expectRecorded(const AVar_Linear<double>& variable, int frames, double rate) {
    ASSERT_EQ(variable.getNumKeys(), frames);
    for (int i = 0; i < frames; ++i) {
        ASSERT_EQ(variable.getKeyTime(i), 0.04 * i);
        ASSERT_EQ(variable.keys[static_cast<std::size_t>(i)].value, rate * i);
    }
}

TEST(SharedPages, KeysOfVariablesLieThere) {
    static_assert(std::is_same_v<AVar<double>::Keys::allocator_type, SharedPages<AVarKey<double>>>);
    static_assert(std::is_same_v<AVar<bool>::Keys::allocator_type, SharedPages<AVarKey<bool>>>);
}

// As histories of a vehicle do: all grow by a key in each frame.
TEST(SharedPages, VariablesThatGrowInTurnKeepTheirKeys) {
    constexpr int kFrames = 3000;
    std::vector<AVar_Linear<double>> variables(40);
    for (int i = 0; i < kFrames; ++i)
        for (std::size_t k = 0; k < variables.size(); ++k)
            variables[k].setKey(0.04 * i, static_cast<double>(k + 1) * i);
    for (std::size_t k = 0; k < variables.size(); ++k)
        ASSERT_NO_FATAL_FAILURE(expectRecorded(variables[k], kFrames, static_cast<double>(k + 1))) << k;
    // Every other one goes, what is left stays, and new ones come in between.
    for (std::size_t k = 0; k < variables.size(); k += 2) variables[k] = AVar_Linear<double>();
    for (std::size_t k = 0; k < variables.size(); k += 2) variables[k] = recorded(kFrames / 3, 0.5);
    for (std::size_t k = 0; k < variables.size(); ++k)
        ASSERT_NO_FATAL_FAILURE(expectRecorded(variables[k], k % 2 == 0 ? kFrames / 3 : kFrames,
                                               k % 2 == 0 ? 0.5 : static_cast<double>(k + 1)))
            << k;
}

TEST(SharedPages, KeysCopyMoveSwapAndCutAsAVectorDoes) {
    for (const int frames : {1, 31, 32, 33, 500, 100000}) {
        SCOPED_TRACE(frames);
        AVar_Linear<double> original = recorded(frames, 1.5);
        AVar_Linear<double> copy = original;
        copy.setKey(0.0, 77.0);
        ASSERT_NO_FATAL_FAILURE(expectRecorded(original, frames, 1.5));
        EXPECT_EQ(copy.valueAt(0.0), 77.0);
        AVar_Linear<double> other = recorded(40, -2.0);
        std::swap(original, other);
        ASSERT_NO_FATAL_FAILURE(expectRecorded(other, frames, 1.5));
        ASSERT_NO_FATAL_FAILURE(expectRecorded(original, 40, -2.0));
        AVar_Linear<double>::Keys keys = std::move(other.keys);
        EXPECT_EQ(keys.size(), static_cast<std::size_t>(frames));
        other.keys = keys;
        ASSERT_NO_FATAL_FAILURE(expectRecorded(other, frames, 1.5));
        other.keys.insert(other.keys.begin(), keys.begin(), keys.end());
        EXPECT_EQ(other.keys.size(), 2 * keys.size());
        other.keys.erase(other.keys.begin(), other.keys.begin() + static_cast<std::ptrdiff_t>(keys.size()));
        ASSERT_NO_FATAL_FAILURE(expectRecorded(other, frames, 1.5));
        other.eraseFrom(0.04 * (frames / 2));
        ASSERT_NO_FATAL_FAILURE(expectRecorded(other, frames / 2, 1.5));
    }
}

}  // namespace
