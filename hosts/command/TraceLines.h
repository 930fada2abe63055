// The frames of a take as lines of JSON, and the first difference between two of them.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "stage/Stage.h"

namespace ond::command {

/// One frame: "frame", "time", "elements" (world matrices), "channels" and "inputs" by vehicle, "gauges" by vehicle
/// unless it is one of vehiclesWithoutGauges(), "messages".
[[nodiscard]] std::string traceLine(const stage::Stage& stage, int frame);

/// The names of the vehicles that were recorded without their gauges, as older programs did.
[[nodiscard]] std::vector<std::string> vehiclesWithoutGauges(const stage::Stage& stage);

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

/// Something that only one of two traces has, such as an element of another name. All else is compared nevertheless.
struct TraceSurplus {
    int frame = 0;       ///< the first one
    bool first = false;  ///< the first trace has it, otherwise the second
    std::string what;    ///< "the element 'hills'"
};

struct TraceComparison {
    int framesEqual = 0;                        ///< before the first difference, as far as both have the same parts
    std::optional<TraceDifference> difference;  ///< nothing if what both have is equal
    std::vector<TraceSurplus> surplus;
    /// Vehicles whose gauges only one of the two has: these were not compared, all else was.
    std::set<std::string> gaugesNotCompared;

    [[nodiscard]] bool equal() const { return !difference && surplus.empty(); }
};

/// @throws CommandError for a line that is no line of a trace
[[nodiscard]] TraceComparison compareTraces(TraceSource& left, TraceSource& right);

}  // namespace ond::command
