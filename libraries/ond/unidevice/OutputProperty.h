// A live channel from a scene object to whatever the host connects to it.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "ond/unidevice/Property.h"

namespace ond::unidevice {

/// What an output channel is created from, through extension 41 of the host's interface.
struct OutputChannelRecord {
    std::string name;   ///< the channel's label
    std::int32_t type;  ///< 8: a double
};

/// Output channel. The host makes it, hands it out as Property*, keeps it beyond the scene object's release() and then
/// deletes it. The object stores, the host reads. Both know the class, so no slot is needed for store().
class OutputProperty : public Property {
  public:
    double current = 0.0;   ///< the value stored last
    double previous = 0.0;  ///< the value stored before it

    explicit OutputProperty(OutputChannelRecord record) : Property(std::move(record.name), record.type) {}

    /// The value stored last, unshaped.
    [[nodiscard]] double value() const override { return current; }

    void store(double v) {
        previous = current;
        current = v;
    }
};

}  // namespace ond::unidevice
