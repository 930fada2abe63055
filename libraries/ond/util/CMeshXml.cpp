// CMesh as an XML element: toXml() and fromXml().
#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <string>

#include "ond/util/Base64Data.h"
#include "ond/util/CMesh.h"
#include "ond/util/DataChunk.h"
#include "ond/util/LittleEndian.h"
#include "ond/util/Vector3Text.h"

namespace ond::util {

namespace {

using Bytes = std::vector<unsigned char>;

constexpr const char* kRootName = "CMesh";

/// Names of one array: the tags of the verbose form, the chunks of the compact one.
struct ArrayNames {
    const char* list;   ///< tag around all entries
    const char* entry;  ///< tag of one entry
    const char* count;  ///< chunk with the number of entries
    const char* data;   ///< chunk with the entries
};

constexpr ArrayNames kVertices{"vertexdata", "vertex", "numVertexes", "vertex"};
constexpr ArrayNames kTexCoords{"texcoorddata", "texcoord", "numTexCoords", "texcoord"};
constexpr ArrayNames kFaces{"facedata", "face", "numFaces", "face"};
constexpr ArrayNames kTFaces{"tfacedata", "tface", "numTFaces", "tface"};

/// A compact count up to here is believed without the bytes to go with it: entries, at most 1.5 MiB.
constexpr int kCountTakenOnTrust = 65536;

// An array as a row of plain numbers: three doubles per vector, one int per index.

template <typename T>
struct EntryTraits;

template <>
struct EntryTraits<Vector3<double>> {
    using Number = double;
    static constexpr std::size_t kNumbers = 3;
    static double& number(Vector3<double>& v, std::size_t i) { return i == 0 ? v.x : i == 1 ? v.y : v.z; }
};

template <>
struct EntryTraits<int> {
    using Number = std::int32_t;
    static constexpr std::size_t kNumbers = 1;
    static int& number(int& index, std::size_t) { return index; }
};

template <typename T>
constexpr std::size_t kEntryBytes = EntryTraits<T>::kNumbers * sizeof(typename EntryTraits<T>::Number);

template <typename T>
Bytes pack(const std::vector<T>& entries) {
    using Traits = EntryTraits<T>;
    Bytes bytes(entries.size() * kEntryBytes<T>);
    unsigned char* to = bytes.data();
    for (T entry : entries) {
        for (std::size_t i = 0; i < Traits::kNumbers; ++i) {
            storeLittleEndian(to, Traits::number(entry, i));
            to += sizeof(typename Traits::Number);
        }
    }
    return bytes;
}

/// Overwrites the first `size` bytes of the array; they need not end at an entry's or a number's end.
template <typename T>
void unpack(const unsigned char* bytes, std::size_t size, std::vector<T>& entries) {
    using Traits = EntryTraits<T>;
    using Number = typename Traits::Number;
    std::size_t done = 0;
    for (std::size_t e = 0; done < size; ++e) {
        for (std::size_t i = 0; i < Traits::kNumbers && done < size; ++i) {
            Number& number = Traits::number(entries[e], i);
            if (size - done >= sizeof(Number)) {
                number = loadLittleEndian<Number>(bytes + done);
                done += sizeof(Number);
            } else {
                std::array<unsigned char, sizeof(Number)> image{};
                storeLittleEndian(image.data(), number);
                std::copy(bytes + done, bytes + size, image.begin());
                number = loadLittleEndian<Number>(image.data());
                done = size;
            }
        }
    }
}

// ---- verbose form ----

template <typename T>
void addList(xml::Element& root, const ArrayNames& names, const std::vector<T>& entries) {
    xml::Element& list = root.addChild(xml::Tag(names.list));
    list.children.reserve(entries.size());
    const xml::Tag entryTag(names.entry);
    for (const T& entry : entries) list.addChild(entryTag).addChild(xml::Data(entry));
}

void readValue(const std::string& text, Vector3<double>& value) { value = vector3FromText(text); }

void readValue(const std::string& text, int& value) { value = intFromText(text); }

/// One pass over the list, since asking for the nth child of a name each time would take the square of it.
template <typename T>
void readList(const xml::Element& root, const ArrayNames& names, std::vector<T>& entries) {
    const xml::Element& list = root.getChild(names.list);
    const std::string name = names.entry;
    entries.resize(static_cast<std::size_t>(list.countChildren(name)));
    std::size_t i = 0;
    for (const auto& child : list.children)
        if (child->text == name) readValue(child->getChild(0).text, entries[i++]);
}

// ---- compact form ----

void addCount(DataChunk& root, const ArrayNames& names, std::size_t count) {
    std::array<unsigned char, sizeof(std::int32_t)> bytes{};
    storeLittleEndian(bytes.data(), static_cast<std::int32_t>(count));
    root.addChild(DataChunk(names.count, bytes.data(), static_cast<int>(bytes.size())));
}

template <typename T>
void addData(DataChunk& root, const ArrayNames& names, const std::vector<T>& entries) {
    const Bytes bytes = pack(entries);
    root.addChild(DataChunk(names.data, bytes.data(), static_cast<int>(bytes.size())));
}

/// Gives the array the size that `root` says; false if the chunks of this array are missing or contradict each other.
template <typename T>
bool resizeToCount(const DataChunk& root, const ArrayNames& names, std::vector<T>& entries) {
    const void* countBytes = root.findData(names.count, sizeof(std::int32_t));
    if (countBytes == nullptr || !root.hasChild(names.data)) return false;
    const auto count = loadLittleEndian<std::int32_t>(static_cast<const unsigned char*>(countBytes));
    if (count < 0) return false;
    const auto wanted = static_cast<std::size_t>(count) * kEntryBytes<T>;
    const auto present = static_cast<std::size_t>(root.getChild(names.data).getSize());
    if (present > wanted || (count > kCountTakenOnTrust && present < wanted)) return false;
    entries.resize(static_cast<std::size_t>(count));
    return true;
}

template <typename T>
void copyData(const DataChunk& root, const ArrayNames& names, std::vector<T>& entries) {
    const DataChunk& chunk = root.getChild(names.data);
    unpack(static_cast<const unsigned char*>(chunk.getData()), static_cast<std::size_t>(chunk.getSize()), entries);
}

}  // namespace

xml::Element CMesh::toXml(bool verbose) const { return verbose ? toVerboseXml() : toCompactXml(); }

void CMesh::fromXml(const xml::Element& element) {
    if (element.text != kRootName) return;
    const std::string& compact = element.getTextContent();
    if (compact.empty() || !readCompact(compact)) readVerbose(element);
}

xml::Element CMesh::toVerboseXml() const {
    xml::Element root{xml::Tag(kRootName)};
    addList(root, kVertices, vertices);
    addList(root, kTexCoords, texCoords);
    addList(root, kFaces, faces);
    addList(root, kTFaces, tFaces);
    return root;
}

void CMesh::readVerbose(const xml::Element& element) {
    readList(element, kVertices, vertices);
    readList(element, kTexCoords, texCoords);
    readList(element, kFaces, faces);
    readList(element, kTFaces, tFaces);
}

xml::Element CMesh::toCompactXml() const {
    DataChunk chunk(kRootName);
    addCount(chunk, kVertices, vertices.size());
    addCount(chunk, kTexCoords, texCoords.size());
    addCount(chunk, kFaces, faces.size());
    addCount(chunk, kTFaces, tFaces.size());
    addData(chunk, kVertices, vertices);
    addData(chunk, kTexCoords, texCoords);
    addData(chunk, kFaces, faces);
    addData(chunk, kTFaces, tFaces);

    int size = 0;
    const void* block = chunk.serialize(&size);
    xml::Element root{xml::Tag(kRootName)};
    root.addChild(xml::Text(Base64Data(block, size).toString()));
    return root;
}

bool CMesh::readCompact(const std::string& base64) {
    const Base64Data decoded(base64);
    if (decoded.getSize() == 0) return false;
    Bytes block(static_cast<std::size_t>(decoded.getSize()));
    decoded.copyTo(block.data(), decoded.getSize());

    DataChunk chunk;
    // A block that is damaged somewhere may still hold all that is asked for below.
    static_cast<void>(chunk.deserialize(block.data(), block.size()));
    if (!resizeToCount(chunk, kVertices, vertices) || !resizeToCount(chunk, kTexCoords, texCoords) ||
        !resizeToCount(chunk, kFaces, faces) || !resizeToCount(chunk, kTFaces, tFaces))
        return false;
    copyData(chunk, kVertices, vertices);
    copyData(chunk, kTexCoords, texCoords);
    copyData(chunk, kFaces, faces);
    copyData(chunk, kTFaces, tFaces);
    return true;
}

}  // namespace ond::util
