// The drive file: everything of a drive in one JSON text. docs/drive-file.md documents it.
#pragma once

#include <string>
#include <string_view>

#include "command/DrivePlan.h"

namespace ond::command {

/// @param name of the file, for messages
/// @param folder against which paths in the file are taken
/// @throws CommandError for text that is no drive file, naming the place and for unknown keys the nearest
[[nodiscard]] DrivePlan parseDriveFile(std::string_view text, const std::string& name, const std::string& folder);
[[nodiscard]] DrivePlan readDriveFile(const std::string& path);

}  // namespace ond::command
