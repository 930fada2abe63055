// Where a command may write.
#pragma once

#include <string>
#include <vector>

#include "command/Options.h"

namespace ond::command {

/// The ending of a name with its dot, in small letters.
[[nodiscard]] std::string endingOf(const std::string& path);

/// Checks before the work begins that each output can be written: its ending, that its folder is there, that nothing is
/// overwritten that should not be, and that it is none of the files that are read.
/// @throws CommandError otherwise
void checkOutputs(const OutputOptions& options, const std::vector<std::string>& endings,
                  const std::vector<std::string>& inputs);

/// The one output.
/// @throws CommandError if there are several, and as checkOutputs()
[[nodiscard]] std::string onlyOutput(const OutputOptions& options, const std::string& ending,
                                     const std::vector<std::string>& inputs);

}  // namespace ond::command
