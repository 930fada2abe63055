// Whole drives through the program.
#include "CommandRun.h"
#include "whole/Grounds.h"

namespace ond::test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using util::Vector3;

class Drives : public CommandRun {
  protected:
    /// Drives to `take.glb` and gives the summary of its first vehicle.
    json drive(std::vector<std::string> arguments, const std::string& take = "take.glb") {
        arguments.insert(arguments.begin(), "drive");
        arguments.insert(arguments.end(), {"--json", "-o", path(take)});
        const Answer answer = done(arguments);
        return json::parse(answer.out).at("vehicles").at(0);
    }
};

TEST_F(Drives, AParkedCarStaysWhereItStands) {
    drive({"--ground", putMesh("flat.obj", flatGround(2.0)), "--at", "3,-4", "--heading", "30", "--last", "20", "--set",
           "Gravel Shake Offset Value=0"});
    const auto lines = trace(path("take.glb"));
    ASSERT_EQ(lines.size(), 21u);
    const Vector3<double> start = placeIn(lines.front(), "car_CarBodyMesh");
    EXPECT_NEAR(start.x, 3.0, 1e-9);
    EXPECT_NEAR(start.z, -4.0, 1e-9);
    EXPECT_GT(start.y, 2.0);
    for (const json& line : lines)
        EXPECT_LT(util::Length(placeIn(line, "car_CarBodyMesh") - start), 1e-3) << line.at("frame");
}

TEST_F(Drives, HeadingTurnsToTheRightFromMinusZ) {
    for (const auto& [heading, x, z] : {std::tuple{"0", 0.0, -1.0}, {"90", 1.0, 0.0}, {"-90", -1.0, 0.0}}) {
        drive({"--heading", heading, "--hold", "gas=1", "--last", "50", "--force"});
        const auto lines = trace(path("take.glb"));
        const Vector3<double> way =
            placeIn(lines.back(), "car_CarBodyMesh") - placeIn(lines.front(), "car_CarBodyMesh");
        EXPECT_GT(util::Length(way), 1.0);
        const Vector3<double> direction = way / util::Length(way);
        EXPECT_NEAR(direction.x, x, 1e-3);
        EXPECT_NEAR(direction.z, z, 1e-3);
    }
}

TEST_F(Drives, LengthIsThatOfTheBody) {
    drive({"--length", "7", "--last", "3"});
    const auto lines = trace(path("take.glb"));
    const auto& body = lines.front().at("elements").at("car_CarBodyMesh");
    EXPECT_NEAR(std::hypot(body[8].get<double>(), body[9].get<double>(), body[10].get<double>()), 7.0, 1e-12);
    // Rig and wheels grow along: 0.26 of 3.522.
    const auto& wheel = lines.front().at("elements").at("car_WheelMesh_BL");
    EXPECT_NEAR(std::hypot(wheel[4].get<double>(), wheel[5].get<double>(), wheel[6].get<double>()), 0.26 * 7 / 3.522,
                1e-9);
}

TEST_F(Drives, StandsOnASlopeWithAllWheels) {
    drive({"--ground", putMesh("slope.obj", slopedGround(12)), "--at", "1,2", "--heading", "40", "--last", "2", "--set",
           "Gravel Shake Offset Value=0"});
    const auto lines = trace(path("take.glb"));
    const double rise = std::tan(12 / 57.29577951308232);
    const double cosine = std::cos(12 / 57.29577951308232);
    for (const char* corner : {"FL", "FR", "BL", "BR"}) {
        const auto& wheel = lines.front().at("elements").at(std::string("car_WheelMesh_") + corner);
        const double radius = std::hypot(wheel[4].get<double>(), wheel[5].get<double>(), wheel[6].get<double>());
        const Vector3<double> centre = placeIn(lines.front(), std::string("car_WheelMesh_") + corner);
        const double above = (centre.y + rise * centre.z) * cosine;
        EXPECT_NEAR(above, radius * 0.95, 1e-6) << corner;
    }
}

