// Runs that break: where they end, and what they leave behind.
#include <cmath>
#include <limits>

#include "stage/FakeVehicle.h"
#include "stage/TakeTests.h"

namespace ond::test {
namespace {

using ::testing::HasSubstr;
using util::Translation;

constexpr double kInfinite = std::numeric_limits<double>::infinity();

/// Fakes that move a body along, and break it in a frame of the test's choice.
class Breaking : public FakeStage {
  protected:
    double bad = kInfinite;
    int brokenFrame = 1000;  ///< of the vehicle "car"

    void SetUp() override {
        FakeStage::SetUp();
        plugin.onRig = [](FakeVehicle& v) { v.make("CarBodyMesh"); };
        plugin.onLoad = [](FakeVehicle& v) {
            v.handles = {v.hostInterface->findElement("CarBodyMesh")};
            return std::uint64_t{0};
        };
        plugin.onFrame = [this](FakeVehicle& v, double time) {
            const int frame = stage->scene.clock.rate.nearest(time);
            const bool breaks = v.name == "car" && frame >= brokenFrame;
            v.setWorld(v.handles[0], time, Translation({breaks ? bad : speed * frame, 0, 0}));
        };
    }
    void TearDown() override { stage.reset(); }

    std::size_t keys(const std::string& vehicle) {
        return stage->scene.find(vehicle, "CarBodyMesh")->track.keys.size();
    }

