// What fuzz targets check beside not crashing.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace ond::test {

/// Ends the process, which a fuzzer records as a finding, if a property does not hold for this input.
inline void require(bool holds, const char* property) {
    if (holds) return;
    std::fprintf(stderr, "property violated: %s\n", property);
    std::abort();
}

}  // namespace ond::test
