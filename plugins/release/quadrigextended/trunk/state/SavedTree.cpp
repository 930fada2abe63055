#include "state/SavedTree.h"

#include <algorithm>

namespace ond::ovs::addon {

namespace {

class Reader {
  public:
    Reader(const void* block, std::optional<std::size_t> size) : m_cursor(block, size), m_evidence(m_cursor) {}

    void readRoot(std::string& name, std::vector<SavedChunk>& children, NeededRows neededRows) {
        const std::optional<ChunkHeader> root = m_cursor.readHeader();
        if (!root) return;
        name = root->name;
        if (!m_cursor.sizeIsKnown() && root->payload != 0) return;
        if (!enter(*root)) return;
        if (neededRows != nullptr) m_evidence.expect(neededRows(name));
        for (std::size_t left = root->children; left > 0; --left) {
            if (!m_cursor.sizeIsKnown() && !m_evidence.canHaveMore(left)) return;
            SavedChunk child;
            const Verdict verdict = readRootChild(child);
            if (verdict != Verdict::damaged) children.push_back(std::move(child));
            if (verdict != Verdict::sound) return;
        }
    }

  private:
    /// Passes over the payload of a sound chunk. False if it announces more children than can be there.
    bool enter(const ChunkHeader& header) {
        m_cursor.pass(header.payload);
        return m_cursor.hasRoomFor(header.children);
    }

    /// Takes the chunk at the cursor over if it is not damaged.
    Verdict take(SavedChunk& chunk, const ChunkHeader& header, Verdict verdict) {
        if (verdict == Verdict::damaged || !m_cursor.reach(header.payload)) return Verdict::damaged;
        chunk.name = header.name;
        chunk.data = header.data;
        chunk.size = header.payload;
        return verdict == Verdict::sound && enter(header) ? Verdict::sound : Verdict::last;
    }

    Verdict readRootChild(SavedChunk& chunk) {
        std::optional<ChunkHeader> header = m_cursor.readHeader();
        if (!header) return Verdict::damaged;
        const std::optional<LeafShape> shape = shapeOf(header->name);
        const Verdict verdict = m_cursor.sizeIsKnown() ? Verdict::sound : m_evidence.rootChild(*header, shape);
        const Verdict taken = take(chunk, *header, verdict);
        if (taken != Verdict::sound) return taken;
        const bool isStore = shape && shape->kind == LeafShape::Kind::branch;
        const bool whole = isStore ? readStore(chunk, *header) : passOver(header->children);
        return whole ? Verdict::sound : Verdict::last;
    }

    /// Reads the children of a wheel store as leaves. False if they end in damage.
    bool readStore(SavedChunk& store, const ChunkHeader& header) {
        const bool old = header.name == kOldWheelStoreKey;
        const LeafShape shape = old ? LeafShape{LeafShape::Kind::fixed, sizeof(double)}
                                    : LeafShape{LeafShape::Kind::history, AVar_Linear<double>::kKeySize};
        for (std::size_t i = 0; i < header.children; ++i) {
            std::optional<ChunkHeader> child = m_cursor.readHeader();
            if (!child) return false;
            SavedChunk chunk;
            const Verdict verdict = m_cursor.sizeIsKnown() ? Verdict::sound : m_evidence.storeChild(*child, shape);
            const Verdict taken = take(chunk, *child, verdict);
            if (taken != Verdict::damaged) store.children.push_back(std::move(chunk));
            if (taken != Verdict::sound || !passOver(child->children)) return false;
        }
        return true;
    }

    /// Passes over that many chunks and all below them. False if they end in damage.
    bool passOver(std::size_t chunks) {
        while (chunks > 0) {
            const std::optional<ChunkHeader> header = m_cursor.readHeader();
            if (!header) return false;
            const Verdict verdict = m_cursor.sizeIsKnown() ? Verdict::sound : m_evidence.nested(*header);
            if (verdict != Verdict::sound || !m_cursor.reach(header->payload) || !enter(*header)) return false;
            chunks += header->children - 1;
        }
        return true;
    }

    BlockCursor m_cursor;
    BlockEvidence m_evidence;
};

}  // namespace

SavedTree::SavedTree(const void* block, std::optional<std::size_t> size, NeededRows neededRows) {
    Reader(block, size).readRoot(m_name, m_children, neededRows);
}

const SavedChunk* SavedTree::find(std::string_view key) const {
    const auto found = std::find_if(m_children.begin(), m_children.end(),
                                    [key](const SavedChunk& chunk) { return chunk.name == key; });
    return found == m_children.end() ? nullptr : &*found;
}

}  // namespace ond::ovs::addon
