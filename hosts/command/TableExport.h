// A take as a table.
#pragma once

#include <string>

#include "stage/Stage.h"

namespace ond::command {

/// CSV with a row per `step` frames from `first` to `last`: frame, time, then x, y, z, qx, qy, qz, qw of every element
/// in the world, then the curves of each vehicle, which are empty between whole frames. Neighbouring quaternions lie on
/// one hemisphere. Numbers read back as the doubles that they are.
[[nodiscard]] std::string tableOf(const stage::Stage& stage, int first, int last, double step);

}  // namespace ond::command
