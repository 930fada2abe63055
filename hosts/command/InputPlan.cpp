#include "command/InputPlan.h"

#include <cmath>

#include "command/CommandError.h"
#include "command/Nearest.h"
#include "command/Numbers.h"

namespace ond::command {

namespace {

/// Input that lasts longer is driven only as far as the user says, seconds.
constexpr double kLongestInput = 3600.0;

LogColumns planColumns(const std::vector<std::string>& columns) {
    LogColumns plan;
    for (const std::string& text : columns) {
        const auto [channel, column] = splitAt(text, '=', "--column", "CHANNEL=COLUMN");
        if (lower(channel) == "time")
            plan.time = column;
        else
            plan.channels[channelOf(channel, "--column")] = column;
    }
    return plan;
}

TrackPlan planHeld(const std::string& text) {
    const auto [channel, value] = splitAt(text, '=', "--hold", "CHANNEL=VALUE");
    TrackPlan plan;
    plan.where = "--hold " + text;
    plan.channel = channelOf(channel, "--hold");
    plan.keys = {{0.0, numberOf(value, plan.where)}};
    return plan;
}

TrackPlan planKeyed(const std::string& text) {
    const auto [channel, keys] = splitAt(text, '=', "--key", "CHANNEL=T:V,T:V,...");
    TrackPlan plan;
    plan.where = "--key " + text;
    plan.channel = channelOf(channel, "--key");
    std::size_t from = 0;
    while (from <= keys.size()) {
        const std::size_t comma = std::min(keys.find(',', from), keys.size());
        const auto [time, value] = splitAt(keys.substr(from, comma - from), ':', plan.where, "T:V");
        const double seconds = numberOf(time, plan.where);
        if (!plan.keys.empty() && seconds <= plan.keys.back().first)
            throw CommandError(plan.where + ": the seconds must ascend");
        plan.keys.emplace_back(seconds, numberOf(value, plan.where));
        from = comma + 1;
    }
    return plan;
}

}  // namespace

std::vector<TrackPlan> planInput(const InputOptions& options) {
    if (options.logs.empty() && !options.columns.empty())
        throw CommandError("--column tells about a log; give one with --input");
    std::vector<TrackPlan> plans;
    for (const std::string& log : options.logs) {
        TrackPlan plan;
        plan.where = log;
        plan.file = log;
        plan.columns = planColumns(options.columns);
        plans.push_back(std::move(plan));
    }
    for (const std::string& held : options.held) plans.push_back(planHeld(held));
    for (const std::string& keyed : options.keyed) plans.push_back(planKeyed(keyed));
    return plans;
}

int lastFrameWithin(const stage::FrameRate& rate, int first, double seconds) {
    const double frames = std::floor(seconds * rate.perSecond() + 1e-6);
    // A time that was mistyped would otherwise drive for hours.
    if (seconds > kLongestInput)
        throw CommandError("the input lasts " + shortText(seconds, 10) + " s, that is " + shortText(frames, 10) +
                           " frames to drive; for more than an hour say how far with --last" +
                           (frames < 1e8 ? ", up to " + shortText(first + frames, 10) : std::string()));
    return first + static_cast<int>(frames);
}

std::vector<int> channelsOf(const stage::Vehicle& vehicle) {
    std::vector<int> channels;
    for (const auto& property : vehicle.properties) {
        const int channel = findWholeChannel(property->name);
        if (channel < 0)
            throw CommandError("the vehicle has a channel '" + property->name + "' that is not known here");
        channels.push_back(channel);
    }
    return channels;
}

void feedAxes(stage::Stage& stage, int index, const InputTracks& tracks, int zero) {
    const stage::Vehicle& vehicle = *stage.vehicles.at(static_cast<std::size_t>(index));
    const std::vector<int> channels = channelsOf(vehicle);
    const double start = stage.scene.clock.time(zero);
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const int channel = channels[i];
        vehicle.axes[i]->script = [&tracks, channel, start](double time) {
            return tracks.at(channel, time - start).value_or(0.0);
        };
    }
}

void restAxes(stage::Stage& stage) {
    for (const auto& vehicle : stage.vehicles)
        for (const auto& axis : vehicle->axes) axis->script = nullptr;
}

}  // namespace ond::command
