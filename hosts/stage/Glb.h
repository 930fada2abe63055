// The container of a binary glTF: a header, a JSON chunk and a chunk of binary data.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ond::stage {

/// What is wrong with the bytes of a file, as the end of a sentence: "its end is missing".
class FileDamage : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Views into the bytes of a file.
struct GlbChunks {
    std::string_view json;
    const unsigned char* binary = nullptr;  ///< null without such a chunk
    std::size_t binarySize = 0;
};

/// Whether the bytes begin as a binary glTF does.
[[nodiscard]] bool isGlb(const std::vector<unsigned char>& bytes);

/// The chunks of `bytes`, which must outlive them. Chunks of other kinds are passed over.
/// @throws FileDamage if the bytes are not a whole binary glTF of version 2
[[nodiscard]] GlbChunks splitGlb(const std::vector<unsigned char>& bytes);

/// A binary glTF; without `binary` it has the JSON chunk alone. The binary data begins at a multiple of 8. Made in the
/// memory of `binary` where its capacity is enough.
/// @throws StageError above the 4 GiB that the container can tell
[[nodiscard]] std::vector<unsigned char> joinGlb(const std::string& json, std::vector<unsigned char> binary);

}  // namespace ond::stage
