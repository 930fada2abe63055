// What is in a saved block of a vehicle.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace ond::command {

/// Whether the bytes begin like a saved block of this kind of vehicle.
[[nodiscard]] bool isSavedBlock(const std::string& bytes);

/// The block as a tree: "name", "version", "bytes", "damaged", and "keys" with name, kind, size, value or number of
/// keys and span of each.
[[nodiscard]] nlohmann::ordered_json describeBlock(const std::string& bytes);

/// The same as lines of text, each with `indent` before it.
[[nodiscard]] std::string blockText(const nlohmann::ordered_json& block, const std::string& indent);

}  // namespace ond::command
