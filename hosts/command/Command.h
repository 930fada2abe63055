// The whole program as a function.
#pragma once

#include <string>
#include <vector>

#include "command/Console.h"

namespace ond::command {

/// Does what the command line asks for. All complaints go to `console.err` and begin with "quadrig: ".
/// @param arguments without the program's name
/// @return the exit code
[[nodiscard]] int runCommand(const std::vector<std::string>& arguments, const Console& console);

}  // namespace ond::command
