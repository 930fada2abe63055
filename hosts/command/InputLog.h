// A recorded input: what the axes gave over time.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace ond::command {

/// Which columns of a log feed what.
struct LogColumns {
    std::string time;                     ///< empty: "time", "t", "seconds" or "time_s"
    std::map<int, std::string> channels;  ///< by place in kChannels; empty: every column that is named like a channel
};

struct InputLog {
    std::vector<double> times;                  ///< seconds, ascending
    std::map<int, std::vector<double>> values;  ///< by place in kChannels, one per time
    std::vector<std::string> unused;            ///< columns that feed nothing
};

/// @param name of the file, for messages
/// @param scale factor on all values; what it gives must lie within the channels' range
/// @throws CommandError for times that do not ascend, for numbers that are not finite or out of range, for missing
/// columns, and if no column feeds a channel
[[nodiscard]] InputLog parseInputLog(std::string_view text, const std::string& name, const LogColumns& columns,
                                     double scale = 1.0);
[[nodiscard]] InputLog readInputLog(const std::string& path, const LogColumns& columns, double scale = 1.0);

/// @throws CommandError unless the value is within the range of the channel's axis
void checkAxis(int channel, double value, const std::string& what);

}  // namespace ond::command
