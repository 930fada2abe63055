// What is said about a drive: speed on the ground, leaving it, falling, never touching it.
#include "CommandRun.h"
#include "whole/Grounds.h"

namespace ond::test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::Not;

class DriveSummary : public CommandRun {
  protected:
    /// Drives to `take.glb`, once for the summary of the vehicle and once for its text.
    json drive(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "drive");
        arguments.insert(arguments.end(), {"--force", "-o", path("take.glb")});
        text = done(arguments).out;
        arguments.emplace_back("--json");
        const Answer answer = done(arguments);
        notes = answer.err;
        return json::parse(answer.out).at("vehicles").at(0);
    }

    std::string text, notes;
};

TEST_F(DriveSummary, AFallFromTheEdgeIsToldAndIsNoSpeedOfTheCar) {
    // So long that the speed of the fall passes what is plausible on the ground, and at 4 frames per second so steep
    // that it changes by much in each.
    const json summary = drive({"--ground", putMesh("small.obj", flatGround(0.0, 60.0)), "--preset", "stunt", "--set",
                                "Gravity=0.5", "--hold", "gas=1", "--fps", "4", "--last", "60"});
    const auto lines = trace(path("take.glb"));
    ASSERT_FALSE(summary.at("falls").is_null()) << summary;
    const int frame = summary.at("falls").at("frame").get<int>();
    const auto& channels = [&](int at) { return lines[static_cast<std::size_t>(at)].at("channels").at("car"); };
    EXPECT_GT(frame, 2);
    for (const char* wheel : {"WheelMesh_FL", "WheelMesh_FR", "WheelMesh_BL", "WheelMesh_BR"})
        EXPECT_EQ(channels(frame).at(wheel), 1.0);
    EXPECT_LT(placeIn(lines.back(), "car_CarBodyMesh").y, -1000.0);
    EXPECT_NEAR(summary.at("falls").at("place").at(2).get<double>(),
                placeIn(lines[static_cast<std::size_t>(frame)], "car_CarBodyMesh").z, 1e-9);
    EXPECT_TRUE(summary.at("implausibleSteps").empty()) << summary;
    // Full gas is 8 car lengths per second.
    EXPECT_NEAR(summary.at("topSpeed").get<double>(), 32.0, 3.0);
    EXPECT_LT(summary.at("distance").get<double>(), 150.0);
    EXPECT_THAT(text, HasSubstr("car: falls from frame " + std::to_string(frame) + " at "));
    EXPECT_THAT(text, HasSubstr(" m before the fall, top speed on the ground "));
    EXPECT_THAT(text, Not(HasSubstr("implausible")));
}

TEST_F(DriveSummary, AFlightThatEndsOnTheGroundIsNoFall) {
    const json summary = drive({"--ground", putMesh("flat.obj", flatGround()), "--preset", "stunt", "--at", "0,6,0",
                                "--hold", "gas=0", "--last", "60"});
    EXPECT_GT(summary.at("framesWithAllWheelsInAir").get<int>(), 5);
    EXPECT_TRUE(summary.at("falls").is_null());
    EXPECT_EQ(summary.at("neverTouched"), false);
    EXPECT_THAT(notes, HasSubstr("note: 'car' starts in the air, 6 above the ground"));
}

TEST_F(DriveSummary, RisingFromTheEdgeIsTold) {
    // Without weight in flight a car that leaves the edge goes on upwards.
    const json summary =
        drive({"--ground", putMesh("small.obj", flatGround(3.0, 12.0)), "--hold", "gas=1", "--last", "150"});
    const double highest = summary.at("leftGround").at("highest").get<double>();
    double seen = 0.0;
    for (const json& line : trace(path("take.glb"))) seen = std::max(seen, placeIn(line, "car_CarBodyMesh").y - 3.0);
    ASSERT_GT(seen, 10.0);
    EXPECT_NEAR(highest, seen, 1e-9);
    EXPECT_TRUE(summary.at("falls").is_null());
    EXPECT_THAT(text, HasSubstr(" m above the ground\n"));
}

TEST_F(DriveSummary, NeverTouchingTheGroundIsToldAndNotedAtTheStart) {
    const json summary = drive({"--ground", putMesh("flat.obj", flatGround()), "--at", "10,500,10", "--last", "20"});
    EXPECT_EQ(summary.at("neverTouched"), true);
    EXPECT_TRUE(summary.at("topSpeed").is_null());
    EXPECT_THAT(text, HasSubstr("never touched the ground"));
    EXPECT_THAT(text, HasSubstr("never on the ground"));
    EXPECT_THAT(text, Not(HasSubstr("stayed")));
    EXPECT_THAT(notes, HasSubstr("note: 'car' starts in the air, 500 above the ground"));
    drive({"--ground", path("flat.obj"), "--at", "10,-5,10", "--last", "5"});
    EXPECT_THAT(notes, HasSubstr("note: there is no ground below 'car' at the start"));
    drive({"--ground", path("flat.obj"), "--at", "10,0,10", "--last", "5"});
    EXPECT_EQ(notes, "");
}

TEST_F(DriveSummary, TheTopSpeedIsNotThatOfAnImplausibleStep) {
    const auto cliff =
        heightGrid(-20.3, 20, 5, -100, 20, 400, [](double, double z) { return z > -10.0 ? 0.0 : -60.0; });
    const json summary = drive({"--ground", putMesh("cliff.obj", cliff), "--hold", "gas=1", "--last", "120"});
    double fastest = 0.0;
    for (const json& jump : summary.at("implausibleSteps")) fastest = std::max(fastest, jump.at("speed").get<double>());
    ASSERT_GT(fastest, 100.0);
    // Full gas is 3 car lengths per second; the car swings while it settles on the wheels far below it.
    EXPECT_LT(summary.at("topSpeed").get<double>(), 112.0 + 12.0);
    EXPECT_THAT(text, HasSubstr("(implausible steps left out)"));
}

TEST_F(DriveSummary, NumbersBeyondAllMeasureAreShort) {
    drive({"--state", "dMinGroundDistance=1e30", "--last", "5"});
    std::size_t digits = 0;
    for (const char c : text) {
        digits = std::isdigit(static_cast<unsigned char>(c)) != 0 ? digits + 1 : 0;
        ASSERT_LT(digits, 18u) << text;
    }
    EXPECT_THAT(text, HasSubstr("e+"));
}

TEST_F(DriveSummary, ThePlaneThatTakesThePlaceOfGroundHasAnEdge) {
    const json summary = drive({"--at", "0,-3990", "--hold", "gas=1", "--last", "50"});
    EXPECT_EQ(summary.at("hasGround"), false);
    ASSERT_FALSE(summary.at("leftGround").is_null());
    // It ends 1000 car lengths from the origin; the front wheels get there first.
    const auto lines = trace(path("take.glb"));
    const auto frame = summary.at("leftGround").at("frame").get<std::size_t>();
    EXPECT_LT(placeIn(lines[frame], "car_WheelMesh_FL").z, -4000.0);
    EXPECT_GT(placeIn(lines[frame - 1], "car_WheelMesh_FL").z, -4000.0);
    EXPECT_THAT(text, HasSubstr("driven on the plane y = 0, and left it at frame"));
    drive({"--at", "5000,0", "--last", "5"});
    EXPECT_THAT(notes, HasSubstr("note: there is no ground below 'car' at the start"));
}

}  // namespace
}  // namespace ond::test
