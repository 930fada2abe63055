// The life of a vehicle, kept by both sides: what comes in which order, and what the host says when something does not.
#include "stage/FakeVehicle.h"

namespace ond::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using Life = Vehicle::Life;

constexpr Life kStates[] = {Life::created, Life::declared,   Life::rigged,
                            Life::running, Life::loadFailed, Life::released};
const char* const kStateNames[] = {"created", "declared", "rigged", "running", "loadFailed", "released"};

bool isIn(const std::vector<Life>& states, Life state) {
    return std::find(states.begin(), states.end(), state) != states.end();
}

/// A vehicle that was brought into a state in an orderly way.
struct Brought {
    FakePlugin plugin;
    Scene scene{{25, 1}};
    UndoStack undo;
    std::unique_ptr<Vehicle> car;

    explicit Brought(Life state) {
        plugin.onRig = [](FakeVehicle& fake) { fake.make("CarBodyMesh"); };
        plugin.onLoad = [](FakeVehicle& fake) -> std::uint64_t {
            fake.make("CarBodyMesh");
            return 1;
        };
        car = std::make_unique<Vehicle>(&plugin, "car", scene, undo);
        bring(state);
        EXPECT_EQ(car->life, state);
        EXPECT_THAT(car->misuse, IsEmpty());
        plugin.calls.clear();
    }

  private:
    void bring(Life state) {
        if (state == Life::created) return;
        car->declare();
        if (state == Life::declared) return;
        if (state == Life::loadFailed) {
            car->load();
            return;
        }
        car->createRig();
        if (state == Life::running) car->startRun(0);
        if (state == Life::released) car->release();
    }
};

struct HostCall {
    const char* operation;  ///< as a complaint names it
    std::vector<Life> allowed;
    std::function<void(Vehicle&)> make;
};

const std::vector<HostCall>& hostCalls() {
    static const std::vector<HostCall> all = {
        {"declareParameters", {Life::created}, [](Vehicle& v) { v.declare(); }},
        {"createRig", {Life::declared}, [](Vehicle& v) { v.createRig(); }},
        {"loadState", {Life::declared}, [](Vehicle& v) { v.load(); }},
        {"saveState", {Life::rigged}, [](Vehicle& v) { v.save(); }},
        {"startRun", {Life::rigged}, [](Vehicle& v) { v.startRun(0); }},
        {"updateFrame",
         {Life::running},
         [](Vehicle& v) {
             v.scene.clock.now = 1;
             v.updateFrame(1);
         }},
        {"showFrame", {Life::rigged, Life::running}, [](Vehicle& v) { v.showFrame(v.scene.clock.now); }},
        {"stopRun", {Life::running}, [](Vehicle& v) { v.stopRun(0); }},
        {"onParameterChanged", {Life::rigged}, [](Vehicle& v) { v.edit("Number", 1.0); }},
        {"onParameterChanged", {Life::rigged}, [](Vehicle& v) { v.press("Press"); }},
        {"onParameterChanged", {Life::rigged}, [](Vehicle& v) { v.send("REALUNDONumber"); }},
        {"callExtension", {Life::declared, Life::rigged, Life::running}, [](Vehicle& v) { v.refreshOutputs(); }},
    };
    return all;
}

TEST(HostLife, EachCallIsMadeInItsStatesAndNamedAsMisuseInAllOthers) {
    for (const HostCall& call : hostCalls())
        for (std::size_t s = 0; s < std::size(kStates); ++s) {
            SCOPED_TRACE(std::string(call.operation) + " in " + kStateNames[s]);
            Brought brought(kStates[s]);
            const double number = kStates[s] == Life::released ? 0.0 : brought.plugin.last->number;
            call.make(*brought.car);
            if (isIn(call.allowed, kStates[s])) {
                EXPECT_THAT(brought.car->misuse, IsEmpty());
            } else {
                EXPECT_THAT(brought.car->misuse, ElementsAre(AllOf(HasSubstr("car: "), HasSubstr(call.operation))));
                EXPECT_THAT(brought.plugin.lines(), IsEmpty()) << "the call was made";
                EXPECT_EQ(brought.car->life, kStates[s]);
                EXPECT_EQ(brought.undo.steps(), 0);
                if (kStates[s] != Life::released) {
                    EXPECT_EQ(brought.plugin.last->number, number);
                }
            }
        }
}

