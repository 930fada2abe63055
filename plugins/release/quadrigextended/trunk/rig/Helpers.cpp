#include "rig/Helpers.h"

#include <algorithm>

#include "CCarCamObject.h"
#include "rig/RigElements.h"

namespace ond::ovs::addon::rig {

namespace {

/// Calls `visit` for every helper: those of the whole vehicle first, then `corners` corners one by one.
template <class Visit>
void forEachHelper(CCarCamObject& v, std::size_t corners, Visit visit) {
    for (const RigElement* helper : kHelpers)
        if (!helper->atCorners) visit(*helper->node(v, 0));
    for (std::uint32_t corner = 0; corner < corners; ++corner)
        for (const RigElement* helper : kHelpers) {
            SceneNode* node = helper->atCorners ? helper->node(v, corner) : nullptr;
            if (node != nullptr) visit(*node);
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