TEST_F(Drives, ALogDecidesHowLong) {
    const json summary = drive({"--input", put("log.csv", "time,steer,gas,brake\n0,0,0,0\n0.5,0.1,1,0\n2.01,0,1,0\n")});
    EXPECT_EQ(summary.at("last"), 50);
    EXPECT_EQ(summary.at("seconds"), 2.0);
    EXPECT_GT(summary.at("distance").get<double>(), 0.5);
    EXPECT_EQ(summary.at("hasGround"), false);
    const auto lines = trace(path("take.glb"));
    EXPECT_EQ(lines[25].at("inputs").at("car").at("Gas Pedal (Forw/Backw)"), 1.0);
    EXPECT_NEAR(lines[5].at("inputs").at("car").at("Gas Pedal (Forw/Backw)").get<double>(), 0.4, 1e-12);
}

TEST_F(Drives, TracksLieOverEachOther) {
    drive({"--input", put("log.csv", "time,steer,gas\n0,0.5,1\n1,0.5,1\n"), "--hold", "steering=-1", "--key",
           "gas=0:0,0.4:1"});
    const auto lines = trace(path("take.glb"));
    const json& inputs = lines[5].at("inputs").at("car");
    EXPECT_EQ(inputs.at("Steering Wheel (Right/Left)"), -1.0);
    EXPECT_NEAR(inputs.at("Gas Pedal (Forw/Backw)").get<double>(), 0.5, 1e-12);
}

TEST_F(Drives, TheCommandLineOverridesTheDriveFile) {
    putMesh("flat.obj", flatGround());
    const std::string file = put("drive.json", R"({"ground": [{"file": "flat.obj"}], "fps": 24, "last": 10,
        "vehicles": [{"name": "red", "at": [5, 5], "parameters": {"Mass Multiplier": 3},
                      "inputs": [{"channel": "gas", "value": 1}]}]})");
    drive({file});
    const auto asWritten = trace(path("take.glb"));
    EXPECT_EQ(asWritten.size(), 11u);
    EXPECT_NEAR(placeIn(asWritten.front(), "red_CarBodyMesh").x, 5.0, 1e-9);
    EXPECT_EQ(asWritten[1].at("time"), 1.0 / 24);
    drive({file, "--at", "-3,2", "--last", "4", "--fps", "50", "--hold", "gas=-1"}, "other.glb");
    const auto overridden = trace(path("other.glb"));
    EXPECT_EQ(overridden.size(), 5u);
    EXPECT_NEAR(placeIn(overridden.front(), "red_CarBodyMesh").x, -3.0, 1e-9);
    EXPECT_EQ(overridden[1].at("time"), 1.0 / 50);
    EXPECT_EQ(overridden[1].at("inputs").at("red").at("Gas Pedal (Forw/Backw)"), -1.0);
}

TEST_F(Drives, SameDriveTwiceGivesTheSameBytes) {
    const std::string ground = putMesh("wavy.obj", wavyGround());
    const std::vector<std::string> arguments{"--ground",           ground,     "--hold", "gas=0.6", "--key",
                                             "steering=0:0,2:0.6", "--preset", "drift"};
    drive(arguments, "one.glb");
    drive(arguments, "two.glb");
    EXPECT_FALSE(read(path("one.glb")).empty());
    EXPECT_EQ(read(path("one.glb")), read(path("two.glb")));
}

class FrameRates : public CommandRun, public ::testing::WithParamInterface<std::pair<const char*, double>> {};

TEST_P(FrameRates, SecondsAndFramesAgreeThroughATake) {
    const auto& [fps, exact] = GetParam();
    done({"drive", "--fps", fps, "--key", "gas=0:0,4:1", "-q", "-o", path("take.glb")});
    const auto lines = trace(path("take.glb"));
    EXPECT_EQ(lines.size(), static_cast<std::size_t>(std::floor(4.0 * exact + 1e-6)) + 1);
    for (const json& line : lines) {
        const double time = line.at("time").get<double>();
        EXPECT_EQ(std::lround(time * exact), line.at("frame").get<int>());
        EXPECT_NEAR(line.at("inputs").at("car").at("Gas Pedal (Forw/Backw)").get<double>(), time / 4.0, 1e-12);
    }
    // Taken up from a frame, the times of the frames stay what they are.
    done({"resume", path("take.glb"), "--at", "40", "--hold", "gas=1", "--last", "60", "-q", "-o", path("again.glb")});
    const auto again = trace(path("again.glb"));
    ASSERT_EQ(again.size(), 61u);
    for (std::size_t i = 0; i < again.size(); ++i) EXPECT_EQ(again[i].at("time"), lines[i].at("time"));
}

