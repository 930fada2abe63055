// The program as a process.
#include <sys/wait.h>

#include "CommandRun.h"

namespace ond::test {
namespace {

using ::testing::HasSubstr;

class Program : public CommandRun {
  protected:
    /// Through a shell; the words must need no quoting.
    Answer call(const std::string& words) const {
        const std::string line =
            std::string(QUADRIG_PROGRAM_PATH) + " " + words + " >" + path("out") + " 2>" + path("err");
        const int status = std::system(line.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read(path("out")), read(path("err"))};
    }
};

TEST_F(Program, TellsItsVersion) {
    const Answer answer = call("--version");
    EXPECT_EQ(answer.code, 0);
    EXPECT_EQ(answer.out.compare(0, 8, "quadrig "), 0);
    EXPECT_EQ(answer.err, "");
}

TEST_F(Program, WithoutArgumentsShowsItsHelpAndFails) {
    const Answer answer = call("");
    EXPECT_EQ(answer.code, 2);
    EXPECT_EQ(answer.out, "");
    EXPECT_THAT(answer.err, HasSubstr("drive"));
}

TEST_F(Program, EveryCommandHasAHelpWithExamplesAndExitCodes) {
    EXPECT_EQ(call("--help").code, 0);
    for (const char* command : {"drive", "resume", "retake", "export", "trace", "info", "presets", "replay"}) {
        const Answer answer = call(std::string(command) + " --help");
        EXPECT_EQ(answer.code, 0) << command;
        EXPECT_EQ(answer.err, "");
        EXPECT_THAT(answer.out, HasSubstr("Examples:"));
        EXPECT_THAT(answer.out, HasSubstr("Exit codes:"));
    }
}

TEST_F(Program, FindsTheModuleBesideItself) {
    unsetenv("QUADRIG_MODULE");
    const Answer answer = call("drive --hold gas=1 --last 10 -o " + path("take.glb"));
    EXPECT_EQ(answer.code, 0) << answer.err;
    EXPECT_THAT(answer.out, HasSubstr("frames 0 to 10"));
    EXPECT_EQ(answer.err, "");
    EXPECT_TRUE(exists(path("take.glb")));
}

TEST_F(Program, FailsWhereItsOutputCannotBeWritten) {
    if (!exists("/dev/full")) GTEST_SKIP() << "there is no /dev/full here";
    const std::string line = std::string(QUADRIG_PROGRAM_PATH) + " presets list >/dev/full 2>" + path("err");
    const int status = std::system(line.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 2);
    EXPECT_THAT(read(path("err")), HasSubstr("could not be written to stdout"));
}

}  // namespace
}  // namespace ond::test
