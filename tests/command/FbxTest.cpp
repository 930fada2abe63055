// FBX files that takes become: their records, times and cameras.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <utility>

#include "CommandRun.h"
#include "command/CommandError.h"
#include "command/FbxRecords.h"
#include "command/FbxTiming.h"
#include "stage/FrameRate.h"
#include "stage/GroundFile.h"

namespace ond::test {
namespace {

using command::FbxFile;
using command::FbxRecord;
using stage::GroundNode;

class Fbx : public CommandRun {
  protected:
    /// A short run at the rate, exported.
    [[nodiscard]] std::string exported(const std::string& rate) const {
        done({"drive", "--hold", "gas=1", "--hold", "steering=0.5", "--fps", rate, "--last", "6", "--force", "-q", "-o",
              path("take.glb")});
        done({"export", path("take.glb"), "--force", "-q", "-o", path("take.fbx")});
        return path("take.fbx");
    }
};

template <typename Value>
Value valueOf(const std::string& property) {
    Value value{};
    if (property.size() == 1 + sizeof value) std::memcpy(&value, property.data() + 1, sizeof value);
    return value;
}

/// The values of a typed value of the record, without its name and types.
std::vector<std::string> valuesOf(FbxRecord& record, const std::string& name) {
    if (FbxRecord* list = record.find("Properties70"))
        for (const FbxRecord& value : list->nested)
            if (command::textOf(value.properties.front()) == name)
                return {value.properties.begin() + 4, value.properties.end()};
    ADD_FAILURE() << "there is no " << name;
    return {"", "", ""};
}

const GroundNode* nodeNamed(const stage::GroundScene& scene, const std::string& name) {
    for (const GroundNode& node : scene.nodes)
        if (node.name == name) return &node;
    return nullptr;
}

TEST_F(Fbx, TellsTheRateAndTheSpanOfTheTake) {
    const std::vector<std::pair<std::string, int>> modes{{"24", 11}, {"25", 10}, {"29.97", 9},
                                                         {"30", 6},  {"60", 3},  {"17.5", 14}};
    for (const auto& [text, mode] : modes) {
        FbxFile file = command::readFbx(read(exported(text)));
        FbxRecord& settings = file.at("GlobalSettings");
        const stage::FrameRate rate = stage::FrameRate::parse(text);
        EXPECT_EQ(valueOf<std::int32_t>(valuesOf(settings, "TimeMode")[0]), mode) << text;
        EXPECT_EQ(valueOf<double>(valuesOf(settings, "CustomFrameRate")[0]), mode == 14 ? 17.5 : -1.0) << text;
        EXPECT_EQ(valueOf<std::int64_t>(valuesOf(settings, "TimeSpanStart")[0]), 0) << text;
        EXPECT_EQ(valueOf<std::int64_t>(valuesOf(settings, "TimeSpanStop")[0]),
                  std::llround(rate.time(6) * command::kFbxTicks))
            << text;
    }
}

TEST_F(Fbx, KeysStandAtWholeFrames) {
    FbxFile file = command::readFbx(read(exported("30")));
    int curves = 0;
    for (FbxRecord& object : file.at("Objects").nested) {
        const FbxRecord* times = object.name == "AnimationCurve" ? object.find("KeyTime") : nullptr;
        // Behind the letter stand count, packing and size.
        if (times == nullptr || times->properties[0].size() != 13 + 7 * sizeof(std::int64_t)) continue;
        ++curves;
        for (std::size_t i = 0; i < 7; ++i) {
            std::int64_t time = 0;
            std::memcpy(&time, times->properties[0].data() + 13 + i * sizeof time, sizeof time);
            EXPECT_EQ(time, static_cast<std::int64_t>(i) * 1539538600);
        }
    }
    EXPECT_GT(curves, 10);
}

TEST_F(Fbx, OtherReadersFindTheMotion) {
    const stage::GroundScene scene = stage::readGround(exported("30"));
    const auto lines = trace(path("take.glb"));
    const GroundNode* body = nodeNamed(scene, "car_CarBodyMesh");
    ASSERT_NE(body, nullptr);
    ASSERT_EQ(body->keys.size(), lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_NEAR(body->keys[i].time, static_cast<double>(i) / 30.0, 1e-6);
        EXPECT_NEAR(body->keys[i].local[14], placeIn(lines[i], "car_CarBodyMesh").z, 1e-4);
    }
    EXPECT_LT(body->keys.back().local[14], body->keys.front().local[14]) << "the car drives along -Z";
}

TEST_F(Fbx, HoldsTheCamerasOfTheRig) {
    const std::string name = exported("25");
    FbxFile file = command::readFbx(read(name));
    std::map<std::string, double> angles;
    for (FbxRecord& object : file.at("Objects").nested) {
        if (object.name != "NodeAttribute" || command::textOf(object.properties[2]) != "Camera") continue;
        const double angle = valueOf<double>(valuesOf(object, "FieldOfView")[0]);
        angles[command::textOf(object.properties[1]).substr(0, 13)] = angle;
        // 36 mm of film are seen at that angle.
        EXPECT_NEAR(valueOf<double>(valuesOf(object, "FocalLength")[0]),
                    18.0 / std::tan(angle / 2.0 / 57.29577951308232), 1e-9);
        // The camera hangs at a node of its own.
        int nodes = 0;
        for (const FbxRecord& link : file.at("Connections").nested)
            nodes += link.properties[1] == object.properties[0] ? 1 : 0;
        EXPECT_EQ(nodes, 1);
    }
    ASSERT_EQ(angles.size(), 3u);
    EXPECT_NEAR(angles["car_FollowCam"], 45.0, 1e-5);
    EXPECT_NEAR(angles["car_DriverCam"], 90.0, 1e-5);
    EXPECT_NEAR(angles["car_TopViewCa"], 80.0, 1e-5);

    // +X of the camera's node is where the rig's camera looks, -Z of the node above.
    const stage::GroundScene scene = stage::readGround(name);
    const GroundNode* camera = nodeNamed(scene, "car_FollowCam_Camera");
    ASSERT_NE(camera, nullptr);
    EXPECT_EQ(scene.nodes[static_cast<std::size_t>(camera->parent)].name, "car_FollowCam");
    EXPECT_NEAR(util::Length(camera->local.row(0) - util::Vector3<double>{0, 0, -1}), 0.0, 1e-6);
    EXPECT_NEAR(util::Length(camera->local.row(1) - util::Vector3<double>{0, 1, 0}), 0.0, 1e-6);
}

/// A file of that version with nested records.
FbxFile smallFile(std::uint32_t version) {
    FbxFile file;
    file.head = std::string("Kaydara FBX Binary  \0\x1a\0", 23);
    for (unsigned shift = 0; shift < 32; shift += 8) file.head += static_cast<char>((version >> shift) & 255U);
    FbxRecord inner{"Inner", {command::fbxWhole(7), command::fbxText("seven")}, {}, false};
    FbxRecord empty{"Empty", {command::fbxNumber(7.0)}, {}, true};
    file.records.push_back({"Outer", {command::fbxLong(8)}, {inner, empty}, true});
    file.records.push_back({"Last", {}, {}, false});
    file.mark = std::string(16, 'm');
    file.end = std::string(16, 'e');
    return file;
}

TEST_F(Fbx, RecordsComeBackAsTheyWereWritten) {
    for (const std::uint32_t version : {7400U, 7500U}) {
        const std::string bytes = command::writeFbx(smallFile(version));
        FbxFile file = command::readFbx(bytes);
        EXPECT_EQ(command::writeFbx(file), bytes);
        ASSERT_EQ(file.records.size(), 2u);
        ASSERT_NE(file.at("Outer").find("Inner"), nullptr);
        EXPECT_EQ(command::textOf(file.at("Outer").find("Inner")->properties.at(1)), "seven");
        EXPECT_TRUE(file.at("Outer").find("Empty")->hasList);
        EXPECT_EQ(file.end, std::string(16, 'e'));
    }
    EXPECT_THROW((void)command::readFbx("; FBX 7.4.0 project file, as text"), command::CommandError);
    std::string damaged = command::writeFbx(smallFile(7500));
    damaged[27 + 16] = 99;  // more bytes of properties than the record has room for
    EXPECT_THROW((void)command::readFbx(damaged), command::CommandError);
}

}  // namespace
}  // namespace ond::test
