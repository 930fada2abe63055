// The traces of whole drives have the same bits on every build: each way of finding the ground, each kind of input,
// jumps and falls, skids, a car that follows, one that is resumed, three at once.
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

#include "determinism/DrivenTrace.h"
#include "determinism/GoldenHash.h"

namespace ond::test {
namespace {

class TraceHash : public ::testing::TestWithParam<std::string> {};

std::string nameOf(const ::testing::TestParamInfo<std::string>& info) {
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

TEST_P(TraceHash, HasTheRecordedBits) {
    const std::string text = traceOf(GetParam());
    keepTrace(GetParam(), text);
    EXPECT_GT(std::count(text.begin(), text.end(), '\n'), 90) << "the drive broke down";
    BitHash hash;
    hash.add(std::string_view(text));
    expectGoldenHash("trace-" + GetParam(), hash.value(),
                     "A build that has the recorded bits keeps its trace, too. Frame and value that differ first:\n"
                     "  quadrig trace --compare OTHER-BUILD/golden-traces/" +
                         GetParam() + ".jsonl " + keptTrace(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(, TraceHash, ::testing::ValuesIn(driveNames()), nameOf);

TEST(TraceHashes, ADozenDrivesAreThere) { EXPECT_GE(driveNames().size(), 12u); }

}  // namespace
}  // namespace ond::test
