// What the host can leave undone on purpose, so that vehicles can be looked at in a poor host.
#include "stage/FakeVehicle.h"

namespace ond::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class HostFaults : public OneFake {};

TEST_F(HostFaults, WithoutExtensionFortyOneThereAreNoOutputs) {
    car.declare();
    EXPECT_TRUE(car.hasExtension(41));
    EXPECT_FALSE(car.hasExtension(40));
    EXPECT_FALSE(car.hasExtension(31));
    car.faults.knowsExtension41 = false;
    EXPECT_FALSE(car.hasExtension(41));
    EXPECT_THAT(car.misuse, IsEmpty()) << "asking is free";
    unidevice::OutputChannelRecord record{"Velocity", 8};
    EXPECT_EQ(car.callExtension(41, &record), nullptr);
    EXPECT_TRUE(car.outputs.empty());
    EXPECT_THAT(car.misuse, ElementsAre(HasSubstr("callExtension")));
}

TEST_F(HostFaults, ExtensionFortyOneNeedsARecord) {
    car.declare();
    EXPECT_EQ(car.callExtension(41, nullptr), nullptr);
    EXPECT_THAT(car.misuse, ElementsAre(HasSubstr("callExtension")));
    EXPECT_TRUE(car.outputs.empty());
}

TEST_F(HostFaults, WithoutExtensionThirtyOneNobodyIsRelated) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    ovs::MeshHandle* wheel = made("WheelMesh_FL", body);
    EXPECT_NE(wheel->callExtension(31, body), nullptr);
    car.faults.knowsExtension31 = false;
    EXPECT_FALSE(wheel->hasExtension(31));
    EXPECT_EQ(wheel->callExtension(31, body), nullptr);
    wheel->callExtension(17, nullptr);
    EXPECT_TRUE(car.element("WheelMesh_FL").placedByUser) << "the other numbers still work";
}

TEST_F(HostFaults, RefusedChannelIsNull) {
    car.faults.refusesProperties = true;
    rig();
    EXPECT_EQ(fake().gas, nullptr);
    EXPECT_TRUE(car.properties.empty());
    EXPECT_TRUE(car.axes.empty());
    EXPECT_TRUE(car.dialog.whole);
    EXPECT_THAT(car.misuse, IsEmpty());
}

TEST_F(HostFaults, WithoutADescriptorTheLinkIsEmpty) {
    car.faults.withoutDescriptor = true;
    rig();
    ASSERT_NE(fake().hostInterface->link, nullptr);
    EXPECT_EQ(fake().hostInterface->link->descriptor, nullptr);
}

TEST_F(HostFaults, SurfaceCanBeTakenFromAnElement) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    car.element("CarBodyMesh").surface = SurfaceKind::none;
    EXPECT_EQ(car.getSurfaceObject(body, 0.0), nullptr);
    car.element("CarBodyMesh").surface = SurfaceKind::unsupported;
    ovs::SurfaceObject* surface = car.getSurfaceObject(body, 0.0);
    ASSERT_NE(surface, nullptr);
    util::CMesh mesh = smallTriangle();
    surface->getMesh(mesh);
    EXPECT_EQ(mesh.getNumVertices(), 0);
    car.releaseSurfaceObject(surface);
}

class StageFaults : public FakeStage {};

TEST_F(StageFaults, ElementDeletedInARunIsGoneForTheRestOfIt) {
    plugin.onRig = [](FakeVehicle& v) { v.make("WheelMesh_FL", v.make("CarBodyMesh")); };
    Vehicle& car = add("car");
    std::vector<bool> there;
    plugin.onFrame = [&](FakeVehicle& v, double time) {
        ovs::TransformObject* transform = v.hostInterface->getTransformObject(v.handles[0], time);
        there.push_back(transform != nullptr);
        if (transform != nullptr) transform->setWorldMatrix(util::Translation({1, 0, 0}));
        v.hostInterface->releaseTransformObject(transform);
        v.setWorld(v.handles[1], time, util::Translation({2, 0, 0}));
    };
    stage->startRun(0);
    stage->advance(2);
    stage->scene.remove(car.element("CarBodyMesh"));
    stage->advance(2);
    stage->stopRun();
    EXPECT_THAT(there, ElementsAre(true, true, false, false));
    EXPECT_EQ(car.world("WheelMesh_FL", 4), util::Translation({2, 0, 0}));
    EXPECT_EQ(car.element("CarBodyMesh").track.keys.size(), 3U) << "no keys behind the deletion";
    EXPECT_EQ(stage->complaints(), Lines());
    stage->undo.undo();
    EXPECT_TRUE(car.element("WheelMesh_FL").track.keys.empty());
}

TEST_F(StageFaults, FaultsStayWithAVehicleThatIsLoadedAgain) {
    Vehicle& car = stage->create("car");
    car.faults.refusesProperties = true;
    car.faults.knowsExtension31 = false;
    car.faults.knowsExtension41 = false;
    car.faults.withoutDescriptor = true;
    car.declare();
    car.createRig();
    Vehicle& again = stage->replace(car);
    EXPECT_TRUE(again.properties.empty());
    EXPECT_FALSE(again.hasExtension(41));
    EXPECT_FALSE(again.faults.knowsExtension31);
    EXPECT_EQ(again.link->descriptor, nullptr);
}

TEST_F(StageFaults, ComplaintsOfAReplacedVehicleAreNotLost) {
    plugin.onRig = [](FakeVehicle& v) {
        static_cast<void>(v.hostInterface->getTransformObject(v.make("CarBodyMesh"), 0.0));
    };
    Vehicle& car = add("car");
    car.updateFrame(1);
    EXPECT_EQ(stage->complaints().size(), 2U);
    stage->replace(car);
    EXPECT_THAT(stage->complaints(), ElementsAre(HasSubstr("updateFrame"), HasSubstr("transform of CarBodyMesh")));
}

TEST(FaultsOfTheModule, DamagedBlockIsHandedOutAsItIsAndFails) {
    Stage stage(vehicleModule());
    Vehicle& first = stage.addVehicle("car");
    first.save();
    std::vector<unsigned char> damaged = first.chunk;
    damaged.resize(13);
    first.chunk = damaged;
    Vehicle& car = stage.replace(first);
    EXPECT_EQ(car.chunk, damaged);
    EXPECT_EQ(car.load(), 1U);
    EXPECT_EQ(car.life, Vehicle::Life::loadFailed);
    stage.run(0, 2);
    EXPECT_EQ(stage.complaints(), Lines()) << "it is left alone";
}

}  // namespace
}  // namespace ond::test
