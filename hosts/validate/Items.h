// What an object declares to its host: the rows of its dialog and its channels.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ond/ovs/CInterface.h"
#include "ond/unidevice/OutputProperty.h"
#include "ond/unidevice/Property.h"

namespace ond::validate {

/// A row of the dialog.
struct Item {
    enum class Kind { integer, number, checkBox, button };

    Kind kind = Kind::number;
    std::string group, label, description;
    void* field = nullptr;  ///< of the object; null for a button
    double initial = 0.0;   ///< of the field when it was declared
    double min = 0.0, max = 1.0, step = 0.0;
    bool converted = false;  ///< shown through a converter
    ovs::CInterface::Callback* callback = nullptr;

    [[nodiscard]] bool hasValue() const { return kind != Kind::button; }
    [[nodiscard]] double value() const;
    void write(double value) const;
};

[[nodiscard]] const char* nameOf(Item::Kind kind);

/// The device's side of an input channel.
class Axis final : public unidevice::ControlSource {
  public:
    double position = 0.0;
    int reads = 0;
    [[nodiscard]] double currentValue() override {
        ++reads;
        return position;
    }
};

/// A channel that this host makes in place of the module's factory, to see whether the module keeps its hands off it.
class WatchedChannel final : public unidevice::Property {
  public:
    /// @param deleted set when the channel is destroyed; outlives it
    WatchedChannel(std::string channelName, std::int32_t channelType, bool& deleted)
        : Property(std::move(channelName), channelType), m_deleted(deleted) {}
    ~WatchedChannel() override { m_deleted = true; }

  private:
    bool& m_deleted;
};

}  // namespace ond::validate