TEST(HostLife, StrictHostThrowsWhatItWouldOtherwiseOnlyNote) {
    for (const HostCall& call : hostCalls())
        for (std::size_t s = 0; s < std::size(kStates); ++s) {
            SCOPED_TRACE(std::string(call.operation) + " in " + kStateNames[s]);
            Brought brought(kStates[s]);
            brought.car->strict = true;
            if (isIn(call.allowed, kStates[s])) {
                EXPECT_NO_THROW(call.make(*brought.car));
                continue;
            }
            try {
                call.make(*brought.car);
                FAIL() << "nothing was thrown";
            } catch (const StageError& error) {
                EXPECT_THAT(error.what(), HasSubstr(call.operation));
                EXPECT_THAT(brought.car->misuse, ElementsAre(error.what()));
            }
            EXPECT_THAT(brought.plugin.lines(), IsEmpty()) << "the call was made";
            EXPECT_EQ(brought.car->life, kStates[s]);
        }
}

TEST(HostLife, MisuseSaysInWhichStateTheVehicleIs) {
    const char* const words[] = {
        "before it was declared", "", "while it is rigged and not running", "during a run", "after its load failed",
        "after it was released"};
    for (std::size_t s = 0; s < std::size(kStates); ++s) {
        if (kStates[s] == Life::declared) continue;
        Brought brought(kStates[s]);
        brought.car->createRig();
        EXPECT_THAT(brought.car->misuse, ElementsAre(HasSubstr(words[s])));
    }
    Brought declared(Life::declared);
    declared.car->startRun(0);
    EXPECT_THAT(declared.car->misuse, ElementsAre(HasSubstr("before it was rigged")));
}

struct VehicleCall {
    const char* operation;
    std::vector<Life> allowed;  ///< as tested from outside of any call of the host
    std::function<void(Vehicle&, ovs::MeshHandle*)> make;
};

util::CMesh g_shape = smallTriangle();

const std::vector<VehicleCall>& vehicleCalls() {
    const std::vector<Life> anyOf = {Life::declared, Life::rigged, Life::running};
    static std::string written;
    using H = ovs::MeshHandle*;
    static const std::vector<VehicleCall> all = {
        {"callExtension", anyOf,
         [](Vehicle& v, H) {
             unidevice::OutputChannelRecord record{"Velocity", 8};
             v.callExtension(41, &record);
         }},
        {"pushUndo",
         {Life::rigged, Life::running},
         [](Vehicle& v, H) { v.pushUndo(new WrittenRecord("r", written), 0); }},
        {"refreshDialog", anyOf, [](Vehicle& v, H) { v.refreshDialog(); }},
        {"deleteElement", {Life::declared, Life::rigged}, [](Vehicle& v, H h) { v.deleteElement(h, 0, 0); }},
        {"findElement", {Life::declared}, [](Vehicle& v, H) { static_cast<void>(v.findElement("CarBodyMesh")); }},
        {"createCameraElement",
         {Life::declared, Life::rigged},
         [](Vehicle& v, H) { v.createCameraElement("FollowCam", nullptr, false); }},
        {"createMeshElement",
         {Life::declared, Life::rigged},
         [](Vehicle& v, H) { v.createMeshElement("TargetMesh", nullptr, &g_shape, 0); }},
        {"getTransformObject", anyOf, [](Vehicle& v, H h) { v.releaseTransformObject(v.getTransformObject(h, 0.0)); }},
        {"getAppearanceObject", anyOf, [](Vehicle& v, H h) { v.releaseAppearanceObject(v.getAppearanceObject(h)); }},
        {"getSurfaceObject", anyOf, [](Vehicle& v, H h) { v.releaseSurfaceObject(v.getSurfaceObject(h, 0.0)); }},
        {"releaseElementData", anyOf, [](Vehicle& v, H h) { v.releaseElementData(h); }},
        {"getCurrentTime", anyOf, [](Vehicle& v, H) { static_cast<void>(v.getCurrentTime()); }},
        {"getFrameStep", anyOf, [](Vehicle& v, H) { static_cast<void>(v.getFrameStep()); }},
        {"redrawViews", {Life::rigged, Life::running}, [](Vehicle& v, H) { v.redrawViews(); }},
        {"messageBox", anyOf, [](Vehicle& v, H) { v.messageBox("text", "Warning", 0); }},
        {"show", anyOf, [](Vehicle&, H h) { h->show(); }},
        {"hide", anyOf, [](Vehicle&, H h) { h->hide(); }},
        {"isShown", anyOf, [](Vehicle&, H h) { static_cast<void>(h->isShown()); }},
        {"getParent", anyOf, [](Vehicle&, H h) { static_cast<void>(h->getParent()); }},
        {"getNumChildren", anyOf, [](Vehicle&, H h) { static_cast<void>(h->getNumChildren()); }},
        {"getName", anyOf, [](Vehicle&, H h) { static_cast<void>(h->getName()); }},
    };
    return all;
}

