#include "table/Rows.h"

namespace ond::bench::table {

std::vector<Measurement> allMeasurements() {
    return {{{1}, measureBulletFrame},  {{2}, measureFrameOnSizes}, {{3, 5}, measureTreeRays},
            {{4}, measureFlatTreeRays}, {{6}, measureStoredFrame},  {{7}, measureTreeBuild},
            {{8}, measureTreeMemory},   {{9}, measureRunStart},     {{10, 15}, measureFleet},
            {{11}, measureKeys},        {{12, 13}, measureSaving},  {{14}, measureAllocations}};
}

}  // namespace ond::bench::table
