// Files that are read and written in one piece.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace ond::stage {

/// Writes the file so that it is there whole or not at all: aside in the same folder first, then flushed and renamed.
/// What stood under the name is replaced and passes its permissions on; a link stays and its target is replaced.
/// Devices and pipes are written straight.
/// @throws StageError with one sentence that names the file; nothing is left behind then, and what was there stays
void writeWhole(const std::string& path, const void* data, std::size_t size);
void writeWhole(const std::string& path, const std::vector<unsigned char>& bytes);
void writeWhole(const std::string& path, const std::string& text);

/// The bytes of a file or pipe, at most `limit`.
/// @throws StageError with one sentence that names the file
[[nodiscard]] std::vector<unsigned char> readWhole(const std::string& path, std::size_t limit);

}  // namespace ond::stage
