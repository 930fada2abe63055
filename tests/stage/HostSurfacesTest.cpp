// Surfaces of elements: who has one, what it gives, and how long it lives.
#include "stage/FakeVehicle.h"

namespace ond::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using util::CMesh;
using util::Vector3;

class HostSurfaces : public OneFake {
  protected:
    void TearDown() override { EXPECT_THAT(car.misuse, IsEmpty()); }

    ovs::MeshHandle* handleOf(Element& element) { return car.handleOf(&element); }
    CMesh meshOf(ovs::MeshHandle* handle) {
        CMesh mesh;
        // The call replaces what the caller's mesh held.
        mesh.setNumVertices(17);
        mesh.setNumFaces(5);
        ovs::SurfaceObject* surface = car.getSurfaceObject(handle, 0.0);
        surface->getMesh(mesh);
        car.releaseSurfaceObject(surface);
        car.releaseElementData(handle);
        return mesh;
    }
};

TEST_F(HostSurfaces, OnlyWhatHasAMeshHasOne) {
    rig();
    EXPECT_EQ(car.getSurfaceObject(handleOf(scene.add("empty")), 0.0), nullptr);
    EXPECT_EQ(car.getSurfaceObject(car.createCameraElement("DriverCam", nullptr, false), 0.0), nullptr);
    EXPECT_EQ(car.openSurfaces(), 0);
    ovs::SurfaceObject* surface = car.getSurfaceObject(handleOf(scene.addMesh("ground", smallTriangle())), 0.0);
    ASSERT_NE(surface, nullptr);
    EXPECT_EQ(car.openSurfaces(), 1);
    car.releaseSurfaceObject(surface);
    EXPECT_EQ(car.openSurfaces(), 0);
}

TEST_F(HostSurfaces, MeshIsLocalWhereverTheElementStands) {
    rig();
    Element& ground = scene.addMesh("ground", smallTriangle());
    scene.setLocal(ground, 0.0, util::Translation({100, 0, 0}) * util::Scaling(7.0));
    const CMesh mesh = meshOf(handleOf(ground));
    ASSERT_EQ(mesh.getNumVertices(), 3);
    EXPECT_EQ(mesh.vertices[1], Vector3<double>(0, 0, 4));
    EXPECT_EQ(mesh.getNumFaces(), 1);
    double t = 0;
    Vector3<double> normal;
    ovs::SurfaceObject* surface = car.getSurfaceObject(handleOf(ground), 0.0);
    ASSERT_TRUE(surface->intersect({1, 3, 1}, {0, -0.5, 0}, &t, &normal));
    EXPECT_EQ(t, 6.0);
    EXPECT_EQ(normal, Vector3<double>(0, 1, 0)) << "(b - a) x (c - a)";
    EXPECT_TRUE(surface->intersect({1, -3, 1}, {0, 0.5, 0}, &t, &normal));
    EXPECT_EQ(normal, Vector3<double>(0, 1, 0)) << "not turned towards the ray";
    t = 42;
    normal = {1, 2, 3};
    EXPECT_FALSE(surface->intersect({100, 3, 1}, {0, -1, 0}, &t, &normal));
    EXPECT_EQ(t, 42);
    EXPECT_EQ(normal, Vector3<double>(1, 2, 3));
    car.releaseSurfaceObject(surface);
}

TEST_F(HostSurfaces, TextureIndicesAreAsManyAsCorners) {
    rig();
    CMesh bare;
    bare.vertices = smallTriangle().vertices;
    bare.faces = {0, 1, 2, 0, 2, 1};
    ASSERT_TRUE(bare.tFaces.empty());
    const CMesh mesh = meshOf(handleOf(scene.addMesh("ground", bare)));
    EXPECT_EQ(mesh.faces, bare.faces);
    EXPECT_EQ(mesh.tFaces, std::vector<int>(6, 0));
    CMesh mapped = bare;
    mapped.texCoords = {{0, 0, 0}, {1, 0, 0}};
    mapped.tFaces = {0, 1, 1, 1, 0, 0};
    EXPECT_EQ(meshOf(handleOf(scene.addMesh("mapped", mapped))).tFaces, mapped.tFaces);
}

TEST_F(HostSurfaces, UnsupportedOneExistsButGivesNoVerticesAndIsNeverHit) {
    rig();
    Element& patch = scene.addMesh("patch", smallTriangle());
    patch.surface = SurfaceKind::unsupported;
    const CMesh mesh = meshOf(handleOf(patch));
    EXPECT_EQ(mesh.getNumVertices(), 0);
    EXPECT_EQ(mesh.getNumFaces(), 0);
    ovs::SurfaceObject* surface = car.getSurfaceObject(handleOf(patch), 0.0);
    ASSERT_NE(surface, nullptr);
    double t = 0;
    Vector3<double> normal;
    EXPECT_FALSE(surface->intersect({1, 3, 1}, {0, -1, 0}, &t, &normal));
    car.releaseSurfaceObject(surface);
}

TEST_F(HostSurfaces, ChangedShapeShowsInTheNextSurface) {
    rig();
    Element& ground = scene.addMesh("ground", smallTriangle());
    double t = 0;
    Vector3<double> normal;
    const auto height = [&] {
        ovs::SurfaceObject* surface = car.getSurfaceObject(handleOf(ground), 0.0);
        EXPECT_TRUE(surface->intersect({1, 10, 1}, {0, -1, 0}, &t, &normal));
        car.releaseSurfaceObject(surface);
        return 10.0 - t;
    };
    EXPECT_EQ(height(), 0.0);
    scene.setShape(ground, smallTriangle() * util::Translation({0, 2, 0}));
    EXPECT_EQ(height(), 2.0);
}

