// quadrig export
#include <cmath>

#include "command/CommandError.h"
#include "command/Commands.h"
#include "command/FbxExport.h"
#include "command/Nearest.h"
#include "command/Numbers.h"
#include "command/OutputFile.h"
#include "command/TableExport.h"
#include "command/TakeSession.h"
#include "stage/Picture.h"
#include "stage/TakeFile.h"
#include "stage/WholeFile.h"

namespace ond::command {

namespace {

constexpr const char* kCameras[] = {"FollowCam", "DriverCam", "TopViewCam", "three-quarter"};
constexpr double kSmallestPicture = 16.0;
constexpr double kLargestPicture = 8192.0;

/// What was told about the outputs, with numbers instead of text.
struct ExportPlan {
    int frame = 0;
    bool still = false;  ///< a frame was asked for
    double step = 1.0;
    stage::PictureOptions picture;
};

void readSize(const std::string& text, stage::PictureOptions& picture) {
    const auto [width, height] = splitAt(lower(text), 'x', "--size", "WIDTHxHEIGHT");
    picture.width = wholeOf(width, "--size", {kSmallestPicture, kLargestPicture});
    picture.height = wholeOf(height, "--size", {kSmallestPicture, kLargestPicture});
}

std::string cameraOf(const std::string& text) {
    std::vector<std::string> names;
    for (const char* name : kCameras) {
        if (lower(text) == lower(name)) return name == kCameras[3] ? std::string() : std::string(name);
        names.emplace_back(name);
    }
    const std::string hint = didYouMean(text, names);
    throw CommandError("--camera: there is no camera '" + text + "'" +
                       (hint.empty() ? "; give " + enumerated(names) : hint));
}

ExportPlan planOf(const ExportOptions& options) {
    ExportPlan plan;
    if (!options.step.empty()) plan.step = numberOf(options.step, "--step", {1e-3, 1000.0});
    if (!options.size.empty()) readSize(options.size, plan.picture);
    if (!options.camera.empty()) plan.picture.camera = cameraOf(options.camera);
    plan.picture.helpers = options.helpers;
    plan.still = !options.frame.empty();
    if (plan.still) plan.frame = wholeOf(options.frame, "--frame");
    return plan;
}

void write(stage::Stage& stage, const std::string& path, const ExportPlan& plan, std::pair<int, int> frames,
           stage::WholeFiles& files) {
    const std::string ending = endingOf(path);
    if (ending == ".png") {
        files.add(path, stage::renderPicture(stage.scene, plan.frame, plan.picture));
    } else if (ending == ".csv") {
        files.add(path, tableOf(stage, frames.first, frames.second, plan.step));
    } else {
        stage::TakeOptions what;
        what.withExtension = false;
        if (plan.still) what.stillAt = plan.frame;
        const std::vector<unsigned char> glb = stage::takeBytes(stage, what);
        files.add(path, ending == ".fbx" ? fbxOf(glb, stage.scene.clock.rate) : glb);
    }
}

}  // namespace

int exportTake(const ExportOptions& options, const Console& console) {
    ExportPlan plan = planOf(options);
    if (options.output.files.empty()) throw CommandError("say what to write with -o");
    checkOutputs(options.output, {".glb", ".fbx", ".csv", ".png"}, {options.take});
    const TakeSession session = openSession(options.take, options.common);
    stage::Stage& stage = *session.stage;
    plan.picture.vehicle = stage.vehicles[static_cast<std::size_t>(vehicleOf(stage, options.vehicle))]->name;
    const int now = stage.scene.clock.now;
    const std::pair<int, int> frames = stage.recorded().value_or(std::make_pair(now, now));
    if (!plan.still) plan.frame = frames.second;
    if (plan.frame < frames.first || plan.frame > frames.second)
        throw CommandError("--frame: " + std::to_string(plan.frame) + " is not within frames " +
                           std::to_string(frames.first) + " to " + std::to_string(frames.second));
    stage::WholeFiles files;
    for (const std::string& path : options.output.files) write(stage, path, plan, frames, files);
    files.finish();
    for (const std::string& path : options.output.files)
        if (!console.quiet) console.out << path << '\n';
    return kFine;
}

}  // namespace ond::command
