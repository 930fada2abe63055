// The drive file: what it can say, and what is said about mistakes in it.
#include "command/DriveFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "command/CommandError.h"
#include "command/Preset.h"
#include "command/TargetPath.h"

namespace ond::test {

using namespace command;
namespace {

using ::testing::HasSubstr;

constexpr const char* kWhole = R"({
  // Comments are allowed.
  "ground": [{"file": "road.glb", "link": "parent"}, {"file": "/else/where.obj", "at": [1, 2, 3], "scale": 0.01}],
  "scenery": [{"file": "../trees.glb"}],
  "fps": 29.97, "first": -5, "last": 100,
  "vehicles": [
    {"name": "red", "at": [1, 2, 3], "heading": 90, "length": 4.5, "preset": "drift",
     "parameters": {"Gravity": 0.5, "Autonomous Mode": true},
     "state": {"cCarCambGravityOn": true},
     "wheels": {"FL": {"move": [0.1, 0, -0.2], "scale": 1.5, "caster": 0}},
     "channels": {"gas": {"multiplier": 2, "deadZone": 0, "exponent": 1, "offset": 0.1}},
     "inputs": [
       {"file": "log.csv", "columns": {"time": "t", "steer": "s"}, "offset": -2, "scale": 0.5},
       {"channel": "booster", "value": 1},
       {"channel": "brake", "keys": [[0, 0], [1.5, 1]], "offset": 3}],
     "target": {"file": "line.csv", "speed": 12}},
    {"name": "blue", "at": [5, 6], "preset": "mine.json", "target": {"node": "Path"}}
  ]
})";

