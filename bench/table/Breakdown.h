// Where the time of a frame goes.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "table/RecordingHost.h"
#include "table/SteppedFrame.h"

namespace ond::bench::table {

struct Settings;

/// The frame of a vehicle in one way of casting, default settings. Times are microseconds of a frame, medians.
struct FrameParts {
    std::string name;
    double whole = 0.0;                                ///< the vehicle's own frame
    std::array<double, kSteps> steps{};                ///< of a frame that was driven step by step
    double host = 0.0;                                 ///< inside the host, in all steps together
    std::array<double, HostMeter::kinds> hostCalls{};  ///< in a frame
    std::vector<std::string> faults;                   ///< why this cannot be trusted

    [[nodiscard]] double sum() const;
};

[[nodiscard]] std::vector<FrameParts> takeFramesApart(const Settings& settings);

}  // namespace ond::bench::table
