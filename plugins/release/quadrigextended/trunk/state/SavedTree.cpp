#include "state/SavedTree.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "ond/util/DataChunk.h"
#include "ond/util/LittleEndian.h"
#include "state/SavedKeys.h"

namespace ond::ovs::addon {

namespace {

using util::loadLittleEndian;

constexpr std::size_t kHeaderSize = 12;
constexpr std::size_t kHistoryHeaderSize = 16;

/// Largest payload of an unknown kind that is believed without a proof.
constexpr std::size_t kLargestUnproven = std::size_t{1} << 16;

/// What follows from looking at a chunk.
enum class Verdict {
    sound,    ///< read on behind it
    last,     ///< its own bytes can be used, but not what it says about where the next chunk begins
    damaged,  ///< nothing of it can be used
};

/// A chunk's header and where its payload begins.
struct Header {
    std::size_t payload = 0;
    std::size_t children = 0;
    std::string_view name;
    const unsigned char* data = nullptr;
};

/// Whether the first NUL at `data` is the last of `size` bytes. Reads no further than that NUL.
bool isTextOfSize(const unsigned char* data, std::size_t size) {
    std::size_t length = 0;
    while (length < size && data[length] != 0) ++length;
    return length + 1 == size;
}

bool isPrintable(std::string_view name) {
    return std::all_of(name.begin(), name.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

/// Judges chunks in a block of unknown size. May shorten the payload of a header to what belongs to its value.
namespace judge {

Verdict fixed(Header& header, std::size_t size) {
    if (header.payload > size) {
        header.payload = size;
        return Verdict::last;
    }
    return Verdict::sound;
}

Verdict history(Header& header, std::size_t keySize) {
    const std::optional<std::size_t> own = ownSizeOfHistory(header.data, header.payload, keySize);
    if (!own) return header.payload <= kLargestUnproven ? Verdict::sound : Verdict::damaged;
    if (header.payload > *own) {
        header.payload = *own;
        return Verdict::last;
    }
    return Verdict::sound;
}

Verdict unknown(const Header& header) {
    if (!isPrintable(header.name)) return Verdict::damaged;
    if (const auto own = ownSizeOfHistory(header.data, header.payload, 0))
        return *own == header.payload ? Verdict::sound : Verdict::damaged;
    const bool believed = header.payload <= kLargestUnproven || isTextOfSize(header.data, header.payload);
    return believed ? Verdict::sound : Verdict::damaged;
}

Verdict text(const Header& header) {
    const bool believed = header.payload <= kLargestUnproven || isTextOfSize(header.data, header.payload);
    return believed ? Verdict::sound : Verdict::damaged;
}

Verdict leaf(Header& header, const LeafShape& shape) {
    const Verdict verdict = shape.kind == LeafShape::Kind::fixed     ? fixed(header, shape.size)
                            : shape.kind == LeafShape::Kind::history ? history(header, shape.size)
                                                                     : text(header);
    return header.children != 0 && verdict == Verdict::sound ? Verdict::last : verdict;
}

/// A child of the root.
Verdict rootChild(Header& header, const std::optional<LeafShape>& shape) {
    if (!shape) return header.name.empty() ? Verdict::damaged : unknown(header);
    if (shape->kind != LeafShape::Kind::branch) return leaf(header, *shape);
    return header.payload == 0 && header.children <= shape->size ? Verdict::sound : Verdict::damaged;
}

/// A child of a wheel store, by position: its name may be anything, but not an empty chunk as padding would make it.
Verdict storeChild(Header& header, const LeafShape& shape) {
    if (!isPrintable(header.name) || (header.name.empty() && header.payload == 0)) return Verdict::damaged;
    return leaf(header, shape);
}

}  // namespace judge

class Reader {
  public:
    Reader(const void* block, std::optional<std::size_t> size)
        : m_at(static_cast<const unsigned char*>(block)),
          m_left(size.value_or(std::numeric_limits<std::size_t>::max())),
          m_sizeIsKnown(size.has_value()) {}

    void readRoot(std::string& name, std::vector<SavedChunk>& children) {
        Header root;
        if (!readHeader(root)) return;
        name = root.name;
        if (!m_sizeIsKnown && root.payload != 0) return;
        if (!enter(root)) return;
        for (std::size_t i = 0; i < root.children; ++i) {
            SavedChunk child;
            const Verdict verdict = readRootChild(child);
            if (verdict != Verdict::damaged) children.push_back(std::move(child));
            if (verdict != Verdict::sound) return;
        }
    }

  private:
    /// Reads a header and leaves the position in front of the payload. False for one that no chunk can have.
    bool readHeader(Header& header) {
        if (m_at == nullptr || m_left < kHeaderSize) return false;
        const auto payload = loadLittleEndian<std::int32_t>(m_at);
        const auto children = loadLittleEndian<std::int32_t>(m_at + 4);
        const auto nameLength = loadLittleEndian<std::int32_t>(m_at + 8);
        if (payload < 0 || children < 0 || nameLength < 0 || nameLength > util::DataChunk::kMaxNameLength) return false;
        header.payload = static_cast<std::size_t>(payload);
        header.children = static_cast<std::size_t>(children);
        const auto nameSize = static_cast<std::size_t>(nameLength);
        if (nameSize + header.payload > m_left - kHeaderSize) return false;
        // Names are compared as bytes; a string_view of char is only another view of them.
        header.name = {reinterpret_cast<const char*>(m_at + kHeaderSize), nameSize};
        header.data = m_at + kHeaderSize + nameSize;
        m_at = header.data;
        m_left -= kHeaderSize + nameSize;
        return true;
    }

    /// Passes over the payload of a sound chunk. False if it announces more children than can be there.
    bool enter(const Header& header) {
        m_at += header.payload;
        m_left -= header.payload;
        return header.children <= util::DataChunk::kChildrenTakenOnTrust ||
               (m_sizeIsKnown && header.children <= m_left / kHeaderSize);
    }

    static void take(SavedChunk& chunk, const Header& header) {
        chunk.name = header.name;
        chunk.data = header.data;
        chunk.size = header.payload;
    }

    Verdict readRootChild(SavedChunk& chunk) {
        Header header;
        if (!readHeader(header)) return Verdict::damaged;
        const std::optional<LeafShape> shape = shapeOf(header.name);
        const Verdict verdict = m_sizeIsKnown ? Verdict::sound : judge::rootChild(header, shape);
        if (verdict == Verdict::damaged) return verdict;
        take(chunk, header);
        if (verdict == Verdict::last || !enter(header)) return Verdict::last;
        const bool isStore = shape && shape->kind == LeafShape::Kind::branch;
        const bool whole = isStore ? readStore(chunk, header) : passOver(header.children);
        return whole ? Verdict::sound : Verdict::last;
    }

    /// Reads the children of a wheel store as leaves. False if they end in damage.
    bool readStore(SavedChunk& store, const Header& header) {
        const bool old = header.name == kOldWheelStoreKey;
        const LeafShape shape = old ? LeafShape{LeafShape::Kind::fixed, sizeof(double)}
                                    : LeafShape{LeafShape::Kind::history, AVar_Linear<double>::kKeySize};
        for (std::size_t i = 0; i < header.children; ++i) {
            Header child;
            if (!readHeader(child)) return false;
            const Verdict verdict = m_sizeIsKnown ? Verdict::sound : judge::storeChild(child, shape);
            if (verdict == Verdict::damaged) return false;
            take(store.children.emplace_back(), child);
            if (verdict == Verdict::last || !enter(child) || !passOver(child.children)) return false;
        }
        return true;
    }

    /// Passes over that many chunks and all below them. False if they end in damage.
    bool passOver(std::size_t chunks) {
        while (chunks > 0) {
            Header header;
            if (!readHeader(header)) return false;
            const bool isPadding = header.name.empty() && header.payload == 0 && header.children == 0;
            if (!m_sizeIsKnown && (isPadding || judge::unknown(header) != Verdict::sound)) return false;
            if (!enter(header)) return false;
            chunks += header.children - 1;
        }
        return true;
    }

    const unsigned char* m_at;
    std::size_t m_left;
    bool m_sizeIsKnown;
};

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

SavedTree::SavedTree(const void* block, std::optional<std::size_t> size) {
    Reader(block, size).readRoot(m_name, m_children);
}

const SavedChunk* SavedTree::find(std::string_view key) const {
    const auto found = std::find_if(m_children.begin(), m_children.end(),
                                    [key](const SavedChunk& chunk) { return chunk.name == key; });
    return found == m_children.end() ? nullptr : &*found;
}

}  // namespace ond::ovs::addon
