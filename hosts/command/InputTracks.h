// Several inputs laid over each other: for each channel the topmost one that has it.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "command/Channels.h"
#include "command/DrivePlan.h"

namespace ond::command {

/// An axis over time: straight between the points, before the first and behind the last like these.
struct AxisCurve {
    std::vector<double> times;  ///< seconds, ascending; at least one
    std::vector<double> values;
    [[nodiscard]] double at(double seconds) const;
};

class InputTracks {
  public:
    InputTracks() = default;
    /// Reads the files of `plans`; a later plan wins over an earlier one for the channels that it has.
    /// @throws CommandError for files and values that are no input
    explicit InputTracks(const std::vector<TrackPlan>& plans);

    /// What the channel is given at a time since the input begins; nothing if no track has the channel.
    [[nodiscard]] std::optional<double> at(int channel, double seconds) const;
    [[nodiscard]] bool has(int channel) const { return m_curves[static_cast<std::size_t>(channel)].has_value(); }
    [[nodiscard]] bool empty() const;
    /// The last time of all logs and keys, whether another lies over them or not; 0 where all are constant.
    [[nodiscard]] double duration() const { return m_duration; }
    /// Sentences about what the user may not expect.
    [[nodiscard]] const std::vector<std::string>& notes() const { return m_notes; }

  private:
    void add(int channel, AxisCurve curve);
    void addLog(const TrackPlan& plan);

    std::array<std::optional<AxisCurve>, kNumChannels> m_curves;
    double m_duration = 0.0;
    std::vector<std::string> m_notes;
};

}  // namespace ond::command
