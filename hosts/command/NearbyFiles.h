// Finding the files that the program needs besides itself.
#pragma once

#include <memory>
#include <string>

#include "stage/Module.h"

namespace ond::command {

/// The vehicle module: `given`, else what QUADRIG_MODULE names, else the file near the program.
/// @throws CommandError if it is not there; stage::StageError if it is no module
[[nodiscard]] std::unique_ptr<const stage::Module> loadModule(const std::string& given);

/// The empty replay page: `given`, else what QUADRIG_REPLAY_PAGE names, else the file near the program.
/// @throws CommandError if it is not there
[[nodiscard]] std::string replayPagePath(const std::string& given);

}  // namespace ond::command
