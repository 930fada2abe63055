#include "ond/util/RawBytes.h"

#if defined(__linux__)
#include <sys/mman.h>

#include <cstdint>
#endif

namespace ond::util {

void preferLargePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) noexcept {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    // Asks for whole pages, so what shares a page with others is left out.
    constexpr std::uintptr_t kPage = 4096;
    const std::uintptr_t gap = (kPage - reinterpret_cast<std::uintptr_t>(memory) % kPage) % kPage;
    if (size < gap + kPage) return;
    static_cast<void>(madvise(static_cast<unsigned char*>(memory) + gap, (size - gap) / kPage * kPage, MADV_HUGEPAGE));
#endif
}

}  // namespace ond::util
