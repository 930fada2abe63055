// A validation as text and as JSON.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "validate/Outcome.h"
#include "validate/Runner.h"

namespace ond::validate {

/// Whether anything was found that breaks the contract.
[[nodiscard]] bool hasFailures(const std::vector<TestResult>& results);

/// One line with outcome and id, and one for each finding or the reason of a skipped test.
[[nodiscard]] std::string textOf(const TestResult& result);
/// "61 tests: 58 passed, 3 skipped".
[[nodiscard]] std::string summaryOf(const std::vector<TestResult>& results);
[[nodiscard]] std::string jsonOf(const RunSettings& settings, const std::vector<TestResult>& results);

/// The chosen tests: id, level, sentence.
[[nodiscard]] std::string listAsText(const RunSettings& settings);
[[nodiscard]] std::string listAsJson(const RunSettings& settings);

}  // namespace ond::validate
