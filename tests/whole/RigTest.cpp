// A rig that has just been made: tree, places, colours, shapes.
#include <algorithm>
#include <map>

#include "whole/SavedBlock.h"
#include "whole/WholeRun.h"

namespace ond::test {
namespace {

using Rig = WholeRun;

TEST_F(Rig, HasTwentySevenElementsInTheirTree) {
    Vehicle& car = addCar("My Car");
    std::map<std::string, std::string> parents;
    for (const auto& element : host.scene.elements)
        parents[element->identifier] = element->parent == nullptr ? "" : element->parent->identifier;
    std::map<std::string, std::string> expected{
        {"CarBodyMesh", ""},
        {"GravityDirectionMesh", ""},
        {"TargetMesh", ""},
        {"ChassisRelocatorMesh", "CarBodyMesh"},
        {"TurnBaseMesh", "CarBodyMesh"},
        {"CarBodyBaseMesh", "CarBodyMesh"},
        {"ExternalForceMesh", "CarBodyMesh"},
        {"SteeringWheelMesh", "CarBodyMesh"},
        {"TopViewCam", "CarBodyMesh"},
        {"FollowCam", "ChassisRelocatorMesh"},
        {"DriverCam", "ChassisRelocatorMesh"},
    };
    for (const char* suffix : kCorners) {
        const std::string relocator = std::string("WheelRelocatorMesh") + suffix;
        expected[relocator] = "ChassisRelocatorMesh";
        for (const char* kind : {"WheelMesh", "WheelCenterMesh", "WheelCenterSuspensionMesh"})
            expected[std::string(kind) + suffix] = relocator;
    }
    EXPECT_EQ(parents, expected);
    EXPECT_EQ(host.scene.elements.size(), 27u);
    EXPECT_EQ(car.element("CarBodyMesh").name, "My Car_CarBodyMesh");
}

struct Placing {
    const char* element;
    Matrix4 world;
};

Matrix4 at(const Vector3<double>& place, const Matrix4& rest) { return util::Translation(place) * rest; }

TEST_F(Rig, StandsWhereItIsMade) {
    Vehicle& car = addCar();
    const Matrix4 body = at({0, kRestHeight, 0}, util::Scaling(kLength));
    const Matrix4 chassis = at({0, kRestHeight + 0.08 * kLength, 0}, util::Scaling(kLength));
    const double quarter = 1.5707963267948966;
    const double degree = 3.141592653589793 / 180.0;
    const Placing placings[] = {
        {"CarBodyMesh", body},
        {"ChassisRelocatorMesh", chassis},
        {"TurnBaseMesh", at({0, 0, kBackZ}, util::Scaling(kLength / 4))},
        {"CarBodyBaseMesh", util::Scaling(kLength)},
        {"GravityDirectionMesh", at({0, 0, -1.51 * kLength / 2}, util::Scaling(kLength))},
        {"TargetMesh", at({0, 2 * kRestHeight, -2.01 * kLength / 2}, Matrix4())},
        {"ExternalForceMesh", body * at({0, kLength / 10, 0.3}, util::RotationX(170 * degree))},
        {"SteeringWheelMesh", body * at({-0.091, 0.147, -0.068}, util::RotationX(-20 * degree))},
        {"DriverCam", chassis * util::Translation({-0.091, 0.125, 0.02})},
        {"TopViewCam", body * util::RotationX(-quarter) * util::Translation({0, 0, 2})},
        {"FollowCam", util::Translation({0, 1.4 * kLength / 4, kBackZ + 7 * kLength / 4})},
    };
    for (const Placing& placing : placings)
        expectNear(car.world(placing.element, 0), placing.world, 1e-12, placing.element);

    for (int corner = 0; corner < 4; ++corner) {
        const std::string suffix = kCorners[corner];
        const Vector3<double> place(corner % 2 == 0 ? -kHalfTrack : kHalfTrack, kWheelRadius,
                                    corner < 2 ? kFrontZ : kBackZ);
        // The front relocators lean by seven degrees with all that hangs below them.
        const Matrix4 lean = corner < 2 ? util::RotationX(kFrontTilt) : Matrix4();
        expectNear(car.world("WheelRelocatorMesh" + suffix, 0), at(place, lean * util::Scaling(kWheelRadius)), 1e-12,
                   suffix.c_str());
        expectNear(car.world("WheelMesh" + suffix, 0),
                   at(place, lean * util::Scaling({0.7 * kWheelRadius, kWheelRadius, kWheelRadius})), 1e-12,
                   suffix.c_str());
        for (const char* kind : {"WheelCenterMesh", "WheelCenterSuspensionMesh"})
            expectNear(car.world(kind + suffix, 0), at(place, lean * util::Scaling(kLength)), 1e-11, suffix.c_str());
    }
}

TEST_F(Rig, HasItsColours) {
    Vehicle& car = addCar();
    std::map<std::string, std::array<int, 3>> colours{
        {"CarBodyMesh", {200, 210, 150}},      {"ChassisRelocatorMesh", {224, 143, 87}},
        {"TurnBaseMesh", {140, 147, 105}},     {"GravityDirectionMesh", {224, 86, 86}},
        {"CarBodyBaseMesh", {224, 224, 86}},   {"TargetMesh", {86, 224, 86}},
        {"ExternalForceMesh", {224, 224, 86}}, {"SteeringWheelMesh", {180, 189, 135}},
    };
    for (const char* suffix : kCorners) {
        colours[std::string("WheelRelocatorMesh") + suffix] = {224, 143, 87};
        colours[std::string("WheelMesh") + suffix] = {140, 147, 105};
        colours[std::string("WheelCenterMesh") + suffix] = {240, 252, 180};
        colours[std::string("WheelCenterSuspensionMesh") + suffix] = {240, 252, 180};
    }
    ASSERT_EQ(colours.size(), 24u);
    for (const auto& [name, bytes] : colours) {
        const Element& element = car.element(name);
        EXPECT_TRUE(element.ownColour) << name;
        for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(element.colour[i], bytes[i] / 255.0, 1e-6) << name << " " << i;
    }
}

TEST_F(Rig, HasItsCameras) {
    Vehicle& car = addCar();
    EXPECT_EQ(car.element("FollowCam").fieldOfView, 45.0);
    EXPECT_EQ(car.element("DriverCam").fieldOfView, 90.0);
    EXPECT_EQ(car.element("TopViewCam").fieldOfView, 80.0);
}

TEST_F(Rig, MarksWhatTheUserPlacesAndSelectsTheBody) {
    Vehicle& car = addCar();
    std::vector<std::string> marked;
    for (const auto& element : host.scene.elements)
        if (element->placedByUser) marked.push_back(element->identifier);
    std::sort(marked.begin(), marked.end());
    EXPECT_EQ(marked, (Lines{"ChassisRelocatorMesh", "DriverCam", "ExternalForceMesh", "GravityDirectionMesh",
                             "TargetMesh", "TopViewCam", "WheelRelocatorMesh_BL", "WheelRelocatorMesh_BR",
                             "WheelRelocatorMesh_FL", "WheelRelocatorMesh_FR"}));
    EXPECT_TRUE(car.element("CarBodyMesh").selected);
}

struct Extent {
    const char* element;
    Vector3<double> low;
    Vector3<double> high;
};

TEST_F(Rig, ShapesHaveTheirSizes) {
    Vehicle& car = addCar();
    const double move = 0.7 / kLength;
    // The catalogue's extents after what is done to the vertices before an element is made of them. The body is turned
    // by half a degree, which shifts its extents by less than the tolerance.
    const Extent extents[] = {
        {"WheelMesh_FL", {-0.558, -1.014, -0.998}, {0.558, 1.014, 0.998}},
        {"WheelMesh_BR", {-0.558, -1.014, -0.998}, {0.558, 1.014, 0.998}},
        {"WheelRelocatorMesh_FL", {-0.952, -0.01, -1.393}, {0.918, 1.126, 0.0084}},
        {"ChassisRelocatorMesh",
         {-0.175 * 0.476, move - 0.175 * 0.005, -0.175 * 0.995},
         {0.175 * 0.459, move + 0.175 * 0.563, 0.175 * 0.006}},
        {"WheelCenterMesh_FR", {-0.044, 0.0, -0.006}, {0.044, 0.6 * 0.188, 0.006}},
        {"WheelCenterSuspensionMesh_FR", {-0.006, 0.0, -0.044}, {0.006, 0.6 * 0.188, 0.044}},
        {"TurnBaseMesh", {-0.24, 0, -0.243}, {0.24, 1.084, 0.27}},
        {"GravityDirectionMesh", {-0.0433, -0.0614, -0.0433}, {0.0433, 0.1517, 0.0433}},
        {"ExternalForceMesh", {-0.0289, -0.0289, -0.1411}, {0.0289, 0.0289, 0.001}},
        {"CarBodyBaseMesh", {-0.03, -0.03, -0.03}, {0.03, 0.03, 0.03}},
        {"TargetMesh", {-0.4, -0.4, -0.4}, {0.4, 0.4, 0.4}},
        {"SteeringWheelMesh", {-0.05135, -0.03759, -0.06622}, {0.05072, 0.05233, 0.01057}},
        {"CarBodyMesh", {-0.231, -0.043, -0.475}, {0.231, 0.266, 0.525}},
    };
    for (const Extent& extent : extents) {
        const CMesh& mesh = car.element(extent.element).shape;
        Vector3<double> low = mesh.vertices.at(0);
        Vector3<double> high = low;
        for (const Vector3<double>& v : mesh.vertices) {
            low = {std::min(low.x, v.x), std::min(low.y, v.y), std::min(low.z, v.z)};
            high = {std::max(high.x, v.x), std::max(high.y, v.y), std::max(high.z, v.z)};
        }
        const double tolerance = std::string(extent.element) == "CarBodyMesh" ? 0.015 : 0.02;
        expectNear(low, extent.low, tolerance, extent.element);
        expectNear(high, extent.high, tolerance, extent.element);
        for (int index : mesh.faces) ASSERT_TRUE(index >= 0 && index < mesh.getNumVertices()) << extent.element;
    }
}

TEST_F(Rig, RightWheelIsTheLeftOneTurnedByHalfATurn) {
    Vehicle& car = addCar();
    const CMesh& left = car.element("WheelMesh_FL").shape;
    const CMesh& right = car.element("WheelMesh_FR").shape;
    EXPECT_EQ(left.faces, right.faces);
    ASSERT_EQ(left.vertices.size(), right.vertices.size());
    double lopsided = 0.0;
    for (std::size_t i = 0; i < left.vertices.size(); ++i) {
        const Vector3<double>& v = left.vertices[i];
        expectNear(right.vertices[i], {-v.x, v.y, -v.z}, 1e-12, "vertex");
        lopsided += std::abs(v.x);
    }
    EXPECT_GT(lopsided, 1.0);
    EXPECT_EQ(car.element("WheelMesh_BL").shape.vertices, left.vertices);
}

TEST_F(Rig, TurnBaseFollowsItsParameter) {
    Vehicle& car = addCarOnPlane();
    car.put("Turn Base (Back Wheel Relative)", 0.5);
    car.axis("Skid Brake").position = 1.0;
    host.run(0, 100);
    expectNear(position(car.world("TurnBaseMesh", 100)), {0, 0, kBackZ - 0.5 * kLength / 2}, 0.02, "turn base");
    car.put("Turn Base (Back Wheel Relative)", 0.0);
    host.run(0, 100);
    expectNear(position(car.world("TurnBaseMesh", 100)), {0, 0, kBackZ}, 0.02, "turn base");
}

TEST_F(Rig, LargerTurnBaseMovesTheFollowCameraOut) {
    Vehicle& car = addCarOnPlane();
    Element& base = car.element("TurnBaseMesh");
    host.scene.setWorld(base, 0.0, host.scene.world(base, 0.0) * util::Scaling(2.0));
    car.axis("Skid Brake").position = 1.0;
    host.run(0, 200);
    EXPECT_NEAR(util::Scale(car.world("TurnBaseMesh", 200)).y, kLength / 2, 1e-9);
    EXPECT_NEAR(position(car.world("FollowCam", 200)).z - position(car.world("TurnBaseMesh", 200)).z, 7 * kLength / 2,
                1e-3);
}

TEST_F(Rig, SteeringWheelWithoutMultiplierStaysAsPlaced) {
    Vehicle& car = addCarOnPlane();
    car.put("Steering Wheel Rot Mult", 0.0);
    Element& wheel = car.element("SteeringWheelMesh");
    wheel.track.pose = util::Translation({-0.1, 0.2, -0.05}) * util::RotationX(-0.5);
    const Matrix4 placed = wheel.track.pose;
    car.axis("Steering").position = 1.0;
    host.run(0, 50);
    EXPECT_GT(car.output("Steering Angle")->current, 0.05);
    expectNear(car.local("SteeringWheelMesh", 50), placed, 1e-15, "steering wheel");
}

// A turn that the user gives the relocator's wheel is not lost by a resumed start, which sees a turned wheel.
TEST_F(Rig, ResumedRunKeepsTheRestOfTheSteeringWheel) {
    Vehicle& car = addCarOnPlane();
    const Matrix4 placed = car.local("SteeringWheelMesh", 0);
    car.axis("Steering").position = 0.6;
    host.run(0, 60);
    host.run(30, 60);
    const double steering = car.output("Steering Angle")->current;
    expectNear(car.local("SteeringWheelMesh", 60), placed * util::RotationZ(-5.0 * steering), 1e-12, "steering wheel");
}

TEST_F(Rig, BaseMeshKeepsItsUpAxisAndFollowsTheCar) {
    Vehicle& car = addCarOnPlane();
    car.axis("Gas Pedal").position = 0.4;
    car.axis("Steering").position = 0.6;
    host.run(0, 150);
    for (int frame = 10; frame <= 150; frame += 10) {
        const Matrix4 base = car.world("CarBodyBaseMesh", frame);
        expectNear(base.row(1), {0, kLength, 0}, 1e-9, "up axis");
        EXPECT_NEAR(util::Length(base.row(2)), kLength, 1e-9);
        EXPECT_NEAR(base.row(2).y, 0.0, 1e-9);
        // Its heading is that of the body one frame ago.
        const Vector3<double> heading = car.world("CarBodyMesh", frame - 1).row(2);
        EXPECT_NEAR(
            util::Dot(util::Normalized(Vector3<double>(heading.x, 0, heading.z)), util::Normalized(base.row(2))), 1.0,
            1e-12);
    }
    EXPECT_GT(degreesBetween(car.world("CarBodyBaseMesh", 150), car.world("CarBodyBaseMesh", 1)), 20.0);
}

class PressedBody : public WholeRun {
  protected:
    /// How high the body stands on the plane after a strong force has pushed it down, when it was rigged at `height`
    /// and may not sink below nine tenths of that.
    double pressed(double height) {
        Vehicle& first = addCarOnPlane();
        first.save();
        SavedBlock block(first.chunk);
        block.set<double>("dMinGroundDistance", 0.9);
        first.chunk = block.bytes();
        Vehicle& car = reload(first);
        quiet(car);
        host.scene.setWorld(car.element("CarBodyMesh"), 0.0,
                            util::Translation({0, height, 0}) * util::Scaling(kLength));
        // The wheels stay where they are.
        const double lift = (kRestHeight - height) / kLength;
        car.element("ChassisRelocatorMesh").track.pose = util::Translation({0, 0.08 + lift, 0});
        car.element("ExternalForceMesh").track.pose = util::RotationX(1.5707963267948966);  // its Z axis points down
        car.axis("Skid Brake").position = 1.0;
        car.axis("External Force").position = 1.0;
        car.put("External Force Maximum", 1e6);
        host.run(0, 100);
        return position(car.world("CarBodyMesh", 100)).y;
    }
};

TEST_F(PressedBody, StopsAtItsLeastHeight) { EXPECT_NEAR(pressed(kRestHeight), 0.9 * 0.137, 2e-3); }

// A rig whose body rests within a tenth of the wheel's radius above the ground has no least height: the body sinks by
// all that the springs give.
TEST_F(PressedBody, RiggedAtTheGroundHasNoLeastHeight) {
    const double radius = kWheelRadius * kRadiusMult;
    const double rest = 0.02;
    EXPECT_NEAR(pressed(rest + kWheelRadius - radius), rest - 0.2 * radius * 0.9, 3e-3);
}

}  // namespace
}  // namespace ond::test
