#include "stage/GroundMotion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace ond::stage {

namespace {

using util::Matrix4;
using util::Quat;
using V = util::Vector3<double>;
using Numbers = std::array<double, 4>;

std::size_t groupsOf(const GroundTrack& track) { return track.kind == GroundTrackKind::spline ? 3 : 1; }

void check(const GroundTrack& track, std::size_t width) {
    if (track.numbers.size() != track.times.size() * groupsOf(track) * width) {
        throw GroundError("a moving node has another number of keys than of key times; export the file again");
    }
    for (std::size_t i = 0; i < track.times.size(); ++i) {
        if (!std::isfinite(track.times[i]) || (i > 0 && !(track.times[i - 1] < track.times[i]))) {
            throw GroundError("the key times of a moving node do not ascend; export the file again");
        }
    }
    if (!std::all_of(track.numbers.begin(), track.numbers.end(), [](double n) { return std::isfinite(n); })) {
        throw GroundError("a key of a moving node has numbers that are not finite; export the file again");
    }
}

/// `group` is 0 for the tangent before key `key` of a spline, 1 for its value and 2 for the tangent behind it.
Numbers groupAt(const GroundTrack& track, std::size_t width, std::size_t key, std::size_t group) {
    Numbers result{};
    const std::size_t first = (key * groupsOf(track) + group) * width;
    for (std::size_t i = 0; i < width; ++i) result[i] = track.numbers[first + i];
    return result;
}

Numbers valueAt(const GroundTrack& track, std::size_t width, std::size_t key) {
    return groupAt(track, width, key, track.kind == GroundTrackKind::spline ? 1 : 0);
}

Quat<double> asQuat(const Numbers& n) { return {n[0], n[1], n[2], n[3]}; }

Numbers onLine(const Numbers& a, const Numbers& b, double u) {
    Numbers result{};
    for (std::size_t i = 0; i < 4; ++i) result[i] = a[i] + u * (b[i] - a[i]);
    return result;
}

Numbers onArc(const Numbers& a, const Numbers& b, double u) {
    const Quat<double> from = util::Normalized(asQuat(a));
    Quat<double> to = util::Normalized(asQuat(b));
    if (util::Dot4(from, to) < 0.0) util::Negate(to);
    const Quat<double> q = util::Slerp(from, to, u);
    return {q.x, q.y, q.z, q.w};
}

/// Cubic through both keys with the slopes that the file gives.
Numbers onSpline(const GroundTrack& track, std::size_t width, std::size_t key, double u) {
    const double span = track.times[key + 1] - track.times[key];
    const Numbers from = groupAt(track, width, key, 1);
    const Numbers leaving = groupAt(track, width, key, 2);
    const Numbers arriving = groupAt(track, width, key + 1, 0);
    const Numbers to = groupAt(track, width, key + 1, 1);
    const double u2 = u * u;
    const double u3 = u2 * u;
    Numbers result{};
    for (std::size_t i = 0; i < width; ++i) {
        result[i] = (2.0 * u3 - 3.0 * u2 + 1.0) * from[i] + span * (u3 - 2.0 * u2 + u) * leaving[i] +
                    (3.0 * u2 - 2.0 * u3) * to[i] + span * (u3 - u2) * arriving[i];
    }
    return result;
}

/// Of a track that has keys.
Numbers sample(const GroundTrack& track, std::size_t width, double time) {
    const auto next = std::upper_bound(track.times.begin(), track.times.end(), time);
    if (next == track.times.begin()) return valueAt(track, width, 0);
    const auto key = static_cast<std::size_t>(next - track.times.begin()) - 1;
    if (next == track.times.end() || track.times[key] == time || track.kind == GroundTrackKind::stepped) {
        return valueAt(track, width, key);
    }
    const double u = (time - track.times[key]) / (track.times[key + 1] - track.times[key]);
    if (track.kind == GroundTrackKind::spline) return onSpline(track, width, key, u);
    const Numbers a = valueAt(track, width, key);
    const Numbers b = valueAt(track, width, key + 1);
    return width == 4 ? onArc(a, b, u) : onLine(a, b, u);
}

V asVector(const Numbers& n) { return {n[0], n[1], n[2]}; }

}  // namespace

Matrix4 matrixOf(const GroundPose& pose) {
    const double squared = util::SquaredNorm(pose.rotation);
    if (!(squared > 0.0) || !std::isfinite(squared)) {
        throw GroundError("the rotation of a node is no direction; repair it and export the file again");
    }
    Matrix4 m = util::ToMatrix(util::Normalized(pose.rotation));
    m.setRow(0, m.row(0) * pose.scale.x);
    m.setRow(1, m.row(1) * pose.scale.y);
    m.setRow(2, m.row(2) * pose.scale.z);
    m.setRow(3, pose.translation);
    return m;
}

std::vector<GroundKey> mergeKeys(const GroundMotion& motion, const GroundPose& rest) {
    check(motion.translation, 3);
    check(motion.rotation, 4);
    check(motion.scale, 3);
    std::vector<double> times = motion.translation.times;
    times.insert(times.end(), motion.rotation.times.begin(), motion.rotation.times.end());
    times.insert(times.end(), motion.scale.times.begin(), motion.scale.times.end());
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end()), times.end());

    std::vector<GroundKey> keys;
    keys.reserve(times.size());
    for (const double time : times) {
        GroundPose pose = rest;
        if (!motion.translation.times.empty()) pose.translation = asVector(sample(motion.translation, 3, time));
        if (!motion.rotation.times.empty()) pose.rotation = asQuat(sample(motion.rotation, 4, time));
        if (!motion.scale.times.empty()) pose.scale = asVector(sample(motion.scale, 3, time));
        keys.push_back({time, matrixOf(pose)});
    }
    return keys;
}

}  // namespace ond::stage
