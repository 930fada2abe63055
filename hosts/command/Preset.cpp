#include "command/Preset.h"

#include "command/CommandError.h"
#include "command/CsvTable.h"
#include "command/JsonNode.h"
#include "command/Nearest.h"
#include "command/PlanReader.h"

namespace ond::command {

Preset parsePreset(std::string_view text, const std::string& name) {
    const auto tree = parseJson(text, name);
    const JsonNode root(*tree, name);
    root.requireKeys({"name", "description", "parameters", "state", "wheels", "channels", "fallAcceleration"});
    Preset preset;
    if (root.has("name")) preset.name = root.at("name").text();
    if (root.has("description")) preset.description = root.at("description").text();
    if (root.has("parameters")) preset.parameters = readNamedValues(root.at("parameters"));
    if (root.has("state")) preset.state = readNamedValues(root.at("state"));
    if (root.has("wheels")) preset.wheels = readWheels(root.at("wheels"));
    if (root.has("channels")) preset.channels = readChannels(root.at("channels"));
    if (root.has("fallAcceleration")) preset.fallAcceleration = root.at("fallAcceleration").number({0.0, 1000.0});
    return preset;
}

std::string presetText(const std::string& nameOrPath) {
    std::vector<std::string> names;
    for (const ShippedPreset& shipped : shippedPresets()) {
        if (lower(nameOrPath) == shipped.name) return shipped.text;
        names.emplace_back(shipped.name);
    }
    if (lower(nameOrPath).find(".json") != std::string::npos) return readText(nameOrPath);
    const std::string hint = didYouMean(nameOrPath, names);
    throw CommandError(
        "there is no preset '" + nameOrPath + "'" +
        (hint.empty() ? "; give " + enumerated(names) + ", or a file whose name ends with .json" : hint));
}

Preset findPreset(const std::string& nameOrPath) { return parsePreset(presetText(nameOrPath), nameOrPath); }

}  // namespace ond::command
