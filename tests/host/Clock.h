// The timeline: whole frames, from which seconds are derived.
#pragma once

#include <string>

namespace ond::test {

class Clock {
  public:
    explicit Clock(int framesPerSecond) : m_framesPerSecond(framesPerSecond) {}

    /// Seconds of a frame: frame / fps, so that the same frame has the same bits in every run.
    [[nodiscard]] double time(int frame) const { return static_cast<double>(frame) / m_framesPerSecond; }
    /// Length of a frame in seconds.
    [[nodiscard]] double step() const { return 1.0 / m_framesPerSecond; }
    /// Two times closer than this are one time: a millionth of a frame, seconds.
    [[nodiscard]] double snap() const { return 1e-6 * step(); }
    /// "@" and `time` in frames, rounded to a millionth.
    [[nodiscard]] std::string frames(double time) const;

    int now = 0;  ///< the frame that the timeline shows

  private:
    int m_framesPerSecond;
};

}  // namespace ond::test
