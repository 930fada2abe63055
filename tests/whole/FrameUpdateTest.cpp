// What a frame of a run writes beside the scene: keys, read-outs, and what it leaves out.
#include "whole/SavedBlock.h"
#include "whole/WholeRun.h"

namespace ond::test {
namespace {

class FrameUpdate : public WholeRun {
  protected:
    static SavedBlock saved(Vehicle& car) {
        car.save();
        return SavedBlock(car.chunk);
    }
};

const char* const kLinear[] = {
    "ancCarCamcCarBodyfRelYPos",       "ancCarCamcCarBodyfRelXAng",       "ancCarCamcCarBodyfRelZAng",
    "ancCarCamcCarBodyfRelYVel",       "ancCarCamcCarBodyfRelXAngVel",    "ancCarCamcCarBodyfRelZAngVel",
    "ancCarCampcInput_STEERING_WHEEL", "ancCarCampcInput_GAS_PEDAL",      "ancCarCampcInput_GAS_PEDAL_inp_prev",
    "ancCarCampcInput_BOOSTER",        "ancCarCampcInput_SKID_BRAKE",     "ancCarCampcInput_SKIDDING",
    "ancCarCampcInput_BURNOUT",        "ancCarCamdSkidBrakeLocalYawIncr", "ancCarCamfSkidWantedGasPedalValue",
    "cCarCamdWantedSkiddingValue",     "ancCarCamfCarLocalYawIncr"};
const char* const kAutonomousOnly[] = {"cCarCamdInputFilterMem", "cCarCamdGasPedalInputFilterMem", "andFollowAccMem",
                                       "andAutoSteeringValueMem"};
const char* const kOthers[] = {"anFollowCamFilterMem",
                               "ancCarCamqTransCarAbsIncr",
                               "ancCarCambSkidBreakingOn",
                               "ancCarCambSkiddingOn",
                               "anQGravityFilterMem",
                               "anbCarInTheAir",
                               "anvAcceleration",
                               "ancCarCambSkidBreakingOnDisableFeatures",
                               "ancCarCambIsReverseVelAbsBraking",
                               "ancCarCamvSkidBrakePosIncr",
                               "ancCarCambSkidFirstTime",
                               "ancCarCamrandomValue_gravelShake",
                               "ancCarCamrandomValue_burnout",
                               "ancCarCamrandomValue_steeringNoise"};

/// Number of keys in the saved block of any variable.
int keysOf(const util::DataChunk& leaf) {
    std::uint32_t count = 0;
    EXPECT_GE(leaf.getSize(), 16);
    std::memcpy(&count, static_cast<const unsigned char*>(leaf.getData()) + 12, 4);
    return static_cast<int>(count);
}

void expectKeys(const SavedBlock& block, int expected, int expectedGravity) {
    for (const char* key : kLinear) EXPECT_EQ(keysOf(block.root().getChild(key)), expected) << key;
    for (const char* key : kOthers)
        EXPECT_EQ(keysOf(block.root().getChild(key)),
                  std::string(key) == "anQGravityFilterMem" ? expectedGravity : expected)
            << key;
    for (const char* key : kAutonomousOnly) EXPECT_EQ(keysOf(block.root().getChild(key)), 0) << key;
    for (int child = 0; child < 24; ++child)
        EXPECT_EQ(keysOf(block.root().getChild("wheelstore").getChild(child)), expected) << child;
}

TEST_F(FrameUpdate, KeysEveryHistoryOncePerFrame) {
    Vehicle& car = addCarOnPlane();
    host.run(0, 10);
    const SavedBlock block = saved(car);
    expectKeys(block, 10, 11);
    const auto gas = block.linear("ancCarCampcInput_GAS_PEDAL");
    for (int i = 0; i < 10; ++i) EXPECT_EQ(gas.getKeyTime(i), host.scene.clock.time(i + 1));
}

TEST_F(FrameUpdate, KeysTheAutonomousMemoriesInThatModeOnly) {
    Vehicle& car = addCarOnPlane();
    car.put("Autonomous Mode", 1.0);
    host.run(0, 10);
    const SavedBlock block = saved(car);
    for (const char* key : kAutonomousOnly) EXPECT_EQ(keysOf(block.root().getChild(key)), 10) << key;
}

TEST_F(FrameUpdate, EssentialKeysAloneStillKeyTheStates) {
    Vehicle& car = addCarOnPlane();
    car.edit("Enable Seamless Transitions", 0.0);
    car.edit("Keyframe only essential objects", 1.0);
    host.run(0, 10);
    expectKeys(saved(car), 10, 11);
}

TEST_F(FrameUpdate, BothKeyFlagsOffKeyNothingWhileTheCarDrives) {
    Vehicle& car = addCarOnPlane();
    car.edit("Enable Seamless Transitions", 0.0);
    car.axis("Gas Pedal").position = 0.5;
    host.run(0, 50);
    // The start of the run itself sets one key of the gravity filter.
    expectKeys(saved(car), 0, 1);
    EXPECT_LT(position(car.world("CarBodyMesh", 50)).z, -5.0);
    EXPECT_EQ(car.value("Current Velocity"), 0.0);
    EXPECT_NEAR(car.value("Current Velocity (% of max)"), 50.0, 1.0);
    EXPECT_EQ(car.output("Velocity")->current, 0.0);
    EXPECT_NEAR(car.output("Velocity (Percent of Max)")->current, 0.5, 0.01);
}

TEST_F(FrameUpdate, BothKeyFlagsOffLoseTheKeysAhead) {
    Vehicle& car = addCarOnPlane();
    host.run(0, 20);
    car.edit("Enable Seamless Transitions", 0.0);
    host.run(10, 15);
    const SavedBlock block = saved(car);
    EXPECT_EQ(block.linear("ancCarCampcInput_GAS_PEDAL").getNumKeys(), 9);
    EXPECT_EQ(block.linear("ancCarCamcCarBodyfRelYPos").getNumKeys(), 10);
}

TEST_F(FrameUpdate, EssentialKeysLeaveCentresAndCamerasBehind) {
    Vehicle& car = addCarOnPlane();
    car.edit("Keyframe only essential objects", 1.0);
    car.axis("Gas Pedal").position = 1.0;
    host.run(0, 10);
    for (const char* element : {"WheelCenterMesh_FL", "WheelCenterSuspensionMesh_BR", "FollowCam", "DriverCam"})
        EXPECT_TRUE(car.element(element).track.keys.empty()) << element;
    for (const char* element : {"CarBodyMesh", "WheelMesh_FL", "TurnBaseMesh", "SteeringWheelMesh", "CarBodyBaseMesh"})
        EXPECT_FALSE(car.element(element).track.keys.empty()) << element;
}

TEST_F(FrameUpdate, NoExternalForceMeansNoLookAtItsMesh) {
    Vehicle& car = addCarOnPlane();
    host.startRun(10);
    car.log.clear();
    host.advance(1);
    EXPECT_EQ(car.log.count("readWorld ExternalForceMesh"), 0);
    car.axis("External Force").position = 1e-6;
    car.log.clear();
    host.advance(1);
    EXPECT_EQ(car.log.count("readWorld ExternalForceMesh @11"), 1);
    EXPECT_EQ(car.log.count("readWorld ExternalForceMesh"), 1);
    host.stopRun();
}

TEST_F(FrameUpdate, OffsetOfTheExternalForceDoesNotLookAtItsMeshEither) {
    Vehicle& car = addCarOnPlane();
    car.put("External Force Offset Value", 0.5);
    host.startRun(0);
    car.log.clear();
    host.advance(3);
    EXPECT_EQ(car.log.count("readWorld ExternalForceMesh"), 0);
    host.stopRun();
}

// The force points along the arrow's own Z axis; pushed sideways the body leans, and only while it is pushed.
TEST_F(FrameUpdate, ExternalForceLeansTheBody) {
    Vehicle& car = addCarOnPlane();
    Element& force = car.element("ExternalForceMesh");
    force.track.pose = util::Translation({0, 0.3, 0}) * util::RotationY(1.5707963267948966);
    car.axis("External Force").script = [](double time) { return time > 2.0 && time < 4.0 ? 1.0 : 0.0; };
    host.run(0, 300);
    const auto roll = [&](int frame) { return car.world("CarBodyMesh", frame).row(0).y / kLength; };
    EXPECT_LT(std::abs(roll(45)), 1e-3);
    EXPECT_GT(std::abs(roll(90)), 0.01);
    EXPECT_LT(std::abs(roll(300)), 5e-3);
}

// A turn of the gravity mesh at a frame is read at the frame's end, becomes the frame before in the next, and acts in
// the one after that.
TEST_F(FrameUpdate, DirectionOfGravityActsTwoFramesLater) {
    std::vector<std::vector<Matrix4>> bodies;
    for (const bool turned : {false, true}) {
        Stage own(vehicleModule());
        Vehicle& car = straightAxes(own.addVehicle("Car"));
        car.put("Use Fast Ray Cast", 0.0);
        quiet(car);
        car.axis("Skid Brake").position = 1.0;
        Element& gravity = car.element("GravityDirectionMesh");
        const Matrix4 upright = gravity.track.pose;
        own.scene.setUserKey(gravity, 49, upright);
        own.scene.setUserKey(gravity, 50, turned ? upright * util::RotationZ(0.8) : upright);
        own.run(0, 60);
        bodies.emplace_back();
        for (int frame = 0; frame <= 60; ++frame) bodies.back().push_back(car.world("CarBodyMesh", frame));
    }
    for (std::size_t frame = 0; frame <= 51; ++frame) EXPECT_EQ(bodies[0][frame], bodies[1][frame]) << frame;
    EXPECT_GT(degreesBetween(bodies[0][52], bodies[1][52]), 1e-4);
    EXPECT_GT(degreesBetween(bodies[0][60], bodies[1][60]), 0.1);
}

TEST_F(FrameUpdate, IdleReadOutsComeFromTheKeys) {
    Vehicle& car = addCarOnPlane();
    car.axis("Gas Pedal").script = [](double time) { return 0.1 + 0.1 * time; };
    host.run(0, 100);
    const auto gas = saved(car).linear("ancCarCampcInput_GAS_PEDAL");
    for (int frame : {10, 40, 80}) {
        host.show(frame);
        const double value = gas.valueAt(host.scene.clock.time(frame));
        EXPECT_GT(value, 0.2);
        EXPECT_DOUBLE_EQ(car.value("Current Velocity"), kLength * 3.6 * value);
        EXPECT_DOUBLE_EQ(car.value("Current Velocity (% of max)"), 100.0 * value / 3.0);
    }
}

TEST_F(FrameUpdate, ShowFrameDuringARunOnlyRefreshes) {
    Vehicle& car = addCarOnPlane();
    car.axis("Gas Pedal").position = 1.0;
    host.startRun(0);
    host.advance(10);
    const double velocity = car.value("Current Velocity");
    EXPECT_GT(velocity, 0.0);
    car.showFrame(2);
    EXPECT_EQ(car.value("Current Velocity"), velocity);
    host.stopRun();
}

TEST_F(FrameUpdate, RestingCarReadsExactlyZeroAndReversingCarNegative) {
    Vehicle& car = addCarOnPlane();
    host.run(0, 20);
    EXPECT_EQ(car.value("Current Velocity"), 0.0);
    EXPECT_EQ(car.value("Current Velocity (% of max)"), 0.0);
    host.show(10);
    EXPECT_EQ(car.value("Current Velocity"), 0.0);
    EXPECT_EQ(car.value("Current Velocity (% of max)"), 0.0);
    car.axis("Gas Pedal").position = -1.0;
    host.run(0, 50);
    EXPECT_LT(car.value("Current Velocity"), -1.0);
    EXPECT_LT(car.value("Current Velocity (% of max)"), -1.0);
    EXPECT_GT(position(car.world("CarBodyMesh", 50)).z, 1.0);
}

}  // namespace
}  // namespace ond::test