    double speed = 1.0;
};

TEST_F(Breaking, WithoutAJournalTheRunIsOverAndTheVehicleWasStopped) {
    Vehicle& car = add("car");
    Element& target = stage->scene.add("target");
    for (int frame = 0; frame <= 50; ++frame) stage->scene.setUserKey(target, frame, Translation({0, 0, 1.0 * frame}));
    bad = 2e38;
    for (const bool recorded : {true, false}) {
        SCOPED_TRACE(recorded);
        plugin.calls.clear();
        brokenFrame = 7;
        EXPECT_FALSE(stage->run(0, 20, recorded));
        EXPECT_FALSE(stage->isRunning());
        EXPECT_EQ(car.life, Vehicle::Life::rigged);
        EXPECT_EQ(plugin.times("stopRun"), std::vector<double>{stage->scene.clock.time(7)}) << "its last frame";
        EXPECT_EQ(stage->scene.clock.now, 6);
        EXPECT_EQ(keys("car"), 7U) << "frames 0 to 6, also behind the run that is not kept";
        EXPECT_EQ(target.track.keys.size(), 51U) << "not the run's";
        EXPECT_EQ(stage->breakdown()->frame, 7);
        brokenFrame = 1000;
        EXPECT_TRUE(stage->run(3, 6));
    }
    EXPECT_EQ(stage->complaints(), Lines());
}

TEST_F(Breaking, TooLargeForATakeIsBroken) {
    add("car");
    brokenFrame = 4;
    bad = 2e38;
    EXPECT_FALSE(stage->run(0, 20));
    EXPECT_EQ(stage->breakdown()->frame, 4);
    bad = 1e38;
    EXPECT_TRUE(stage->run(0, 20)) << "a take holds this";
}

TEST_F(Breaking, DisarmedDuringTheRunItIsStillLookedAt) {
    Vehicle& car = add("car");
    brokenFrame = 4;
    stage->startRun(0);
    stage->advance(2);
    car.armed = false;
    EXPECT_FALSE(stage->advance(5));
    EXPECT_EQ(stage->breakdown()->frame, 4);
}

TEST_F(Breaking, StartOfARunMayBreak) {
    add("car");
    stage->keepsJournal = true;
    stage->run(0, 10);
    plugin.onStart = [](FakeVehicle& v, double time) {
        v.setWorld(v.handles[0], time, Translation({kInfinite, 0, 0}));
    };
    for (const bool journal : {true, false}) {
        SCOPED_TRACE(journal);
        stage->keepsJournal = journal;
        EXPECT_FALSE(stage->run(5, 20));
        EXPECT_FALSE(stage->isRunning());
        EXPECT_EQ(stage->breakdown()->frame, 5);
        stage->startRun(5);
        stage->stopRun();
        EXPECT_EQ(stage->breakdown()->frame, 5) << "also where no frame came";
        EXPECT_EQ(keys("car"), 11U);
        EXPECT_EQ(stage->scene.local(*stage->scene.find("car", "CarBodyMesh"), stage->scene.clock.time(5)),
                  Translation({5, 0, 0}));
    }
}

TEST_F(Breaking, ElementOfAnotherIsLookedAtOnceTheRunWritesIt) {
    add("car");
    Element& rock = stage->scene.add("rock");
    plugin.onFrame = [&](FakeVehicle& v, double time) {
        v.setWorld(stage->vehicles[0]->handleOf(&rock), time, Translation({time > 0.1 ? kInfinite : 0.0, 0, 0}));
    };
    EXPECT_FALSE(stage->run(0, 9));
    EXPECT_EQ(stage->breakdown()->what, "the transform of rock");
    EXPECT_EQ(rock.track.keys.size(), 3U);
}

TEST_F(Breaking, RowOfTheDialogAndInputMayBreak) {
    Vehicle& car = add("car");
    plugin.onFrame = [](FakeVehicle& v, double time) { v.number = time > 0.1 ? kInfinite : 0.0; };
    EXPECT_FALSE(stage->run(0, 9));
    EXPECT_THAT(stage->breakdown()->what, HasSubstr("'Number' of car"));
    fakeOf(car).number = 0.0;
    plugin.onFrame = nullptr;
    car.axis("Gas").script = [](double time) { return time > 0.1 ? std::nan("") : 0.0; };
    EXPECT_FALSE(stage->run(0, 9));
    EXPECT_THAT(stage->breakdown()->what, HasSubstr("'Gas' of car"));
    EXPECT_EQ(stage->breakdown()->frame, 3);
}

class BrokenRecording : public Breaking {
  protected:
    void SetUp() override {
        Breaking::SetUp();
        add("car");
        stage->keepsJournal = true;
        plugin.onShow = [this](FakeVehicle& v, double) {
            if (stage->isRunning())
                v.hostInterface->messageBox("frame " + std::to_string(stage->scene.clock.now), "", 0);
        };
        stage->run(0, 10);
    }
    std::vector<std::pair<int, int>> messages() {
        std::vector<std::pair<int, int>> all;
        for (const StageMessage& message : stage->messages) all.emplace_back(message.frame, message.count);
        return all;
    }
};

TEST_F(BrokenRecording, BrokenInItsFirstFrameItLeavesTheRecordingAsItWas) {
    const auto said = messages();
    const std::vector<double> values = stage->curves.at(0).values;
    ASSERT_EQ(said.size(), 10U);
    brokenFrame = 6;
    EXPECT_FALSE(stage->run(5, 20));
    EXPECT_EQ(keys("car"), 11U);
    EXPECT_EQ(messages(), said);
    EXPECT_EQ(stage->curves.at(0).values, values);
    EXPECT_EQ(stage->journal.size(), 1U);
}

TEST_F(BrokenRecording, RunWithoutFramesLeavesTheRecordingAsItWas) {
    const auto said = messages();
    const std::vector<double> values = stage->curves.at(0).values;
    plugin.onStart = [](FakeVehicle& v, double) { v.hostInterface->messageBox("start", "", 0); };
    stage->run(5, 5);
    EXPECT_EQ(keys("car"), 11U);
    EXPECT_EQ(stage->curves.at(0).values, values);
    EXPECT_EQ(stage->journal.size(), 1U);
    auto with = said;
    with.emplace_back(5, 1);
    EXPECT_EQ(messages(), with) << "what the start said is new";
}

TEST_F(BrokenRecording, DrivenAgainItCountsItsMessagesOnce) {
    brokenFrame = 15;
    EXPECT_FALSE(stage->run(10, 20));
    EXPECT_EQ(keys("car"), 15U);
    std::vector<std::pair<int, int>> expected;
    for (int frame = 1; frame <= 14; ++frame) expected.emplace_back(frame, 1);
    EXPECT_EQ(messages(), expected);
    ASSERT_EQ(stage->journal.size(), 2U);
    EXPECT_EQ(stage->journal[1].to, 14);
    EXPECT_EQ(stage->journal[1].inputs.at(0).axes.size(), 5U) << "one axis, frames 10 to 14";
    stage->undo.undo();
    EXPECT_EQ(stage->journal.size(), 1U);
    stage->undo.redo();
    EXPECT_EQ(stage->journal[1].inputs.at(0).axes.size(), 5U);
}

TEST(BrokenRun, IsSavedAndOpenedAgain) {
    const OwnFolder folder;
    const auto host = carOn(false);
    Vehicle& car = *host->vehicles[0];
    car.put("Skidding Maximum", 50.0);
    car.axis("Skidding").position = 1.0;
    for (const auto& axis : car.axes) axis->script = nullptr;
    car.axis("Gas").position = 0.8;
    car.axis("Steering").position = 0.3;
    ASSERT_FALSE(host->run(0, 250)) << "the test needs a setting that breaks";
    const int last = host->breakdown()->frame - 1;
    ASSERT_GT(last, 0);
    EXPECT_EQ(host->recorded(), std::make_pair(0, last));
    saveTake(*host, folder.file("broken.glb"));
    const auto opened = openTake(folder.file("broken.glb"), takeModule());
    EXPECT_EQ(opened->recorded(), std::make_pair(0, last));
    expectSame(*host, *opened);
}

}  // namespace
}  // namespace ond::test
