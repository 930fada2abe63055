// What a module asks the system for: calls that are refused and noted from some moment on.
#pragma once

#include <string>
#include <vector>

#include "validate/Check.h"

namespace ond::validate {

/// From now on this process is refused files, processes, the network and every change of its settings; each refusal is
/// noted with the call into the module that led to it. For the rest of the process's life.
/// @param where is read when a call is refused; outlives the process's last one
/// @return false where the system cannot do that
[[nodiscard]] bool refuseSystemCalls(const Check& where);

/// "openat() inside of updateFrame(0.04)", each once, in the order in which they came.
[[nodiscard]] std::vector<std::string> refusedSystemCalls();

}  // namespace ond::validate
