// Memory for arrays of which there are many, each read and written at one place after the other has been: they stand
// side by side on pages as large as the system gives, so that finding a page does not take longer than using it.
//
// A vehicle's histories are such arrays. A frame writes one key at the end of each: on pages of 4 kB every end is on
// another page, and with a hundred vehicles there are more of them than a processor remembers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

namespace ond::util {

/// Gives out memory from blocks on large pages. Neighbours are an odd number of cache lines apart, so that equal places
/// in arrays of equal size, such as their ends, do not compete for the same places in the processor's caches.
///
/// Finding room takes a time that grows with the number of gaps in a block. A block without arrays goes back to the
/// system, but for one. No locks: one thread at a time.
class PageHeap {
  public:
    /// Bytes; blocks begin on multiples of this. Arrays above kLargest get memory of their own, on large pages, too;
    /// those below kSmallest come from the operators `new`, where most of them go soon.
    static constexpr std::size_t kBlock = std::size_t{8} << 20;
    static constexpr std::size_t kLargest = kBlock / 2;
    static constexpr std::size_t kSmallest = 512;
    /// What memory from here begins on a multiple of, but for arrays below kSmallest.
    static constexpr std::size_t kAlignment = 64;

    constexpr PageHeap() = default;
    PageHeap(const PageHeap&) = delete;
    PageHeap& operator=(const PageHeap&) = delete;
    /// Memory that was not released stays as it is.
    ~PageHeap();

    /// Memory for `bytes`, until release(). Throws std::bad_alloc, for sizes that no object has, too.
    [[nodiscard]] void* allocate(std::size_t bytes);
    /// @param memory,bytes as allocate() had them
    void release(void* memory, std::size_t bytes) noexcept;

    /// How many blocks it has from the system.
    [[nodiscard]] std::size_t numBlocks() const { return m_numBlocks; }

  private:
    /// A gap in a block, at its beginning. Gaps are listed by address and never touch one another.
    struct Gap {
        std::size_t bytes;
        Gap* next;
    };
    /// At the beginning of a block.
    struct alignas(kAlignment) Block {
        Block* next;
        Block* previous;
        Gap* gaps;
        std::size_t bytesFree;
    };
    static constexpr std::size_t kRoom = kBlock - sizeof(Block);

    [[nodiscard]] static Block* blockOf(void* memory);
    [[nodiscard]] static void* takeFrom(Block& block, std::size_t bytes);
    static void giveBack(Block& block, void* memory, std::size_t bytes) noexcept;
    [[nodiscard]] Block* addBlock();
    void dropBlock(Block* block) noexcept;

    Block* m_blocks = nullptr;  ///< all, the one that came last first
    std::size_t m_numBlocks = 0;
};

/// The same from one that all share. Where the address sanitizer checks memory, the operators `new` stand in for it.
[[nodiscard]] void* allocateShared(std::size_t bytes);
void releaseShared(void* memory, std::size_t bytes) noexcept;

/// Has a standard container take its memory there.
template <typename T>
struct SharedPages {
    using value_type = T;

    SharedPages() = default;
    template <typename Other>
    explicit SharedPages(const SharedPages<Other>& /*other*/) {}

    [[nodiscard]] T* allocate(std::size_t count) {
        static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_array_new_length();
        return static_cast<T*>(allocateShared(count * sizeof(T)));
    }
    void deallocate(T* memory, std::size_t count) noexcept { releaseShared(memory, count * sizeof(T)); }

    template <typename Other>
    friend bool operator==(const SharedPages&, const SharedPages<Other>&) {
        return true;
    }
};

}  // namespace ond::util
