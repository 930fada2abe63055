// Keys of a moving node from the separate tracks of its translation, rotation and scale.
#pragma once

#include <vector>

#include "ond/util/Matrix4.h"
#include "ond/util/Quat.h"
#include "ond/util/Vector3.h"
#include "stage/GroundFile.h"

namespace ond::stage {

/// A node in its parent: scaled first, then turned, then moved.
struct GroundPose {
    util::Vector3<double> translation;
    util::Quat<double> rotation;
    util::Vector3<double> scale{1.0, 1.0, 1.0};
};

/// What the keys of a track say about the times between them.
enum class GroundTrackKind { linear, stepped, spline };

/// One of the three parts of a pose over time; without keys the part rests.
struct GroundTrack {
    GroundTrackKind kind = GroundTrackKind::linear;
    /// Seconds, ascending.
    std::vector<double> times;
    /// For each key 3 numbers, or the 4 of a quaternion (scalar part last). In a spline each key has three such
    /// groups: the tangent before it, the value and the tangent behind it, tangents per second.
    std::vector<double> numbers;
};

struct GroundMotion {
    GroundTrack translation;
    GroundTrack rotation;
    GroundTrack scale;
};

/// Of `pose`. A rotation of length 0 has no direction: throws GroundError.
[[nodiscard]] util::Matrix4 matrixOf(const GroundPose& pose);

/// One key for each time at which any track has one. A track is followed by its kind, rotations along the shorter arc;
/// before its first and behind its last key it holds. Parts without a track are those of `rest`.
///
/// Throws GroundError, without the name of the file, if a track's times do not ascend or its numbers are too few.
[[nodiscard]] std::vector<GroundKey> mergeKeys(const GroundMotion& motion, const GroundPose& rest);

}  // namespace ond::stage
