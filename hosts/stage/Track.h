// The local matrix of an element over time.
#pragma once

#include <vector>

#include "ond/util/Matrix4.h"

namespace ond::stage {

struct TrackKey {
    double time;          ///< seconds
    util::Matrix4 local;  ///< as it was set, to the bit
    long pass;            ///< which frame of which run wrote it; 0 for keys of the user
};

/// A constant pose, or keys in ascending time. Two keys closer than `snap` are one key.
///
/// Between two keys position and axis lengths run linearly and the rotation along the shorter arc; two equal neighbours
/// give themselves, to the bit. Outside the keys' range the outermost holds.
class Track {
  public:
    /// What at() gives while there are no keys.
    util::Matrix4 pose;
    std::vector<TrackKey> keys;

    [[nodiscard]] util::Matrix4 at(double time, double snap) const;
    /// The key within `snap` of `time`, or null.
    [[nodiscard]] TrackKey* keyAt(double time, double snap);
    /// Keys `local` at `time`; a key that is there (within `snap`) keeps its time.
    void setKey(double time, const util::Matrix4& local, double snap, long pass = 0);
    /// Whether there is a key at `time` or before it.
    [[nodiscard]] bool hasKeyUpTo(double time, double snap) const;
    /// Removes the keys strictly between the two times that are not of `pass`.
    void removeBetween(double after, double before, double snap, long pass);
    /// Removes the keys behind `time`.
    void removeBehind(double time, double snap);
};

}  // namespace ond::stage