INSTANTIATE_TEST_SUITE_P(All, FrameRates,
                         ::testing::Values(std::pair{"24", 24.0}, std::pair{"25", 25.0},
                                           std::pair{"29.97", 30000.0 / 1001.0}, std::pair{"30", 30.0},
                                           std::pair{"60", 60.0}),
                         [](const auto& one) { return "fps" + std::to_string(one.index); });

TEST_F(Drives, LeavingTheGroundIsTold) {
    const json summary =
        drive({"--ground", putMesh("small.obj", flatGround(0.0, 12.0)), "--hold", "gas=1", "--last", "150"});
    ASSERT_FALSE(summary.at("leftGround").is_null());
    const int frame = summary.at("leftGround").at("frame").get<int>();
    const auto lines = trace(path("take.glb"));
    // The ground ends at z = -12.23; the front wheels get there first.
    EXPECT_LE(placeIn(lines[static_cast<std::size_t>(frame)], "car_WheelMesh_FL").z, -12.23);
    EXPECT_GT(placeIn(lines[static_cast<std::size_t>(frame - 1)], "car_WheelMesh_FL").z, -12.23);
    EXPECT_GT(placeIn(lines[static_cast<std::size_t>(frame)], "car_CarBodyMesh").z, -12.23);
    EXPECT_GT(summary.at("framesWithWheelInAir").get<int>(), 0);
    EXPECT_TRUE(summary.at("implausibleSteps").empty());
    const Answer text =
        done({"drive", "--ground", path("small.obj"), "--hold", "gas=1", "--last", "150", "-o", path("text.glb")});
    EXPECT_THAT(text.out, HasSubstr("left the ground at frame " + std::to_string(frame)));
}

TEST_F(Drives, StayingOnTheGroundIsTold) {
    const json summary = drive({"--ground", putMesh("flat.obj", flatGround()), "--hold", "gas=0.5", "--last", "30"});
    EXPECT_TRUE(summary.at("leftGround").is_null());
    EXPECT_EQ(summary.at("framesWithWheelInAir"), 0);
    EXPECT_EQ(summary.at("hasGround"), true);
}

TEST_F(Drives, FarGroundBelowAPlateauIsAJumpThatIsNamed) {
    // Without gravity in flight the wheels are on the ground however far it is.
    const auto cliff =
        heightGrid(-20.3, 20, 5, -100, 20, 400, [](double, double z) { return z > -10.0 ? 0.0 : -60.0; });
    const json summary = drive({"--ground", putMesh("cliff.obj", cliff), "--hold", "gas=1", "--last", "120"});
    EXPECT_FALSE(summary.at("implausibleSteps").empty());
}

TEST_F(Drives, ABrokenRunKeepsWhatCameBefore) {
    const Answer answer = run(
        {"drive", "--hold", "gas=1", "--set", "Mass Multiplier=0", "--last", "50", "--json", "-o", path("take.glb")});
    EXPECT_EQ(answer.code, 1);
    EXPECT_THAT(answer.err, HasSubstr("became a number that is not finite"));
    EXPECT_THAT(answer.err, HasSubstr("'Mass Multiplier'"));
    EXPECT_FALSE(json::parse(answer.out).at("breakdown").is_null());
    EXPECT_TRUE(exists(path("take.glb")));
    EXPECT_EQ(run({"info", path("take.glb")}).code, 0);
}

