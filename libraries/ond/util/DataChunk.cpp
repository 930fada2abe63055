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

/// Lists of children that a block announces are made in one go up to this number of chunks, and grow as they are read
/// beyond it: a damaged block can announce them many times over.
constexpr std::size_t kMostRoomAhead = 262144;

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

DataChunk::DataChunk(const std::string& chunkName, const void* bytes, int size) : name(chunkName) {
    setData(bytes, size);
}

DataChunk::DataChunk(const char* chunkName, const void* bytes, int size) : name(chunkName == nullptr ? "" : chunkName) {
    setData(bytes, size);
}

DataChunk::DataChunk(const void* flatBlock) { deserialize(flatBlock); }

DataChunk::DataChunk(const DataChunk& other) : data(other.data), name(other.name) {
    struct Level {
        const std::vector<DataChunk>* from;
        std::vector<DataChunk>* to;
    };
    std::vector<Level> pending;
    if (!other.children.empty()) pending.push_back({&other.children, &children});
    while (!pending.empty()) {
        const Level level = pending.back();
        pending.pop_back();
        // Sized once, so that pointers into it hold while the levels below are filled.
        level.to->resize(level.from->size());
        for (std::size_t i = 0; i < level.from->size(); ++i) {
            const DataChunk& from = (*level.from)[i];
            DataChunk& to = (*level.to)[i];
            to.data = from.data;
            to.name = from.name;
            if (!from.children.empty()) pending.push_back({&from.children, &to.children});
        }
    }
}

DataChunk& DataChunk::operator=(const DataChunk& other) {
    if (this == &other) return *this;
    // Copied before anything here changes: `other` may be a child of this chunk. flat is not part of an assignment.
    DataChunk copy(other);
    children.swap(copy.children);
    data.swap(copy.data);
    name.swap(copy.name);
    return *this;
}

DataChunk& DataChunk::operator=(DataChunk&& other) noexcept {
    // Through a third chunk, since `other` may be a child of this one and would die with its siblings.
    DataChunk taken(std::move(other));
    flat.swap(taken.flat);
    children.swap(taken.children);
    data.swap(taken.data);
    name.swap(taken.name);
    return *this;
}

DataChunk::~DataChunk() {
    // Takes the tree apart level by level, so that no child is destroyed while it still has children of its own.
    std::vector<std::vector<DataChunk>> pending;
    const auto takeGrandchildren = [&pending](std::vector<DataChunk>& level) {
        for (DataChunk& child : level) {
            if (!child.children.empty()) pending.push_back(std::move(child.children));
        }
    };
    takeGrandchildren(children);
    while (!pending.empty()) {
        std::vector<DataChunk> level = std::move(pending.back());
        pending.pop_back();
        takeGrandchildren(level);
    }
}

void DataChunk::setData(const void* bytes, int size) {
    const std::size_t count = static_cast<std::size_t>(std::max(size, 0));
    if (bytes == nullptr || count == 0) {
        data.resize(count);
        return;
    }
    // Built beside the old payload, which `bytes` may point into.
    const auto* first = static_cast<const unsigned char*>(bytes);
    std::vector<unsigned char>(first, first + count).swap(data);
}

DataChunk& DataChunk::addChild(const DataChunk& child) { return addChild(DataChunk(child)); }

DataChunk& DataChunk::addChild(DataChunk&& child) {
    // Taken before the list grows, which `child` may be part of.
    DataChunk taken(std::move(child));
    taken.flat = RawBytes();
    children.push_back(std::move(taken));
    return *this;
}

const DataChunk* DataChunk::find(const std::string& childName) const {
    const auto at = std::find_if(children.begin(), children.end(),
                                 [&childName](const DataChunk& c) { return c.name == childName; });
    return at == children.end() ? nullptr : &*at;
}

const DataChunk& DataChunk::getChild(const std::string& childName) const {
    const DataChunk* child = find(childName);
    return child == nullptr ? sharedConstEmpty() : *child;
}

DataChunk& DataChunk::getChild(const std::string& childName) {
    const DataChunk* child = find(childName);
    return child == nullptr ? sharedEmpty() : children[static_cast<std::size_t>(child - children.data())];
}

const DataChunk& DataChunk::getChild(int index) const {
    return index < 0 || index >= getNumChildren() ? sharedConstEmpty() : children[static_cast<std::size_t>(index)];
}

DataChunk& DataChunk::getChild(int index) {
    return index < 0 || index >= getNumChildren() ? sharedEmpty() : children[static_cast<std::size_t>(index)];
}

const void* DataChunk::findData(const std::string& childName, int minimumSize) const {
    const DataChunk* child = find(childName);
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
        if (open.next == open.chunk->children.size()) {
            path.pop_back();
            continue;
        }
        const DataChunk& child = open.chunk->children[open.next++];
        visit(child);
        if (!child.children.empty()) path.push_back({&child, 0});
    }
}

const void* DataChunk::serialize(int* size) {
    // Written in one go instead of being put together from the flat forms of the children: each byte is copied once,
    // whatever its depth.
    std::size_t total = 0;
    visitInFlatOrder([&total](const DataChunk& c) { total += kHeaderSize + c.name.size() + c.data.size(); });
    const bool fits = total <= static_cast<std::size_t>(std::numeric_limits<int>::max());
    if (size != nullptr) *size = fits ? static_cast<int>(total) : 0;
    if (!fits || flat.capacity() < total) flat = RawBytes();
    if (!fits) return nullptr;
    flat.resize(total);
    unsigned char* to = flat.data();
    const auto put = [&to](const void* bytes, std::size_t count) {
        if (count != 0) std::memcpy(to, bytes, count);
        to += count;
    };
    visitInFlatOrder([&](const DataChunk& c) {
        storeLittleEndian(to, static_cast<std::int32_t>(c.data.size()));
        storeLittleEndian(to + 4, static_cast<std::int32_t>(c.children.size()));
        storeLittleEndian(to + 8, static_cast<std::int32_t>(c.name.size()));
        to += kHeaderSize;
        put(c.name.data(), c.name.size());
        put(c.data.data(), c.data.size());
    });
    return flat.data();
}

/// Position in a flat block and what is left of it. `position` turns null with the first damage and stays null.
struct DataChunk::Reader {
    const unsigned char* position;
    std::size_t left;
    /// The payload that the root had before. The block may lie in it, so it must outlive the reading.
    std::vector<unsigned char> replaced = {};
    /// Chunks that room may still be made for ahead of their reading, all levels together.
    std::size_t room = std::min(left / kHeaderSize, kMostRoomAhead);

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

        const unsigned char* nameAt = position + kHeaderSize;
        const unsigned char* dataAt = nameAt + nameBytes;
        chunk.name.assign(nameAt, dataAt);
        std::vector<unsigned char> payload(dataAt, dataAt + dataBytes);
        chunk.data.swap(payload);
        if (!payload.empty()) replaced = std::move(payload);
        position = dataAt + dataBytes;
        left -= kHeaderSize + nameBytes + dataBytes;
        if (childCount > kChildrenTakenOnTrust && static_cast<std::size_t>(childCount) > left / kHeaderSize)
            return fail();
        const auto announced = static_cast<std::size_t>(childCount);
        if (announced <= room) {
            chunk.children.reserve(chunk.children.size() + announced);
            room -= announced;
        }
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
        DataChunk& child = chunk->children.emplace_back();
        const int announced = reader.readOwn(child);
        if (announced > 0) path.push_back({&child, announced});
    }
    return reader.position;
}

}  // namespace ond::util
