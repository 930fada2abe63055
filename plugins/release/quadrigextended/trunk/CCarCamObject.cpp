#include "CCarCamObject.h"

#include <algorithm>

#include "ground/BulletLibrary.h"
#include "parameters/Catalogue.h"
#include "parameters/Gauges.h"
#include "rig/RigBuilder.h"
#include "rig/RigElements.h"
#include "run/FrameUpdate.h"
#include "run/HostEvents.h"
#include "run/RunEnd.h"
#include "run/RunStart.h"
#include "state/LoadState.h"
#include "state/SaveState.h"

namespace ond::ovs::addon {

namespace {

constexpr std::uint32_t kOutputValueAsked = 40;

/// Runs an operation of the contract and keeps what it throws (memory ran out) from reaching the host.
template <class Operation>
void guarded(Operation operation) noexcept {
    try {
        operation();
    } catch (...) {
        return;  // what was done until then stays done; the host can go on and release it
    }
}

}  // namespace

CCarCamObject::CCarCamObject(const CameraCreationRecord& record) : CCamera(record) {
    for (const rig::RigElement& element : rig::kRigElements)
        if (!element.atCorners) element.node(*this, 0)->parent = this;
    aWheelRelocatorNodes.reserve(kNumWheels);
    aWheelNodes.reserve(kNumWheels);
    aWheelCenterSuspensionNodes.reserve(kNumWheels);
    aWheelCenterNodes.reserve(kNumWheels);
}

CCarCamObject::~CCarCamObject() { destroyPhysics(); }

std::uint64_t CCarCamObject::callExtension(std::uint32_t id, void* argument) {
    guarded([&] {
        if (id == kOutputValueAsked) storeOutput(*this, static_cast<unidevice::Property*>(argument));
    });
    return 0;
}

std::vector<std::uint32_t> CCarCamObject::getExtensionIds() const {
    std::vector<std::uint32_t> ids;
    guarded([&ids] { ids.push_back(kOutputValueAsked); });
    return ids;
}

void CCarCamObject::startRun(double time) {
    guarded([&] { addon::startRun(*this, time); });
}

void CCarCamObject::stopRun(double /*time*/) {
    guarded([&] { addon::stopRun(*this); });
}

void CCarCamObject::updateFrame(double time) {
    guarded([&] { addon::updateFrame(*this, time); });
}

void CCarCamObject::showFrame(double time) {
    guarded([&] { addon::showFrame(*this, time); });
}

std::uint64_t CCarCamObject::declareParameters() {
    guarded([&] { addon::declareParameters(*this); });
    return 0;
}

std::uint64_t CCarCamObject::createRig() {
    guarded([&] {
        rig::buildRig(*this);
        updateMaximumGauges(*this, cCarCam.fBodyLength);
        hostInterface->refreshDialog();
    });
    return 0;
}

std::uint64_t CCarCamObject::loadState() {
    std::uint64_t result = 1;
    guarded([&] { result = addon::loadState(*this); });
    return result;
}

std::uint64_t CCarCamObject::saveState() {
    guarded([&] { addon::saveState(*this); });
    return 0;
}

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

void CCarCamObject::onParameterChanged(std::string label) {
    guarded([&] { addon::onParameterChanged(*this, label); });
}

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
