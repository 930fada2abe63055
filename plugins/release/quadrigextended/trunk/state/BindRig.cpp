#include "state/BindRig.h"

#include "ond/util/CMesh_Box.h"

namespace ond::ovs::addon {

bool bind(rig::SceneNode& node) {
    node.pMesh = node.parent->hostInterface->findElement(node.sName);
    return node.pMesh != nullptr;
}

void sendExtension(const rig::SceneNode& node, std::uint32_t id) {
    if (node.pMesh != nullptr) node.pMesh->callExtension(id, nullptr);
}

std::string cornerElementName(const std::string& name, CornerNames names, std::uint32_t corner) {
    if (names == CornerNames::suffixed) return name + rig::cornerSuffix(corner);
    return name + (corner < 10 ? "0" : "") + std::to_string(corner);
}

bool bindRig(CCarCamObject& v) {
    if (!bind(v.cGravityDirectionNode)) return false;
    sendExtension(v.cGravityDirectionNode, kAttachableExtension);
    if (!bind(v.cTopViewCamNode)) return false;
    sendExtension(v.cTopViewCamNode, kAttachableExtension);
    if (!bind(v.cRelativeTurnBaseNode)) return false;
    if (!bind(v.cCarBodyNode)) return false;
    if (!bind(v.cSteeringWheelNode)) v.cSteeringWheelNode.create();
    if (!v.cCarBodyNode.isShown()) v.cSteeringWheelNode.hide();
    if (!bind(v.cDriverCamNode)) return false;
    sendExtension(v.cDriverCamNode, kAttachableExtension);
    if (!bind(v.cFollowCamNode)) return false;
    if (!bind(v.cExternalForceNode)) v.cExternalForceNode.create();
    sendExtension(v.cExternalForceNode, kAttachableExtension);
    return true;
}

void makeBaseMesh(CCarCamObject& v) {
    rig::CBaseMeshNode& node = v.cBaseMeshNode;
    const util::CMesh mesh = util::CMesh_Box(0.5, 0.5, 0.5) * util::Scaling(0.12);
    node.pMesh = v.hostInterface->createMeshElement(node.sName, v.cCarBodyNode.pMesh, &mesh, 0);
    node.hide();
    writeWorldMatrix(node, readWorldMatrix(v.cGravityDirectionNode, 0.0), 0.0);
    setAppearance(node, {0.8784314f, 0.8784314f, 0.3372549f}, v.bWireframeMode);
    node.hide();
}

void makeCenterSuspensions(CCarCamObject& v) {
    for (std::size_t i = 0; i < v.aWheelCenterNodes.size(); ++i) {
        rig::CWheelCenterSuspensionNode& node = v.aWheelCenterSuspensionNodes.emplace_back();
        node.parent = &v;
        node.createAtCorner(static_cast<std::uint32_t>(i));
        if (!v.cCarBodyNode.isShown()) node.hide();
    }
}

}  // namespace ond::ovs::addon
