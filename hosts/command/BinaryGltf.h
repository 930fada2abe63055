// The outer form of binary glTF files: a JSON text and one run of bytes.
#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace ond::command {

struct BinaryGltf {
    std::shared_ptr<const nlohmann::json> json;
    std::string bytes;  ///< of the BIN chunk
};

/// Whether the bytes begin as such a file does.
[[nodiscard]] bool isBinaryGltf(const std::string& file);
/// @param name of the file, for messages
/// @throws CommandError for a file whose lengths do not fit or whose JSON cannot be read
[[nodiscard]] BinaryGltf openBinaryGltf(const std::string& file, const std::string& name);

}  // namespace ond::command
