// Pixels as a PNG file.
#pragma once

#include <vector>

namespace ond::stage {

/// @param pixels red, green and blue of each, row by row from the top
/// @throws StageError if there is no pixel, or no memory for the file
[[nodiscard]] std::vector<unsigned char> pngOf(const std::vector<unsigned char>& pixels, int width, int height);

}  // namespace ond::stage
