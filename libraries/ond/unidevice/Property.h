// Input channels: how the axis of a device reaches a scene object while it is being moved.
#pragma once

#include <cstdint>
#include <string>

#include "ond/unidevice/ControlTarget.h"
#include "ond/util/xml/Element.h"

namespace ond::unidevice {

/// Input channel: reads one axis, if it is wired to one, and shapes what it reads.
///
/// Made by the host through a Factory, owned by it, and deleted by it after the release of the scene object. That
/// object reads value() in every frame and may set the tuning fields; the host's dialog may set them too, at any time.
/// Slot 0 is ControlTarget::detach().
class Property : public ControlTarget {
  public:
    class Factory;

    std::string name;          ///< the channel's label
    std::string hostText;      ///< the host's own
    std::int32_t type;         ///< 14: two directions, 15: one direction
    double multiplier = 1.0;   ///< scales the result
    double exponent = 1.0;     ///< bends the travel; 1 is straight, above 1 is finer around rest
    double deadZone = 0.1;     ///< how far around rest nothing happens, from 0 to below 1 of the travel
    double offset = 0.0;       ///< added last
    util::xml::Data hostData;  ///< settings that the host keeps with the channel

    Property(std::string channelName, std::int32_t channelType);

    // Slot 1.
    /// [any state] The shaped device value: sign(x) * (max(|x| - deadZone, 0) / (1 - deadZone)) ^ exponent * multiplier
    /// + offset, with x = 0 while unwired. Not limited to a range.
    [[nodiscard]] virtual double value() const;

    // Slot 2, the last place: nothing virtual may be declared behind it.
    /// [any state] Takes itself off the list of the axis that feeds it. For the owner only.
    virtual ~Property();
};

/// Makes channels of this module's class on behalf of the host. No data; never deleted by whom it is passed to.
class Property::Factory final {
  public:
    // Slot 0, the only one.
    /// [declared] A new Property, owned by the caller. Does not throw.
    /// @return null if none could be allocated
    [[nodiscard]] virtual Property* create(std::string channelName, std::int32_t channelType);
};

}  // namespace ond::unidevice