TEST_F(HostSurfaces, RaysAreBuiltOnceAndNotBeforeTheFirstCast) {
    rig();
    Element& ground = scene.addMesh("ground", smallTriangle());
    ovs::MeshHandle* handle = handleOf(ground);
    for (int i = 0; i < 100; ++i) static_cast<void>(meshOf(handle));
    EXPECT_EQ(ground.rays, nullptr) << "taking, reading and giving back must be cheap";
    double t = 0;
    Vector3<double> normal;
    const MeshSurface* first = nullptr;
    for (int frame = 0; frame < 50; ++frame) {
        ovs::SurfaceObject* surface = car.getSurfaceObject(handle, scene.clock.time(frame));
        EXPECT_TRUE(surface->intersect({1, 10, 1}, {0, -1, 0}, &t, &normal));
        car.releaseSurfaceObject(surface);
        car.releaseElementData(handle);
        if (first == nullptr) first = ground.rays.get();
        ASSERT_EQ(ground.rays.get(), first) << "built anew for frame " << frame;
    }
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(car.openSurfaces(), 0);
}

TEST_F(HostSurfaces, UseBehindTheReleaseIsNamed) {
    rig();
    Element& ground = scene.addMesh("ground", smallTriangle());
    ovs::SurfaceObject* surface = car.getSurfaceObject(handleOf(ground), 0.0);
    car.releaseSurfaceObject(surface);
    double t = 0;
    Vector3<double> normal;
    EXPECT_FALSE(surface->intersect({1, 10, 1}, {0, -1, 0}, &t, &normal));
    CMesh mesh;
    surface->getMesh(mesh);
    EXPECT_EQ(mesh.getNumVertices(), 0);
    car.releaseSurfaceObject(surface);
    EXPECT_EQ(car.openSurfaces(), 0);
    EXPECT_THAT(car.misuse, ElementsAre(HasSubstr("ground"), HasSubstr("ground"), HasSubstr("ground")));
    car.misuse.clear();
}

class RunSurfaces : public FakeStage {};

TEST_F(RunSurfaces, ThoseThatAreNeverGivenBackEndWithTheRun) {
    Vehicle& car = add("car");
    Element& ground = stage->scene.addMesh("ground", smallTriangle());
    ovs::SurfaceObject* kept = nullptr;
    plugin.onFrame = [&](FakeVehicle& v, double time) {
        for (int wheel = 0; wheel < 4; ++wheel) kept = v.hostInterface->getSurfaceObject(car.handleOf(&ground), time);
    };
    stage->startRun(0);
    stage->advance(50);
    EXPECT_EQ(car.openSurfaces(), 200);
    stage->stopRun();
    EXPECT_EQ(car.openSurfaces(), 0);
    EXPECT_EQ(stage->complaints(), Lines()) << "it is not held against the vehicle";
    car.releaseSurfaceObject(kept);
    EXPECT_EQ(car.openSurfaces(), 0);
    EXPECT_EQ(car.misuse.size(), 1U);
}

TEST_F(RunSurfaces, SurfaceThatIsOpenSurvivesTheElementsDeletion) {
    Vehicle& car = add("car");
    Element& ground = stage->scene.addMesh("ground", smallTriangle());
    ovs::SurfaceObject* surface = car.getSurfaceObject(car.handleOf(&ground), 0.0);
    stage->scene.remove(ground);
    CMesh mesh;
    double t = 0;
    Vector3<double> normal;
    surface->getMesh(mesh);
    static_cast<void>(surface->intersect({1, 10, 1}, {0, -1, 0}, &t, &normal));
    car.releaseSurfaceObject(surface);
    EXPECT_EQ(stage->complaints(), Lines());
}

TEST(SurfacesOfTheModule, ParentAndChildrenOfTheArrowAreAskedAndNothingBelow) {
    Stage stage(vehicleModule());
    Vehicle& car = stage.addVehicle("car");
    util::CMesh wide;
    wide.vertices = {{-50, 0, -50}, {-50, 0, 50}, {50, 0, -50}, {50, 0, 50}};
    wide.faces = {0, 1, 2, 2, 1, 3};
    Element& parent = stage.scene.addMesh("parent", wide);
    Element& arrow = car.element("GravityDirectionMesh");
    stage.scene.reparent(arrow, &parent);
    Element& child = stage.scene.addMesh("child", wide, &arrow);
    stage.scene.addMesh("grandchild", wide, &child);
    stage.scene.addMesh("sibling", wide, &parent);
    car.put("Use Fast Ray Cast", 0.0);
    car.log.clear();
    stage.run(0, 2);
    EXPECT_GT(car.log.count("getSurfaceObject parent "), 0);
    EXPECT_GT(car.log.count("getSurfaceObject child "), 0);
    EXPECT_EQ(car.log.count("getSurfaceObject grandchild "), 0);
    EXPECT_EQ(car.log.count("getSurfaceObject sibling "), 0);
    EXPECT_EQ(stage.complaints(), Lines());
}

}  // namespace
}  // namespace ond::test
