// Runs tests against a module: each in a process of its own, several at a time, with a limit of time.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "validate/Outcome.h"

namespace ond::validate {

struct RunSettings {
    std::string modulePath;
    Level level = Level::ordinary;
    std::uint64_t seed = 1;
    double secondsPerTest = 30.0;
    int jobs = 2;
    bool inProcess = false;         ///< for a debugger: no process of its own, no limit
    std::vector<std::string> only;  ///< ids or patterns with * and ?; empty for all
    std::vector<std::string> skip;  ///< likewise, taken away
};

/// Ids that the settings choose, in the order of the table; among them none that is stricter than the level, unless it
/// is named in full.
[[nodiscard]] std::vector<std::string> chosenTests(const RunSettings& settings);
/// How many tests were left out for their level alone.
[[nodiscard]] std::size_t stricterTests(const RunSettings& settings);

/// What came out, in the order of the table. A finding stands with the test whose subject it is, if that one was
/// chosen, wherever it came to light.
/// @param progress told each test as it ends, in any order; findings may still move to other tests
/// @throws std::runtime_error if no process can be started
[[nodiscard]] std::vector<TestResult> runTests(const RunSettings& settings,
                                               const std::function<void(const TestResult&)>& progress);

}  // namespace ond::validate
