// Memory for large arrays that are read here and there: on pages as large as the system gives, so that finding a page
// does not take longer than reading it.
#pragma once

#include <cstddef>
#include <memory>
#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace ond::ovs::addon {

/// Allocates as the standard one does; arrays of kLarge bytes and more begin on a large page and ask for such.
template <typename T>
struct LargePages {
    using value_type = T;

    static constexpr std::size_t kPage = std::size_t{2} << 20;
    static constexpr std::size_t kLarge = 4 * kPage;

    LargePages() = default;
    template <typename Other>
    explicit LargePages(const LargePages<Other>& /*other*/) {}

    [[nodiscard]] T* allocate(std::size_t count) {
        const std::size_t bytes = count * sizeof(T);
        void* memory = ::operator new(bytes, alignmentOf(count));
#if defined(__linux__)
        // Only a hint; what the system says to it changes nothing here.
        if (bytes >= kLarge) static_cast<void>(madvise(memory, bytes, MADV_HUGEPAGE));
#endif
        return static_cast<T*>(memory);
    }
    void deallocate(T* memory, std::size_t count) noexcept { ::operator delete(memory, alignmentOf(count)); }

    template <typename Other>
    friend bool operator==(const LargePages&, const LargePages<Other>&) {
        return true;
    }

  private:
    static std::align_val_t alignmentOf(std::size_t count) {
        return std::align_val_t{count * sizeof(T) >= kLarge ? kPage : alignof(T)};
    }
};

/// Asks for large pages where they fit into an array that was allocated elsewhere and not written yet. Only a hint.
inline void adviseLargePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t bytes) {
#if defined(__linux__)
    constexpr std::size_t kPage = LargePages<char>::kPage;
    if (std::align(kPage, kPage, memory, bytes) != nullptr)
        static_cast<void>(madvise(memory, bytes / kPage * kPage, MADV_HUGEPAGE));
#endif
}

}  // namespace ond::ovs::addon
