// Where the probing of a wheel draws its lines: the end of the travel, the rim of the wheel, a plane that the wheel's
// rays run along. Numbers are chosen to be exact, so that the lines are met to the bit.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "CCarCamObject.h"
#include "rig/CornerHost.h"

namespace ond::ovs::addon {
namespace {

using util::Matrix4;
using V = util::Vector3<double>;

constexpr double kAbove = 1.0 + std::numeric_limits<double>::epsilon();
constexpr double kBelow = 1.0 - std::numeric_limits<double>::epsilon();

/// A surface that a function stands for.
struct AnsweringSurface final : SurfaceObject {
    void getMesh(util::CMesh& out) override { out = {}; }
    bool intersect(const V& origin, const V& direction, double* t, V* normal) override {
        return answer(origin, direction, *t, *normal);
    }
    std::function<bool(const V&, const V&, double&, V&)> answer;
};

/// Lends that surface.
class AnsweringHost final : public test::CornerHost {
  public:
    SurfaceObject* getSurfaceObject(MeshHandle*, double) override { return &surface; }
    void releaseSurfaceObject(SurfaceObject*) override {}

    AnsweringSurface surface;
};

/// One wheel of radius 1 whose centre is at the origin when it is at rest. Its travel is 0.25, its rays start at
/// height 1.
class WheelLimits : public testing::Test {
  protected:
    WheelLimits() {
        vehicle->hostInterface = &host;
        vehicle->bUseStaticMesh = false;
        vehicle->aWheelNodes.resize(1);
        vehicle->aWheelNodes[0].parent = vehicle;
        vehicle->aWheelRelocatorNodes.resize(1);
        vehicle->aWheelRelocatorNodes[0].parent = vehicle;
        vehicle->aWheelRelocatorNodes[0].pMesh = &relocator;
        vehicle->cGravityDirectionNode.pMesh = &gravity;
        vehicle->iRayMultiplier = 1;
        car().wheelGeom[0].radius = 1.0;
        car().wheelGeom[0].x = car().wheelGeom[0].z = 0.0;
        car().dWheelRadiusMult = 1.0;
        car().fBodyRestHeight = 1.0;
        car().fBodyLength = 1.0 / 0.2742857142857143;
        car().fRelMaxBumperLen = 0.25;
    }
    ~WheelLimits() override { vehicle->release(); }

    rig::CWheelNode& node() { return vehicle->aWheelNodes[0]; }
    cCarCam& car() { return vehicle->cCarCam; }
    [[nodiscard]] const pcWheel& wheel() { return car().pcWheel[0]; }

    void linkSurface() {
        gravity.parent = &ground;
        vehicle->cGravityDirectionNode.mParentMesh = {Matrix4()};
        vehicle->cGravityDirectionNode.mParentMesh_inv = {Matrix4()};
    }

