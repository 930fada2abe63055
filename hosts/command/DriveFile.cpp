#include "command/DriveFile.h"

#include <filesystem>
#include <set>

#include "command/Channels.h"
#include "command/CommandError.h"
#include "command/CsvTable.h"
#include "command/JsonNode.h"
#include "command/Nearest.h"
#include "command/PlanReader.h"

namespace ond::command {

namespace {

/// Reads one drive file; knows the folder that its paths start from.
class DriveFileReader {
  public:
    explicit DriveFileReader(std::string folder) : m_folder(std::move(folder)) {}

    [[nodiscard]] DrivePlan plan(const JsonNode& root) const;

  private:
    [[nodiscard]] std::string path(const JsonNode& node) const;
    [[nodiscard]] GroundPlan ground(const JsonNode& node, bool linked) const;
    [[nodiscard]] VehiclePlan vehicle(const JsonNode& node) const;
    [[nodiscard]] TrackPlan track(const JsonNode& node) const;
    void logColumns(const JsonNode& node, TrackPlan& plan) const;
    [[nodiscard]] TargetPlan target(const JsonNode& node) const;

    std::string m_folder;
};

std::string DriveFileReader::path(const JsonNode& node) const {
    const std::string text = node.text();
    if (text.empty()) node.fail("the name of a file is missing");
    return (std::filesystem::path(m_folder) / text).lexically_normal().string();
}

DrivePlan DriveFileReader::plan(const JsonNode& root) const {
    root.requireKeys({"ground", "scenery", "fps", "first", "last", "vehicles"});
    DrivePlan plan;
    if (root.has("ground"))
        for (const JsonNode& node : root.at("ground").elements()) plan.ground.push_back(ground(node, true));
    if (root.has("scenery"))
        for (const JsonNode& node : root.at("scenery").elements()) plan.scenery.push_back(ground(node, false));
    if (root.has("fps")) {
        const JsonNode fps = root.at("fps");
        plan.fps = fps.isText() ? fps.text() : exactText(fps.number({1.0, 1000.0}));
    }
    if (root.has("first")) plan.first = root.at("first").whole();
    if (root.has("last")) plan.last = root.at("last").whole();
    if (!root.has("vehicles")) return plan;
    std::set<std::string> names;
    for (const JsonNode& node : root.at("vehicles").elements()) {
        plan.vehicles.push_back(vehicle(node));
        if (!names.insert(plan.vehicles.back().name).second)
            node.fail("there are two vehicles '" + plan.vehicles.back().name + "'; give each a name of its own");
    }
    return plan;
}

GroundPlan DriveFileReader::ground(const JsonNode& node, bool linked) const {
    node.requireKeys(linked ? std::vector<std::string>{"file", "link", "at", "scale", "up"}
                            : std::vector<std::string>{"file", "at", "scale", "up"});
    GroundPlan plan;
    if (!node.has("file")) node.fail("the key 'file' is missing");
    plan.file = path(node.at("file"));
    if (node.has("link")) {
        const std::string link = node.at("link").text();
        if (link != "parent" && link != "child") node.at("link").fail("give \"parent\" or \"child\"");
        plan.link = link == "parent" ? GroundLink::parent : GroundLink::child;
    }
    if (node.has("at")) {
        const std::vector<double> at = node.at("at").numbers(3, 3);
        plan.at = {at[0], at[1], at[2]};
    }
    if (node.has("scale")) plan.scale = node.at("scale").number({1e-6, 1e6});
    if (node.has("up")) {
        const std::string up = node.at("up").text();
        if (up != "y" && up != "z") node.at("up").fail("give \"y\" or \"z\"");
        plan.zUp = up == "z";
    }
    return plan;
}

VehiclePlan DriveFileReader::vehicle(const JsonNode& node) const {
    node.requireKeys(
        {"name", "at", "heading", "length", "preset", "parameters", "state", "wheels", "channels", "inputs", "target"});
    VehiclePlan plan;
    if (node.has("name")) plan.name = node.at("name").text();
    if (plan.name.empty()) node.fail("the name of the vehicle is empty");
    if (node.has("at")) plan.at = node.at("at").numbers(2, 3);
    if (node.has("heading")) plan.heading = node.at("heading").number({-36000.0, 36000.0});
    if (node.has("length")) plan.length = node.at("length").number({0.01, 1000.0});
    if (node.has("preset")) {
        plan.preset = node.at("preset").text();
        // A name stays a name; a file starts from the folder of the drive file.
        if (plan.preset.find(".json") != std::string::npos) plan.preset = path(node.at("preset"));
    }
    if (node.has("parameters")) plan.parameters = readNamedValues(node.at("parameters"));
    if (node.has("state")) plan.state = readNamedValues(node.at("state"));
    if (node.has("wheels")) plan.wheels = readWheels(node.at("wheels"));
    if (node.has("channels")) plan.channels = readChannels(node.at("channels"));
    if (node.has("inputs"))
        for (const JsonNode& input : node.at("inputs").elements()) plan.inputs.push_back(track(input));
    if (node.has("target")) plan.target = target(node.at("target"));
    return plan;
}

void DriveFileReader::logColumns(const JsonNode& node, TrackPlan& plan) const {
    node.forEach([&](const std::string& key, const JsonNode& column) {
        if (lower(key) == "time")
            plan.columns.time = column.text();
        else
            plan.columns.channels[channelOf(key, node.where())] = column.text();
    });
}

TrackPlan DriveFileReader::track(const JsonNode& node) const {
    TrackPlan plan;
    plan.where = node.where();
    if (node.has("file")) {
        node.requireKeys({"file", "columns", "offset", "scale"});
        plan.file = path(node.at("file"));
        if (node.has("columns")) logColumns(node.at("columns"), plan);
        if (node.has("scale")) plan.scale = node.at("scale").number();
    } else {
        node.requireKeys({"channel", "value", "keys", "offset", "file"});
        if (!node.has("channel")) node.fail("give a 'file', or a 'channel' with a 'value' or 'keys'");
        plan.channel = channelOf(node.at("channel").text(), node.where());
        if (node.has("value") == node.has("keys")) node.fail("give either 'value' or 'keys'");
        if (node.has("value")) plan.keys = {{0.0, node.at("value").number()}};
        if (node.has("keys"))
            for (const JsonNode& key : node.at("keys").elements()) {
                const std::vector<double> pair = key.numbers(2, 2);
                if (!plan.keys.empty() && pair[0] <= plan.keys.back().first) key.fail("the seconds must ascend");
                plan.keys.emplace_back(pair[0], pair[1]);
            }
        if (plan.keys.empty()) node.at("keys").fail("there is no key");
    }
    if (node.has("offset")) plan.offset = node.at("offset").number();
    return plan;
}

TargetPlan DriveFileReader::target(const JsonNode& node) const {
    node.requireKeys({"file", "node", "speed"});
    if (node.has("file") == node.has("node")) node.fail("give either 'file' or 'node'");
    TargetPlan plan;
    if (node.has("file")) plan.file = path(node.at("file"));
    if (node.has("node")) plan.node = node.at("node").text();
    if (node.has("speed")) plan.speed = node.at("speed").number({0.001, 10000.0});
    return plan;
}

}  // namespace

DrivePlan parseDriveFile(std::string_view text, const std::string& name, const std::string& folder) {
    const auto tree = parseJson(text, name);
    return DriveFileReader(folder).plan({*tree, name});
}

DrivePlan readDriveFile(const std::string& path) {
    return parseDriveFile(readText(path), path, std::filesystem::path(path).parent_path().string());
}

}  // namespace ond::command
