// Recordings of several runs and vehicles: what each holds, what undo takes back, and calls in the wrong order.
#include <stdexcept>

#include "stage/FakeVehicle.h"
#include "stage/TakeTests.h"

namespace ond::test {
namespace {

using ::testing::HasSubstr;
using util::Translation;

using Frames = std::optional<std::pair<int, int>>;

/// Two fakes, each with a body that moves along x by the frame, in a stage that keeps a journal. They tell every frame.
class RecordedRuns : public FakeStage {
  protected:
    void SetUp() override {
        FakeStage::SetUp();
        plugin.onRig = [](FakeVehicle& v) { v.make("CarBodyMesh"); };
        plugin.onLoad = [this](FakeVehicle& v) {
            v.handles = {v.hostInterface->findElement("CarBodyMesh")};
            return std::uint64_t{refused == v.name ? 1U : 0U};
        };
        plugin.onFrame = [this](FakeVehicle& v, double time) {
            const int frame = stage->scene.clock.rate.nearest(time);
            v.setWorld(v.handles[0], time, Translation({pace * frame, 0, 0}));
            v.hostInterface->messageBox(v.name + " " + std::to_string(frame), "", 0);
        };
        add("a");
        add("b");
        stage->keepsJournal = true;
    }
    void TearDown() override { stage.reset(); }

    void run(int from, int to, const Lines& armed = {"a", "b"}) {
        for (const auto& vehicle : stage->vehicles)
            vehicle->armed = std::find(armed.begin(), armed.end(), vehicle->name) != armed.end();
        EXPECT_TRUE(stage->run(from, to));
    }
    Element& body(const std::string& vehicle) { return *stage->scene.find(vehicle, "CarBodyMesh"); }
    std::size_t keys(const std::string& vehicle) { return body(vehicle).track.keys.size(); }
    int messagesOf(int vehicle) {
        return static_cast<int>(std::count_if(stage->messages.begin(), stage->messages.end(),
                                              [&](const StageMessage& m) { return m.vehicle == vehicle; }));
    }
    std::string error(const std::function<void()>& action) { return errorOf(action); }

