// Ground with more triangles than 21 bits can number, linked to a vehicle.
#include "whole/Grounds.h"
#include "whole/WholeRun.h"

namespace ond::test {
namespace {

using HugeGround = WholeRun;

// 2,252,800 triangles of 0.25, in rows of 2048. The car stands near the end of the last rows, whose triangles have
// the numbers from 2^21 on; before its wheels the ground is flat.
constexpr int kAcross = 1024;
constexpr int kAlong = 1100;
constexpr double kCell = 0.25;
constexpr double kEnd = 9.1;
constexpr double kHeight = 0.4;

CMesh hugeGround() {
    return heightGrid(-0.5 * kAcross * kCell + 0.07, 0.5 * kAcross * kCell + 0.07, kAcross, kEnd - kAlong * kCell, kEnd,
                      kAlong, [](double, double z) { return z < -10.0 ? kHeight - 3.0 : kHeight; });
}

TEST_F(HugeGround, CarriesTheCarOnItsLastTriangles) {
    Vehicle& car = addCar();
    quiet(car);
    Element& ground = linkGround(car, hugeGround());
    ASSERT_GT(ground.shape.getNumFaces(), 1 << 21);
    // The rig is made to stand on y = 0.
    host.scene.setLocal(ground, 0.0, util::Translation({0, -kHeight, 0}));
    host.run(0, 2);
    EXPECT_EQ(car.messages, std::vector<Message>());
    EXPECT_EQ(car.log.count("intersect "), 0) << "the host was asked for rays";
    for (const char* suffix : kCorners) {
        EXPECT_EQ(car.output(std::string("WheelMesh") + suffix)->current, 0.0) << suffix << " is in the air";
        EXPECT_NEAR(position(car.world(std::string("WheelMesh") + suffix, 2)).y, kWheelRadius * kRadiusMult, 0.02)
            << suffix;
    }
}

}  // namespace
}  // namespace ond::test
