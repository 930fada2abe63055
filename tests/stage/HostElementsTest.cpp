// Elements as a vehicle and its user see them: names, parents, children, handles.
#include <set>

#include "stage/FakeVehicle.h"

namespace ond::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using util::Matrix4;
using util::Translation;

class HostElements : public OneFake {
  protected:
    void TearDown() override {
        EXPECT_THAT(car.misuse, IsEmpty());
        EXPECT_THAT(car.open(), IsEmpty());
    }
    /// Names of a handle's children, as a vehicle walks them.
    static Lines childrenOf(ovs::MeshHandle* handle) {
        Lines names;
        for (int i = 0; i < handle->getNumChildren(); ++i) names.push_back(handle->getChild(i)->getName());
        return names;
    }
};

TEST_F(HostElements, NewOneStandsUnmovedShownAndWithoutKeys) {
    car.declare();
    ovs::MeshHandle* body = made("CarBodyMesh");
    ovs::MeshHandle* lens = car.createCameraElement("DriverCam", body, false);
    ASSERT_NE(body, nullptr);
    ASSERT_NE(lens, nullptr);
    for (ovs::MeshHandle* handle : {body, lens}) {
        EXPECT_EQ(fake().readLocal(handle, 0.0), Matrix4());
        EXPECT_TRUE(handle->isShown());
        EXPECT_EQ(handle->getNumChildren(), handle == body ? 1 : 0);
        EXPECT_TRUE(Vehicle::elementOf(handle)->track.keys.empty());
    }
    EXPECT_EQ(body->getParent(), nullptr);
    EXPECT_EQ(lens->getParent(), body);
    EXPECT_FALSE(car.element("CarBodyMesh").isCamera);
    EXPECT_TRUE(car.element("DriverCam").isCamera);
}

TEST_F(HostElements, ShapeIsCopiedDuringTheCall) {
    rig();
    ovs::MeshHandle* handle = nullptr;
    {
        util::CMesh mesh = smallTriangle();
        handle = car.createMeshElement("CarBodyMesh", nullptr, &mesh, 0);
        mesh.setVertex(1, 9, 9, 9);
        mesh.setNumFaces(0);
    }
    ovs::SurfaceObject* surface = car.getSurfaceObject(handle, 0.0);
    util::CMesh read;
    surface->getMesh(read);
    car.releaseSurfaceObject(surface);
    EXPECT_EQ(read.getNumFaces(), 1);
    EXPECT_EQ(read.vertices.at(1).z, 4.0);
}

TEST_F(HostElements, SceneNameIsTheVehiclesAndTheGivenOne) {
    rig();
    EXPECT_EQ(made("WheelMesh_FL")->getName(), "car_WheelMesh_FL");
    EXPECT_EQ(car.createCameraElement("DriverCam", nullptr, false)->getName(), "car_DriverCam");
    EXPECT_NE(scene.find("car_WheelMesh_FL"), nullptr);
}

TEST_F(HostElements, GivenNameOutlivesRenamingReparentingAndDoubles) {
    car.declare();
    ovs::MeshHandle* body = made("CarBodyMesh");
    Element& element = car.element("CarBodyMesh");
    element.name = "Paul";
    Element& garage = scene.add("garage");
    scene.reparent(element, &garage);
    // What else bears the name, in the scene or in another vehicle.
    scene.add("car_CarBodyMesh");
    scene.add("CarBodyMesh");
    Vehicle other(&plugin, "other", scene, undo);
    other.declare();
    ovs::MeshHandle* foreign = plugin.last->make("CarBodyMesh");
    EXPECT_EQ(car.findElement("CarBodyMesh"), body);
    EXPECT_EQ(body->getName(), "Paul");
    EXPECT_EQ(other.findElement("CarBodyMesh"), foreign);
    EXPECT_NE(Vehicle::elementOf(foreign), Vehicle::elementOf(body));
}

