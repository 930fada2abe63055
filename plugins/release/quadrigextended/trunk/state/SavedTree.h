// A saved block as it is read: an index over the host's bytes, which copies none of them.
//
// Where the size of the block is known, only its end limits what a header may claim. Where it is not, each chunk must
// prove itself; see BlockEvidence.h. What proves itself wrong ends the reading: the tree then holds what stood before,
// and loading fails at the first key that it lacks.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "state/BlockEvidence.h"

namespace ond::ovs::addon {

/// One chunk. Points into the block, which must outlive it.
struct SavedChunk {
    std::string_view name;
    const unsigned char* data = nullptr;
    std::size_t size = 0;              ///< bytes at `data` that may be read
    std::vector<SavedChunk> children;  ///< filled in for the wheel stores only; other chunks' children are passed over
};

class SavedTree {
  public:
    /// Reads the block at `block`; `size` is its size if that is known. A null block gives an empty tree.
    /// @param neededRows lets the reader tell a number of children that a block of its version cannot have; may be null
    SavedTree(const void* block, std::optional<std::size_t> size, NeededRows neededRows = nullptr);

    /// Name of the root; empty if not even that could be read.
    [[nodiscard]] const std::string& name() const { return m_name; }

    /// The first child of the root with that key; null if there is none.
    [[nodiscard]] const SavedChunk* find(std::string_view key) const;

  private:
    std::string m_name;
    std::vector<SavedChunk> m_children;
};

}  // namespace ond::ovs::addon
