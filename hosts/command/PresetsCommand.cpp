// quadrig presets
#include <nlohmann/json.hpp>

#include "command/CarTuning.h"
#include "command/CommandError.h"
#include "command/Commands.h"
#include "command/OutputFile.h"
#include "command/TakeSession.h"
#include "stage/TakeFile.h"
#include "stage/WholeFile.h"

namespace ond::command {

namespace {

int list(const PresetsOptions& options, const Console& console) {
    nlohmann::ordered_json all = nlohmann::ordered_json::array();
    for (const ShippedPreset& shipped : shippedPresets()) {
        const Preset preset = parsePreset(shipped.text, shipped.name);
        all.push_back({{"name", preset.name}, {"description", preset.description}});
        if (!options.common.json)
            console.out << preset.name << std::string(preset.name.size() < 8 ? 8 - preset.name.size() : 1, ' ')
                        << preset.description << '\n';
    }
    if (options.common.json) console.out << all.dump(2) << '\n';
    return kFine;
}

int extract(const PresetsOptions& options, const Console& console) {
    if (options.output.files.size() > 1) throw CommandError("presets: give one output");
    if (!options.output.files.empty()) checkOutputs(options.output, {".json"}, {options.take});
    const TakeSession session = openSession(options.take, options.common);
    const int vehicle = vehicleOf(*session.stage, options.vehicle);
    const std::string name =
        options.name.empty() ? session.stage->vehicles[static_cast<std::size_t>(vehicle)]->name : options.name;
    const std::string text = extractPreset(*session.stage, vehicle, name);
    if (options.output.files.empty())
        console.out << text;
    else
        stage::writeWhole(options.output.files.front(), text);
    return kFine;
}

int apply(const PresetsOptions& options, const Console& console) {
    const std::string output = onlyOutput(options.output, ".glb", {options.take, options.preset});
    const Preset preset = findPreset(options.preset);
    const TakeSession session = openSession(options.take, options.common);
    applyPreset(*session.stage, vehicleOf(*session.stage, options.vehicle), preset);
    stage::saveTake(*session.stage, output);
    if (!console.quiet) console.out << output << '\n';
    return kFine;
}

}  // namespace

int presets(const PresetsOptions& options, const Console& console) {
    if (options.action == "list") return list(options, console);
    if (options.action == "extract") return extract(options, console);
    if (options.action == "apply") return apply(options, console);
    const std::string text = presetText(options.preset);
    (void)parsePreset(text, options.preset);
    console.out << text;
    return kFine;
}

}  // namespace ond::command
