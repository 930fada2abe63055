// The first difference between two traces, to the bit.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace ond::command {

/// A trace that is read line by line: of a take, or of a file that `trace` wrote.
class TraceSource {
  public:
    virtual ~TraceSource() = default;
    /// @return false behind the last line
    [[nodiscard]] virtual bool next(std::string* line) = 0;
    /// Where the line stands that came last, for messages: "'a.jsonl', line 3".
    [[nodiscard]] virtual std::string where() const = 0;
};

/// @param path of a take, or of a trace if it ends with .jsonl
/// @throws CommandError, stage::StageError for what cannot be read
[[nodiscard]] std::unique_ptr<TraceSource> openTrace(const std::string& path, const std::string& module);

/// The first place in which two traces differ.
struct TraceDifference {
    int frame = 0;
    std::optional<double> time;  ///< seconds
    std::string vehicle;         ///< that the value belongs to; empty for one of the scene
    std::string what;            ///< "elements: car_CarBodyMesh[12]", "channels: car: Velocity"
    std::string left;            ///< the values as text; empty where there is none
    std::string right;
    std::optional<std::pair<double, double>> numbers;  ///< the values, where both are numbers
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

/// Numbers are equal if their bits are, however they are written.
/// @throws CommandError for a line that is no line of a trace, and for a trace without lines
[[nodiscard]] TraceComparison compareTraces(TraceSource& left, TraceSource& right);

/// How many doubles further the one is than the other; 0 for two zeros.
[[nodiscard]] std::uint64_t ulpsBetween(double a, double b);

}  // namespace ond::command
