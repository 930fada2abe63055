// quadrig info
#include <algorithm>
#include <nlohmann/json.hpp>

#include "command/BinaryGltf.h"
#include "command/BlockInfo.h"
#include "command/CommandError.h"
#include "command/Commands.h"
#include "command/CsvTable.h"
#include "command/Numbers.h"
#include "command/OutputFile.h"
#include "stage/GroundFile.h"
#include "stage/StageError.h"
#include "stage/TakeContents.h"
#include "stage/TakeFormat.h"

namespace ond::command {

using nlohmann::json;
using nlohmann::ordered_json;

namespace {

constexpr std::size_t kNamedNodes = 20;

/// Files are described twice: as an object, and as the text that the functions return. What is wrong with a file is a
/// sentence in `damage`.
using Damage = std::vector<std::string>;

std::string blobOf(const BinaryGltf& gltf, const json& index) {
    const json& view = gltf.json->at("bufferViews").at(index.get<std::size_t>());
    const auto offset = view.value("byteOffset", std::size_t{0});
    const auto length = view.at("byteLength").get<std::size_t>();
    if (offset > gltf.bytes.size() || length > gltf.bytes.size() - offset)
        throw CommandError("a part of the take lies outside of its bytes");
    return gltf.bytes.substr(offset, length);
}

ordered_json describeVehicle(const BinaryGltf& gltf, const json& vehicle) {
    ordered_json one{{"name", vehicle.at("name")}, {"armed", vehicle.value("armed", true)}};
    one["block"] = nullptr;
    if (vehicle.contains("block") && !vehicle["block"].is_null())
        one["block"] = describeBlock(blobOf(gltf, vehicle["block"]));
    one["rows"] = vehicle.value("rows", json::object());
    one["channels"] = vehicle.value("channels", json::array());
    if (vehicle.contains("curves")) {
        const json& curves = vehicle["curves"];
        one["curves"] = {
            {"first", curves.at("first")}, {"count", curves.at("count")}, {"columns", curves.at("columns").size()}};
        one["curves"]["gauges"] = curves.contains("gauges") ? curves["gauges"].at("names").size() : 0U;
    }
    return one;
}

/// @param curves of describeVehicle()
std::string curvesText(const ordered_json& curves) {
    const bool gauges = curves["gauges"] != 0;
    return curves["count"].dump() + " rows of " + curves["columns"].dump() + " curves" +
           (gauges ? " and " + curves["gauges"].dump() + " gauges" : ", no gauges");
}

std::string describeTake(const BinaryGltf& gltf, const json& take, std::size_t bytes, ordered_json& object) {
    const json& frames = take.at("frames");
    const json& rate = take.at("frameRate");
    object = {{"kind", "take"},
              {"bytes", bytes},
              {"version", take.at("version")},
              {"frameRate", rate},
              {"frames", frames},
              {"plugin", take.value("plugin", json::object())},
              {"elements", take.at("elements").size()},
              {"vehicles", ordered_json::array()},
              {"messages", take.value("messages", json::array())}};
    for (const json& vehicle : take.at("vehicles")) object["vehicles"].push_back(describeVehicle(gltf, vehicle));

    const double perSecond = rate.at(0).get<double>() / rate.at(1).get<double>();
    const double count = frames.at(1).get<double>() - frames.at(0).get<double>();
    std::string text = "take, version " + take.at("version").dump() + ", " + std::to_string(bytes) +
                       " bytes\n  frames " + frames.at(0).dump() + " to " + frames.at(1).dump() + " at " +
                       shortText(perSecond) + " a second, " + shortText(count / perSecond) + " s\n  " +
                       std::to_string(take.at("elements").size()) + " elements\n";
    for (const ordered_json& vehicle : object["vehicles"]) {
        text += "  vehicle '" + vehicle["name"].get<std::string>() + "'" +
                (vehicle["armed"].get<bool>() ? "" : ", not armed") + "\n";
        if (!vehicle["block"].is_null()) text += "    " + blockLine(vehicle["block"]);
        if (vehicle.contains("curves")) text += "    " + curvesText(vehicle["curves"]) + "\n";
    }
    for (const ordered_json& message : object["messages"])
        text += "  frame " + message.at("frame").dump() + ": " + message.at("caption").get<std::string>() + ": " +
                message.at("text").get<std::string>() + "\n";
    return text;
}

/// What keeps a take from being opened; empty if nothing does.
std::string damageOfTake(const std::string& file, const std::string& path) {
    try {
        (void)stage::readTake({file.begin(), file.end()}, path);
        return {};
    } catch (const stage::StageError& error) {
        return error.what();
    }
}

void grow(util::Vector3<double>& low, util::Vector3<double>& high, const util::Vector3<double>& p, bool first) {
    if (first) low = high = p;
    low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
}

std::string describeMesh(const std::string& path, std::size_t bytes, ordered_json& object) {
    const stage::GroundScene scene = stage::readGround(path);
    ordered_json nodes = ordered_json::array();
    util::Vector3<double> low{0, 0, 0};
    util::Vector3<double> high{0, 0, 0};
    bool first = true;
    std::vector<util::Matrix4> worlds;
    std::string list;
    for (const stage::GroundNode& node : scene.nodes) {
        worlds.push_back(node.parent < 0 ? node.local : worlds[static_cast<std::size_t>(node.parent)] * node.local);
        const int triangles = node.mesh == nullptr ? 0 : node.mesh->getNumFaces();
        nodes.push_back(
            {{"name", node.name}, {"parent", node.parent}, {"triangles", triangles}, {"keys", node.keys.size()}});
        if (nodes.size() <= kNamedNodes)
            list += "  node '" + node.name + "', " + std::to_string(triangles) + " triangles" +
                    (node.keys.empty() ? "" : ", " + std::to_string(node.keys.size()) + " keys") + "\n";
        if (node.mesh == nullptr) continue;
        for (const auto& vertex : node.mesh->vertices) {
            grow(low, high, util::Transform(worlds.back(), vertex), first);
            first = false;
        }
    }
    if (nodes.size() > kNamedNodes) list += "  and " + std::to_string(nodes.size() - kNamedNodes) + " more nodes\n";
    object = {{"kind", "mesh"},
              {"bytes", bytes},
              {"nodes", nodes},
              {"triangles", scene.triangles},
              {"low", {low.x, low.y, low.z}},
              {"high", {high.x, high.y, high.z}},
              {"warnings", scene.warnings}};
    std::string text = "mesh, " + std::to_string(bytes) + " bytes, " + std::to_string(scene.triangles) +
                       " triangles\n  x " + shortText(low.x) + " to " + shortText(high.x) + ", y " + shortText(low.y) +
                       " to " + shortText(high.y) + ", z " + shortText(low.z) + " to " + shortText(high.z) + "\n" +
                       list;
    for (const std::string& warning : scene.warnings) text += "  note: " + warning + "\n";
    return text;
}

std::string describe(const std::string& path, ordered_json& object, Damage& damage) {
    const std::string file = readText(path);
    if (isSavedBlock(file)) {
        object = describeBlock(file);
        if (const std::string wrong = damageOf(object); !wrong.empty())
            damage.push_back("'" + path + "' is a damaged saved block: " + wrong);
        object["kind"] = "saved block";
        return blockText(object);
    }
    if (isBinaryGltf(file)) {
        const BinaryGltf gltf = openBinaryGltf(file, path);
        if (gltf.json->contains("extensions") && (*gltf.json)["extensions"].contains(stage::kTakeExtension)) {
            std::string wrong = damageOfTake(file, path);
            std::string text = "take, damaged\n";
            try {
                text = describeTake(gltf, (*gltf.json)["extensions"][stage::kTakeExtension], file.size(), object);
            } catch (const std::exception&) {
                if (wrong.empty()) wrong = "'" + path + "' is a damaged take: a part that tells about it is missing";
                object = {{"kind", "take"}, {"bytes", file.size()}};
            }
            if (!wrong.empty()) damage.push_back(wrong);
            object["damaged"] = !wrong.empty();
            return text;
        }
    }
    const std::vector<std::string> meshes{".glb", ".gltf", ".obj", ".ply", ".stl", ".fbx"};
    if (std::find(meshes.begin(), meshes.end(), endingOf(path)) == meshes.end())
        throw CommandError(path + " is no take, no mesh file and no saved block");
    return describeMesh(path, file.size(), object);
}

}  // namespace

int info(const InfoOptions& options, const Console& console) {
    ordered_json all = ordered_json::array();
    Damage damage;
    for (const std::string& path : options.files) {
        ordered_json object{{"file", path}};
        ordered_json described;
        const std::string text = describe(path, described, damage);
        if (!options.common.json) console.out << path << ": " << text;
        object.update(described);
        all.push_back(std::move(object));
    }
    // Names in damaged files may be no text.
    if (options.common.json)
        console.out << (all.size() == 1 ? all[0] : all).dump(2, ' ', false, ordered_json::error_handler_t::replace)
                    << '\n';
    for (const std::string& sentence : damage) console.complain(sentence);
    return damage.empty() ? kFine : kFindings;
}

}  // namespace ond::command
