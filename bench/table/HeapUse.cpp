#include "table/HeapUse.h"

#include <malloc.h>

#include "CountedHeap.h"

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
