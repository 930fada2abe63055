#include "rig/RigBuilder.h"

#include "CCarCamObject.h"

namespace ond::ovs::addon::rig {

namespace {

constexpr std::uint32_t kAttachable = 17;  // tells the host that the user may attach the element to other things

void makeAttachable(const SceneNode& node) {
    if (node.pMesh != nullptr) node.pMesh->callExtension(kAttachable, nullptr);
}

}  // namespace

void buildRig(CCarCamObject& v) {
    v.cCarBodyNode.create();
    v.cChassisRelocatorNode.create();
    makeAttachable(v.cChassisRelocatorNode);
    v.cTargetNode.create();
    resizeWheels(v, kNumWheels);
    v.cRelativeTurnBaseNode.create();
    v.cSteeringWheelNode.create();
    v.cGravityDirectionNode.create();
    makeAttachable(v.cGravityDirectionNode);
    v.cBaseMeshNode.create();
    v.cExternalForceNode.create();
    v.cTopViewCamNode.create();
    makeAttachable(v.cTopViewCamNode);
    v.cDriverCamNode.create();
    makeAttachable(v.cDriverCamNode);
    if (v.cCarBodyNode.pMesh != nullptr) v.cCarBodyNode.pMesh->rigBuilt();
    prepareNode(v.cRelativeTurnBaseNode, v.hostInterface->getCurrentTime());
    v.cFollowCamNode.create();
    if (v.bHideDriverCamera) v.cDriverCamNode.hide();
    if (v.bHideTopViewCamera) v.cTopViewCamNode.hide();
    if (v.bHideFollowCamera) v.cFollowCamNode.hide();
}

}  // namespace ond::ovs::addon::rig
