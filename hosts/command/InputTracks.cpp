#include "command/InputTracks.h"

#include <algorithm>

#include "command/InputLog.h"
#include "command/Nearest.h"

namespace ond::command {

double AxisCurve::at(double seconds) const {
    const auto behind = std::upper_bound(times.begin(), times.end(), seconds);
    if (behind == times.begin()) return values.front();
    if (behind == times.end()) return values.back();
    const auto i = static_cast<std::size_t>(behind - times.begin());
    const double part = (seconds - times[i - 1]) / (times[i] - times[i - 1]);
    // Rounding must not lead out of the axis.
    const auto [low, high] = std::minmax(values[i - 1], values[i]);
    return std::clamp(values[i - 1] + (values[i] - values[i - 1]) * part, low, high);
}

InputTracks::InputTracks(const std::vector<TrackPlan>& plans) {
    for (const TrackPlan& plan : plans) {
        if (!plan.file.empty()) {
            addLog(plan);
            continue;
        }
        AxisCurve curve;
        for (const auto& [time, value] : plan.keys) {
            checkAxis(plan.channel, value, plan.where);
            curve.times.push_back(time + plan.offset);
            curve.values.push_back(value);
        }
        add(plan.channel, std::move(curve));
    }
}

void InputTracks::addLog(const TrackPlan& plan) {
    InputLog log = readInputLog(plan.file, plan.columns, plan.scale);
    for (double& time : log.times) time += plan.offset;
    for (auto& [channel, values] : log.values) add(channel, {log.times, std::move(values)});
    if (!log.unused.empty())
        m_notes.push_back(plan.file + ": nothing is fed by the column" + (log.unused.size() == 1 ? " " : "s ") +
                          enumerated(log.unused));
}

void InputTracks::add(int channel, AxisCurve curve) {
    if (curve.times.size() > 1) m_duration = std::max(m_duration, curve.times.back());
    m_curves[static_cast<std::size_t>(channel)] = std::move(curve);
}

std::optional<double> InputTracks::at(int channel, double seconds) const {
    const auto& curve = m_curves[static_cast<std::size_t>(channel)];
    return curve ? std::optional<double>(curve->at(seconds)) : std::nullopt;
}

bool InputTracks::empty() const {
    return std::none_of(m_curves.begin(), m_curves.end(), [](const auto& curve) { return curve.has_value(); });
}

}  // namespace ond::command
