// Everything that a run starts from, kept so that the run can be driven again to the bit.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "stage/Track.h"

namespace ond::stage {

/// Which axis feeds an input channel. That of another program part, of a device say, counts as the channel's own axis:
/// what it gave is fed through that one when a run is driven again.
struct ChannelWire {
    bool wired = true;    ///< false: nothing feeds the channel
    std::string vehicle;  ///< that has the axis; empty for the vehicle of the channel
    std::string channel;  ///< whose axis it is there; empty for the channel's own
    friend bool operator==(const ChannelWire& a, const ChannelWire& b) {
        return a.wired == b.wired && a.vehicle == b.vehicle && a.channel == b.channel;
    }
};

/// How an input channel of a vehicle is tuned and wired; see unidevice::Property.
struct ChannelSettings {
    std::string name;
    double multiplier = 1.0;
    double deadZone = 0.1;
    double exponent = 1.3;
    double offset = 0.0;
    ChannelWire wire;
    friend bool operator==(const ChannelSettings& a, const ChannelSettings& b) {
        return a.name == b.name && a.multiplier == b.multiplier && a.deadZone == b.deadZone &&
               a.exponent == b.exponent && a.offset == b.offset && a.wire == b.wire;
    }
};

/// A vehicle between runs.
struct VehicleState {
    std::string name;
    bool armed = true;                   ///< takes part in runs
    std::vector<unsigned char> block;    ///< as saveState() gave it; empty if it never did
    std::map<std::string, double> rows;  ///< values of all dialog rows by label, for those that the block does not keep
    std::vector<ChannelSettings> channels;
};

/// What of an element changes between runs. Shapes do not.
struct ElementState {
    Track track;
    int parent = -1;            ///< place in Scene::elements; -1 for the root
    std::vector<int> children;  ///< places, in order
    bool deleted = false;
    bool shown = true;
};

struct Snapshot {
    std::vector<VehicleState> vehicles;
    std::vector<ElementState> elements;  ///< one per element of the scene, in its order
    int now = 0;                         ///< the frame that the timeline shows
};

/// A number for the content of a snapshot; equal content gives equal numbers on every machine. FNV-1a over all bits.
[[nodiscard]] std::uint64_t fingerprint(const Snapshot& snapshot);

}  // namespace ond::stage
