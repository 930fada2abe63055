// The path that the target of an autonomous vehicle takes.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ond/util/Vector3.h"

namespace ond::command {

struct TargetPath {
    std::vector<double> times;  ///< seconds since the drive begins, ascending
    std::vector<util::Vector3<double>> points;

    /// Straight between the points; the ends hold.
    [[nodiscard]] util::Vector3<double> at(double seconds) const;
    [[nodiscard]] double duration() const { return times.back(); }
};

/// A table with the columns x, y and z (or x_m, y_m, z_m). A column "time" says when the target is where; without one
/// it goes along the points at `speed`, or at the speed of a column "speed" or "speed_mps" at each point, or else at
/// 10 units per second.
/// @throws CommandError for tables that are no path, and for a `speed` where there are times
[[nodiscard]] TargetPath parseTargetPath(std::string_view text, const std::string& name, std::optional<double> speed);
[[nodiscard]] TargetPath readTargetPath(const std::string& path, std::optional<double> speed);

}  // namespace ond::command
