// Processor time of the calling thread: on a busy machine the only time that says something.
#pragma once

#include <algorithm>
#include <ctime>
#include <vector>

namespace ond::bench {

/// Seconds since some moment; the kernel counts in nanoseconds.
[[nodiscard]] inline double threadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Of at least one value.
[[nodiscard]] inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace ond::bench
