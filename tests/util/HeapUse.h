// How much of the heap is in use.
#pragma once

#include <malloc.h>

// The heap of the address sanitizer does not tell.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HEAP_TELLS_NOTHING
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define HEAP_TELLS_NOTHING
#endif

#ifndef HEAP_TELLS_NOTHING
namespace ond::test {

/// Bytes that the program holds on the heap, also in blocks that the heap has from the system one by one.
inline double heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

}  // namespace ond::test
#endif
