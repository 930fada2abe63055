// A position in a saved block, which knows how far the bytes in front of it may be read.
//
// Where the size of the block is known, its end is the limit. Where it is not, the limit moves with what is there: a
// byte that is not 0 belongs to the block, and up to kZerosThatEndABlock zeros behind such a byte may be looked at, as
// a block can hold them. So zeros in that number end a block, and a host that has them ready behind its block is never
// read further, whatever the block says.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace ond::ovs::addon {

/// No value that a vehicle saves comes near so many in a row. A record of zeros has 368, the keys of a history fewer:
/// their times grow, so that no two are 0.
constexpr std::size_t kZerosThatEndABlock = 4096;

/// What stands in front of a chunk's payload.
struct ChunkHeader {
    std::size_t payload = 0;  ///< bytes that it announces
    std::size_t children = 0;
    std::string_view name;
    const unsigned char* data = nullptr;  ///< the payload
};

class BlockCursor {
  public:
    /// `block` must outlive the cursor and may be null; `size` is its size if that is known.
    BlockCursor(const void* block, std::optional<std::size_t> size);

    [[nodiscard]] bool sizeIsKnown() const { return m_sizeIsKnown; }

    /// Whether `bytes` bytes from the position may be read. Without a known size it looks at some of them.
    [[nodiscard]] bool reach(std::size_t bytes);

    /// Whether that many chunks can stand behind the position, by the size of the block or by what is believed.
    [[nodiscard]] bool hasRoomFor(std::size_t chunks) const;

    /// Reads a header and goes to its payload, which may be out of reach if no size is known. Nothing for a header that
    /// no chunk can have; without a known size also for a name with characters that no key has, the root's apart.
    [[nodiscard]] std::optional<ChunkHeader> readHeader();

    /// Passes over bytes that are in reach.
    void pass(std::size_t bytes) { m_at += bytes; }

  private:
    /// Whether the name of that length, `from` bytes behind the position, can be read. Ends at the first byte that
    /// cannot be a name's, so that a length that is too large leads no further.
    [[nodiscard]] bool reachName(std::size_t from, std::size_t length);

    const unsigned char* m_block;
    std::size_t m_at = 0;  ///< offset of the position
    /// Bytes that are certainly the block's: all of them if the size is known, else those up to a byte other than 0.
    std::size_t m_certain;
    bool m_sizeIsKnown;
};

}  // namespace ond::ovs::addon
