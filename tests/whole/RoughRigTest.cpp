// Rigs that users have taken apart: deleted elements, missing corners, several vehicles, extensions that are not there.
#include <limits>

#include "whole/Grounds.h"
#include "whole/SavedBlock.h"
#include "whole/WholeRun.h"

namespace ond::test {
namespace {

using RoughRig = WholeRun;

// Every element in turn is deleted before a run, and in the middle of one.
TEST_F(RoughRig, RunsOnWithoutAnyOneElement) {
    std::vector<std::string> identifiers;
    {
        Vehicle& car = addCar("Model");
        for (const auto& element : host.scene.elements) identifiers.push_back(element->identifier);
        host.removeVehicle(car);
    }
    ASSERT_EQ(identifiers.size(), 27u);
    for (const std::string& identifier : identifiers)
        for (const bool midRun : {false, true}) {
            SCOPED_TRACE(identifier + (midRun ? " in the middle of a run" : " before a run"));
            Stage own(vehicleModule());
            Vehicle& car = straightAxes(own.addVehicle("Car"));
            car.put("Autonomous Mode", midRun ? 1.0 : 0.0);
            car.axis("Gas Pedal").position = 0.5;
            car.axis("External Force").position = 0.5;
            if (!midRun) own.scene.remove(car.element(identifier));
            own.startRun(0);
            own.advance(5);
            if (midRun) own.scene.remove(car.element(identifier));
            own.advance(10);
            own.stopRun();
            own.run(7, 12);
            car.edit("Hide Helpers", 1.0);
            own.undo.undo();
            car.save();
            EXPECT_FALSE(car.element(identifier).deleted && !car.element(identifier).track.keys.empty() && !midRun)
                << "nothing may be written into a deleted element";
            // The element has been deleted while the vehicle held on to it; nothing else may be wrong.
            EXPECT_EQ(own.complaints(), Lines());
        }
}

TEST_F(RoughRig, DeletedElementReadsAsIdentityAndTakesNoKeys) {
    Vehicle& car = addCarOnPlane();
    host.scene.remove(car.element("TurnBaseMesh"));
    host.run(0, 5);
    EXPECT_TRUE(car.element("TurnBaseMesh").track.keys.empty());
    EXPECT_GT(car.log.count("getTransformObject TurnBaseMesh"), 5);
    EXPECT_EQ(car.log.count("readWorld TurnBaseMesh"), 3) << "all before the deletion";
}

TEST_F(RoughRig, ElementBroughtBackIsWrittenAgain) {
    Vehicle& car = addCarOnPlane();
    car.axis("Gas Pedal").position = 1.0;
    host.startRun(0);
    host.advance(5);
    Element& camera = car.element("FollowCam");
    host.scene.remove(camera);
    host.advance(5);
    const std::size_t keys = camera.track.keys.size();
    host.scene.revive(camera);
    host.advance(5);
    EXPECT_EQ(camera.track.keys.size(), keys + 5);
    host.stopRun();
}

TEST_F(RoughRig, DeletedGravityMeshLeavesGravityDownwards) {
    Vehicle& car = addCarOnPlane();
    host.scene.remove(car.element("GravityDirectionMesh"));
    car.axis("Skid Brake").position = 1.0;
    host.run(0, 60);
    EXPECT_NEAR(position(car.world("WheelMesh_BL", 60)).y, kWheelRadius * kRadiusMult, 2e-3);
}

// Three corners come out of a scene in which the fourth was deleted.
TEST_F(RoughRig, ThreeCornersDrive) {
    for (const bool fast : {false, true}) {
        Stage own(vehicleModule());
        Vehicle& first = own.addVehicle("Car");
        first.save();
        for (const char* kind :
             {"WheelMesh_BR", "WheelCenterMesh_BR", "WheelCenterSuspensionMesh_BR", "WheelRelocatorMesh_BR"})
            own.scene.remove(first.element(kind));
        Vehicle& car = straightAxes(own.replace(first));
        ASSERT_EQ(car.load(), 0u);
        for (const char* kind : {"WheelMesh", "WheelCenterMesh", "WheelCenterSuspensionMesh", "WheelRelocatorMesh"}) {
            EXPECT_EQ(car.log.count(std::string("findElement ") + kind + "_BR"), 1);
        }
        quiet(car);
        car.put("Use Fast Ray Cast", fast ? 1.0 : 0.0);
        car.axis("Gas Pedal").position = 0.3;
        car.log.clear();
        own.run(0, 50);
        EXPECT_EQ(car.log.count("setWorld WheelMesh_BL @50"), 1);
        EXPECT_EQ(car.log.count("setWorld WheelMesh_BR"), 0);
        EXPECT_LT(position(car.world("CarBodyMesh", 50)).z, -4.0);
        own.run(25, 50);
        car.edit("Hide Helpers", 1.0);
        car.save();
        EXPECT_EQ(SavedBlock(car.chunk).root().getChild("wheelstore").getNumChildren(), 24);
        EXPECT_EQ(own.complaints(), Lines());
    }
}

TEST_F(RoughRig, LoadWithoutARequiredElementFailsAndCanBeReleased) {
    for (const char* required : {"GravityDirectionMesh", "TopViewCam", "TurnBaseMesh", "CarBodyMesh", "DriverCam",
                                 "FollowCam", "ChassisRelocatorMesh", "TargetMesh"}) {
        SCOPED_TRACE(required);
        Stage own(vehicleModule());
        Vehicle& first = own.addVehicle("Car");
        first.save();
        own.scene.remove(first.element(required));
        Vehicle& car = own.replace(first);
        EXPECT_EQ(car.load(), 1u);
        car.release();
        EXPECT_EQ(own.complaints(), Lines());
    }
}

TEST_F(RoughRig, LoadMakesAnewWhatCanBeMadeAnew) {
    for (const char* optional : {"SteeringWheelMesh", "ExternalForceMesh", "CarBodyBaseMesh"}) {
        SCOPED_TRACE(optional);
        Stage own(vehicleModule());
        Vehicle& first = own.addVehicle("Car");
        first.save();
        own.scene.remove(first.element(optional));
        Vehicle& car = own.replace(first);
        EXPECT_EQ(car.load(), 0u);
        ASSERT_TRUE(car.hasElement(optional));
        EXPECT_EQ(car.element(optional).parent, &car.element("CarBodyMesh"));
        own.run(0, 5);
        EXPECT_EQ(own.complaints(), Lines());
    }
}

TEST_F(RoughRig, LoadWithHiddenBodyHidesTheSteeringWheel) {
    Vehicle& first = addCar();
    first.save();
    first.element("CarBodyMesh").shown = false;
    Vehicle& car = reload(first);
    EXPECT_FALSE(car.element("SteeringWheelMesh").shown);
    EXPECT_TRUE(car.element("TurnBaseMesh").shown);
}

TEST_F(RoughRig, LoadWithoutABlockOrWithADamagedOneFails) {
    Vehicle& first = addCar();
    first.save();
    const std::vector<unsigned char> whole = first.chunk;
    std::vector<std::vector<unsigned char>> bad{{}};
    bad.push_back(whole);
    bad.back().at(12) = 'A';  // the name sorts below all that are known
    bad.push_back(whole);
    std::memset(&bad.back().at(12 + 15), '0', 4);  // sorts below version 100
    Vehicle* car = &first;
    for (const auto& chunk : bad) {
        car->chunk = chunk;
        car = &host.replace(*car);
        EXPECT_EQ(car->load(), 1u);
    }
    car->chunk = whole;
    car = &host.replace(*car);
    EXPECT_EQ(car->load(), 0u);
}

// Several vehicles

/// Everything that a vehicle's elements did in a run, as numbers.
std::vector<double> traceOf(const Vehicle& car, int frames) {
    std::vector<double> numbers;
    for (const char* element : {"CarBodyMesh", "WheelMesh_FL", "WheelCenterMesh_BR", "FollowCam", "TurnBaseMesh"})
        for (int frame = 0; frame <= frames; ++frame)
            for (double number : car.world(element, frame).m) numbers.push_back(number);
    return numbers;
}

TEST_F(RoughRig, VehiclesDoNotDisturbEachOther) {
    std::vector<double> alone;
    {
        Stage own(vehicleModule());
        Vehicle& car = straightAxes(own.addVehicle("Car"));
        car.axis("Gas Pedal").position = 0.6;
        car.axis("Steering").position = 0.3;
        own.run(0, 60);
        alone = traceOf(car, 60);
    }
    Vehicle& other = addCarOnPlane("Truck");
    Vehicle& car = addCar("Car");
    Vehicle& third = addCar("Bus");
    linkGround(third, flatGround());
    other.axis("Gas Pedal").position = -0.4;
    car.axis("Gas Pedal").position = 0.6;
    car.axis("Steering").position = 0.3;
    third.axis("Gas Pedal").position = 1.0;
    host.run(0, 60);
    EXPECT_EQ(traceOf(car, 60), alone);
    EXPECT_GT(position(other.world("CarBodyMesh", 60)).z, 1.0);
    EXPECT_LT(position(third.world("CarBodyMesh", 60)).z, -10.0);
    EXPECT_EQ(host.scene.elements.size(), 3 * 27u + 1);
}

TEST_F(RoughRig, IdleVehicleStandsWhileAnotherRuns) {
    Vehicle& idle = addCarOnPlane("Idle");
    Vehicle& car = addCarOnPlane("Car");
    idle.armed = false;
    idle.axis("Gas Pedal").position = 1.0;
    car.axis("Gas Pedal").position = 1.0;
    idle.log.clear();
    host.run(0, 20);
    EXPECT_EQ(idle.log.lines(), Lines(20, "refreshDialog"));
    EXPECT_TRUE(idle.element("CarBodyMesh").track.keys.empty());
    EXPECT_FALSE(car.element("CarBodyMesh").track.keys.empty());
}

TEST_F(RoughRig, ReleasingOneVehicleLeavesTheOtherRunning) {
    Vehicle& first = addCar("First");
    Vehicle& second = addCar("Second");
    second.axis("Gas Pedal").position = 1.0;
    host.run(0, 5);
    host.removeVehicle(first);
    host.run(0, 20);
    EXPECT_LT(position(second.world("CarBodyMesh", 20)).z, -1.0);
}

TEST_F(RoughRig, SavedVehiclesFindTheirOwnElements) {
    Vehicle& first = addCarOnPlane("First");
    Vehicle& second = addCarOnPlane("Second");
    host.scene.setWorld(second.element("CarBodyMesh"), 0.0,
                        util::Translation({10, kRestHeight, 0}) * util::Scaling(kLength));
    first.save();
    second.save();
    Vehicle& one = reload(first);
    Vehicle& two = reload(second);
    for (Vehicle* car : {&one, &two}) {
        car->press("Re-Initialize Car Attributes");
        quiet(*car);
        car->axis("Gas Pedal").position = 0.5;
    }
    host.run(0, 20);
    EXPECT_NEAR(position(one.world("CarBodyMesh", 20)).x, 0.0, 0.1);
    EXPECT_NEAR(position(two.world("CarBodyMesh", 20)).x, 10.0, 0.1);
    EXPECT_LT(position(two.world("CarBodyMesh", 20)).z, -1.0);
}

TEST_F(RoughRig, OneVehicleChasesAnother) {
    Vehicle& hare = addCarOnPlane("Hare");
    Vehicle& hound = addCarOnPlane("Hound");
    host.scene.setWorld(hound.element("CarBodyMesh"), 0.0,
                        util::Translation({0, kRestHeight, 12}) * util::Scaling(kLength));
    hound.edit("Autonomous Mode", 1.0);
    host.scene.reparent(hound.element("TargetMesh"), &hare.element("CarBodyMesh"));
    hound.element("TargetMesh").track.pose = Matrix4();
    hare.axis("Gas Pedal").position = 0.2;
    host.run(0, 500);
    EXPECT_TRUE(hound.messages.empty()) << "the target hangs below another body";
    EXPECT_LT(distance(position(hare.world("CarBodyMesh", 500)), position(hound.world("CarBodyMesh", 500))), 12.0);
    EXPECT_LT(position(hound.world("CarBodyMesh", 500)).z, -20.0);
}

// Hosts that know less

TEST_F(RoughRig, HostWithoutAnyExtensionDrivesTheSame) {
    const auto drive = [](bool knows) {
        Stage own(vehicleModule());
        Vehicle& car = own.create("Car");
        car.faults.knowsExtension31 = knows;
        car.faults.knowsExtension41 = knows;
        car.declare();
        car.createRig();
        straightAxes(car).axis("Gas Pedal").position = 0.6;
        Element& ground = own.scene.addMesh("Ground", flatGround());
        own.scene.reparent(car.element("GravityDirectionMesh"), &ground);
        own.run(0, 40);
        EXPECT_TRUE(car.messages.empty());
        EXPECT_EQ(own.complaints(), Lines());
        return traceOf(car, 40);
    };
    EXPECT_EQ(drive(true), drive(false));
}

TEST_F(RoughRig, HostWithoutADescriptorGetsAStampOfZero) {
    Vehicle& car = host.create("Car");
    car.faults.withoutDescriptor = true;
    car.declare();
    car.createRig();
    car.save();
    EXPECT_EQ(SavedBlock(car.chunk).root().getName(), "CarCamDataChunk0");
    car.appLink.descriptor = host.plugin;
    car.save();
    EXPECT_EQ(SavedBlock(car.chunk).root().getName(), "CarCamDataChunk9201");
}

}  // namespace
}  // namespace ond::test
