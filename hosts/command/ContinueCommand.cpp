// quadrig resume, quadrig retake
#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include "command/CommandError.h"
#include "command/Commands.h"
#include "command/InputPlan.h"
#include "command/Numbers.h"
#include "command/OutputFile.h"
#include "command/ProgressBar.h"
#include "command/Report.h"
#include "command/TakeRoom.h"
#include "command/TakeSession.h"
#include "stage/TakeFile.h"

namespace ond::command {

using stage::Stage;

namespace {

std::vector<std::string> filesRead(const ContinueOptions& options) {
    std::vector<std::string> files = options.input.logs;
    files.push_back(options.take);
    return files;
}

/// A take with new input, ready to be driven on.
struct Continuation {
    TakeSession session;
    std::string output;
    InputTracks tracks;
    int vehicle = 0;
    std::pair<int, int> recorded;
    int at = 0;
    int zero = 0;  ///< the frame at which the second 0 of the input lies

    [[nodiscard]] Stage& stage() const { return *session.stage; }
};

int frameWithin(const std::string& text, const std::pair<int, int>& recorded) {
    const int at = wholeOf(text, "--at");
    if (at < recorded.first || at > recorded.second)
        throw CommandError("--at: frame " + text + " is not within the recording, frames " +
                           std::to_string(recorded.first) + " to " + std::to_string(recorded.second));
    return at;
}

Continuation open(const ContinueOptions& options, const Console& console) {
    Continuation one;
    one.output = onlyOutput(options.output, ".glb", filesRead(options));
    one.tracks = InputTracks(planInput(options.input));
    for (const std::string& note : one.tracks.notes()) console.note(note);
    one.session = openSession(options.take, options.common);
    one.vehicle = vehicleOf(one.stage(), options.vehicle);
    one.recorded = recordedFrames(one.stage(), options.take);
    if (!options.at.empty()) one.at = frameWithin(options.at, one.recorded);
    one.zero = options.takeClock ? one.recorded.first : one.at;
    return one;
}

/// The last frame to drive: as told, or as long as the input lasts, or to the end of the take. Input that is laid over
/// the recorded one does not shorten the take.
int lastFrame(const Continuation& one, const ContinueOptions& options) {
    int last = 0;
    if (!options.last.empty()) {
        last = wholeOf(options.last, "--last");
    } else if (one.tracks.duration() > 0.0) {
        last = lastFrameWithin(one.stage().scene.clock.rate, one.zero, one.tracks.duration());
        if (options.overdub) last = std::max(last, one.recorded.second);
    } else if (one.recorded.second > one.at) {
        last = one.recorded.second;
    } else {
        throw CommandError("nothing says how long to drive; give a log, keys that last, or --last");
    }
    if (last <= one.at)
        throw CommandError("the last frame, " + std::to_string(last) + ", must lie behind --at, " +
                           std::to_string(one.at));
    return last;
}

int finish(const Continuation& one, int from, double wallSeconds, const ContinueOptions& options,
           const Console& console) {
    Stage& stage = one.stage();
    stage::saveTake(stage, one.output);
    noteMessages(stage, console);
    std::vector<Summary> summaries;
    for (std::size_t i = 0; i < stage.vehicles.size(); ++i) {
        const auto recorded = stage.recorded(static_cast<int>(i));
        const int last = recorded ? recorded->second : from;
        summaries.push_back(summarise(stage, static_cast<int>(i), std::min(from, last), last));
        summaries.back().wallSeconds = wallSeconds;
    }
    return report(stage, summaries, one.output, options.common.json, console);
}

/// The first recorded frame in which an element stands elsewhere than in `before`, up to `last`; nothing if none does.
/// @param vehicle that made the elements; all elements for an empty name
std::optional<int> firstDifference(const Stage& stage, const std::vector<stage::Track>& before, int first, int last,
                                   const std::string& vehicle) {
    const auto& clock = stage.scene.clock;
    for (int frame = first; frame <= last; ++frame)
        for (std::size_t i = 0; i < before.size() && i < stage.scene.elements.size(); ++i)
            if ((vehicle.empty() || stage.scene.elements[i]->vehicle == vehicle) &&
                stage.scene.elements[i]->track.at(clock.time(frame), clock.snap()) !=
                    before[i].at(clock.time(frame), clock.snap()))
                return frame;
    return std::nullopt;
}

stage::Stage::Override overrideOf(const Continuation& one, bool overdub) {
    const std::vector<int> channels = channelsOf(*one.stage().vehicles[static_cast<std::size_t>(one.vehicle)]);
    const double start = one.stage().scene.clock.time(one.zero);
    const stage::FrameRate rate = one.stage().scene.clock.rate;
    const InputTracks* tracks = &one.tracks;
    const int chosen = one.vehicle;
    return [=](int vehicle, int axis, int frame) -> std::optional<double> {
        if (vehicle != chosen) return std::nullopt;
        const auto value = tracks->at(channels[static_cast<std::size_t>(axis)], rate.time(frame) - start);
        return value || overdub ? value : std::optional<double>(0.0);
    };
}

}  // namespace

int resume(const ContinueOptions& options, const Console& console) {
    if (options.at.empty()) throw CommandError("say from which frame to resume with --at");
    const Continuation one = open(options, console);
    Stage& stage = one.stage();
    const int last = lastFrame(one, options);
    std::vector<bool> armed;
    for (std::size_t i = 0; i < stage.vehicles.size(); ++i) {
        armed.push_back(stage.vehicles[i]->armed);
        stage.vehicles[i]->armed = static_cast<int>(i) == one.vehicle;
    }
    requireRoom(stage, one.at, last);
    feedAxes(stage, one.vehicle, one.tracks, one.zero);
    const auto started = std::chrono::steady_clock::now();
    {
        ProgressBar bar(console, "driving", one.at, last);
        stage.progress = [&bar](int frame) { bar.show(frame); };
        stage.run(one.at, last);
        stage.progress = nullptr;
    }
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - started;
    restAxes(stage);
    for (std::size_t i = 0; i < stage.vehicles.size(); ++i) stage.vehicles[i]->armed = armed[i];
    return finish(one, one.at, wall.count(), options, console);
}

int retake(const ContinueOptions& options, const Console& console) {
    if (options.at.empty() && (!options.input.logs.empty() || !options.input.held.empty() ||
                               !options.input.keyed.empty() || !options.last.empty()))
        throw CommandError("say with --at at which frame the new input takes over");
    const Continuation one = open(options, console);
    if (!options.at.empty() && one.tracks.empty())
        throw CommandError("the new input is missing; give --input, --hold or --key");
    if (options.overdub && options.at.empty()) throw CommandError("--overdub needs --at and new input");
    Stage& stage = one.stage();
    // By name: the recording may begin with other vehicles.
    const std::string chosen = stage.vehicles[static_cast<std::size_t>(one.vehicle)]->name;
    std::map<std::string, bool> armed;
    for (const auto& vehicle : stage.vehicles) armed[vehicle->name] = vehicle->armed;
    std::vector<stage::Track> before;
    for (const auto& element : stage.scene.elements) before.push_back(element->track);
    const stage::Journal journal = stage.journal;

    std::optional<Stage::TakeOver> other;
    if (!options.at.empty()) {
        other.emplace();
        other->at = one.at;
        other->to = lastFrame(one, options);
        other->input = overrideOf(one, options.overdub);
        other->vehicle = one.vehicle;
        requireRoom(stage, one.recorded.first, other->to);
    }
    const auto started = std::chrono::steady_clock::now();
    {
        ProgressBar bar(console, "driving", one.recorded.first, other ? other->to : one.recorded.second);
        stage.retake(journal, other, [&bar](int frame) { bar.show(frame); });
    }
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - started;
    for (const auto& vehicle : stage.vehicles)
        if (const auto was = armed.find(vehicle->name); was != armed.end()) vehicle->armed = was->second;
    const int same = other ? other->at : one.recorded.second;
    // Other vehicles lose the runs that are left out.
    const bool leftOut = stage.journal.size() < journal.size();
    const std::string compared = leftOut ? chosen : "";
    const std::optional<int> difference = firstDifference(stage, before, one.recorded.first, same, compared);
    const int code = finish(one, one.recorded.first, wall.count(), options, console);
    if (!difference) return code;
    console.complain("the take was not repeated to the bit: it differs from frame " + std::to_string(*difference) +
                     " on; was it recorded with another module or on another machine?");
    return kFindings;
}

}  // namespace ond::command
