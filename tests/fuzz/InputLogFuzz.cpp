// Any text as a driving log or a target's path: it is read, or refused with one sentence. What is read has ascending
// finite times and values within the axes' ranges, so that an axis is never fed anything else.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "command/Channels.h"
#include "command/CommandError.h"
#include "command/InputLog.h"
#include "command/InputTracks.h"
#include "command/TargetPath.h"
#include "fuzz/FuzzProperty.h"

namespace {

using namespace ond::command;
using ond::test::require;

void requireAscending(const std::vector<double>& times) {
    require(!times.empty(), "there is a row");
    for (std::size_t i = 0; i < times.size(); ++i) {
        require(std::isfinite(times[i]), "times are finite");
        require(i == 0 || times[i] > times[i - 1], "times ascend");
    }
}

void checkLog(const InputLog& log) {
    requireAscending(log.times);
    require(!log.values.empty(), "a channel is fed");
    for (const auto& [channel, values] : log.values) {
        require(values.size() == log.times.size(), "a value for each time");
        const double low = kChannels[static_cast<std::size_t>(channel)].oneSided ? 0.0 : -1.0;
        for (const double value : values) require(value >= low && value <= 1.0, "values are within the axis");
        const AxisCurve curve{log.times, values};
        for (const double time : log.times) {
            const double fed = curve.at(time + 1e-3);
            require(fed >= low && fed <= 1.0, "between the rows, too");
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    try {
        checkLog(parseInputLog(text, "log.csv", {}));
    } catch (const CommandError& error) {
        require(!std::string(error.what()).empty(), "a refusal has a text");
    }
    try {
        const TargetPath path = parseTargetPath(text, "path.csv", {});
        require(path.times.size() == path.points.size() && !path.times.empty(), "a time for each point");
        (void)path.at(1.0);
    } catch (const CommandError& error) {
        require(!std::string(error.what()).empty(), "a refusal has a text");
    }
    return 0;
}
