// A recording driven again: to the bit, taken over, overdubbed, and stopped where its numbers break.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "stage/Stage.h"
#include "stage/StageError.h"

namespace ond::stage {
namespace {

using ::testing::HasSubstr;

const Module& module() {
    static const Module loaded(VEHICLE_MODULE_PATH);
    return loaded;
}

double gas(double time) { return time < 1.0 ? 0.8 : 0.3; }
double steering(double time) { return std::sin(2.0 * time); }

/// A recording stage with one car on the plane, driven by the functions above.
class Recorded : public ::testing::Test {
  protected:
    Stage stage{module()};

    void SetUp() override {
        stage.keepsJournal = true;
        stage.addVehicle("car").put("Use Fast Ray Cast", 0.0);
    }
    void TearDown() override { EXPECT_EQ(stage.complaints(), std::vector<std::string>()); }

    Vehicle& car() { return *stage.vehicles.front(); }
    void drive(int from, int to) {
        car().axis("Gas").script = gas;
        car().axis("Steering").script = steering;
        EXPECT_TRUE(stage.run(from, to)) << stage.breakdown()->sentence();
    }
    /// The bits of all that is recorded up to a frame.
    std::vector<std::vector<TrackKey>> keysUpTo(int frame) {
        std::vector<std::vector<TrackKey>> all;
        for (const Track& track : stage.scene.tracks()) {
            all.emplace_back();
            for (const TrackKey& key : track.keys)
                if (key.time < stage.scene.clock.time(frame) + stage.scene.clock.snap()) all.back().push_back(key);
        }
        return all;
    }
    static void expectSame(const std::vector<std::vector<TrackKey>>& a, const std::vector<std::vector<TrackKey>>& b) {
        ASSERT_EQ(a.size(), b.size());
        for (std::size_t e = 0; e < a.size(); ++e) {
            ASSERT_EQ(a[e].size(), b[e].size()) << "keys of element " << e;
            for (std::size_t k = 0; k < a[e].size(); ++k) {
                ASSERT_EQ(a[e][k].time, b[e][k].time) << "element " << e;
                ASSERT_TRUE(a[e][k].local == b[e][k].local) << "element " << e << ", key " << k;
            }
        }
    }
};

TEST_F(Recorded, WritesDownEveryRun) {
    drive(0, 40);
    drive(25, 60);
    ASSERT_EQ(stage.journal.size(), 2U);
    EXPECT_EQ(stage.journal[0].from, 0);
    EXPECT_EQ(stage.journal[0].to, 40);
    EXPECT_NE(stage.journal[0].before, nullptr);
    EXPECT_EQ(stage.journal[1].before, nullptr) << "nothing happened between the runs";
    EXPECT_EQ(stage.journal[1].inputs.at(0).axes.size(), 36U * 9U);
    EXPECT_EQ(stage.recorded(), std::make_pair(0, 60));
}

TEST_F(Recorded, WhatChangesBetweenRunsIsKept) {
    drive(0, 10);
    car().put("Mass Multiplier", 3.0);
    drive(10, 20);
    EXPECT_NE(stage.journal[1].before, nullptr);
    stage.scene.setLocal(stage.scene.add("rock"), 0.0, util::Matrix4());
    drive(20, 30);
    EXPECT_NE(stage.journal[2].before, nullptr);
}

TEST_F(Recorded, NotRecordedRunsLeaveNoTrace) {
    drive(0, 10);
    stage.run(10, 20, false);
    EXPECT_EQ(stage.journal.size(), 1U);
    EXPECT_EQ(stage.curves.at(0).rows(), 11);
}

TEST_F(Recorded, DrivenAgainGivesTheSameBits) {
    drive(0, 60);
    drive(30, 80);
    const auto before = keysUpTo(1000);
    const std::uint64_t left = stage.journal.back().left;
    const std::vector<double> curves = stage.curves.at(0).values;
    const Journal journal = stage.journal;
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_TRUE(stage.retake(journal, std::nullopt));
        expectSame(keysUpTo(1000), before);
        EXPECT_EQ(stage.journal.back().left, left) << "vehicles and dialog, too";
        EXPECT_EQ(stage.curves.at(0).values, curves);
        ASSERT_EQ(stage.journal.size(), 2U);
        EXPECT_EQ(stage.journal[1].before, nullptr);
    }
}

TEST_F(Recorded, TakenOverAtAFrame) {
    drive(0, 60);
    const auto before = keysUpTo(35);
    const Journal journal = stage.journal;
    const Stage::TakeOver brake{
        35, 70, [&](int, int channel, int) -> std::optional<double> {
            return car().properties[static_cast<std::size_t>(channel)]->name == "ABS Brake" ? 1.0 : 0.0;
        }};
    EXPECT_TRUE(stage.retake(journal, brake));
    expectSame(keysUpTo(35), before);
    EXPECT_EQ(stage.recorded(), std::make_pair(0, 70));
    EXPECT_LT(stage.vehicles[0]->output("Velocity")->current, 1.0) << "it stands";
}

TEST_F(Recorded, OverdubbedChannelLeavesTheOthers) {
    drive(0, 60);
    const Journal journal = stage.journal;
    int steeringChannel = -1;
    for (std::size_t c = 0; c < car().properties.size(); ++c)
        if (car().properties[c]->name.rfind("Steering", 0) == 0) steeringChannel = static_cast<int>(c);
    const Stage::TakeOver straight{20, 60, [&](int, int channel, int) -> std::optional<double> {
                                       if (channel == steeringChannel) return 0.0;
                                       return std::nullopt;
                                   }};
    EXPECT_TRUE(stage.retake(journal, straight));
    const RunInput& now = stage.journal.at(0).inputs.at(0);
    const RunInput& then = journal.at(0).inputs.at(0);
    ASSERT_EQ(now.axes.size(), then.axes.size());
    for (std::size_t i = 0; i < now.axes.size(); ++i) {
        const int frame = static_cast<int>(i) / 9;
        const bool dubbed = static_cast<int>(i) % 9 == steeringChannel && frame > 20;
        EXPECT_EQ(now.axes[i], dubbed ? 0.0 : then.axes[i]) << "frame " << frame;
    }
}

TEST_F(Recorded, LaterRunsAreLeftOutOfATakeOver) {
    drive(0, 40);
    drive(20, 60);
    const Journal journal = stage.journal;
    const auto none = [](int, int, int) -> std::optional<double> { return std::nullopt; };
    EXPECT_TRUE(stage.retake(journal, Stage::TakeOver{10, 30, none}));
    EXPECT_EQ(stage.journal.size(), 1U);
    EXPECT_EQ(stage.recorded(), std::make_pair(0, 30));
    EXPECT_THROW((void)stage.retake(journal, Stage::TakeOver{61, 90, none}), StageError);
    EXPECT_THROW((void)stage.retake({}, std::nullopt), StageError);
}

TEST_F(Recorded, LoadedAgainItGoesOnAsIfItHadNotBeen) {
    drive(0, 40);
    stage.restore(stage.snapshot());
    drive(40, 80);
    const auto reloaded = keysUpTo(1000);
    EXPECT_EQ(stage.journal.at(1).before, nullptr) << "loading changes nothing";

    Stage other(module());
    other.keepsJournal = true;
    other.addVehicle("car").put("Use Fast Ray Cast", 0.0);
    for (const auto& [from, to] : {std::make_pair(0, 40), std::make_pair(40, 80)}) {
        other.vehicles[0]->axis("Gas").script = gas;
        other.vehicles[0]->axis("Steering").script = steering;
        other.run(from, to);
    }
    std::vector<std::vector<TrackKey>> live;
    for (const Track& track : other.scene.tracks()) live.push_back(track.keys);
    expectSame(live, reloaded);
}

TEST_F(Recorded, CurvesHaveARowPerFrame) {
    drive(5, 30);
    drive(20, 25);
    const Curves& curves = stage.curves.at(0);
    EXPECT_EQ(curves.first, 5);
    EXPECT_EQ(curves.rows(), 21);
    const int column = curves.column(CurveKind::input, "Gas Pedal (Forw/Backw)");
    ASSERT_GE(column, 0);
    for (int frame = 5; frame <= 25; ++frame)
        EXPECT_EQ(curves.row(frame)[column], gas(stage.scene.clock.time(frame))) << frame;
    EXPECT_EQ(curves.row(4), nullptr);
    EXPECT_EQ(curves.row(26), nullptr);
    EXPECT_EQ(curves.row(25)[curves.column(CurveKind::output, "Velocity")], car().output("Velocity")->current);
    EXPECT_NEAR(curves.row(25)[curves.column(CurveKind::contactY, "BL")], 0.0, 0.02) << "the wheel stands on the plane";
}

TEST_F(Recorded, GaugesAreRecordedAsTheyReadAfterEachFrame) {
    drive(0, 10);
    car().put("Gas Pedal (Forw/Backw) Maximum", 1.5);
    drive(10, 20);
    const Curves& curves = stage.curves.at(0);
    for (const DialogItem& item : car().dialog.items)
        EXPECT_EQ(curves.column(CurveKind::gauge, item.label) >= 0, item.isGauge()) << item.label;
    const int maximum = curves.column(CurveKind::gauge, "World Space Maximum Velocity Gauge");
    const int velocity = curves.column(CurveKind::gauge, "Current Velocity");
    ASSERT_GE(std::min(maximum, velocity), 0);
    for (int frame = 0; frame <= 20; ++frame) {
        EXPECT_EQ(curves.row(frame)[velocity], curves.row(frame)[curves.column(CurveKind::output, "Velocity")]);
        EXPECT_DOUBLE_EQ(curves.row(frame)[maximum], curves.row(0)[maximum] / (frame > 10 ? 2.0 : 1.0)) << frame;
    }
    EXPECT_EQ(curves.row(20)[velocity], car().value("Current Velocity"));
    EXPECT_GT(curves.row(20)[velocity], curves.row(5)[velocity]);
}

TEST_F(Recorded, StateByKeyReachesTheVehicle) {
    stage.setState(0, {{"cCarCambGravityOn", 1.0}});
    const VehicleState on = car().state();
    stage.setState(0, {{"cCarCambGravityOn", 0.0}});
    EXPECT_NE(car().state().block, on.block);
    try {
        stage.setState(0, {{"cCarCambGravityUp", 1.0}});
        ADD_FAILURE() << "an unknown key passed";
    } catch (const StageError& error) {
        EXPECT_THAT(error.what(), HasSubstr("'cCarCambGravityUp'"));
    }
    EXPECT_THROW(stage.setState(0, {{"wheelstore", 1.0}}), StageError);
    EXPECT_EQ(stage.vehicles.size(), 1U);
}

TEST_F(Recorded, BreakdownKeepsTheFramesBeforeIt) {
    drive(0, 20);
    const auto before = keysUpTo(20);
    car().put("Skidding Maximum", 50.0);
    car().axis("Skidding").position = 1.0;
    car().axis("Gas").script = gas;
    car().axis("Steering").script = steering;
    const bool whole = stage.run(20, 2000);
    ASSERT_FALSE(whole) << "the test needs a setting that breaks";
    ASSERT_TRUE(stage.breakdown());
    const int frame = stage.breakdown()->frame;
    EXPECT_FALSE(stage.isRunning());
    EXPECT_EQ(stage.scene.clock.now, std::max(20, frame - 1));
    for (const Track& track : stage.scene.tracks())
        for (const TrackKey& key : track.keys) {
            EXPECT_LT(key.time, stage.scene.clock.time(frame) - 1e-9);
            for (int i = 0; i < 16; ++i) EXPECT_TRUE(std::isfinite(key.local[i]));
        }
    for (const double value : stage.curves.at(0).values) EXPECT_TRUE(std::isfinite(value));
    expectSame(keysUpTo(20), before);
    EXPECT_THAT(stage.breakdown()->sentence(), HasSubstr("at frame " + std::to_string(frame)));
    EXPECT_THAT(stage.breakdown()->sentence(), HasSubstr("'Skidding Maximum'"));
    stage.vehicles[0]->put("Skidding Maximum", 0.9);
    stage.vehicles[0]->axis("Skidding").position = 0.0;
    EXPECT_TRUE(stage.run(10, 30)) << "it can be driven on from before";
}

}  // namespace
}  // namespace ond::stage
