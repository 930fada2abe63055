// One input of a vehicle as the model sees it: the device's number of the frame and the smoothed value made from it.
#pragma once

#include <string_view>

namespace ond::unidevice {

/// A plain record; the texts are literals with static storage, so that copying a channel never allocates.
struct InputChannel {
    bool bOneSided = false;         ///< one direction only (device type 15) rather than two (device type 14)
    std::string_view sName;         ///< label stem, also the channel's name towards the host
    std::string_view sDescription;  ///< tool tip stem
    double raw = 0.0;               ///< device value of the frame, dimensionless; -1..1, or 0..1 when one-sided
    double value = 0.0;             ///< smoothed value in the channel's own unit
    double response = 1.0;          ///< share of the distance covered per 0.04 s; 0 means no smoothing
    double maxRate = 1.0;           ///< handed to the filter, which ignores it
    double maximum = 1.0;           ///< `value` that a `raw` of 1 asks for
};

}  // namespace ond::unidevice
