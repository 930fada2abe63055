// The one list of what a rig consists of: every element with its name, its place in the tree, its look and where it
// stands when it is made. Building, binding, hiding and showing all take the elements from here.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "rig/SceneNode.h"

namespace ond::ovs::addon::rig {

/// The elements in the order in which a rig is built: parents first, the four of a corner together, and the follow
/// camera last, because it starts from where the turn base stands.
enum class ElementId : std::size_t {
    carBody,
    chassisRelocator,
    target,
    wheelRelocator,
    wheel,
    wheelCenterSuspension,
    wheelCenter,
    turnBase,
    steeringWheel,
    gravityDirection,
    baseMesh,
    externalForce,
    topViewCam,
    driverCam,
    followCam,
    none,  ///< the root of the scene, where a parent is meant
};
constexpr auto kNumElements = static_cast<std::size_t>(ElementId::none);

/// Extensions that are sent to elements, see MeshHandle::callExtension(): the user may attach the element to other
/// things; the element places a wheel, or once a chassis.
constexpr std::uint32_t kNoExtension = 0;
constexpr std::uint32_t kAttachableExtension = 17;
constexpr std::uint32_t kRelocatorExtension = 57;

struct RigElement {
    std::string_view name;  ///< without the vehicle's name and without suffix
    ElementId parent = ElementId::none;
    bool atCorners = false;  ///< one per corner, with the corner's suffix and below the parent of the same corner

    /// The node; null where the rig lacks the corner. Elements that are not at corners do not look at `corner`.
    SceneNode* (*node)(CCarCamObject& vehicle, std::uint32_t corner) = nullptr;

    std::uint32_t whenMade = kNoExtension;   ///< sent by the element's create()
    std::uint32_t whenBuilt = kNoExtension;  ///< sent after create() by who builds a rig
    std::uint32_t whenBound = kNoExtension;  ///< sent to an element that the scene has already

    /// Its mesh, in the element's own space; null for a camera.
    util::CMesh (*mesh)(const CCarCamObject& vehicle, std::uint32_t corner) = nullptr;
    Colour colour{};                   ///< of a mesh
    bool followsWireframeMode = true;  ///< else solid when made

    bool placedInWorld = false;  ///< `place` is a world matrix, else a local one
    /// Where it stands when it is made at the time `now`.
    Matrix4 (*place)(CCarCamObject& vehicle, std::uint32_t corner, double now) = nullptr;

    int helper = 0;  ///< its turn, from 1, when helpers are shown or hidden; 0 for cameras, which are no helpers
};

/// All elements, by ElementId.
extern const std::array<RigElement, kNumElements> kRigElements;

/// The helpers in their turn: those of the whole vehicle, and behind them those of a corner.
extern const std::array<const RigElement*, 12> kHelpers;

[[nodiscard]] inline const RigElement& rigElement(ElementId id) { return kRigElements[static_cast<std::size_t>(id)]; }

/// What the node of an element is called.
[[nodiscard]] inline std::string elementName(ElementId id) { return std::string(rigElement(id).name); }

/// Sends extension `id` to the element of `node`, if there is both.
void sendExtension(const SceneNode& node, std::uint32_t id);

// The steps of a create(), in their order. `corner` has a meaning for elements at corners only.

/// Has the host make the element and tells it what it is.
void makeElement(SceneNode& node, ElementId id, std::uint32_t corner = 0);
/// Puts the element where it stands first. Gives 0, or 1 without an element.
int placeElement(const SceneNode& node, ElementId id, double now, std::uint32_t corner = 0);
/// Gives a mesh its colour and the wireframe mode.
void colourElement(const SceneNode& node, ElementId id);

/// All steps, at the host's current time.
void createElement(SceneNode& node, ElementId id, std::uint32_t corner = 0);

/// Creates an element that is not at corners, and sends it what it is sent in the building of a rig.
void buildElement(CCarCamObject& vehicle, ElementId id);

}  // namespace ond::ovs::addon::rig
