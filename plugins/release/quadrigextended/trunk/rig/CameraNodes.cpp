#include "rig/CameraNodes.h"

#include "CCarCamObject.h"
#include "ond/ovs/CameraObject.h"
#include "ond/util/Filters.h"

namespace ond::ovs::addon::rig {

using util::CMesh;
using util::FilterExact;
using util::FilterSaturating;
using util::Inverse;
using util::Rotate;
using util::RotationX;
using util::RotationZ;
using util::Scaling;
using util::Translation;

namespace {

constexpr double kDegree = 3.141592653589793 / 180.0;

/// Where the filters are drawing the camera to.
QTransform<double> wantedPose(const CFollowCamNode& camera) {
    const CRelativeTurnBaseNode& turnBase = camera.parent->cRelativeTurnBaseNode;
    QTransform<double> pose = QTransform<double>::FromMatrix(turnBase.mCurr);
    pose.position += turnBase.dScale * Rotate(pose.rotation, camera.dOffsetMult * camera.vOffset);
    return pose;
}

}  // namespace

void setFieldOfView(const SceneNode& node, double degrees, double time) {
    if (node.pMesh == nullptr) return;
    CInterface& host = *node.parent->hostInterface;
    CameraObject* camera = host.getCameraObject(node.pMesh, time);
    if (camera == nullptr) return;
    camera->setFieldOfView(degrees);
    host.releaseCameraObject(camera);
}

bool CFollowCamNode::create() {
    CInterface& host = *parent->hostInterface;
    pMesh = host.createCameraElement(sName, parent->cChassisRelocatorNode.pMesh, false);
    qFollowCam = wantedPose(*this);
    const double now = host.getCurrentTime();
    setFieldOfView(*this, dFieldOfView, now);
    return writeWorldMatrix(*this, ToMatrix(qFollowCam), now) != 0;
}

void CFollowCamNode::prepareFollowCam(double time) {
    qFollowCam = QTransform<double>::FromMatrix(readWorldMatrix(*this, time));
    qFollowFilterMem = parent->bFreshStart ? qFollowCam : parent->anFollowCamFilterMem.valueAt(time);
}

int CFollowCamNode::update(double time) {
    const double dt = parent->hostInterface->getFrameStep();
    qFollowTarget = wantedPose(*this);
    FilterSaturating(qFollowFilterMem.rotation, qFollowTarget.rotation, dRotResponse, 1.0, dt);
    FilterSaturating(qFollowCam.rotation, qFollowFilterMem.rotation, dRotResponse, 1.0, dt);
    FilterExact(qFollowFilterMem.position, qFollowTarget.position, dPosResponse, 1.0, dt);
    FilterExact(qFollowCam.position, qFollowFilterMem.position, dPosResponse, 1.0, dt);

    // A chassis that was moved by hand takes the camera along, past the filters.
    const CChassisRelocatorNode& chassis = parent->cChassisRelocatorNode;
    Matrix4 moved = chassis.mLocal;
    moved.setRow(3, moved.row(3) - chassis.vInitPos);
    const Matrix4 m = chassis.mCurr * moved * Inverse(chassis.mCurr) * ToMatrix(qFollowCam);
    return writeWorldMatrix(*this, m, time);
}

bool CDriverCamNode::create() {
    CInterface& host = *parent->hostInterface;
    pMesh = host.createCameraElement(sName, parent->cChassisRelocatorNode.pMesh, false);
    writeLocalMatrix(*this, Translation({-0.091, 0.125, 0.02}), host.getCurrentTime());
    setFieldOfView(*this, 90.0, 0.0);
    return true;
}

bool CTopViewCamNode::create() {
    CInterface& host = *parent->hostInterface;
    pMesh = host.createCameraElement(sName, parent->cCarBodyNode.pMesh, false);
    writeLocalMatrix(*this, RotationX(-90.0 * kDegree) * Translation({0.0, 0.0, 2.0}), host.getCurrentTime());
    setFieldOfView(*this, 80.0, 0.0);
    return true;
}

bool CSteeringWheelNode::create() {
    CInterface& host = *parent->hostInterface;
    const CMesh mesh = CMesh_SteeringWheelMesh() * Scaling(0.035);
    pMesh = host.createMeshElement(sName, parent->cCarBodyNode.pMesh, &mesh, 0);
    writeLocalMatrix(*this, Translation({-0.091, 0.147, -0.068}) * RotationX(-20.0 * kDegree), host.getCurrentTime());
    setAppearance(*this, colourFromBytes(180, 189, 135), parent->bWireframeMode);
    return true;
}

void CSteeringWheelNode::onPrepareEnd(double time) { mInit_loc = readLocalMatrix(*this, time); }

int CSteeringWheelNode::update(double time) {
    const double angle = dSteeringWheelRotMult * -5.0 * parent->cCarCam.fSteeringAngle;
    mCurr = mInit_loc * RotationZ(angle);
    return writeLocalMatrix(*this, mCurr, time);
}

}  // namespace ond::ovs::addon::rig
