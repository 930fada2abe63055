// Files of a ground as bytes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace ond::stage {

/// Largest file that is read, 1 GiB.
inline constexpr std::uint64_t kMostGroundBytes = std::uint64_t{1} << 30;

/// Checks that `path` is a file with something in it, can be opened and is not too large.
/// Throws GroundError, without the name of the file.
void checkGroundFile(const std::filesystem::path& path);

/// All bytes of the file. Throws GroundError as checkGroundFile() does.
[[nodiscard]] std::string readGroundBytes(const std::filesystem::path& path);

}  // namespace ond::stage
