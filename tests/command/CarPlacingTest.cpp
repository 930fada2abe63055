// Where cars stand before they are driven.
#include "command/CarPlacing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "command/CommandError.h"
#include "stage/Stage.h"
#include "whole/Grounds.h"

namespace ond::test {

using namespace command;
namespace {

class CarPlacing : public ::testing::Test {
  protected:
    CarPlacing() { host.addVehicle("car"); }
    stage::Vehicle& car() { return *host.vehicles.front(); }
    GroundProbe probe(const util::CMesh& mesh) { return {host.scene, {&host.scene.addMesh("ground", mesh)}, 0.0}; }
    double lowest(const char* corner) {
        const util::Matrix4 wheel = car().world(std::string("WheelMesh_") + corner, 0);
        return wheel[13] - util::Length(wheel.row(1)) * 0.95;
    }

    const stage::Module module{VEHICLE_MODULE_PATH};
    stage::Stage host{module};
};

TEST_F(CarPlacing, ResizesTheWholeRig) {
    const util::Vector3<double> before = car().world("TargetMesh", 0).row(3);
    EXPECT_NEAR(bodyLength(car()), 3.522, 1e-12);
    resizeCar(car(), 7.044);
    EXPECT_NEAR(bodyLength(car()), 7.044, 1e-12);
    EXPECT_NEAR(util::Length(car().world("TargetMesh", 0).row(3) - before * 2.0), 0.0, 1e-12);
    EXPECT_NEAR(util::Length(car().world("WheelMesh_FL", 0).row(1)), 0.52, 1e-12);
}

TEST_F(CarPlacing, StandsOnTheTopmostGround) {
    const GroundProbe ground = probe(flatGround(3.0));
    EXPECT_TRUE(placeCar(car(), {{2.0, -5.0}, 0.0}, ground).empty());
    for (const char* corner : {"FL", "FR", "BL", "BR"}) EXPECT_NEAR(lowest(corner), 3.0, 1e-9) << corner;
}

TEST_F(CarPlacing, StandsExactlyWhereItIsTold) {
    const GroundProbe ground = probe(flatGround(3.0));
    (void)placeCar(car(), {{1.0, 50.0, 2.0}, 90.0}, ground);
    for (const char* corner : {"FL", "FR", "BL", "BR"}) EXPECT_NEAR(lowest(corner), 50.0, 1e-9) << corner;
    // To the right is +X.
    EXPECT_GT(car().world("WheelMesh_FL", 0)[12], car().world("WheelMesh_BL", 0)[12] + 1.0);
}

TEST_F(CarPlacing, FindsAPlaceWhereNoneIsGiven) {
    const GroundProbe away = probe(heightGrid(100, 140, 4, 200, 240, 4, [](double, double) { return 1.0; }));
    const auto notes = placeCar(car(), {}, away);
    EXPECT_THAT(notes, ::testing::ElementsAre(::testing::HasSubstr("there is no ground at the origin")));
    EXPECT_NEAR(car().world("CarBodyMesh", 0)[12], 120.0, 1e-9);
    EXPECT_NEAR(car().world("CarBodyMesh", 0)[14], 220.0, 1e-9);
}

TEST_F(CarPlacing, StandsUprightWhereOnlySomeWheelsHaveGround) {
    const GroundProbe half = probe(heightGrid(-5, 0.2, 3, -20, 20, 3, [](double, double) { return 1.0; }));
    const auto notes = placeCar(car(), {{0.0, 0.0}, 0.0}, half);
    EXPECT_THAT(notes, ::testing::ElementsAre(::testing::HasSubstr("not all wheels")));
    EXPECT_NEAR(lowest("FL"), 1.0, 1e-9);
    EXPECT_NEAR(lowest("FR"), 1.0, 1e-9);
}

TEST_F(CarPlacing, RefusesAPlaceWithoutGroundAndAGroundWithoutPlace) {
    const GroundProbe ground = probe(flatGround());
    EXPECT_THROW((void)placeCar(car(), {{500.0, 0.0}, 0.0}, ground), CommandError);
    const GroundProbe tiny = probe(heightGrid(0, 0.5, 1, 0, 0.5, 1, [](double, double) { return 0.0; }));
    EXPECT_THROW((void)placeCar(car(), {}, tiny), CommandError);
}

TEST_F(CarPlacing, ProbeSeesThroughTransforms) {
    stage::Element& parent = host.scene.add("parent");
    host.scene.setLocal(parent, 0.0, util::Translation({10, 5, 0}) * util::RotationZ(0.3) * util::Scaling(2.0));
    stage::Element& ground = host.scene.addMesh("ground", flatGround(), &parent);
    const GroundProbe probe(host.scene, {&ground}, 0.0);
    const auto height = probe.below({12.0, 100.0, 1.0});
    ASSERT_TRUE(height.has_value());
    EXPECT_NEAR(*height, 5.0 + 2.0 * std::tan(0.3), 1e-9);
    EXPECT_FALSE(probe.below({12.0, -100.0, 1.0}).has_value());
}

}  // namespace
}  // namespace ond::test
