// The undo stack between the host's own changes, a vehicle's records and runs.
#include "stage/FakeVehicle.h"

namespace ond::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using util::Translation;

class HostUndo : public OneFake {
  protected:
    std::string written;
    ovs::CUndo* record(const std::string& name) { return new WrittenRecord(name, written); }
    /// The records write into `written`, which goes before the stack does.
    void TearDown() override { undo.clear(); }
};

TEST_F(HostUndo, RecordIsOwnedNotRunAndEndedByRelease) {
    rig();
    car.pushUndo(record("a"), 0);
    EXPECT_EQ(written, "");
    EXPECT_EQ(undo.steps(), 1);
    car.pushUndo(nullptr, 0);
    EXPECT_EQ(undo.steps(), 1);
    undo.clear();
    EXPECT_EQ(written, "xa");
}

TEST_F(HostUndo, UndoAndRedoAlternate) {
    rig();
    car.pushUndo(record("a"), 0);
    for (int i = 0; i < 2; ++i) {
        undo.undo();
        undo.undo();
        undo.redo();
        undo.redo();
    }
    EXPECT_EQ(written, "-a+a-a+a");
}

TEST_F(HostUndo, NewStepEndsWhatCouldBeRedone) {
    rig();
    for (const char* name : {"a", "b", "c"}) car.pushUndo(record(name), 0);
    undo.undo();
    undo.undo();
    written.clear();
    car.edit("Number", 1.0);
    EXPECT_EQ(written, "xcxb");
    undo.redo();
    EXPECT_EQ(written, "xcxb");
    EXPECT_EQ(undo.steps(), 2);
}

TEST_F(HostUndo, LimitReleasesTheOldestAndOnlyThem) {
    rig();
    undo.limit = 2;
    for (const char* name : {"a", "b", "c", "d"}) car.pushUndo(record(name), 0);
    EXPECT_EQ(written, "xaxb");
    EXPECT_EQ(undo.steps(), 2);
    written.clear();
    for (int i = 0; i < 4; ++i) undo.undo();
    EXPECT_EQ(written, "-d-c");
    for (int i = 0; i < 4; ++i) undo.redo();
    EXPECT_EQ(written, "-d-c+c+d");
    undo.limit = 1;
    written.clear();
    car.pushUndo(record("e"), 0);
    EXPECT_EQ(written, "xcxd");
    undo.undo();
    EXPECT_EQ(written, "xcxd-e");
}

TEST_F(HostUndo, LimitCountsStepsNotRecords) {
    rig();
    undo.limit = 1;
    undo.open();
    for (int i = 0; i < 59; ++i) car.pushUndo(record("r"), 0);
    undo.close();
    EXPECT_EQ(written, "");
    EXPECT_EQ(undo.recordsOnTop(), 59);
}

TEST_F(HostUndo, DefaultLimitIsFinite) {
    rig();
    const int limit = undo.limit;
    ASSERT_GT(limit, 0);
    ASSERT_LE(limit, 1000);
    for (int i = 0; i < limit + 5; ++i) car.edit("Number", i % 2);
    EXPECT_EQ(undo.steps(), limit);
}

TEST_F(HostUndo, StepWithinAStepIsPartOfIt) {
    rig();
    undo.open();
    car.pushUndo(record("a"), 0);
    undo.open();
    car.pushUndo(record("b"), 0);
    undo.close();
    car.pushUndo(record("c"), 0);
    undo.close();
    EXPECT_EQ(undo.steps(), 1);
    undo.undo();
    EXPECT_EQ(written, "-c-b-a");
}

TEST_F(HostUndo, StepWithoutRecordsIsNone) {
    int value = 0;
    undo.push([&] { value = -1; }, [&] { value = 1; }, nullptr);
    undo.open();
    undo.close();
    EXPECT_EQ(undo.steps(), 1);
    undo.undo();
    EXPECT_EQ(value, -1);
}

TEST_F(HostUndo, OwnerThatLeavesAnOpenStepLeavesItOpen) {
    rig();
    undo.open();
    car.pushUndo(record("a"), 0);
    undo.drop(&car);
    EXPECT_EQ(written, "xa");
    undo.push(record("b"), nullptr);
    undo.undo();
    EXPECT_EQ(written, "xa") << "the step is not over";
    undo.close();
    EXPECT_EQ(undo.steps(), 1);
    undo.undo();
    EXPECT_EQ(written, "xa-b");
}

TEST_F(HostUndo, RecordsOfUndoneStepsDieWithTheirVehicle) {
    rig();
    car.pushUndo(record("a"), 0);
    car.pushUndo(record("b"), 0);
    undo.undo();
    plugin.onRelease = [&](FakeVehicle&) { written += "|"; };
    car.release();
    EXPECT_EQ(written, "-bxaxb|");
    undo.redo();
    undo.undo();
    EXPECT_EQ(written, "-bxaxb|");
}

TEST_F(HostUndo, NothingIsUndoneFromWithinACall) {
    rig();
    car.edit("Number", 1.5);
    car.pushUndo(record("a"), 0);
    car.pushUndo(record("b"), 0);
    undo.undo();
    written.clear();
    plugin.onShow = [&](FakeVehicle&, double) {
        undo.undo();
        undo.redo();
    };
    car.showFrame(0);
    EXPECT_EQ(written, "");
    EXPECT_EQ(car.value("Number"), 1.5);
    EXPECT_THAT(undo.misuse, ElementsAre(HasSubstr("undo inside of a call"), HasSubstr("redo inside of a call")));
    undo.undo();
    EXPECT_EQ(written, "-a") << "behind the call it is possible again";
    EXPECT_EQ(undo.misuse.size(), 2U);
}