    double pace = 1.0;
    std::string refused;  ///< the vehicle that does not load
};

TEST_F(RecordedRuns, EachVehicleHasItsOwnFrames) {
    run(0, 100);
    run(0, 20, {"b"});
    EXPECT_EQ(stage->recorded(0), Frames({0, 100}));
    EXPECT_EQ(stage->recorded(1), Frames({0, 20}));
    EXPECT_EQ(stage->recorded(), Frames({0, 100}));
    EXPECT_EQ(keys("a"), 101U);
    EXPECT_EQ(keys("b"), 21U);
    EXPECT_EQ(messagesOf(0), 100) << "it did not take part in the second run";
    EXPECT_EQ(messagesOf(1), 20);
    stage->removeVehicle(*stage->vehicles[0]);
    EXPECT_EQ(stage->recorded(), Frames({0, 20}));
    EXPECT_EQ(stage->recorded(0), Frames({0, 20})) << "b has come to the front";
}

TEST_F(RecordedRuns, VehicleWithoutARunHasNoFrames) {
    EXPECT_EQ(stage->recorded(), std::nullopt);
    run(5, 9, {"b"});
    EXPECT_EQ(stage->recorded(0), std::nullopt);
    EXPECT_EQ(stage->recorded(), Frames({5, 9}));
}

TEST_F(RecordedRuns, TakeOverFindsTheRunOfItsVehicle) {
    run(0, 100);
    run(0, 20, {"b"});
    const Journal journal = stage->journal;
    const auto none = [](int, int, int) -> std::optional<double> { return std::nullopt; };
    EXPECT_TRUE(stage->retake(journal, Stage::TakeOver{50, 60, none}));
    EXPECT_EQ(stage->recorded(0), Frames({0, 60}));
    EXPECT_TRUE(stage->retake(journal, Stage::TakeOver{10, 30, none, 0}));
    EXPECT_EQ(stage->recorded(0), Frames({0, 30})) << "a, which was driven in the first run only";
    EXPECT_TRUE(stage->retake(journal, Stage::TakeOver{10, 30, none, 1}));
    EXPECT_EQ(stage->recorded(0), Frames({0, 100}));
    EXPECT_EQ(stage->recorded(1), Frames({0, 30}));
    EXPECT_THAT(error([&] {
                    (void)stage->retake(journal, Stage::TakeOver{50, 60, none, 1});
                }),
                HasSubstr("frame 50 is not within a recorded run of b; the recording has the frames 0 to 20"));
}

TEST_F(RecordedRuns, UndoTakesBackWhatTheRunWroteAndWhatWasRecorded) {
    Element& rock = stage->scene.add("rock");
    run(0, 10);
    const std::vector<double> first = stage->curves.at(1).values;
    pace = 2.0;
    run(5, 30, {"b"});
    const std::vector<double> second = stage->curves.at(1).values;
    const std::size_t said = stage->messages.size();
    stage->scene.setUserKey(rock, 3, Translation({1, 2, 3}));
    stage->scene.setUserKey(body("a"), 40, Translation({4, 5, 6}));
    stage->undo.undo();
    EXPECT_EQ(keys("b"), 11U);
    EXPECT_EQ(stage->scene.local(body("b"), stage->scene.clock.time(8)), Translation({8, 0, 0}));
    EXPECT_EQ(rock.track.keys.size(), 1U) << "what the user did since stays";
    EXPECT_EQ(keys("a"), 12U);
    EXPECT_EQ(stage->journal.size(), 1U);
    EXPECT_EQ(stage->recorded(), Frames({0, 10}));
    EXPECT_EQ(stage->curves.at(1).values, first);
    EXPECT_EQ(messagesOf(1), 10);
    stage->undo.redo();
    EXPECT_EQ(keys("b"), 31U);
    EXPECT_EQ(stage->journal.size(), 2U);
    EXPECT_EQ(stage->recorded(), Frames({0, 30}));
    EXPECT_EQ(stage->curves.at(1).values, second);
    EXPECT_EQ(stage->messages.size(), said);
    EXPECT_EQ(rock.track.keys.size(), 1U);
    stage->undo.undo();
    stage->undo.undo();
    EXPECT_EQ(stage->recorded(), std::nullopt);
    EXPECT_TRUE(stage->messages.empty());
}

TEST_F(RecordedRuns, UserKeysOutliveARunThatIsNotRecorded) {
    run(0, 10);
    Element& rock = stage->scene.add("rock");
    stage->startRun(0, false);
    stage->advance(3);
    stage->scene.setUserKey(rock, 2, Translation({1, 2, 3}));
    stage->stopRun();
    EXPECT_EQ(rock.track.keys.size(), 1U);
    EXPECT_EQ(keys("a"), 11U);
}

TEST_F(RecordedRuns, RemovedVehicleTakesItsMessagesAndCurvesAlong) {
    run(0, 10);
    run(10, 14, {"b"});
    const std::vector<double> curves = stage->curves.at(1).values;
    stage->removeVehicle(*stage->vehicles[0]);
    ASSERT_EQ(stage->curves.size(), 1U);
    EXPECT_EQ(stage->curves[0].values, curves);
    ASSERT_EQ(stage->messages.size(), 14U);
    for (const StageMessage& message : stage->messages) {
        EXPECT_EQ(message.vehicle, 0);
        EXPECT_THAT(message.text, HasSubstr("b "));
    }
    stage->undo.undo();
    EXPECT_EQ(stage->curves.size(), 1U) << "an older recording has more vehicles";
    EXPECT_EQ(stage->messages.size(), 10U);
    EXPECT_EQ(stage->messages.at(0).vehicle, 0);
}

TEST_F(RecordedRuns, CallsThatDoNotFitARunAreRefused) {
    EXPECT_THAT(error([&] { stage->stopRun(); }), HasSubstr("there is no run to stop"));
    EXPECT_THAT(error([&] { (void)stage->advance(1); }), HasSubstr("there is no run to drive on"));
    EXPECT_EQ(stage->undo.steps(), 0);
    stage->undo.undo();
    stage->startRun(0);
    stage->advance(2);
    const Snapshot empty;
    const std::vector<std::function<void()>> calls = {
        [&] { stage->startRun(3); },
        [&] { (void)stage->run(3, 4); },
        [&] { (void)stage->snapshot(); },
        [&] { stage->restore(empty); },
        [&] { stage->setState(0, {}); },
        [&] { (void)stage->retake(stage->journal, std::nullopt); },
        [&] { stage->removeVehicle(*stage->vehicles[0]); },
        [&] { (void)stage->duplicate(*stage->vehicles[0], "c"); },
    };
    for (std::size_t i = 0; i < calls.size(); ++i)
        EXPECT_THAT(error(calls[i]), HasSubstr("while a run is under way; stop the run first")) << i;
    EXPECT_EQ(stage->vehicles.size(), 2U);
    EXPECT_TRUE(stage->isRunning());
    stage->advance(2);
    stage->stopRun();
    EXPECT_EQ(stage->recorded(), Frames({0, 4}));
    EXPECT_EQ(stage->complaints(), Lines());
}

TEST_F(RecordedRuns, ShowingAnotherFrameDoesNotMoveTheRun) {
    stage->startRun(0);
    stage->advance(3);
    stage->show(50);
    EXPECT_EQ(stage->scene.clock.now, 50);
    stage->advance(2);
    EXPECT_EQ(stage->scene.clock.now, 5);
    stage->show(1);
    stage->stopRun();
    EXPECT_EQ(keys("a"), 6U);
    ASSERT_EQ(stage->journal.size(), 1U);
    EXPECT_EQ(stage->journal[0].to, 5);
    EXPECT_EQ(stage->journal[0].inputs.at(0).axes.size(), 6U);
    EXPECT_EQ(stage->curves.at(0).rows(), 6);
    EXPECT_EQ(stage->complaints(), Lines());
}

TEST_F(RecordedRuns, RestoreThatFailsLeavesTheStageAsItIs) {
    run(0, 10);
    const Snapshot then = stage->snapshot();
    run(10, 20);
    const Snapshot now = stage->snapshot();
    refused = "b";
    EXPECT_THROW(stage->restore(then), StageError);
    EXPECT_THROW(stage->setState(0, {}), StageError);
    EXPECT_THROW((void)stage->duplicate(*stage->vehicles[1], "b"), StageError);
    refused = "c";
    EXPECT_THROW((void)stage->duplicate(*stage->vehicles[1], "c"), StageError);
    ASSERT_EQ(stage->vehicles.size(), 2U);
    EXPECT_EQ(stage->scene.find("c", "CarBodyMesh"), nullptr);
    refused.clear();
    Snapshot left = stage->snapshot();
    left.elements.resize(now.elements.size());
    expectSame(left, now);
    run(20, 25);
    EXPECT_EQ(keys("a"), 26U);
    stage->restore(then);
    EXPECT_EQ(keys("a"), 11U);
}

TEST_F(RecordedRuns, TwoVehiclesOfOneNameAreNotRestored) {
    Snapshot two = stage->snapshot();
    two.vehicles[1].name = "a";
    EXPECT_THAT(error([&] { stage->restore(two); }), HasSubstr("two of its vehicles have the name 'a'"));
    EXPECT_EQ(stage->vehicles[1]->name, "b");
}

TEST_F(RecordedRuns, FailedRetakeKeepsTheJournalThoughNothingLoadsAnyMore) {
    run(0, 10);
    refused = "b";
    EXPECT_THROW((void)stage->retake(stage->journal, std::nullopt), StageError);
    EXPECT_EQ(stage->journal.size(), 1U);
    EXPECT_EQ(stage->curves.at(0).rows(), 11);
    EXPECT_EQ(messagesOf(0), 10);
}

TEST_F(RecordedRuns, RetakeThatFailsLeavesTheStageAsItIs) {
    run(0, 10);
    run(10, 20, {"b"});
    const std::uint64_t before = fingerprint(stage->snapshot());
    const std::size_t said = stage->messages.size();
    int seen = 0;
    stage->progress = [&](int) { ++seen; };
    const auto stopsAt = [](int last) {
        return [last](int frame) {
            if (frame == last) throw std::runtime_error("no more");
        };
    };
    EXPECT_THROW((void)stage->retake(stage->journal, std::nullopt, stopsAt(15)), std::runtime_error);
    EXPECT_FALSE(stage->isRunning());
    EXPECT_EQ(fingerprint(stage->snapshot()), before);
    EXPECT_EQ(stage->journal.size(), 2U);
    EXPECT_EQ(stage->messages.size(), said);
    EXPECT_EQ(stage->curves.at(1).rows(), 21);
    for (const auto& vehicle : stage->vehicles)
        for (const auto& axis : vehicle->axes) EXPECT_FALSE(axis->script);
    EXPECT_TRUE(stage->retake(stage->journal, std::nullopt));
    EXPECT_EQ(seen, 0);
    run(20, 22);
    EXPECT_EQ(seen, 2) << "the stage's own is back";
}

TEST(RecordedTake, OfAVehicleLessIsSavedAndOpenedAgain) {
    const OwnFolder folder;
    const auto host = carOn(false);
    host->addVehicle("second").put("Use Fast Ray Cast", 0.0);
    host->run(0, 12);
    host->vehicles[0]->armed = false;
    host->run(5, 8);
    EXPECT_EQ(host->recorded(), Frames({0, 12}));
    host->messages = {{1, 0, "Warning", "first", 1}, {2, 1, "Warning", "second", 1}};
    saveTake(*host, folder.file("two.glb"));
    EXPECT_EQ(openTake(folder.file("two.glb"), takeModule())->recorded(1), Frames({0, 8}));
    host->removeVehicle(*host->vehicles[0]);
    saveTake(*host, folder.file("one.glb"));
    const auto opened = openTake(folder.file("one.glb"), takeModule());
    ASSERT_EQ(opened->messages.size(), 1U);
    EXPECT_EQ(opened->messages[0].text, "second");
    EXPECT_EQ(opened->recorded(), Frames({0, 8}));
    expectSame(*host, *opened);
}

TEST(RecordedTake, OfAVehicleLessIsTakenOverByTheVehicleThatIsLeft) {
    const auto host = carOn(false);
    host->addVehicle("second").put("Use Fast Ray Cast", 0.0);
    host->run(0, 12);
    const std::string first = host->vehicles[0]->name;
    host->removeVehicle(*host->vehicles[0]);
    // The recording begins with both, of which this is the second.
    const auto gasOfTheOne = [&](int vehicle, int, int) -> std::optional<double> {
        EXPECT_EQ(vehicle, 0);
        return 1.0;
    };
    const Journal journal = host->journal;
    ASSERT_TRUE(host->retake(journal, Stage::TakeOver{5, 12, gasOfTheOne, 0}));
    ASSERT_EQ(host->vehicles.size(), 2U);
    const auto inputAt = [&](const std::string& name, int frame) {
        const RunInput& input = host->journal.at(0).inputs.at(static_cast<std::size_t>(host->vehicleNamed(name)));
        return input.axes.at(static_cast<std::size_t>(frame * input.channels));
    };
    EXPECT_EQ(inputAt("second", 6), 1.0);
    EXPECT_NE(inputAt("second", 5), 1.0);
    EXPECT_NE(inputAt(first, 6), 1.0) << "it has gone from the scene that was taken over";
}

TEST(RecordedTake, OfAVehicleThatIsNotWholeIsRefused) {
    const OwnFolder folder;
    const auto host = carOn(false);
    host->create("bare");
    EXPECT_THAT(errorOf([&] { saveTake(*host, folder.file("t.glb")); }), HasSubstr("'bare' is not rigged"));
    host->removeVehicle(*host->vehicles[1]);
    Vehicle& failed = host->replace(host->addVehicle("failed"));
    failed.chunk = {1, 2, 3};
    ASSERT_NE(failed.load(), 0U);
    EXPECT_THAT(errorOf([&] { saveTake(*host, folder.file("t.glb")); }), HasSubstr("'failed' is not rigged"));
    EXPECT_EQ(folder.count(), 0U);
}

/// What writing says of contents that were changed behind the stage's back.
std::string refusal(const std::function<void(TakeContents&)>& change) {
    const auto host = carOn(false);
    host->run(0, 3);
    TakeContents contents = contentsOf(*host);
    change(contents);
    return errorOf([&] { (void)takeBytes(contents); });
}

TEST(RecordedTake, WhatCouldNotBeOpenedIsNotWritten) {
    EXPECT_THAT(refusal([](TakeContents&) {}), "no error");
    EXPECT_THAT(refusal([](TakeContents& c) {
                    c.vehicles.clear();
                    c.curves.clear();
                }),
                HasSubstr("no vehicle"));
    EXPECT_THAT(refusal([](TakeContents& c) { c.vehicles[0].block.clear(); }), HasSubstr("has no saved state"));
    EXPECT_THAT(refusal([](TakeContents& c) { c.vehicles[0].block.resize(9); }), HasSubstr("is damaged"));
    EXPECT_THAT(refusal([](TakeContents& c) { c.messages = {{1, 1, "Warning", "", 1}}; }), HasSubstr("'Warning'"));
    EXPECT_THAT(refusal([](TakeContents& c) { c.journal[0].to = 4; }), HasSubstr("one row per frame"));
    EXPECT_THAT(refusal([](TakeContents& c) { c.journal[0].to = -1; }), HasSubstr("no frames"));
    EXPECT_THAT(refusal([](TakeContents& c) { c.journal[0].before = nullptr; }), HasSubstr("started from"));
    EXPECT_THAT(refusal([](TakeContents& c) { c.elements.pop_back(); }), HasSubstr("nothing was written"));
    EXPECT_THAT(refusal([](TakeContents& c) { c.vehicles.push_back(c.vehicles[0]); }), HasSubstr("two vehicles"));
    EXPECT_THAT(refusal([](TakeContents& c) { c.now = 2000000000; }), HasSubstr("too far away"));
    EXPECT_THAT(refusal([](TakeContents& c) {
                    for (TakeElement& element : c.elements)
                        if (element.state.track.keys.size() > 1)
                            element.state.track.keys[1].time = element.state.track.keys[0].time;
                }),
                HasSubstr("not in order"));
}

}  // namespace
}  // namespace ond::test
