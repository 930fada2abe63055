// How the wheels find the ground: the plane, the host's surfaces, the physics world, the stored mesh.
#include "whole/Grounds.h"
#include "whole/SavedBlock.h"
#include "whole/WholeRun.h"

namespace ond::test {
namespace {

constexpr double kRadius = kWheelRadius * kRadiusMult;

class Ground : public WholeRun {
  protected:
    /// A quiet car with its skid brake on.
    Vehicle& addParkedCar(const std::string& name = "Car") {
        Vehicle& car = addCar(name);
        quiet(car);
        car.axis("Skid Brake").position = 1.0;
        return car;
    }

    /// Parks the car until it has settled and expects its wheels at that height.
    /// The bound is what the lean of the front wheels takes.
    void expectStandsAt(Vehicle& car, double height, double tolerance = 2e-3) {
        host.run(0, 100);
        for (const char* suffix : kCorners) {
            const Matrix4 wheel = car.world(std::string("WheelMesh") + suffix, 100);
            EXPECT_NEAR(position(wheel).y, height + kRadius, tolerance) << suffix;
            EXPECT_EQ(car.output(std::string("WheelMesh") + suffix)->current, 0.0) << suffix;
        }
    }

    int raysInAFrame(Vehicle& car) {
        host.startRun(0);
        host.advance(20);
        car.log.clear();
        host.advance(1);
        const int rays = car.log.count("intersect ");
        host.stopRun();
        return rays;
    }
};

// No ground linked

TEST_F(Ground, WithoutLinksAndFastCastItIsThePlaneAtZero) {
    Vehicle& car = addParkedCar();
    car.put("Use Fast Ray Cast", 0.0);
    host.scene.setWorld(car.element("CarBodyMesh"), 0.0, util::Translation({3, 1.0, -2}) * util::Scaling(kLength));
    expectStandsAt(car, 0.0);
}

TEST_F(Ground, WithoutLinksButFastCastItIsABoxWithItsTopAtZero) {
    Vehicle& car = addParkedCar();
    expectStandsAt(car, 0.0);
    EXPECT_EQ(car.log.count("getSurfaceObject"), 0);
    EXPECT_EQ(car.log.count("getName"), 0);
}

TEST_F(Ground, DeepBelowThePlaneTheWheelsComeUp) {
    Vehicle& car = addParkedCar();
    car.put("Use Fast Ray Cast", 0.0);
    host.scene.setWorld(car.element("CarBodyMesh"), 0.0, util::Translation({0, -5.0, 0}) * util::Scaling(kLength));
    expectStandsAt(car, 0.0);
}

// One linked surface

TEST_F(Ground, LinkedParentCarriesTheCarInEachWayOfCasting) {
    for (const Casting casting : {Casting::bullet, Casting::surface, Casting::stored}) {
        SCOPED_TRACE(static_cast<int>(casting));
        Vehicle& car = addParkedCar();
        Element& ground = linkGround(car, flatGround());
        host.scene.setLocal(ground, 0.0, util::Translation({2, -1.5, 1}) * util::RotationY(0.4));
        if (casting != Casting::bullet) car.edit("Use Fast Ray Cast", 0.0);
        if (casting == Casting::stored) car.edit("Store Ground Mesh Data", 1.0);
        expectStandsAt(car, -1.5);
        const int rays = car.log.count("intersect ");
        EXPECT_EQ(rays > 0, casting == Casting::surface);
        host.removeVehicle(car);
        host.scene.remove(ground);
    }
}

TEST_F(Ground, LinkedChildrenAloneCarryTheCar) {
    for (const bool fast : {true, false}) {
        Vehicle& car = addParkedCar();
        Element& child = host.scene.addMesh("Child", flatGround(), &car.element("GravityDirectionMesh"));
        host.scene.setWorld(child, 0.0, util::Translation({0, -0.7, 0}));
        if (!fast) car.edit("Use Fast Ray Cast", 0.0);
        expectStandsAt(car, -0.7);
        host.removeVehicle(car);
        host.scene.remove(child);
    }
}

TEST_F(Ground, ScaledAndTurnedGroundKeepsItsPlace) {
    for (const bool fast : {true, false}) {
        Vehicle& car = addParkedCar();
        Element& ground = linkGround(car, flatGround(0.25, 10.0));
        // Twice as high and large: the surface lies at -3 + 2 * 0.25 of its own height.
        host.scene.setLocal(ground, 0.0, util::Translation({1, -3, 2}) * util::RotationY(1.0) * util::Scaling(2.0));
        if (!fast) car.edit("Use Fast Ray Cast", 0.0);
        expectStandsAt(car, -2.5);
        host.removeVehicle(car);
        host.scene.remove(ground);
    }
}

// Several surfaces

TEST_F(Ground, HighestOfParentAndChildrenIsTheGround) {
    for (const double childHeight : {-0.4, 0.4}) {
        Vehicle& car = addParkedCar();
        car.edit("Use Fast Ray Cast", 0.0);
        Element& ground = linkGround(car, flatGround());
        Element& child = host.scene.addMesh("Child", flatGround(), &car.element("GravityDirectionMesh"));
        host.scene.setWorld(child, 0.0, util::Translation({0, childHeight, 0}));
        expectStandsAt(car, std::max(0.0, childHeight));
        host.removeVehicle(car);
        host.scene.remove(ground);
        host.scene.remove(child);
    }
}

// The same surface twice, one of them mirrored at its own plane, so that only the normals differ, to the bit.
TEST_F(Ground, OfTwoSurfacesAtOneHeightTheFirstIsTaken) {
    const Matrix4 mirror = util::Scaling({1, -1, 1});
    for (const bool parentMirrored : {false, true}) {
        Vehicle& car = addParkedCar();
        car.edit("Use Fast Ray Cast", 0.0);
        car.edit("Align WheelCenterMesh to ground incline", 1.0);
        car.put("Ray Multiplier", 1.0);
        host.scene.setWorld(car.element("GravityDirectionMesh"), 0.0, Matrix4());
        Element& ground = linkGround(car, flatGround());
        Element& child = host.scene.addMesh("Child", flatGround(), &car.element("GravityDirectionMesh"));
        child.track.pose = mirror;
        if (parentMirrored) ground.track.pose = mirror;
        host.run(0, 20);
        EXPECT_NEAR(car.world("WheelCenterMesh_BL", 20).row(1).y, parentMirrored ? -kLength : kLength, 1e-6);
        host.removeVehicle(car);
        host.scene.remove(ground);
        host.scene.remove(child);
    }
}

// The matrices are kept for each link, the surfaces only for those that have one: a child without a surface shifts the
// pairs behind it.
TEST_F(Ground, SurfacePairsWithTheMatrixOfTheLinkAtItsPlaceInTheList) {
    Vehicle& car = addParkedCar();
    car.edit("Use Fast Ray Cast", 0.0);
    Element& gravity = car.element("GravityDirectionMesh");
    Element& empty = host.scene.add("Empty", &gravity);
    host.scene.setWorld(empty, 0.0, util::Translation({0, -2.0, 0}));
    Element& child = host.scene.addMesh("Child", flatGround(), &gravity);
    host.scene.setWorld(child, 0.0, util::Translation({0, -0.5, 0}));
    expectStandsAt(car, -2.0);
}

TEST_F(Ground, BodyAsParentOfTheArrowIsNoGroundAndIsReported) {
    for (const bool knows31 : {true, false}) {
        Vehicle& car = addParkedCar();
        car.faults.knowsExtension31 = knows31;
        car.edit("Use Fast Ray Cast", 0.0);
        host.scene.reparent(car.element("GravityDirectionMesh"), &car.element("CarBodyMesh"));
        host.startRun(0);
        EXPECT_TRUE(car.messages.empty());
        host.advance(1);
        // Once for each wheel, in every frame.
        ASSERT_EQ(car.messages.size(), 4u);
        host.advance(1);
        ASSERT_EQ(car.messages.size(), 8u);
        for (const Message& message : car.messages) {
            EXPECT_EQ(message.caption, "Error");
            EXPECT_EQ(message.text,
                      "1028 !(parent->cGravityDirectionNode.mParentMesh_inv.size() > iSurface) meaning "
                      "mParentMesh_inv[ iSurface] would crash.\n\nplugins/release/quadrigextended/trunk/"
                      "CCarCamObject.h");
        }
        host.stopRun();
        host.removeVehicle(car);
    }
}

TEST_F(Ground, ExtensionKnowsTheBodyThroughItsDescendantsTheNameDoesNot) {
    for (const bool knows31 : {true, false}) {
        Vehicle& car = addParkedCar();
        car.faults.knowsExtension31 = knows31;
        car.edit("Use Fast Ray Cast", 0.0);
        host.scene.reparent(car.element("GravityDirectionMesh"), &car.element("ExternalForceMesh"));
        host.run(0, 1);
        EXPECT_EQ(car.messages.size(), knows31 ? 4u : 0u);
        host.removeVehicle(car);
    }
}

TEST_F(Ground, BodyParentedToItsGroundKeepsTheGround) {
    Vehicle& car = addParkedCar();
    Element& ground = linkGround(car, flatGround(-0.3));
    host.scene.reparent(car.element("CarBodyMesh"), &ground);
    expectStandsAt(car, -0.3);
}

TEST_F(Ground, NameComparisonNeedsTheFullName) {
    Vehicle& car = addParkedCar();
    car.faults.knowsExtension31 = false;
    car.edit("Use Fast Ray Cast", 0.0);
    Element& other = host.scene.addMesh("CarBodyMesh", flatGround(-0.3));
    host.scene.reparent(car.element("GravityDirectionMesh"), &other);
    expectStandsAt(car, -0.3);
    EXPECT_TRUE(car.messages.empty());
    EXPECT_EQ(car.log.count("getName CarBodyMesh"), 1);
}

// Unsupported surfaces

TEST_F(Ground, SurfaceWithoutAMeshEndsFastCastingWithAMessage) {
    Vehicle& car = addParkedCar();
    Element& ground = linkGround(car, flatGround());
    ground.surface = SurfaceKind::unsupported;
    car.log.clear();
    host.startRun(0);
    EXPECT_EQ(
        car.messages,
        (std::vector<Message>{{"Support for this kind of surface has not yet been implemented for FAST RAYCAST for "
                               "this adaptor. Fast raycast is therefore cancelled.\nContact support for more "
                               "information on this issue.",
                               "UNSUPPORTED SURFACE TYPE"}}));
    EXPECT_EQ(car.value("Use Fast Ray Cast"), 0.0);
    EXPECT_EQ(car.log.only({"messageBox", "refreshDialog", "releaseSurfaceObject", "releaseElementData"}),
              (Lines{"messageBox UNSUPPORTED SURFACE TYPE", "refreshDialog", "releaseSurfaceObject Ground",
                     "releaseElementData Ground"}));
    host.advance(3);
    EXPECT_EQ(car.output("WheelMesh_FL")->current, 1.0) << "no ray hits such a surface";
    host.stopRun();
    host.run(0, 1);
    EXPECT_EQ(car.messages.size(), 1u) << "the flag stays off";
}

TEST_F(Ground, UnsupportedSurfaceIsFineWithoutFastCasting) {
    Vehicle& car = addParkedCar();
    car.edit("Use Fast Ray Cast", 0.0);
    linkGround(car, flatGround()).surface = SurfaceKind::unsupported;
    host.run(0, 2);
    EXPECT_TRUE(car.messages.empty());
}

TEST_F(Ground, ParentWithoutASurfaceGivesABodyWithoutAShape) {
    Vehicle& car = addParkedCar();
    linkGround(car, flatGround()).surface = SurfaceKind::none;
    host.run(0, 3);
    EXPECT_TRUE(car.messages.empty());
    EXPECT_EQ(car.log.count("getName Ground"), 1);
    for (const char* suffix : kCorners)
        EXPECT_EQ(car.output(std::string("WheelMesh") + suffix)->current, 1.0) << suffix;
}

// The physics world

TEST_F(Ground, SecondRunSeesOnlyItsOwnBodies) {
    Vehicle& car = addParkedCar();
    Element& ground = linkGround(car, flatGround(1.0));
    expectStandsAt(car, 1.0);
    host.scene.setShape(ground, flatGround(-1.0));
    car.press("Re-Initialize Car Attributes");
    expectStandsAt(car, -1.0);
    host.scene.reparent(car.element("GravityDirectionMesh"), nullptr);
    car.press("Re-Initialize Car Attributes");
    expectStandsAt(car, 0.0);
}

TEST_F(Ground, SecondStartWithoutAStopIsSurvived) {
    Vehicle& car = addParkedCar();
    linkGround(car, flatGround(1.0));
    {
        // Against the contract, so past the host's own check.
        const ModuleBoundary::Enter enter;
        car.camera->startRun(0.0);
    }
    expectStandsAt(car, 1.0);
}

// The world sorts bodies within a thousand of the origin; rays go through an index of its own without a border.
TEST_F(Ground, GroundBeyondTheSortedRangeStillCarries) {
    Vehicle& car = addParkedCar();
    linkGround(car, heightGrid(1500, 1600, 5, -50, 50, 5, [](double, double) { return -0.2; }));
    host.scene.setWorld(car.element("CarBodyMesh"), 0.0,
                        util::Translation({1550, kRestHeight, 0}) * util::Scaling(kLength));
    expectStandsAt(car, -0.2);
}

TEST_F(Ground, MovingGroundIsFollowedInItsShapeButNotInItsPlace) {
    Vehicle& car = addParkedCar();
    car.edit("Use Fast Ray Cast", 0.0);
    Element& ground = linkGround(car, flatGround());
    host.startRun(0);
    host.advance(60);
    host.scene.setShape(ground, flatGround(0.2));
    host.advance(100);
    EXPECT_NEAR(position(car.world("WheelMesh_BL", 160)).y, 0.2 + kRadius, 2e-3);
    ground.track.pose = util::Translation({0, 5, 0});
    host.advance(20);
    EXPECT_NEAR(position(car.world("WheelMesh_BL", 180)).y, 0.2 + kRadius, 2e-3);
    host.stopRun();
}

// The stored mesh

TEST_F(Ground, StoredMeshStandsInForSurfacesThatAreGone) {
    for (const bool fast : {true, false}) {
        Vehicle& car = addParkedCar();
        Element& ground = linkGround(car, flatGround());
        host.scene.setLocal(ground, 0.0, util::Translation({0, -0.6, 0}));
        if (!fast) car.edit("Use Fast Ray Cast", 0.0);
        car.edit("Store Ground Mesh Data", 1.0);
        host.scene.remove(ground);
        expectStandsAt(car, -0.6);
        host.removeVehicle(car);
    }
}

TEST_F(Ground, StoredMeshWinsOverLinkedSurfaces) {
    for (const bool fast : {true, false}) {
        Vehicle& car = addParkedCar();
        Element& ground = linkGround(car, flatGround());
        if (!fast) car.edit("Use Fast Ray Cast", 0.0);
        car.edit("Store Ground Mesh Data", 1.0);
        host.scene.setLocal(ground, 0.0, util::Translation({0, 1, 0}));
        host.scene.addMesh("Child", flatGround(2.0), &car.element("GravityDirectionMesh"));
        expectStandsAt(car, 0.0);
        host.removeVehicle(car);
        host.scene.remove(ground);
    }
}

TEST_F(Ground, StoredMeshIsLeftUnreleasedByTheWheels) {
    Vehicle& car = addParkedCar();
    linkGround(car, flatGround());
    car.edit("Store Ground Mesh Data", 1.0);
    host.startRun(0);
    car.log.clear();
    host.advance(2);
    EXPECT_EQ(car.log.count("getSurfaceObject Ground"), 8);
    EXPECT_EQ(car.log.count("releaseSurfaceObject"), 0);
    EXPECT_EQ(car.log.count("releaseElementData"), 0);
    EXPECT_EQ(car.openSurfaces(), 8);
    host.stopRun();
    EXPECT_EQ(car.openSurfaces(), 0);
}

// Captured under fast casting there is no tree, and without it every query misses.
TEST_F(Ground, MeshLeftOverFromFastCastingCarriesNothing) {
    Vehicle& car = addParkedCar();
    linkGround(car, flatGround());
    car.edit("Store Ground Mesh Data", 1.0);
    car.edit("Use Fast Ray Cast", 0.0);
    EXPECT_EQ(car.value("Store Ground Mesh Data"), 0.0);
    host.run(0, 3);
    EXPECT_EQ(car.log.count("intersect "), 0);
    for (const char* suffix : kCorners)
        EXPECT_EQ(car.output(std::string("WheelMesh") + suffix)->current, 1.0) << suffix;
}

// The tree's ray is a line: it meets the ground behind it too. The host's surfaces do not.
TEST_F(Ground, StoredMeshIsHitFromBelowToo) {
    for (const bool stored : {true, false}) {
        Vehicle& car = addParkedCar();
        Element& ground = linkGround(car, flatGround());
        car.edit("Use Fast Ray Cast", 0.0);
        if (stored) car.edit("Store Ground Mesh Data", 1.0);
        host.scene.setWorld(car.element("CarBodyMesh"), 0.0, util::Translation({0, -30, 0}) * util::Scaling(kLength));
        host.run(0, 1);
        for (const char* suffix : kCorners)
            EXPECT_EQ(car.output(std::string("WheelMesh") + suffix)->current, stored ? 0.0 : 1.0) << suffix;
        host.removeVehicle(car);
        host.scene.remove(ground);
    }
}

// Rays

TEST_F(Ground, NumberOfRaysFollowsItsParameters) {
    Vehicle& car = addParkedCar();
    car.edit("Use Fast Ray Cast", 0.0);
    linkGround(car, flatGround());
    const auto set = [&](double multiplier, double degrees, double edges) {
        car.put("Ray Multiplier", multiplier);
        car.put("Degrees Per Ray", degrees);
        car.put("Cast Rays at Wheel Edges", edges);
    };
    EXPECT_EQ(raysInAFrame(car), 4 * 57);
    set(10, 2.0, 0);
    EXPECT_EQ(raysInAFrame(car), 4 * 19);
    set(1, 2.0, 1);
    EXPECT_EQ(raysInAFrame(car), 4);
    set(1, 2.0, 0);
    EXPECT_EQ(raysInAFrame(car), 4);
    set(2, 2.0, 1);
    EXPECT_EQ(raysInAFrame(car), 4 * 9);
    set(10, 89.0, 1);
    EXPECT_EQ(raysInAFrame(car), 4 * 9);
    set(10, 45.0, 0);
    EXPECT_EQ(raysInAFrame(car), 4 * 5);
    set(100, 1.0, 0);
    EXPECT_EQ(raysInAFrame(car), 4 * 181);
}

// Row by row from the inner edge of the wheel to the outer, each from one end of the fan to the other, at twice the
// angle of the parameter; all in the plane in which the wheel rolls. A flat ground below gives no cause to move.
TEST_F(Ground, FanOfRaysStandsAtTwiceItsAngle) {
    Vehicle& car = addParkedCar();
    car.edit("Use Fast Ray Cast", 0.0);
    car.put("Ray Multiplier", 4.0);
    car.put("Degrees Per Ray", 5.0);
    linkGround(car, flatGround());
    host.startRun(0);
    host.advance(300);
    car.recordsRays = true;
    host.advance(1);
    host.stopRun();
    ASSERT_EQ(car.rays.size(), 4u * (1 + 7 + 6 + 7));
    for (std::size_t corner = 0; corner < 4; ++corner) {
        SCOPED_TRACE(kCorners[corner]);
        const Ray* ray = &car.rays[corner * 21];
        const Matrix4 relocator = car.world(std::string("WheelRelocatorMesh") + kCorners[corner], 301);
        const Vector3<double> axle =
            util::Normalized(car.world(std::string("WheelMesh") + kCorners[corner], 300).row(0));
        const Vector3<double> down = -util::Normalized(relocator.row(1));
        expectNear(ray->direction, down, 1e-9, "centre ray");
        ++ray;
        const Vector3<double> middle = position(car.world(std::string("WheelMesh") + kCorners[corner], 301));
        for (int e = -1; e <= 1; ++e)
            for (int j = -3; j <= 3; ++j) {
                if (e == 0 && j == 0) continue;
                const double angle = 2.0 * j * 5.0 / 180.0 * 3.141592653589793;
                const Vector3<double> forward = util::Cross(axle, down);
                expectNear(ray->direction, std::cos(angle) * down + std::sin(angle) * forward, 1e-6, "side ray");
                expectNear(ray->origin, middle + (0.5 * 0.7 * kWheelRadius * e) * axle, 2e-3, "its origin");
                ++ray;
            }
    }
}

TEST_F(Ground, WithoutGroundEachCentreRayIsTriedFromHigherUp) {
    Vehicle& car = addParkedCar();
    car.edit("Use Fast Ray Cast", 0.0);
    car.put("Ray Multiplier", 1.0);
    linkGround(car, heightGrid(500, 510, 1, 500, 510, 1, [](double, double) { return 0.0; }));
    // The origin stands 0.274 lengths and 0.137 - 0.247 above the wheel, and is raised by that until twice the length.
    const double lift = kLength * 0.2742857142857143 + 0.137 - kRadius;
    int tries = 1;
    for (double height = lift; height < 2 * kLength; height += lift) ++tries;
    EXPECT_EQ(tries, 9);
    EXPECT_EQ(raysInAFrame(car), 4 * tries);
}

TEST_F(Ground, WheelClimbsAStepBeforeItsCentreReachesIt) {
    Vehicle& car = addCar();
    quiet(car);
    car.edit("Use Fast Ray Cast", 0.0);
    // A step of a tenth, its face within one cell of the grid.
    linkGround(car, heightGrid(-10.3, 10, 4, -30, 10, 4000, [](double, double z) { return z < -6.0 ? 0.1 : 0.0; }));
    car.axis("Gas Pedal").position = 0.15;
    host.run(0, 150);
    bool early = false;
    for (int frame = 1; frame <= 150; ++frame) {
        const Vector3<double> wheel = position(car.world("WheelMesh_FR", frame));
        if (wheel.z > -6.0 + 0.01 && wheel.y > kRadius + 0.02) early = true;
    }
    EXPECT_TRUE(early);
    EXPECT_NEAR(position(car.world("WheelMesh_FR", 150)).y, 0.1 + kRadius, 0.01);
}

/// Four strips along the way of the car, each as wide as `width` and below the middle of a wheel.
CMesh strips(double width) {
    CMesh mesh;
    mesh.setNumVertices(8);
    mesh.setNumFaces(4);
    for (int side = 0; side < 2; ++side) {
        const double x = side == 0 ? -kHalfTrack : kHalfTrack;
        for (int i = 0; i < 4; ++i)
            mesh.setVertex(4 * side + i, x + (i % 2 == 0 ? -0.5 : 0.5) * width, 0.0, i < 2 ? -30.0 : 30.0);
        mesh.setFace(2 * side, 4 * side, 4 * side + 2, 4 * side + 1);
        mesh.setFace(2 * side + 1, 4 * side + 1, 4 * side + 2, 4 * side + 3);
    }
    return mesh;
}

// Through the physics world a side ray that misses counts as a hit at the last distance, at first 0, which is the
// wheel's centre: on a strip narrower than the wheel its edge rays lift the wheel off. The other ways know a miss.
TEST_F(Ground, MissedEdgeRaysLiftTheWheelInBulletModeOnly) {
    for (const Casting casting : {Casting::bullet, Casting::surface, Casting::stored}) {
        SCOPED_TRACE(static_cast<int>(casting));
        Vehicle& car = addParkedCar();
        Element& ground = linkGround(car, strips(0.1));
        if (casting != Casting::bullet) car.edit("Use Fast Ray Cast", 0.0);
        if (casting == Casting::stored) car.edit("Store Ground Mesh Data", 1.0);
        host.run(0, 3);
        const double height = position(car.world("WheelMesh_BR", 3)).y;
        if (casting == Casting::bullet)
            EXPECT_GT(height, 4 * kRadius);
        else
            EXPECT_NEAR(height, kRadius, 0.02);
        car.put("Cast Rays at Wheel Edges", 0.0);
        car.press("Re-Initialize Car Attributes");
        expectStandsAt(car, 0.0);
        host.removeVehicle(car);
        host.scene.remove(ground);
    }
}

// The pressure is a filter of the wheel's place: of a sudden step it covers 1 - (1 - 0.5 p)^2 in a frame of 0.04 s.
TEST_F(Ground, SoftTireFollowsAStepOfTheGroundSlowly) {
    for (const double pressure : {0.1, 0.8}) {
        Vehicle& car = addParkedCar();
        car.edit("Use Fast Ray Cast", 0.0);
        car.put("Ray Multiplier", 1.0);
        car.put("Tire Pressure", pressure);
        Element& ground = linkGround(car, flatGround());
        host.startRun(0);
        host.advance(200);
        host.scene.setShape(ground, flatGround(0.05));
        host.advance(1);
        const double rise = position(car.world("WheelMesh_BR", 201)).y - position(car.world("WheelMesh_BR", 200)).y;
        EXPECT_NEAR(rise / 0.05, 1.0 - (1.0 - 0.5 * pressure) * (1.0 - 0.5 * pressure), 0.02) << pressure;
        host.stopRun();
        host.removeVehicle(car);
        host.scene.remove(ground);
    }
}

// On the plane the ground below a wheel is one radius below where the wheel would stand without gravel.
TEST_F(Ground, GravelShakesTheWheelAboveItsHitPoint) {
    for (const bool gravel : {true, false}) {
        Vehicle& car = addCarOnPlane();
        if (gravel) car.put("Gravel Shake Offset Value", 10.0);
        car.edit("Move WheelCenterMesh to ground hit point", 1.0);
        car.axis("Gas Pedal").position = 1.0;
        host.run(0, 60);
        double shake = 0.0;
        for (int frame = 20; frame <= 60; ++frame) {
            const double wheel = position(car.world("WheelMesh_BL", frame)).y;
            shake = std::max(shake, std::abs(wheel - kRadius - position(car.world("WheelCenterMesh_BL", frame)).y));
        }
        if (gravel)
            EXPECT_GT(shake, 0.01);
        else
            EXPECT_LT(shake, 1e-9);
        host.removeVehicle(car);
    }
}

// Each surface is looked for from the usual height, whatever was tried for the one before it.
TEST_F(Ground, CarStandsUnderARoofBesideASurfaceThatIsElsewhere) {
    Vehicle& car = addParkedCar();
    car.edit("Use Fast Ray Cast", 0.0);
    linkGround(car, heightGrid(500, 510, 1, 500, 510, 1, [](double, double) { return 0.0; }));
    CMesh hall = flatGround();
    const CMesh roof = flatGround(3.0);
    const int first = hall.getNumVertices();
    hall.vertices.insert(hall.vertices.end(), roof.vertices.begin(), roof.vertices.end());
    for (int index : roof.faces) hall.faces.push_back(first + index);
    hall.tFaces.resize(hall.faces.size());
    Element& child = host.scene.addMesh("Hall", hall, &car.element("GravityDirectionMesh"));
    host.scene.setWorld(child, 0.0, Matrix4());
    expectStandsAt(car, 0.0);
}

// All ways of casting tell the same story on the same ground.
TEST_F(Ground, WaysOfCastingAgreeOnAWavyGround) {
    std::vector<std::vector<Vector3<double>>> paths;
    for (const Casting casting : {Casting::surface, Casting::stored, Casting::bullet}) {
        Vehicle& car = addCar();
        quiet(car);
        Element& ground = linkGround(car, wavyGround());
        if (casting != Casting::bullet) car.edit("Use Fast Ray Cast", 0.0);
        if (casting == Casting::stored) car.edit("Store Ground Mesh Data", 1.0);
        car.axis("Gas Pedal").position = 0.3;
        host.run(0, 120);
        paths.emplace_back();
        for (int frame = 0; frame <= 120; ++frame) paths.back().push_back(position(car.world("CarBodyMesh", frame)));
        host.removeVehicle(car);
        host.scene.remove(ground);
    }
    EXPECT_LT(paths[0].back().z, -10.0);
    double heights = 0.0;
    for (std::size_t frame = 0; frame <= 120; ++frame) {
        heights = std::max(heights, std::abs(paths[0][frame].y - paths[0][0].y));
        EXPECT_LT(distance(paths[0][frame], paths[1][frame]), 1e-6) << frame;
        EXPECT_LT(distance(paths[0][frame], paths[2][frame]), 0.05) << frame;
    }
    EXPECT_GT(heights, 0.1);
}

}  // namespace
}  // namespace ond::test
