// Parts that drive files and preset files share.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "command/DrivePlan.h"
#include "command/JsonNode.h"

namespace ond::command {

/// {label: value, ...}
[[nodiscard]] std::vector<NamedValue> readNamedValues(const JsonNode& node);
/// {"FL": {"move": [x, y, z], "scale": s, "caster": degrees}, ...}
[[nodiscard]] std::map<std::string, WheelPlan> readWheels(const JsonNode& node);
/// {channel: {"multiplier": m, "deadZone": d, "exponent": e, "offset": o}, ...}
[[nodiscard]] std::map<int, ChannelPlan> readChannels(const JsonNode& node);

}  // namespace ond::command
