// A saved block as it is read: an index over the host's bytes, which copies none of them.
//
// The contract hands a block over as a bare pointer, with the promise that it is whole. A file may be damaged all the
// same, and a damaged size would send a reader far behind the block's end. So without a known size a chunk must prove
// itself before anything behind it is looked at:
//   - a key that this program knows has the size and the kind of its value, and no children that it cannot have; an
//     animated variable tells its size a second time, in the header of its own block, and the two agree;
//   - a key that it does not know is made of printable characters, as all keys are; its payload is small (64 KiB) or
//     tells its own size, as a variable or a text does, and where it tells one, that is the size;
//   - no chunk announces more than 4,096 children.
// What proves itself wrong ends the reading; the tree then holds what stood before, and loading fails at the first key
// that it lacks. A leaf that is too small for its value is passed over, which can lead nowhere far. Where the size of
// the block is known, only its end limits what a header may claim.
// What remains on trust without a size: that at least a header is there for each child that the root announces.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ond::ovs::addon {

/// One chunk. Points into the block, which must outlive it.
struct SavedChunk {
    std::string_view name;
    const unsigned char* data = nullptr;
    std::size_t size = 0;              ///< bytes at `data` that may be read
    std::vector<SavedChunk> children;  ///< filled in for the wheel stores only; other chunks' children are passed over
};

/// The size that a saved history gives itself, header included; nothing if it does not begin with
/// such a header, or if that contradicts itself. `keySize`: bytes of a key, 0 for any.
[[nodiscard]] std::optional<std::size_t> ownSizeOfHistory(const unsigned char* data, std::size_t size,
                                                          std::size_t keySize);

class SavedTree {
  public:
    /// Reads the block at `block`; `size` is its size if that is known. A null block gives an empty tree.
    SavedTree(const void* block, std::optional<std::size_t> size);

    /// Name of the root; empty if not even that could be read.
    [[nodiscard]] const std::string& name() const { return m_name; }

    /// The first child of the root with that key; null if there is none.
    [[nodiscard]] const SavedChunk* find(std::string_view key) const;

  private:
    std::string m_name;
    std::vector<SavedChunk> m_children;
};

}  // namespace ond::ovs::addon
