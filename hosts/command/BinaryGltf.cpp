#include "command/BinaryGltf.h"

#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>

#include "command/CommandError.h"

namespace ond::command {

namespace {

constexpr std::size_t kFileHeader = 12;
constexpr std::size_t kChunkHeader = 8;
constexpr std::uint32_t kJsonChunk = 0x4E4F534A;
constexpr std::uint32_t kBinaryChunk = 0x004E4942;

std::uint32_t wordAt(const std::string& file, std::size_t at) {
    std::uint32_t word = 0;
    for (std::size_t i = 4; i-- > 0;) word = (word << 8U) | static_cast<unsigned char>(file[at + i]);
    return word;
}

}  // namespace

bool isBinaryGltf(const std::string& file) { return file.compare(0, 4, "glTF") == 0; }

BinaryGltf openBinaryGltf(const std::string& file, const std::string& name) {
    const auto damaged = [&name](const std::string& what) {
        return CommandError(name + " is a damaged glTF file: " + what);
    };
    if (!isBinaryGltf(file) || file.size() < kFileHeader + kChunkHeader) throw damaged("it ends in its header");
    if (wordAt(file, 8) != file.size()) throw damaged("its length is not the one that it tells");
    BinaryGltf gltf;
    std::size_t at = kFileHeader;
    while (file.size() - at >= kChunkHeader) {
        const std::size_t length = wordAt(file, at);
        const std::uint32_t kind = wordAt(file, at + 4);
        at += kChunkHeader;
        if (length > file.size() - at) throw damaged("it ends within a chunk");
        if (kind == kJsonChunk) {
            auto json = nlohmann::json::parse(file.substr(at, length), nullptr, false);
            if (!json.is_object()) throw damaged("its JSON cannot be read");
            gltf.json = std::make_shared<const nlohmann::json>(std::move(json));
        } else if (kind == kBinaryChunk) {
            gltf.bytes = file.substr(at, length);
        }
        at += length;
    }
    if (gltf.json == nullptr) throw damaged("it has no JSON");
    return gltf;
}

}  // namespace ond::command
