// A transform as the three parts that scene files and tables know: place, rotation and axis lengths.
#pragma once

#include "ond/util/Matrix4.h"
#include "ond/util/Quat.h"
#include "ond/util/Vector3.h"

namespace ond::stage {

struct PoseParts {
    util::Vector3<double> translation;
    util::Quat<double> rotation;  ///< unit, w >= 0
    util::Vector3<double> scale{1.0, 1.0,
                                1.0};  ///< x is negative for a mirrored transform; 0 for an axis without length
};

/// The parts of a finite matrix. One that is sheared gives the nearest rotation and the axis lengths along it; the
/// fourth numbers of the groups do not count.
[[nodiscard]] PoseParts partsOf(const util::Matrix4& matrix);

/// Translation * rotation * scale.
[[nodiscard]] util::Matrix4 matrixOf(const PoseParts& parts);

}  // namespace ond::stage
