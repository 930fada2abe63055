// What is in a saved block of a vehicle.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace ond::command {

/// Whether the bytes begin like a saved block of this kind of vehicle.
[[nodiscard]] bool isSavedBlock(const std::string& bytes);

/// The block as a tree: "name", "version", "bytes", "damaged", and "keys" with name, kind, size, value or number of
/// keys and span of each. Of a damaged block these are the keys that can be read, and "lost" counts the others.
[[nodiscard]] nlohmann::ordered_json describeBlock(const std::string& bytes);

/// What is wrong with a block of describeBlock(), as the end of a sentence; empty if nothing is.
[[nodiscard]] std::string damageOf(const nlohmann::ordered_json& block);

/// The block in one line of text: its version and counts.
[[nodiscard]] std::string blockLine(const nlohmann::ordered_json& block);

/// The same, and below it a line for each key.
[[nodiscard]] std::string blockText(const nlohmann::ordered_json& block);

}  // namespace ond::command
