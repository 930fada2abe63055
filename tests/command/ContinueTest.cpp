// Takes that are resumed and made again.
#include "CommandRun.h"
#include "whole/Grounds.h"

namespace ond::test {
namespace {

using nlohmann::json;

class Continued : public CommandRun {
  protected:
    void SetUp() override {
        CommandRun::SetUp();
        take = path("take.glb");
        done({"drive", "--ground", putMesh("wavy.obj", wavyGround()), "--input",
              put("log.csv", "time,steer,gas,brake\n0,0,1,0\n0.7,0.8,1,0\n1.9,-0.6,0.7,0\n2.6,0.2,0,1\n"), "-q", "-o",
              take});
        lines = trace(take);
        ASSERT_EQ(lines.size(), 66u);
    }
    /// Drives the vehicles a and b side by side to `two.glb`.
    void driveTwo(int last) {
        const std::string file = put("drive.json", R"({"vehicles": [
            {"name": "a", "at": [0, 0], "inputs": [{"channel": "gas", "value": 1}]},
            {"name": "b", "at": [8, 0], "inputs": [{"channel": "gas", "value": 1}]}]})");
        done({"drive", file, "--last", std::to_string(last), "-q", "-o", path("two.glb")});
    }

    std::string take;
    std::vector<json> lines;
};

TEST_F(Continued, ResumeLeavesWhatLiesBeforeToTheBit) {
    done({"resume", take, "--at", "30", "--hold", "gas=1", "--hold", "steering=-1", "--last", "80", "-q", "-o",
          path("other.glb")});
    const auto other = trace(path("other.glb"));
    ASSERT_EQ(other.size(), 81u);
    for (std::size_t i = 0; i <= 30; ++i) EXPECT_EQ(other[i].at("elements"), lines[i].at("elements")) << i;
    EXPECT_NE(other[45].at("elements"), lines[45].at("elements"));
    EXPECT_EQ(other[45].at("inputs").at("car").at("Steering Wheel (Right/Left)"), -1.0);
    EXPECT_EQ(other[20].at("inputs"), lines[20].at("inputs"));
}

TEST_F(Continued, ResumeGoesOnToTheEndOfTheTakeWhereNothingElseIsSaid) {
    done({"resume", take, "--at", "30", "--hold", "gas=1", "-q", "-o", path("other.glb")});
    EXPECT_EQ(trace(path("other.glb")).size(), lines.size());
}

TEST_F(Continued, AResumedTakeCanBeResumedAndMadeAgain) {
    done({"resume", take, "--at", "30", "--hold", "gas=1", "--last", "50", "-q", "-o", path("two.glb")});
    done({"resume", path("two.glb"), "--at", "40", "--hold", "gas=-1", "--last", "70", "-q", "-o", path("three.glb")});
    done({"retake", path("three.glb"), "-q", "-o", path("again.glb")});
    EXPECT_EQ(read(path("again.glb")), read(path("three.glb")));
    const auto two = trace(path("two.glb"));
    const auto three = trace(path("three.glb"));
    for (std::size_t i = 0; i <= 40; ++i) EXPECT_EQ(three[i].at("elements"), two[i].at("elements")) << i;
}

TEST_F(Continued, InputSecondsCountFromTheFrameOrFromTheTake) {
    const std::string log = put("again.csv", "time,gas\n0,0\n2.6,1\n");
    done({"resume", take, "--at", "25", "--input", log, "-q", "-o", path("here.glb")});
    done({"resume", take, "--at", "25", "--input", log, "--take-clock", "-q", "-o", path("clock.glb")});
    const auto here = trace(path("here.glb"));
    const auto clock = trace(path("clock.glb"));
    EXPECT_EQ(here.size(), 91u);
    EXPECT_EQ(clock.size(), 66u);
    const auto gas = [](const json& line) {
        return line.at("inputs").at("car").at("Gas Pedal (Forw/Backw)").get<double>();
    };
    EXPECT_NEAR(gas(here[51]), 26 * 0.04 / 2.6, 1e-12);
    EXPECT_NEAR(gas(clock[51]), 51 * 0.04 / 2.6, 1e-12);
}

TEST_F(Continued, RetakeWithoutInputGivesTheSameBytes) {
    done({"retake", take, "-q", "-o", path("same.glb")});
    EXPECT_EQ(read(path("same.glb")), read(take));
}

TEST_F(Continued, RetakeWithTheSameLogHasNoSeam) {
    done({"retake", take, "--at", "30", "--input", path("log.csv"), "--take-clock", "-q", "-o", path("same.glb")});
    const Answer compared = run({"trace", "--compare", take, path("same.glb")});
    EXPECT_EQ(compared.code, 0) << compared.out;
}

