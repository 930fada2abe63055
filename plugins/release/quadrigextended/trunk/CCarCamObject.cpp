#include "CCarCamObject.h"

#include <algorithm>

#include "ground/BulletLibrary.h"
#include "parameters/Catalogue.h"
#include "parameters/Gauges.h"
#include "rig/RigBuilder.h"
#include "run/FrameUpdate.h"
#include "run/HostEvents.h"
#include "run/RunEnd.h"
#include "run/RunStart.h"
#include "state/LoadState.h"
#include "state/SaveState.h"

namespace ond::ovs::addon {

namespace {

constexpr std::uint32_t kOutputValueAsked = 40;

}  // namespace

CCarCamObject::CCarCamObject(const CameraCreationRecord& record) : CCamera(record) {
    SceneNode* const nodes[] = {&cCarBodyNode,   &cChassisRelocatorNode, &cRelativeTurnBaseNode, &cGravityDirectionNode,
                                &cBaseMeshNode,  &cTargetNode,           &cExternalForceNode,    &cSteeringWheelNode,
                                &cFollowCamNode, &cDriverCamNode,        &cTopViewCamNode};
    for (SceneNode* node : nodes) node->parent = this;
    aWheelRelocatorNodes.reserve(kNumWheels);
    aWheelNodes.reserve(kNumWheels);
    aWheelCenterSuspensionNodes.reserve(kNumWheels);
    aWheelCenterNodes.reserve(kNumWheels);
}

CCarCamObject::~CCarCamObject() { destroyPhysics(); }

std::uint64_t CCarCamObject::callExtension(std::uint32_t id, void* argument) {
    if (id == kOutputValueAsked) storeOutput(*this, static_cast<unidevice::Property*>(argument));
    return 0;
}

std::vector<std::uint32_t> CCarCamObject::getExtensionIds() const { return {kOutputValueAsked}; }

void CCarCamObject::startRun(double time) { addon::startRun(*this, time); }

void CCarCamObject::stopRun(double /*time*/) { addon::stopRun(*this); }

void CCarCamObject::updateFrame(double time) { addon::updateFrame(*this, time); }

void CCarCamObject::showFrame(double time) { addon::showFrame(*this, time); }

std::uint64_t CCarCamObject::declareParameters() {
    addon::declareParameters(*this);
    return 0;
}

std::uint64_t CCarCamObject::createRig() {
    rig::buildRig(*this);
    updateMaximumGauges(*this, cCarCam.fBodyLength);
    hostInterface->refreshDialog();
    return 0;
}

std::uint64_t CCarCamObject::loadState() { return addon::loadState(*this); }

std::uint64_t CCarCamObject::saveState() { return addon::saveState(*this); }

void CCarCamObject::release() {
    // The scene keeps its elements; only the nodes go, corner by corner from the last.
    while (!aWheelNodes.empty()) {
        aWheelNodes.pop_back();
        if (!aWheelCenterNodes.empty()) aWheelCenterNodes.pop_back();
        if (!aWheelCenterSuspensionNodes.empty()) aWheelCenterSuspensionNodes.pop_back();
        if (!aWheelRelocatorNodes.empty()) aWheelRelocatorNodes.pop_back();
    }
    delete this;
}

void CCarCamObject::onParameterChanged(std::string label) { addon::onParameterChanged(*this, label); }

int CCarCamObject::numCorners() const {
    return static_cast<int>(std::min<std::size_t>(aWheelNodes.size(), kNumWheels));
}

void CCarCamObject::destroyPhysics() {
    m_vehicleRaycaster.reset();
    cPhysicsWorld.destroyWorld();
    // Bodies that were in the world are gone with it; what is left never entered it.
    for (const auto& object : aCollisionObjects) deleteBody(object->pRigidBody);
}

}  // namespace ond::ovs::addon
