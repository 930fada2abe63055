// The saved block of a vehicle, as far as a host looks into it.
#pragma once

#include <vector>

namespace ond::stage {

/// Whether the bytes are one block from its first to its last byte. A vehicle gets a block without its size and
/// believes the sizes inside, so a host hands out no block from a file that fails here.
[[nodiscard]] bool isWholeBlock(const std::vector<unsigned char>& bytes);

}  // namespace ond::stage