TEST(HostLife, EachServiceIsGivenInItsStatesAndNamedAsMisuseInAllOthers) {
    for (const VehicleCall& call : vehicleCalls())
        for (std::size_t s = 0; s < std::size(kStates); ++s) {
            SCOPED_TRACE(std::string(call.operation) + " in " + kStateNames[s]);
            Brought brought(kStates[s]);
            Element* body = brought.scene.find("car", "CarBodyMesh");
            if (body == nullptr) body = &brought.scene.addMesh("rock", g_shape);
            call.make(*brought.car, brought.car->handleOf(body));
            if (isIn(call.allowed, kStates[s]))
                EXPECT_THAT(brought.car->misuse, IsEmpty());
            else
                EXPECT_THAT(brought.car->misuse, ElementsAre(AllOf(HasSubstr("car: "), HasSubstr(call.operation))));
        }
}

TEST(HostLife, AfterItsReleaseAVehicleIsGivenNothingAndTheElementIsNamed) {
    for (const bool logging : {true, false}) {
        SCOPED_TRACE(logging);
        Brought brought(Life::released);
        Vehicle& car = *brought.car;
        car.log.enabled = logging;
        ovs::MeshHandle* body = car.handleOf(brought.scene.find("car", "CarBodyMesh"));
        EXPECT_EQ(car.getTransformObject(body, 0.0), nullptr);
        EXPECT_EQ(car.getSurfaceObject(body, 0.0), nullptr);
        EXPECT_EQ(car.getAppearanceObject(body), nullptr);
        body->hide();
        EXPECT_TRUE(car.element("CarBodyMesh").shown);
        EXPECT_THAT(car.misuse,
                    ElementsAre(AllOf(HasSubstr("getTransformObject of CarBodyMesh"), HasSubstr("released")),
                                AllOf(HasSubstr("getSurfaceObject of CarBodyMesh"), HasSubstr("released")),
                                AllOf(HasSubstr("getAppearanceObject of CarBodyMesh"), HasSubstr("released")),
                                AllOf(HasSubstr("hide of CarBodyMesh"), HasSubstr("released"))));
    }
}

TEST(HostLife, RecordPushedAfterTheReleaseIsEndedAtOnce) {
    std::string written;
    Brought brought(Life::released);
    brought.car->pushUndo(new WrittenRecord("late", written), 0);
    EXPECT_EQ(written, "xlate");
    EXPECT_EQ(brought.undo.steps(), 0);
}

