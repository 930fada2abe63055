// Bytes that are about to be overwritten, in any number: what a flat block is put together in.
#pragma once

#include <cstddef>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "ond/util/Pages.h"

namespace ond::util {

namespace detail {

/// Leaves new bytes as they are instead of filling them with zeros.
template <typename T>
struct RawAllocator {
    using value_type = T;
    static_assert(sizeof(T) == 1);

    RawAllocator() = default;
    template <typename U>
    explicit RawAllocator(const RawAllocator<U>& /*other*/) {}

    T* allocate(std::size_t count) {
        if (count < kOwnMapping) return static_cast<T*>(::operator new(count));
        if (count > std::numeric_limits<std::size_t>::max() / 2) throw std::bad_alloc();
        // On large pages from end to end: a part of one would be small pages, hundreds of them.
        const std::size_t bytes = wholeLargePages(count);
        void* const memory = ::operator new (bytes, std::align_val_t{kLargePage});
        preferLargePages(memory, bytes);
        return static_cast<T*>(memory);
    }
    void deallocate(T* memory, std::size_t count) noexcept {
        if (count < kOwnMapping) {
            ::operator delete(memory);
        } else {
            ::operator delete (memory, std::align_val_t{kLargePage});
        }
    }
    template <typename U>
    void construct(U* at) noexcept {
        ::new (static_cast<void*>(at)) U;
    }
    template <typename U, typename... Arguments>
    void construct(U* at, Arguments&&... arguments) {
        ::new (static_cast<void*>(at)) U(std::forward<Arguments>(arguments)...);
    }

    template <typename U>
    friend bool operator==(const RawAllocator&, const RawAllocator<U>&) {
        return true;
    }
};

}  // namespace detail

/// A vector whose resize() leaves what is new undetermined. Tens of megabytes take longer to be filled with zeros, and
/// to be taken from the system in small pages, than to be copied.
using RawBytes = std::vector<unsigned char, detail::RawAllocator<unsigned char>>;

}  // namespace ond::util
