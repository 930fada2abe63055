// Reading a flat block that may be damaged.
//
// Properties:
// - a block that is read without damage is written again as the very bytes that were read;
// - the tree of a damaged block has no more chunks than the block can hold, plus the empty ones that are filled in;
// - any tree that comes out is written to a block that reads back to the same tree, and its copy is equal;
// - its summary has one tag per chunk.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "fuzz/FuzzProperty.h"
#include "ond/util/DataChunk.h"
#include "ond/util/xml/Element.h"

namespace {

using namespace ond::util;
using ond::test::require;
using Bytes = std::vector<unsigned char>;

Bytes flat(DataChunk& chunk) {
    int size = 0;
    const auto* bytes = static_cast<const unsigned char*>(chunk.serialize(&size));
    return {bytes, bytes + size};
}

/// Number of nodes in a tree of any depth.
template <typename Node>
std::size_t countNodes(const Node& root) {
    std::size_t count = 0;
    std::vector<const Node*> pending{&root};
    while (!pending.empty()) {
        const Node* node = pending.back();
        pending.pop_back();
        ++count;
        for (int i = 0; i < node->getNumChildren(); ++i) pending.push_back(&node->getChild(i));
    }
    return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    DataChunk chunk;
    const auto* end = static_cast<const uint8_t*>(chunk.deserialize(bytes, size));
    const std::size_t chunks = countNodes(chunk);
    // The root is there whatever was read, and the one damaged child has no bytes of its own.
    require(chunks <= size / 12 + 2 + DataChunk::kMaxEmptyFill, "the size of the tree is bounded by that of the block");
    // Tens of thousands of empty children tell nothing more and would take most of a fuzzer's time.
    if (end == nullptr && chunks > 5000) return 0;

    const Bytes block = flat(chunk);
    if (end != nullptr) {
        require(end <= bytes + size, "the end lies in the block");
        require(block == Bytes(bytes, end), "an undamaged block is written again as it was");
    }

    DataChunk back;
    require(back.deserialize(block.data(), block.size()) == block.data() + block.size(), "what is written is whole");
    require(flat(back) == block, "what is written reads back");
    DataChunk copy(chunk);
    require(flat(copy) == block, "a copy is equal");
    require(countNodes(chunk.toXml()) == chunks, "the summary has one tag per chunk");
    return 0;
}
