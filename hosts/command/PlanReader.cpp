#include "command/PlanReader.h"

#include "command/Channels.h"
#include "command/Nearest.h"

namespace ond::command {

std::vector<NamedValue> readNamedValues(const JsonNode& node) {
    std::vector<NamedValue> values;
    node.forEach(
        [&](const std::string& key, const JsonNode& value) { values.emplace_back(key, value.numberOrFlag()); });
    return values;
}

std::map<std::string, WheelPlan> readWheels(const JsonNode& node) {
    std::map<std::string, WheelPlan> wheels;
    node.requireKeys({"FL", "FR", "BL", "BR"});
    node.forEach([&](const std::string& corner, const JsonNode& wheel) {
        wheel.requireKeys({"move", "scale", "caster"});
        WheelPlan plan;
        if (wheel.has("move")) {
            const std::vector<double> move = wheel.at("move").numbers(3, 3);
            plan.move = util::Vector3<double>(move[0], move[1], move[2]);
        }
        if (wheel.has("scale")) plan.scale = wheel.at("scale").number({0.01, 100.0});
        if (wheel.has("caster")) plan.caster = wheel.at("caster").number({-80.0, 80.0});
        wheels[corner] = plan;
    });
    return wheels;
}

std::map<int, ChannelPlan> readChannels(const JsonNode& node) {
    std::map<int, ChannelPlan> channels;
    node.forEach([&](const std::string& name, const JsonNode& channel) {
        channel.requireKeys({"multiplier", "deadZone", "exponent", "offset"});
        ChannelPlan plan;
        if (channel.has("multiplier")) plan.multiplier = channel.at("multiplier").number();
        if (channel.has("deadZone")) plan.deadZone = channel.at("deadZone").number({0.0, 0.99});
        if (channel.has("exponent")) plan.exponent = channel.at("exponent").number({0.01, 100.0});
        if (channel.has("offset")) plan.offset = channel.at("offset").number();
        channels[channelOf(name, node.where())] = plan;
    });
    return channels;
}

}  // namespace ond::command