TEST_F(HostElements, OnlyTheVehiclesOwnAreFoundAndByTheGivenNameOnly) {
    car.declare();
    made("CarBodyMesh");
    scene.add("TargetMesh");
    scene.add("car_TargetMesh");
    Vehicle other(&plugin, "other", scene, undo);
    other.declare();
    plugin.last->make("TargetMesh");
    EXPECT_EQ(car.findElement("TargetMesh"), nullptr);
    EXPECT_EQ(car.findElement("car_CarBodyMesh"), nullptr);
    EXPECT_EQ(car.findElement("CarBody"), nullptr);
    EXPECT_EQ(car.findElement(""), nullptr);
    EXPECT_EQ(other.findElement("CarBodyMesh"), nullptr);
}

TEST_F(HostElements, SameElementIsAlwaysTheSameHandle) {
    car.declare();
    ovs::MeshHandle* body = made("CarBodyMesh");
    ovs::MeshHandle* wheel = made("WheelMesh_FL", body);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(car.findElement("CarBodyMesh"), body);
        EXPECT_EQ(wheel->getParent(), body);
        EXPECT_EQ(body->getChild(0), wheel);
        wheel->releaseHandle(body);
        body->releaseHandle(wheel);
        body->releaseHandle(nullptr);
    }
    EXPECT_EQ(wheel->getName(), "car_WheelMesh_FL") << "giving back ends nothing";
}

TEST_F(HostElements, DeletedOneAnswersWithNothingAndTakesNothing) {
    car.declare();
    ovs::MeshHandle* body = made("CarBodyMesh");
    ovs::MeshHandle* wheel = made("WheelMesh_FL", body);
    ovs::MeshHandle* lens = car.createCameraElement("DriverCam", wheel, false);
    Element& gone = car.element("WheelMesh_FL");
    Element& goneLens = car.element("DriverCam");
    scene.remove(goneLens);
    scene.remove(gone);
    EXPECT_EQ(car.getTransformObject(wheel, 0.0), nullptr);
    EXPECT_EQ(car.getSurfaceObject(wheel, 0.0), nullptr);
    EXPECT_EQ(wheel->getParent(), nullptr);
    EXPECT_EQ(wheel->getNumChildren(), 0);
    EXPECT_FALSE(wheel->isShown());
    EXPECT_EQ(car.findElement("WheelMesh_FL"), nullptr);
    EXPECT_EQ(wheel->callExtension(31, body), nullptr);
    wheel->callExtension(17, nullptr);
    EXPECT_FALSE(gone.placedByUser);
    wheel->hide();
    EXPECT_TRUE(gone.shown) << "a deleted element took a change";
    wheel->show();
    EXPECT_FALSE(wheel->isShown());
    // Objects whose makers do not look for null: they exist and do nothing.
    ovs::AppearanceObject* appearance = car.getAppearanceObject(wheel);
    ASSERT_NE(appearance, nullptr);
    appearance->useOwnColour(true);
    appearance->setWireframe(true);
    appearance->setColour(1, 1, 1);
    car.releaseAppearanceObject(appearance);
    EXPECT_FALSE(gone.ownColour);
    EXPECT_FALSE(gone.wireframe);
    EXPECT_EQ(gone.colour[0], 0.0F);
    ovs::CameraObject* camera = car.getCameraObject(lens, 0.0);
    ASSERT_NE(camera, nullptr);
    camera->setFieldOfView(80.0);
    car.releaseCameraObject(camera);
    EXPECT_EQ(goneLens.fieldOfView, 0.0);
    car.deleteElement(wheel, 0, 0);
    EXPECT_EQ(childrenOf(body), Lines()) << "its parent still shows it";
}

TEST_F(HostElements, UndoneDeletionRevivesTheSameHandle) {
    car.declare();
    ovs::MeshHandle* wheel = made("WheelMesh_FL");
    fake().setWorld(wheel, 0.0, Translation({1, 2, 3}));
    Element& element = car.element("WheelMesh_FL");
    scene.remove(element);
    EXPECT_EQ(car.findElement("WheelMesh_FL"), nullptr);
    scene.revive(element);
    EXPECT_EQ(car.findElement("WheelMesh_FL"), wheel);
    EXPECT_TRUE(wheel->isShown());
    EXPECT_EQ(fake().readWorld(wheel, 0.0), Translation({1, 2, 3}));
}

