// What the vehicle reports while it is driven: the read-outs of the dialog and the output channels.
#pragma once

#include <array>
#include <string_view>

#include "ond/unidevice/Property.h"

namespace ond::ovs::addon {

class CCarCamObject;

/// Sets the three read-outs of what the car can do: its maximum velocity and its seconds to 100 and to 60, boosters
/// left aside. `length`: the car's length in scene units, > 0.
void updateMaximumGauges(CCarCamObject& vehicle, double length);

/// Last act of a run's frame: sets both velocity read-outs, the absolute one from the key at `time`, the relative one
/// from the live channel.
void updateVelocityGauges(CCarCamObject& vehicle, double time);

/// Sets both velocity read-outs from the key at `time`, for a timeline that is looked at between runs.
void updateIdleGauges(CCarCamObject& vehicle, double time);

/// An output channel and what it tells.
struct OutputRow {
    std::string_view name;
    double (*value)(const CCarCamObject& vehicle);
};

/// All output channels, in the order of CCarCamObject::aOutputProperties.
extern const std::array<OutputRow, 7> kOutputs;

/// Stores the current value into `channel` if that is one of the vehicle's; anything else, also null, is ignored.
void storeOutput(CCarCamObject& vehicle, unidevice::Property* channel);

/// The same for all of the vehicle's channels, in order.
void storeOutputs(CCarCamObject& vehicle);

}  // namespace ond::ovs::addon
