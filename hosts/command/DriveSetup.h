// Makes the scene of a drive: ground, vehicles, what they feel like and what they follow.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "command/DrivePlan.h"
#include "command/InputTracks.h"
#include "stage/Stage.h"

namespace ond::command {

/// A stage that is ready to be driven.
struct DriveSetup {
    std::unique_ptr<stage::Stage> stage;
    std::vector<InputTracks> tracks;  ///< one per vehicle
    int first = 0;
    int last = 0;
    std::vector<std::string> notes;
};

/// @throws CommandError, stage::StageError or stage::GroundError for a plan that cannot be driven
[[nodiscard]] DriveSetup setUpDrive(const DrivePlan& plan, const stage::Module& module);

/// All files that the plan reads.
[[nodiscard]] std::vector<std::string> filesOf(const DrivePlan& plan);

}  // namespace ond::command
