#include "run/FrameUpdate.h"

#include "CCarCamObject.h"
#include "car/StepCar.h"
#include "car/WheelRolling.h"
#include "parameters/Gauges.h"
#include "run/MemoryAhead.h"
#include "run/Settling.h"
#include "state/AnimatedState.h"

namespace ond::ovs::addon {

using util::Normalized;

namespace {

void follow(CCarCamObject& v, double time, double dt) {
    if (!v.cCarCam.bAutonomousMode) return;
    const util::Matrix4 target = rig::readWorldMatrix(v.cTargetNode, time - dt);
    UpdateFollow(v.cCarCam, v, v.cCarBodyNode.mCurr, target.row(3), dt);
}

/// What the car model needs of the world: gravity, and the external force while its device is used.
void readWorld(CCarCamObject& v, double time) {
    cCarCam& car = v.cCarCam;
    car.qGravity = Quat<double>::FromMatrix(v.cBaseMeshNode.mPrev);
    car.vGravityDir = -Normalized(v.cGravityDirectionNode.mPrev.row(1));
    if (car.pcInput[pcInput_EXTERNAL_FORCE].raw != 0.0) v.cExternalForceNode.update(time);
}

void updateCorners(CCarCamObject& v, double time, bool isForeseen) {
    const auto corners = static_cast<std::size_t>(v.numCorners());
    for (std::size_t i = 0; i < corners; ++i) {
        if (!isForeseen) fetchAheadOfCorner(v, i);
        v.aWheelNodes[i].update(time);
        if (v.bKeyframeOnlyEssential) continue;
        if (i < v.aWheelCenterNodes.size()) v.aWheelCenterNodes[i].update(time);
        if (i < v.aWheelCenterSuspensionNodes.size()) v.aWheelCenterSuspensionNodes[i].update(time);
    }
}

void rollWheels(CCarCamObject& v, double time, double dt) {
    UpdateWheelRolling(v.cCarCam, dt);
    const auto corners = static_cast<std::size_t>(v.numCorners());
    for (std::size_t i = 0; i < corners; ++i) v.aWheelNodes[i].writeWheelKeys(time);
}

void updateRest(CCarCamObject& v, double time) {
    v.cRelativeTurnBaseNode.update(time);
    v.cSteeringWheelNode.update(time);
    v.cGravityDirectionNode.update(time);
    v.cBaseMeshNode.update(time);
    if (v.bKeyframeOnlyEssential) return;
    v.cFollowCamNode.update(time);
    v.cTopViewCamNode.update(time);
    v.cDriverCamNode.update(time);
}

void setKeys(CCarCamObject& v, double time) {
    if (!v.bSaveDynamicData && !v.bKeyframeOnlyEssential) return;
    std::size_t i = 0;
    forEachVariable(v, [&](const AnimatedRow& row, auto& variable, const auto* live) {
        if (live == nullptr || (row.onlyAutonomous && !v.cCarCam.bAutonomousMode)) return;
        variable.setKey(time, *live);
        v.cFrameMemory.setLastKey(i++, &variable.keys.back());
    });
}

}  // namespace

void readInputs(CCarCamObject& v) {
    for (std::size_t i = 0; i < v.aInputProperties.size(); ++i) {
        const unidevice::Property* property = v.aInputProperties[i];
        v.cCarCam.pcInput[i].raw = property != nullptr ? property->value() : 0.0;
    }
}

void updateFrame(CCarCamObject& v, double time) {
    const bool isForeseen = v.cFrameMemory.beginFrame();
    if (!isForeseen) fetchCar(v);
    const double dt = v.hostInterface->getFrameStep();
    readInputs(v);
    follow(v, time, dt);
    readWorld(v, time);
    if (!isForeseen) fetchAheadOfStep(v);
    v.cFrameMemory.fetchAhead();
    StepCar(v.cCarCam, dt);
    if (!isForeseen) fetchAheadOfBody(v);
    v.cFrameMemory.fetchAhead();
    v.cCarBodyNode.update(time);
    v.cChassisRelocatorNode.update(time);
    updateCorners(v, time, isForeseen);
    rollWheels(v, time, dt);
    settleOnWheels(v.cCarCam);
    v.cFrameMemory.fetchRest();
    updateRest(v, time);
    setKeys(v, time);
    updateVelocityGauges(v, time);
    storeOutputs(v);
    v.bFreshStart = false;
    if (!v.cFrameMemory.isListed()) listFrameMemory(v);
}

void showFrame(CCarCamObject& v, double time) {
    if (!v.bRunning) updateIdleGauges(v, time);
    v.hostInterface->refreshDialog();
}

}  // namespace ond::ovs::addon
