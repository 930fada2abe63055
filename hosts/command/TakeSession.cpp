#include "command/TakeSession.h"

#include <algorithm>
#include <filesystem>

#include "command/CommandError.h"
#include "command/NearbyFiles.h"
#include "command/Nearest.h"
#include "stage/TakeFile.h"

namespace ond::command {

TakeSession openSession(const std::string& take, const CommonOptions& common) {
    std::error_code error;
    const auto status = std::filesystem::status(take, error);
    if (!std::filesystem::exists(status))
        throw CommandError("the take '" + take + "' is not there; check the name and the folder");
    if (std::filesystem::is_directory(status)) throw CommandError("'" + take + "' is a folder; give a take");
    TakeSession session;
    session.module = loadModule(common.module);
    session.stage = stage::openTake(take, *session.module);
    session.stage->logsCalls = false;
    for (const auto& vehicle : session.stage->vehicles) {
        vehicle->log.enabled = false;
        vehicle->log.clear();
    }
    if (session.stage->vehicles.empty()) throw CommandError("the take '" + take + "' holds no vehicle");
    return session;
}

int vehicleOf(const stage::Stage& stage, const std::string& name) {
    if (name.empty()) return 0;
    const int place = stage.vehicleNamed(name);
    if (place >= 0) return place;
    std::vector<std::string> names;
    for (const auto& vehicle : stage.vehicles) names.push_back(vehicle->name);
    const std::string hint = didYouMean(name, names);
    throw CommandError("there is no vehicle '" + name + "'" +
                       (hint.empty() ? "; there is " + enumerated(names) : hint));
}

std::pair<int, int> recordedFrames(const stage::Stage& stage, const std::string& take) {
    const auto range = stage.recorded();
    if (!range) throw CommandError("the take '" + take + "' has no recording");
    return *range;
}

void noteMessages(const stage::Stage& stage, const Console& console) {
    for (const stage::StageMessage& message : stage.messages) {
        std::string text = message.text;
        std::replace(text.begin(), text.end(), '\n', ' ');
        std::string note = "frame " + std::to_string(message.frame);
        note += ", " + stage.vehicles[static_cast<std::size_t>(message.vehicle)]->name;
        note += ": " + message.caption;
        note += ": " + text;
        if (message.count > 1) note += " (" + std::to_string(message.count) + " times)";
        console.note(note);
    }
}

}  // namespace ond::command