TEST_F(Drives, ADivergingRunIsSavedUpToWhereItsNumbersFit) {
    const Answer answer = run({"drive", "--set", "Skidding Maximum=50", "--hold", "skidding=1", "--hold", "gas=0.8",
                               "--hold", "steering=0.3", "--last", "250", "--json", "-o", path("take.glb")});
    EXPECT_EQ(answer.code, 1) << answer.err;
    const json broken = json::parse(answer.out).at("breakdown");
    ASSERT_FALSE(broken.is_null());
    EXPECT_EQ(trace(path("take.glb")).size(), broken.at("frame").get<std::size_t>());
}

TEST_F(Drives, MoreFramesThanATakeHoldsAreRefusedBeforeTheyAreDriven) {
    const Answer answer = run({"drive", "--last", "900000000", "-o", path("take.glb")});
    EXPECT_EQ(answer.code, 2);
    EXPECT_THAT(answer.err, HasSubstr("frames 0 to 900000000 are 900000001, but a take file of 4 GB holds 1160801"));
    EXPECT_FALSE(exists(path("take.glb")));
    const std::string file = put("drive.json", R"({"last": 600000, "vehicles": [{"name": "a"}, {"name": "b"}]})");
    EXPECT_THAT(run({"drive", file, "-o", path("take.glb")}).err, HasSubstr("holds 580400 of 2 vehicles at most"));
}

TEST_F(Drives, SeveralVehiclesShareTheGround) {
    putMesh("one.obj", heightGrid(-40, 40, 4, -40, 0, 4, [](double, double) { return 0.0; }));
    putMesh("two.obj", heightGrid(-40, 40, 4, 0, 40, 4, [](double, double) { return 0.0; }));
    const std::string file = put("drive.json", R"({
        "ground": [{"file": "one.obj"}, {"file": "two.obj"}], "last": 20,
        "vehicles": [{"name": "a", "at": [0, 10], "inputs": [{"channel": "gas", "value": 1}]},
                     {"name": "b", "at": [5, -10], "heading": 180, "inputs": [{"channel": "gas", "value": 0.5}]}]})");
    const Answer answer = done({"drive", file, "--json", "-o", path("take.glb")});
    const json summary = json::parse(answer.out);
    for (const json& vehicle : summary.at("vehicles")) {
        EXPECT_EQ(vehicle.at("framesWithWheelInAir"), 0) << vehicle;
        EXPECT_GT(vehicle.at("distance").get<double>(), 0.05);
        EXPECT_TRUE(vehicle.at("leftGround").is_null());
    }
}

TEST_F(Drives, FollowsATargetAlongAPath) {
    drive({"--ground", putMesh("flat.obj", flatGround(0.0, 100.0)), "--target",
           put("line.csv", "x,y,z,speed\n0,0,-5,3\n0,0,-40,3\n40,0,-60,3\n"), "--set", "Gravel Shake Offset Value=0"});
    const auto lines = trace(path("take.glb"));
    const Vector3<double> body = placeIn(lines.back(), "car_CarBodyMesh");
    const Vector3<double> target = placeIn(lines.back(), "car_TargetMesh");
    EXPECT_NEAR(target.x, 40.0, 0.2);
    EXPECT_NEAR(target.z, -60.0, 0.2);
    EXPECT_LT(util::Length(body - target), 15.0);
}

TEST_F(Drives, FollowsANodeThatMovesInAnotherFile) {
    done({"drive", "--hold", "gas=0.5", "--last", "150", "-q", "-o", path("leader.glb")});
    done({"export", path("leader.glb"), "-q", "-o", path("plain.glb")});
    const std::vector<std::string> arguments{
        "--scenery", path("plain.glb"), "--at", "0,8", "--last", "150", "--set", "Gravel Shake Offset Value=0"};
    auto follow = arguments;
    follow.insert(follow.end(), {"--vehicle", "chaser", "--target", "node:car_CarBodyMesh"});
    drive(follow);
    const auto lines = trace(path("take.glb"));
    EXPECT_GT(util::Length(placeIn(lines.back(), "car_CarBodyMesh") - placeIn(lines.front(), "car_CarBodyMesh")), 10.0);
    EXPECT_LT(util::Length(placeIn(lines.back(), "chaser_TargetMesh") - placeIn(lines.back(), "car_CarBodyMesh")),
              1e-6);
    EXPECT_LT(util::Length(placeIn(lines.back(), "chaser_CarBodyMesh") - placeIn(lines.back(), "car_CarBodyMesh")),
              12.0);

    auto missing = arguments;
    missing.insert(missing.begin(), "drive");
    missing.insert(missing.end(), {"--vehicle", "chaser", "--target", "node:car_CarBodyMsh", "-o", path("a.glb")});
    EXPECT_THAT(run(missing).err,
                HasSubstr("no moving node 'car_CarBodyMsh' for the target; did you mean 'car_CarBodyMesh'?"));
    auto taken = arguments;
    taken.insert(taken.begin(), "drive");
    taken.insert(taken.end(), {"-o", path("a.glb")});
    EXPECT_THAT(run(taken).err, HasSubstr("name the vehicle otherwise"));
}

