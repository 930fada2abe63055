// Single nodes of the rig at the limits of what they are given.
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "rig/WheelNodes.h"
#include "state/FakeHost.h"

namespace {

using namespace ond;
using namespace ond::test;
using namespace ond::ovs::addon;
using util::Matrix4;
using util::Quat;
using V = util::Vector3<double>;

void expectNear(const V& actual, const V& expected, const char* what) {
    EXPECT_NEAR(util::Length(actual - expected), 0.0, 1e-12)
        << what << ": " << actual.x << " " << actual.y << " " << actual.z;
}

void expectNear(const Matrix4& actual, const Matrix4& expected) {
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(actual[i], expected[i], 1e-12) << "number " << i << " of the matrix";
}

/// Height at which a body stands whose wheels have their contact points at these heights. It rests at 1, may sink to
/// 0.3, and is sent to 0.2.
double clearedHeight(int corners, const std::array<double, 4>& contacts) {
    Car car;
    rig::resizeWheels(*car, corners);
    cCarCam& record = car->cCarCam;
    record.fBodyRestHeight = 1.0;
    car->dMinGroundDistance = 0.3;
    record.cCarBody.qTransAbs.position = {0.0, 0.2, 0.0};
    for (std::size_t i = 0; i < contacts.size(); ++i) record.pcWheel[i].vSuspPoint = {0.0, contacts[i], 0.0};
    car->cCarBodyNode.update(0.0);
    return car->cCarBodyNode.mCurr.row(3).y;
}

// The fourth contact point counts even where the rig has no fourth corner that moves it.
TEST(CarBodyNode, ClearsTheMeanOfFourWheelsWithThreeCorners) {
    for (const int corners : {3, 4}) {
        EXPECT_NEAR(clearedHeight(corners, {0.0, 0.0, 0.0, 0.0}), 0.3, 1e-12) << corners;
        EXPECT_NEAR(clearedHeight(corners, {0.0, 0.0, 0.0, 0.4}), 0.4, 1e-12) << corners;
        EXPECT_NEAR(clearedHeight(corners, {0.4, 0.4, 0.4, 0.0}), 0.6, 1e-12) << corners;
        EXPECT_NEAR(clearedHeight(corners, {0.0, 0.0, 0.0, -0.8}), 0.2, 1e-12) << corners;
    }
}

// Nothing of such a heading lies in the base's plane, and a direction of no length is the Y axis.
TEST(BaseMeshNode, BodyThatPointsAlongTheBasesUpAxisLeavesItFinite) {
    const Quat<double> halfTurn(1.0, 0.0, 0.0, 0.0);
    for (const Quat<double>& base : {Quat<double>(), halfTurn})
        for (const double sign : {1.0, -1.0}) {
            Car car;
            car->cCarCam.fBodyLength = 2.0;
            car->cCarCam.qTransCarAbs.position = {3.0, 4.0, 5.0};
            car->cBaseMeshNode.qBase.rotation = base;
            const V up = util::Rotate(base, V(0.0, 1.0, 0.0));
            car->cCarBodyNode.mPrev.setRow(2, 7.0 * sign * up);
            car->cBaseMeshNode.update(0.0);
            const Matrix4& m = car->cBaseMeshNode.mCurr;
            expectNear(m.row(0), {0.0, 2.0, 0.0}, "x axis");
            expectNear(m.row(1), 2.0 * up, "y axis");
            expectNear(m.row(2), 2.0 * up, "z axis");
            expectNear(m.row(3), {3.0, 4.0, 5.0}, "place");
        }
}

/// A follow camera between where it is and where it wants to be.
struct FollowingCar : Car {
    FollowingCar() {
        object->cFollowCamNode.pMesh = &host.put("FollowCam");
        object->cRelativeTurnBaseNode.dScale = 0.5;
        object->cRelativeTurnBaseNode.mCurr = util::Translation({10.0, 2.0, -5.0}) * util::RotationY(0.7);
        object->cChassisRelocatorNode.mLocal = util::Translation(object->cChassisRelocatorNode.vInitPos);
        object->cFollowCamNode.qFollowFilterMem =
            util::QTransform<double>::FromMatrix(util::Translation({4.0, 3.0, 2.0}) * util::RotationY(0.4));
        object->cFollowCamNode.qFollowCam = util::QTransform<double>::FromMatrix(start);
    }
    /// Where a frame of `seconds` brings the camera.
    Matrix4 after(double seconds) {
        host.frameStep = seconds;
        object->cFollowCamNode.update(1.0);
        return host.elements.at("FollowCam")->world;
    }
    const Matrix4 start = util::Translation({1.0, 2.0, 3.0}) * util::RotationY(0.2);
};

TEST(FollowCamNode, StandsWhileAFrameTakesNoTime) {
    FollowingCar car;
    for (int frame = 0; frame < 3; ++frame) expectNear(car.after(0.0), car.start);
    expectNear(ToMatrix(car->cFollowCamNode.qFollowFilterMem),
               util::Translation({4.0, 3.0, 2.0}) * util::RotationY(0.4));
    EXPECT_GT(util::Length(car.after(0.04).row(3) - car.start.row(3)), 1.0);
}

}  // namespace
