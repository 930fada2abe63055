#include "rig/Helpers.h"

#include "CCarCamObject.h"

namespace ond::ovs::addon::rig {

namespace {

/// Calls `visit` for every helper in the order of the rig: single nodes first, then corner by corner.
template <class Visit>
void forEachHelper(CCarCamObject& v, Visit visit) {
    SceneNode* const single[] = {&v.cRelativeTurnBaseNode, &v.cSteeringWheelNode, &v.cGravityDirectionNode,
                                 &v.cBaseMeshNode,         &v.cCarBodyNode,       &v.cChassisRelocatorNode,
                                 &v.cTargetNode,           &v.cExternalForceNode};
    for (SceneNode* node : single) visit(*node);
    const auto visitCorner = [&](auto& nodes, std::size_t corner) {
        if (corner < nodes.size()) visit(nodes[corner]);
    };
    for (std::size_t corner = 0; corner < static_cast<std::size_t>(v.numCorners()); ++corner) {
        visitCorner(v.aWheelNodes, corner);
        visitCorner(v.aWheelCenterNodes, corner);
        visitCorner(v.aWheelCenterSuspensionNodes, corner);
        visitCorner(v.aWheelRelocatorNodes, corner);
    }
}

}  // namespace

void showHelpers(CCarCamObject& vehicle) {
    forEachHelper(vehicle, [](SceneNode& node) { node.show(); });
}

void hideHelpers(CCarCamObject& vehicle) {
    forEachHelper(vehicle, [](SceneNode& node) { node.hide(); });
}

void setHelpersWireframe(CCarCamObject& vehicle, bool wireframe) {
    forEachHelper(vehicle, [wireframe](SceneNode& node) { node.setWireframe(wireframe); });
}

}  // namespace ond::ovs::addon::rig
