// The order of the vehicle's calls into its host, against lists written down by hand.
//
// The lists are whole: every call is in them, the taking and giving back of objects and the questions for time, too.
// How often the vehicle asks for the time is its own affair; a list says it so that a change is seen.
#include <algorithm>

#include "whole/Grounds.h"
#include "whole/WholeRun.h"

namespace ond::test {
namespace {

using CallOrder = WholeRun;

void append(Lines& lines, std::initializer_list<std::string> more) { lines.insert(lines.end(), more); }
void append(Lines& lines, const Lines& more) { lines.insert(lines.end(), more.begin(), more.end()); }

bool isOneOf(const std::string& operation, std::initializer_list<const char*> names) {
    return std::find(names.begin(), names.end(), operation) != names.end();
}

/// The list with what its calls are made through: an object is taken for them and given back behind them. A matrix is
/// read or set through a transform of its own, at the time that its line names; the three lines of an appearance share
/// one object, and a field of view has a camera object.
Lines withObjects(const Lines& calls) {
    Lines lines;
    for (const std::string& call : calls) {
        const std::string operation = call.substr(0, call.find(' '));
        const bool matrix = isOneOf(operation, {"readWorld", "readLocal", "setWorld", "setLocal"});
        const bool view = operation == "setFieldOfView";
        const bool appearance = isOneOf(operation, {"useOwnColour", "setColour", "setWireframe"});
        if (!matrix && !view && !appearance) {
            lines.push_back(call);
            continue;
        }
        const std::string rest = call.substr(operation.size() + 1);
        const std::string element = rest.substr(0, rest.find(' '));
        const std::string what = matrix ? "TransformObject " : view ? "CameraObject " : "AppearanceObject ";
        if (operation == "useOwnColour") lines.push_back("get" + what + element);
        if (!appearance) lines.push_back("get" + what + element + call.substr(call.rfind(' ')));
        lines.push_back(call);
        if (!appearance || operation == "setWireframe") lines.push_back("release" + what + element);
    }
    return lines;
}

void appendAppearance(Lines& lines, const std::string& element) {
    append(lines, {"useOwnColour " + element + " 1", "setColour " + element, "setWireframe " + element + " 0"});
}

void appendPreparation(Lines& lines, const std::string& element, const std::string& now, const std::string& before) {
    append(lines, {"readWorld " + element + " " + now, "getFrameStep", "readWorld " + element + " " + before,
                   "readWorld " + element + " " + now});
}

const char* const kChannels[9] = {"Gas Pedal (Forw/Backw)",
                                  "Steering Wheel (Right/Left)",
                                  "Booster",
                                  "ABS Brake",
                                  "Skidding",
                                  "Skid Brake",
                                  "Gravel Shake Amplitude",
                                  "Burnout",
                                  "External Force"};

void appendInputs(Lines& lines) {
    for (const char* channel : kChannels) lines.push_back(std::string("axis ") + channel);
}

void appendCornerCreation(Lines& lines, int corner) {
    const std::string suffix = kCorners[corner];
    const std::string relocator = "WheelRelocatorMesh" + suffix;
    const std::string wheel = "WheelMesh" + suffix;
    append(lines, {"createMeshElement " + relocator + " ChassisRelocatorMesh 22 32",
                   "extension " + relocator + " 57 null", "getCurrentTime", "setWorld " + relocator + " @3"});
    appendAppearance(lines, relocator);
    append(lines, {"createMeshElement " + wheel + " " + relocator + " 432 864", "getCurrentTime",
                   "setWorld " + wheel + " @3"});
    appendAppearance(lines, wheel);
    for (const char* kind : {"WheelCenterSuspensionMesh", "WheelCenterMesh"}) {
        const std::string centre = kind + suffix;
        append(lines, {"createMeshElement " + centre + " " + relocator + " 18 32", "getCurrentTime",
                       "readWorld CarBodyMesh @3", "readWorld " + wheel + " @3", "setWorld " + centre + " @3"});
        appendAppearance(lines, centre);
    }
    for (int pose = 0; pose < (corner < 2 ? 2 : 1); ++pose)
        append(lines, {"getCurrentTime", "readWorld " + relocator + " @3", "setWorld " + relocator + " @3"});
}

TEST_F(CallOrder, CreateRigMakesParentsBeforeChildren) {
    host.scene.clock.now = 3;
    Vehicle& car = host.create("Car");
    car.declare();
    car.log.clear();
    car.createRig();

    Lines expected{"createMeshElement CarBodyMesh null 1570 2690", "getCurrentTime", "setWorld CarBodyMesh @3"};
    appendAppearance(expected, "CarBodyMesh");
    append(expected, {"createMeshElement ChassisRelocatorMesh CarBodyMesh 22 32", "getCurrentTime",
                      "setLocal ChassisRelocatorMesh @3"});
    appendAppearance(expected, "ChassisRelocatorMesh");
    append(expected,
           {"extension ChassisRelocatorMesh 17 null", "createMeshElement TargetMesh null 24 36",
            "extension TargetMesh 17 null", "getCurrentTime", "readWorld CarBodyMesh @3", "setLocal TargetMesh @3"});
    appendAppearance(expected, "TargetMesh");
    for (int corner = 0; corner < 4; ++corner) appendCornerCreation(expected, corner);
    append(expected,
           {"createMeshElement TurnBaseMesh CarBodyMesh 86 164", "getCurrentTime", "setWorld TurnBaseMesh @3"});
    appendAppearance(expected, "TurnBaseMesh");
    append(expected, {"createMeshElement SteeringWheelMesh CarBodyMesh 238 454", "getCurrentTime",
                      "setLocal SteeringWheelMesh @3"});
    appendAppearance(expected, "SteeringWheelMesh");
    append(expected,
           {"createMeshElement GravityDirectionMesh null 13 22", "getCurrentTime", "setWorld GravityDirectionMesh @3"});
    appendAppearance(expected, "GravityDirectionMesh");
    append(expected, {"extension GravityDirectionMesh 17 null", "createMeshElement CarBodyBaseMesh CarBodyMesh 8 12",
                      "getCurrentTime", "setWorld CarBodyBaseMesh @3"});
    appendAppearance(expected, "CarBodyBaseMesh");
    append(expected, {"hide CarBodyBaseMesh", "createMeshElement ExternalForceMesh CarBodyMesh 13 22",
                      "extension ExternalForceMesh 17 null", "getCurrentTime", "setLocal ExternalForceMesh @3"});
    appendAppearance(expected, "ExternalForceMesh");
    append(expected,
           {"createCameraElement TopViewCam CarBodyMesh", "getCurrentTime", "setLocal TopViewCam @3",
            "setFieldOfView TopViewCam 80 @0", "extension TopViewCam 17 null",
            "createCameraElement DriverCam ChassisRelocatorMesh", "getCurrentTime", "setLocal DriverCam @3",
            "setFieldOfView DriverCam 90 @0", "extension DriverCam 17 null", "rigBuilt CarBodyMesh", "getCurrentTime"});
    appendPreparation(expected, "TurnBaseMesh", "@3", "@2");
    append(expected,
           {"createCameraElement FollowCam ChassisRelocatorMesh", "getCurrentTime", "setFieldOfView FollowCam 45 @3",
            "setWorld FollowCam @3", "hide DriverCam", "hide TopViewCam", "hide FollowCam", "refreshDialog"});
    EXPECT_EQ(car.log.lines(), withObjects(expected));
}

TEST_F(CallOrder, FreshStartMeasuresTheRigBeforeItStartsTheCar) {
    Vehicle& car = addCarOnPlane();
    car.log.clear();
    host.scene.clock.now = 10;
    host.startRun(10);

    Lines expected{"getFrameStep"};
    append(expected, Lines(59, "pushUndo"));
    expected.push_back("readWorld CarBodyMesh @10");
    for (const char* node : {"CarBodyMesh", "TurnBaseMesh", "SteeringWheelMesh"})
        appendPreparation(expected, node, "@10", "@9");
    expected.push_back("readLocal SteeringWheelMesh @10");
    appendPreparation(expected, "GravityDirectionMesh", "@10", "@9");
    append(expected, {"getParent GravityDirectionMesh", "getNumChildren GravityDirectionMesh"});
    appendPreparation(expected, "CarBodyBaseMesh", "@10", "@9");
    append(expected, {"readLocal ChassisRelocatorMesh @10", "readWorld ChassisRelocatorMesh @10"});
    appendInputs(expected);
    expected.push_back("readWorld FollowCam @10");
    for (int corner = 0; corner < 4; ++corner) {
        const std::string suffix = kCorners[corner];
        appendPreparation(expected, "WheelCenterMesh" + suffix, "@10", "@9");
        appendPreparation(expected, "WheelCenterSuspensionMesh" + suffix, "@10", "@9");
        appendPreparation(expected, "WheelMesh" + suffix, "@10", "@9");
        if (corner % 2 == 0) expected.push_back("setWorld WheelMesh" + suffix + " @10");
        append(expected,
               {"readWorld WheelCenterMesh" + suffix + " @10", "readWorld WheelRelocatorMesh" + suffix + " @10",
                "setWorld WheelRelocatorMesh" + suffix + " @10", "setWorld WheelCenterMesh" + suffix + " @10",
                "setWorld WheelCenterSuspensionMesh" + suffix + " @10", "setWorld WheelMesh" + suffix + " @10"});
        appendPreparation(expected, "WheelMesh" + suffix, "@10", "@9");
    }
    for (const char* suffix : kCorners) expected.push_back(std::string("readWorld WheelMesh") + suffix + " @9");
    append(expected, {"readWorld CarBodyMesh @10", "readWorld CarBodyMesh @9.923077"});
    appendInputs(expected);
    appendInputs(expected);
    EXPECT_EQ(car.log.lines(), withObjects(expected));
    host.stopRun();
}

TEST_F(CallOrder, ResumedStartMeasuresOnlyTheBody) {
    Vehicle& car = addCarOnPlane();
    host.run(10, 30);
    car.log.clear();
    host.startRun(20);

    Lines expected{"getFrameStep"};
    append(expected, Lines(59, "pushUndo"));
    expected.push_back("readWorld CarBodyMesh @20");
    appendPreparation(expected, "CarBodyMesh", "@20", "@19");
    appendPreparation(expected, "TurnBaseMesh", "@20", "@19");
    appendPreparation(expected, "GravityDirectionMesh", "@20", "@19");
    append(expected, {"getParent GravityDirectionMesh", "getNumChildren GravityDirectionMesh"});
    appendPreparation(expected, "CarBodyBaseMesh", "@20", "@19");
    append(expected, {"readLocal ChassisRelocatorMesh @20", "readWorld ChassisRelocatorMesh @20",
                      "readWorld FollowCam @20", "readWorld TurnBaseMesh @20", "readWorld CarBodyBaseMesh @20"});
    for (const char* suffix : kCorners) {
        for (const char* kind : {"WheelMesh", "WheelCenterMesh", "WheelCenterSuspensionMesh"})
            appendPreparation(expected, std::string(kind) + suffix, "@20", "@19");
        expected.push_back(std::string("readWorld WheelMesh") + suffix + " @19");
    }
    append(expected, {"readWorld CarBodyMesh @20", "readWorld CarBodyMesh @19.923077"});
    EXPECT_EQ(car.log.lines(), withObjects(expected));
    host.stopRun();
}

/// The calls of a frame at "@11" in which each wheel looks for the ground with the calls `probe`, and of showing it.
Lines frame(const Lines& probe, bool essentialOnly = false) {
    Lines expected{"getFrameStep"};
    appendInputs(expected);
    append(expected,
           {"setWorld CarBodyMesh @11", "readLocal ChassisRelocatorMesh @11", "readWorld ChassisRelocatorMesh @11"});
    for (const char* corner : kCorners) {
        const std::string suffix = corner;
        const std::string readRelocator = "readWorld WheelRelocatorMesh" + suffix + " @11";
        append(expected, {readRelocator});
        append(expected, probe);
        if (essentialOnly) continue;
        append(expected, {readRelocator, "setWorld WheelCenterMesh" + suffix + " @11", readRelocator,
                          "setWorld WheelCenterSuspensionMesh" + suffix + " @11"});
    }
    for (const char* corner : kCorners)
        append(expected, {std::string("readWorld WheelRelocatorMesh") + corner + " @11",
                          std::string("setWorld WheelMesh") + corner + " @11"});
    append(expected, {"setWorld TurnBaseMesh @11", "setLocal SteeringWheelMesh @11",
                      "readWorld GravityDirectionMesh @11", "setWorld CarBodyBaseMesh @11"});
    if (!essentialOnly) append(expected, {"getFrameStep", "setWorld FollowCam @11"});
    expected.push_back("refreshDialog");
    return withObjects(expected);
}

const Lines kProbeOfPlane{"getParent GravityDirectionMesh", "getNumChildren GravityDirectionMesh", "getFrameStep"};

/// Everything that a vehicle asks for in the first frame of a run from frame 10.
class FrameOrder : public WholeRun {
  protected:
    Lines callsOfAFrame(Vehicle& car) {
        host.startRun(10);
        car.log.clear();
        host.advance(1);
        Lines calls = car.log.lines();
        host.stopRun();
        return calls;
    }
};

TEST_F(FrameOrder, ReadsDevicesMovesTheBodyProbesTheGroundAndFollows) {
    EXPECT_EQ(callsOfAFrame(addCarOnPlane()), frame(kProbeOfPlane));
}

TEST_F(FrameOrder, WithEssentialKeysLeavesOutCentresAndCameras) {
    Vehicle& car = addCarOnPlane();
    car.edit("Keyframe only essential objects", 1.0);
    EXPECT_EQ(callsOfAFrame(car), frame(kProbeOfPlane, true));
}

TEST_F(FrameOrder, ReadsTheTargetAndTheForceWhereTheyCount) {
    Vehicle& car = addCarOnPlane();
    car.put("Autonomous Mode", 1.0);
    car.axis("External Force").position = 0.5;
    Lines expected = frame(kProbeOfPlane);
    const Lines asked = withObjects({"readWorld TargetMesh @10", "getFrameStep", "readWorld ExternalForceMesh @10"});
    expected.insert(expected.begin() + 10, asked.begin(), asked.end());  // behind the time and the nine axes
    EXPECT_EQ(callsOfAFrame(car), expected);
}

TEST_F(FrameOrder, InBulletModeTakesAndGivesBackTheSurfacesOfEachWheel) {
    Vehicle& car = addCar();
    quiet(car);
    linkGround(car, flatGround());
    host.scene.addMesh("Kerb", flatGround(-1.0), &car.element("GravityDirectionMesh"));
    EXPECT_EQ(callsOfAFrame(car),
              frame({"getParent GravityDirectionMesh", "getSurfaceObject Ground @11",
                     "getNumChildren GravityDirectionMesh", "getChild GravityDirectionMesh 0",
                     "getSurfaceObject Kerb @11", "getFrameStep", "releaseSurfaceObject Ground",
                     "releaseSurfaceObject Kerb", "releaseElementData Ground", "releaseElementData Kerb"}));
}

TEST_F(FrameOrder, InSurfaceModeCastsBetweenTakingAndGivingBack) {
    Vehicle& car = addCar();
    quiet(car);
    car.put("Use Fast Ray Cast", 0.0);
    linkGround(car, flatGround());
    Lines probe{"getParent GravityDirectionMesh", "getSurfaceObject Ground @11", "getNumChildren GravityDirectionMesh",
                "getFrameStep"};
    // One ray down, and at ten rays of two degrees nine to each side in the middle and ten at either edge.
    append(probe, Lines(57, "intersect Ground"));
    append(probe, {"releaseSurfaceObject Ground", "releaseElementData Ground"});
    EXPECT_EQ(callsOfAFrame(car), frame(probe));
}

// The surfaces are asked for though the stored mesh is what counts, and they are not given back.
TEST_F(FrameOrder, WithAStoredMeshKeepsTheSurfaces) {
    for (const bool fast : {true, false}) {
        Vehicle& car = addCar();
        quiet(car);
        Element& ground = linkGround(car, flatGround());
        if (!fast) car.edit("Use Fast Ray Cast", 0.0);
        car.edit("Store Ground Mesh Data", 1.0);
        EXPECT_EQ(callsOfAFrame(car), frame({"getParent GravityDirectionMesh", "getSurfaceObject Ground @11",
                                             "getNumChildren GravityDirectionMesh", "getFrameStep"}))
            << "fast: " << fast;
        host.removeVehicle(car);
        host.scene.remove(ground);
    }
}

TEST_F(CallOrder, ShowFrameOnlyRefreshesTheDialog) {
    Vehicle& car = addCarOnPlane();
    car.log.clear();
    host.show(5);
    EXPECT_EQ(car.log.lines(), Lines{"refreshDialog"});
}

/// How the run of a vehicle ends, and the vehicle itself.
class EndOrder : public WholeRun {
  protected:
    Vehicle& addCarOnGround() {
        Vehicle& car = addCar();
        quiet(car);
        linkGround(car, flatGround());
        host.scene.addMesh("Kerb", flatGround(-1.0), &car.element("GravityDirectionMesh"));
        return car;
    }