TEST(HostLife, DeclarationsAreTakenInDeclareParametersOnly) {
    Brought brought(Life::rigged);
    Vehicle& car = *brought.car;
    const std::size_t items = car.dialog.items.size();
    double field = 0.0;
    car.createInputProperty("Late", 14, &brought.plugin.last->factory);
    car.beginGroup("Late", "");
    car.addDoubleParameter("Late", "", &field, 0, 1, 1, 1, true, nullptr, nullptr);
    car.endGroup();
    car.endInputProperties();
    car.endParameters();
    EXPECT_THAT(car.misuse,
                ElementsAre(HasSubstr("createInputProperty"), HasSubstr("beginGroup"), HasSubstr("Late"),
                            HasSubstr("endGroup"), HasSubstr("endInputProperties"), HasSubstr("endParameters")));
    EXPECT_EQ(car.dialog.items.size(), items);
    EXPECT_EQ(car.dialog.groups.size(), 2U);
}

TEST(HostLife, BlocksPassInTheirOwnCallsOnly) {
    Brought brought(Life::rigged);
    Vehicle& car = *brought.car;
    car.chunk = {1, 2, 3};
    const char other[] = "other";
    car.storeChunk(other, sizeof other);
    EXPECT_EQ(car.getChunk(0), nullptr);
    EXPECT_THAT(car.misuse, ElementsAre(AllOf(HasSubstr("storeChunk"), HasSubstr("saveState")),
                                        AllOf(HasSubstr("getChunk"), HasSubstr("loadState"))));
    EXPECT_EQ(car.chunk, (std::vector<unsigned char>{1, 2, 3}));
}

class HostLifeOfOne : public OneFake {};

TEST_F(HostLifeOfOne, OrderlyLifeComesInOrderAndWithoutAWord) {
    rig();
    car.save();
    for (const int start : {0, 5}) {
        scene.clock.now = start;
        car.startRun(start);
        for (int frame = start + 1; frame <= start + 3; ++frame) {
            scene.clock.now = frame;
            car.updateFrame(frame);
            car.showFrame(frame);
        }
        car.stopRun(start + 3);
    }
    car.edit("Number", 1.0);
    car.release();
    EXPECT_THAT(car.misuse, IsEmpty());
    EXPECT_THAT(car.open(), IsEmpty());
    EXPECT_EQ(plugin.alive, 0);
    EXPECT_EQ(plugin.lines().front(), "car declareParameters");
    EXPECT_EQ(plugin.lines().back(), "car release");
    EXPECT_EQ(plugin.count("updateFrame"), 6);
}

TEST_F(HostLifeOfOne, ObjectHasItsNameAndItsHostBeforeTheFirstCall) {
    EXPECT_EQ(fake().name, "car");
    EXPECT_EQ(fake().hostInterface, &car);
    ASSERT_NE(fake().hostInterface->link, nullptr);
    EXPECT_EQ(fake().hostInterface->link->descriptor, &plugin);
    EXPECT_EQ(fake().hostInterface->link->descriptor->getInterfaceStamp(), 9201U);
    EXPECT_TRUE(plugin.calls.empty());
}

TEST_F(HostLifeOfOne, ModuleThatMakesNothingIsAnError) {
    plugin.makesNothing = true;
    EXPECT_THROW(Vehicle(&plugin, "none", scene, undo), StageError);
}

TEST_F(HostLifeOfOne, FramesOfARunAreNeitherSkippedNorRepeated) {
    rig();
    const auto update = [&](int frame) {
        scene.clock.now = frame;
        car.updateFrame(frame);
    };
    scene.clock.now = 10;
    car.startRun(10);
    update(11);
    update(13);
    EXPECT_THAT(car.misuse, ElementsAre(AllOf(HasSubstr("13"), HasSubstr("11"))));
    update(11);
    EXPECT_EQ(car.misuse.size(), 2U);
    update(12);
    EXPECT_EQ(car.misuse.size(), 2U);
    car.stopRun(14);
    EXPECT_THAT(car.misuse.back(), AllOf(HasSubstr("stopRun"), HasSubstr("14"), HasSubstr("12")));
    EXPECT_EQ(plugin.times("updateFrame"), (std::vector<double>{scene.clock.time(11), scene.clock.time(12)}));
}

