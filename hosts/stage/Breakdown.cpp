// Finding the first number of a frame that a take cannot hold.
#include <algorithm>
#include <cmath>

#include "stage/Stage.h"
#include "stage/TakeCheck.h"

namespace ond::stage {

namespace {

/// Whether a key of the frame, or between it and the one before, is none that a take holds.
bool isBroken(const Element& element, const Clock& clock, int frame) {
    const std::vector<TrackKey>& keys = element.track.keys;
    if (keys.empty()) return !fitsTake(element.track.pose);
    const double after = clock.time(frame - 1) + clock.snap();
    auto key = std::upper_bound(keys.begin(), keys.end(), clock.time(frame) + clock.snap(),
                                [](double time, const TrackKey& other) { return time < other.time; });
    while (key != keys.begin() && (--key)->time > after)
        if (!fitsTake(key->local)) return true;
    return false;
}

/// What of the vehicle itself, its elements apart, is a number that a take does not hold; empty if nothing is.
std::string brokenValue(const Vehicle& vehicle) {
    for (const auto& output : vehicle.outputs)
        if (!fitsTake(output->current)) return "the channel '" + output->name + "' of " + vehicle.name;
    for (std::size_t i = 0; i < vehicle.properties.size(); ++i)
        if (!fitsTake(vehicle.input(i)))
            return "the input of the channel '" + vehicle.properties[i]->name + "' of " + vehicle.name;
    for (const DialogItem& item : vehicle.dialog.items)
        if (item.kind != DialogItem::Kind::button && !fitsTake(item.value()))
            return "the value '" + item.label + "' of " + vehicle.name;
    return "";
}

/// The rows that a user has put to an end of their range; if there are none, all that are not as they were declared.
std::vector<std::string> suspects(const Dialog& dialog) {
    std::vector<std::string> extreme;
    std::vector<std::string> changed;
    for (const DialogItem& item : dialog.items) {
        if (item.kind == DialogItem::Kind::button || item.isGauge() || item.value() == item.initial) continue;
        changed.push_back(item.label);
        const bool ranged = item.kind != DialogItem::Kind::checkBox;
        if (ranged && (item.value() <= item.min || item.value() >= item.max)) extreme.push_back(item.label);
    }
    return extreme.empty() ? changed : extreme;
}

}  // namespace

std::optional<Breakdown> Stage::findBreakdown() const {
    for (const auto& vehicle : vehicles) {
        if (vehicle->life != Vehicle::Life::running) continue;
        for (const auto& element : scene.elements) {
            // Those of others belong to the run once it has written them.
            const bool own = element->vehicle == vehicle->name && !element->deleted;
            if ((own || scene.wrote(element->index)) && isBroken(*element, scene.clock, m_frame))
                return Breakdown{m_frame, "the transform of " + element->name, suspects(vehicle->dialog)};
        }
        const std::string what = brokenValue(*vehicle);
        if (!what.empty()) return Breakdown{m_frame, what, suspects(vehicle->dialog)};
    }
    return std::nullopt;
}

std::optional<Breakdown> Stage::findBrokenRow() const {
    for (std::size_t v = 0; v < vehicles.size() && v < curves.size(); ++v) {
        const double* row = vehicles[v]->life == Vehicle::Life::running ? curves[v].row(m_frame) : nullptr;
        for (std::size_t c = 0; row != nullptr && c < curves[v].columns.size(); ++c)
            if (!fitsTake(row[c]))
                return Breakdown{m_frame, "the curve '" + curves[v].columns[c].name + "' of " + vehicles[v]->name,
                                 suspects(vehicles[v]->dialog)};
    }
    return std::nullopt;
}

std::string Breakdown::sentence() const {
    std::string text = "at frame " + std::to_string(frame) + " " + what +
                       " became a number that is not finite or too large to be saved";
    text += extremes.empty() ? "; no parameter stands at an end of its range" : "; look at ";
    for (std::size_t i = 0; i < extremes.size(); ++i) text += (i == 0 ? "'" : ", '") + extremes[i] + "'";
    return text + "; the frames before it are kept";
}

}  // namespace ond::stage