TEST_F(HostUndo, RecordIsACallAsWell) {
    struct CallingRecord final : ovs::CUndo {
        CallingRecord(Vehicle& called, UndoStack& ofHost) : CUndo(&called), stack(ofHost) {}
        void undo(bool) override { call(); }
        void redo() override { call(); }
        void release() override { delete this; }
        void call() {
            static_cast<Vehicle*>(target)->showFrame(0);
            stack.undo();
        }
        UndoStack& stack;
    };
    rig();
    car.edit("Number", 1.5);
    car.pushUndo(new CallingRecord(car, undo), 0);
    undo.undo();
    undo.redo();
    EXPECT_EQ(plugin.count("showFrame"), 0);
    EXPECT_EQ(car.value("Number"), 1.5);
    EXPECT_EQ(car.misuse.size(), 2U);
    EXPECT_EQ(undo.misuse.size(), 2U);
}

class RunUndo : public FakeStage {
  protected:
    std::string written;

    void SetUp() override {
        FakeStage::SetUp();
        plugin.onRig = [](FakeVehicle& v) { v.make("CarBodyMesh"); };
        plugin.onFrame = [](FakeVehicle& v, double time) {
            v.setWorld(v.handles[0], time, Translation({1 + time, 0, 0}));
        };
        plugin.onStart = [this](FakeVehicle& v, double) {
            for (const char* name : {"1", "2", "3"})
                v.hostInterface->pushUndo(new WrittenRecord(v.name + name, written), 0);
        };
    }
    void TearDown() override { stage.reset(); }
};

TEST_F(RunUndo, RecordsAndKeysOfARunAreOneStep) {
    Vehicle& car = add("car");
    add("bus");
    const auto keys = [&] { return car.element("CarBodyMesh").track.keys.size(); };
    stage->run(0, 10);
    EXPECT_EQ(keys(), 11U);
    EXPECT_EQ(stage->undo.steps(), 1);
    EXPECT_EQ(stage->undo.recordsOnTop(), 6);
    stage->run(5, 20);
    EXPECT_EQ(keys(), 21U);
    EXPECT_EQ(stage->undo.steps(), 2);
    written.clear();
    stage->undo.undo();
    EXPECT_EQ(keys(), 11U);
    EXPECT_EQ(written, "-bus3-bus2-bus1-car3-car2-car1");
    stage->undo.undo();
    EXPECT_EQ(keys(), 0U);
    EXPECT_EQ(car.world("CarBodyMesh", 5), util::Matrix4());
    stage->undo.redo();
    stage->undo.redo();
    EXPECT_EQ(keys(), 21U);
    EXPECT_EQ(car.world("CarBodyMesh", 20), Translation({1.8, 0, 0}));
}

TEST_F(RunUndo, RepairOfTheStartIsTakenBackWithTheRun) {
    Vehicle& car = add("car");
    plugin.onStart = [](FakeVehicle& v, double time) { v.setWorld(v.handles[0], time, util::Scaling(2.0)); };
    for (const bool recorded : {false, true}) {
        SCOPED_TRACE(recorded);
        stage->run(0, 2, recorded);
        EXPECT_EQ(car.world("CarBodyMesh", 0), util::Scaling(2.0));
        stage->undo.undo();
        EXPECT_EQ(car.world("CarBodyMesh", 0), util::Matrix4());
    }
}

TEST_F(RunUndo, NothingIsUndoneDuringARun) {
    Vehicle& car = add("car");
    car.edit("Number", 1.0);
    car.edit("Number", 2.0);
    stage->undo.undo();
    stage->startRun(0);
    stage->advance(2);
    stage->undo.undo();
    stage->undo.redo();
    EXPECT_EQ(car.value("Number"), 1.0);
    EXPECT_EQ(written, "");
    stage->advance(1);
    stage->stopRun();
    stage->undo.undo();
    EXPECT_EQ(written, "-car3-car2-car1");
    stage->undo.undo();
    EXPECT_EQ(car.value("Number"), 0.5);
}

TEST_F(RunUndo, EditDuringARunIsRefusedAndLeavesTheStepWhole) {
    Vehicle& car = add("car");
    stage->startRun(0);
    stage->advance(1);
    car.edit("Number", 2.0);
    EXPECT_EQ(car.value("Number"), 0.5);
    stage->stopRun();
    ASSERT_EQ(car.misuse.size(), 1U);
    EXPECT_THAT(car.misuse[0], HasSubstr("during a run"));
    EXPECT_EQ(stage->undo.steps(), 1);
    EXPECT_EQ(stage->undo.recordsOnTop(), 3);
    EXPECT_EQ(written, "");
}

TEST_F(RunUndo, StageTellsOfUndoFromWithinACall) {
    add("car");
    plugin.onFrame = [this](FakeVehicle&, double) { stage->undo.undo(); };
    stage->run(0, 1);
    EXPECT_THAT(stage->complaints(), ElementsAre(HasSubstr("undo inside of a call")));
    stage->undo.misuse.clear();
}

TEST_F(RunUndo, OldRunsFallOutOfTheStack) {
    Vehicle& car = add("car");
    stage->undo.limit = 3;
    for (int i = 0; i < 5; ++i) stage->run(0, i + 1);
    EXPECT_EQ(written, "xcar1xcar2xcar3xcar1xcar2xcar3");
    EXPECT_EQ(stage->undo.steps(), 3);
    for (int i = 0; i < 5; ++i) stage->undo.undo();
    EXPECT_EQ(car.element("CarBodyMesh").track.keys.size(), 3U) << "what the second run left";
}

}  // namespace
}  // namespace ond::test
