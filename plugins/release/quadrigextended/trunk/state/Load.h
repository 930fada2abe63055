// What the steps of a load share: the vehicle, the block, and reading a key into a place.
#pragma once

#include <string>
#include <string_view>

#include "state/LoadedHistories.h"
#include "state/SavedKeys.h"
#include "state/SavedTree.h"

namespace ond::ovs::addon {

/// Whether a root of that name is of version `version` or later. Versions are compared as the text of the name: they
/// went from 100 to 140, then from 8107 to 8148, and now stand at 9201.
[[nodiscard]] bool isAtLeast(const std::string& rootName, int version);

struct Load {
    CCarCamObject& vehicle;
    const SavedTree& tree;

    /// Whether the block is of version `version` or later.
    [[nodiscard]] bool atLeast(int version) const { return isAtLeast(tree.name(), version); }

    /// Reads the leaf of a saved key into the field or history that is saved under it. False if the block lacks it.
    [[nodiscard]] bool read(std::string_view key) const;
};

// Each of these answers false and changes nothing if there is no such chunk, or if it has fewer bytes than its value.
// What an animated variable makes of a block with a damaged header is told at AVar::read(); `place` is that of
// spareKeys().

[[nodiscard]] bool readValue(const SavedChunk* chunk, double& to);
[[nodiscard]] bool readValue(const SavedChunk* chunk, bool& to);
[[nodiscard]] bool readValue(const SavedChunk* chunk, std::int32_t& to);
[[nodiscard]] bool readValue(const SavedChunk* chunk, util::Matrix4& to);

template <class T>
[[nodiscard]] bool readHistory(const SavedChunk* chunk, util::AVar<T>& to, std::size_t place) {
    if (chunk == nullptr || chunk->size < util::AVar<T>::kHeaderSize) return false;
    // A header that contradicts itself claims no size: the variable deals with it.
    const std::optional<std::size_t> claimed = ownSizeOfHistory(chunk->data, chunk->size, util::AVar<T>::kKeySize);
    if (claimed && chunk->size < *claimed) return false;
    to.read(chunk->data, chunk->size, spareKeys(savedKeys<T>(*chunk), place));
    return true;
}

/// The child of `store` at `index`; null if there is none, or no store.
[[nodiscard]] const SavedChunk* childAt(const SavedChunk* store, int index);

}  // namespace ond::ovs::addon
