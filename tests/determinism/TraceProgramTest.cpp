// The traces that are hashed are those that the program prints of the takes that it writes.
#include "command/CommandRun.h"
#include "determinism/DrivenTrace.h"

namespace ond::test {
namespace {

class TraceProgram : public CommandRun {
  protected:
    /// Of the take that the program makes of the drive file.
    std::string printed(const std::string& name) {
        std::string take = path(name + ".glb");
        done({"drive", drivePath(name), "-q", "-o", take});
        if (isResumed(name)) {
            const Resumption& on = resumption();
            done({"resume", take, "--at", std::to_string(on.at), "--last", std::to_string(on.last), "--hold", on.hold,
                  "--key", on.key, "-q", "-o", path("on.glb")});
            take = path("on.glb");
        }
        return done({"trace", take}).out;
    }
};

TEST_F(TraceProgram, PrintsWhatIsHashed) {
    for (const std::string& name : driveNames()) EXPECT_TRUE(printed(name) == traceOf(name)) << name;
}

}  // namespace
}  // namespace ond::test
