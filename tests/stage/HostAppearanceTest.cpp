// Visibility, colour, wireframe and lenses of elements.
#include "stage/FakeVehicle.h"

namespace ond::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class HostAppearance : public OneFake {
  protected:
    void TearDown() override {
        EXPECT_THAT(car.misuse, IsEmpty());
        EXPECT_THAT(car.open(), IsEmpty());
    }
};

TEST_F(HostAppearance, EachElementHasItsOwnVisibility) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    ovs::MeshHandle* wheel = made("WheelMesh_FL", body);
    ovs::MeshHandle* lens = car.createCameraElement("DriverCam", body, false);
    body->hide();
    EXPECT_FALSE(body->isShown());
    EXPECT_TRUE(wheel->isShown()) << "what users hang below a helper stays";
    EXPECT_TRUE(lens->isShown());
    lens->hide();
    body->show();
    EXPECT_FALSE(lens->isShown());
    EXPECT_TRUE(body->isShown());
    EXPECT_FALSE(car.element("DriverCam").shown);
}

TEST_F(HostAppearance, VisibilityHasNoTime) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    scene.clock.now = 10;
    body->hide();
    for (const int frame : {0, 10, 20}) {
        scene.clock.now = frame;
        EXPECT_FALSE(body->isShown());
    }
    EXPECT_TRUE(car.element("CarBodyMesh").track.keys.empty());
}

TEST_F(HostAppearance, ColourWireframeAndOwnColourAreThreeThings) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    const Element& element = car.element("CarBodyMesh");
    EXPECT_FALSE(element.ownColour);
    EXPECT_FALSE(element.wireframe);
    ovs::AppearanceObject* appearance = car.getAppearanceObject(body);
    ASSERT_NE(appearance, nullptr);
    appearance->useOwnColour(true);
    EXPECT_TRUE(element.ownColour);
    EXPECT_FALSE(element.wireframe);
    appearance->setColour(0.25F, 0.5F, 0.75F);
    EXPECT_THAT(element.colour, ElementsAre(0.25F, 0.5F, 0.75F));
    EXPECT_FALSE(element.wireframe);
    appearance->setWireframe(true);
    EXPECT_TRUE(element.wireframe);
    EXPECT_THAT(element.colour, ElementsAre(0.25F, 0.5F, 0.75F));
    appearance->useOwnColour(false);
    appearance->setWireframe(false);
    EXPECT_FALSE(element.ownColour);
    EXPECT_FALSE(element.wireframe);
    car.releaseAppearanceObject(appearance);
    EXPECT_TRUE(element.shown) << "visibility is another matter";
}

TEST_F(HostAppearance, RedrawingIsForFreeAndChangesNothing) {
    rig();
    made("CarBodyMesh");
    plugin.calls.clear();
    for (int i = 0; i < 10000; ++i) car.redrawViews();
    EXPECT_TRUE(plugin.calls.empty());
    EXPECT_EQ(undo.steps(), 0);
}

TEST_F(HostAppearance, LensKeepsItsAngle) {
    rig();
    for (const double degrees : {45.0, 90.0, 80.0}) {
        ovs::MeshHandle* handle =
            car.createCameraElement("Cam" + std::to_string(static_cast<int>(degrees)), nullptr, false);
        ovs::CameraObject* camera = car.getCameraObject(handle, 0.0);
        ASSERT_NE(camera, nullptr);
        camera->setFieldOfView(degrees);
        car.releaseCameraObject(camera);
        EXPECT_EQ(Vehicle::elementOf(handle)->fieldOfView, degrees);
    }
}

TEST_F(HostAppearance, MeshHasNoLens) {
    rig();
    EXPECT_EQ(car.getCameraObject(made("CarBodyMesh"), 0.0), nullptr);
    EXPECT_THAT(car.misuse, ElementsAre(HasSubstr("getCameraObject of CarBodyMesh")));
    car.misuse.clear();
}

TEST_F(HostAppearance, CameraHasATransformLikeAnyElement) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    ovs::MeshHandle* lens = car.createCameraElement("DriverCam", body, false);
    fake().setWorld(body, 0.0, util::Translation({0, 0, -10}));
    EXPECT_EQ(fake().readWorld(lens, 0.0), util::Translation({0, 0, -10}));
    EXPECT_EQ(car.getSurfaceObject(lens, 0.0), nullptr);
}

TEST(HostAppearanceOfTheModule, HiddenCamerasStillFollow) {
    Stage stage(vehicleModule());
    Vehicle& car = stage.addVehicle("car");
    car.put("Use Fast Ray Cast", 0.0);
    car.axis("Gas").position = 1.0;
    stage.run(0, 25);
    for (const char* camera : {"FollowCam", "DriverCam", "TopViewCam"}) {
        EXPECT_FALSE(car.element(camera).shown) << camera;
        EXPECT_GT(car.element(camera).fieldOfView, 0.0) << camera;
        EXPECT_LT(car.world(camera, 25).row(3).z, car.world(camera, 0).row(3).z - 1.0) << camera;
    }
}

TEST(HostAppearanceOfTheModule, VisibilityOutlivesARunAndIsPartOfASnapshot) {
    Stage stage(vehicleModule());
    stage.addVehicle("car");
    stage.vehicles[0]->element("DriverCam").shown = true;
    stage.vehicles[0]->element("TargetMesh").shown = false;
    stage.run(0, 3);
    const Snapshot snapshot = stage.snapshot();
    stage.vehicles[0]->element("DriverCam").shown = false;
    stage.vehicles[0]->element("TargetMesh").shown = true;
    stage.restore(snapshot);
    EXPECT_TRUE(stage.vehicles[0]->element("DriverCam").shown);
    EXPECT_FALSE(stage.vehicles[0]->element("TargetMesh").shown);
}

}  // namespace
}  // namespace ond::test