TEST_F(Continued, RetakeHandsOverToTheBit) {
    done({"retake", take, "--at", "30", "--hold", "gas=1", "--last", "60", "-q", "-o", path("other.glb")});
    const auto other = trace(path("other.glb"));
    ASSERT_EQ(other.size(), 61u);
    for (std::size_t i = 0; i <= 30; ++i) EXPECT_EQ(other[i].at("elements"), lines[i].at("elements")) << i;
    EXPECT_NE(other[32].at("elements"), lines[32].at("elements"));
    // Channels without new input rest.
    EXPECT_EQ(other[31].at("inputs").at("car").at("Steering Wheel (Right/Left)"), 0.0);
}

TEST_F(Continued, OverdubReplacesOnlyTheChannelsThatHaveInput) {
    done({"retake", take, "--at", "0", "--overdub", "--hold", "gas=0.25", "-q", "-o", path("dub.glb")});
    const auto dub = trace(path("dub.glb"));
    ASSERT_EQ(dub.size(), lines.size());
    for (std::size_t i = 1; i < dub.size(); ++i) {
        const json& now = dub[i].at("inputs").at("car");
        const json& before = lines[i].at("inputs").at("car");
        EXPECT_EQ(now.at("Gas Pedal (Forw/Backw)"), 0.25);
        EXPECT_EQ(now.at("Steering Wheel (Right/Left)"), before.at("Steering Wheel (Right/Left)"));
        EXPECT_EQ(now.at("ABS Brake"), before.at("ABS Brake"));
    }
}

TEST_F(Continued, OverdubDoesNotShortenTheTake) {
    done({"retake", take, "--at", "0", "--overdub", "--key", "skidbrake=0.5:0,0.6:1,1:0", "-q", "-o", path("dub.glb")});
    const auto dub = trace(path("dub.glb"));
    ASSERT_EQ(dub.size(), lines.size());
    EXPECT_EQ(dub[15].at("inputs").at("car").at("Skid Brake"), 1.0);
    EXPECT_EQ(dub.back().at("inputs").at("car").at("ABS Brake"), lines.back().at("inputs").at("car").at("ABS Brake"));
    // Longer input and a last frame that is told still count.
    done({"retake", take, "--at", "60", "--overdub", "--key", "gas=0:0,1:1", "-q", "-o", path("longer.glb")});
    EXPECT_EQ(trace(path("longer.glb")).size(), 86u);
    done({"retake", take, "--at", "0", "--overdub", "--key", "gas=0:0,1:1", "--last", "20", "-q", "-o",
          path("told.glb")});
    EXPECT_EQ(trace(path("told.glb")).size(), 21u);
    // Without --overdub the new input is all there is.
    done({"retake", take, "--at", "0", "--key", "gas=0:0,1:1", "-q", "-o", path("alone.glb")});
    EXPECT_EQ(trace(path("alone.glb")).size(), 26u);
}

TEST_F(Continued, OneVehicleIsResumedWhileTheOtherKeepsWhatItDid) {
    driveTwo(30);
    done({"resume", path("two.glb"), "--at", "10", "--vehicle", "b", "--hold", "steering=1", "--last", "30", "-q", "-o",
          path("other.glb")});
    const auto before = trace(path("two.glb"));
    const auto after = trace(path("other.glb"));
    for (std::size_t i = 0; i < before.size(); ++i)
        EXPECT_EQ(after[i].at("elements").at("a_CarBodyMesh"), before[i].at("elements").at("a_CarBodyMesh")) << i;
    EXPECT_NE(after[30].at("elements").at("b_CarBodyMesh"), before[30].at("elements").at("b_CarBodyMesh"));
    done({"retake", path("other.glb"), "-q", "-o", path("same.glb")});
    EXPECT_EQ(read(path("same.glb")), read(path("other.glb")));
}

TEST_F(Continued, TakeEndsWithTheVehicleThatWasDrivenFarthest) {
    driveTwo(60);
    done({"resume", path("two.glb"), "--at", "0", "--vehicle", "b", "--hold", "steering=1", "--last", "20", "-q", "-o",
          path("other.glb")});
    EXPECT_THAT(done({"info", path("other.glb")}).out, ::testing::HasSubstr("frames 0 to 60"));
    EXPECT_EQ(trace(path("other.glb")).size(), 61U);
    done({"retake", path("other.glb"), "--at", "50", "--vehicle", "a", "--hold", "gas=-1", "-q", "-o",
          path("again.glb")});
    const auto before = trace(path("other.glb"));
    const auto after = trace(path("again.glb"));
    ASSERT_EQ(after.size(), 61U);
    EXPECT_EQ(after[50].at("elements").at("a_CarBodyMesh"), before[50].at("elements").at("a_CarBodyMesh"));
    EXPECT_NE(after[60].at("elements").at("a_CarBodyMesh"), before[60].at("elements").at("a_CarBodyMesh"));
}

}  // namespace
}  // namespace ond::test