TEST_F(HostLifeOfOne, CallsOfAFrameComeWhileTheTimelineShowsIt) {
    rig();
    scene.clock.now = 3;
    car.startRun(4);
    EXPECT_THAT(car.misuse, ElementsAre(AllOf(HasSubstr("startRun"), HasSubstr("4"), HasSubstr("3"))));
    EXPECT_EQ(plugin.count("startRun"), 0);
    scene.clock.now = 4;
    car.startRun(4);
    car.updateFrame(5);
    EXPECT_EQ(car.misuse.size(), 2U);
    EXPECT_EQ(plugin.count("updateFrame"), 0);
}

TEST_F(HostLifeOfOne, ReleaseEndsRecordsFirstAndChannelsLast) {
    rig();
    std::string written;
    std::string atRelease;
    double gasAtRelease = -1.0;
    fake().hostInterface->pushUndo(new WrittenRecord("r", written), 0);
    car.edit("Number", 1.5);
    unidevice::OutputChannelRecord record{"Velocity", 8};
    auto* output =
        static_cast<unidevice::OutputProperty*>(static_cast<unidevice::Property*>(car.callExtension(41, &record)));
    ASSERT_NE(output, nullptr);
    car.axis("Gas").position = 1.0;
    plugin.onRelease = [&](FakeVehicle& gone) {
        atRelease = written;
        gasAtRelease = gone.gas->value();
        output->store(3.0);
        EXPECT_EQ(undo.steps(), 0) << "records of the vehicle are still there";
    };
    ASSERT_EQ(car.axes.front()->properties.size(), 1U);
    car.release();
    EXPECT_EQ(atRelease, "xr");
    EXPECT_EQ(gasAtRelease, 1.0) << "channels live until after the release";
    EXPECT_TRUE(car.axes.front()->properties.empty()) << "and die then";
    EXPECT_TRUE(car.properties.empty());
    EXPECT_TRUE(car.outputs.empty());
    EXPECT_TRUE(car.dialog.items.empty()) << "fields of a dead object";
    EXPECT_EQ(plugin.alive, 0);
    undo.undo();
    EXPECT_EQ(written, "xr");
    car.release();
    EXPECT_EQ(plugin.count("release"), 1);
}

TEST_F(HostLifeOfOne, ServicesNeverCallBack) {
    rig();
    plugin.onFrame = [&](FakeVehicle& v, double time) {
        std::string unused;
        static std::string written;
        ovs::CInterface& h = *v.hostInterface;
        h.pushUndo(new WrittenRecord("r", written), 0);
        h.refreshDialog();
        h.redrawViews();
        h.messageBox("text", "Warning", 0);
        v.setWorld(v.handles.front(), time, util::Matrix4());
        v.handles.front()->hide();
        v.handles.front()->show();
    };
    made("CarBodyMesh");
    scene.beginRun(0);
    car.startRun(0);
    scene.beginFrame(1);
    car.updateFrame(1);
    car.stopRun(1);
    EXPECT_EQ(plugin.nested, 0);
    EXPECT_EQ(plugin.count("updateFrame"), 1);
    EXPECT_THAT(car.misuse, IsEmpty());
}

TEST_F(HostLifeOfOne, CallFromWithinACallIsNotMade) {
    rig();
    plugin.onFrame = [&](FakeVehicle&, double) { car.showFrame(1); };
    car.startRun(0);
    scene.clock.now = 1;
    car.updateFrame(1);
    EXPECT_EQ(plugin.nested, 0);
    EXPECT_THAT(car.misuse, ElementsAre(AllOf(HasSubstr("showFrame"), HasSubstr("updateFrame"))));
    car.misuse.clear();
    car.showFrame(1);
    EXPECT_THAT(car.misuse, IsEmpty());
}

