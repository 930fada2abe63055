#include "ond/util/Pages.h"

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#endif

namespace ond::util {

#if defined(__linux__)

namespace {

/// Advises the system on whole pages: what shares one with others is left out. A refusal changes nothing.
void advise(void* memory, std::size_t size, int advice) noexcept {
    // The system would round a size up that is not one of whole pages.
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const std::uintptr_t gap = (page - reinterpret_cast<std::uintptr_t>(memory) % page) % page;
    if (size < gap + page) return;
    static_cast<void>(madvise(static_cast<unsigned char*>(memory) + gap, (size - gap) / page * page, advice));
}

}  // namespace

#endif

void preferLargePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) noexcept {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    advise(memory, size, MADV_HUGEPAGE);
#endif
}

void giveBackPages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) noexcept {
#if defined(__linux__)
    advise(memory, size, MADV_DONTNEED);
#endif
}

}  // namespace ond::util
