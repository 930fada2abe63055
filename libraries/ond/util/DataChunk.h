// A named bag of bytes with an ordered list of child chunks, and its flat binary form. Everything saved is a tree of
// these; what a name's bytes mean is known to reader and writer alone.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace ond::util {

namespace xml {
class Element;
}

/// One chunk: name, payload, children.
///
/// Typed values are stored as their little-endian memory images; there is no text form of numbers.
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
    DataChunk(const std::string& name, const void* bytes = nullptr, int size = 0);
    /// The same for a literal, which would otherwise be taken for a flat block.
    // NOLINTNEXTLINE(google-explicit-constructor)
    DataChunk(const char* name, const void* bytes = nullptr, int size = 0);
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

    [[nodiscard]] std::string getName() const { return m_name; }
    /// First byte of the payload, owned by the chunk and good until the payload changes; null if there is none.
    [[nodiscard]] void* getData() { return m_data.empty() ? nullptr : m_data.data(); }
    [[nodiscard]] const void* getData() const { return m_data.empty() ? nullptr : m_data.data(); }
    /// Bytes in the payload.
    [[nodiscard]] int getSize() const { return static_cast<int>(m_data.size()); }

    /// Appends a copy of `child`; returns this chunk, so that calls can be chained. Names need not be unique.
    DataChunk& addChild(const DataChunk& child);

    /// The first child of that name, or a shared empty chunk. What is written into the shared chunk is gone with the
    /// next lookup that fails.
    [[nodiscard]] DataChunk& getChild(const std::string& name);
    [[nodiscard]] const DataChunk& getChild(const std::string& name) const;
    /// The child at `index`, or the same shared empty chunk if there is none.
    [[nodiscard]] DataChunk& getChild(int index);
    [[nodiscard]] const DataChunk& getChild(int index) const;
    [[nodiscard]] bool hasChild(const std::string& name) const { return find(name) != nullptr; }
    [[nodiscard]] int getNumChildren() const { return static_cast<int>(m_children.size()); }

    /// The payload of the first child of that name if it has at least `minimumSize` bytes, else null: what a reader of
    /// blocks that may be damaged asks. Null also for an empty payload.
    [[nodiscard]] const void* findData(const std::string& name, int minimumSize) const;

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
    ///   the end: null, and this chunk stays as it is.
    /// - More than 4,096 children announced that the rest cannot hold (12 bytes a child): null, name and payload are
    ///   set, no child is added.
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
    [[nodiscard]] const DataChunk* find(const std::string& name) const;

    std::vector<unsigned char> m_flat;
    std::vector<DataChunk> m_children;
    std::vector<unsigned char> m_data;
    std::string m_name;
};

}  // namespace ond::util
