// Finding the first number of a frame that is not finite.
#include <algorithm>
#include <cmath>

#include "stage/Stage.h"

namespace ond::stage {

namespace {

bool isFinite(const util::Matrix4& matrix) {
    for (int i = 0; i < 16; ++i)
        if (!std::isfinite(matrix[i])) return false;
    return true;
}

/// Whether a key of the present frame, or between it and the one before, is not finite.
bool isBroken(const Element& element, const Clock& clock) {
    const std::vector<TrackKey>& keys = element.track.keys;
    const double after = clock.time(clock.now - 1) + clock.snap();
    for (auto key = keys.rbegin(); key != keys.rend() && key->time > after; ++key)
        if (!isFinite(key->local)) return true;
    return keys.empty() && !isFinite(element.track.pose);
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
        if (!vehicle->armed) continue;
        for (const auto& element : scene.elements)
            if (element->vehicle == vehicle->name && !element->deleted && isBroken(*element, scene.clock))
                return Breakdown{scene.clock.now, "the transform of " + element->name, suspects(vehicle->dialog)};
        for (const auto& output : vehicle->outputs)
            if (!std::isfinite(output->current))
                return Breakdown{scene.clock.now, "the channel '" + output->name + "' of " + vehicle->name,
                                 suspects(vehicle->dialog)};
    }
    return std::nullopt;
}

std::string Breakdown::sentence() const {
    std::string text = "at frame " + std::to_string(frame) + " " + what + " became a number that is not finite";
    text += extremes.empty() ? "; no parameter stands at an end of its range" : "; look at ";
    for (std::size_t i = 0; i < extremes.size(); ++i) text += (i == 0 ? "'" : ", '") + extremes[i] + "'";
    return text + "; the frames before it are kept";
}

}  // namespace ond::stage