TEST_F(HostLifeOfOne, CallOfAnotherVehicleFromWithinACallIsNotMade) {
    FakePlugin others;
    Vehicle other(&others, "other", scene, undo);
    other.declare();
    other.createRig();
    rig();
    others.calls.clear();
    plugin.onFrame = [&](FakeVehicle& v, double) {
        other.showFrame(1);
        other.startRun(1);
        other.save();
        other.edit("Number", 1.0);
        v.hostInterface->refreshDialog();
        EXPECT_THROW(Vehicle(&others, "third", scene, undo), StageError);
    };
    car.startRun(0);
    scene.clock.now = 1;
    car.updateFrame(1);
    EXPECT_EQ(others.lines(), Lines());
    EXPECT_EQ(other.value("Number"), 0.5);
    EXPECT_EQ(others.alive, 1);
    const auto inside = [](const char* call) {
        return AllOf(HasSubstr(call), HasSubstr("inside of a call of another vehicle"));
    };
    EXPECT_THAT(other.misuse, ElementsAre(inside("showFrame"), inside("startRun"), inside("saveState"),
                                          inside("onParameterChanged")));
    other.misuse.clear();
    other.showFrame(1);
    EXPECT_THAT(other.misuse, IsEmpty()) << "behind the call all is as before";
    EXPECT_EQ(others.count("showFrame"), 1);
}

TEST_F(HostLifeOfOne, LentObjectsAreNamedWhenUsedOrGivenBackTooLate) {
    car.log.enabled = false;
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    ovs::TransformObject* transform = car.getTransformObject(body, 0.0);
    car.releaseTransformObject(transform);
    EXPECT_THAT(car.misuse, IsEmpty());
    transform->setLocalMatrix(util::Translation({1, 2, 3}));
    EXPECT_THAT(car.misuse, ElementsAre(AllOf(HasSubstr("setLocal"), HasSubstr("CarBodyMesh"))));
    EXPECT_EQ(car.local("CarBodyMesh", 0), util::Matrix4()) << "the write was taken";
    car.releaseTransformObject(transform);
    EXPECT_THAT(car.misuse.back(), AllOf(HasSubstr("releaseTransformObject"), HasSubstr("CarBodyMesh")));
    EXPECT_EQ(car.misuse.size(), 2U);
}

TEST_F(HostLifeOfOne, WhatWasNotGivenBackIsListed) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    ovs::TransformObject* transform = car.getTransformObject(body, 0.0);
    ovs::AppearanceObject* appearance = car.getAppearanceObject(body);
    ovs::MeshHandle* lens = car.createCameraElement("DriverCam", nullptr, false);
    ovs::CameraObject* camera = car.getCameraObject(lens, 0.0);
    EXPECT_THAT(car.open(),
                ElementsAre("transform of CarBodyMesh", "appearance of CarBodyMesh", "camera of DriverCam"));
    car.releaseCameraObject(camera);
    car.releaseTransformObject(transform);
    car.releaseAppearanceObject(appearance);
    EXPECT_THAT(car.open(), IsEmpty());
}

TEST_F(HostLifeOfOne, ObjectOfAnotherVehicleIsNotTakenBack) {
    rig();
    ovs::TransformObject* transform = car.getTransformObject(made("CarBodyMesh"), 0.0);
    Vehicle other(&plugin, "other", scene, undo);
    other.declare();
    other.createRig();
    other.releaseTransformObject(transform);
    EXPECT_THAT(other.misuse, ElementsAre(AllOf(HasSubstr("releaseTransformObject"), HasSubstr("car"))));
    EXPECT_EQ(car.open().size(), 1U);
    car.releaseTransformObject(transform);
    EXPECT_THAT(car.misuse, IsEmpty());
}

class HostLifeOnStage : public FakeStage {};

TEST_F(HostLifeOnStage, DescriptorIsReleasedBehindTheLastVehicle) {
    add("a");
    add("b");
    plugin.calls.clear();
    stage.reset();
    const Lines lines = plugin.lines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines.back(), "plugin release");
    EXPECT_EQ(plugin.alive, 0);
}

