#include "state/BlockCursor.h"

#include <cstdint>

#include "ond/util/DataChunk.h"
#include "ond/util/LittleEndian.h"

namespace ond::ovs::addon {

namespace {

using util::loadLittleEndian;

constexpr std::size_t kHeaderSize = 12;

}  // namespace

BlockCursor::BlockCursor(const void* block, std::optional<std::size_t> size)
    : m_block(static_cast<const unsigned char*>(block)), m_certain(size.value_or(0)), m_sizeIsKnown(size.has_value()) {}

bool BlockCursor::reach(std::size_t bytes) {
    if (m_block == nullptr) return false;
    if (m_sizeIsKnown) return bytes <= m_certain - m_at;
    const std::size_t end = m_at + bytes;
    while (end > m_certain + kZerosThatEndABlock) {
        // The last byte that may be read and is not 0. Looking from the far side passes over most bytes.
        std::size_t last = m_certain + kZerosThatEndABlock;
        while (last > m_certain && m_block[last - 1] == 0) --last;
        if (last == m_certain) return false;
        m_certain = last;
    }
    return true;
}

bool BlockCursor::hasRoomFor(std::size_t chunks) const {
    return chunks <= util::DataChunk::kChildrenTakenOnTrust ||
           (m_sizeIsKnown && chunks <= (m_certain - m_at) / kHeaderSize);
}

bool BlockCursor::reachName(std::size_t from, std::size_t length) {
    const bool isRoot = m_at == 0;
    for (std::size_t i = from; i < from + length; ++i) {
        if (!reach(i + 1)) return false;
        const unsigned char c = m_block[m_at + i];
        if (c < ' ' || (c > '~' && !isRoot)) return false;
    }
    return true;
}

std::optional<ChunkHeader> BlockCursor::readHeader() {
    if (!reach(kHeaderSize)) return std::nullopt;
    const unsigned char* at = m_block + m_at;
    const auto payload = loadLittleEndian<std::int32_t>(at);
    const auto children = loadLittleEndian<std::int32_t>(at + 4);
    const auto nameLength = loadLittleEndian<std::int32_t>(at + 8);
    if (payload < 0 || children < 0 || nameLength < 0 || nameLength > util::DataChunk::kMaxNameLength)
        return std::nullopt;
    const std::size_t start = kHeaderSize + static_cast<std::size_t>(nameLength);
    ChunkHeader header;
    header.payload = static_cast<std::size_t>(payload);
    header.children = static_cast<std::size_t>(children);
    if (m_sizeIsKnown ? !reach(start + header.payload) : !reachName(kHeaderSize, start - kHeaderSize))
        return std::nullopt;
    // Names are compared as bytes; a string_view of char is only another view of them.
    header.name = {reinterpret_cast<const char*>(at + kHeaderSize), static_cast<std::size_t>(nameLength)};
    header.data = at + start;
    m_at += start;
    return header;
}

}  // namespace ond::ovs::addon
