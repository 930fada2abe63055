#include "rig/CameraNodes.h"

#include "CCarCamObject.h"
#include "ond/ovs/CameraObject.h"
#include "ond/util/Filters.h"

namespace ond::ovs::addon::rig {

using util::FilterExact;
using util::FilterSaturating;
using util::Inverse;
using util::Rotate;
using util::RotationZ;

namespace {

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
    makeElement(*this, ElementId::followCam);
    qFollowCam = wantedPose(*this);
    const double now = parent->hostInterface->getCurrentTime();
    setFieldOfView(*this, dFieldOfView, now);
    return placeElement(*this, ElementId::followCam, now) != 0;
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
    createElement(*this, ElementId::driverCam);
    setFieldOfView(*this, 90.0, 0.0);
    return true;
}

bool CTopViewCamNode::create() {
    createElement(*this, ElementId::topViewCam);
    setFieldOfView(*this, 80.0, 0.0);
    return true;
}

bool CSteeringWheelNode::create() {
    createElement(*this, ElementId::steeringWheel);
    return true;
}

void CSteeringWheelNode::onPrepareEnd(double time) { mInit_loc = readLocalMatrix(*this, time); }

int CSteeringWheelNode::update(double time) {
    const double angle = dSteeringWheelRotMult * -5.0 * parent->cCarCam.fSteeringAngle;
    mCurr = mInit_loc * RotationZ(angle);
    return writeLocalMatrix(*this, mCurr, time);
}

}  // namespace ond::ovs::addon::rig