TEST_F(HostElements, OpenTransformOfADeletedOneTakesNothing) {
    car.declare();
    ovs::MeshHandle* wheel = made("WheelMesh_FL");
    const Matrix4 stood = Translation({1, 2, 3});
    fake().setWorld(wheel, 0.0, stood);
    Element& element = car.element("WheelMesh_FL");
    ovs::TransformObject* transform = car.getTransformObject(wheel, 0.0);
    scene.remove(element);
    transform->setWorldMatrix(Translation({7, 7, 7}));
    transform->setLocalMatrix(Translation({8, 8, 8}));
    EXPECT_EQ(element.track.pose, stood);
    scene.beginRun(0);
    scene.beginFrame(1);
    transform->setWorldMatrix(Translation({9, 9, 9}));
    scene.endRun(true);
    EXPECT_TRUE(element.track.keys.empty());
    Matrix4 read;
    transform->readWorldMatrix(read);
    EXPECT_EQ(read, stood);
    scene.revive(element);
    transform->setWorldMatrix(Translation({7, 7, 7}));
    EXPECT_EQ(element.track.pose, Translation({7, 7, 7})) << "it is the same element again";
    car.releaseTransformObject(transform);
}

TEST_F(HostElements, UndoneDeletionPutsItBackWhereItHung) {
    car.declare();
    ovs::MeshHandle* body = made("CarBodyMesh");
    ovs::MeshHandle* front = made("WheelMesh_FL", body);
    ovs::MeshHandle* relocator = made("WheelRelocatorMesh_FL", body);
    ovs::MeshHandle* back = made("WheelMesh_BL", body);
    ovs::MeshHandle* hub = made("WheelCenterMesh_FL", relocator);
    ovs::MeshHandle* post = made("WheelCenterSuspensionMesh_FL", relocator);
    fake().setWorld(body, 0.0, Translation({0, 5, 0}));
    const Lines ofBody = childrenOf(body);
    const Lines ofRelocator = childrenOf(relocator);
    const Matrix4 world = fake().readWorld(hub, 0.0);
    Element& element = car.element("WheelRelocatorMesh_FL");
    scene.remove(element);
    EXPECT_EQ(childrenOf(body), (Lines{front->getName(), back->getName()}));
    EXPECT_EQ(hub->getParent(), nullptr);
    scene.revive(element);
    EXPECT_EQ(childrenOf(body), ofBody) << "at its old place among them";
    EXPECT_EQ(childrenOf(relocator), ofRelocator);
    EXPECT_EQ(relocator->getParent(), body);
    EXPECT_EQ(hub->getParent(), relocator);
    EXPECT_EQ(post->getParent(), relocator);
    EXPECT_EQ(fake().readWorld(hub, 0.0), world);
    scene.revive(element);
    EXPECT_EQ(childrenOf(body), ofBody) << "one that lives is not brought back";
}

TEST_F(HostElements, UndoneDeletionsOfAChainAreUndoneInEitherOrderOfDeleting) {
    for (const bool childFirst : {true, false}) {
        Scene own{{25, 1}};
        Element& top = own.add("top");
        Element& middle = own.add("middle", &top);
        Element& low = own.add("low", &middle);
        own.remove(childFirst ? low : middle);
        own.remove(childFirst ? middle : low);
        own.revive(childFirst ? middle : low);
        own.revive(childFirst ? low : middle);
        EXPECT_EQ(low.parent, &middle) << childFirst;
        EXPECT_EQ(middle.parent, &top) << childFirst;
        EXPECT_EQ(middle.children, std::vector<Element*>{&low}) << childFirst;
    }
}

TEST_F(HostElements, UndoneDeletionLeavesWhatTheUserHungElsewhere) {
    Element& parent = scene.add("parent");
    Element& element = scene.add("element", &parent);
    Element& moved = scene.add("moved", &element);
    Element& gone = scene.add("gone", &element);
    Element& stays = scene.add("stays", &element);
    Element& other = scene.add("other");
    scene.remove(element);
    scene.reparent(moved, &other);
    scene.remove(gone);
    scene.reparent(parent, &stays);
    scene.revive(element);
    EXPECT_EQ(moved.parent, &other);
    EXPECT_EQ(gone.parent, nullptr);
    EXPECT_EQ(element.children, std::vector<Element*>{&stays});
    EXPECT_EQ(element.parent, nullptr) << "its parent hangs below it now";
    scene.remove(element);
    scene.remove(parent);
    scene.revive(element);
    EXPECT_EQ(element.parent, nullptr);
}

