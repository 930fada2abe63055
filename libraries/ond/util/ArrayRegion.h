// One piece of memory for arrays that are made together and mostly go together, such as the histories of a vehicle that
// is loaded. It asks the system for large pages, where arrays of a megabyte each get hundreds of small ones.
#pragma once

#include <cstddef>
#include <limits>
#include <new>

#include "ond/util/Pages.h"

namespace ond::util {

template <typename T>
struct RegionAllocator;

/// While an object of this class lives, arrays that are made take their memory from one region. They may outlive it,
/// and go in any order: whole pages that one leaves go back to the system at once, a part of a large one when the last
/// array takes the rest along.
///
/// An array that grows later does so into memory of its own. Objects of this class end in the opposite order of their
/// beginning; only the last one counts. Used by one thread, the host's.
class ArrayRegion {
  public:
    /// Bytes. Smaller arrays never come from a region.
    static constexpr std::size_t kSmallest = std::size_t{64} << 10;
    /// Regions with less room than this do not come to be: see kOwnMapping.
    static constexpr std::size_t kSmallestRegion = kOwnMapping;

    /// What an array of that many bytes takes of a region.
    [[nodiscard]] static constexpr std::size_t roomOf(std::size_t bytes) {
        return bytes < kSmallest ? 0 : kHead + (bytes + kHead - 1) / kHead * kHead;
    }

    /// @param room sum of roomOf() all arrays. One that does not fit gets memory of its own, as all do if there is no
    ///     region because it would be too small, or too large for the system
    explicit ArrayRegion(std::size_t room) noexcept;
    ArrayRegion(const ArrayRegion&) = delete;
    ArrayRegion& operator=(const ArrayRegion&) = delete;
    ~ArrayRegion();

  private:
    template <typename T>
    friend struct RegionAllocator;
    struct Region;

    /// Ahead of each array stands which region it is from; nothing if it has memory of its own.
    static constexpr std::size_t kHead = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

    /// Memory for kSmallest bytes or more until release(), aligned as that of the operator `new`. Throws
    /// std::bad_alloc.
    [[nodiscard]] static void* allocate(std::size_t bytes);
    /// @param memory,bytes as allocate() had them
    static void release(void* memory, std::size_t bytes) noexcept;
    static void leave(Region* region) noexcept;

    static Region* s_current;
    Region* m_previous;
};

/// Has a standard container take its memory so.
template <typename T>
struct RegionAllocator {
    using value_type = T;

    RegionAllocator() = default;
    template <typename Other>
    explicit RegionAllocator(const RegionAllocator<Other>& /*other*/) {}

    [[nodiscard]] T* allocate(std::size_t count) {
        static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
        if (count > std::numeric_limits<std::size_t>::max() / 2 / sizeof(T)) throw std::bad_array_new_length();
        const std::size_t bytes = count * sizeof(T);
        return static_cast<T*>(bytes < ArrayRegion::kSmallest ? ::operator new(bytes) : ArrayRegion::allocate(bytes));
    }
    void deallocate(T* memory, std::size_t count) noexcept {
        const std::size_t bytes = count * sizeof(T);
        if (bytes < ArrayRegion::kSmallest) {
            ::operator delete(memory);
        } else {
            ArrayRegion::release(memory, bytes);
        }
    }

    template <typename Other>
    friend bool operator==(const RegionAllocator&, const RegionAllocator<Other>&) {
        return true;
    }
};

}  // namespace ond::util
