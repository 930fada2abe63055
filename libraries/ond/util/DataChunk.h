// The tree in which everything is saved: each node has a name, bytes and child nodes in order. Also the flat block that
// such a tree is written as. What a name's bytes mean is known to reader and writer alone.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ond/util/RawBytes.h"

namespace ond::util {

namespace xml {
class Element;
}

/// One chunk: name, payload, children.
///
/// A number goes in as the bytes that it has in memory, lowest first, and never as text.
///
/// Flat form, integers signed 32-bit little-endian, without gaps: payload size, number of children, length of the name,
/// the name, the payload, the children one after the other in this same form.
///
/// No operation recurses, so that trees of any depth can be read, written, copied and destroyed. References to children
/// hold until a child is added. No locks: one thread at a time.
class DataChunk {
  public:
    /// The longest name that deserialize() accepts, in bytes.
    static constexpr int kMaxNameLength = 256;
    /// How many children a damaged block may announce without having the bytes for them.
    static constexpr int kChildrenTakenOnTrust = 4096;
    /// How many empty children a damaged block can add in all its levels together.
    static constexpr int kMaxEmptyFill = 65536;

    DataChunk() = default;
    /// A chunk of that name with a copy of `size` bytes, see setData(). Text converts to a chunk of that name.
    // NOLINTNEXTLINE(google-explicit-constructor)
    DataChunk(const std::string& chunkName, const void* bytes = nullptr, int size = 0);
    /// The same for a literal, which would otherwise be taken for a flat block.
    // NOLINTNEXTLINE(google-explicit-constructor)
    DataChunk(const char* chunkName, const void* bytes = nullptr, int size = 0);
    /// The chunk in a flat block whose full extent the caller vouches for; see deserialize(const void*).
    explicit DataChunk(const void* flatBlock);
    explicit DataChunk(std::nullptr_t) {}

    /// Copies name, payload and all levels of children, not the last result of serialize().
    DataChunk(const DataChunk& other);
    DataChunk& operator=(const DataChunk& other);
    DataChunk(DataChunk&&) noexcept = default;
    DataChunk& operator=(DataChunk&& other) noexcept;
    virtual ~DataChunk();

    /// Resizes the payload to `size` bytes (a negative size counts as 0) and copies `bytes` into it. With null `bytes`
    /// what was there stays and what is new is zero.
    void setData(const void* bytes, int size);

    [[nodiscard]] std::string getName() const { return name; }
    /// First byte of the payload, owned by the chunk and good until the payload changes; null if there is none.
    [[nodiscard]] void* getData() { return data.empty() ? nullptr : data.data(); }
    [[nodiscard]] const void* getData() const { return data.empty() ? nullptr : data.data(); }
    /// Bytes in the payload.
    [[nodiscard]] int getSize() const { return static_cast<int>(data.size()); }

    /// Appends a copy of `child`, also beside one of its name, and returns this chunk.
    DataChunk& addChild(const DataChunk& child);
    /// Appends `child` itself, which must not hold this chunk; what it has serialised stays behind.
    DataChunk& addChild(DataChunk&& child);

    /// The foremost child called `name`. Without one it is an empty chunk that all failed lookups share: what is
    /// written into it is gone with the next of them.
    [[nodiscard]] DataChunk& getChild(const std::string& childName);
    [[nodiscard]] const DataChunk& getChild(const std::string& childName) const;
    /// By place, from 0. Outside the list as above.
    [[nodiscard]] DataChunk& getChild(int index);
    [[nodiscard]] const DataChunk& getChild(int index) const;
    [[nodiscard]] bool hasChild(const std::string& childName) const { return find(childName) != nullptr; }
    [[nodiscard]] int getNumChildren() const { return static_cast<int>(children.size()); }

    /// The payload of the child that getChild(name) gives if it has at least `minimumSize` bytes, else null: what a
    /// reader of blocks that may be damaged asks. Null also for an empty payload.
    [[nodiscard]] const void* findData(const std::string& childName, int minimumSize) const;

    /// The flat form. The bytes belong to this chunk and stay good until its next serialize() or its destruction.
    /// `size`, if not null, receives their number. A tree above 2 GiB, whose size an int cannot tell, gives null and 0.
    const void* serialize(int* size);

    /// Fills the chunk from a flat block whose full extent the caller vouches for. For bytes that come from elsewhere
    /// use the form with a size.
    const void* deserialize(const void* flatBlock);

    /// Fills the chunk from a flat block that may be damaged; never reads behind `size` bytes.
    ///
    /// Returns the position just behind the block, or null for a block that is damaged. Name and payload are replaced,
    /// children are appended to those that are there.
    /// - Null, less than a header, a name above 256 bytes, a negative field, or a name and payload that reach behind
    ///   the end: null, and nothing of this chunk changes.
    /// - More than 4,096 children announced, and more than fit into the rest at 12 bytes each: null, name and payload
    ///   are set, no child is added.
    /// - A child that is damaged in these ways is added as far as it came, and the announced ones behind it are added
    ///   empty, up to 65,536 of these in the whole call: null.
    const void* deserialize(const void* flatBlock, std::size_t size);

    /// A summary for display: a tag "element" with "name" (absent if empty) and "size", and one such tag inside per
    /// child, in order. Payloads are not part of it.
    [[nodiscard]] xml::Element toXml() const;

  private:
    struct Reader;

    /// Calls `visit` with this chunk and all below it, parents first and siblings in order.
    template <typename Visit>
    void visitInFlatOrder(Visit visit) const;
    [[nodiscard]] const DataChunk* find(const std::string& childName) const;

    RawBytes flat;
    std::vector<DataChunk> children;
    std::vector<unsigned char> data;
    std::string name;
};

}  // namespace ond::util
