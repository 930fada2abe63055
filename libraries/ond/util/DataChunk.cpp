#include "ond/util/DataChunk.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include "ond/util/LittleEndian.h"

namespace ond::util {

namespace {

constexpr std::size_t kHeaderSize = 12;

/// Never written to, since all access to it is const.
const DataChunk& sharedConstEmpty() {
    static const DataChunk empty;
    return empty;
}

/// Emptied at each failed lookup, whatever an earlier caller wrote into it.
DataChunk& sharedEmpty() {
    static DataChunk empty;
    empty = DataChunk();
    return empty;
}

}  // namespace

DataChunk::DataChunk(const std::string& name, const void* bytes, int size) : m_name(name) { setData(bytes, size); }

DataChunk::DataChunk(const char* name, const void* bytes, int size) : m_name(name == nullptr ? "" : name) {
    setData(bytes, size);
}

DataChunk::DataChunk(const void* flatBlock) { deserialize(flatBlock); }

DataChunk::DataChunk(const DataChunk& other) : m_data(other.m_data), m_name(other.m_name) {
    struct Level {
        const std::vector<DataChunk>* from;
        std::vector<DataChunk>* to;
    };
    std::vector<Level> pending;
    if (!other.m_children.empty()) pending.push_back({&other.m_children, &m_children});
    while (!pending.empty()) {
        const Level level = pending.back();
        pending.pop_back();
        // Sized once, so that pointers into it hold while the levels below are filled.
        level.to->resize(level.from->size());
        for (std::size_t i = 0; i < level.from->size(); ++i) {
            const DataChunk& from = (*level.from)[i];
            DataChunk& to = (*level.to)[i];
            to.m_data = from.m_data;
            to.m_name = from.m_name;
            if (!from.m_children.empty()) pending.push_back({&from.m_children, &to.m_children});
        }
    }
}

DataChunk& DataChunk::operator=(const DataChunk& other) {
    if (this == &other) return *this;
    // Copied before anything here changes: `other` may be a child of this chunk. m_flat is not part of an assignment.
    DataChunk copy(other);
    m_children.swap(copy.m_children);
    m_data.swap(copy.m_data);
    m_name.swap(copy.m_name);
    return *this;
}

DataChunk& DataChunk::operator=(DataChunk&& other) noexcept {
    // Through a third chunk, since `other` may be a child of this one and would die with its siblings.
    DataChunk taken(std::move(other));
    m_flat.swap(taken.m_flat);
    m_children.swap(taken.m_children);
    m_data.swap(taken.m_data);
    m_name.swap(taken.m_name);
    return *this;
}

DataChunk::~DataChunk() {
    // Takes the tree apart level by level, so that no child is destroyed while it still has children of its own.
    std::vector<std::vector<DataChunk>> pending;
    const auto takeGrandchildren = [&pending](std::vector<DataChunk>& children) {
        for (DataChunk& child : children) {
            if (!child.m_children.empty()) pending.push_back(std::move(child.m_children));
        }
    };
    takeGrandchildren(m_children);
    while (!pending.empty()) {
        std::vector<DataChunk> children = std::move(pending.back());
        pending.pop_back();
        takeGrandchildren(children);
    }
}

void DataChunk::setData(const void* bytes, int size) {
    const std::size_t count = static_cast<std::size_t>(std::max(size, 0));
    if (bytes == nullptr || count == 0) {
        m_data.resize(count);
        return;
    }
    // Built beside the old payload, which `bytes` may point into.
    const auto* first = static_cast<const unsigned char*>(bytes);
    std::vector<unsigned char>(first, first + count).swap(m_data);
}

DataChunk& DataChunk::addChild(const DataChunk& child) {
    m_children.push_back(DataChunk(child));
    return *this;
}

const DataChunk* DataChunk::find(const std::string& name) const {
    const auto at =
        std::find_if(m_children.begin(), m_children.end(), [&name](const DataChunk& c) { return c.m_name == name; });
    return at == m_children.end() ? nullptr : &*at;
}

const DataChunk& DataChunk::getChild(const std::string& name) const {
    const DataChunk* child = find(name);
    return child == nullptr ? sharedConstEmpty() : *child;
}

DataChunk& DataChunk::getChild(const std::string& name) {
    const DataChunk* child = find(name);
    return child == nullptr ? sharedEmpty() : m_children[static_cast<std::size_t>(child - m_children.data())];
}

const DataChunk& DataChunk::getChild(int index) const {
    return index < 0 || index >= getNumChildren() ? sharedConstEmpty() : m_children[static_cast<std::size_t>(index)];
}

DataChunk& DataChunk::getChild(int index) {
    return index < 0 || index >= getNumChildren() ? sharedEmpty() : m_children[static_cast<std::size_t>(index)];
}

const void* DataChunk::findData(const std::string& name, int minimumSize) const {
    const DataChunk* child = find(name);
    return child == nullptr || child->getSize() < minimumSize ? nullptr : child->getData();
}

template <typename Visit>
void DataChunk::visitInFlatOrder(Visit visit) const {
    struct Open {
        const DataChunk* chunk;
        std::size_t next;
    };
    std::vector<Open> path;
    visit(*this);
    path.push_back({this, 0});
    while (!path.empty()) {
        Open& open = path.back();
        if (open.next == open.chunk->m_children.size()) {
            path.pop_back();
            continue;
        }
        const DataChunk& child = open.chunk->m_children[open.next++];
        visit(child);
        if (!child.m_children.empty()) path.push_back({&child, 0});
    }
}

const void* DataChunk::serialize(int* size) {
    // Written in one go instead of being put together from the flat forms of the children: each byte is copied once,
    // whatever its depth.
    std::size_t total = 0;
    visitInFlatOrder([&total](const DataChunk& c) { total += kHeaderSize + c.m_name.size() + c.m_data.size(); });
    const bool fits = total <= static_cast<std::size_t>(std::numeric_limits<int>::max());
    if (size != nullptr) *size = fits ? static_cast<int>(total) : 0;
    m_flat.clear();
    if (!fits) return nullptr;
    m_flat.reserve(total);
    visitInFlatOrder([this](const DataChunk& c) {
        unsigned char header[kHeaderSize];
        storeLittleEndian(header, static_cast<std::int32_t>(c.m_data.size()));
        storeLittleEndian(header + 4, static_cast<std::int32_t>(c.m_children.size()));
        storeLittleEndian(header + 8, static_cast<std::int32_t>(c.m_name.size()));
        m_flat.insert(m_flat.end(), header, header + kHeaderSize);
        m_flat.insert(m_flat.end(), c.m_name.begin(), c.m_name.end());
        m_flat.insert(m_flat.end(), c.m_data.begin(), c.m_data.end());
    });
    return m_flat.data();
}

/// Position in a flat block and what is left of it. `position` turns null with the first damage and stays null.
struct DataChunk::Reader {
    const unsigned char* position;
    std::size_t left;
    /// The payload that the root had before. The block may lie in it, so it lives as long as the reading.
    std::vector<unsigned char> replaced = {};

