// quadrig trace
#include <bit>
#include <cstdint>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "command/CommandError.h"
#include "command/Commands.h"
#include "command/Nearest.h"
#include "command/Numbers.h"
#include "command/OutputFile.h"
#include "command/TakeSession.h"
#include "command/TraceCompare.h"
#include "command/TraceLines.h"
#include "stage/WholeFile.h"

namespace ond::command {

namespace {

template <typename Names>
std::string listed(const Names& names) {
    std::vector<std::string> quoted;
    quoted.reserve(names.size());
    for (const std::string& name : names) quoted.push_back("'" + name + "'");
    return enumerated(quoted);
}

std::string bitsOf(double value) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%016llx", static_cast<unsigned long long>(std::bit_cast<std::uint64_t>(value)));
    return text;
}

nlohmann::ordered_json objectOf(const TraceDifference& difference) {
    nlohmann::ordered_json object{{"frame", difference.frame}};
    if (difference.time) object["time"] = *difference.time;
    if (!difference.vehicle.empty()) object["vehicle"] = difference.vehicle;
    object["what"] = difference.what;
    object["left"] = difference.left;
    object["right"] = difference.right;
    if (difference.numbers) {
        const auto [left, right] = *difference.numbers;
        object["leftBits"] = bitsOf(left);
        object["rightBits"] = bitsOf(right);
        object["ulps"] = ulpsBetween(left, right);
    }
    return object;
}

std::string jsonOf(const TraceComparison& result) {
    nlohmann::ordered_json object{{"equal", result.equal()}, {"framesEqual", result.framesEqual}};
    if (!result.gaugesNotCompared.empty()) object["gaugesNotCompared"] = result.gaugesNotCompared;
    for (const TraceSurplus& one : result.surplus)
        object[one.first ? "onlyFirst" : "onlySecond"].push_back({{"frame", one.frame}, {"what", one.what}});
    if (result.difference) object["difference"] = objectOf(*result.difference);
    return object.dump();
}

/// The frame, the place and both values; below them when, whose, and by how much.
std::string textOf(const TraceDifference& difference) {
    std::string text = "frame " + std::to_string(difference.frame) + ": " + difference.what;
    if (!difference.left.empty() || !difference.right.empty())
        text += ": " + (difference.left.empty() ? "nothing" : difference.left) + " against " +
                (difference.right.empty() ? "nothing" : difference.right);
    text += "\n";
    std::vector<std::string> further;
    if (difference.time) further.push_back("at " + shortText(*difference.time, 10) + " s");
    if (!difference.vehicle.empty()) further.push_back("of vehicle '" + difference.vehicle + "'");
    if (difference.numbers) {
        const auto [left, right] = *difference.numbers;
        further.push_back("bits " + bitsOf(left) + " against " + bitsOf(right));
        further.push_back(std::to_string(ulpsBetween(left, right)) + " ulp apart");
    }
    for (std::size_t i = 0; i < further.size(); ++i) text += (i == 0 ? "  " : ", ") + further[i];
    return further.empty() ? text : text + "\n";
}

std::string sentenceOf(const TraceSurplus& one) {
    return "frame " + std::to_string(one.frame) + ": only the " + (one.first ? "first" : "second") + " has " + one.what;
}

/// What only one of the two has, then the first difference of all else.
std::string textOf(const TraceComparison& result) {
    constexpr std::size_t kNamed = 10;
    std::string text;
    for (std::size_t i = 0; i < result.surplus.size() && i < kNamed; ++i) text += sentenceOf(result.surplus[i]) + "\n";
    if (result.surplus.size() > kNamed)
        text += "and " + std::to_string(result.surplus.size() - kNamed) + " more that only one of the two has\n";
    if (result.difference) return text + textOf(*result.difference);
    return text + (result.surplus.empty() ? "equal: " : "all else is equal: ") + std::to_string(result.framesEqual) +
           " frames\n";
}

int compare(const TraceOptions& options, const Console& console) {
    if (options.takes.size() != 2)
        throw CommandError("trace --compare: give two takes or traces, not " + std::to_string(options.takes.size()));
    if (!options.first.empty() || !options.last.empty() || !options.output.files.empty())
        throw CommandError(
            "trace --compare: it compares all frames and writes no file; leave out --first, --last and "
            "--output");
    const auto left = openTrace(options.takes[0], options.common.module);
    const auto right = openTrace(options.takes[1], options.common.module);
    const TraceComparison result = compareTraces(*left, *right);
    if (!result.gaugesNotCompared.empty())
        console.note("only one of the two holds gauges of " + listed(result.gaugesNotCompared) +
                     ": these were not compared");
    console.out << (options.common.json ? jsonOf(result) + "\n" : textOf(result));
    return result.equal() ? kFine : kFindings;
}

int frameOr(const std::string& text, const char* what, int otherwise, std::pair<int, int> frames) {
    if (text.empty()) return otherwise;
    const int frame = wholeOf(text, what);
    if (frame < frames.first || frame > frames.second)
        throw CommandError(std::string(what) + ": frame " + text + " is not within the recording, frames " +
                           std::to_string(frames.first) + " to " + std::to_string(frames.second));
    return frame;
}

}  // namespace

int trace(const TraceOptions& options, const Console& console) {
    if (options.compare) return compare(options, console);
    if (options.takes.size() != 1)
        throw CommandError(options.takes.empty() ? "trace: give either a take or --compare with two"
                                                 : "trace: give one take, or --compare to compare two");

    const std::string& take = options.takes.front();
    if (options.output.files.size() > 1) throw CommandError("trace: give one output");
    if (!options.output.files.empty()) checkOutputs(options.output, {".jsonl"}, {take});
    const TakeSession session = openSession(take, options.common);
    const auto frames = recordedFrames(*session.stage, take);
    const int first = frameOr(options.first, "--first", frames.first, frames);
    const int last = frameOr(options.last, "--last", frames.second, frames);
    if (first > last)
        throw CommandError("--first: frame " + std::to_string(first) + " lies behind --last, " + std::to_string(last) +
                           "; give the earlier one as --first");
    if (const auto without = vehiclesWithoutGauges(*session.stage); !without.empty())
        console.note("an older version recorded " + listed(without) +
                     " without gauges, so they are left out; 'quadrig retake' drives the take again with them");
    const TraceWriter writer(*session.stage);
    std::string text;
    for (int frame = first; frame <= last; ++frame) {
        std::string line = writer.line(frame) + "\n";
        if (options.output.files.empty())
            console.out << line;
        else
            text += line;
    }
    if (!options.output.files.empty()) stage::writeWhole(options.output.files.front(), text);
    return kFine;
}

}  // namespace ond::command
