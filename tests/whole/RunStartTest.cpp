// The start of a run: fresh or resumed, what it measures, repairs, warns of and erases.
#include "whole/Grounds.h"
#include "whole/SavedBlock.h"
#include "whole/WholeRun.h"

namespace ond::test {
namespace {

class RunStart : public WholeRun {
  protected:
    /// A fresh start reads the devices three times, a resumed one never.
    bool startsFresh(Vehicle& car, int frame) {
        car.log.clear();
        host.startRun(frame);
        const int reads = car.log.count("axis Gas Pedal");
        host.advance(1);
        host.stopRun();
        EXPECT_TRUE(reads == 0 || reads == 3) << reads;
        return reads == 3;
    }

    static SavedBlock saved(Vehicle& car) {
        car.save();
        return SavedBlock(car.chunk);
    }

    /// How far the body moved in the first frame of a run at 0, in lengths per second.
    double firstSpeed(Vehicle& car) {
        host.run(0, 1);
        return (position(car.world("CarBodyMesh", 0)).z - position(car.world("CarBodyMesh", 1)).z) / 0.04 / kLength;
    }
};

TEST_F(RunStart, IsFreshAtTheEarliestStartAndResumesBehindIt) {
    Vehicle& car = addCarOnPlane();
    EXPECT_TRUE(startsFresh(car, 0));
    EXPECT_FALSE(startsFresh(car, 1));
    EXPECT_TRUE(startsFresh(car, 0));
}

TEST_F(RunStart, EarlierStartMovesTheEarliestStartBack) {
    Vehicle& car = addCarOnPlane();
    EXPECT_TRUE(startsFresh(car, 0));
    EXPECT_TRUE(startsFresh(car, -25));
    EXPECT_EQ(saved(car).value<double>("dStartTime"), -1.0);
    EXPECT_FALSE(startsFresh(car, 0));
    EXPECT_FALSE(startsFresh(car, -24));
    EXPECT_TRUE(startsFresh(car, -25));
}

TEST_F(RunStart, NewVehicleIsFreshWhereverItStartsButItsEarliestStartStaysZero) {
    Vehicle& car = addCarOnPlane();
    EXPECT_TRUE(startsFresh(car, 50));
    EXPECT_EQ(saved(car).value<double>("dStartTime"), 0.0);
    EXPECT_FALSE(startsFresh(car, 50));
    EXPECT_FALSE(startsFresh(car, 20));
    EXPECT_TRUE(startsFresh(car, 0));
}

TEST_F(RunStart, ReInitializedCarStartsFreshAnywhere) {
    Vehicle& car = addCarOnPlane();
    host.run(0, 20);
    car.press("Re-Initialize Car Attributes");
    EXPECT_TRUE(startsFresh(car, 10));
    EXPECT_FALSE(startsFresh(car, 10));
    EXPECT_EQ(saved(car).value<double>("dStartTime"), 0.0);
}

TEST_F(RunStart, PushesOneRecordPerHistory) {
    Vehicle& car = addCarOnPlane();
    host.startRun(0);
    EXPECT_EQ(car.log.count("pushUndo"), 59);
    host.advance(1);
    host.stopRun();
    EXPECT_EQ(host.undo.recordsOnTop(), 59);
}

TEST_F(RunStart, PushesNoRecordsWithBothKeyFlagsOff) {
    Vehicle& car = addCarOnPlane();
    car.put("Enable Seamless Transitions", 0.0);
    host.startRun(0);
    EXPECT_EQ(car.log.count("pushUndo"), 0);
    host.stopRun();
    car.put("Keyframe only essential objects", 1.0);
    car.log.clear();
    host.startRun(0);
    EXPECT_EQ(car.log.count("pushUndo"), 59);
    host.stopRun();
}

void scaleBody(Scene& scene, Vehicle& car, const Vector3<double>& scale) {
    scene.setWorld(car.element("CarBodyMesh"), 0.0, util::Translation({0, kRestHeight, 0}) * util::Scaling(scale));
}

TEST_F(RunStart, BodyWithinTheRatioIsMadeUniformInSilence) {
    Vehicle& car = addCarOnPlane();
    scaleBody(host.scene, car, {3.5 * 1.0009, 3.5, 3.5 * 1.0009});
    host.run(0, 1);
    EXPECT_TRUE(car.messages.empty());
    expectNear(util::Scale(car.world("CarBodyMesh", 1)), Vector3<double>(1, 1, 1) * (3.5 * 1.0009), 1e-9, "scale");
}

TEST_F(RunStart, BodyBeyondTheRatioIsMadeUniformWithAWarning) {
    for (const Vector3<double>& scale : {Vector3<double>(3.5 * 1.0011, 3.5, 3.5 * 1.0011),
                                         Vector3<double>(3.5, 3.5, 3.5 / 1.0011), Vector3<double>(2.0, 3.5, 4.0)}) {
        Stage own(vehicleModule());
        Vehicle& car = own.addVehicle("Car");
        car.put("Use Fast Ray Cast", 0.0);
        scaleBody(own.scene, car, scale);
        own.run(0, 1);
        ASSERT_EQ(car.messages.size(), 1u);
        EXPECT_EQ(car.messages[0].caption, "Warning");
        EXPECT_EQ(car.messages[0].text,
                  "Nonuniform scaling is not allowed on the body since it would affect children.\nThe quadrig body "
                  "will now rescale to become uniform.\nWhen scaling only the length of the dummy is of "
                  "importance.\nModify the shape by editing the mesh.");
        expectNear(util::Scale(car.world("CarBodyMesh", 1)), Vector3<double>(1, 1, 1) * scale.z, 1e-9, "scale");
    }
}

TEST_F(RunStart, ResumedRunDoesNotWarnOfTheBody) {
    Vehicle& car = addCarOnPlane();
    host.run(0, 10);
    Element& body = car.element("CarBodyMesh");
    body.track.setKey(host.scene.clock.time(5), util::Scaling({2, 3, 4}), host.scene.clock.snap());
    host.run(5, 6);
    EXPECT_TRUE(car.messages.empty());
}

const char* const kRelocatorWarning =
    "In the rigging process the wheels should be moved and scaled with the WheelRelocatorMesh:es.\nUse the "
    "WheelCenterMesh:es for suspension and particles.";

void moveCentre(Scene& scene, Vehicle& car, double by) {
    Element& centre = car.element("WheelCenterMesh_BR");
    Matrix4 m = scene.world(centre, 0.0);
    m.setRow(3, m.row(3) + Vector3<double>(0, by, 0));
    scene.setWorld(centre, 0.0, m);
}

TEST_F(RunStart, CentreMovedByLessThanAHundredthOfTheLengthIsFine) {
    Vehicle& car = addCarOnPlane();
    moveCentre(host.scene, car, 0.0099 * kLength);
    host.run(0, 1);
    EXPECT_TRUE(car.messages.empty());
}

TEST_F(RunStart, CentreMovedByMoreIsWarnedOfOnceAndPutBack) {
    Vehicle& car = addCarOnPlane();
    moveCentre(host.scene, car, 0.0101 * kLength);
    host.startRun(0);
    EXPECT_EQ(car.messages, (std::vector<Message>{{kRelocatorWarning, "Warning"}}));
    expectNear(position(car.world("WheelCenterMesh_BR", 0)), position(car.world("WheelMesh_BR", 0)), 1e-12, "centre");
    host.stopRun();
    host.run(0, 1);
    EXPECT_EQ(car.messages.size(), 1u);
}

TEST_F(RunStart, WheelMeshWinsOverItsRelocator) {
    Vehicle& car = addCarOnPlane();
    Element& wheel = car.element("WheelMesh_BR");
    Matrix4 moved = host.scene.world(wheel, 0.0);
    moved.setRow(3, moved.row(3) + Vector3<double>(0.2, 0.0, 0.3));
    host.scene.setWorld(wheel, 0.0, moved);
    host.startRun(0);
    EXPECT_EQ(car.messages, std::vector<Message>());
    const Vector3<double> place(kHalfTrack + 0.2, kWheelRadius, kBackZ + 0.3);
    for (const char* element :
         {"WheelMesh_BR", "WheelRelocatorMesh_BR", "WheelCenterMesh_BR", "WheelCenterSuspensionMesh_BR"})
        expectNear(position(car.world(element, 0)), place, 1e-9, element);
    host.advance(1);
    host.stopRun();
    const SavedBlock block = saved(car);
    EXPECT_NEAR(block.record(216 + 3 * 24 + 8), kBackZ + 0.3, 1e-9);
    EXPECT_NEAR(block.record(216 + 3 * 24 + 16), kHalfTrack + 0.2, 1e-9);
}

TEST_F(RunStart, MeasuresTheCarFromTheRig) {
    Vehicle& car = addCarOnPlane();
    host.run(0, 1);
    const SavedBlock block = saved(car);
    EXPECT_NEAR(block.record(208), kLength, 1e-12);
    EXPECT_NEAR(block.record(192), kLength, 1e-12);
    EXPECT_NEAR(block.record(200), kLength, 1e-12);
    // Body above the plane of the points below the wheels: 0.15 less what the tyre gives in.
    EXPECT_NEAR(block.record(184), 0.137, 1e-6);
    for (int corner = 0; corner < 4; ++corner) {
        const int at = 216 + 24 * corner;
        // The start moves a left wheel out by a thousandth of its width.
        const double x = corner % 2 == 0 ? -kHalfTrack - 0.001 * 0.7 * kWheelRadius : kHalfTrack;
        EXPECT_NEAR(block.record(at), kWheelRadius, 1e-12) << corner;
        EXPECT_NEAR(block.record(at + 8), corner < 2 ? kFrontZ : kBackZ, 1e-12) << corner;
        EXPECT_NEAR(block.record(at + 16), x, 1e-12) << corner;
    }
}

TEST_F(RunStart, LeftWheelsMoveOutAtEachFreshStart) {
    Vehicle& car = addCarOnPlane();
    const double before = position(car.world("WheelMesh_FL", 0)).x;
    host.startRun(0);
    const double once = position(car.world("WheelMesh_FL", 0)).x;
    EXPECT_NEAR(once, before - 0.001 * 0.7 * kWheelRadius, 1e-12);
    EXPECT_NEAR(position(car.world("WheelMesh_FR", 0)).x, kHalfTrack, 1e-12);
    host.stopRun();
    host.startRun(0);
    EXPECT_NEAR(position(car.world("WheelMesh_FL", 0)).x, once - 0.001 * 0.7 * kWheelRadius, 1e-12);
    host.stopRun();
}

TEST_F(RunStart, RelocatorTakesTheLengthOfItsUpAxis) {
    Vehicle& car = addCarOnPlane();
    Element& relocator = car.element("WheelRelocatorMesh_BL");
    Matrix4 m = util::Scaling({0.3, 0.4, 0.5});
    m.setRow(3, position(host.scene.world(relocator, 0.0)));
    host.scene.setWorld(relocator, 0.0, m);
    host.startRun(0);
    expectNear(util::Scale(car.world("WheelRelocatorMesh_BL", 0)), {0.4, 0.4, 0.4}, 1e-12, "relocator");
    host.stopRun();
}

TEST_F(RunStart, HeldGasWinsOverKeyedSpeed) {
    Vehicle& car = addCarOnPlane();
    car.put("Gas Pedal (Forw/Backw) Response Factor", 1e-9);
    const Matrix4 body = car.world("CarBodyMesh", 0);
    for (int frame = -2; frame <= 0; ++frame) {
        Matrix4 m = body;
        m.setRow(3, m.row(3) + Vector3<double>(0, 0, -kLength * 0.04 * frame));
        host.scene.setUserKey(car.element("CarBodyMesh"), frame, m);
    }
    car.put("Initital Velocity (% of max)", 80.0);
    car.axis("Gas Pedal").position = 0.7;
    EXPECT_NEAR(firstSpeed(car), 0.7 * 3.0, 0.05);
}

TEST_F(RunStart, KeyedSpeedWinsOverTheInitialVelocity) {
    Vehicle& car = addCarOnPlane();
    car.put("Gas Pedal (Forw/Backw) Response Factor", 1e-9);
    const Matrix4 body = car.world("CarBodyMesh", 0);
    for (int frame = -2; frame <= 0; ++frame) {
        Matrix4 m = body;
        m.setRow(3, m.row(3) + Vector3<double>(0, 0, -kLength * 0.04 * frame));
        host.scene.setUserKey(car.element("CarBodyMesh"), frame, m);
    }
    car.put("Initital Velocity (% of max)", 80.0);
    EXPECT_NEAR(firstSpeed(car), 1.0, 0.05);
}

TEST_F(RunStart, InitialVelocityCountsWhenNothingElseMoves) {
    Vehicle& car = addCarOnPlane();
    car.put("Gas Pedal (Forw/Backw) Response Factor", 1e-9);
    car.put("Initital Velocity (% of max)", 80.0);
    EXPECT_NEAR(firstSpeed(car), 0.8 * 3.0, 0.05);
}

TEST_F(RunStart, ErasesStatesBehindTheStartAndInputsFromIt) {
    Vehicle& car = addCarOnPlane();
    host.run(0, 64);
    host.startRun(32);
    host.stopRun();
    const SavedBlock block = saved(car);
    const double start = host.scene.clock.time(32);
    EXPECT_EQ(block.linear("ancCarCamcCarBodyfRelYPos").keys.back().time, start);
    EXPECT_EQ(block.wheel(2, kTotalPitch).keys.back().time, start);
    EXPECT_EQ(block.linear("cCarCamdWantedSkiddingValue").keys.back().time, start);
    EXPECT_EQ(block.linear("ancCarCampcInput_GAS_PEDAL").keys.back().time, host.scene.clock.time(31));
    EXPECT_EQ(block.variable<util::AVar_Latest<int>>("ancCarCamrandomValue_gravelShake").keys.back().time,
              host.scene.clock.time(31));
    EXPECT_EQ(block.linear("ancCarCamcCarBodyfRelYPos").getNumKeys(), 32);
    EXPECT_EQ(block.linear("ancCarCampcInput_GAS_PEDAL").getNumKeys(), 31);
}

TEST_F(RunStart, SetsTheGauges) {
    Vehicle& car = addCarOnPlane();
    scaleBody(host.scene, car, {4, 4, 4});
    car.put("Multiplier", 1.0);
    host.startRun(0);
    EXPECT_NEAR(car.value("World Space Maximum Velocity Gauge"), 12.0, 1e-12);
    EXPECT_NEAR(car.value("World Space Acceleration Gauge (seconds from 0 to 100)"), 100.0 / 2.0 / 4.0, 1e-12);
    EXPECT_NEAR(car.value("World Space Acceleration Gauge (seconds from 0 to 60)"), 60.0 / 2.0 / 4.0, 1e-12);
    host.stopRun();
}

TEST_F(RunStart, WarnsOfATargetBelowTheBody) {
    const Message warning{
        "The TargetMesh is parented to the CarBodyMesh.\nThis will mess up the autonomous mode making the car spinn.",
        "Warning"};
    Vehicle& car = addCarOnPlane();
    host.scene.reparent(car.element("TargetMesh"), &car.element("CarBodyMesh"));
    host.run(0, 1);
    EXPECT_TRUE(car.messages.empty()) << "outside of autonomous mode";
    car.edit("Autonomous Mode", 1.0);
    host.run(0, 1);
    EXPECT_EQ(car.messages, std::vector<Message>{warning});
    host.scene.reparent(car.element("TargetMesh"), &car.element("ExternalForceMesh"));
    host.run(0, 1);
    EXPECT_EQ(car.messages.size(), 2u);
    host.scene.reparent(car.element("TargetMesh"), nullptr);
    host.run(0, 1);
    EXPECT_EQ(car.messages.size(), 2u);
}

TEST_F(RunStart, CannotWarnOfTheTargetWithoutExtension31) {
    Vehicle& car = addCarOnPlane();
    car.faults.knowsExtension31 = false;
    host.scene.reparent(car.element("TargetMesh"), &car.element("CarBodyMesh"));
    car.edit("Autonomous Mode", 1.0);
    host.run(0, 1);
    EXPECT_TRUE(car.messages.empty());
}

}  // namespace
}  // namespace ond::test
