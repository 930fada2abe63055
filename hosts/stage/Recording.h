// Rows of the curves of a vehicle, taken from the scene and the vehicle's channels.
#pragma once

#include "stage/Curves.h"

namespace ond::stage {

class Vehicle;

/// The columns of a vehicle: its output channels, its axes, then suspension and lowest point of each wheel.
[[nodiscard]] std::vector<CurveColumn> columnsOf(const Vehicle& vehicle);

/// Adds a row for the frame, which is the one behind the last or, in an empty table, the first.
/// Wheels that are not there give 0.
void appendRow(Curves& curves, const Vehicle& vehicle, int frame);

}  // namespace ond::stage
