// Memory for the histories of a vehicle that is loaded: one region for all, and in it room to go on recording.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "ond/util/AVar.h"
#include "state/BlockEvidence.h"
#include "state/SavedTree.h"

namespace ond::ovs::addon {

class CCarCamObject;

/// How many keys of such a history a chunk holds; 0 if its header contradicts itself or the chunk's size.
template <class T>
[[nodiscard]] std::size_t savedKeys(const SavedChunk& chunk) {
    const std::optional<std::size_t> size = ownSizeOfHistory(chunk.data, chunk.size, util::AVar<T>::kKeySize);
    if (!size || *size > chunk.size) return 0;
    return (*size - util::AVar<T>::kHeaderSize) / util::AVar<T>::kKeySize;
}

/// For how many keys more there is to be room in a loaded history: an eighth of what it has, so that no take that goes
/// on begins with moving all histories. Most get a key in every frame. By their place they have different rooms, two
/// keys apart because some have one key more, and so end in frames of their own: moving one takes little, but all of
/// them a good part of a frame. A run start sees to those of few keys.
[[nodiscard]] constexpr std::size_t spareKeys(std::size_t count, std::size_t place) {
    constexpr std::size_t kFew = 64;
    return count / 8 + (count < kFew ? 0 : 2 * place);
}

/// Places of the histories that have a key of their own in the block, and of those of corners.
[[nodiscard]] std::size_t placeOfHistory(std::string_view key);
[[nodiscard]] std::size_t placeOfHistory(int corner, std::size_t index);

/// What ArrayRegion needs to hold the histories of a block of the current form, spare keys included. Of older forms
/// some do not fit in.
[[nodiscard]] std::size_t roomForHistories(CCarCamObject& vehicle, const SavedTree& tree);

}  // namespace ond::ovs::addon
