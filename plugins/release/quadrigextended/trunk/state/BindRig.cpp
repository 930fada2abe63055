#include "state/BindRig.h"

namespace ond::ovs::addon {

using rig::ElementId;

bool bind(CCarCamObject& v, ElementId id) {
    const rig::RigElement& element = rig::rigElement(id);
    rig::SceneNode& node = *element.node(v, 0);
    node.pMesh = v.hostInterface->findElement(node.sName);
    sendExtension(node, element.whenBound);
    return node.pMesh != nullptr;
}

std::string cornerElementName(const std::string& name, CornerNames names, std::uint32_t corner) {
    if (names == CornerNames::suffixed) return name + rig::cornerSuffix(corner);
    return name + (corner < 10 ? "0" : "") + std::to_string(corner);
}

bool bindRig(CCarCamObject& v) {
    for (const ElementId id :
         {ElementId::gravityDirection, ElementId::topViewCam, ElementId::turnBase, ElementId::carBody})
        if (!bind(v, id)) return false;
    if (!bind(v, ElementId::steeringWheel)) buildElement(v, ElementId::steeringWheel);
    if (!v.cCarBodyNode.isShown()) v.cSteeringWheelNode.hide();
    for (const ElementId id : {ElementId::driverCam, ElementId::followCam})
        if (!bind(v, id)) return false;
    if (!bind(v, ElementId::externalForce)) {
        buildElement(v, ElementId::externalForce);
        sendExtension(v.cExternalForceNode, rig::rigElement(ElementId::externalForce).whenBound);
    }
    return true;
}

void makeBaseMesh(CCarCamObject& v) {
    rig::CBaseMeshNode& node = v.cBaseMeshNode;
    makeElement(node, ElementId::baseMesh);
    node.hide();
    writeWorldMatrix(node, readWorldMatrix(v.cGravityDirectionNode, 0.0), 0.0);
    colourElement(node, ElementId::baseMesh);
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
