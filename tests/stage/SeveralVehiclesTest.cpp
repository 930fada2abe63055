// Several vehicles in one scene: who is called when, and what they share.
#include "stage/FakeVehicle.h"

namespace ond::test {
namespace {

using util::Matrix4;
using util::Translation;

class SeveralVehicles : public FakeStage {};

TEST_F(SeveralVehicles, FrameComesToAllInOneOrderBeforeTheNextComesToAny) {
    add("a");
    add("idle").armed = false;
    add("b");
    plugin.calls.clear();
    stage->run(0, 2);
    const Lines frame = {"a updateFrame", "b updateFrame", "a showFrame", "idle showFrame", "b showFrame"};
    Lines expected = {"a startRun", "b startRun"};
    for (int i = 0; i < 2; ++i) expected.insert(expected.end(), frame.begin(), frame.end());
    expected.insert(expected.end(), {"a stopRun", "b stopRun"});
    EXPECT_EQ(plugin.lines(), expected);
    std::vector<double> times;
    for (int i = 1; i <= 2; ++i) times.insert(times.end(), 2, stage->scene.clock.time(i));
    EXPECT_EQ(plugin.times("updateFrame"), times);
}

TEST_F(SeveralVehicles, UnarmedVehicleGetsNoRun) {
    Vehicle& idle = add("idle");
    idle.armed = false;
    plugin.calls.clear();
    stage->run(0, 3);
    stage->show(1);
    EXPECT_EQ(plugin.lines(), Lines(4, "idle showFrame"));
    EXPECT_EQ(stage->complaints(), Lines());
}

TEST_F(SeveralVehicles, PlaybackOnlyShows) {
    add("a");
    add("b");
    stage->run(0, 5);
    plugin.calls.clear();
    for (int frame = 5; frame >= 0; --frame) stage->show(frame);
    for (const FakeCall& call : plugin.calls) EXPECT_EQ(call.operation, "showFrame");
    EXPECT_EQ(plugin.calls.size(), 12U);
    EXPECT_EQ(stage->undo.steps(), 1);
}

TEST_F(SeveralVehicles, EachHasItsOwnInterfaceDialogChannelsAndHandles) {
    plugin.onRig = [](FakeVehicle& v) { v.make("CarBodyMesh"); };
    Vehicle& a = add("a");
    Vehicle& b = add("b");
    EXPECT_NE(fakeOf(a).hostInterface, fakeOf(b).hostInterface);
    EXPECT_NE(fakeOf(a).gas, fakeOf(b).gas);
    a.edit("Number", 2.0);
    EXPECT_EQ(b.value("Number"), 0.5);
    EXPECT_EQ(fakeOf(a).handles[0]->getName(), "a_CarBodyMesh");
    EXPECT_EQ(fakeOf(b).handles[0]->getName(), "b_CarBodyMesh");
    fakeOf(a).handles[0]->hide();
    EXPECT_TRUE(fakeOf(b).handles[0]->isShown());
    // The same foreign element, through either vehicle.
    Element& ground = stage->scene.addMesh("ground", smallTriangle());
    EXPECT_NE(a.handleOf(&ground), b.handleOf(&ground));
    EXPECT_EQ(Vehicle::elementOf(a.handleOf(&ground)), Vehicle::elementOf(b.handleOf(&ground)));
}

TEST_F(SeveralVehicles, RecordsOfOneOutliveTheOther) {
    static std::string written;
    written.clear();
    Vehicle& a = add("a");
    Vehicle& b = add("b");
    fakeOf(a).hostInterface->pushUndo(new WrittenRecord("a", written), 0);
    fakeOf(b).hostInterface->pushUndo(new WrittenRecord("b", written), 0);
    stage->removeVehicle(a);
    EXPECT_EQ(written, "xa");
    stage->undo.undo();
    EXPECT_EQ(written, "xa-b");
}

/// Where the chased and the chasing one are, in every frame.
std::vector<double> chase(bool hareFirst) {
    Stage stage(vehicleModule());
    for (const char* name : {hareFirst ? "hare" : "hound", hareFirst ? "hound" : "hare"}) {
        Vehicle& car = stage.addVehicle(name);
        car.put("Use Fast Ray Cast", 0.0);
        car.put("Gravel Shake Offset Value", 0.0);
    }
    const auto named = [&](const char* name) -> Vehicle& {
        return *stage.vehicles[static_cast<std::size_t>(stage.vehicleNamed(name))];
    };
    Vehicle& hare = named("hare");
    Vehicle& hound = named("hound");
    stage.scene.setWorld(hound.element("CarBodyMesh"), 0.0, Translation({0, 0.15, 12}) * util::Scaling(3.522));
    stage.scene.reparent(hound.element("TargetMesh"), &hare.element("CarBodyMesh"));
    hound.element("TargetMesh").track.pose = Matrix4();
    hound.put("Autonomous Mode", 1.0);
    hare.axis("Gas").position = 0.5;
    hare.axis("Steering").position = 0.3;
    stage.run(0, 100);
    EXPECT_EQ(stage.complaints(), Lines());
    std::vector<double> numbers;
    for (int frame = 0; frame <= 100; ++frame)
        for (Vehicle* car : {&hare, &hound})
            for (const double number : car->world("CarBodyMesh", frame).m) numbers.push_back(number);
    EXPECT_LT(hound.world("CarBodyMesh", 100).row(3).z, 11.0) << "it chases";
    return numbers;
}

TEST(SeveralVehiclesOfTheModule, OrderOfVehiclesDoesNotMatterToAChase) { EXPECT_EQ(chase(true), chase(false)); }

}  // namespace
}  // namespace ond::test
