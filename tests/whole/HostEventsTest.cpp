// What the dialog's events do, directly, undone and redone.
#include "whole/Grounds.h"
#include "whole/SavedBlock.h"
#include "whole/WholeRun.h"

namespace ond::test {
namespace {

class HostEvents : public WholeRun {
  protected:
    static SavedBlock saved(Vehicle& car) {
        car.save();
        return SavedBlock(car.chunk);
    }
};

Lines visibilityWalk(const std::string& operation) {
    Lines lines;
    for (const char* node : {"TurnBaseMesh", "SteeringWheelMesh", "GravityDirectionMesh", "CarBodyBaseMesh",
                             "CarBodyMesh", "ChassisRelocatorMesh", "TargetMesh", "ExternalForceMesh"})
        lines.push_back(operation + " " + node);
    for (const char* suffix : kCorners)
        for (const char* kind : {"WheelMesh", "WheelCenterMesh", "WheelCenterSuspensionMesh", "WheelRelocatorMesh"})
            lines.push_back(operation + " " + kind + suffix);
    return lines;
}

TEST_F(HostEvents, HideHelpersPushesARecordThenHidesThenRedraws) {
    Vehicle& car = addCar();
    car.log.clear();
    car.edit("Hide Helpers", 1.0);
    Lines expected{"pushUndo"};
    for (const std::string& line : visibilityWalk("hide")) expected.push_back(line);
    expected.push_back("redrawViews");
    EXPECT_EQ(car.log.lines(), expected);

    car.log.clear();
    host.undo.undo();
    expected = visibilityWalk("show");
    expected.push_back("redrawViews");
    EXPECT_EQ(car.log.lines(), expected);
    EXPECT_EQ(car.value("Hide Helpers"), 0.0);

    car.log.clear();
    host.undo.redo();
    expected = visibilityWalk("hide");
    expected.push_back("redrawViews");
    EXPECT_EQ(car.log.lines(), expected);
    EXPECT_EQ(car.value("Hide Helpers"), 1.0);
    EXPECT_FALSE(car.element("CarBodyMesh").shown);
}

TEST_F(HostEvents, UndoOfHidingLeavesTheFieldAlone) {
    Vehicle& car = addCar();
    car.edit("Hide Helpers", 1.0);
    car.send("REALUNDOHide Helpers");
    EXPECT_TRUE(car.element("CarBodyMesh").shown);
    EXPECT_EQ(car.value("Hide Helpers"), 1.0);
    car.send("REALREDOHide Helpers");
    EXPECT_FALSE(car.element("CarBodyMesh").shown);
}

TEST_F(HostEvents, ShowingTheHelpersLeavesTheCamerasAsTheirFlagsSay) {
    Vehicle& car = addCar();
    car.edit("Hide Driver Camera", 0.0);
    car.edit("Hide Helpers", 1.0);
    EXPECT_TRUE(car.element("DriverCam").shown);
    car.edit("Hide Helpers", 0.0);
    EXPECT_TRUE(car.element("DriverCam").shown);
    EXPECT_FALSE(car.element("TopViewCam").shown);
    EXPECT_FALSE(car.element("FollowCam").shown);
    EXPECT_TRUE(car.element("CarBodyBaseMesh").shown) << "the walk shows what was never meant to be seen";
}

struct CameraFlag {
    const char* label;
    const char* element;
};
constexpr CameraFlag kCameraFlags[] = {
    {"Hide Driver Camera", "DriverCam"}, {"Hide TopView Camera", "TopViewCam"}, {"Hide Follow Camera", "FollowCam"}};

TEST_F(HostEvents, EachCameraFollowsItsFlagUndoAndRedo) {
    Vehicle& car = addCar();
    for (const CameraFlag& flag : kCameraFlags) {
        SCOPED_TRACE(flag.label);
        car.log.clear();
        car.edit(flag.label, 0.0);
        EXPECT_EQ(car.log.lines(), (Lines{"pushUndo", std::string("show ") + flag.element, "redrawViews"}));
        car.log.clear();
        host.undo.undo();
        EXPECT_EQ(car.log.lines(), (Lines{std::string("hide ") + flag.element, "redrawViews"}));
        EXPECT_EQ(car.value(flag.label), 1.0);
        car.log.clear();
        host.undo.redo();
        EXPECT_EQ(car.log.lines(), (Lines{std::string("show ") + flag.element, "redrawViews"}));
        EXPECT_EQ(car.value(flag.label), 0.0);
        car.edit(flag.label, 1.0);
        EXPECT_FALSE(car.element(flag.element).shown);
    }
}

TEST_F(HostEvents, WireframeModeReachesAllNodesAndUndoesAsItsNegation) {
    Vehicle& car = addCar();
    EXPECT_FALSE(car.dialog.has("Wireframe Mode"));
    for (const char* event : {"Wireframe Mode", "REALUNDOWireframe Mode", "REALREDOWireframe Mode"}) {
        car.log.clear();
        car.send(event);
        const bool undone = std::string(event).find("REALUNDO") == 0;
        Lines expected;
        if (std::string(event) == "Wireframe Mode") expected.push_back("pushUndo");
        for (const std::string& line : visibilityWalk("setWireframe"))
            expected.push_back(line + (undone ? " 1" : " 0"));
        expected.push_back("redrawViews");
        EXPECT_EQ(car.log.without({"getAppearanceObject", "releaseAppearanceObject"}), expected) << event;
        EXPECT_EQ(car.element("TargetMesh").wireframe, undone);
    }
}

TEST_F(HostEvents, UnknownLabelsDoNothing) {
    Vehicle& car = addCar();
    car.log.clear();
    for (const char* label : {"REALUNDONo Such Item", "REALREDO", "REALUNDO", "", "hide helpers", "Hide Helpers ",
                              "Hide Helpers During Recording", "Tire Pressure", "REALUNDOUse Fast Ray Cast",
                              "REALUNDORe-Initialize Car Attributes"})
        car.send(label);
    EXPECT_EQ(car.log.lines(), Lines());
    EXPECT_EQ(car.value("Use Fast Ray Cast"), 1.0);
}

TEST_F(HostEvents, FirstChangeOfTheTurnBaseMovesNothingTheSecondDoes) {
    Vehicle& car = addCar();
    const Matrix4 before = car.world("TurnBaseMesh", 0);
    car.log.clear();
    car.edit("Turn Base (Back Wheel Relative)", 0.5);
    EXPECT_EQ(car.log.lines(), Lines());
    EXPECT_EQ(car.world("TurnBaseMesh", 0), before);

    car.edit("Turn Base (Back Wheel Relative)", 0.25);
    EXPECT_EQ(order(car), (Lines{"readWorld TurnBaseMesh @0", "readWorld CarBodyMesh @0",
                                 "readWorld CarBodyBaseMesh @0", "setWorld TurnBaseMesh @0", "redrawViews"}));
    // A quarter of the half length ahead of the back axle.
    Matrix4 expected = util::Scaling(kLength / 4.0);
    expected.setRow(3, {0, 0, kBackZ - 0.25 * kLength / 2.0});
    expectNear(car.world("TurnBaseMesh", 0), expected, 1e-12, "turn base");
    EXPECT_EQ(host.undo.recordsOnTop(), 0);
}

TEST_F(HostEvents, ReInitializeClearsTheReadOutsAndTheInitialVelocity) {
    Vehicle& car = addCarOnPlane();
    car.axis("Gas Pedal").position = 1.0;
    host.run(0, 20);
    car.edit("Initital Velocity (% of max)", 30.0);
    EXPECT_GT(car.value("Current Velocity"), 0.0);
    car.log.clear();
    car.press("Re-Initialize Car Attributes");
    EXPECT_EQ(car.value("Initital Velocity (% of max)"), 0.0);
    EXPECT_EQ(car.value("Current Velocity"), 0.0);
    EXPECT_EQ(car.value("Current Velocity (% of max)"), 0.0);
    EXPECT_EQ(car.log.lines(), Lines());
}

TEST_F(HostEvents, GaugesFollowTheirParametersAndTheBodyInTheScene) {
    Vehicle& car = addCar();
    host.scene.setWorld(car.element("CarBodyMesh"), 0.0, util::Scaling(4.0));
    car.log.clear();
    car.edit("Multiplier", 1.0);
    EXPECT_EQ(order(car), (Lines{"readWorld CarBodyMesh @0", "refreshDialog"}));
    EXPECT_NEAR(car.value("World Space Maximum Velocity Gauge"), 12.0, 1e-12);
    car.edit("Gas Pedal (Forw/Backw) Maximum", 5.0);
    EXPECT_NEAR(car.value("World Space Maximum Velocity Gauge"), 20.0, 1e-12);
    EXPECT_NEAR(car.value("World Space Acceleration Gauge (seconds from 0 to 100)"), 12.5, 1e-12);
    car.edit("Acceleration (scale relative)", 5.0);
    EXPECT_NEAR(car.value("World Space Acceleration Gauge (seconds from 0 to 100)"), 5.0, 1e-12);
    EXPECT_NEAR(car.value("World Space Acceleration Gauge (seconds from 0 to 60)"), 3.0, 1e-12);
    car.log.clear();
    car.edit("Steering Wheel (Right/Left) Maximum", 0.5);
    EXPECT_EQ(car.log.lines(), Lines());
}

TEST_F(HostEvents, FastCastSwitchedOffClearsTheStoredGroundSwitchedOnLeavesIt) {
    Vehicle& car = addCar();
    linkGround(car, flatGround());
    car.edit("Store Ground Mesh Data", 1.0);
    EXPECT_EQ(car.value("Store Ground Mesh Data"), 1.0);
    car.log.clear();
    car.edit("Use Fast Ray Cast", 0.0);
    EXPECT_EQ(car.value("Store Ground Mesh Data"), 0.0);
    EXPECT_EQ(car.log.lines(), Lines{"refreshDialog"});
    car.edit("Store Ground Mesh Data", 1.0);
    car.log.clear();
    car.edit("Use Fast Ray Cast", 1.0);
    EXPECT_EQ(car.value("Store Ground Mesh Data"), 1.0);
    EXPECT_EQ(car.log.lines(), Lines());
}

TEST_F(HostEvents, StoringTheGroundTakesTheSurfaceAndPlaceOfTheParent) {
    Vehicle& car = addCar();
    Element& ground = linkGround(car, flatGround());
    host.scene.setLocal(ground, 0.0, util::Translation({1, 2, 3}));
    host.scene.addMesh("Child", flatGround(), &car.element("GravityDirectionMesh"));
    car.log.clear();
    car.edit("Store Ground Mesh Data", 1.0);
    EXPECT_EQ(order(car), (Lines{"getParent GravityDirectionMesh", "getSurfaceObject Ground @0", "getMesh Ground",
                                 "readWorld Ground @0", "releaseSurfaceObject Ground", "releaseElementData Ground",
                                 "refreshDialog"}));
    const SavedBlock block = saved(car);
    EXPECT_EQ(block.root().getNumChildren(), 93);
    EXPECT_TRUE(block.value<bool>("bStoreGroundMeshData"));
    EXPECT_EQ(block.value<Matrix4>("mBulletGroundMesh"), util::Translation({1, 2, 3}));

    car.log.clear();
    car.edit("Store Ground Mesh Data", 0.0);
    EXPECT_EQ(car.log.lines(), Lines{"refreshDialog"});
    EXPECT_EQ(saved(car).root().getNumChildren(), 91);
}

/// Switching the box on must end with this message, the box off, and no mesh stored.
void expectNotStored(Vehicle& car, const std::string& text) {
    car.messages.clear();
    car.edit("Store Ground Mesh Data", 1.0);
    EXPECT_EQ(car.messages, (std::vector<Message>{{text, "Error"}}));
    EXPECT_EQ(car.value("Store Ground Mesh Data"), 0.0);
    EXPECT_EQ(car.log.lines().back(), "refreshDialog");
    car.save();
    EXPECT_EQ(SavedBlock(car.chunk).root().getNumChildren(), 91);
}

TEST_F(HostEvents, StoringWithoutAGroundIsRefused) {
    Vehicle& car = addCar();
    expectNotStored(car, "No ground mesh available");
    host.scene.addMesh("Child", flatGround(), &car.element("GravityDirectionMesh"));
    expectNotStored(car, "No ground mesh available");
}

TEST_F(HostEvents, StoringSomethingWithoutASurfaceIsRefused) {
    Vehicle& car = addCar();
    Element& ground = linkGround(car, flatGround());
    ground.surface = SurfaceKind::none;
    expectNotStored(car, "Surface not a mesh");
    EXPECT_EQ(car.log.count("releaseElementData Ground"), 1);
    EXPECT_EQ(car.log.count("releaseSurfaceObject"), 0);
}

TEST_F(HostEvents, StoringAMeshWithoutTrianglesIsRefusedAndTheOldOneIsGone) {
    Vehicle& car = addCar();
    Element& ground = linkGround(car, flatGround());
    car.edit("Store Ground Mesh Data", 1.0);
    CMesh points;
    points.setNumVertices(3);
    host.scene.setShape(ground, points);
    expectNotStored(car, "Mesh Invalid");
    host.scene.setShape(ground, CMesh());
    expectNotStored(car, "Mesh Invalid");
}

}  // namespace
}  // namespace ond::test
