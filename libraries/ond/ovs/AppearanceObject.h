// Access to how an element is drawn.
#pragma once

namespace ond::ovs {

/// Appearance of an element. Implemented and owned by the host; valid until CInterface::releaseAppearanceObject(),
/// which the caller owes within the same function. On creation of an element the order is useOwnColour(true),
/// setColour(), setWireframe().
class AppearanceObject {
  public:
    AppearanceObject() = default;
    AppearanceObject(const AppearanceObject&) = delete;
    AppearanceObject& operator=(const AppearanceObject&) = delete;

    // Slots 0 to 3.
    virtual void reserved0() {}
    virtual void reserved1() {}
    virtual void reserved2() {}
    virtual void reserved3() {}

    // Slot 4.
    /// [declared, rigged, running] With true the element asks not to be drawn in a colour of its layer, say, but in the
    /// one that setColour() is about to give it.
    virtual void useOwnColour(bool on) = 0;

    // Slot 5.
    /// [declared, rigged, running] Draws the element as wireframe, or solid.
    virtual void setWireframe(bool on) = 0;

    // Slot 6.
    /// [declared, rigged, running] Colour of the element, each component 0 to 1.
    virtual void setColour(float red, float green, float blue) = 0;

    // Slot 7, the last place: nothing virtual may be declared behind it.
    /// For the host only.
    virtual ~AppearanceObject() = default;
};

}  // namespace ond::ovs
