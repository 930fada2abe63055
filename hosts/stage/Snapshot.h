// Everything that a run starts from, kept so that the run can be driven again to the bit.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "stage/Track.h"

namespace ond::stage {

/// How an input channel of a vehicle is tuned; see unidevice::Property.
struct ChannelSettings {
    std::string name;
    double multiplier = 1.0;
    double deadZone = 0.1;
    double exponent = 1.3;
    double offset = 0.0;
    friend bool operator==(const ChannelSettings& a, const ChannelSettings& b) {
        return a.name == b.name && a.multiplier == b.multiplier && a.deadZone == b.deadZone &&
               a.exponent == b.exponent && a.offset == b.offset;
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
