// Whether what came from a file or from a module can be calculated with.
#pragma once

#include <algorithm>
#include <cmath>

#include "ond/util/Matrix4.h"
#include "ond/util/Vector3.h"

namespace ond::stage {

[[nodiscard]] inline bool isFinite(const util::Vector3<double>& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

[[nodiscard]] inline bool isFinite(const util::Matrix4& matrix) {
    return std::all_of(matrix.m.begin(), matrix.m.end(), [](double number) { return std::isfinite(number); });
}

}  // namespace ond::stage