TEST(DriveFile, SaysEverythingOfADrive) {
    const DrivePlan plan = parseDriveFile(kWhole, "drive.json", "/shots");
    ASSERT_EQ(plan.ground.size(), 2u);
    EXPECT_EQ(plan.ground[0].file, "/shots/road.glb");
    EXPECT_EQ(plan.ground[0].link, GroundLink::parent);
    EXPECT_EQ(plan.ground[1].file, "/else/where.obj");
    EXPECT_EQ(plan.ground[1].link, GroundLink::automatic);
    EXPECT_EQ(plan.ground[1].at, util::Vector3<double>(1, 2, 3));
    EXPECT_EQ(plan.ground[1].scale, 0.01);
    ASSERT_EQ(plan.scenery.size(), 1u);
    EXPECT_EQ(plan.scenery[0].file, "/trees.glb");
    EXPECT_EQ(plan.fps, "29.97");
    EXPECT_EQ(plan.first, -5);
    EXPECT_EQ(plan.last, 100);
    ASSERT_EQ(plan.vehicles.size(), 2u);

    const VehiclePlan& red = plan.vehicles[0];
    EXPECT_EQ(red.name, "red");
    EXPECT_EQ(red.at, (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(red.heading, 90.0);
    EXPECT_EQ(red.length, 4.5);
    EXPECT_EQ(red.preset, "drift");
    EXPECT_THAT(red.parameters,
                ::testing::UnorderedElementsAre(NamedValue("Gravity", 0.5), NamedValue("Autonomous Mode", 1.0)));
    EXPECT_EQ(red.state, (std::vector<NamedValue>{{"cCarCambGravityOn", 1.0}}));
    EXPECT_EQ(red.wheels.at("FL").move, util::Vector3<double>(0.1, 0, -0.2));
    EXPECT_EQ(red.wheels.at("FL").scale, 1.5);
    EXPECT_EQ(red.wheels.at("FL").caster, 0.0);
    EXPECT_EQ(red.channels.at(0).multiplier, 2.0);
    EXPECT_EQ(red.channels.at(0).offset, 0.1);
    ASSERT_EQ(red.inputs.size(), 3u);
    EXPECT_EQ(red.inputs[0].file, "/shots/log.csv");
    EXPECT_EQ(red.inputs[0].columns.time, "t");
    EXPECT_EQ(red.inputs[0].columns.channels.at(1), "s");
    EXPECT_EQ(red.inputs[0].offset, -2.0);
    EXPECT_EQ(red.inputs[0].scale, 0.5);
    EXPECT_EQ(red.inputs[1].channel, 2);
    EXPECT_EQ(red.inputs[1].keys.front().second, 1.0);
    EXPECT_EQ(red.inputs[2].keys.back(), std::make_pair(1.5, 1.0));
    EXPECT_EQ(red.inputs[2].offset, 3.0);
    EXPECT_EQ(red.target->file, "/shots/line.csv");
    EXPECT_EQ(red.target->speed, 12.0);

    const VehiclePlan& blue = plan.vehicles[1];
    EXPECT_EQ(blue.at, (std::vector<double>{5, 6}));
    EXPECT_EQ(blue.length, 4.0);
    EXPECT_EQ(blue.preset, "/shots/mine.json");
    EXPECT_EQ(blue.target->node, "Path");
}

std::string failureOf(const std::string& text) {
    try {
        (void)parseDriveFile(text, "d.json", "");
    } catch (const CommandError& error) {
        return error.what();
    }
    return "";
}

struct Mistake {
    const char* name;
    const char* text;
    const char* complaint;
};

class DriveFileMistakes : public ::testing::TestWithParam<Mistake> {};

TEST_P(DriveFileMistakes, AreNamedWithTheirPlace) {
    EXPECT_THAT(failureOf(GetParam().text), HasSubstr(GetParam().complaint));
}

constexpr Mistake kMistakes[] = {
    {"empty", "", "d.json, line 1: this is no JSON"},
    {"cut", "{\n\"fps\": 25,\n", "d.json, line 3: this is no JSON"},
    {"list", "[]", "d.json: here must stand an object"},
    {"unknownKey", R"({"vehicels": []})", "d.json: there is no key 'vehicels'; did you mean 'vehicles'?"},
    {"strangeKey", R"({"zzz": 1})", "there is no key 'zzz'; keys are ground, scenery"},
    {"twice", R"({"fps": 25, "fps": 24})", "the key 'fps' stands twice"},
    {"vehicleKey", R"({"vehicles": [{"heding": 1}]})",
     "d.json: vehicles[0]: there is no key 'heding'; did you mean 'heading'?"},
    {"noFile", R"({"ground": [{"link": "parent"}]})", "d.json: ground[0]: the key 'file' is missing"},
    {"emptyFile", R"({"ground": [{"file": ""}]})", "the name of a file is missing"},
    {"link", R"({"ground": [{"file": "a", "link": "mother"}]})", "ground[0]: link: give \"parent\" or \"child\""},
    {"sceneryLink", R"({"scenery": [{"file": "a", "link": "child"}]})", "there is no key 'link'"},
    {"scale", R"({"ground": [{"file": "a", "scale": 0}]})", "0 is out of range; give 1e-06 to 1e+06"},
    {"first", R"({"first": 1.5})", "first: 1.5 is no whole number"},
    {"fps", R"({"fps": true})", "fps: here must stand a number"},
    {"at", R"({"vehicles": [{"at": [1]}]})", "vehicles[0]: at: here must stand 2 to 3 numbers"},
    {"atText", R"({"vehicles": [{"at": [1, "2"]}]})", "at[1]: here must stand a number"},
    {"length", R"({"vehicles": [{"length": -4}]})", "length: -4 is out of range; give 0.01 to 1000"},
    {"huge", R"({"vehicles": [{"length": 1e999}]})", "d.json"},
    {"corner", R"({"vehicles": [{"wheels": {"LF": {}}}]})", "there is no key 'LF'"},
    {"channel", R"({"vehicles": [{"channels": {"gass": {}}}]})", "no channel 'gass'; did you mean 'gas'?"},
    {"deadZone", R"({"vehicles": [{"channels": {"gas": {"deadZone": 1}}}]})", "1 is out of range; give 0 to 0.99"},
    {"input", R"({"vehicles": [{"inputs": [{"value": 1}]}]})", "give a 'file', or a 'channel'"},
    {"valueAndKeys", R"({"vehicles": [{"inputs": [{"channel": "gas", "value": 1, "keys": []}]}]})",
     "give either 'value' or 'keys'"},
    {"noKeys", R"({"vehicles": [{"inputs": [{"channel": "gas", "keys": []}]}]})", "there is no key"},
    {"keyOrder", R"({"vehicles": [{"inputs": [{"channel": "gas", "keys": [[1, 0], [1, 1]]}]}]})",
     "keys[1]: the seconds must ascend"},
    {"parameter", R"({"vehicles": [{"parameters": {"Gravity": "much"}}]})", "here must stand a number, true or false"},
    {"target", R"({"vehicles": [{"target": {}}]})", "give either 'file' or 'node'"},
    {"names", R"({"vehicles": [{"name": "a"}, {"name": "a"}]})", "there are two vehicles 'a'"},
    {"noName", R"({"vehicles": [{"name": ""}]})", "the name of the vehicle is empty"},
};

INSTANTIATE_TEST_SUITE_P(All, DriveFileMistakes, ::testing::ValuesIn(kMistakes),
                         [](const auto& one) { return std::string(one.param.name); });

TEST(DriveFile, RefusesEndlessNesting) {
    EXPECT_THAT(failureOf(std::string(100000, '[')), HasSubstr("nested too deeply"));
}

TEST(Presets, ShippedOnesAreRead) {
    std::vector<std::string> names;
    for (const ShippedPreset& shipped : shippedPresets()) {
        const Preset preset = findPreset(shipped.name);
        EXPECT_EQ(preset.name, shipped.name);
        EXPECT_FALSE(preset.description.empty());
        EXPECT_FALSE(preset.parameters.empty());
        names.push_back(preset.name);
    }
    EXPECT_THAT(names, ::testing::UnorderedElementsAre("family", "drift", "truck", "stunt"));
    EXPECT_EQ(findPreset("DRIFT").name, "drift");
}

TEST(Presets, NameTheNearest) {
    try {
        (void)findPreset("famly");
        FAIL();
    } catch (const CommandError& error) {
        EXPECT_STREQ(error.what(), "there is no preset 'famly'; did you mean 'family'?");
    }
}

TEST(TargetPath, GoesAlongItsPointsAtItsSpeed) {
    const TargetPath path = parseTargetPath("x,y,z\n0,0,0\n0,0,-20\n10,0,-20\n", "p.csv", 5.0);
    EXPECT_EQ(path.times, (std::vector<double>{0.0, 4.0, 6.0}));
    EXPECT_EQ(path.at(2.0), util::Vector3<double>(0, 0, -10));
    EXPECT_EQ(path.at(99.0), util::Vector3<double>(10, 0, -20));
    EXPECT_EQ(parseTargetPath("x_m,z_m,y_m,speed_mps\n0,0,1,2\n4,0,1,2\n", "p.csv", {}).times.back(), 2.0);
    EXPECT_EQ(parseTargetPath("x,y,z\n0,0,0\n10,0,0\n", "p.csv", {}).times.back(), 1.0);
}

TEST(TargetPath, TakesTimesAsTheyStand) {
    const TargetPath path = parseTargetPath("time,x,y,z\n1,0,0,0\n3,4,0,0\n", "p.csv", {});
    EXPECT_EQ(path.at(2.0), util::Vector3<double>(2, 0, 0));
    EXPECT_EQ(path.at(0.0), util::Vector3<double>(0, 0, 0));
    EXPECT_THROW((void)parseTargetPath("time,x,y,z\n1,0,0,0\n1,4,0,0\n", "p.csv", {}), CommandError);
    EXPECT_THROW((void)parseTargetPath("time,x,y,z\n1,0,0,0\n", "p.csv", 5.0), CommandError);
    EXPECT_THROW((void)parseTargetPath("x,z\n0,0\n", "p.csv", {}), CommandError);
}

}  // namespace
}  // namespace ond::test
