// Handle of an element in the host's scene.
#pragma once

#include <cstdint>
#include <string>

namespace ond::ovs {

/// An element (mesh or camera) of the scene as the host gives it out. Implemented and owned by the host.
///
/// A handle stays a valid object until the scene object it was given to is released, also when the user deletes the
/// element. A deleted element answers: no parent, no children, not shown, no transform object, no surface object; all
/// else has no effect. Comparing two handles by address does not compare elements.
/// Operations may be called in any state but [created], see CInterface.h.
class MeshHandle {
  public:
    MeshHandle() = default;
    MeshHandle(const MeshHandle&) = delete;
    MeshHandle& operator=(const MeshHandle&) = delete;

    // Slot 0.
    /// [declared, rigged, running] Runs the extension `id` on the element. Numbers in use:
    ///   17  sent with null after the creation of an element that users may hang other things on
    ///   57  sent with null to each wheel relocator after its creation
    ///   31  `argument` is another MeshHandle; answers null unless this element is that one or lies below it
    /// Only 31 is asked for with hasExtension() first; the host takes 17 and 57 as it likes.
    /// @return the extension's answer; null for a number that the host does not know, which has no effect
    virtual void* callExtension([[maybe_unused]] std::uint32_t id, [[maybe_unused]] void* argument) { return nullptr; }

    // Slot 1.
    virtual void reserved1() {}

    // Slot 2.
    /// [declared, rigged, running] Whether the host knows extension `id`.
    [[nodiscard]] virtual bool hasExtension([[maybe_unused]] std::uint32_t id) { return false; }

    // Slot 3.
    /// [declared, rigged, running] Makes the element visible. Views are redrawn by CInterface::redrawViews().
    virtual void show() = 0;

    // Slot 4.
    /// [declared, rigged, running] Makes the element invisible; it stays in the scene and keeps its transform.
    virtual void hide() = 0;

    // Slot 5.
    /// [declared, rigged, running] The element's own visibility.
    [[nodiscard]] virtual bool isShown() = 0;

    // Slot 6.
    /// [declared] Sent once to the root element of a new rig, when its elements but the last camera exist. The host may
    /// take it as the sign to select the rig, say; nothing is expected of it.
    virtual void rigBuilt() {}

    // Slot 7.
    virtual void reserved7() {}

    // Slot 8.
    /// [declared, rigged, running] The parent element, null at the root of the scene.
    /// The handle is the host's; releaseHandle() may give it back early.
    [[nodiscard]] virtual MeshHandle* getParent() = 0;

    // Slot 9.
    /// [declared, rigged, running] Number of direct children, 0 or more.
    [[nodiscard]] virtual std::int32_t getNumChildren() = 0;

    // Slot 10.
    /// [declared, rigged, running] A child. Pre: 0 <= `index` < getNumChildren(). May be null, which callers skip.
    /// The handle is the host's; releaseHandle() may give it back early.
    [[nodiscard]] virtual MeshHandle* getChild(std::int32_t index) = 0;

    // Slot 11.
    /// [declared, rigged, running] Returns what getParent() or getChild() of this element gave, or null.
    /// Post: the caller does not use `handle` again. A courtesy, which a host cannot rely on.
    virtual void releaseHandle([[maybe_unused]] MeshHandle* handle) {}

    // Slot 12.
    /// [declared, rigged, running] The name under which users find it in the scene, as a string of the caller's own.
    [[nodiscard]] virtual std::string getName() = 0;

    // Slot 13, the last place: nothing virtual may be declared behind it.
    /// For the host only.
    virtual ~MeshHandle() = default;
};

}  // namespace ond::ovs
