// A way that a vehicle feels, as a set of values by their names.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "command/DrivePlan.h"

namespace ond::command {

struct Preset {
    std::string name;
    std::string description;
    std::vector<NamedValue> parameters;
    std::vector<NamedValue> state;
    std::map<std::string, WheelPlan> wheels;
    std::map<int, ChannelPlan> channels;
    /// How fast falling gets faster, scene units per second squared; sets the parameter "Gravity" to suit the size of
    /// the vehicle.
    std::optional<double> fallAcceleration;
};

/// @throws CommandError for text that is no preset, naming the place
[[nodiscard]] Preset parsePreset(std::string_view text, const std::string& name);

struct ShippedPreset {
    const char* name;
    const char* text;  ///< JSON
};
/// The presets that are part of the program.
[[nodiscard]] const std::vector<ShippedPreset>& shippedPresets();

/// The JSON text of a shipped preset, by its name, or of a file, by its path with ".json".
/// @throws CommandError if there is none, naming the nearest
[[nodiscard]] std::string presetText(const std::string& nameOrPath);
[[nodiscard]] Preset findPreset(const std::string& nameOrPath);

}  // namespace ond::command
