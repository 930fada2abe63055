// What a driving command says at its end.
#pragma once

#include <string>
#include <vector>

#include "command/Console.h"
#include "command/Summary.h"

namespace ond::command {

/// The summaries and the take's name, to stdout: as text, or as one JSON object. The breakdown, if there was one, to
/// stderr.
/// @return the exit code
[[nodiscard]] int report(const stage::Stage& stage, const std::vector<Summary>& summaries, const std::string& take,
                         bool asJson, const Console& console);

}  // namespace ond::command
