// Something that an axis or a button of a device can drive, and the device's side of the wire.
#pragma once

#include <vector>

namespace ond::unidevice {

class ControlSource;
class Property;

/// An object that shows or edits a wire, a row of a dialog say. Registered with a ControlTarget, which clears the flag
/// when the wire is cut. It is the host's, and leaves ControlTarget::registered before it dies.
struct ControlObserver {
    bool bWired = false;
};

/// Base of Property. The host's thread only.
///
/// No destructor slot of its own: Property declares it as the last place of the table.
class ControlTarget {
  public:
    std::vector<ControlObserver*> registered;  ///< not owned; entries are not null
    ControlSource* source = nullptr;           ///< the axis that feeds this target; null while unwired. Not owned.

    ControlTarget(const ControlTarget&) = delete;
    ControlTarget& operator=(const ControlTarget&) = delete;

    // Slot 0.
    /// [any state] The axis `gone` goes away, or is unplugged from this target. Forgets it if it is the wired one, and
    /// clears the flag of every registered object in either case. The list of `gone` is the caller's affair.
    virtual void detach(ControlSource* gone);

  protected:
    ControlTarget() = default;
    ~ControlTarget() = default;
};

/// The device's side: one axis or button. Implemented and owned by the host.
class ControlSource {
  public:
    /// What this axis feeds, in the order of wiring. A dying Property takes itself off this list. Not owned.
    std::vector<Property*> properties;

    ControlSource() = default;
    ControlSource(const ControlSource&) = delete;
    ControlSource& operator=(const ControlSource&) = delete;

    // Slots 0 and 1.
    virtual void reserved0() {}
    virtual void reserved1() {}

    // Slot 2.
    /// [any state] Where the axis stands: -1 to 1 for two directions, 0 to 1 for one. Does not throw.
    [[nodiscard]] virtual double currentValue() = 0;

    // Slot 3, the last place: nothing virtual may be declared behind it.
    /// Unwires whatever is still wired.
    virtual ~ControlSource();

    /// Feeds `property` from this axis, and no longer from the one that fed it before.
    void wire(Property& property);
    /// Cuts the wire to `property`, if there is one.
    void unwire(Property& property);
};

}  // namespace ond::unidevice
