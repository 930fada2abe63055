// Whatever is wrong with what a user gives: one sentence that says so, exit code 2, nothing written.
#include "CommandRun.h"
#include "whole/Grounds.h"

namespace ond::test {
namespace {

using ::testing::HasSubstr;

using BadInput = CommandRun;

/// Runs a command that must fail.
#define EXPECT_REFUSED(arguments, complaint)                                                \
    do {                                                                                    \
        const std::vector<std::string> words = arguments;                                   \
        const std::vector<std::string> before = files();                                    \
        const Answer answer = run(words);                                                   \
        EXPECT_EQ(answer.code, 2);                                                          \
        EXPECT_EQ(answer.out, "");                                                          \
        EXPECT_THAT(answer.err, HasSubstr(complaint));                                      \
        EXPECT_EQ(answer.err.compare(0, 9, "quadrig: "), 0) << answer.err;                  \
        EXPECT_EQ(std::count(answer.err.begin(), answer.err.end(), '\n'), 1) << answer.err; \
        EXPECT_EQ(files(), before);                                                         \
    } while (false)

using Words = std::vector<std::string>;

TEST_F(BadInput, WrongUse) {
    EXPECT_REFUSED((Words{"drvie"}), "there is no command 'drvie'; did you mean 'drive'?");
    EXPECT_REFUSED((Words{"xylophone"}), "there is no command 'xylophone'; commands are drive, resume");
    EXPECT_REFUSED((Words{"--verson"}), "there is no option '--verson'; did you mean '--version'?");
    EXPECT_REFUSED((Words{"drive", "--grund", "x.obj", "-o", path("a.glb")}),
                   "quadrig: drive has no option '--grund'; did you mean '--ground'?");
    EXPECT_REFUSED((Words{"drive"}), "quadrig: drive: --output is required");
    EXPECT_REFUSED((Words{"drive", "a.json", "b.json", "-o", path("a.glb")}), "does not know what to do with 'b.json'");
    EXPECT_REFUSED((Words{"presets", "lst"}), "there is no command 'lst'; did you mean 'list'?");
    EXPECT_REFUSED((Words{"trace"}), "give either a take or --compare with two");
    EXPECT_REFUSED((Words{"trace", "a.glb", "b.glb"}), "trace: give one take, or --compare to compare two");
    for (const Words& takes : {Words{"a.glb"}, Words{"a.glb", "b.glb", "c.glb"}}) {
        Words compare{"trace", "--compare", "--json"};
        compare.insert(compare.end(), takes.begin(), takes.end());
        EXPECT_REFUSED(compare, "trace --compare: give two takes or traces, not " + std::to_string(takes.size()));
    }
    EXPECT_REFUSED((Words{"trace", "--compare", "a.glb", "b.glb", "--first", "3"}), "leave out --first");
    EXPECT_REFUSED((Words{"presets"}), "presets: a command is missing; commands are list, show, extract and apply");
    EXPECT_REFUSED((Words{"info"}), "info: the FILE is missing; write: quadrig info FILE");
    EXPECT_REFUSED((Words{"export"}), "export: the TAKE is missing; write: quadrig export TAKE --output FILE");
    EXPECT_REFUSED((Words{"presets", "show"}), "the PRESET is missing; write: quadrig presets show PRESET");
    EXPECT_REFUSED((Words{"export", "--frame"}), "--frame needs a value: --frame FRAME");
    EXPECT_REFUSED((Words{"trace", "--first", "1", "--first", "2"}), "--first is given 2 times; give it once");
    EXPECT_REFUSED((Words{"trace", "--json=maybe"}), "an option that is on or off was given a value; leave it out");
    EXPECT_REFUSED((Words{"resume", "take.glb", "-o", path("a.glb")}), "say from which frame to resume with --at");
}

TEST_F(BadInput, NoArgumentsShowTheHelpAndAreWrongUse) {
    const Answer answer = run({});
    EXPECT_EQ(answer.code, 2);
    EXPECT_EQ(answer.out, "");
    EXPECT_THAT(answer.err, HasSubstr("Each command has a help of its own"));
}

TEST_F(BadInput, TheHelpSaysWhatMayBeGivenSeveralTimes) {
    const auto entryOf = [](const std::string& command, const std::string& name) {
        const std::string help = done({command, "--help"}).out;
        const std::size_t at = help.find(name);
        EXPECT_NE(at, std::string::npos) << name;
        return help.substr(at, help.find("\n  -", at) - at);
    };
    EXPECT_THAT(entryOf("drive", "  -g,--ground"), HasSubstr("several are possible"));
    EXPECT_THAT(entryOf("drive", "  --hold"), HasSubstr("several are possible"));
    for (const char* one : {"drive", "resume", "retake", "trace", "replay"})
        EXPECT_THAT(entryOf(one, "  -o,--output"), ::testing::Not(HasSubstr("several"))) << one;
    EXPECT_THAT(entryOf("export", "  -o,--output"), HasSubstr("may be given several times"));
    EXPECT_THAT(entryOf("drive", "Channels:"), HasSubstr("starts at full"));
}

TEST_F(BadInput, Outputs) {
    const std::string there = put("there.glb", "x");
    EXPECT_REFUSED((Words{"drive", "--last", "5", "-o", there}), "is there already");
    EXPECT_EQ(read(there), "x");
    EXPECT_REFUSED((Words{"drive", "--last", "5", "-o", path("a.mp4")}), "must end with .glb");
    EXPECT_REFUSED((Words{"drive", "--last", "5", "-o", path("no/a.glb")}), "is not there; make it first");
    std::filesystem::create_directory(path("folder.glb"));
    EXPECT_REFUSED((Words{"drive", "--last", "5", "-o", path("folder.glb")}), "is a folder");
    EXPECT_REFUSED((Words{"drive", "--ground", there, "--last", "5", "--force", "-o", there}),
                   "is the file that is read");
    EXPECT_REFUSED((Words{"drive", "--last", "5", "-o", path("a.glb"), "-o", path("b.glb")}), "exactly one output");
    EXPECT_REFUSED((Words{"export", there, "-o", path("a.glb"), "-o", path("a.glb")}), "is given twice");
}

TEST_F(BadInput, Numbers) {
    const std::string out = path("a.glb");
    EXPECT_REFUSED((Words{"drive", "--last", "soon", "-o", out}), "--last: 'soon' is no number");
    EXPECT_REFUSED((Words{"drive", "--last", "1.5", "-o", out}), "--last: 1.5 is no whole number");
    EXPECT_REFUSED((Words{"drive", "--last", "0", "-o", out}), "must lie behind the first, 0");
    EXPECT_REFUSED((Words{"drive", "-o", out}), "nothing says how long to drive");
    EXPECT_REFUSED((Words{"drive", "--last", "5", "--fps", "0", "-o", out}), "'0' is no frame rate");
    EXPECT_REFUSED((Words{"drive", "--last", "5", "--fps", "fast", "-o", out}), "'fast' is no frame rate");
    EXPECT_REFUSED((Words{"drive", "--last", "5", "--length", "0", "-o", out}),
                   "--length: 0 is out of range; give 0.01 to 1000");
    EXPECT_REFUSED((Words{"drive", "--last", "5", "--length", "nan", "-o", out}), "--length: 'nan' is no number");
    EXPECT_REFUSED((Words{"drive", "--last", "5", "--at", "1", "-o", out}), "--at: give X,Z or X,Y,Z");
    EXPECT_REFUSED((Words{"drive", "--last", "5", "--at", "1,b", "-o", out}), "--at: 'b' is no number");
    EXPECT_REFUSED(
        (Words{"drive", "--key", "gas=0:0,1e6:1", "-o", out}),
        "the input lasts 1000000 s, that is 25000000 frames to drive; for more than an hour say how far with "
        "--last, up to 25000000");
    EXPECT_REFUSED((Words{"drive", "--key", "gas=0:0,1e16:1", "-o", out}), "say how far with --last\n");
}

TEST_F(BadInput, ParametersAndState) {
    const auto refuse = [&](const std::string& option, const std::string& text, const std::string& complaint) {
        EXPECT_REFUSED((Words{"drive", "--last", "5", option, text, "-o", path("a.glb")}), complaint);
    };
    refuse("--set", "Gravty=1", "there is no parameter 'Gravty'; did you mean 'Gravity'?");
    refuse("--set", "Gravity=-1", "'Gravity': -1 is out of range; give 0 to 10000");
    refuse("--set", "Gravity", "does not have the form NAME=VALUE");
    refuse("--set", "Gravity=much", "'much' is no number");
    refuse("--set", "Ray Multiplier=1.5", "1.5 is no whole number");
    refuse("--set", "Autonomous Mode=2", "is a check box; give on or off");
    refuse("--set", "Current Velocity=3", "only shows a value");
    refuse("--set", "Re-Initialize Car Attributes=1", "is a button");
    refuse("--state", "cCarCambGravtyOn=on", "no key 'cCarCambGravtyOn'; did you mean 'cCarCambGravityOn'?");
    refuse("--state", "cCarCambGravityOn=3", "is a flag; give on or off");
    refuse("--state", "wheelstore=3", "does not hold a single number");
    refuse("--preset", "famly", "there is no preset 'famly'; did you mean 'family'?");
    refuse("--preset", path("no.json"), "is not there");
    refuse("--hold", "gass=1", "no channel 'gass'; did you mean 'gas'?");
    refuse("--hold", "gas=2", "2 is outside of -1 to 1");
    refuse("--hold", "brake=-1", "-1 is outside of 0 to 1");
    refuse("--hold", "gas", "does not have the form CHANNEL=VALUE");
    refuse("--key", "gas=0:0,0:1", "the seconds must ascend");
    refuse("--key", "gas=0", "does not have the form T:V");
    refuse("--column", "gas=x", "give one with --input");
}

TEST_F(BadInput, Files) {
    const std::string out = path("a.glb");
    EXPECT_REFUSED((Words{"drive", path("no.json"), "-o", out}), "is not there");
    EXPECT_REFUSED((Words{"drive", "--ground", path("no.glb"), "--last", "5", "-o", out}), "no.glb");
    EXPECT_REFUSED((Words{"drive", "--input", path("no.csv"), "-o", out}), "no.csv is not there");
    EXPECT_REFUSED((Words{"drive", "--target", path("no.csv"), "-o", out}), "no.csv is not there");
    EXPECT_REFUSED((Words{"drive", "--target", "node:Path", "--last", "5", "-o", out}),
                   "no node of the ground or scenery moves");
    EXPECT_REFUSED((Words{"drive", put("none.json", R"({"vehicles": []})"), "-o", out}), "has no vehicle");
    EXPECT_REFUSED(
        (Words{"drive", put("one.json", R"({"vehicles": [{"name": "red"}]})"), "--vehicle", "rde", "-o", out}),
        "no vehicle 'rde'; did you mean 'red'?");
    EXPECT_REFUSED((Words{"drive", "--input", put("log.csv", "time,gas\n0,1\n0,1\n"), "-o", out}), "is there twice");
    const std::string ground = putMesh("flat.obj", flatGround());
    EXPECT_REFUSED((Words{"drive", "--ground", ground, "--at", "500,500", "--last", "5", "-o", out}),
                   "there is no ground at x 500, z 500");
    EXPECT_REFUSED((Words{"drive", "--ground", put("empty.obj", "o nothing\n"), "--last", "5", "-o", out}),
                   "empty.obj");
    EXPECT_REFUSED((Words{"drive", "--last", "5", "--module", path("no.so"), "-o", out}),
                   "the vehicle module is not at");
    EXPECT_REFUSED((Words{"drive", "--last", "5", "--module", ground, "-o", out}),
                   "the vehicle module cannot be loaded");
}

TEST_F(BadInput, Takes) {
    const std::string out = path("a.glb");
    const std::string noTake = put("no.glb", "glTF");
    for (const Words& command :
         {Words{"resume", "--at", "1", "--hold", "gas=1", "--last", "5"}, Words{"retake"}, Words{"export"}}) {
        Words missing = command;
        missing.insert(missing.end(), {path("missing.glb"), "-o", out});
        EXPECT_REFUSED(missing, "is not there");
        Words damaged = command;
        damaged.insert(damaged.end(), {noTake, "-o", out});
        EXPECT_REFUSED(damaged, "no.glb");
    }
    EXPECT_REFUSED((Words{"trace", noTake}), "no.glb");
    EXPECT_REFUSED((Words{"info", noTake}), "no.glb");
    EXPECT_REFUSED((Words{"info", put("some.txt", "hello")}), "is no take, no mesh file and no saved block");
    EXPECT_REFUSED((Words{"replay", noTake, "--page", path("no.html"), "-o", path("a.html")}),
                   "the replay page is not at");
}

TEST_F(BadInput, FramesOutsideOfATake) {
    const std::string take = path("take.glb");
    done({"drive", "--hold", "gas=1", "--last", "10", "-q", "-o", take});
    const std::string out = path("a.glb");
    EXPECT_REFUSED((Words{"resume", take, "--at", "11", "--hold", "gas=1", "--last", "20", "-o", out}),
                   "--at: frame 11 is not within the recording, frames 0 to 10");
    EXPECT_REFUSED((Words{"resume", take, "--at", "10", "--hold", "gas=1", "-o", out}),
                   "nothing says how long to drive");
    EXPECT_REFUSED((Words{"resume", take, "--at", "5", "--hold", "gas=1", "--last", "5", "-o", out}),
                   "must lie behind --at");
    EXPECT_REFUSED((Words{"resume", take, "--at", "5", "--last", "9", "-o", take, "--force"}),
                   "is the file that is read");
    EXPECT_REFUSED((Words{"retake", take, "--hold", "gas=1", "-o", out}), "say with --at");
    EXPECT_REFUSED((Words{"retake", take, "--at", "5", "-o", out}), "the new input is missing");
    EXPECT_REFUSED((Words{"retake", take, "--overdub", "-o", out}), "--overdub needs --at");
    EXPECT_REFUSED((Words{"export", take, "--frame", "11", "-o", path("a.png")}),
                   "--frame: 11 is not within frames 0 to 10");
    EXPECT_REFUSED((Words{"export", take, "--camera", "FolowCam", "-o", path("a.png")}), "did you mean 'FollowCam'?");
    EXPECT_REFUSED((Words{"export", take, "--size", "5x5", "-o", path("a.png")}), "5 is out of range; give 16 to 8192");
    EXPECT_REFUSED((Words{"export", take, "--size", "20x", "-o", path("a.png")}),
                   "--size: '20x' does not have the form WIDTHxHEIGHT");
    EXPECT_REFUSED((Words{"export", take, "-o", path("a.mp4")}), ".csv or .png\n");
    EXPECT_REFUSED((Words{"export", take, "--step", "0", "-o", path("a.csv")}), "--step: 0 is out of range");
    EXPECT_REFUSED((Words{"export", take, "--vehicle", "kar", "-o", path("a.png")}), "did you mean 'car'?");
    EXPECT_REFUSED((Words{"trace", take, "--first", "11"}), "--first: frame 11 is not within");
    EXPECT_REFUSED((Words{"trace", take, "--first", "8", "--last", "4"}),
                   "--first: frame 8 lies behind --last, 4; give the earlier one as --first");
    EXPECT_REFUSED((Words{"presets", "apply", "famly", take, "-o", out}), "did you mean 'family'?");
}

TEST_F(BadInput, AFullDiskLosesNothing) {
    if (!exists("/dev/full")) GTEST_SKIP() << "there is no /dev/full here";
    std::filesystem::create_symlink("/dev/full", path("full.glb"));
    const Answer answer = run({"drive", "--last", "5", "--force", "-o", path("full.glb")});
    EXPECT_EQ(answer.code, 2);
    EXPECT_THAT(answer.err, HasSubstr("cannot be written"));
    EXPECT_EQ(files(), (std::vector<std::string>{"full.glb"}));

    // Of several outputs none is there, wherever the full one stands.
    done({"drive", "--last", "5", "-q", "-o", path("take.glb")});
    for (const Words& order : {Words{"table.csv", "full.glb"}, Words{"full.glb", "table.csv"}}) {
        const Answer exported =
            run({"export", path("take.glb"), "--force", "-o", path(order[0]), "-o", path(order[1])});
        EXPECT_EQ(exported.code, 2);
        EXPECT_EQ(exported.out, "");
        EXPECT_THAT(exported.err, HasSubstr("cannot be written"));
        EXPECT_EQ(files(), (std::vector<std::string>{"full.glb", "take.glb"}));
    }
    done({"export", path("take.glb"), "-o", path("table.csv"), "-o", path("plain.glb")});
    EXPECT_EQ(files(), (std::vector<std::string>{"full.glb", "plain.glb", "table.csv", "take.glb"}));
}

}  // namespace
}  // namespace ond::test
