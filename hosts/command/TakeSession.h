// A take that a command works on.
#pragma once

#include <memory>
#include <string>

#include "command/Console.h"
#include "command/Options.h"
#include "stage/Stage.h"

namespace ond::command {

struct TakeSession {
    std::unique_ptr<const stage::Module> module;
    std::unique_ptr<stage::Stage> stage;
};

/// @throws CommandError if the take is not there or holds no vehicle; stage::StageError if it cannot be opened
[[nodiscard]] TakeSession openSession(const std::string& take, const CommonOptions& common);

/// The place of the vehicle of that name, or of the first for an empty name.
/// @throws CommandError if there is none, naming the nearest
[[nodiscard]] int vehicleOf(const stage::Stage& stage, const std::string& name);

/// First and last recorded frame.
/// @throws CommandError for a take without a recording
[[nodiscard]] std::pair<int, int> recordedFrames(const stage::Stage& stage, const std::string& take);

/// The messages of the vehicles as notes.
void noteMessages(const stage::Stage& stage, const Console& console);

}  // namespace ond::command
