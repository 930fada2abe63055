// Whether what is to be driven fits into a take.
#pragma once

#include "stage/Stage.h"

namespace ond::command {

/// For a recording of all armed vehicles from the frame `first` to the frame `last`, before it is driven.
/// @throws CommandError if it cannot fit into the file, however it is driven
void requireRoom(const stage::Stage& stage, int first, int last);

}  // namespace ond::command
