// Counts what a benchmark program takes from the heap, its own and Bullet's. For the one file of a program: it replaces
// the global operators new and delete.
//
// Counted are the bytes that the allocator really handed out, which may be a few more than were asked for.
#pragma once

#include <LinearMath/btAlignedAllocator.h>
#include <malloc.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace ond::bench {

/// Since the start of the program. All threads together.
struct HeapCount {
    std::atomic<long> allocations{0};
    std::atomic<long> liveBytes{0};
    std::atomic<long> peakBytes{0};  ///< largest liveBytes since resetPeak()

    void resetPeak() { peakBytes = liveBytes.load(); }
};

inline HeapCount heap;

namespace detail {

inline void count(void* memory) {
    ++heap.allocations;
    const long now = heap.liveBytes += static_cast<long>(malloc_usable_size(memory));
    if (now > heap.peakBytes) heap.peakBytes = now;
}

inline void* take(std::size_t size) {
    void* const memory = std::malloc(size);
    if (memory != nullptr) count(memory);
    return memory;
}

inline void* takeAligned(std::size_t size, std::align_val_t alignment) {
    const auto unit = static_cast<std::size_t>(alignment);
    void* const memory = std::aligned_alloc(unit, (size + unit - 1) / unit * unit);
    if (memory != nullptr) count(memory);
    return memory;
}

inline void giveBack(void* memory) {
    if (memory == nullptr) return;
    heap.liveBytes -= static_cast<long>(malloc_usable_size(memory));
    std::free(memory);
}

// Bullet allocates past the operators. Set before anything of it can be built.
inline const bool kBulletIsCounted = [] {
    btAlignedAllocSetCustom(take, giveBack);
    return true;
}();

}  // namespace detail

}  // namespace ond::bench

[[gnu::noinline]] void* operator new(std::size_t size) {
    if (void* memory = ond::bench::detail::take(size)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { ond::bench::detail::giveBack(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
    ond::bench::detail::giveBack(memory);
}
// For types with wide alignment, and for memory that begins on a page.
[[gnu::noinline]] void* operator new(std::size_t size, std::align_val_t alignment) {
    if (void* memory = ond::bench::detail::takeAligned(size, alignment)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(std::size_t size, std::align_val_t alignment,
                                     const std::nothrow_t& /*tag*/) noexcept {
    return ond::bench::detail::takeAligned(size, alignment);
}
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    ond::bench::detail::giveBack(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    ond::bench::detail::giveBack(memory);
}
