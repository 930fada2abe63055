// How much memory the program holds, told exactly where the heap can.
#pragma once

#include <cstdint>

namespace ond::validate {

/// Bytes that the program holds on the heap; 0 where that cannot be told. What is freed counts at once where
/// heapIsExact(), elsewhere some of it stays in the heap's pockets.
[[nodiscard]] std::int64_t heapInUse();

/// Bytes of address space that the program holds, on the heap or not.
[[nodiscard]] std::int64_t spaceInUse();

/// Whether the heap keeps no pockets of freed pieces, so that heapInUse() behind a cycle that loses nothing is what it
/// was before, but for the few bytes by which a piece may be larger than what was asked for.
[[nodiscard]] bool heapIsExact();

/// Starts the program again, with a heap that is exact, since the GNU C library decides that at a program's start:
/// same process, same arguments, one more setting in the environment. Comes back where the heap is exact already, where
/// it cannot be told, and where the start fails.
/// @param arguments of main()
void startWithExactHeap(char** arguments);

}  // namespace ond::validate
