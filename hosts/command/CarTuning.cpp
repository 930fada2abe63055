#include "command/CarTuning.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "command/CarPlacing.h"
#include "command/Channels.h"
#include "command/CommandError.h"
#include "command/Nearest.h"
#include "command/Numbers.h"
#include "ond/util/DataChunk.h"

namespace ond::command {

using stage::DialogItem;
using stage::Stage;
using stage::Vehicle;

namespace {

/// Its first change behind a start is swallowed by the vehicle, and a run reads the field itself.
constexpr const char* kTurnBase = "Turn Base (Back Wheel Relative)";
/// Takes the ground that is there, so it belongs to a scene and not to a way to feel.
constexpr const char* kStoreGround = "Store Ground Mesh Data";

/// The flag of the saved state that gives a vehicle weight in flight.
constexpr const char* kWeight = "cCarCambGravityOn";
/// Free fall of a vehicle of length L at "Gravity" 1 is 900 * L / 4 units per second squared.
constexpr double kFallPerLength = 900.0 / 4.0;

std::string rangeOf(const DialogItem& item) { return Range{item.min, item.max}.text(); }

void checkValue(const DialogItem& item, double value) {
    if (item.kind == DialogItem::Kind::checkBox) {
        if (value != 0.0 && value != 1.0)
            throw CommandError("'" + item.label + "' is a check box; give on or off, not " + shortText(value));
        return;
    }
    if (value < item.min || value > item.max)
        throw CommandError("'" + item.label + "': " + shortText(value) + " is out of range; give " + rangeOf(item));
    if (item.kind == DialogItem::Kind::integer && value != std::floor(value))
        throw CommandError("'" + item.label + "': " + shortText(value) + " is no whole number");
}

std::vector<std::string> numberKeys(const util::DataChunk& root) {
    std::vector<std::string> keys;
    for (int i = 0; i < root.getNumChildren(); ++i) {
        const int size = root.getChild(i).getSize();
        if (size == 1 || size == 4 || size == 8) keys.push_back(root.getChild(i).getName());
    }
    return keys;
}

void checkStateValue(const util::DataChunk& root, const NamedValue& entry) {
    const std::vector<std::string> keys = numberKeys(root);
    if (!root.hasChild(entry.first)) {
        throw CommandError("the saved state has no key '" + entry.first + "'" + didYouMean(entry.first, keys));
    }
    const int size = root.getChild(entry.first).getSize();
    if (std::find(keys.begin(), keys.end(), entry.first) == keys.end())
        throw CommandError("the key '" + entry.first + "' of the saved state does not hold a single number");
    if (size == 1 && entry.second != 0.0 && entry.second != 1.0)
        throw CommandError("the key '" + entry.first + "' of the saved state is a flag; give on or off");
    if (size == 4 && entry.second != std::floor(entry.second))
        throw CommandError("the key '" + entry.first + "' of the saved state takes whole numbers");
}

util::DataChunk savedState(Stage& stage, int vehicle) {
    util::DataChunk root;
    const auto state = stage.vehicles.at(static_cast<std::size_t>(vehicle))->state();
    root.deserialize(state.block.data(), state.block.size());
    return root;
}

double stateValue(const util::DataChunk& leaf) {
    if (leaf.getSize() == 1) return *static_cast<const unsigned char*>(leaf.getData()) != 0 ? 1.0 : 0.0;
    if (leaf.getSize() == 4) {
        std::int32_t whole = 0;
        std::copy_n(static_cast<const unsigned char*>(leaf.getData()), sizeof whole,
                    reinterpret_cast<unsigned char*>(&whole));
        return whole;
    }
    double value = 0.0;
    std::copy_n(static_cast<const unsigned char*>(leaf.getData()), sizeof value,
                reinterpret_cast<unsigned char*>(&value));
    return value;
}

/// Settings of the saved state without a row in the dialog that tell how a vehicle feels.
constexpr const char* kFeelKeys[] = {kWeight,
                                     "fRelMaxBumperLen",
                                     "dScaleRelMaxJumpVelocity",
                                     "dLandingSkiddingFactor",
                                     "dHorizontalRestoringFactor",
                                     "dMinGroundDistance",
                                     "dMaximumSpringChangeVelocityRel"};

nlohmann::ordered_json changedChannels(const Vehicle& vehicle) {
    nlohmann::ordered_json channels = nlohmann::ordered_json::object();
    for (const auto& property : vehicle.properties) {
        nlohmann::ordered_json changed = nlohmann::ordered_json::object();
        const stage::ChannelSettings usual;
        if (property->multiplier != usual.multiplier) changed["multiplier"] = property->multiplier;
        if (property->deadZone != usual.deadZone) changed["deadZone"] = property->deadZone;
        if (property->exponent != usual.exponent) changed["exponent"] = property->exponent;
        if (property->offset != usual.offset) changed["offset"] = property->offset;
        if (!changed.empty()) channels[property->name] = changed;
    }
    return channels;
}

}  // namespace

NamedValue parseNamedValue(const std::string& text, const std::string& what) {
    // Labels hold no equals sign, so the last one is the separator.
    const std::size_t at = text.rfind('=');
    if (at == std::string::npos || at == 0)
        throw CommandError(what + ": '" + text + "' does not have the form NAME=VALUE");
    const std::string name = trimmed(text.substr(0, at));
    const std::string value = lower(trimmed(text.substr(at + 1)));
    if (value == "on" || value == "yes" || value == "true") return {name, 1.0};
    if (value == "off" || value == "no" || value == "false") return {name, 0.0};
    return {name, numberOf(value, what + " " + name)};
}

const DialogItem& findRow(const Vehicle& vehicle, const std::string& label) {
    std::vector<std::string> labels;
    for (const DialogItem& item : vehicle.dialog.items) {
        const bool settable = item.kind != DialogItem::Kind::button && !item.isGauge();
        if (settable) labels.push_back(item.label);
        if (lower(item.label) != lower(label)) continue;
        if (item.kind == DialogItem::Kind::button)
            throw CommandError("'" + item.label + "' is a button and has no value");
        if (!settable) throw CommandError("'" + item.label + "' only shows a value; it cannot be set");
        return item;
    }
    throw CommandError("there is no parameter '" + label + "'" + didYouMean(label, labels));
}

void setParameters(Vehicle& vehicle, const std::vector<NamedValue>& values) {
    for (const auto& [label, value] : values) checkValue(findRow(vehicle, label), value);
    for (const auto& [label, value] : values) {
        const DialogItem& item = findRow(vehicle, label);
        if (item.label == kTurnBase)
            vehicle.put(item.label, value);
        else
            vehicle.edit(item.label, value);
    }
}

void setSavedState(Stage& stage, int vehicle, const std::vector<NamedValue>& values) {
    if (values.empty()) return;
    const util::DataChunk root = savedState(stage, vehicle);
    for (const NamedValue& entry : values) checkStateValue(root, entry);
    // Of a key that is there twice the later value counts.
    std::map<std::string, double> last;
    for (const auto& [key, value] : values) last[key] = value;
    stage.setState(vehicle, last);
}

void tuneChannels(Vehicle& vehicle, const std::map<int, ChannelPlan>& channels) {
    for (const auto& [channel, plan] : channels) {
        unidevice::Property& property = vehicle.property(kChannels[static_cast<std::size_t>(channel)].name);
        if (plan.multiplier) property.multiplier = *plan.multiplier;
        if (plan.deadZone) property.deadZone = *plan.deadZone;
        if (plan.exponent) property.exponent = *plan.exponent;
        if (plan.offset) property.offset = *plan.offset;
    }
}

void applyPreset(Stage& stage, int index, const Preset& preset) {
    Vehicle& vehicle = *stage.vehicles.at(static_cast<std::size_t>(index));
    placeWheels(vehicle, preset.wheels);
    tuneChannels(vehicle, preset.channels);
    std::vector<NamedValue> parameters = preset.parameters;
    if (preset.fallAcceleration) parameters.emplace_back("Gravity", gravityFor(vehicle, *preset.fallAcceleration));
    setParameters(vehicle, parameters);
    setSavedState(stage, index, preset.state);
}

std::optional<double> fallAcceleration(Stage& stage, int index) {
    const util::DataChunk root = savedState(stage, index);
    if (!root.hasChild(kWeight) || stateValue(root.getChild(kWeight)) == 0.0) return std::nullopt;
    const Vehicle& vehicle = *stage.vehicles.at(static_cast<std::size_t>(index));
    return kFallPerLength * bodyLength(vehicle) * vehicle.value("Gravity");
}

double gravityFor(const Vehicle& vehicle, double acceleration) {
    return acceleration / (kFallPerLength * bodyLength(vehicle));
}

std::string extractPreset(Stage& stage, int index, const std::string& name) {
    const Vehicle& vehicle = *stage.vehicles.at(static_cast<std::size_t>(index));
    nlohmann::ordered_json preset;
    preset["name"] = name;
    nlohmann::ordered_json parameters = nlohmann::ordered_json::object();
    for (const DialogItem& item : vehicle.dialog.items) {
        if (item.kind == DialogItem::Kind::button || item.isGauge() || item.label == kStoreGround) continue;
        // What a vehicle declares is what it has without a preset, so only changes tell how it feels.
        if (item.value() == item.initial) continue;
        if (item.kind == DialogItem::Kind::checkBox)
            parameters[item.label] = item.value() != 0.0;
        else
            parameters[item.label] = item.value();
    }
    preset["parameters"] = parameters;
    const util::DataChunk root = savedState(stage, index);
    Stage fresh(stage.module);
    fresh.addVehicle(vehicle.name);
    const util::DataChunk usual = savedState(fresh, 0);
    nlohmann::ordered_json state = nlohmann::ordered_json::object();
    for (const char* key : kFeelKeys) {
        if (!root.hasChild(key) || stateValue(root.getChild(key)) == stateValue(usual.getChild(key))) continue;
        if (root.getChild(key).getSize() == 1)
            state[key] = stateValue(root.getChild(key)) != 0.0;
        else
            state[key] = stateValue(root.getChild(key));
    }
    if (!state.empty()) preset["state"] = state;
    const nlohmann::ordered_json channels = changedChannels(vehicle);
    if (!channels.empty()) preset["channels"] = channels;
    return preset.dump(2) + "\n";
}

}  // namespace ond::command