    /// Runs two frames.
    /// @return what the end of the run and the release ask for
    Lines callsOfTheEnd(Vehicle& car) {
        host.startRun(0);
        host.advance(2);
        car.log.clear();
        host.stopRun();
        car.log.add("stopped");
        car.release();
        return car.log.lines();
    }
};

TEST_F(EndOrder, AsksNothingOfTheHostOnThePlane) { EXPECT_EQ(callsOfTheEnd(addCarOnPlane()), Lines{"stopped"}); }

TEST_F(EndOrder, AsksNothingOfTheHostInBulletMode) { EXPECT_EQ(callsOfTheEnd(addCarOnGround()), Lines{"stopped"}); }

TEST_F(EndOrder, AsksNothingOfTheHostInSurfaceMode) {
    Vehicle& car = addCarOnGround();
    car.put("Use Fast Ray Cast", 0.0);
    EXPECT_EQ(callsOfTheEnd(car), Lines{"stopped"});
}

TEST_F(EndOrder, AsksNothingOfTheHostWithAStoredMesh) {
    Vehicle& car = addCarOnGround();
    car.edit("Use Fast Ray Cast", 0.0);
    car.edit("Store Ground Mesh Data", 1.0);
    EXPECT_EQ(callsOfTheEnd(car), Lines{"stopped"});
}

TEST_F(EndOrder, AsksNothingOfTheHostWithAStoredMeshInBulletMode) {
    Vehicle& car = addCarOnGround();
    car.edit("Store Ground Mesh Data", 1.0);
    EXPECT_EQ(callsOfTheEnd(car), Lines{"stopped"});
}

TEST_F(EndOrder, RefreshesTheDialogThenShowsTheHelpers) {
    Vehicle& car = addCarOnGround();
    car.put("Autonomous Mode", 1.0);
    car.put("Hide Helpers During Recording", 1.0);
    Lines expected{"refreshDialog"};
    for (const char* helper : {"TurnBaseMesh", "SteeringWheelMesh", "GravityDirectionMesh", "CarBodyBaseMesh",
                               "CarBodyMesh", "ChassisRelocatorMesh", "TargetMesh", "ExternalForceMesh"})
        expected.push_back(std::string("show ") + helper);
    for (const char* suffix : kCorners)
        for (const char* kind : {"WheelMesh", "WheelCenterMesh", "WheelCenterSuspensionMesh", "WheelRelocatorMesh"})
            expected.push_back(std::string("show ") + kind + suffix);
    expected.push_back("stopped");
    EXPECT_EQ(callsOfTheEnd(car), expected);
}

TEST_F(CallOrder, StartInBulletModeLooksAtTheGroundThenTakesItsMeshes) {
    Vehicle& car = addCar();
    quiet(car);
    linkGround(car, flatGround());
    host.scene.addMesh("Kerb", flatGround(-1.0), &car.element("GravityDirectionMesh"));
    car.log.clear();
    host.startRun(10);
    EXPECT_EQ(
        car.log.only({"getSurfaceObject", "getMesh", "releaseSurfaceObject", "releaseElementData", "releaseHandle",
                      "knowsExtension", "extension", "getName"}),
        (Lines{// The direction of gravity is prepared.
               "getSurfaceObject Ground @10", "getMesh Ground", "releaseSurfaceObject Ground",
               "releaseElementData Ground", "knowsExtension GravityDirectionMesh 31", "extension Ground 31 CarBodyMesh",
               "releaseHandle GravityDirectionMesh Ground", "releaseHandle GravityDirectionMesh Kerb",
               // The physics world takes the children first.
               "getSurfaceObject Kerb @10", "getMesh Kerb", "releaseSurfaceObject Kerb", "getName Kerb",
               "getSurfaceObject Ground @10", "getMesh Ground", "releaseSurfaceObject Ground", "getName Ground"}));
    EXPECT_EQ(car.log.count("readWorld Ground @10"), 1);
    EXPECT_EQ(car.log.count("readWorld Kerb @10"), 1);
    host.stopRun();
}

TEST_F(CallOrder, LoadBindsTheRigThenOpensTheBlockThenBindsTheRest) {
    Vehicle& car = addCarOnPlane();
    car.save();
    Vehicle& fresh = host.replace(car);
    fresh.log.clear();
    host.scene.clock.now = 7;
    ASSERT_EQ(fresh.load(), 0u);

    Lines expected{"findElement GravityDirectionMesh",
                   "extension GravityDirectionMesh 17 null",
                   "findElement TopViewCam",
                   "extension TopViewCam 17 null",
                   "findElement TurnBaseMesh",
                   "findElement CarBodyMesh",
                   "findElement SteeringWheelMesh",
                   "isShown CarBodyMesh",
                   "findElement DriverCam",
                   "extension DriverCam 17 null",
                   "findElement FollowCam",
                   "findElement ExternalForceMesh",
                   "extension ExternalForceMesh 17 null",
                   "getChunk",
                   "findElement ChassisRelocatorMesh",
                   "extension ChassisRelocatorMesh 57 null",
                   "findElement TargetMesh",
                   "extension TargetMesh 17 null"};
    const auto appendCorners = [&](const std::string& kind) {
        for (const char* suffix : kCorners) expected.push_back("findElement " + kind + suffix);
        expected.push_back("findElement " + kind);
    };
    appendCorners("WheelRelocatorMesh");
    append(expected, {"findElement WheelBottomMesh01", "findElement WheelBottomMesh_FR"});
    appendCorners("WheelMesh");
    appendCorners("WheelCenterMesh");
    append(expected, {"readWorld TurnBaseMesh @0", "findElement CarBodyBaseMesh"});
    appendCorners("WheelCenterSuspensionMesh");

    // Whether the relocators are marked one by one or together is open.
    Lines actual;
    int marked = 0;
    for (const std::string& line : fresh.log.lines()) {
        if (line.find("extension WheelRelocatorMesh") == 0)
            ++marked;
        else
            actual.push_back(line);
    }
    EXPECT_EQ(actual, withObjects(expected));
    EXPECT_EQ(marked, 4);
    for (const char* suffix : kCorners)
        EXPECT_EQ(fresh.log.count(std::string("extension WheelRelocatorMesh") + suffix + " 57 null"), 1);
}

TEST_F(CallOrder, DeclaresInputsThenGroupsThenOutputs) {
    Vehicle& car = host.create("Car");
    car.declare();
    const Lines lines = car.log.lines();
    Lines expected;
    const char* const types[9] = {"14", "14", "15", "15", "15", "15", "15", "15", "15"};
    for (int i = 0; i < 9; ++i) expected.push_back(std::string("createInputProperty ") + kChannels[i] + " " + types[i]);
    append(expected, {"endInputProperties", "beginGroup Gauges"});
    ASSERT_GT(lines.size(), expected.size() + 9);
    EXPECT_EQ(Lines(lines.begin(), lines.begin() + static_cast<long>(expected.size())), expected);
    EXPECT_EQ(Lines(lines.end() - 10, lines.end()),
              (Lines{"endGroup", "endParameters", "hasExtension 41", "callExtension 41 Velocity 8",
                     "callExtension 41 Velocity (Percent of Max) 8", "callExtension 41 Steering Angle 8",
                     "callExtension 41 WheelMesh_FL 8", "callExtension 41 WheelMesh_FR 8",
                     "callExtension 41 WheelMesh_BL 8", "callExtension 41 WheelMesh_BR 8"}));
    car.createRig();
}

}  // namespace
}  // namespace ond::test
