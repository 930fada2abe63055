// Sets what a vehicle is by the names of its values: dialog rows, saved state, channels, presets.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "command/DrivePlan.h"
#include "command/Preset.h"
#include "stage/Stage.h"

namespace ond::command {

/// "label=value" with on, off, yes, no, true and false for check boxes.
[[nodiscard]] NamedValue parseNamedValue(const std::string& text, const std::string& what);

/// The row that the label names; capitals do not count.
/// @throws CommandError if there is none, naming the nearest; for buttons and for rows that only show something
[[nodiscard]] const stage::DialogItem& findRow(const stage::Vehicle& vehicle, const std::string& label);

/// Edits the rows as a user does.
/// @throws CommandError for labels that are not there and values out of range, with nothing set
void setParameters(stage::Vehicle& vehicle, const std::vector<NamedValue>& values);
/// Sets values of the saved state by their keys. References to the stage's vehicles are dead afterwards.
/// @throws CommandError for keys that are not there, naming the nearest, and for values that their kind cannot hold
void setSavedState(stage::Stage& stage, int vehicle, const std::vector<NamedValue>& values);
void tuneChannels(stage::Vehicle& vehicle, const std::map<int, ChannelPlan>& channels);

/// All of a preset. References to the stage's vehicles are dead afterwards.
void applyPreset(stage::Stage& stage, int vehicle, const Preset& preset);

/// How fast the vehicle falls freely, scene units per second squared; nothing if it has no weight in flight.
[[nodiscard]] std::optional<double> fallAcceleration(stage::Stage& stage, int vehicle);
/// The value of "Gravity" at which it falls that fast.
[[nodiscard]] double gravityFor(const stage::Vehicle& vehicle, double acceleration);

/// What of the vehicle is not as it was made: a preset's JSON text.
[[nodiscard]] std::string extractPreset(stage::Stage& stage, int vehicle, const std::string& name);

}  // namespace ond::command
