// Bytes that are about to be overwritten, in any number: what a flat block is put together in.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace ond::util {

/// Lets the system back `size` bytes at `memory` with large pages where it has them. A wish: nothing fails.
void preferLargePages(void* memory, std::size_t size) noexcept;

namespace detail {

/// Leaves new bytes as they are instead of filling them with zeros.
template <typename T>
struct RawAllocator : std::allocator<T> {
    template <typename U>
    struct rebind {
        using other = RawAllocator<U>;
    };
    RawAllocator() = default;
    template <typename U>
    explicit RawAllocator(const RawAllocator<U>& /*other*/) {}

    T* allocate(std::size_t count) {
        T* const memory = std::allocator<T>::allocate(count);
        // Above this, an allocation is a mapping of its own, which its release undoes together with the wish.
        constexpr std::size_t kOwnMapping = std::size_t{33} << 20;
        if (count * sizeof(T) >= kOwnMapping) preferLargePages(memory, count * sizeof(T));
        return memory;
    }
    template <typename U>
    void construct(U* at) noexcept {
        ::new (static_cast<void*>(at)) U;
    }
    template <typename U, typename... Arguments>
    void construct(U* at, Arguments&&... arguments) {
        ::new (static_cast<void*>(at)) U(std::forward<Arguments>(arguments)...);
    }
};

}  // namespace detail

/// A vector whose resize() leaves what is new undetermined. Tens of megabytes take longer to be filled with zeros, and
/// to be taken from the system in small pages, than to be copied.
using RawBytes = std::vector<unsigned char, detail::RawAllocator<unsigned char>>;

}  // namespace ond::util
