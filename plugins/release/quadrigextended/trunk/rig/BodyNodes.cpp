#include "rig/BodyNodes.h"

#include "CCarCamObject.h"

namespace ond::ovs::addon::rig {

using util::Conjugate;
using util::Cross;
using util::Normalized;
using util::Rotate;
using util::Scaling;

double turnBasePosition(const cCarCam& car) {
    // The parameter counts from the rear axle, in half car lengths.
    return (-car.fBodyLength / 2) * (car.dTurnBase - car.wheelGeom[2].z / (car.fBodyLength / 2));
}

bool CCarBodyNode::create() {
    createElement(*this, ElementId::carBody);
    return true;
}

int CCarBodyNode::update(double time) {
    const cCarCam& car = parent->cCarCam;
    mPrev = mCurr;
    qTransBody = car.cCarBody.qTransAbs;
    // The body never sinks below a share of its rest height over the contact points of its wheels.
    if (car.wheelGeom[0].radius * car.dWheelRadiusMult * 0.1 < car.fBodyRestHeight) {
        const Vector3<double> a = 0.25 * (car.pcWheel[0].vSuspPoint + car.pcWheel[1].vSuspPoint +
                                          car.pcWheel[2].vSuspPoint + car.pcWheel[3].vSuspPoint);
        const double y = Rotate(Conjugate(qTransBody.rotation), qTransBody.position - a).y;
        const double min = car.fBodyRestHeight * parent->dMinGroundDistance;
        if (y < min) qTransBody.position += Rotate(qTransBody.rotation, {0.0, min - y, 0.0});
    }
    mCurr = ToMatrix(qTransBody) * Scaling(car.fBodyLength);
    return writeWorldMatrix(*this, mCurr, time);
}

bool CChassisRelocatorNode::create() {
    createElement(*this, ElementId::chassisRelocator);
    return true;
}

int CChassisRelocatorNode::update(double time) {
    mLocal = readLocalMatrix(*this, time);
    readWorldMatrix(*this, mCurr, time);
    return 0;
}

bool CRelativeTurnBaseNode::create() {
    dScale = parent->cCarCam.fBodyLength / 4;
    createElement(*this, ElementId::turnBase);
    return true;
}

void CRelativeTurnBaseNode::onPrepareEnd(double /*time*/) { dScale = vInitScale.y; }

int CRelativeTurnBaseNode::update(double time) {
    const cCarCam& car = parent->cCarCam;
    mPrev = mCurr;
    QTransform<double> q = car.qTransCarAbs;
    q.position += Rotate(q.rotation, {0.0, 0.0, turnBasePosition(car)});
    dScale = Length(mPrev.row(1));
    mCurr = ToMatrix(q) * Scaling(dScale);
    return writeWorldMatrix(*this, mCurr, time);
}

bool CBaseMeshNode::create() {
    createElement(*this, ElementId::baseMesh);
    hide();
    return true;
}

void CBaseMeshNode::onPrepareEnd(double /*time*/) { qBase = QTransform<double>::FromMatrix(mInit); }

int CBaseMeshNode::update(double time) {
    mPrev = mCurr;
    // Where the body points, without what points out of the base's plane at the start of the run.
    Vector3<double> z = Rotate(Conjugate(qBase.rotation), Normalized(parent->cCarBodyNode.mPrev.row(2)));
    z.y = 0.0;
    z = Rotate(qBase.rotation, Normalized(z));
    Matrix4 m = ToMatrix(qBase);
    m.setRow(2, z);
    m.setRow(0, Normalized(Cross(m.row(1), m.row(2))));
    m = m * Scaling(parent->cCarCam.fBodyLength);
    m.setRow(3, parent->cCarCam.qTransCarAbs.position);
    mCurr = m;
    return writeWorldMatrix(*this, mCurr, time);
}

}  // namespace ond::ovs::addon::rig
