// A vehicle from its making to its release, as the host sees it.
#include "whole/Grounds.h"
#include "whole/WholeRun.h"

namespace ond::test {
namespace {

using Lifecycle = WholeRun;

TEST_F(Lifecycle, NewVehicleCarriesWhatTheHostGaveIt) {
    Vehicle& car = host.create("Red Car");
    EXPECT_EQ(car.camera->hostObject, 4711u);
    EXPECT_EQ(car.camera->name, "Red Car");
    EXPECT_TRUE(car.camera->hasExtension(40));
    EXPECT_FALSE(car.camera->hasExtension(16));
    EXPECT_EQ(car.camera->getExtensionIds(), std::vector<std::uint32_t>{40});
}

TEST_F(Lifecycle, ReleaseWithoutDeclaredParametersIsClean) {
    Vehicle& car = host.create("Car");
    car.release();
    EXPECT_EQ(car.log.lines(), Lines());
}

TEST_F(Lifecycle, ReleaseWithoutCornersIsClean) {
    Vehicle& car = host.create("Car");
    car.declare();
    car.log.clear();
    car.release();
    EXPECT_EQ(car.log.lines(), Lines());
}

TEST_F(Lifecycle, ReleaseLeavesTheSceneAlone) {
    Vehicle& car = addCarOnPlane();
    host.run(0, 3);
    car.release();
    for (const auto& element : host.scene.elements) EXPECT_FALSE(element->deleted) << element->name;
    EXPECT_EQ(host.scene.elements.size(), 27u);
}

TEST_F(Lifecycle, ReleaseInTheMiddleOfARunIsClean) {
    Vehicle& car = addCar();
    linkGround(car, flatGround());
    host.startRun(0);
    host.advance(3);
    car.release();
}

TEST_F(Lifecycle, NewVehicleHidesItsThreeCamerasAndItsBaseMesh) {
    addCar();
    for (const auto& element : host.scene.elements) {
        const bool hidden = element->isCamera || element->identifier == "CarBodyBaseMesh";
        EXPECT_EQ(element->shown, !hidden) << element->name;
    }
}

TEST_F(Lifecycle, CamerasStayShownWhenTheFlagsSaySo) {
    Vehicle& car = host.create("Car");
    car.declare();
    car.put("Hide Driver Camera", 0.0);
    car.put("Hide Follow Camera", 0.0);
    car.createRig();
    EXPECT_TRUE(car.element("DriverCam").shown);
    EXPECT_TRUE(car.element("FollowCam").shown);
    EXPECT_FALSE(car.element("TopViewCam").shown);
}

TEST_F(Lifecycle, OutputChannelsStartAtZeroAndAreStoredOnRequest) {
    Vehicle& car = addCarOnPlane();
    ASSERT_EQ(car.outputs.size(), 7u);
    for (const auto& output : car.outputs) EXPECT_EQ(output->current, 0.0) << output->name;
    car.axis("Gas Pedal").position = 1.0;
    car.axis("Steering").position = 0.5;
    host.run(0, 100);
    const double velocity = car.value("Current Velocity");
    EXPECT_GT(velocity, 1.0);
    for (const auto& output : car.outputs) output->store(-7.0);
    EXPECT_EQ(car.camera->callExtension(40, car.output("Velocity")), 0u);
    EXPECT_EQ(car.output("Velocity")->current, velocity);
    EXPECT_EQ(car.output("Velocity")->previous, -7.0);
    EXPECT_EQ(car.output("Steering Angle")->current, -7.0);
    car.camera->callExtension(40, car.output("Velocity (Percent of Max)"));
    EXPECT_EQ(car.output("Velocity (Percent of Max)")->current, car.value("Current Velocity (% of max)") / 100.0);
    car.camera->callExtension(40, car.output("Steering Angle"));
    EXPECT_GT(car.output("Steering Angle")->current, 0.05);
    for (const char* suffix : kCorners) {
        unidevice::OutputProperty* output = car.output(std::string("WheelMesh") + suffix);
        ASSERT_NE(output, nullptr);
        car.camera->callExtension(40, output);
        EXPECT_EQ(output->current, 0.0);
    }
}

TEST_F(Lifecycle, OtherExtensionsAndChannelsStoreNothing) {
    Vehicle& car = addCarOnPlane();
    car.axis("Gas Pedal").position = 1.0;
    host.run(0, 50);
    car.output("Velocity")->store(-7.0);
    EXPECT_EQ(car.camera->callExtension(40, nullptr), 0u);
    EXPECT_EQ(car.camera->callExtension(39, car.output("Velocity")), 0u);
    EXPECT_EQ(car.camera->callExtension(41, car.output("Velocity")), 0u);
    EXPECT_EQ(car.output("Velocity")->current, -7.0);
    unidevice::OutputProperty foreign({"Velocity", 8});
    EXPECT_EQ(car.camera->callExtension(40, &foreign), 0u);
    EXPECT_EQ(foreign.current, 0.0);
    EXPECT_EQ(foreign.previous, 0.0);
}

TEST_F(Lifecycle, EachFrameStoresEveryChannelOnce) {
    Vehicle& car = addCarOnPlane();
    car.axis("Gas Pedal").script = [](double time) { return time < 0.02 ? 0.0 : 1.0; };
    host.startRun(0);
    host.advance(20);
    const double before = car.output("Velocity")->current;
    host.advance(1);
    EXPECT_GT(before, 0.0);
    EXPECT_EQ(car.output("Velocity")->previous, before);
    EXPECT_GT(car.output("Velocity")->current, before);
    host.stopRun();
}

TEST_F(Lifecycle, HostWithoutExtension41GetsNoOutputsAndAllElse) {
    Vehicle& car = host.create("Car");
    car.faults.knowsExtension41 = false;
    car.declare();
    car.createRig();
    EXPECT_TRUE(car.outputs.empty());
    EXPECT_TRUE(car.dialog.whole);
    EXPECT_EQ(car.dialog.items.size(), 78u);
    EXPECT_EQ(car.properties.size(), 9u);
    straightAxes(car);
    car.put("Use Fast Ray Cast", 0.0);
    car.axis("Gas Pedal").position = 1.0;
    host.run(0, 50);
    EXPECT_GT(car.value("Current Velocity"), 1.0);
    unidevice::OutputProperty foreign({"Velocity", 8});
    EXPECT_EQ(car.camera->callExtension(40, &foreign), 0u);
    EXPECT_EQ(foreign.current, 0.0);
}

TEST_F(Lifecycle, RefusedPropertiesReadAsZero) {
    Vehicle& car = host.create("Car");
    car.faults.refusesProperties = true;
    car.declare();
    car.createRig();
    EXPECT_TRUE(car.properties.empty());
    car.put("Use Fast Ray Cast", 0.0);
    quiet(car);
    host.run(0, 20);
    EXPECT_LT(distance(position(car.world("TurnBaseMesh", 20)), {0, 0, kBackZ}), 0.02);
    EXPECT_EQ(car.value("Current Velocity"), 0.0);
}

TEST_F(Lifecycle, StopRunInAutonomousModeRefreshesTheDialog) {
    Vehicle& car = addCarOnPlane();
    car.put("Autonomous Mode", 1.0);
    host.startRun(0);
    host.advance(3);
    car.log.clear();
    host.stopRun();
    EXPECT_EQ(car.log.lines(), Lines{"refreshDialog"});
}

TEST_F(Lifecycle, StopRunUnderBoosterEndsItAndPutsTheSpringsBack) {
    Vehicle& car = addCarOnPlane();
    car.put("Front Stiffness", 1500.0);
    car.put("Back Damping", 150.0);
    car.put("Booster Response Factor", 1.0);
    car.axis("Booster").position = 1.0;
    host.startRun(0);
    host.advance(10);
    EXPECT_GT(car.value("Front Stiffness"), 1600.0);
    EXPECT_GT(car.value("Back Damping"), 160.0);
    car.log.clear();
    host.stopRun();
    EXPECT_EQ(car.log.lines(), Lines{"refreshDialog"});
    EXPECT_EQ(car.value("Front Stiffness"), 1500.0);
    EXPECT_EQ(car.value("Back Stiffness"), 2000.0);
    EXPECT_EQ(car.value("Front Damping"), 200.0);
    EXPECT_EQ(car.value("Back Damping"), 150.0);
}

TEST_F(Lifecycle, SpringsEditedDuringARunGoBackAtItsEnd) {
    Vehicle& car = addCarOnPlane();
    host.startRun(0);
    host.advance(1);
    car.put("Front Stiffness", 555.0);
    host.advance(1);
    EXPECT_EQ(car.value("Front Stiffness"), 555.0);
    host.stopRun();
    EXPECT_EQ(car.value("Front Stiffness"), 2000.0);
}

TEST_F(Lifecycle, HostMaySendTheStartAsTheFirstFrame) {
    Vehicle& car = addCarOnPlane();
    car.axis("Gas Pedal").position = 0.5;
    host.startRun(10);
    host.scene.beginFrame(10);
    car.updateFrame(10);
    host.advance(20);
    host.stopRun();
    EXPECT_NEAR(position(car.world("CarBodyMesh", 29)).z - position(car.world("CarBodyMesh", 30)).z,
                0.5 * 3.0 * kLength * 0.04, 0.05);
}

TEST_F(Lifecycle, HelpersHiddenForTheRecordingComeBack) {
    Vehicle& car = addCarOnPlane();
    car.edit("Hide Helpers During Recording", 1.0);
    EXPECT_TRUE(car.element("CarBodyMesh").shown);
    host.startRun(0);
    EXPECT_FALSE(car.element("CarBodyMesh").shown);
    EXPECT_FALSE(car.element("WheelRelocatorMesh_BR").shown);
    host.advance(2);
    EXPECT_FALSE(car.element("CarBodyMesh").shown);
    host.stopRun();
    EXPECT_TRUE(car.element("CarBodyMesh").shown);
    EXPECT_TRUE(car.element("WheelRelocatorMesh_BR").shown);
    EXPECT_FALSE(car.element("DriverCam").shown);
}

TEST_F(Lifecycle, StopRunLeavesHelpersHiddenThatTheUserHid) {
    Vehicle& car = addCarOnPlane();
    car.edit("Hide Helpers During Recording", 1.0);
    car.edit("Hide Helpers", 1.0);
    host.run(0, 2);
    EXPECT_FALSE(car.element("CarBodyMesh").shown);
    EXPECT_FALSE(car.element("TargetMesh").shown);
}

TEST_F(Lifecycle, WalkOverTheHelpersKeepsItsOrder) {
    Vehicle& car = addCarOnPlane();
    car.put("Hide Helpers During Recording", 1.0);
    car.log.clear();
    host.startRun(0);
    host.advance(1);
    host.stopRun();
    Lines nodes{"TurnBaseMesh", "SteeringWheelMesh",    "GravityDirectionMesh", "CarBodyBaseMesh",
                "CarBodyMesh",  "ChassisRelocatorMesh", "TargetMesh",           "ExternalForceMesh"};
    for (const char* suffix : kCorners)
        for (const char* kind : {"WheelMesh", "WheelCenterMesh", "WheelCenterSuspensionMesh", "WheelRelocatorMesh"})
            nodes.push_back(std::string(kind) + suffix);
    Lines expected;
    for (const std::string& node : nodes) expected.push_back("hide " + node);
    for (const std::string& node : nodes) expected.push_back("show " + node);
    EXPECT_EQ(car.log.only({"hide", "show", "redrawViews"}), expected);
}

}  // namespace
}  // namespace ond::test
