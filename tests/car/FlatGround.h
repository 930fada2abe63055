// A flat ground for cars that are driven without a scene: stands in for the wheels' ground probing and for what
// fits the car to its wheels.
#pragma once

#include <cmath>
#include <limits>

#include "car/CarState.h"
#include "car/StepCar.h"
#include "car/WheelRolling.h"
#include "ond/util/Filters.h"

namespace ond::test {

/// The plane y = height. The height may change between frames: a cliff, from the car's point of view.
class FlatGround {
  public:
    double height = 0.0;
    double tirePressure = 0.8;       ///< share of the way to the ground per 0.04 s
    double springChangeRate = 0.05;  ///< wheel radii per second that an unsupported wheel falls

    /// One whole frame: model, wheels on the ground, rolling, settling. The caller has set the channels' `raw`.
    void frame(ovs::addon::cCarCam& car, double dt) {
        ovs::addon::StepCar(car, dt);
        for (int i = 0; i < 4; ++i) probe(car, i, dt);
        ovs::addon::UpdateWheelRolling(car, dt);
        settle(car);
    }

  private:
    using V = util::Vector3<double>;
    using Q = util::Quat<double>;

    /// The wheel's place for the next frame, on the suspension line through its corner of the body.
    void probe(ovs::addon::cCarCam& car, int i, double dt) {
        auto& wheel = car.pcWheel[i];
        const Q body = car.cCarBody.qTransAbs.rotation;
        const V up = Rotate(body, V(0, 1, 0));
        const double r = car.wheelGeom[i].radius * car.dWheelRadiusMult;
        const V anchor = car.cCarBody.qTransAbs.position +
                         Rotate(body, V(car.wheelGeom[i].x, r - car.fBodyRestHeight, car.wheelGeom[i].z));
        const double reach = car.fRelMaxBumperLen * r;
        // How far the wheel centre stands below the anchor when the wheel touches the plane; negative above it.
        const double toGround = up.y > 0.0 ? (anchor.y - height) / up.y - r : std::numeric_limits<double>::max();
        const bool supported = !car.bGravityOn || toGround < reach;
        // The wheel as the model has moved it along with the car, put back on the suspension line.
        const double hanging = Dot(anchor - wheel.qTransWheelAbs.position, up);
        V place = anchor - hanging * up;
        if (supported) {
            const V target = anchor - toGround * up;
            FilterSaturating(place, target, tirePressure, 0.0, dt);
        } else {
            const double fall = r * springChangeRate * dt;
            place = std::abs(hanging) + fall < reach ? place - fall * up : anchor - reach * up;
        }
        wheel.bInAir = !supported;
        wheel.vGroundNormal = supported ? V(0, 1, 0) : up;
        wheel.vGroundHitPoint = place - r * up;
        wheel.dWheelGroundNormalDiff =
            Rotate(Conjugate(car.qTransCarAbs.rotation), place - car.qTransCarAbs.position).y;
        if (supported) place += wheel.fGravelOffset * up;
        wheel.qTransWheelAbs.position = place;
        const V lowest = place - r * up;
        wheel.dSuspDistanceMoved = m_first ? 0.0 : Length(lowest - m_lowest[i]);
        m_lowest[i] = lowest;
        wheel.vSuspPoint = lowest;
        if (i == 3) m_first = false;
    }

    /// Turns the car's up axis to the plane of its contact points and sets it on that plane below the body.
    static void settle(ovs::addon::cCarCam& car) {
        const V p0 = car.pcWheel[0].vSuspPoint;
        const V p1 = car.pcWheel[1].vSuspPoint;
        const V back = car.pcWheel[3].vSuspPoint + (car.pcWheel[2].vSuspPoint - car.pcWheel[3].vSuspPoint) / 2.0;
        const V n = Cross(Normalized(p1 - back), Normalized(p0 - back));
        const V up = Rotate(car.qTransCarAbs.rotation, V(0, 1, 0));
        const double angle = std::acos(util::ClampAbs(Dot(up, n), 1.0));
        const V axis = Cross(up, n) * std::sin(angle / 2);
        car.qTransCarAbs.rotation =
            Normalized(Multiply(car.qTransCarAbs.rotation, Q(axis.x, axis.y, axis.z, std::cos(angle / 2))));
        const V down = Rotate(car.cCarBody.qTransAbs.rotation, V(0, -1, 0));
        const V o = car.cCarBody.qTransAbs.position;
        const V flat = Cross(p1 - back, p0 - back);
        car.qTransCarAbs.position = o + down * (Dot(back - o, flat) / Dot(down, flat));
    }

    bool m_first = true;
    V m_lowest[4];
};

}  // namespace ond::test
