// One input of a vehicle as the model sees it: the device's number of the frame and the smoothed value made from it.
#pragma once

#include <string_view>

namespace ond::unidevice {

/// A plain record; the texts are literals with static storage, so that copying a channel never allocates.
struct InputChannel {
    bool bOneSided = false;         ///< device type 15, which only presses; false: type 14, which goes both ways
    std::string_view sName;         ///< label stem, also the channel's name towards the host
    std::string_view sDescription;  ///< tool tip stem
    double raw = 0.0;               ///< where the device stands in this frame: -1..1, or 0..1 when one-sided
    double value = 0.0;             ///< smoothed value in the channel's own unit
    double response = 1.0;          ///< share of the remaining distance per slice of up to 0.04 s; 0: no smoothing
    double maxRate = 1.0;           ///< handed to the filter, which ignores it
    double maximum = 1.0;           ///< where `value` ends up when the device is held at 1
};

}  // namespace ond::unidevice
