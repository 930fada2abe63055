// What the bytes of a block say about how much of it can be believed, where nobody tells its size.
//
// The contract hands a block over as a bare pointer, with the promise that it is whole. A file may be damaged all the
// same, and a damaged size would send a reader far behind the block's end. So without a known size a chunk must prove
// itself before anything behind it is looked at:
//   - a key that this program knows has the size and the kind of its value, and no children that it cannot have; an
//     animated variable tells its size a second time, in the header of its own block, and the two agree;
//   - names are made of printable characters, as all keys are;
//   - the payload of a key that it does not know tells its own size, as a variable or a text does, or is small (64 KiB)
//     and has no header of a known key inside;
//   - the chunks of the root do not lie inside another one: not among the histories of a wheel store, and no two
//     successive ones in an unknown branch;
//   - the root announces no more children than there can be: where its keys came in their order up to the last that a
//     block of this version must have, up to 8 more.
// A leaf that is too small for its value is passed over, which can lead nowhere far.
//
// What remains on trust: that those up to 8 are there; and that bytes follow an intact header in the number that it
// tells, which a block that was cut off lacks.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "state/BlockCursor.h"
#include "state/SavedKeys.h"

namespace ond::ovs::addon {

/// The size that a saved history gives itself, header included; nothing if it does not begin with such a header, or if
/// that contradicts itself. `keySize`: bytes of a key, 0 for any.
[[nodiscard]] std::optional<std::size_t> ownSizeOfHistory(const unsigned char* data, std::size_t size,
                                                          std::size_t keySize);

/// The rows that a block with a root of that name must have.
using NeededRows = SavedRows (*)(const std::string& rootName);

/// What follows from looking at a chunk.
enum class Verdict {
    sound,    ///< read on behind it
    last,     ///< its own bytes can be used, but not what it says about where the next chunk begins
    damaged,  ///< nothing of it can be used
};

/// Judges the chunks of one block, in their order. Each is judged while the cursor stands on its payload, of which no
/// more is looked at than has proved to be the block's. A verdict may shorten the payload of a header to what belongs
/// to its value.
class BlockEvidence {
  public:
    explicit BlockEvidence(BlockCursor& cursor) : m_cursor(cursor) {}

    /// Tells the rows that the block must have. Without it any number of children is believed.
    void expect(const SavedRows& rows);

    /// A child of the root.
    [[nodiscard]] Verdict rootChild(ChunkHeader& header, const std::optional<LeafShape>& shape);
    /// A child of a wheel store, by position: its name may be anything but a key of the root. One without a name must
    /// be what belongs there, as padding is not.
    [[nodiscard]] Verdict storeChild(ChunkHeader& header, const LeafShape& shape);
    /// A chunk at any depth below an unknown one.
    [[nodiscard]] Verdict nested(const ChunkHeader& header);

    /// Whether the root can have that many children behind those that were judged.
    [[nodiscard]] bool canHaveMore(std::size_t children) const;

  private:
    Verdict fixed(ChunkHeader& header, std::size_t size) const;
    Verdict history(ChunkHeader& header, std::size_t keySize);
    Verdict unknown(const ChunkHeader& header);
    Verdict leaf(ChunkHeader& header, const LeafShape& shape);
    /// A payload that does not tell its own size, or wrongly.
    Verdict unproven(const ChunkHeader& header);
    [[nodiscard]] std::optional<std::size_t> ownSize(const ChunkHeader& header, std::size_t keySize);
    /// Whether a known key's header stands in the payload, or the block's end.
    [[nodiscard]] bool holdsAKey(const ChunkHeader& header);

    BlockCursor& m_cursor;
    SavedRows m_missing;           ///< those that the block must have and has not shown yet
    std::size_t m_lastNeeded = 0;  ///< number of the last row that it must have, counted from 1; 0 if not told
    std::size_t m_row = 0;         ///< number of the last row that the root has shown
    std::size_t m_nestedRow = 0;   ///< as m_row, inside the unknown branch at hand
    bool m_isInOrder = true;       ///< the root's known keys came in the order of the rows
};

}  // namespace ond::ovs::addon
