#include "stage/GroundGltfData.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

#include "ond/util/Base64Data.h"
#include "ond/util/LittleEndian.h"
#include "stage/GroundBytes.h"

namespace ond::stage::gltf {

namespace {

using util::loadLittleEndian;

constexpr std::uint32_t kMagic = 0x46546C67;
constexpr std::uint32_t kJsonChunk = 0x4E4F534A;
constexpr std::uint32_t kBinaryChunk = 0x004E4942;
/// Entries that an accessor without any bytes of its own may have, whatever the size of the file.
constexpr std::size_t kTrustedCount = 65536;

std::uint32_t word(std::string_view bytes, std::size_t at) {
    return loadLittleEndian<std::uint32_t>(reinterpret_cast<const unsigned char*>(bytes.data()) + at);
}

std::size_t sizeOfType(std::size_t type) {
    switch (type) {
        case 5120:
        case 5121: return 1;
        case 5122:
        case 5123: return 2;
        case 5125:
        case 5126: return 4;
        default: damaged("an accessor has the unknown number type " + std::to_string(type));
    }
}

std::size_t widthOfShape(const std::string& shape) {
    if (shape == "SCALAR") return 1;
    if (shape == "VEC3") return 3;
    if (shape == "VEC4") return 4;
    return 0;
}

/// One number of type `type` at `from`. Integers that stand for fractions use the whole range of their type.
double decodeNumber(const unsigned char* from, std::size_t type, bool normalised) {
    switch (type) {
        case 5120: {
            const double value = loadLittleEndian<std::int8_t>(from);
            return normalised ? std::max(value / 127.0, -1.0) : value;
        }
        case 5121: return normalised ? from[0] / 255.0 : from[0];
        case 5122: {
            const double value = loadLittleEndian<std::int16_t>(from);
            return normalised ? std::max(value / 32767.0, -1.0) : value;
        }
        case 5123: {
            const double value = loadLittleEndian<std::uint16_t>(from);
            return normalised ? value / 65535.0 : value;
        }
        case 5125: return loadLittleEndian<std::uint32_t>(from);
        default: return static_cast<double>(loadLittleEndian<float>(from));
    }
}

std::uint32_t decodeIndex(const unsigned char* from, std::size_t type) {
    switch (type) {
        case 5121: return from[0];
        case 5123: return loadLittleEndian<std::uint16_t>(from);
        default: return loadLittleEndian<std::uint32_t>(from);
    }
}

int valueOfHex(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

/// "%20" and the like as the bytes that they stand for.
std::string unescaped(const std::string& uri) {
    std::string result;
    for (std::size_t i = 0; i < uri.size(); ++i) {
        const int high = uri[i] == '%' && i + 2 < uri.size() ? valueOfHex(uri[i + 1]) : -1;
        const int low = high >= 0 ? valueOfHex(uri[i + 2]) : -1;
        if (low >= 0) {
            result += static_cast<char>(16 * high + low);
            i += 2;
        } else {
            result += uri[i];
        }
    }
    return result;
}

std::string bytesOfDataUri(const std::string& uri) {
    const std::size_t comma = uri.find(',');
    const std::string_view kind = std::string_view(uri).substr(0, comma);
    if (comma == std::string::npos || !kind.ends_with(";base64")) damaged("a data URI in it is not base64");
    std::string text = uri.substr(comma + 1);
    // Padding may be left off in a URI.
    while (text.size() % 4 != 0) text += '=';
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw GroundError("a data URI in it is too long; export it as .glb");
    }
    const util::Base64Data data(text);
    std::string bytes(static_cast<std::size_t>(data.getSize()), '\0');
    data.copyTo(bytes.data(), data.getSize());
    if (bytes.empty() && !text.empty()) damaged("a data URI in it is not base64");
    return bytes;
}

std::string bytesOfFile(const std::string& uri, const std::optional<std::filesystem::path>& folder) {
    const std::filesystem::path path(unescaped(uri));
    const bool remote = uri.find("://") != std::string::npos;
    if (!folder || remote || path.is_absolute() || path.string().find('\0') != std::string::npos) {
        throw GroundError("its buffer \"" + uri + "\" is not in a file next to it; export it as .glb");
    }
    try {
        return readGroundBytes(*folder / path);
    } catch (const GroundError& error) {
        throw GroundError("its buffer file \"" + path.string() + "\" cannot be read: " + error.what());
    }
}

}  // namespace

// --- Container ------------------------------------------------------------------------------------------------------

Data::Data(const std::string& bytes, GltfKind kind, std::optional<std::filesystem::path> folder)
    : m_json(std::make_unique<Json>()), m_folder(std::move(folder)), m_fileSize(bytes.size()) {
    if (kind == GltfKind::binary) {
        readBinary(bytes);
    } else {
        readText(bytes);
    }
    if (!m_json->is_object()) damaged("its JSON is no object");
    m_buffers.resize(list(*m_json, "buffers").size());
}

Data::~Data() = default;

void Data::readBinary(std::string_view bytes) {
    if (bytes.size() < 4 || word(bytes, 0) != kMagic) {
        throw GroundError("it does not begin as a .glb file; give it the ending of what it is or export it again");
    }
    if (bytes.size() < 20) damaged("it ends within its header");
    if (word(bytes, 4) != 2) {
        throw GroundError("it has version " + std::to_string(word(bytes, 4)) + " of the format; export it as glTF 2.0");
    }
    if (word(bytes, 8) != bytes.size()) {
        damaged("it has " + std::to_string(bytes.size()) + " bytes and says " + std::to_string(word(bytes, 8)));
    }
    bool hasJson = false;
    std::size_t at = 12;
    while (at < bytes.size()) {
        if (bytes.size() - at < 8) damaged("it ends within the header of a part");
        const std::size_t length = word(bytes, at);
        const std::uint32_t type = word(bytes, at + 4);
        at += 8;
        if (length > bytes.size() - at) damaged("one of its parts is longer than the file");
        const std::string_view part = bytes.substr(at, length);
        at += length;
        if (!hasJson) {
            if (type != kJsonChunk) damaged("its first part is not JSON");
            parse(part);
            hasJson = true;
        } else if (type == kBinaryChunk && !m_chunk) {
            m_chunk = part;
        }
    }
}

void Data::readText(std::string_view bytes) {
    if (bytes.size() >= 4 && word(bytes, 0) == kMagic) {
        throw GroundError("it is a .glb file by its content; give it the ending .glb");
    }
    parse(bytes);
}

void Data::parse(std::string_view text) {
    try {
        *m_json = Json::parse(text);
    } catch (const Json::exception&) {
        damaged("its JSON cannot be read");
    }
}

// --- Buffers --------------------------------------------------------------------------------------------------------

std::string_view Data::keep(std::string bytes) {
    m_bytesKept += bytes.size();
    if (m_bytesKept > kMostGroundBytes) {
        throw GroundError("its buffers have more than " + std::to_string(kMostGroundBytes) +
                          " bytes together; export fewer triangles");
    }
    m_kept.push_back(std::make_unique<std::string>(std::move(bytes)));
    return *m_kept.back();
}

std::string_view Data::readBuffer(std::size_t index) {
    const Json& object = list(*m_json, "buffers")[index];
    const std::string uri = text(object, "uri");
    if (uri.starts_with("data:")) return keep(bytesOfDataUri(uri));
    if (!uri.empty()) return keep(bytesOfFile(uri, m_folder));
    if (index == 0 && m_chunk) return *m_chunk;
    throw GroundError("its buffer " + std::to_string(index) +
                      " has no bytes of its own; export it without compression as .glb");
}

std::string_view Data::buffer(std::size_t index) {
    if (!m_buffers[index]) {
        const std::optional<std::size_t> length = wholeNumber(list(*m_json, "buffers")[index], "byteLength");
        const std::string_view bytes = readBuffer(index);
        if (!length || *length > bytes.size()) {
            damaged("its buffer " + std::to_string(index) + " is longer than the " + std::to_string(bytes.size()) +
                    " bytes that are there");
        }
        m_buffers[index] = bytes.substr(0, *length);
    }
    return *m_buffers[index];
}

std::string_view Data::view(std::size_t index) {
    const Json& object = list(*m_json, "bufferViews")[index];
    const std::string_view bytes = buffer(needReference(object, "buffer", m_buffers.size()));
    const std::size_t offset = wholeNumber(object, "byteOffset").value_or(0);
    const std::optional<std::size_t> length = wholeNumber(object, "byteLength");
    if (!length || offset > bytes.size() || *length > bytes.size() - offset) {
        damaged("its buffer view " + std::to_string(index) + " reaches behind the end of its buffer");
    }
    return bytes.substr(offset, *length);
}

// --- Accessors ------------------------------------------------------------------------------------------------------

Data::Entries Data::placed(std::size_t viewIndex, std::size_t offset, Entries entries, std::size_t width,
                           bool strided) {
    const std::string_view bytes = view(viewIndex);
    const std::size_t size = sizeOfType(entries.type) * width;
    entries.stride = size;
    if (strided) entries.stride = wholeNumber(list(*m_json, "bufferViews")[viewIndex], "byteStride").value_or(size);
    if (entries.stride < size) damaged("the entries of buffer view " + std::to_string(viewIndex) + " overlap");
    const bool fits = entries.count == 0 || (offset <= bytes.size() && size <= bytes.size() - offset &&
                                             entries.count - 1 <= (bytes.size() - offset - size) / entries.stride);
    if (!fits) damaged("an accessor reaches behind the end of buffer view " + std::to_string(viewIndex));
    entries.first = reinterpret_cast<const unsigned char*>(bytes.data()) + (entries.count == 0 ? 0 : offset);
    return entries;
}

std::size_t Data::count(std::size_t accessor) const {
    const std::optional<std::size_t> entries = wholeNumber(list(*m_json, "accessors")[accessor], "count");
    if (!entries) damaged("an accessor does not say how many entries it has");
    return *entries;
}

Data::Entries Data::entriesOf(std::size_t accessor, std::size_t width) {
    const Json& object = list(*m_json, "accessors")[accessor];
    if (widthOfShape(text(object, "type")) != width) {
        damaged("accessor " + std::to_string(accessor) + " does not have " + std::to_string(width) +
                (width == 1 ? " number" : " numbers") + " per entry");
    }
    Entries entries;
    entries.count = count(accessor);
    entries.type = wholeNumber(object, "componentType").value_or(0);
    entries.normalised = truth(object, "normalized");
    sizeOfType(entries.type);
    const std::size_t views = list(*m_json, "bufferViews").size();
    if (const std::optional<std::size_t> view = reference(object, "bufferView", views)) {
        return placed(*view, wholeNumber(object, "byteOffset").value_or(0), entries, width, true);
    }
    if (findObject(object, "sparse") == nullptr) {
        throw GroundError("its accessor " + std::to_string(accessor) +
                          " has no bytes of its own; export it without compression as .glb");
    }
    if (entries.count > std::max(kTrustedCount, m_fileSize)) {
        damaged("accessor " + std::to_string(accessor) + " has more entries than the file has bytes");
    }
    return entries;
}

template <typename T, typename Decode>
void Data::readAll(std::size_t accessor, std::size_t width, std::vector<T>& numbers, Decode decode) {
    const Entries base = entriesOf(accessor, width);
    if (base.count > (kMostNumbers - m_numbersRead) / width) {
        throw GroundError("it has more than " + std::to_string(kMostNumbers) +
                          " numbers in its meshes; export fewer triangles");
    }
    m_numbersRead += base.count * width;
    const std::size_t size = sizeOfType(base.type);
    const auto copy = [&](const Entries& from, std::size_t entry, std::size_t to) {
        for (std::size_t k = 0; k < width; ++k) {
            numbers[to * width + k] = decode(from.first + entry * from.stride + k * size, from.type, from.normalised);
        }
    };
    numbers.assign(base.count * width, T(0));
    if (base.first != nullptr) {
        for (std::size_t i = 0; i < base.count; ++i) copy(base, i, i);
    }
    const Json* sparse = findObject(list(*m_json, "accessors")[accessor], "sparse");
    if (sparse == nullptr) return;

    const Json* places = findObject(*sparse, "indices");
    const Json* values = findObject(*sparse, "values");
    if (places == nullptr || values == nullptr) damaged("a sparse accessor has no indices or no values");
    const std::size_t views = list(*m_json, "bufferViews").size();
    Entries at;
    at.count = wholeNumber(*sparse, "count").value_or(0);
    at.type = wholeNumber(*places, "componentType").value_or(0);
    at = placed(needReference(*places, "bufferView", views), wholeNumber(*places, "byteOffset").value_or(0), at, 1,
                false);
    Entries replaced = base;
    replaced.count = at.count;
    replaced = placed(needReference(*values, "bufferView", views), wholeNumber(*values, "byteOffset").value_or(0),
                      replaced, width, false);
    if (at.type != 5121 && at.type != 5123 && at.type != 5125) damaged("a sparse accessor has no proper indices");
    for (std::size_t i = 0; i < at.count; ++i) {
        const std::size_t to = decodeIndex(at.first + i * at.stride, at.type);
        if (to >= base.count) damaged("a sparse accessor replaces an entry that is not there");
        copy(replaced, i, to);
    }
}

std::vector<double> Data::numbers(std::size_t accessor, std::size_t width) {
    std::vector<double> result;
    readAll(accessor, width, result, decodeNumber);
    return result;
}

std::vector<std::uint32_t> Data::indices(std::size_t accessor) {
    const std::size_t type = wholeNumber(list(*m_json, "accessors")[accessor], "componentType").value_or(0);
    if (type != 5121 && type != 5123 && type != 5125) damaged("the indices of a mesh are no unsigned integers");
    std::vector<std::uint32_t> result;
    readAll(accessor, 1, result,
            [](const unsigned char* from, std::size_t t, bool /*normalised*/) { return decodeIndex(from, t); });
    return result;
}

}  // namespace ond::stage::gltf
