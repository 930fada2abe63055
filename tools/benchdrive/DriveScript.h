// A drive written down: what the nine input devices do from which second on.
#pragma once

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

#include "car/CarState.h"

namespace ond::benchdrive {

/// Devices from `time` seconds until the next step.
struct DriveStep {
    double time = 0.0;
    std::array<double, ovs::addon::kNumInputs> raw{};
};

/// Says in one sentence what is wrong with a script and where.
struct ScriptError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads a CSV with the header `time,gas,steer,booster,abs,skidding,skidbrake,gravel,burnout,force` (columns in any
/// order, missing ones at rest), times growing. Lines that are empty or begin with '#' are skipped.
/// Throws ScriptError.
[[nodiscard]] std::vector<DriveStep> readDriveScript(const std::string& path);

}  // namespace ond::benchdrive
