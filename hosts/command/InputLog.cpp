#include "command/InputLog.h"

#include <algorithm>
#include <cmath>

#include "command/Channels.h"
#include "command/CommandError.h"
#include "command/CsvTable.h"
#include "command/Nearest.h"
#include "command/Numbers.h"

namespace ond::command {

namespace {

int timeColumn(const CsvTable& table, const std::string& given) {
    if (!given.empty()) return table.at(given);
    for (const char* usual : {"time", "t", "seconds", "time_s"})
        if (table.find(usual) >= 0) return table.find(usual);
    throw CommandError(table.name() + " has no column 'time' with the seconds; its columns are " +
                       enumerated(table.header()) + "; name the right one with --column time=NAME");
}

/// Channel by column.
std::map<int, int> channelColumns(const CsvTable& table, const LogColumns& columns, int time) {
    std::map<int, int> found;
    for (const auto& [channel, column] : columns.channels) found[channel] = table.at(column);
    if (!columns.channels.empty()) return found;
    for (std::size_t i = 0; i < table.header().size(); ++i) {
        const int channel = findWholeChannel(table.header()[i]);
        if (channel < 0 || static_cast<int>(i) == time) continue;
        if (found.count(channel) != 0)
            throw CommandError(table.name() + ": the columns '" +
                               table.header()[static_cast<std::size_t>(found[channel])] + "' and '" +
                               table.header()[i] + "' both feed '" + kChannels[static_cast<std::size_t>(channel)].name +
                               "'; say which with --column CHANNEL=NAME");
        found[channel] = static_cast<int>(i);
    }
    if (found.empty())
        throw CommandError(table.name() + " has no column that is named like a channel; its columns are " +
                           enumerated(table.header()) + "; name them with --column CHANNEL=NAME");
    return found;
}

/// A time farther from 0 than this is none, seconds.
constexpr double kFarthestTime = 1e9;

void checkTimes(const CsvTable& table, const std::vector<double>& times) {
    for (std::size_t i = 0; i < times.size(); ++i) {
        if (std::abs(times[i]) > kFarthestTime)
            throw CommandError(table.name() + ", line " + std::to_string(table.line(i)) + ": the time " +
                               exactText(times[i]) + " is out of range");
        if (i == 0 || times[i] > times[i - 1]) continue;
        const char* what = times[i] == times[i - 1] ? "is there twice" : "is earlier than the one before";
        throw CommandError(table.name() + ", line " + std::to_string(table.line(i)) + ": the time " +
                           exactText(times[i]) + " " + what + "; times must ascend");
    }
}

}  // namespace

void checkAxis(int channel, double value, const std::string& what) {
    const ChannelName& known = kChannels[static_cast<std::size_t>(channel)];
    const Range range{known.oneSided ? 0.0 : -1.0, 1.0};
    if (!range.holds(value))
        throw CommandError(what + ": " + shortText(value) + " is outside of " + range.text() + ", the range of '" +
                           known.name + "'");
}

InputLog parseInputLog(std::string_view text, const std::string& name, const LogColumns& columns, double scale) {
    const CsvTable table(text, name);
    const int time = timeColumn(table, columns.time);
    const std::map<int, int> channels = channelColumns(table, columns, time);

    InputLog log;
    log.times = table.numbers(time);
    checkTimes(table, log.times);
    for (const auto& [channel, column] : channels) {
        std::vector<double> values = table.numbers(column);
        for (std::size_t i = 0; i < values.size(); ++i) {
            values[i] *= scale;
            checkAxis(channel, values[i],
                      name + ", line " + std::to_string(table.line(i)) + ", column '" +
                          table.header()[static_cast<std::size_t>(column)] + "'");
        }
        log.values[channel] = std::move(values);
    }
    for (std::size_t i = 0; i < table.header().size(); ++i) {
        const bool used = static_cast<int>(i) == time ||
                          std::any_of(channels.begin(), channels.end(),
                                      [&](const auto& entry) { return entry.second == static_cast<int>(i); });
        if (!used) log.unused.push_back(table.header()[i]);
    }
    return log;
}

InputLog readInputLog(const std::string& path, const LogColumns& columns, double scale) {
    return parseInputLog(readText(path), path, columns, scale);
}

}  // namespace ond::command
