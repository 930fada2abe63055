// quadrig drive
#include <chrono>
#include <optional>

#include "command/CarTuning.h"
#include "command/CommandError.h"
#include "command/Commands.h"
#include "command/DriveFile.h"
#include "command/DriveSetup.h"
#include "command/InputPlan.h"
#include "command/NearbyFiles.h"
#include "command/Nearest.h"
#include "command/Numbers.h"
#include "command/OutputFile.h"
#include "command/ProgressBar.h"
#include "command/Report.h"
#include "command/TakeRoom.h"
#include "command/TakeSession.h"
#include "stage/TakeFile.h"

namespace ond::command {

namespace {

VehiclePlan& chosenVehicle(DrivePlan& plan, const std::string& name, bool fromFile) {
    if (!fromFile) {
        plan.vehicles.emplace_back();
        if (!name.empty()) plan.vehicles.back().name = name;
        return plan.vehicles.back();
    }
    if (plan.vehicles.empty()) throw CommandError("the drive file has no vehicle; give it one under 'vehicles'");
    if (name.empty()) return plan.vehicles.front();
    std::vector<std::string> names;
    for (VehiclePlan& vehicle : plan.vehicles) {
        if (vehicle.name == name) return vehicle;
        names.push_back(vehicle.name);
    }
    const std::string hint = didYouMean(name, names);
    throw CommandError("the drive file has no vehicle '" + name + "'" +
                       (hint.empty() ? "; it has " + enumerated(names) : hint));
}

void overrideTarget(const std::string& text, VehiclePlan& vehicle) {
    vehicle.target.emplace();
    if (text.compare(0, 5, "node:") == 0)
        vehicle.target->node = text.substr(5);
    else
        vehicle.target->file = text;
}

void overrideVehicle(const DriveOptions& options, VehiclePlan& vehicle) {
    if (!options.at.empty()) {
        vehicle.at = numbersOf(options.at, "--at");
        if (vehicle.at.size() != 2 && vehicle.at.size() != 3)
            throw CommandError("--at: give X,Z or X,Y,Z, not " + std::to_string(vehicle.at.size()) + " numbers");
    }
    if (!options.heading.empty()) vehicle.heading = numberOf(options.heading, "--heading", {-36000.0, 36000.0});
    if (!options.length.empty()) vehicle.length = numberOf(options.length, "--length", {0.01, 1000.0});
    if (!options.preset.empty()) vehicle.preset = options.preset;
    for (const std::string& text : options.parameters) vehicle.parameters.push_back(parseNamedValue(text, "--set"));
    for (const std::string& text : options.state) vehicle.state.push_back(parseNamedValue(text, "--state"));
    for (TrackPlan& track : planInput(options.input)) vehicle.inputs.push_back(std::move(track));
    if (!options.target.empty()) overrideTarget(options.target, vehicle);
}

void replaceFiles(const std::vector<std::string>& files, std::vector<GroundPlan>& plans) {
    if (files.empty()) return;
    plans.clear();
    for (const std::string& file : files) {
        plans.emplace_back();
        plans.back().file = file;
    }
}

void overrideUp(const std::string& up, DrivePlan& plan) {
    if (up.empty()) return;
    if (lower(up) != "y" && lower(up) != "z") throw CommandError("--up: give y or z, not '" + up + "'");
    if (plan.ground.empty()) throw CommandError("--up tells about ground; give some with --ground");
    for (GroundPlan& ground : plan.ground) ground.zUp = lower(up) == "z";
}

/// The drive file, if there is one, with what the command line says instead.
DrivePlan planOf(const DriveOptions& options) {
    DrivePlan plan;
    if (!options.file.empty()) plan = readDriveFile(options.file);
    overrideVehicle(options, chosenVehicle(plan, options.vehicle, !options.file.empty()));
    replaceFiles(options.ground, plan.ground);
    replaceFiles(options.scenery, plan.scenery);
    overrideUp(options.up, plan);
    if (!options.fps.empty()) plan.fps = options.fps;
    if (!options.first.empty()) plan.first = wholeOf(options.first, "--first");
    if (!options.last.empty()) plan.last = wholeOf(options.last, "--last");
    return plan;
}

}  // namespace

int drive(const DriveOptions& options, const Console& console) {
    const DrivePlan plan = planOf(options);
    std::vector<std::string> inputs = filesOf(plan);
    if (!options.file.empty()) inputs.push_back(options.file);
    const std::string output = onlyOutput(options.output, ".glb", inputs);
    const auto module = loadModule(options.common.module);
    DriveSetup setup = setUpDrive(plan, *module);
    for (const std::string& note : setup.notes) console.note(note);

    stage::Stage& stage = *setup.stage;
    requireRoom(stage, setup.first, setup.last);
    for (std::size_t i = 0; i < setup.tracks.size(); ++i)
        feedAxes(stage, static_cast<int>(i), setup.tracks[i], setup.first);
    const auto started = std::chrono::steady_clock::now();
    {
        ProgressBar bar(console, "driving", setup.first, setup.last);
        stage.progress = [&bar](int frame) { bar.show(frame); };
        stage.run(setup.first, setup.last);
        stage.progress = nullptr;
    }
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - started;
    restAxes(stage);
    stage::saveTake(stage, output);
    noteMessages(stage, console);

    std::vector<Summary> summaries;
    const int last = stage.recorded() ? stage.recorded()->second : setup.first;
    for (std::size_t i = 0; i < stage.vehicles.size(); ++i) {
        summaries.push_back(summarise(stage, static_cast<int>(i), setup.first, last));
        summaries.back().wallSeconds = wall.count();
    }
    return report(stage, summaries, output, options.common.json, console);
}

}  // namespace ond::command
