// Taking times, and ratios of them.
//
// Both sides of a ratio are taken pass by pass in turn, so that whatever the machine does meanwhile hits both. Times
// are processor times, which leave out when others have the core.
#pragma once

#include <chrono>
#include <cstddef>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include "ThreadClock.h"
#include "table/Row.h"

namespace ond::bench::table {

/// Seconds of processor time that `work` takes on this thread.
template <class Work>
[[nodiscard]] double secondsOf(Work&& work) {
    const double start = threadSeconds();
    work();
    return threadSeconds() - start;
}

/// Of all threads of the process.
[[nodiscard]] double processSeconds();

/// Nanoseconds since some moment, cheap to ask for: for what is shorter than asking for processor time takes.
[[nodiscard]] inline double nowNanoseconds() {
    return static_cast<double>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
            .count());
}

/// Nanoseconds that two askings in a row are apart at the median: what a time taken with it contains too much.
[[nodiscard]] double costOfAsking();
/// The same at the shortest: what the shortest of many times contains too much.
[[nodiscard]] double leastCostOfAsking();

/// Keeps the compiler from leaving out what leads to `value`.
template <class Value>
inline void keep(const Value& value) {
    asm volatile("" : : "r"(&value) : "memory");  // NOLINT(hicpp-no-assembler)
}

/// The passes of both sides of a ratio, in seconds or whatever both have.
struct Passes {
    std::vector<double> over;
    std::vector<double> under;

    void add(double a, double b) {
        over.push_back(a);
        under.push_back(b);
    }
    /// @param scale turns the passes' numbers into the unit
    [[nodiscard]] Ratio ratio(std::string of, std::string overWhat, std::string underWhat, double scale,
                              const std::string& unit) const;
};

/// Runs `a` and `b`, which give their seconds, `count` times in turn; every other time `b` goes first. A first run of
/// each does not count.
template <class A, class B>
[[nodiscard]] Passes alternate(int count, A&& a, B&& b) {
    Passes passes;
    for (int i = -1; i < count; ++i) {
        double first = 0.0;
        double second = 0.0;
        if (i % 2 == 0) {
            first = a();
            second = b();
        } else {
            second = b();
            first = a();
        }
        if (i >= 0) passes.add(first, second);
    }
    return passes;
}

/// A ratio of two numbers that were read once.
[[nodiscard]] Ratio ratioOfTwo(std::string of, Figure over, Figure under);

}  // namespace ond::bench::table
