// The timeline: whole frames, from which seconds are derived.
#pragma once

#include <string>

#include "stage/FrameRate.h"

namespace ond::stage {

class Clock {
  public:
    explicit Clock(FrameRate frameRate) : rate(frameRate) {}

    /// Seconds of a frame; the same frame has the same bits in every run.
    [[nodiscard]] double time(int frame) const { return rate.time(frame); }
    /// Length of a frame in seconds.
    [[nodiscard]] double step() const { return rate.step(); }
    /// Two times closer than this are one time: a millionth of a frame, seconds.
    [[nodiscard]] double snap() const { return 1e-6 * step(); }
    /// "@" and `time` in frames, rounded to a millionth.
    [[nodiscard]] std::string frames(double time) const;

    const FrameRate rate;
    int now = 0;  ///< the frame that the timeline shows
};

}  // namespace ond::stage
