// The corners of a rig: how many there are, in which order one goes, and which way round its wheel is.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "rig/WheelNodes.h"
#include "state/FakeHost.h"

namespace {

using namespace ond;
using namespace ond::test;
using namespace ond::ovs::addon;

/// How many corners all four vectors agree on; -1 if they do not.
int corners(const Car& car) {
    const std::size_t count = car->aWheelNodes.size();
    const bool agreed = car->aWheelRelocatorNodes.size() == count && car->aWheelCenterNodes.size() == count &&
                        car->aWheelCenterSuspensionNodes.size() == count;
    return agreed ? static_cast<int>(count) : -1;
}

/// What of the log begins with that word, without it.
Log logged(const Car& car, const std::string& word) {
    Log rest;
    for (const std::string& line : car.host.log)
        if (line.starts_with(word + " ")) rest.push_back(line.substr(word.size() + 1));
    return rest;
}

TEST(WheelCorners, AreNeverFewerThanThree) {
    for (const int count : {0, 1, 2, 3}) {
        Car car;
        rig::resizeWheels(*car, count);
        EXPECT_EQ(corners(car), 3) << count;
        EXPECT_EQ(car.host.elements.size(), 12u) << count;
        EXPECT_TRUE(car.host.elements.contains("WheelMesh_BL")) << count;
    }
}

TEST(WheelCorners, AreTakenAwayDownToThree) {
    for (const int count : {1, 2, 3}) {
        Car car;
        rig::resizeWheels(*car, 4);
        ASSERT_EQ(corners(car), 4);
        rig::resizeWheels(*car, count);
        EXPECT_EQ(corners(car), 3) << count;
    }
}

// What hangs below the relocator goes before it.
TEST(WheelCorners, GoWheelFirstAndRelocatorLast) {
    Car car;
    rig::resizeWheels(*car, 4);
    car.host.log.clear();
    rig::resizeWheels(*car, 3);
    EXPECT_EQ(car.host.log, (Log{"delete WheelMesh_BR", "delete WheelCenterMesh_BR",
                                 "delete WheelCenterSuspensionMesh_BR", "delete WheelRelocatorMesh_BR"}));
}

TEST(WheelCorners, GoLastCornerFirst) {
    Car car;
    rig::resizeWheels(*car, 5);
    ASSERT_EQ(corners(car), 5);
    car.host.log.clear();
    rig::resizeWheels(*car, 3);
    const Log deleted = logged(car, "delete");
    ASSERT_EQ(deleted.size(), 8u);
    EXPECT_EQ(deleted[0], "WheelMesh");  // the fifth has no suffix
    EXPECT_EQ(deleted[4], "WheelMesh_BR");
}

TEST(WheelCorners, DestroyedTwiceAskForNothingToBeDeleted) {
    Car car;
    rig::resizeWheels(*car, 3);
    car.host.log.clear();
    rig::CWheelNode& wheel = car->aWheelNodes[1];
    EXPECT_TRUE(wheel.destroy());
    EXPECT_EQ(wheel.pMesh, nullptr);
    EXPECT_TRUE(wheel.destroy());
    EXPECT_EQ(car.host.log, (Log{"delete WheelMesh_FR", "delete null"}));
}

TEST(WheelCorners, TurnTheMeshOfAWheelOnTheRightOnly) {
    const rig::CMesh_WheelMesh asDrawn;
    const auto turned = [](const util::Vector3<double>& v, const util::Vector3<double>& drawn) {
        return util::Length(v - util::Vector3<double>(-drawn.x, drawn.y, -drawn.z)) < 1e-12;
    };
    for (const double x : {-0.64, -0.0, 0.0, std::numeric_limits<double>::denorm_min(), 0.64}) {
        Car car;
        for (WheelGeometry& geometry : car->cCarCam.wheelGeom) geometry.x = x;
        rig::resizeWheels(*car, 3);
        const util::CMesh& mesh = car.host.elements.at("WheelMesh_FR")->mesh;
        ASSERT_EQ(mesh.getNumVertices(), asDrawn.getNumVertices());
        if (x > 0) {
            for (std::size_t i = 0; i < mesh.vertices.size(); ++i)
                ASSERT_TRUE(turned(mesh.vertices[i], asDrawn.vertices[i])) << "vertex " << i << " at x = " << x;
        } else {
            EXPECT_EQ(mesh.vertices, asDrawn.vertices) << "x = " << x;
        }
    }
}

}  // namespace
