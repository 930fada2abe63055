// Finding the elements of a rig that is in the scene already, and making those that rigs of older versions lack.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CCarCamObject.h"
#include "rig/RigElements.h"

namespace ond::ovs::addon {

/// Binds the node of `id`, which is not at corners, to the element of its name and tells the element what it is. The
/// node's handle is null if the scene has no such element. Answers whether it has.
bool bind(CCarCamObject& vehicle, rig::ElementId id);

/// How the names of corner elements are formed.
enum class CornerNames {
    suffixed,  ///< "_FL", "_FR", "_BL", "_BR", and the bare name for one that follows these
    numbered,  ///< two digits, from 00 up; rigs of the oldest versions
};

/// Name of the element of a corner.
[[nodiscard]] std::string cornerElementName(const std::string& name, CornerNames names, std::uint32_t corner);

/// Most corners that binding looks for: those with a suffix and the bare name, or a bound for broken scenes.
[[nodiscard]] constexpr std::uint32_t mostCorners(CornerNames names) {
    return names == CornerNames::suffixed ? 5 : 100;
}

/// Fills `nodes` with one node per corner, for as long as the scene has an element of the corner's name. No number of
/// corners is presumed.
template <class Node>
void bindCorners(CCarCamObject& vehicle, std::vector<Node>& nodes, const std::string& name, CornerNames names) {
    for (std::uint32_t corner = 0; corner < mostCorners(names); ++corner) {
        MeshHandle* element = vehicle.hostInterface->findElement(cornerElementName(name, names, corner));
        if (element == nullptr) return;
        Node& node = nodes.emplace_back();
        node.parent = &vehicle;
        node.pMesh = element;
        node.iCorner = corner;
    }
}

/// Binds or makes what every load needs before it looks at the block. False if an element is missing that a rig of any
/// version has; what was bound until then stays bound.
[[nodiscard]] bool bindRig(CCarCamObject& vehicle);

/// Makes a base mesh for a rig that has none.
void makeBaseMesh(CCarCamObject& vehicle);

/// Makes a wheel centre suspension node for each wheel centre node.
void makeCenterSuspensions(CCarCamObject& vehicle);

}  // namespace ond::ovs::addon
