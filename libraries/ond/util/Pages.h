// The pages that the system backs memory with: asking for large ones, and giving back what is not needed.
#pragma once

#include <cstddef>

namespace ond::util {

/// Bytes of a large page.
inline constexpr std::size_t kLargePage = std::size_t{2} << 20;

/// From so many bytes on an allocation of the GNU C library is a mapping of its own, which its release undoes together
/// with all wishes for its pages. Smaller ones, and those of other heaps, leave theirs to whoever gets the memory next.
inline constexpr std::size_t kOwnMapping = std::size_t{33} << 20;

/// `bytes` or the next number above that fills large pages.
[[nodiscard]] constexpr std::size_t wholeLargePages(std::size_t bytes) {
    return (bytes + kLargePage - 1) / kLargePage * kLargePage;
}

/// Lets the system back `size` bytes at `memory` with large pages where it has them. A wish: nothing fails.
void preferLargePages(void* memory, std::size_t size) noexcept;

/// Gives the whole pages among `size` bytes at `memory` back to the system: what stands there is lost, and what is
/// written there later takes new pages. Where the system knows no such thing, the pages stay.
void giveBackPages(void* memory, std::size_t size) noexcept;

}  // namespace ond::util
