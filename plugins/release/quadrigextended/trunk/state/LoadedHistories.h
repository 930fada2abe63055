// Memory for the histories of a vehicle that is loaded: one region for all, and in it room to go on recording.
#pragma once

#include <cstddef>
#include <string_view>

#include "CCarCamObject.h"
#include "state/SavedTree.h"

namespace ond::ovs::addon {

/// How many keys of such a history can be in a chunk, by its size.
template <class T>
[[nodiscard]] std::size_t savedKeys(const SavedChunk& chunk) {
    constexpr std::size_t kHeader = util::AVar<T>::kHeaderSize;
    return chunk.size < kHeader ? 0 : (chunk.size - kHeader) / util::AVar<T>::kKeySize;
}

/// For how many keys more there is to be room in a loaded history: as much as an eighth of it lasts, so that no take
/// that goes on begins with moving all histories. They get a key each in every frame; `place`, another one for each,
/// lets the room of each end in another frame, since moving one takes little, but all of them a good part of a frame.
[[nodiscard]] constexpr std::size_t spareKeys(std::size_t count, std::size_t place) { return count / 8 + place; }

/// Places of the histories that have a key of their own in the block, and of those of corners.
[[nodiscard]] std::size_t placeOfHistory(std::string_view key);
[[nodiscard]] std::size_t placeOfHistory(int corner, std::size_t index);

/// What ArrayRegion needs to hold the histories of that block, spare keys included.
[[nodiscard]] std::size_t roomForHistories(CCarCamObject& vehicle, const SavedTree& tree);

}  // namespace ond::ovs::addon
