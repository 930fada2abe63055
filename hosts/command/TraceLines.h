// The frames of a take as lines of JSON, and the first difference between two of them.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "stage/Stage.h"

namespace ond::command {

/// One frame: "frame", "time", "elements" (world matrices), "channels" and "inputs" by vehicle, "messages"; with
/// `gauges` also the dialog's gauges by vehicle.
[[nodiscard]] std::string traceLine(const stage::Stage& stage, int frame, bool gauges);

/// A trace that is read line by line: of a take, or of a file that `trace` wrote.
class TraceSource {
  public:
    virtual ~TraceSource() = default;
    /// @return false behind the last line
    [[nodiscard]] virtual bool next(std::string* line) = 0;
};

/// @param path of a take, or of a trace if it ends with .jsonl
[[nodiscard]] std::unique_ptr<TraceSource> openTrace(const std::string& path, const std::string& module);

/// The first place in which two traces differ.
struct TraceDifference {
    int frame = 0;
    std::string what;  ///< "car_CarBodyMesh[12]", "car: Velocity", "the frames end"
    std::string left;  ///< the values as text; empty where there is none
    std::string right;
};

/// @param frames receives how many frames were compared
/// @return whether there is a difference
/// @throws CommandError for a line that is no line of a trace
[[nodiscard]] bool findDifference(TraceSource& left, TraceSource& right, TraceDifference* difference, int* frames);

}  // namespace ond::command
