// A car parked on flat ground, as a run would start it: the ground state of most tests.
#pragma once

#include "car/CarState.h"

namespace ond::test {

/// Default parameters, nothing moving: wheels standing on y = 0, springs at rest, no noise, no input offset.
[[nodiscard]] inline ovs::addon::cCarCam quietCar() {
    ovs::addon::cCarCam c;
    c.fFrontAxleZ = -c.fBodyLength / 2;
    c.dGravelShakeOffset = 0;
    c.dBaseStiffnessFront = c.fStiffnessFront;
    c.dBaseStiffnessBack = c.fStiffnessBack;
    c.dBaseDampingFront = c.fDampingFront;
    c.dBaseDampingBack = c.fDampingBack;
    c.cCarBody.qTransAbs.position = {0, c.fBodyRestHeight, 0};
    for (int i = 0; i < 4; ++i) {
        const double r = c.wheelGeom[i].radius * c.dWheelRadiusMult;
        c.pcWheel[i].dWheelGroundNormalDiff = r;
        c.pcWheel[i].qTransWheelAbs.position = {c.wheelGeom[i].x, r, c.wheelGeom[i].z};
        c.pcWheel[i].qTransWheelAbs_prev.position = c.pcWheel[i].qTransWheelAbs.position;
        c.pcWheel[i].vSuspPoint = {c.wheelGeom[i].x, 0, c.wheelGeom[i].z};
    }
    return c;
}

}  // namespace ond::test
