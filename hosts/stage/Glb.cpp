#include "stage/Glb.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>

#include "stage/StageError.h"

namespace ond::stage {

static_assert(std::endian::native == std::endian::little, "numbers are copied as they lie in memory");

namespace {

constexpr std::uint32_t kMagic = 0x46546C67;   // "glTF"
constexpr std::uint32_t kJson = 0x4E4F534A;    // "JSON"
constexpr std::uint32_t kBinary = 0x004E4942;  // "BIN"
constexpr std::uint32_t kVersion = 2;
constexpr std::size_t kHeader = 12;
constexpr std::size_t kChunkHeader = 8;

std::uint32_t wordAt(const std::vector<unsigned char>& bytes, std::size_t at) {
    std::uint32_t word = 0;
    std::memcpy(&word, bytes.data() + at, sizeof word);
    return word;
}

void addWord(std::vector<unsigned char>& bytes, std::size_t word) {
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<unsigned char>(word >> shift & 0xFF));
}

}  // namespace

bool isGlb(const std::vector<unsigned char>& bytes) { return bytes.size() >= 4 && wordAt(bytes, 0) == kMagic; }

GlbChunks splitGlb(const std::vector<unsigned char>& bytes) {
    if (!isGlb(bytes)) throw FileDamage("it is no binary glTF file");
    if (bytes.size() < kHeader) throw FileDamage("its end is missing");
    if (wordAt(bytes, 4) != kVersion) throw FileDamage("it is glTF of version " + std::to_string(wordAt(bytes, 4)));
    const std::size_t length = wordAt(bytes, 8);
    if (length > bytes.size())
        throw FileDamage("its end is missing: " + std::to_string(bytes.size()) + " of " + std::to_string(length) +
                         " bytes are there");
    GlbChunks chunks;
    std::size_t at = kHeader;
    for (int place = 0; at < length; ++place) {
        if (length - at < kChunkHeader) throw FileDamage("a chunk of it breaks off");
        const std::size_t size = wordAt(bytes, at);
        const std::uint32_t kind = wordAt(bytes, at + 4);
        at += kChunkHeader;
        if (size > length - at) throw FileDamage("a chunk of it breaks off");
        const unsigned char* first = bytes.data() + at;
        if ((place == 0) != (kind == kJson)) throw FileDamage("it does not begin with its one description");
        if (kind == kJson) chunks.json = {reinterpret_cast<const char*>(first), size};
        if (kind == kBinary && chunks.binary == nullptr) {
            chunks.binary = first;
            chunks.binarySize = size;
        }
        at += size;
    }
    if (chunks.json.empty()) throw FileDamage("it has no description");
    return chunks;
}

std::vector<unsigned char> joinGlb(const std::string& json, std::vector<unsigned char> binary) {
    // Blanks behind the JSON text take the data of the second chunk to a multiple of 8.
    const std::size_t data = (kHeader + kChunkHeader + json.size() + kChunkHeader + 7) / 8 * 8;
    const std::size_t jsonSize = data - kChunkHeader - kHeader - kChunkHeader;
    const std::size_t binarySize = (binary.size() + 3) / 4 * 4;
    const std::size_t total = binary.empty() ? data - kChunkHeader : data + binarySize;
    if (total > std::numeric_limits<std::uint32_t>::max())
        throw StageError("the take has " + std::to_string(total) + " bytes; a binary glTF file holds 4 GiB at most");
    std::vector<unsigned char> front;
    front.reserve(data);
    addWord(front, kMagic);
    addWord(front, kVersion);
    addWord(front, total);
    addWord(front, jsonSize);
    addWord(front, kJson);
    front.insert(front.end(), json.begin(), json.end());
    front.resize(kHeader + kChunkHeader + jsonSize, ' ');
    if (binary.empty()) return front;
    addWord(front, binarySize);
    addWord(front, kBinary);
    // Takes of an hour have hundreds of megabytes: they are moved, not copied, where there is room behind them.
    binary.resize(binarySize, 0);
    binary.insert(binary.begin(), front.begin(), front.end());
    return binary;
}

}  // namespace ond::stage
