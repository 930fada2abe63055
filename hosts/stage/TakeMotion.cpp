#include "stage/TakeMotion.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "stage/PoseParts.h"

namespace ond::stage {

using util::Quat;

namespace {

/// Parts of a frame that count as the frame itself; the same as in a track.
constexpr double kSnap = 1e-6;
/// Cosine of half the angle, 0.01 radians, below which a straight way between two rotations is the arc.
constexpr double kStraight = 0.9999875;

struct KeyTime {
    float seconds = 0.0F;
    bool wholeFrame = false;
};

KeyTime timeOf(const TrackKey& key, FrameRate rate, int origin) {
    const int frame = rate.nearest(key.time);
    const bool whole = std::abs(key.time - rate.time(frame)) <= kSnap * rate.step();
    const double seconds = whole ? rate.time(frame - origin) : key.time - rate.time(origin);
    return {static_cast<float>(seconds), whole};
}

bool isArc(const TrackKey& a, const TrackKey& b) {
    return std::abs(util::Dot4(partsOf(a.local).rotation, partsOf(b.local).rotation)) < kStraight;
}

/// The track with keys at the frames inside of its arcs.
Track withArcs(const Track& track, FrameRate rate) {
    const double snap = kSnap * rate.step();
    Track whole;
    std::size_t added = 0;
    for (std::size_t i = 0; i < track.keys.size(); ++i) {
        whole.keys.push_back(track.keys[i]);
        if (i + 1 == track.keys.size()) break;
        const double from = track.keys[i].time + snap;
        const double to = track.keys[i + 1].time - snap;
        if (to - from < rate.step() / 2.0 || !isArc(track.keys[i], track.keys[i + 1])) continue;
        for (int frame = rate.nearest(from); rate.time(frame) < to; ++frame) {
            if (rate.time(frame) <= from) continue;
            if (++added > kMostAddedKeys) return track;
            whole.keys.push_back({rate.time(frame), track.at(rate.time(frame), snap), 0});
        }
    }
    return whole;
}

/// The keys that stay, by their places, with their times.
std::vector<std::size_t> distinctKeys(const Track& track, FrameRate rate, int origin, std::vector<float>* times) {
    std::vector<std::size_t> kept;
    bool lastIsWhole = false;
    for (std::size_t i = 0; i < track.keys.size(); ++i) {
        const KeyTime time = timeOf(track.keys[i], rate, origin);
        const bool collides = !kept.empty() && time.seconds <= times->back();
        if (collides && lastIsWhole && !time.wholeFrame) continue;
        if (collides)
            kept.back() = i;
        else {
            kept.push_back(i);
            times->push_back(time.seconds);
        }
        lastIsWhole = time.wholeFrame;
    }
    return kept;
}

void add(std::vector<float>& list, std::initializer_list<double> numbers) {
    for (const double number : numbers) list.push_back(static_cast<float>(number));
}

bool changes(const std::vector<float>& list, std::size_t width) {
    for (std::size_t i = width; i < list.size(); ++i)
        if (list[i] != list[i - width]) return true;
    return false;
}

}  // namespace

TakeMotion motionOf(const Track& sparse, FrameRate rate, int origin) {
    const Track track = withArcs(sparse, rate);
    TakeMotion motion;
    Quat<double> last;
    for (const std::size_t i : distinctKeys(track, rate, origin, &motion.times)) {
        const PoseParts parts = partsOf(track.keys[i].local);
        Quat<double> rotation = parts.rotation;
        if (!motion.rotations.empty() && util::Dot4(last, rotation) < 0.0) util::Negate(rotation);
        last = rotation;
        add(motion.translations, {parts.translation.x, parts.translation.y, parts.translation.z});
        add(motion.rotations, {rotation.x, rotation.y, rotation.z, rotation.w});
        add(motion.scales, {parts.scale.x, parts.scale.y, parts.scale.z});
    }
    motion.moves = changes(motion.translations, 3);
    motion.turns = changes(motion.rotations, 4);
    motion.resizes = changes(motion.scales, 3);
    return motion;
}

}  // namespace ond::stage