TEST_F(HostLifeOnStage, VehicleThatDidNotLoadIsLeftAlone) {
    add("good");
    plugin.onLoad = [](FakeVehicle&) -> std::uint64_t { return 1; };
    Vehicle& bad = stage->create("bad");
    bad.declare();
    EXPECT_EQ(bad.load(), 1U);
    Vehicle& young = stage->create("young");
    plugin.calls.clear();
    stage->run(0, 2);
    stage->show(1);
    EXPECT_THAT(bad.misuse, IsEmpty());
    EXPECT_THAT(young.misuse, IsEmpty());
    for (const FakeCall& call : plugin.calls) EXPECT_EQ(call.vehicle, "good") << call.operation;
    EXPECT_EQ(plugin.count("updateFrame"), 2);
    plugin.calls.clear();
    stage->removeVehicle(bad);
    EXPECT_EQ(plugin.lines(), Lines{"bad release"});
}

TEST_F(HostLifeOnStage, VehicleArmedOrDisarmedInARunStaysAsItBegan) {
    Vehicle& a = add("a");
    Vehicle& b = add("b");
    b.armed = false;
    plugin.calls.clear();
    stage->startRun(0);
    stage->advance(1);
    a.armed = false;
    b.armed = true;
    stage->advance(1);
    stage->stopRun();
    EXPECT_EQ(stage->complaints(), Lines());
    int updatesOfA = 0;
    for (const FakeCall& call : plugin.calls) {
        if (call.vehicle == "b") {
            EXPECT_EQ(call.operation, "showFrame");
        }
        if (call.vehicle == "a" && call.operation == "updateFrame") ++updatesOfA;
    }
    EXPECT_EQ(updatesOfA, 2);
    EXPECT_EQ(plugin.count("stopRun"), 1) << "the run of a was not ended";
}

TEST_F(HostLifeOnStage, RemovedVehicleLeavesNoElementsButThoseOfTheUser) {
    plugin.onRig = [](FakeVehicle& fake) { fake.make("WheelMesh_FL", fake.make("CarBodyMesh")); };
    Vehicle& car = add("car");
    Element& flag = stage->scene.add("flag");
    stage->scene.reparent(flag, &car.element("WheelMesh_FL"));
    stage->removeVehicle(car);
    EXPECT_TRUE(stage->vehicles.empty());
    EXPECT_EQ(stage->scene.find("car_CarBodyMesh"), nullptr);
    EXPECT_EQ(stage->scene.find("car_WheelMesh_FL"), nullptr);
    EXPECT_EQ(stage->scene.find("flag"), &flag);
    EXPECT_EQ(flag.parent, nullptr);
}

TEST_F(HostLifeOnStage, VehicleRemovedInARunTakesItsRecordsAlong) {
    static std::string written;
    written.clear();
    plugin.onStart = [](FakeVehicle& v, double) { v.hostInterface->pushUndo(new WrittenRecord(v.name, written), 0); };
    add("stays");
    Vehicle& goes = add("goes");
    stage->startRun(0);
    stage->advance(1);
    stage->removeVehicle(goes);
    EXPECT_EQ(written, "xgoes");
    stage->advance(1);
    stage->stopRun();
    EXPECT_EQ(stage->undo.steps(), 1);
    stage->undo.undo();
    EXPECT_EQ(written, "xgoes-stays");
    EXPECT_EQ(stage->complaints(), Lines());
}

TEST_F(HostLifeOnStage, OnlyVehicleRemovedInARunLeavesAWholeUndoStack) {
    static std::string written;
    written.clear();
    int value = 0;
    stage->undo.push([&] { value = -1; }, [&] { value = 1; }, nullptr);
    plugin.onStart = [](FakeVehicle& v, double) { v.hostInterface->pushUndo(new WrittenRecord(v.name, written), 0); };
    Vehicle& car = add("car");
    stage->startRun(0);
    stage->removeVehicle(car);
    stage->stopRun();
    stage->undo.undo();
    EXPECT_EQ(value, 0) << "the run is a step of its own";
    stage->undo.undo();
    EXPECT_EQ(value, -1);
    EXPECT_EQ(written, "xcar");
}

}  // namespace
}  // namespace ond::test