TEST_F(HostElements, DeletedOnesChildrenAreAnswersOfTheRoot) {
    car.declare();
    ovs::MeshHandle* body = made("CarBodyMesh");
    ovs::MeshHandle* wheel = made("WheelMesh_FL", body);
    car.deleteElement(body, 0, 0);
    EXPECT_EQ(wheel->getParent(), nullptr);
    EXPECT_TRUE(wheel->isShown());
}

TEST_F(HostElements, ElementMadeBelowADeletedOneStandsAtTheRoot) {
    car.declare();
    ovs::MeshHandle* body = made("CarBodyMesh");
    fake().setWorld(body, 0.0, Translation({5, 5, 5}));
    scene.remove(car.element("CarBodyMesh"));
    ovs::MeshHandle* wheel = made("WheelMesh_FL", body);
    EXPECT_EQ(wheel->getParent(), nullptr);
    EXPECT_EQ(fake().readWorld(wheel, 0.0), Matrix4());
}

TEST_F(HostElements, NullIsIgnoredByWhatReleasesOrDeletes) {
    rig();
    car.deleteElement(nullptr, 0, 0);
    car.releaseTransformObject(nullptr);
    car.releaseSurfaceObject(nullptr);
    car.releaseAppearanceObject(nullptr);
    car.releaseCameraObject(nullptr);
    car.releaseElementData(nullptr);
    car.pushUndo(nullptr, 0);
    EXPECT_EQ(car.openSurfaces(), 0);
    EXPECT_EQ(undo.steps(), 0);
}

TEST_F(HostElements, UsersParentingIsWhatTheVehicleSees) {
    rig();
    ovs::MeshHandle* arrow = made("GravityDirectionMesh");
    Element& own = car.element("GravityDirectionMesh");
    Element& terrain = scene.addMesh("terrain", smallTriangle());
    Element& road = scene.addMesh("road", smallTriangle());
    Element& group = scene.add("group");
    scene.reparent(own, &terrain);
    scene.reparent(road, &own);
    scene.reparent(group, &own);
    ASSERT_NE(arrow->getParent(), nullptr);
    EXPECT_EQ(arrow->getParent()->getName(), "terrain");
    EXPECT_EQ(childrenOf(arrow), (Lines{"road", "group"}));
    EXPECT_EQ(car.getSurfaceObject(arrow->getChild(1), 0.0), nullptr) << "an empty";
    EXPECT_EQ(childrenOf(arrow->getParent()), Lines{"car_GravityDirectionMesh"});
    scene.reparent(own, nullptr);
    EXPECT_EQ(arrow->getParent(), nullptr);
    EXPECT_EQ(terrain.children.size(), 0U);
    scene.remove(road);
    EXPECT_EQ(childrenOf(arrow), Lines{"group"});
}

TEST_F(HostElements, OrderOfChildrenIsTheOrderOfLinking) {
    rig();
    ovs::MeshHandle* arrow = made("GravityDirectionMesh");
    Element& own = car.element("GravityDirectionMesh");
    Lines expected;
    std::vector<Element*> grounds;
    for (const char* name : {"c", "a", "d", "b"}) {
        grounds.push_back(&scene.add(name));
        scene.reparent(*grounds.back(), &own);
        expected.push_back(name);
    }
    EXPECT_EQ(childrenOf(arrow), expected);
    EXPECT_EQ(childrenOf(arrow), expected);
    scene.reparent(*grounds[1], nullptr);
    EXPECT_EQ(childrenOf(arrow), (Lines{"c", "d", "b"}));
    scene.reparent(*grounds[1], &own);
    EXPECT_EQ(childrenOf(arrow), (Lines{"c", "d", "b", "a"}));
}

