// The versions of the saved block, step by step: what each added, and what a block from before it gets instead.
#pragma once

#include <string>

#include "state/Load.h"

namespace ond::ovs::addon {

/// Reads the block into the vehicle, whose rig is bound: every version step in order, each for blocks that have it or
/// for blocks that do not. False as soon as the block lacks a key that one of its steps needs, or the scene an element;
/// what was read until then stays read.
[[nodiscard]] bool runVersionSteps(const Load& load);

/// The rows that a block with a root of that name must have: without one of them runVersionSteps() fails.
[[nodiscard]] SavedRows neededRows(const std::string& rootName);

}  // namespace ond::ovs::addon
