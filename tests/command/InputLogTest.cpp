// Logs: what is read from them, and what is no log.
#include "command/InputLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

#include "command/Channels.h"
#include "command/CommandError.h"
#include "command/InputTracks.h"
#include "command/Numbers.h"
#include "util/PinnedRandom.h"

namespace ond::test {

using namespace command;
namespace {

using ::testing::HasSubstr;

std::string failureOf(const std::string& text, const LogColumns& columns = {}, double scale = 1.0) {
    try {
        (void)parseInputLog(text, "log.csv", columns, scale);
    } catch (const CommandError& error) {
        return error.what();
    }
    return "";
}

TEST(InputLog, KnowsTheUsualColumns) {
    const InputLog log = parseInputLog("time,steer,gas,brake\n0,0.5,1,0\n0.085,-0.25,0,1\n", "log.csv", {});
    EXPECT_EQ(log.times, (std::vector<double>{0.0, 0.085}));
    EXPECT_EQ(log.values.at(1), (std::vector<double>{0.5, -0.25}));
    EXPECT_EQ(log.values.at(0), (std::vector<double>{1.0, 0.0}));
    EXPECT_EQ(log.values.at(3), (std::vector<double>{0.0, 1.0}));
    EXPECT_EQ(log.values.size(), 3u);
    EXPECT_TRUE(log.unused.empty());
}

TEST(InputLog, TakesNamedColumnsAndLeavesOthersAlone) {
    LogColumns columns;
    columns.time = "T";
    columns.channels[0] = "pedal";
    const InputLog log = parseInputLog("# a drive\r\nt;pedal;note\r\n\r\n1;0.5;nan\r\n", "log.csv", columns);
    EXPECT_EQ(log.times, std::vector<double>{1.0});
    EXPECT_EQ(log.values.at(0), std::vector<double>{0.5});
    EXPECT_EQ(log.values.size(), 1u);
    EXPECT_EQ(log.unused, std::vector<std::string>{"note"});
}

TEST(InputLog, ScalesValues) {
    const InputLog log = parseInputLog("time,gas\n0,100\n1,-50\n", "log.csv", {}, 0.01);
    EXPECT_EQ(log.values.at(0), (std::vector<double>{1.0, -0.5}));
}

TEST(InputLog, SaysWhatIsWrongAndWhere) {
    EXPECT_THAT(failureOf(""), HasSubstr("is empty"));
    EXPECT_THAT(failureOf("time,gas\n"), HasSubstr("no rows"));
    EXPECT_THAT(failureOf("0,1\n1,1\n"), HasSubstr("must name the columns"));
    EXPECT_THAT(failureOf("time,gas\n0,1\n0,1\n"), HasSubstr("line 3: the time 0 is there twice"));
    EXPECT_THAT(failureOf("time,gas\n\n1,1\n0.5,1\n"), HasSubstr("line 4: the time 0.5 is earlier"));
    EXPECT_THAT(failureOf("time,gas\n0,nan\n"), HasSubstr("line 2: 'nan' in column 'gas' is no finite number"));
    EXPECT_THAT(failureOf("time,gas\n0,inf\n"), HasSubstr("no finite number"));
    EXPECT_THAT(failureOf("time,gas\n0,1e999\n"), HasSubstr("no finite number"));
    EXPECT_THAT(failureOf("time,gas\nnan,1\n"), HasSubstr("no finite number"));
    EXPECT_THAT(failureOf("time,gas\n0,\n"), HasSubstr("no finite number"));
    EXPECT_THAT(failureOf("time,gas\n0\n"), HasSubstr("line 2: 1 fields where the header has 2"));
    EXPECT_THAT(failureOf("time,gas\n0,1,2\n"), HasSubstr("3 fields"));
    EXPECT_THAT(failureOf("time,gas\n0,2\n"), HasSubstr("2 is outside of -1 to 1"));
    EXPECT_THAT(failureOf("time,brake\n0,-0.1\n"), HasSubstr("-0.1 is outside of 0 to 1"));
    EXPECT_THAT(failureOf("seconds_of_day,gas\n0,1\n"), HasSubstr("no column 'time'"));
    EXPECT_THAT(failureOf("time,pedal\n0,1\n"), HasSubstr("no column that is named like a channel"));
    EXPECT_THAT(failureOf("time,gas,gas\n0,1,1\n"), HasSubstr("two columns 'gas'"));
    EXPECT_THAT(failureOf("time,gas,throttle\n0,1,1\n"), HasSubstr("both feed 'Gas Pedal"));
    LogColumns columns;
    columns.channels[0] = "pedla";
    EXPECT_THAT(failureOf("time,pedal\n0,1\n", columns), HasSubstr("no column 'pedla'; did you mean 'pedal'?"));
}

/// Any table that is a log reads back as what it was made of, however it is written.
TEST(InputLog, ReadsBackWhatItWasWrittenFrom) {
    PinnedRandom random(17);
    for (int round = 0; round < 100; ++round) {
        const int rows = 1 + static_cast<int>(random.in(0.0, 20.0));
        std::vector<int> columns(kNumChannels + 1);
        std::iota(columns.begin(), columns.end(), 0);
        for (std::size_t i = columns.size() - 1; i > 0; --i)
            std::swap(columns[i], columns[static_cast<std::size_t>(random.in(0.0, 1.0 * static_cast<double>(i)))]);
        const char separator = ",;\t"[static_cast<int>(random.in(0.0, 2.99))];
        const bool quoted = random.in(0.0, 1.0) > 0.5;
        const auto write = [&](const std::string& text) { return quoted ? '"' + text + '"' : text; };

        std::vector<double> times;
        std::vector<std::vector<double>> values(kNumChannels);
        std::string text;
        for (const int column : columns)
            text += (text.empty() ? "" : std::string(1, separator)) +
                    write(column == 0 ? "Time" : kChannels[static_cast<std::size_t>(column - 1)].name);
        for (int row = 0; row < rows; ++row) {
            times.push_back((times.empty() ? random.in(-5.0, 5.0) : times.back()) + random.in(1e-6, 0.5));
            text += random.in(0.0, 1.0) > 0.5 ? "\r\n" : "\n";
            for (std::size_t i = 0; i < columns.size(); ++i) {
                double value = times.back();
                if (columns[i] > 0) {
                    const auto channel = static_cast<std::size_t>(columns[i] - 1);
                    value = random.in(kChannels[channel].oneSided ? 0.0 : -1.0, 1.0);
                    values[channel].push_back(value);
                }
                text += (i == 0 ? "" : std::string(1, separator)) + write(exactText(value));
            }
        }
        const InputLog log = parseInputLog(text, "log.csv", {});
        EXPECT_EQ(log.times, times);
        for (int channel = 0; channel < kNumChannels; ++channel)
            EXPECT_EQ(log.values.at(channel), values[static_cast<std::size_t>(channel)]) << channel;
    }
}

TEST(AxisCurve, GivesItsPointsToTheBitAndStaysBetweenThem) {
    PinnedRandom random(8);
    AxisCurve curve;
    for (int i = 0; i < 50; ++i) {
        curve.times.push_back(i * 0.085 + random.in(0.0, 0.05));
        curve.values.push_back(random.in(-1.0, 1.0));
    }
    for (std::size_t i = 0; i < curve.times.size(); ++i) EXPECT_EQ(curve.at(curve.times[i]), curve.values[i]);
    for (std::size_t i = 1; i < curve.times.size(); ++i) {
        const double middle = curve.at((curve.times[i - 1] + curve.times[i]) / 2.0);
        EXPECT_NEAR(middle, (curve.values[i - 1] + curve.values[i]) / 2.0, 1e-12);
    }
    EXPECT_EQ(curve.at(-100.0), curve.values.front());
    EXPECT_EQ(curve.at(1e6), curve.values.back());
}

TEST(InputTracks, LaterOnesWinForTheChannelsThatTheyHave) {
    TrackPlan first;
    first.channel = 0;
    first.keys = {{0.0, 0.0}, {2.0, 1.0}};
    TrackPlan second;
    second.channel = 1;
    second.keys = {{0.0, 0.5}};
    TrackPlan third;
    third.channel = 0;
    third.keys = {{0.0, -1.0}};
    const InputTracks two({first, second});
    EXPECT_EQ(two.at(0, 1.0), 0.5);
    EXPECT_EQ(two.at(1, 1.0), 0.5);
    EXPECT_EQ(two.at(2, 1.0), std::nullopt);
    EXPECT_EQ(two.duration(), 2.0);
    const InputTracks three({first, second, third});
    EXPECT_EQ(three.at(0, 1.0), -1.0);
    EXPECT_EQ(three.at(1, 1.0), 0.5);
    EXPECT_EQ(three.duration(), 2.0);
    EXPECT_TRUE(InputTracks().empty());
}

TEST(InputTracks, ShiftsByTheOffsetAndRefusesValuesOutOfRange) {
    TrackPlan plan;
    plan.where = "--key gas";
    plan.channel = 0;
    plan.keys = {{0.0, 0.0}, {1.0, 1.0}};
    plan.offset = 3.0;
    const InputTracks tracks({plan});
    EXPECT_EQ(tracks.at(0, 3.5), 0.5);
    EXPECT_EQ(tracks.duration(), 4.0);
    plan.keys = {{0.0, 1.5}};
    EXPECT_THROW(InputTracks({plan}), CommandError);
}

}  // namespace
}  // namespace ond::test
