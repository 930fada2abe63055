// quadrig trace
#include <nlohmann/json.hpp>

#include "command/CommandError.h"
#include "command/Commands.h"
#include "command/Numbers.h"
#include "command/OutputFile.h"
#include "command/TakeSession.h"
#include "command/TraceLines.h"
#include "stage/WholeFile.h"

namespace ond::command {

namespace {

int compare(const TraceOptions& options, const Console& console) {
    const auto left = openTrace(options.compare[0], options.common.module);
    const auto right = openTrace(options.compare[1], options.common.module);
    TraceDifference difference;
    int frames = 0;
    const bool differ = findDifference(*left, *right, &difference, &frames);
    if (options.common.json) {
        nlohmann::ordered_json result{{"equal", !differ}, {"framesEqual", frames}};
        if (differ)
            result["difference"] = {{"frame", difference.frame},
                                    {"what", difference.what},
                                    {"left", difference.left},
                                    {"right", difference.right}};
        console.out << result.dump() << '\n';
    } else if (!differ) {
        console.out << "equal: " << frames << " frames\n";
    } else {
        console.out << "frame " << difference.frame << ": " << difference.what;
        if (!difference.left.empty() || !difference.right.empty())
            console.out << ": " << (difference.left.empty() ? "nothing" : difference.left) << " against "
                        << (difference.right.empty() ? "nothing" : difference.right);
        console.out << '\n';
    }
    return differ ? kFindings : kFine;
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
    if (options.take.empty() == options.compare.empty())
        throw CommandError("trace: give either a take or --compare with two");
    if (!options.compare.empty()) return compare(options, console);

    if (options.output.files.size() > 1) throw CommandError("trace: give one output");
    if (!options.output.files.empty()) checkOutputs(options.output, {".jsonl"}, {options.take});
    const TakeSession session = openSession(options.take, options.common);
    const auto frames = recordedFrames(*session.stage, options.take);
    const int first = frameOr(options.first, "--first", frames.first, frames);
    const int last = frameOr(options.last, "--last", frames.second, frames);
    std::string text;
    for (int frame = first; frame <= last; ++frame) {
        std::string line = traceLine(*session.stage, frame, frame == frames.second) + "\n";
        if (options.output.files.empty())
            console.out << line;
        else
            text += line;
    }
    if (!options.output.files.empty()) stage::writeWhole(options.output.files.front(), text);
    return kFine;
}

}  // namespace ond::command
