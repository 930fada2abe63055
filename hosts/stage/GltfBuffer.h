// The binary data of a glTF document that is being made, with the views and accessors that speak of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace ond::stage {

/// How the numbers of an accessor are grouped.
enum class GltfType { scalar, vec3, vec4 };

/// What an accessor is for. The ranges of positions and key times are written with them.
enum class GltfUse { positions, indices, keyTimes, keyValues };

/// All data begins at a multiple of 8. Accessors with the same bytes are one.
class GltfBuffer {
  public:
    /// @param document gets "bufferViews" and "accessors"; must outlive this
    explicit GltfBuffer(nlohmann::ordered_json& document) : m_document(document) {}

    /// Room for so many bytes, so that what is there is not copied when more comes.
    void reserve(std::size_t size) { m_bytes.reserve(size); }

    /// A view of its own for the bytes.
    /// @return its index, or -1 for no bytes
    int blob(const void* data, std::size_t size);
    /// The same, but equal bytes of an earlier call give the view of that.
    int sharedBlob(const void* data, std::size_t size);
    int accessor(GltfUse use, GltfType type, const std::vector<float>& values);
    /// Of triangles.
    int indices(const std::vector<std::uint32_t>& values);

    /// Adds the buffer itself to the document and gives its bytes.
    [[nodiscard]] std::vector<unsigned char> take();

  private:
    struct View {
        std::size_t offset = 0;
        std::size_t size = 0;
    };
    int addView(const void* data, std::size_t size, int target);
    int sharedView(const void* data, std::size_t size, int target);
    int addAccessor(int view, int componentType, GltfType type, std::size_t count);
    [[nodiscard]] std::string_view bytesOf(const View& view) const;

    nlohmann::ordered_json& m_document;
    std::vector<unsigned char> m_bytes;
    std::vector<View> m_views;
    std::unordered_multimap<std::size_t, std::pair<int, int>> m_shared;  ///< by hash: target and view
    std::map<std::tuple<int, int, GltfType>, int> m_accessors;           ///< by view, component type and type
};

}  // namespace ond::stage
