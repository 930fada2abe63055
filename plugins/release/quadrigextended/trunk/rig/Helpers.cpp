#include "rig/Helpers.h"

#include <algorithm>

#include "CCarCamObject.h"

namespace ond::ovs::addon::rig {

namespace {

/// Calls `visit` for every helper: single nodes first, then `corners` corners one by one.
template <class Visit>
void forEachHelper(CCarCamObject& v, std::size_t corners, Visit visit) {
    SceneNode* const single[] = {&v.cRelativeTurnBaseNode, &v.cSteeringWheelNode, &v.cGravityDirectionNode,
                                 &v.cBaseMeshNode,         &v.cCarBodyNode,       &v.cChassisRelocatorNode,
                                 &v.cTargetNode,           &v.cExternalForceNode};
    for (SceneNode* node : single) visit(*node);
    const auto visitCorner = [&](auto& nodes, std::size_t corner) {
        if (corner < nodes.size()) visit(nodes[corner]);
    };
    for (std::size_t corner = 0; corner < corners; ++corner) {
        visitCorner(v.aWheelNodes, corner);
        visitCorner(v.aWheelCenterNodes, corner);
        visitCorner(v.aWheelCenterSuspensionNodes, corner);
        visitCorner(v.aWheelRelocatorNodes, corner);
    }
}

std::size_t cornersWithWheel(const CCarCamObject& v) { return static_cast<std::size_t>(v.numCorners()); }

/// Hiding goes by the wheel centres: a corner without one keeps its wheel in sight.
std::size_t cornersWithCentre(const CCarCamObject& v) {
    return std::min<std::size_t>(v.aWheelCenterNodes.size(), kNumWheels);
}

}  // namespace

void showHelpers(CCarCamObject& vehicle) {
    forEachHelper(vehicle, cornersWithWheel(vehicle), [](SceneNode& node) { node.show(); });
}

void hideHelpers(CCarCamObject& vehicle) {
    forEachHelper(vehicle, cornersWithCentre(vehicle), [](SceneNode& node) { node.hide(); });
}

void setHelpersWireframe(CCarCamObject& vehicle, bool wireframe) {
    forEachHelper(vehicle, cornersWithWheel(vehicle), [wireframe](SceneNode& node) { node.setWireframe(wireframe); });
}

}  // namespace ond::ovs::addon::rig
