// The line through the middle of the road, with the speed to drive it at.
#pragma once

#include <string>
#include <vector>

#include "provingground/Surface.h"

namespace ond::provingground {

struct LinePoint {
    double x, y, z;  ///< on the road, metres
    double station;  ///< metres from the start
    double speed;    ///< to drive there, metres per second
};

/// A point each metre or a little less, from the start to just before the start again. The speeds respect the bends
/// and sections of the road and what a car can gain and lose in between, round and round.
[[nodiscard]] std::vector<LinePoint> centreLine(const Circuit& circuit, const Surface& surface);

/// The same for a driver who cuts the bend to the left so far that the left wheels run over its kerb.
[[nodiscard]] std::vector<LinePoint> drivenLine(const Circuit& circuit, const Surface& surface);

/// The line as a table: x_m,z_m,y_m,station_m,speed_mps.
[[nodiscard]] std::string toCsv(const std::vector<LinePoint>& line);

}  // namespace ond::provingground
