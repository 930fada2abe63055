#include "provingground/GroundFile.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <nlohmann/json.hpp>

namespace ond::provingground {

namespace {

// Object members in the order in which they are written here.
using Json = nlohmann::ordered_json;

// Numbers of the format.
constexpr std::uint32_t kMagic = 0x46546C67;
constexpr std::uint32_t kVersion = 2;
constexpr std::uint32_t kJsonChunk = 0x4E4F534A;
constexpr std::uint32_t kBinaryChunk = 0x004E4942;
constexpr int kFloat = 5126;
constexpr int kUnsignedInt = 5125;
constexpr int kArrayBuffer = 34962;
constexpr int kElementArrayBuffer = 34963;

/// Linear red, green and blue.
std::array<double, 3> colourOf(Kind kind) {
    constexpr std::array<std::array<double, 3>, kNumKinds> kColours = {{{0.060, 0.060, 0.065},
                                                                        {0.110, 0.190, 0.050},
                                                                        {0.340, 0.270, 0.180},
                                                                        {0.600, 0.020, 0.015},
                                                                        {0.800, 0.800, 0.780},
                                                                        {0.160, 0.160, 0.180},
                                                                        {0.130, 0.110, 0.100},
                                                                        {0.450, 0.280, 0.060},
                                                                        {0.800, 0.800, 0.780},
                                                                        {0.080, 0.150, 0.035}}};
    return kColours[static_cast<std::size_t>(kind)];
}

/// Numbers as the four bytes that the format wants, lowest first.
template <typename Number>
void appendNumbers(std::string& bytes, const std::vector<Number>& numbers) {
    static_assert(sizeof(Number) == 4);
    for (const Number& number : numbers) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &number, 4);
        for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<char>((bits >> shift) & 0xFFu));
    }
}

void appendNumber(std::string& bytes, std::uint32_t number) {
    appendNumbers(bytes, std::vector<std::uint32_t>{number});
}

class File {
  public:
    File() {
        m_json["asset"] = {{"version", "2.0"}, {"generator", "provingground"}};
        m_json["scene"] = 0;
        m_json["scenes"] = Json::array({{{"name", "proving ground"}, {"nodes", Json::array()}}});
    }

    void add(const GroundMesh& mesh) {
        const std::size_t index = m_json["scenes"][0]["nodes"].size();
        const std::string name = nameOf(mesh.kind);
        const auto [red, green, blue] = colourOf(mesh.kind);
        m_json["materials"].push_back(
            {{"name", name},
             {"pbrMetallicRoughness",
              {{"baseColorFactor", {red, green, blue, 1.0}}, {"metallicFactor", 0.0}, {"roughnessFactor", 0.9}}}});
        Json primitive;
        primitive["attributes"]["POSITION"] = addAccessor(mesh.positions, kFloat, "VEC3", kArrayBuffer);
        m_json["accessors"].back()["min"] = extremes(mesh.positions, [](float a, float b) { return a < b; });
        m_json["accessors"].back()["max"] = extremes(mesh.positions, [](float a, float b) { return a > b; });
        primitive["attributes"]["NORMAL"] = addAccessor(mesh.normals, kFloat, "VEC3", kArrayBuffer);
        primitive["indices"] = addAccessor(mesh.indices, kUnsignedInt, "SCALAR", kElementArrayBuffer);
        primitive["material"] = index;
        m_json["meshes"].push_back({{"name", name}, {"primitives", Json::array({primitive})}});
        m_json["nodes"].push_back({{"name", name}, {"mesh", index}});
        m_json["scenes"][0]["nodes"].push_back(index);
    }

    [[nodiscard]] std::string bytes() {
        m_json["buffers"] = Json::array({{{"byteLength", m_binary.size()}}});
        std::string text = m_json.dump();
        text.resize((text.size() + 3) / 4 * 4, ' ');
        std::string out;
        appendNumber(out, kMagic);
        appendNumber(out, kVersion);
        appendNumber(out, static_cast<std::uint32_t>(12 + 8 + text.size() + 8 + m_binary.size()));
        appendNumber(out, static_cast<std::uint32_t>(text.size()));
        appendNumber(out, kJsonChunk);
        out += text;
        appendNumber(out, static_cast<std::uint32_t>(m_binary.size()));
        appendNumber(out, kBinaryChunk);
        return out + m_binary;
    }

  private:
    /// @return the accessor's index
    template <typename Number>
    std::size_t addAccessor(const std::vector<Number>& numbers, int component, const char* type, int target) {
        const std::size_t view = m_json["bufferViews"].size();
        m_json["bufferViews"].push_back(
            {{"buffer", 0}, {"byteOffset", m_binary.size()}, {"byteLength", 4 * numbers.size()}, {"target", target}});
        const std::size_t count = target == kArrayBuffer ? numbers.size() / 3 : numbers.size();
        m_json["accessors"].push_back(
            {{"bufferView", view}, {"componentType", component}, {"count", count}, {"type", type}});
        appendNumbers(m_binary, numbers);
        return view;
    }

    /// Per axis, the number that comes before all others.
    template <typename Before>
    static Json extremes(const std::vector<float>& positions, const Before& before) {
        Json out = Json::array();
        for (std::size_t axis = 0; axis < 3; ++axis) {
            float extreme = positions[axis];
            for (std::size_t i = axis; i < positions.size(); i += 3)
                if (before(positions[i], extreme)) extreme = positions[i];
            out.push_back(extreme);
        }
        return out;
    }

    Json m_json;
    std::string m_binary;
};

}  // namespace

std::string toGlb(const std::vector<GroundMesh>& meshes) {
    File file;
    for (const GroundMesh& mesh : meshes) file.add(mesh);
    return file.bytes();
}

}  // namespace ond::provingground