    /// Reads a header, name and payload into `chunk`; returns how many children are announced behind them. 0 on damage.
    int readOwn(DataChunk& chunk) {
        if (position == nullptr) return 0;
        if (left < kHeaderSize) return fail();
        const auto dataSize = loadLittleEndian<std::int32_t>(position);
        const auto childCount = loadLittleEndian<std::int32_t>(position + 4);
        const auto nameLength = loadLittleEndian<std::int32_t>(position + 8);
        if (nameLength < 0 || nameLength > kMaxNameLength || dataSize < 0 || childCount < 0) return fail();
        const auto nameBytes = static_cast<std::size_t>(nameLength);
        const auto dataBytes = static_cast<std::size_t>(dataSize);
        if (nameBytes + dataBytes > left - kHeaderSize) return fail();

        const unsigned char* name = position + kHeaderSize;
        const unsigned char* data = name + nameBytes;
        chunk.m_name.assign(name, data);
        std::vector<unsigned char> payload(data, data + dataBytes);
        chunk.m_data.swap(payload);
        if (!payload.empty()) replaced = std::move(payload);
        position = data + dataBytes;
        left -= kHeaderSize + nameBytes + dataBytes;
        if (childCount > kChildrenTakenOnTrust && static_cast<std::size_t>(childCount) > left / kHeaderSize)
            return fail();
        return childCount;
    }

  private:
    int fail() {
        position = nullptr;
        return 0;
    }
};

const void* DataChunk::deserialize(const void* flatBlock) {
    return deserialize(flatBlock, std::numeric_limits<std::size_t>::max());
}

const void* DataChunk::deserialize(const void* flatBlock, std::size_t size) {
    if (flatBlock == nullptr) return nullptr;
    // A chunk whose children are being read. Pointers hold, because a chunk gets no sibling before it is complete.
    struct Open {
        DataChunk* chunk;
        int missing;
    };
    std::vector<Open> path;
    int emptyFill = 0;
    Reader reader{static_cast<const unsigned char*>(flatBlock), size};
    path.push_back({this, reader.readOwn(*this)});
    while (!path.empty()) {
        auto& [chunk, missing] = path.back();
        const bool damaged = reader.position == nullptr;
        if (missing == 0 || (damaged && emptyFill == kMaxEmptyFill)) {
            path.pop_back();
            continue;
        }
        --missing;
        emptyFill += damaged ? 1 : 0;
        DataChunk& child = chunk->m_children.emplace_back();
        const int announced = reader.readOwn(child);
        if (announced > 0) path.push_back({&child, announced});
    }
    return reader.position;
}

}  // namespace ond::util
