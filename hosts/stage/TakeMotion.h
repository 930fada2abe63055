// The keys of an element as a glTF animation holds them.
#pragma once

#include <vector>

#include "stage/FrameRate.h"
#include "stage/Track.h"

namespace ond::stage {

/// Flat lists with one entry per key, in single precision.
struct TakeMotion {
    std::vector<float> times;         ///< seconds, strictly ascending
    std::vector<float> translations;  ///< 3 numbers each
    std::vector<float> rotations;     ///< x y z w; neighbours on one hemisphere
    std::vector<float> scales;        ///< 3 numbers each
    bool moves = false;               ///< not all translations are equal
    bool turns = false;
    bool resizes = false;
};

constexpr int kMostAddedKeys = 20000;

/// The motion of a track with keys.
///
/// Where a rotation runs over several frames from one key to the next it gets keys at the frames between them as well,
/// since not every tool interpolates rotations along the arc; except in a track that would get more than kMostAddedKeys
/// by that. The time of a key at a whole frame comes from the number of the frame. Of keys that fall on one time in
/// single precision the one at a whole frame stays, else the later.
/// @param origin the frame that stands at second 0
[[nodiscard]] TakeMotion motionOf(const Track& track, FrameRate rate, int origin);

}  // namespace ond::stage
