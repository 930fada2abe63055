// Rolling wheels: from the way each wheel moved to its orientation.
#include "car/WheelRolling.h"

#include <gtest/gtest.h>

#include "car/QuietCar.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::isClose;
using test::quietCar;
using Q = Quat<double>;
using V = Vector3<double>;

constexpr double kFrame = 0.04;
constexpr double kRadius = 0.26 * 0.95;

/// Driving ahead with 5 units a second; each wheel moved 0.2 along the car.
cCarCam rollingCar() {
    cCarCam car = quietCar();
    car.dVelocity = 5.0;
    for (auto& w : car.pcWheel) {
        w.qTransWheelAbs.position.z -= 0.2;
        w.dSuspDistanceMoved = 0.2;
    }
    return car;
}

TEST(WheelRolling, TurnsTheWheelsByTheWayOverTheirRadius) {
    cCarCam car = rollingCar();
    UpdateWheelRolling(car, kFrame);
    for (const auto& w : car.pcWheel) {
        EXPECT_TRUE(isClose(w.pfPitchIncr, -0.2 / kRadius)) << "ahead is a negative turn about X";
        EXPECT_TRUE(isClose(w.pfTotalPitch, -0.2 / kRadius));
        EXPECT_EQ(w.qTransWheelAbs_prev.position, w.qTransWheelAbs.position);
    }
}

TEST(WheelRolling, AddsToWhatTheFrameAlreadyHas) {
    cCarCam car = rollingCar();
    for (auto& w : car.pcWheel) {
        w.pfPitchIncr = 0.5;
        w.pfTotalPitch = 1.0;
    }
    UpdateWheelRolling(car, kFrame);
    EXPECT_TRUE(isClose(car.pcWheel[0].pfPitchIncr, 0.5 - 0.2 / kRadius));
    EXPECT_TRUE(isClose(car.pcWheel[0].pfTotalPitch, 1.5 - 0.2 / kRadius));
}

TEST(WheelRolling, FrontWheelsFollowTheVelocityAndBackWheelsTheirOwnWay) {
    // Sliding backwards while the velocity still points ahead.
    cCarCam car = rollingCar();
    for (auto& w : car.pcWheel) w.qTransWheelAbs.position = w.qTransWheelAbs_prev.position + V(0, 0, 0.2);
    UpdateWheelRolling(car, kFrame);
    EXPECT_TRUE(isClose(car.pcWheel[0].pfPitchIncr, -0.2 / kRadius)) << "off the turning axis";
    EXPECT_TRUE(isClose(car.pcWheel[1].pfPitchIncr, -0.2 / kRadius));
    EXPECT_TRUE(isClose(car.pcWheel[2].pfPitchIncr, 0.2 / kRadius)) << "on the turning axis";
    EXPECT_TRUE(isClose(car.pcWheel[3].pfPitchIncr, 0.2 / kRadius));
    // And the other way round.
    car = rollingCar();
    car.dVelocity = -5.0;
    UpdateWheelRolling(car, kFrame);
    EXPECT_TRUE(isClose(car.pcWheel[0].pfPitchIncr, 0.2 / kRadius));
    EXPECT_TRUE(isClose(car.pcWheel[2].pfPitchIncr, -0.2 / kRadius));
}

TEST(WheelRolling, TheWayOfABackWheelIsMeasuredAlongTheCar) {
    cCarCam car = rollingCar();
    car.qTransCarAbs.rotation = Q(0, std::sqrt(0.5), 0, std::sqrt(0.5));  // heading -X
    for (auto& w : car.pcWheel) w.qTransWheelAbs.position = w.qTransWheelAbs_prev.position + V(0.2, 0, -5);
    UpdateWheelRolling(car, kFrame);
    EXPECT_TRUE(isClose(car.pcWheel[2].pfPitchIncr, 0.2 / kRadius)) << "+X is backwards for it";
    // No movement along the car at all counts as backwards: a zero is positive.
    car = rollingCar();
    for (auto& w : car.pcWheel) w.qTransWheelAbs.position = w.qTransWheelAbs_prev.position;
    UpdateWheelRolling(car, kFrame);
    EXPECT_TRUE(isClose(car.pcWheel[2].pfPitchIncr, 0.2 / kRadius));
}