    AnsweringHost host;
    test::GroundElement relocator{"Relocator"};
    test::GroundElement gravity{"Gravity"};
    test::GroundElement ground{"Ground"};
    CCarCamObject* vehicle = new CCarCamObject(CameraCreationRecord{{0, 0}, 0, "Car"});
};

/// Updates a wheel over level ground at `height`, having stood a tenth below its rest.
class WheelTravel : public WheelLimits {
  protected:
    void probe(double height, bool gravityOn) {
        linkSurface();
        host.surface.answer = [height](const V& origin, const V&, double& t, V& normal) {
            t = origin.y - height;
            normal = V(0, 1, 0);
            return true;
        };
        car().bGravityOn = gravityOn;
        car().pcWheel[0].qTransWheelAbs.position = V(0.0, -0.1, 0.0);
        node().update(0.0);
    }
};

TEST_F(WheelTravel, GroundAtItsVeryEndIsOutOfReach) {
    probe(-1.25, true);
    ASSERT_EQ(node().hits.dists, std::vector<double>{0.25}) << "the ground is not at the end of the travel";
    EXPECT_TRUE(wheel().bInAir);
    // It falls from where it was, at the springs' speed.
    const double fall = 0.1 + vehicle->dMaximumSpringChangeVelocityRel * host.frameStep;
    EXPECT_NEAR(node().dCurrDelta, fall, 1e-15);
    EXPECT_NEAR(node().mCurr.row(3).y, -fall, 1e-15);
}

TEST_F(WheelTravel, GroundJustBeforeItsEndCarries) {
    probe(-1.25 + 0x1p-50, true);
    ASSERT_LT(node().hits.dists.at(0), 0.25);
    EXPECT_FALSE(wheel().bInAir);
    EXPECT_EQ(node().dCurrDelta, node().hits.dists[0]);
}

TEST_F(WheelTravel, GroundAtItsEndCarriesWithoutGravity) {
    probe(-1.25, false);
    ASSERT_EQ(node().hits.dists, std::vector<double>{0.25});
    EXPECT_FALSE(wheel().bInAir);
    EXPECT_EQ(node().dCurrDelta, 0.25);
}

/// A wheel in the air that side rays at right angles to the line of its travel find something beside, at `distance`
/// from its centre as the probing measures it.
class WheelRim : public WheelLimits {
  protected:
    void probe(double distance) {
        linkSurface();
        vehicle->iRayMultiplier = 2;
        vehicle->dDegsPerRay = 45.0;  // rays stand at twice their angle
        vehicle->bAddRaysAtWheelEdges = false;
        car().bGravityOn = true;
        host.surface.answer = [this, distance](const V&, const V& direction, double& t, V& normal) {
            if (std::abs(direction.y) > 0.5) return false;
            t = distance;
            for (int i = 0; i < 4 && Length(t * direction) < distance; ++i) t *= kAbove;
            for (int i = 0; i < 4 && Length(t * direction) > distance; ++i) t *= kBelow;
            measured.push_back(Length(t * direction));
            normal = V(0, 0, 1);
            return true;
        };
        node().update(0.0);
        ASSERT_EQ(measured, (std::vector<double>{distance, distance}));
    }

    std::vector<double> measured;
};

TEST_F(WheelRim, HitAtTheRadiusIsIgnored) {
    probe(1.0);
    EXPECT_TRUE(wheel().bInAir);
    EXPECT_EQ(wheel().vGroundNormal, V(0, 1, 0));
    EXPECT_EQ(wheel().vGroundHitPoint, V(0, -1.25, 0));
}

TEST_F(WheelRim, HitJustInsideTheRadiusCounts) {
    probe(kBelow);
    EXPECT_FALSE(wheel().bInAir);
    EXPECT_EQ(wheel().vGroundNormal, V(0, 0, 1));
}

// The wheel's ray never meets the plane y = 0; the plane is then taken to be where the ray starts.
TEST_F(WheelLimits, PlaneAlongTheRayIsMetAtItsOrigin) {
    for (const double side : {1.0, -1.0}) {
        host.corner.setRow(0, V(0.0, -side, 0.0));
        host.corner.setRow(1, V(side, 0.0, 0.0));
        vehicle->cCarBodyNode.mCurr.setRow(3, V(5.0, 7.0, 9.0));
        node().dCurrDelta = -1.0;
        node().update(0.0);
        EXPECT_EQ(node().dCurrDeltaW, -1.0);
        EXPECT_EQ(node().dCurrDelta, -1.0);
        EXPECT_FALSE(wheel().bInAir);
        EXPECT_EQ(wheel().vGroundNormal, V(0, 1, 0));
        // One radius further up than the origin of the ray, which is 1 from the wheel at rest.
        EXPECT_NEAR(Length(node().mCurr.row(3) - V(5.0 + 2.0 * side, 7.0, 9.0)), 0.0, 1e-12);
    }
}

}  // namespace
}  // namespace ond::ovs::addon
