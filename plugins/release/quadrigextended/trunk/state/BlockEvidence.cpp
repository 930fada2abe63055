#include "state/BlockEvidence.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "ond/util/LittleEndian.h"

namespace ond::ovs::addon {

namespace {

using util::loadLittleEndian;

constexpr std::size_t kChunkHeaderSize = 12;
constexpr std::size_t kHistoryHeaderSize = 16;

/// Largest payload of an unknown kind that is believed without a proof.
constexpr std::size_t kLargestUnproven = std::size_t{1} << 16;

/// Children of the root that are believed behind the last key that is needed. As many keys are looked for without being
/// needed, and may stand anywhere.
constexpr std::size_t kMostBehindTheNeeded = 8;

/// Keys that such a block may lack, damaged as it is; with more it has another order.
constexpr std::size_t kMostKeysLost = 3;

/// No key is longer.
constexpr std::size_t kLongestKey = 63;

/// Whether the first NUL at `data` is the last of `size` bytes. Reads no further than that NUL.
bool isTextOfSize(const unsigned char* data, std::size_t size) {
    std::size_t length = 0;
    while (length < size && data[length] != 0) ++length;
    return length + 1 == size;
}

bool isKeyOfAWheel(std::string_view key) {
    return std::find(kWheelStoreKeys.begin(), kWheelStoreKeys.end(), key) != kWheelStoreKeys.end();
}

/// Whether the 12 bytes and the name behind them are a header that a key of this program can have.
bool isHeaderOfAKey(const unsigned char* at, std::size_t nameLength) {
    const std::string_view name(reinterpret_cast<const char*>(at + kChunkHeaderSize), nameLength);
    const bool isCountable = loadLittleEndian<std::int32_t>(at) >= 0 && loadLittleEndian<std::int32_t>(at + 4) >= 0;
    return isCountable && (shapeOf(name).has_value() || isKeyOfAWheel(name));
}

}  // namespace

std::optional<std::size_t> ownSizeOfHistory(const unsigned char* data, std::size_t size, std::size_t keySize) {
    if (size < kHistoryHeaderSize) return std::nullopt;
    const auto payload = loadLittleEndian<std::uint32_t>(data + 4);
    const auto keys = loadLittleEndian<std::uint32_t>(data + 12);
    if (loadLittleEndian<std::uint32_t>(data) != kHistoryHeaderSize || loadLittleEndian<std::uint32_t>(data + 8) != 100)
        return std::nullopt;
    if (keySize != 0 && std::uint64_t{keys} * keySize != payload) return std::nullopt;
    if (keySize == 0 && (keys == 0 ? payload != 0 : payload % keys != 0)) return std::nullopt;
    return kHistoryHeaderSize + payload;
}

void BlockEvidence::expect(const SavedRows& rows) {
    m_missing = rows;
    for (std::size_t row = 0; row < rows.size(); ++row)
        if (rows.test(row)) m_lastNeeded = row + 1;
}

Verdict BlockEvidence::rootChild(ChunkHeader& header, const std::optional<LeafShape>& shape) {
    m_nestedRow = m_row;
    if (!shape) return header.name.empty() ? Verdict::damaged : unknown(header);
    if (const std::size_t row = savedRowNumber(header.name); row != 0) {
        m_isInOrder = m_isInOrder && row > m_row;
        m_row = row;
        m_missing.reset(row - 1);
    }
    if (shape->kind != LeafShape::Kind::branch) return leaf(header, *shape);
    return header.payload == 0 && header.children <= shape->size ? Verdict::sound : Verdict::damaged;
}

Verdict BlockEvidence::storeChild(ChunkHeader& header, const LeafShape& shape) {
    if (shapeOf(header.name)) return Verdict::damaged;
    // Zeros would do for a chunk without a name.
    const bool provesItself =
        shape.kind == LeafShape::Kind::history ? ownSize(header, shape.size).has_value() : header.payload != 0;
    if (header.name.empty() && !provesItself) return Verdict::damaged;
    return leaf(header, shape);
}

Verdict BlockEvidence::nested(const ChunkHeader& header) {
    const bool isPadding = header.name.empty() && header.payload == 0 && header.children == 0;
    if (isPadding) return Verdict::damaged;
    if (const std::size_t row = savedRowNumber(header.name); row > m_nestedRow) {
        if (m_nestedRow > m_row) return Verdict::damaged;
        m_nestedRow = row;
    }
    return unknown(header);
}

bool BlockEvidence::canHaveMore(std::size_t children) const {
    const bool hasAll = m_lastNeeded != 0 && m_isInOrder && m_row >= m_lastNeeded && m_missing.count() <= kMostKeysLost;
    return !hasAll || children <= kMostBehindTheNeeded;
}

Verdict BlockEvidence::fixed(ChunkHeader& header, std::size_t size) const {
    if (header.payload <= size) return Verdict::sound;
    header.payload = size;
    return Verdict::last;
}

std::optional<std::size_t> BlockEvidence::ownSize(const ChunkHeader& header, std::size_t keySize) {
    if (!m_cursor.reach(std::min(header.payload, kHistoryHeaderSize))) return std::nullopt;
    return ownSizeOfHistory(header.data, header.payload, keySize);
}

Verdict BlockEvidence::history(ChunkHeader& header, std::size_t keySize) {
    const std::optional<std::size_t> own = ownSize(header, keySize);
    if (!own) return unproven(header);
    if (header.payload <= *own) return Verdict::sound;
    header.payload = *own;
    return Verdict::last;
}

Verdict BlockEvidence::unknown(const ChunkHeader& header) {
    if (const auto own = ownSize(header, 0)) return *own == header.payload ? Verdict::sound : Verdict::damaged;
    return unproven(header);
}

Verdict BlockEvidence::leaf(ChunkHeader& header, const LeafShape& shape) {
    const Verdict verdict = shape.kind == LeafShape::Kind::fixed     ? fixed(header, shape.size)
                            : shape.kind == LeafShape::Kind::history ? history(header, shape.size)
                                                                     : unproven(header);
    return header.children != 0 && verdict == Verdict::sound ? Verdict::last : verdict;
}

Verdict BlockEvidence::unproven(const ChunkHeader& header) {
    if (header.payload > kLargestUnproven)
        return isTextOfSize(header.data, header.payload) ? Verdict::sound : Verdict::damaged;
    return holdsAKey(header) ? Verdict::damaged : Verdict::sound;
}

bool BlockEvidence::holdsAKey(const ChunkHeader& header) {
    // Where a chunk claims more than it has, the next one's header follows soon. So the bytes are taken one by one, and
    // a header is looked at when its last byte has been.
    std::array<std::size_t, kLongestKey + 1> startOfHeaderTo{};  // by its end; offset + 1
    for (std::size_t end = 1; end <= header.payload; ++end) {
        if (!m_cursor.reach(end)) return true;
        if (end >= kChunkHeaderSize) {
            const std::size_t nameLength = loadLittleEndian<std::uint32_t>(header.data + end - 4);
            if (nameLength != 0 && nameLength <= kLongestKey)
                startOfHeaderTo[(end + nameLength) % startOfHeaderTo.size()] = end - kChunkHeaderSize + 1;
        }
        const std::size_t start = std::exchange(startOfHeaderTo[end % startOfHeaderTo.size()], 0);
        if (start != 0 && isHeaderOfAKey(header.data + start - 1, end - (start - 1) - kChunkHeaderSize)) return true;
    }
    return false;
}

}  // namespace ond::ovs::addon
