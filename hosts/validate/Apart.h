// Work in a process that a test starts for it: for modules that must not have been called before, and for what cannot
// be taken back.
#pragma once

#include <functional>
#include <string>

#include "validate/Check.h"

namespace ond::validate {

/// Runs `work` in a copy of this process and returns what it returns. A copy that crashes takes the test with it, in
/// the same way, so that the crash is told as every other.
/// @throws Abandoned if the work was abandoned; what it complained about has been told
[[nodiscard]] std::string runApart(Check& check, const std::function<std::string()>& work);

}  // namespace ond::validate
