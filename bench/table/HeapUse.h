// What the program holds on the heap and how often it asks for some.
#pragma once

#include <cstddef>

namespace ond::bench::table {

/// Calls of the operators new and of Bullet's allocator since the start of the program.
[[nodiscard]] long heapAllocations();

/// Bytes that these hold.
[[nodiscard]] long countedBytes();

/// Largest number of these since the last resetPeak().
[[nodiscard]] long peakBytes();
void resetPeak();

/// Bytes in use by the C library's own book-keeping, whoever has asked for them and how.
[[nodiscard]] double allocatedBytes();

/// Gives all free memory of the heap back to the system: who takes some then gets it from there, page by page.
void giveBackFreeMemory();

}  // namespace ond::bench::table