TEST_F(Drives, OptionsWinOverTheDriveFileAndThatOverItsPreset) {
    const std::string file = put("drive.json", R"({"last": 2, "vehicles": [{"preset": "stunt",
        "parameters": {"Mass Multiplier": 4}, "state": {"fRelMaxBumperLen": 0.7}}]})");
    const auto extracted = [&](const std::vector<std::string>& more) {
        std::vector<std::string> arguments{"drive", file, "-q", "--force", "-o", path("take.glb")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        done(arguments);
        return json::parse(done({"presets", "extract", path("take.glb")}).out);
    };
    const json asWritten = extracted({});
    EXPECT_EQ(asWritten.at("parameters").at("Mass Multiplier"), 4.0);
    EXPECT_EQ(asWritten.at("parameters").at("Front Damping"), 320.0);
    EXPECT_EQ(asWritten.at("state").at("fRelMaxBumperLen"), 0.7);
    const json overridden = extracted({"--set", "mass multiplier=6", "--set", "Front Damping=150", "--state",
                                       "fRelMaxBumperLen=0.9", "--state", "cCarCambGravityOn=off"});
    EXPECT_EQ(overridden.at("parameters").at("Mass Multiplier"), 6.0);
    EXPECT_EQ(overridden.at("parameters").at("Front Damping"), 150.0);
    EXPECT_EQ(overridden.at("state").at("fRelMaxBumperLen"), 0.9);
    EXPECT_FALSE(overridden.at("state").contains("cCarCambGravityOn"));
}

TEST_F(Drives, WheelsStandWhereTheyArePut) {
    const std::string file = put("drive.json", R"({"last": 2, "vehicles": [{"at": [0, 0, 0], "length": 3.522,
        "wheels": {"FL": {"move": [-0.2, 0, -0.3], "caster": 0}, "FR": {"move": [0.2, 0, -0.3], "caster": 0},
                   "BL": {"scale": 1.5}, "BR": {"scale": 1.5}}}]})");
    done({"drive", file, "-q", "-o", path("take.glb")});
    done({"drive", "--length", "3.522", "--at", "0,0,0", "--last", "2", "-q", "-o", path("plain.glb")});
    const auto placed = trace(path("take.glb")).front();
    const auto plain = trace(path("plain.glb")).front();
    EXPECT_NEAR(placeIn(placed, "car_WheelMesh_FL").x, placeIn(plain, "car_WheelMesh_FL").x - 0.2, 1e-9);
    EXPECT_NEAR(placeIn(placed, "car_WheelMesh_FL").z, placeIn(plain, "car_WheelMesh_FL").z - 0.3, 1e-9);
    const auto& wheel = placed.at("elements").at("car_WheelMesh_BL");
    EXPECT_NEAR(std::hypot(wheel[4].get<double>(), wheel[5].get<double>(), wheel[6].get<double>()), 0.39, 1e-9);
    // Upright: the relocator's up axis is the body's.
    const auto& relocator = placed.at("elements").at("car_WheelRelocatorMesh_FL");
    EXPECT_NEAR(relocator[6].get<double>(), 0.0, 1e-9);
    const auto& leaning = plain.at("elements").at("car_WheelRelocatorMesh_FL");
    EXPECT_GT(std::abs(leaning[6].get<double>()), 0.01);
}

}  // namespace
}  // namespace ond::test
