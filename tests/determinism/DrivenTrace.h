// The drives of tests/determinism/drives, driven without the program.
#pragma once

#include <string>
#include <vector>

namespace ond::test {

/// The names of all drive files, without their ending.
[[nodiscard]] std::vector<std::string> driveNames();
[[nodiscard]] std::string drivePath(const std::string& name);

/// How one of the drives goes on when its take has been saved and opened again.
struct Resumption {
    int at = 0;
    int last = 0;
    std::string hold, key;  ///< as on the command line
};
/// Drives of the name "resumed..." are resumed.
[[nodiscard]] bool isResumed(const std::string& name);
[[nodiscard]] const Resumption& resumption();

/// What `quadrig trace` prints of the drive's take.
[[nodiscard]] std::string traceOf(const std::string& name);

/// The file of the build folder that holds the trace of the drive, written by keepTrace().
[[nodiscard]] std::string keptTrace(const std::string& name);
void keepTrace(const std::string& name, const std::string& text);

}  // namespace ond::test
