#include "rig/BodyNodes.h"

#include "CCarCamObject.h"

namespace ond::ovs::addon::rig {

using util::CMesh;
using util::CMesh_Box;
using util::Conjugate;
using util::Cross;
using util::Normalized;
using util::Rotate;
using util::RotationX;
using util::Scaling;
using util::Translation;

namespace {

constexpr double kDegree = 3.141592653589793 / 180.0;

/// Turning axis in half car lengths behind the origin.
double turnBaseDistance(const cCarCam& car) { return car.dTurnBase - car.wheelGeom[2].z / (car.fBodyLength / 2); }

}  // namespace

bool CCarBodyNode::create() {
    const cCarCam& car = parent->cCarCam;
    const CMesh mesh = CMesh_CarBodyMesh() * RotationX(-0.5 * kDegree);
    pMesh = parent->hostInterface->createMeshElement(sName, nullptr, &mesh, 0);
    writeWorldMatrix(*this, Translation({0.0, car.fBodyRestHeight, 0.0}) * Scaling(car.fBodyLength),
                     parent->hostInterface->getCurrentTime());
    setAppearance(*this, colourFromBytes(200, 210, 150), parent->bWireframeMode);
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
    const CMesh mesh =
        CMesh_AttachToMesh() * Scaling(0.175) * Translation({0.0, 0.7 / parent->cCarCam.fBodyLength, 0.0});
    pMesh = parent->hostInterface->createMeshElement(sName, parent->cCarBodyNode.pMesh, &mesh, 0);
    writeLocalMatrix(*this, Translation(vInitPos), parent->hostInterface->getCurrentTime());
    setAppearance(*this, colourFromBytes(224, 143, 87), parent->bWireframeMode);
    return true;
}

int CChassisRelocatorNode::update(double time) {
    mLocal = readLocalMatrix(*this, time);
    readWorldMatrix(*this, mCurr, time);
    return 0;
}

bool CRelativeTurnBaseNode::create() {
    const cCarCam& car = parent->cCarCam;
    const CMesh_TurnBaseMesh mesh;
    pMesh = parent->hostInterface->createMeshElement(sName, parent->cCarBodyNode.pMesh, &mesh, 0);
    dScale = car.fBodyLength / 4;
    const double z = (-car.fBodyLength / 2) * turnBaseDistance(car);
    writeWorldMatrix(*this, Translation({0.0, 0.0, z}) * Scaling(dScale), parent->hostInterface->getCurrentTime());
    setAppearance(*this, colourFromBytes(140, 147, 105), parent->bWireframeMode);
    return true;
}

void CRelativeTurnBaseNode::onPrepareEnd(double /*time*/) { dScale = vInitScale.y; }

int CRelativeTurnBaseNode::update(double time) {
    const cCarCam& car = parent->cCarCam;
    mPrev = mCurr;
    QTransform<double> q = car.qTransCarAbs;
    q.position += Rotate(q.rotation, {0.0, 0.0, (-car.fBodyLength / 2) * turnBaseDistance(car)});
    dScale = Length(mPrev.row(1));
    mCurr = ToMatrix(q) * Scaling(dScale);
    return writeWorldMatrix(*this, mCurr, time);
}

bool CBaseMeshNode::create() {
    const CMesh mesh = CMesh_Box(0.5, 0.5, 0.5) * Scaling(0.12);
    pMesh = parent->hostInterface->createMeshElement(sName, parent->cCarBodyNode.pMesh, &mesh, 0);
    writeWorldMatrix(*this, Scaling(parent->cCarCam.fBodyLength), parent->hostInterface->getCurrentTime());
    setAppearance(*this, colourFromBytes(224, 224, 86), parent->bWireframeMode);
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
