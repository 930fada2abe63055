// Rows of the curves of a vehicle, taken from the scene and the vehicle's channels.
#pragma once

#include "stage/Curves.h"

namespace ond::stage {

class Vehicle;

/// The columns of a vehicle: its output channels, its axes, suspension and lowest point of each wheel, then the gauges
/// of its dialog.
[[nodiscard]] std::vector<CurveColumn> columnsOf(const Vehicle& vehicle);

/// Makes the table one that takes rows of the vehicle: where its columns are others it is emptied.
///
/// Takes of older programs have no gauges. A table of theirs goes on without them where `rowsStay`.
void prepareTable(Curves& curves, const Vehicle& vehicle, bool rowsStay);

/// Adds a row for the frame, which is the one behind the last or, in an empty table, the first.
/// The table has the columns of the vehicle, or these without the gauges. Wheels that are not there give 0.
void appendRow(Curves& curves, const Vehicle& vehicle, int frame);

}  // namespace ond::stage