TEST_F(HostElements, ElementCannotHangBelowItself) {
    rig();
    made("WheelMesh_FL", made("CarBodyMesh"));
    Element& body = car.element("CarBodyMesh");
    EXPECT_THROW(scene.reparent(body, &car.element("WheelMesh_FL")), StageError);
    EXPECT_THROW(scene.reparent(body, &body), StageError);
    EXPECT_EQ(body.parent, nullptr);
    EXPECT_EQ(body.children.size(), 1U);
}

TEST_F(HostElements, ExtensionsSeventeenAndFiftySevenMarkWhatTheUserPlaces) {
    rig();
    ovs::MeshHandle* target = made("TargetMesh");
    ovs::MeshHandle* relocator = made("WheelRelocatorMesh_FL");
    ovs::MeshHandle* wheel = made("WheelMesh_FL");
    target->callExtension(17, nullptr);
    relocator->callExtension(57, nullptr);
    wheel->callExtension(18, nullptr);
    wheel->callExtension(31, target);
    EXPECT_TRUE(car.element("TargetMesh").placedByUser);
    EXPECT_TRUE(car.element("WheelRelocatorMesh_FL").placedByUser);
    EXPECT_FALSE(car.element("WheelMesh_FL").placedByUser);
    EXPECT_FALSE(wheel->hasExtension(18));
    EXPECT_EQ(wheel->callExtension(18, nullptr), nullptr);
}

TEST_F(HostElements, ExtensionThirtyOneKnowsItselfAndWhatIsAbove) {
    rig();
    ovs::MeshHandle* body = made("CarBodyMesh");
    ovs::MeshHandle* wheel = made("WheelMesh_FL", body);
    ovs::MeshHandle* target = made("TargetMesh");
    Element& flag = scene.add("flag");
    scene.reparent(car.element("TargetMesh"), &flag);
    scene.reparent(flag, &car.element("WheelMesh_FL"));
    EXPECT_TRUE(target->hasExtension(31));
    EXPECT_NE(target->callExtension(31, target), nullptr) << "itself";
    EXPECT_NE(target->callExtension(31, wheel), nullptr);
    EXPECT_NE(target->callExtension(31, body), nullptr) << "through a foreign element";
    EXPECT_NE(target->getParent()->callExtension(31, body), nullptr) << "asked of a foreign element";
    EXPECT_EQ(body->callExtension(31, target), nullptr) << "an ancestor is not below";
    EXPECT_EQ(body->callExtension(31, nullptr), nullptr);
    scene.reparent(flag, nullptr);
    EXPECT_EQ(target->callExtension(31, body), nullptr);
}

TEST(HostElementsOfTheModule, TwentySevenAreMadeAndMarkedAsTheVehicleAsks) {
    Stage stage(vehicleModule());
    Vehicle& car = stage.addVehicle("car");
    std::set<std::string> placed;
    std::set<std::string> selected;
    int cameras = 0;
    for (const auto& element : stage.scene.elements) {
        EXPECT_EQ(element->name, "car_" + element->identifier);
        if (element->placedByUser) placed.insert(element->identifier);
        if (element->selected) selected.insert(element->identifier);
        if (element->isCamera) ++cameras;
    }
    EXPECT_EQ(stage.scene.elements.size(), 27U);
    EXPECT_EQ(cameras, 3);
    EXPECT_THAT(placed, ElementsAre("ChassisRelocatorMesh", "DriverCam", "ExternalForceMesh", "GravityDirectionMesh",
                                    "TargetMesh", "TopViewCam", "WheelRelocatorMesh_BL", "WheelRelocatorMesh_BR",
                                    "WheelRelocatorMesh_FL", "WheelRelocatorMesh_FR"));
    EXPECT_THAT(selected, ElementsAre("CarBodyMesh"));
    EXPECT_EQ(stage.complaints(), Lines());
    EXPECT_EQ(car.takeNewMessages().size(), 0U);
}

