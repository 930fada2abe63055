#include "command/FbxCameras.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <utility>

#include "command/BinaryGltf.h"

namespace ond::command {

namespace {

constexpr double kDegree = 57.29577951308232;
constexpr double kFilmWidth = 36.0;  // millimetres
constexpr double kInch = 25.4;       // millimetres
constexpr int kHorizontalAngle = 1;  // the angle is told across the picture
constexpr double kQuarterTurn = 90.0;
constexpr double kPictureWidth = 1920.0;

const std::vector<std::string> kDouble{"double", "Number", ""};
const std::vector<std::string> kEnum{"enum", "", ""};

std::int64_t identifierOf(const FbxRecord& object) {
    std::int64_t identifier = 0;
    if (!object.properties.empty() && object.properties[0].size() == 9)
        std::memcpy(&identifier, object.properties[0].data() + 1, sizeof identifier);
    return identifier;
}

FbxRecord* modelNamed(FbxRecord& objects, const std::string& name) {
    for (FbxRecord& object : objects.nested)
        if (object.name == "Model" && object.properties.size() > 1 && object.properties[1] == fbxName(name, "Model"))
            return &object;
    return nullptr;
}

FbxRecord lensOf(const FbxCamera& camera, std::int64_t identifier) {
    FbxRecord lens{
        "NodeAttribute", {fbxLong(identifier), fbxName(camera.node, "NodeAttribute"), fbxText("Camera")}, {}, true};
    const double width = kFilmWidth / kInch;
    setFbxValue(lens, "AspectWidth", kDouble, {fbxNumber(kPictureWidth)});
    setFbxValue(lens, "AspectHeight", kDouble, {fbxNumber(kPictureWidth / camera.aspect)});
    setFbxValue(lens, "FilmWidth", kDouble, {fbxNumber(width)});
    setFbxValue(lens, "FilmHeight", kDouble, {fbxNumber(width / camera.aspect)});
    setFbxValue(lens, "FilmAspectRatio", kDouble, {fbxNumber(camera.aspect)});
    setFbxValue(lens, "ApertureMode", kEnum, {fbxWhole(kHorizontalAngle)});
    setFbxValue(lens, "FieldOfView", {"FieldOfView", "", "A"}, {fbxNumber(camera.wide * kDegree)});
    setFbxValue(lens, "FocalLength", {"Number", "", "A"}, {fbxNumber(kFilmWidth / 2.0 / std::tan(camera.wide / 2.0))});
    setFbxValue(lens, "NearPlane", kDouble, {fbxNumber(camera.nearest)});
    setFbxValue(lens, "FarPlane", kDouble, {fbxNumber(camera.farthest)});
    lens.add({"TypeFlags", {fbxText("Camera")}, {}, false});
    lens.add({"GeometryVersion", {fbxWhole(124)}, {}, false});
    const auto axis = [&lens](const char* name, double x, double y) {
        lens.add({name, {fbxNumber(x), fbxNumber(y), fbxNumber(0.0)}, {}, false});
    };
    axis("Position", 0.0, 0.0);
    axis("Up", 0.0, 1.0);
    axis("LookAt", 1.0, 0.0);
    return lens;
}

FbxRecord nodeOf(const FbxCamera& camera, std::int64_t identifier) {
    FbxRecord node{
        "Model", {fbxLong(identifier), fbxName(camera.node + "_Camera", "Model"), fbxText("Camera")}, {}, true};
    node.add({"Version", {fbxWhole(232)}, {}, false});
    setFbxValue(node, "RotationActive", {"bool", "", ""}, {fbxWhole(1)});
    setFbxValue(node, "DefaultAttributeIndex", {"int", "Integer", ""}, {fbxWhole(0)});
    setFbxValue(node, "InheritType", kEnum, {fbxWhole(1)});
    setFbxValue(node, "Lcl Rotation", {"Lcl Rotation", "", "A"},
                {fbxNumber(0.0), fbxNumber(kQuarterTurn), fbxNumber(0.0)});
    return node;
}

FbxRecord connection(std::int64_t from, std::int64_t to) {
    return {"C", {fbxText("OO"), fbxLong(from), fbxLong(to)}, {}, false};
}

}  // namespace

std::vector<FbxCamera> camerasOf(const std::vector<unsigned char>& glb) {
    const BinaryGltf gltf = openBinaryGltf({glb.begin(), glb.end()}, "the take");
    std::vector<FbxCamera> cameras;
    for (const nlohmann::json& node : gltf.json->value("nodes", nlohmann::json::array())) {
        if (!node.contains("camera")) continue;
        const nlohmann::json& lens = gltf.json->at("cameras").at(node["camera"].get<std::size_t>()).at("perspective");
        FbxCamera camera;
        camera.node = node.at("name").get<std::string>();
        camera.aspect = lens.at("aspectRatio").get<double>();
        camera.wide = 2.0 * std::atan(std::tan(lens.at("yfov").get<double>() / 2.0) * camera.aspect);
        camera.nearest = lens.at("znear").get<double>();
        camera.farthest = lens.at("zfar").get<double>();
        cameras.push_back(std::move(camera));
    }
    return cameras;
}

void addFbxCameras(FbxFile& file, const std::vector<FbxCamera>& cameras) {
    FbxRecord& objects = file.at("Objects");
    FbxRecord& connections = file.at("Connections");
    std::int64_t identifier = 0;
    for (const FbxRecord& object : objects.nested) identifier = std::max(identifier, identifierOf(object));
    for (const FbxCamera& camera : cameras) {
        const FbxRecord* carrier = modelNamed(objects, camera.node);
        if (carrier == nullptr) continue;
        const std::int64_t below = identifierOf(*carrier);
        const std::int64_t lens = ++identifier;
        const std::int64_t node = ++identifier;
        objects.add(lensOf(camera, lens));
        objects.add(nodeOf(camera, node));
        connections.add(connection(node, below));
        connections.add(connection(lens, node));
    }
}

}  // namespace ond::command
