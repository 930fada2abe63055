#include "stage/SavedBlock.h"

#include "ond/util/DataChunk.h"

namespace ond::stage {

bool isWholeBlock(const std::vector<unsigned char>& bytes) {
    util::DataChunk root;
    const void* end = root.deserialize(bytes.data(), bytes.size());
    return end != nullptr && end == bytes.data() + bytes.size();
}

}  // namespace ond::stage
