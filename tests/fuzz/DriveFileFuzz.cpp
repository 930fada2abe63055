// Any text as a drive file or a preset: it is read, or refused with one sentence; nothing else happens. What is read
// keeps the promises that the rest of the program relies on.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

#include "command/CommandError.h"
#include "command/DriveFile.h"
#include "command/Preset.h"
#include "fuzz/FuzzProperty.h"

namespace {

using namespace ond::command;
using ond::test::require;

void requireSentence(const CommandError& error) { require(!std::string(error.what()).empty(), "a refusal has a text"); }

void checkTrack(const TrackPlan& track) {
    require(track.file.empty() == (track.channel >= 0), "a track is a log or a channel");
    require(std::isfinite(track.offset) && std::isfinite(track.scale), "a track's numbers are finite");
    for (std::size_t i = 1; i < track.keys.size(); ++i)
        require(track.keys[i].first > track.keys[i - 1].first, "keys ascend");
    require(!track.file.empty() || !track.keys.empty(), "a channel has a key");
}

void checkPlan(const DrivePlan& plan) {
    std::set<std::string> names;
    for (const VehiclePlan& vehicle : plan.vehicles) {
        require(!vehicle.name.empty() && names.insert(vehicle.name).second, "names are there and differ");
        require(vehicle.at.empty() || vehicle.at.size() == 2 || vehicle.at.size() == 3, "a place is 2 or 3 numbers");
        require(vehicle.length >= 0.01 && vehicle.length <= 1000.0, "a length is within its range");
        require(std::isfinite(vehicle.heading), "a heading is finite");
        for (const TrackPlan& track : vehicle.inputs) checkTrack(track);
        for (const NamedValue& value : vehicle.parameters) require(std::isfinite(value.second), "values are finite");
        if (vehicle.target)
            require(vehicle.target->file.empty() != vehicle.target->node.empty() || vehicle.target->file.empty(),
                    "a target is a path or a node");
    }
    for (const GroundPlan& ground : plan.ground)
        require(!ground.file.empty() && ground.scale > 0.0, "ground has a file");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    try {
        checkPlan(parseDriveFile(text, "drive.json", ""));
    } catch (const CommandError& error) {
        requireSentence(error);
    }
    try {
        (void)parsePreset(text, "preset.json");
    } catch (const CommandError& error) {
        requireSentence(error);
    }
    return 0;
}
