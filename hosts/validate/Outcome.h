// What a validation says: levels, outcomes and findings.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ond::validate {

/// How strict a test is. A level includes those before it.
enum class Level {
    basic,     ///< without it no host can do anything with the module
    ordinary,  ///< what the contract asks of every module
    strict     ///< also forms that hosts seldom look at
};

enum class Outcome {
    passed,   ///< everything as the contract wants it
    warning,  ///< allowed, but hosts may not like it
    skipped,  ///< the module does not offer what the test is about, or another test stands in the way
    failed,   ///< the module broke the contract
    crashed   ///< the module ended the process
};

enum class Severity { warning, failure };

/// One plain sentence: what the module did and what the contract wants.
struct Finding {
    std::string test;  ///< id of the test whose subject it is, also when it came to light in another one
    Severity severity = Severity::failure;
    std::string sentence;

    friend bool operator==(const Finding& a, const Finding& b) {
        return a.test == b.test && a.severity == b.severity && a.sentence == b.sentence;
    }
};

struct TestResult {
    std::string id;
    std::string sentence;  ///< what the test asks
    Level level = Level::ordinary;
    Outcome outcome = Outcome::passed;
    std::string reason;  ///< of a skipped test
    std::vector<Finding> findings;
    std::string printed;  ///< end of what the test's process wrote, if the module crashed or failed
    bool timedOut = false;
    std::int64_t milliseconds = 0;
};

[[nodiscard]] const char* nameOf(Level level);
[[nodiscard]] const char* nameOf(Outcome outcome);
[[nodiscard]] const char* nameOf(Severity severity);

}  // namespace ond::validate
