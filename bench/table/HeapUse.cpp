#include "table/HeapUse.h"

#include <malloc.h>

#include <new>

#include "CountedHeap.h"

// The other forms of the operators: for types with wide alignment.
[[gnu::noinline]] void* operator new(std::size_t size, std::align_val_t alignment) {
    void* const memory =
        std::aligned_alloc(static_cast<std::size_t>(alignment), (size + static_cast<std::size_t>(alignment) - 1) /
                                                                    static_cast<std::size_t>(alignment) *
                                                                    static_cast<std::size_t>(alignment));
    if (memory == nullptr) throw std::bad_alloc();
    ++ond::bench::heap.allocations;
    const long now = ond::bench::heap.liveBytes += static_cast<long>(malloc_usable_size(memory));
    if (now > ond::bench::heap.peakBytes) ond::bench::heap.peakBytes = now;
    return memory;
}
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    ond::bench::detail::giveBack(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    ond::bench::detail::giveBack(memory);
}

namespace ond::bench::table {

long heapAllocations() { return heap.allocations; }
long countedBytes() { return heap.liveBytes; }
long peakBytes() { return heap.peakBytes; }
void resetPeak() { heap.resetPeak(); }

double allocatedBytes() {
    const auto info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

void giveBackFreeMemory() { malloc_trim(0); }

}  // namespace ond::bench::table