TEST(HostElementsOfTheModule, RenamedAndReparentedRigLoads) {
    Stage stage(vehicleModule());
    Vehicle& first = stage.addVehicle("car");
    first.save();
    Element& ground = stage.scene.addMesh("ground", smallTriangle());
    stage.scene.reparent(first.element("GravityDirectionMesh"), &ground);
    stage.scene.reparent(first.element("TargetMesh"), &ground);
    int n = 0;
    for (const auto& element : stage.scene.elements) element->name = "renamed" + std::to_string(n++);
    const std::size_t elements = stage.scene.elements.size();
    Vehicle& car = stage.replace(first);
    EXPECT_EQ(car.load(), 0U);
    EXPECT_EQ(stage.scene.elements.size(), elements) << "something was made anew";
    EXPECT_EQ(stage.complaints(), Lines());
}

TEST(HostElementsOfTheModule, DuplicatedVehicleHasItsOwnIdentifiers) {
    Stage stage(vehicleModule());
    Vehicle& car = stage.addVehicle("car");
    car.put("Use Fast Ray Cast", 0.0);
    car.put("Mass Multiplier", 2.5);
    Element& ground = stage.scene.addMesh("ground", smallTriangle());
    stage.scene.reparent(car.element("GravityDirectionMesh"), &ground);
    car.element("DriverCam").shown = true;
    stage.scene.setWorld(car.element("CarBodyMesh"), 0.0, Translation({0, 0.15, -8}) * util::Scaling(3.522));
    const std::size_t before = stage.scene.elements.size();

    Vehicle& twin = stage.duplicate(car, "twin");
    EXPECT_EQ(stage.scene.elements.size(), before + 27U);
    EXPECT_EQ(stage.vehicles.size(), 2U);
    EXPECT_EQ(twin.name, "twin");
    EXPECT_EQ(twin.value("Mass Multiplier"), 2.5);
    for (const auto& element : stage.scene.elements) {
        if (element->vehicle != "car") continue;
        SCOPED_TRACE(element->identifier);
        Element& copy = twin.element(element->identifier);
        EXPECT_EQ(copy.vehicle, "twin");
        EXPECT_EQ(copy.name, "twin_" + element->identifier);
        EXPECT_EQ(copy.isCamera, element->isCamera);
        EXPECT_EQ(copy.shown, element->shown);
        EXPECT_EQ(copy.wireframe, element->wireframe);
        EXPECT_EQ(copy.colour[0], element->colour[0]);
        EXPECT_EQ(copy.surface, element->surface);
        EXPECT_EQ(copy.shape.getNumFaces(), element->shape.getNumFaces());
        EXPECT_EQ(copy.placedByUser, element->placedByUser);
        EXPECT_EQ(stage.scene.world(copy, 0.0), stage.scene.world(*element, 0.0));
        if (element->parent == nullptr)
            EXPECT_EQ(copy.parent, nullptr);
        else if (element->parent == &ground)
            EXPECT_EQ(copy.parent, &ground);
        else
            EXPECT_EQ(copy.parent, &twin.element(element->parent->identifier));
    }
    Lines order;
    Lines orderOfTwin;
    for (const Element* child : car.element("CarBodyMesh").children) order.push_back(child->identifier);
    for (const Element* child : twin.element("CarBodyMesh").children) orderOfTwin.push_back(child->identifier);
    EXPECT_EQ(orderOfTwin, order);

    // They drive apart: what one does is not done to the other.
    twin.axis("Gas").position = 1.0;
    car.armed = false;
    const Matrix4 stood = stage.scene.world(car.element("CarBodyMesh"), 0.0);
    stage.run(0, 20);
    EXPECT_EQ(car.world("CarBodyMesh", 20), stood);
    EXPECT_LT(twin.world("CarBodyMesh", 20).row(3).z, -8.5);
    EXPECT_EQ(stage.complaints(), Lines());
}

TEST(HostElementsOfTheModule, TwoVehiclesCannotHaveOneName) {
    Stage stage(vehicleModule());
    Vehicle& car = stage.addVehicle("car");
    EXPECT_THROW(stage.addVehicle("car"), StageError);
    EXPECT_THROW(stage.duplicate(car, "car"), StageError);
    EXPECT_EQ(stage.vehicles.size(), 1U);
    EXPECT_EQ(stage.scene.elements.size(), 27U);
    stage.removeVehicle(car);
    EXPECT_NO_THROW(stage.addVehicle("car"));
    EXPECT_EQ(stage.complaints(), Lines());
}

}  // namespace
}  // namespace ond::test
