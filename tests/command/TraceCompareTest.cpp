// What `quadrig trace --compare` says of two traces.
#include <cmath>
#include <limits>

#include "CommandRun.h"
#include "command/TraceCompare.h"

namespace ond::test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// A line with a car at x, and a second one whose name begins like that of the first.
std::string lineOf(int frame, const std::string& x, const std::string& velocity = "2.5") {
    return "{\"frame\":" + std::to_string(frame) + ",\"time\":" + command::exactText(frame / 25.0) +
           ",\"elements\":{\"car_Body\":[1.0," + x +
           "],\"car_2_Body\":[0.25]},\"channels\":{\"car\":{\"Velocity\":" + velocity +
           "},\"car_2\":{\"Velocity\":1.0}},\"inputs\":{\"car\":{},\"car_2\":{}},\"messages\":[]}\n";
}

class TraceComparisons : public CommandRun {
  protected:
    Answer compare(const std::string& left, const std::string& right) const {
        return run({"trace", "--compare", put("left.jsonl", left), put("right.jsonl", right)});
    }
    json told(const std::string& left, const std::string& right) const {
        return json::parse(
            run({"trace", "--json", "--compare", put("left.jsonl", left), put("right.jsonl", right)}).out);
    }
};

TEST_F(TraceComparisons, NameFramePlaceValuesBitsAndDistance) {
    const std::string left = lineOf(3, "1.0") + lineOf(4, "0.1") + lineOf(5, "7.0");
    const std::string right = lineOf(3, "1.0") + lineOf(4, "0.10000000000000002") + lineOf(5, "8.0");
    const Answer answer = compare(left, right);
    EXPECT_EQ(answer.code, 1);
    EXPECT_EQ(answer.out,
              "frame 4: elements: car_Body[1]: 0.1 against 0.10000000000000002\n"
              "  at 0.16 s, of vehicle 'car', bits 0x3fb999999999999a against 0x3fb999999999999b, 1 ulp apart\n");
    EXPECT_EQ(told(left, right).at("difference"), (json{{"frame", 4},
                                                        {"time", 0.16},
                                                        {"vehicle", "car"},
                                                        {"what", "elements: car_Body[1]"},
                                                        {"left", "0.1"},
                                                        {"right", "0.10000000000000002"},
                                                        {"leftBits", "0x3fb999999999999a"},
                                                        {"rightBits", "0x3fb999999999999b"},
                                                        {"ulps", 1}}));
}

TEST_F(TraceComparisons, KnowVehiclesWhoseNamesBeginAlike) {
    std::string other = lineOf(0, "1.0");
    other.replace(other.find("0.25"), 4, "0.75");
    EXPECT_EQ(told(lineOf(0, "1.0"), other).at("difference").at("vehicle"), "car_2");
    EXPECT_EQ(told(lineOf(0, "1.0"), lineOf(0, "1.0", "3.5")).at("difference").at("vehicle"), "car");
}

TEST_F(TraceComparisons, LookAtBitsNotAtText) {
    EXPECT_EQ(compare(lineOf(0, "0.5", "100000.0"), lineOf(0, "5e-1", "100000")).out, "equal: 1 frames\n");
    const Answer zeros = compare(lineOf(0, "0.0"), lineOf(0, "-0.0"));
    EXPECT_EQ(zeros.code, 1);
    EXPECT_THAT(zeros.out, HasSubstr("0.0 against -0.0"));
    EXPECT_THAT(zeros.out, HasSubstr("bits 0x0000000000000000 against 0x8000000000000000, 0 ulp apart"));
}

TEST_F(TraceComparisons, TellWhichOneEndsOrBeginsEarlier) {
    const std::string both = lineOf(7, "1.0");
    EXPECT_EQ(compare(both + lineOf(8, "1.0"), both).out, "frame 8: only the first has this frame\n  at 0.32 s\n");
    EXPECT_EQ(compare(both, both + lineOf(8, "1.0")).out, "frame 8: only the second has this frame\n  at 0.32 s\n");
    EXPECT_EQ(compare(both, lineOf(6, "1.0") + both).out, "frame 6: only the second has this frame\n  at 0.24 s\n");
}

TEST_F(TraceComparisons, RefuseWhatIsNoTrace) {
    const std::string good = lineOf(0, "1.0") + lineOf(1, "1.0");
    const auto refused = [&](const std::string& right, const std::string& why) {
        const Answer answer = compare(good, right);
        EXPECT_EQ(answer.code, 2) << right;
        EXPECT_EQ(answer.out, "");
        EXPECT_THAT(answer.err, StartsWith("quadrig: "));
        EXPECT_THAT(answer.err, HasSubstr(why));
    };
    refused("", "right.jsonl', line 0: the trace holds no frame");
    refused("hello\n", "right.jsonl', line 1 is no frame of a trace");
    refused(good.substr(0, good.size() - 20), "right.jsonl', line 2 is no frame of a trace");
    EXPECT_EQ(compare("hello\n", "hello\n").code, 2) << "two files of the same text are no traces for that";
    std::filesystem::create_directory(path("folder.jsonl"));
    for (const char* name : {"folder.jsonl", "none.jsonl", "none.glb"})
        EXPECT_EQ(run({"trace", "--compare", put("left.jsonl", good), path(name)}).code, 2) << name;
}

TEST(Ulps, CountTheDoublesBetween) {
    EXPECT_EQ(command::ulpsBetween(1.0, 1.0), 0u);
    EXPECT_EQ(command::ulpsBetween(1.0, std::nextafter(1.0, 2.0)), 1u);
    EXPECT_EQ(command::ulpsBetween(-1.0, std::nextafter(-1.0, 0.0)), 1u);
    const double least = std::numeric_limits<double>::denorm_min();
    EXPECT_EQ(command::ulpsBetween(-least, least), 2u);
    EXPECT_EQ(command::ulpsBetween(-0.0, least), 1u);
    EXPECT_EQ(command::ulpsBetween(1.0, 2.0), std::uint64_t{1} << 52);
    const double most = std::numeric_limits<double>::max();
    EXPECT_EQ(command::ulpsBetween(-most, most), 2 * 0x7fefffffffffffffULL);
}

}  // namespace
}  // namespace ond::test
