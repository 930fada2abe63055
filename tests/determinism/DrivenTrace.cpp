#include "determinism/DrivenTrace.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "command/DriveFile.h"
#include "command/DriveSetup.h"
#include "command/InputPlan.h"
#include "command/TraceLines.h"
#include "stage/TakeFile.h"

namespace ond::test {

namespace {

namespace fs = std::filesystem;

using stage::Stage;

const stage::Module& vehicleModule() {
    static const stage::Module module(VEHICLE_MODULE_PATH);
    return module;
}

command::DriveSetup driven(const std::string& name) {
    const command::DrivePlan plan = command::readDriveFile(drivePath(name));
    command::DriveSetup setup = command::setUpDrive(plan, vehicleModule());
    for (std::size_t i = 0; i < setup.tracks.size(); ++i)
        command::feedAxes(*setup.stage, static_cast<int>(i), setup.tracks[i], setup.first);
    setup.stage->run(setup.first, setup.last);
    command::restAxes(*setup.stage);
    return setup;
}

/// Through a file, which is gone behind it.
std::unique_ptr<Stage> savedAndOpened(Stage& stage, const std::string& name) {
    const std::string take = keptTrace(name) + ".glb";
    stage::saveTake(stage, take);
    std::unique_ptr<Stage> opened = stage::openTake(take, vehicleModule());
    fs::remove(take);
    return opened;
}

void resume(Stage& stage) {
    command::InputOptions options;
    options.held = {resumption().hold};
    options.keyed = {resumption().key};
    const command::InputTracks tracks(command::planInput(options));
    command::feedAxes(stage, 0, tracks, resumption().at);
    stage.run(resumption().at, resumption().last);
    command::restAxes(stage);
}

}  // namespace

std::vector<std::string> driveNames() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(QUADRIG_DRIVES))
        if (entry.path().extension() == ".json") names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string drivePath(const std::string& name) { return (fs::path(QUADRIG_DRIVES) / (name + ".json")).string(); }

bool isResumed(const std::string& name) { return name.compare(0, 7, "resumed") == 0; }

const Resumption& resumption() {
    static const Resumption onward{60, 130, "gas=-0.6", "steering=0:0,0.8:0.7,2:-0.2"};
    return onward;
}

std::string traceOf(const std::string& name) {
    command::DriveSetup setup = driven(name);
    std::unique_ptr<Stage> stage = std::move(setup.stage);
    if (isResumed(name)) {
        stage = savedAndOpened(*stage, name);
        resume(*stage);
    }
    std::string text;
    const command::TraceWriter writer(*stage);
    const auto recorded = stage->recorded();
    if (!recorded) return text;
    for (int frame = recorded->first; frame <= recorded->second; ++frame) text += writer.line(frame) + "\n";
    return text;
}

std::string keptTrace(const std::string& name) {
    fs::create_directories(QUADRIG_TRACE_OUT);
    return (fs::path(QUADRIG_TRACE_OUT) / (name + ".jsonl")).string();
}

void keepTrace(const std::string& name, const std::string& text) {
    std::ofstream(keptTrace(name), std::ios::binary) << text;
}

}  // namespace ond::test
