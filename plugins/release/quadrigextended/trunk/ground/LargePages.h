// Memory for large arrays that are read here and there: on pages as large as the system gives, so that finding a page
// does not take longer than reading it.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

#include "ond/util/Pages.h"

namespace ond::ovs::addon {

/// Allocates as the standard one does; arrays of kLarge bytes and more ask for large pages. Only those of kAligned
/// bytes and more begin on one: what lies idle ahead of it would count for smaller ones.
template <typename T>
struct LargePages {
    using value_type = T;

    static constexpr std::size_t kLarge = util::kLargePage;
    static constexpr std::size_t kAligned = 8 * util::kLargePage;

    LargePages() = default;
    template <typename Other>
    explicit LargePages(const LargePages<Other>& /*other*/) {}

    [[nodiscard]] T* allocate(std::size_t count) {
        const std::size_t bytes = count * sizeof(T);
        void* memory = ::operator new(bytes, alignmentOf(count));
        if (bytes >= kLarge) util::preferLargePages(memory, bytes);
        return static_cast<T*>(memory);
    }
    void deallocate(T* memory, std::size_t count) noexcept { ::operator delete(memory, alignmentOf(count)); }

    template <typename Other>
    friend bool operator==(const LargePages&, const LargePages<Other>&) {
        return true;
    }

  private:
    static std::align_val_t alignmentOf(std::size_t count) {
        return std::align_val_t{count * sizeof(T) >= kAligned ? util::kLargePage : alignof(T)};
    }
};

/// An array of such memory.
template <typename T>
struct LargeArrayDelete {
    std::size_t count = 0;
    void operator()(T* array) const { LargePages<T>().deallocate(array, count); }
};
template <typename T>
using LargeArray = std::unique_ptr<T[], LargeArrayDelete<T>>;

/// @returns an array with nothing in it yet, of a type that needs no destructor
template <typename T>
[[nodiscard]] LargeArray<T> makeLargeArray(std::size_t count) {
    static_assert(std::is_trivially_destructible_v<T>);
    T* const array = LargePages<T>().allocate(count);
    std::uninitialized_default_construct_n(array, count);
    return LargeArray<T>(array, {count});
}

}  // namespace ond::ovs::addon