TEST(WheelRolling, TheTurningAxisIsAThousandthOfALengthWide) {
    for (const double off : {0.0034, 0.0036}) {
        cCarCam car = rollingCar();
        for (auto& w : car.pcWheel) w.qTransWheelAbs.position = w.qTransWheelAbs_prev.position + V(0, 0, 0.2);
        car.wheelGeom[3].z += off;  // a thousandth is 0.003522
        UpdateWheelRolling(car, kFrame);
        EXPECT_TRUE(isClose(car.pcWheel[3].pfPitchIncr, (off < 0.0035 ? 0.2 : -0.2) / kRadius)) << off;
    }
    cCarCam car = rollingCar();
    car.dTurnBase = 0.3;  // the axis moves away from the back wheels
    for (auto& w : car.pcWheel) w.qTransWheelAbs.position = w.qTransWheelAbs_prev.position + V(0, 0, 0.2);
    UpdateWheelRolling(car, kFrame);
    EXPECT_TRUE(isClose(car.pcWheel[2].pfPitchIncr, -0.2 / kRadius));
}

TEST(WheelRolling, AStandingCarDoesNotRoll) {
    for (const double velocity : {0.003521, -0.003521}) {
        cCarCam car = rollingCar();
        car.dVelocity = velocity;
        UpdateWheelRolling(car, kFrame);
        for (const auto& w : car.pcWheel) EXPECT_EQ(w.pfPitchIncr, 0.0);
        for (const auto& w : car.pcWheel) EXPECT_EQ(w.pfTotalPitch, 0.0);
    }
    cCarCam car = rollingCar();
    car.dVelocity = 0.003523;
    UpdateWheelRolling(car, kFrame);
    EXPECT_NE(car.pcWheel[0].pfPitchIncr, 0.0);
}

TEST(WheelRolling, UnderTheSkidBrakeTheIncrementIsDropped) {
    cCarCam car = rollingCar();
    car.bSkidBreakingOnDisableFeatures = true;
    for (auto& w : car.pcWheel) w.pfTotalPitch = 9.0;
    UpdateWheelRolling(car, kFrame);
    for (const auto& w : car.pcWheel) {
        EXPECT_EQ(w.pfTotalPitch, 9.0) << "neither turned nor wrapped";
        EXPECT_TRUE(isClose(w.pfPitchIncr, -0.2 / kRadius)) << "still computed";
    }
}

struct WrapRow {
    double total;
    double wrapped;
};

TEST(WheelRolling, WrapsToOneTurnAndKeepsTheSign) {
    const double turn = 6.283185307179586;
    const WrapRow rows[] = {{-7.0, -7.0 + turn}, {7.0, 7.0 - turn}, {-20.0, -20.0 + 3 * turn}, {-3.0, -3.0}};
    for (const WrapRow& row : rows) {
        cCarCam car = quietCar();
        car.pcWheel[1].pfTotalPitch = row.total;
        UpdateWheelRolling(car, kFrame);
        EXPECT_TRUE(isClose(car.pcWheel[1].pfTotalPitch, row.wrapped)) << row.total;
    }
}

TEST(WheelRolling, AWheelRollsThenSteersThenFollowsBodyAndCar) {
    cCarCam car = quietCar();
    car.qTransCarAbs.rotation = Normalized(Q(0.1, 0.5, -0.2, 0.8));
    car.cCarBody.qTransRel.rotation = Normalized(Q(0.02, 0, 0.03, 1));
    car.pcWheel[1].pfTotalPitch = 2.0;
    car.pcWheel[1].pfYaw = -0.4;
    UpdateWheelRolling(car, kFrame);
    const Q pitch(std::sin(1.0), 0, 0, std::cos(1.0));
    const Q yaw(0, std::sin(-0.2), 0, std::cos(-0.2));
    EXPECT_TRUE(isClose(car.pcWheel[1].qWheelYaw, yaw));
    const Q expected =
        Multiply(Multiply(Multiply(pitch, yaw), car.cCarBody.qTransRel.rotation), car.qTransCarAbs.rotation);
    EXPECT_TRUE(isClose(car.pcWheel[1].qTransWheelAbs.rotation, expected));
    // Rolling leaves the axle where steering puts it.
    const V axle = Rotate(expected, V(1, 0, 0));
    const V steered =
        Rotate(car.qTransCarAbs.rotation, Rotate(car.cCarBody.qTransRel.rotation, Rotate(yaw, V(1, 0, 0))));
    EXPECT_TRUE(isClose(axle, steered));
}

}  // namespace
}  // namespace ond::ovs::addon
