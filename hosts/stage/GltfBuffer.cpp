#include "stage/GltfBuffer.h"

#include <algorithm>
#include <functional>
#include <nlohmann/json.hpp>
#include <utility>

namespace ond::stage {

using Json = nlohmann::ordered_json;

namespace {

constexpr std::size_t kAlignment = 8;
constexpr int kFloat = 5126;
constexpr int kUnsignedInt = 5125;
constexpr int kNoTarget = 0;
constexpr int kVertices = 34962;
constexpr int kIndices = 34963;

std::size_t widthOf(GltfType type) { return type == GltfType::scalar ? 1 : type == GltfType::vec3 ? 3 : 4; }

const char* nameOf(GltfType type) {
    return type == GltfType::scalar ? "SCALAR" : type == GltfType::vec3 ? "VEC3" : "VEC4";
}

void addRange(Json& accessor, const std::vector<float>& values, std::size_t width) {
    std::vector<float> least(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(width));
    std::vector<float> most = least;
    for (std::size_t i = 0; i < values.size(); ++i) {
        least[i % width] = std::min(least[i % width], values[i]);
        most[i % width] = std::max(most[i % width], values[i]);
    }
    // As doubles, so that the text stands for the same bits.
    accessor["min"] = std::vector<double>(least.begin(), least.end());
    accessor["max"] = std::vector<double>(most.begin(), most.end());
}

}  // namespace

std::string_view GltfBuffer::bytesOf(const View& view) const {
    return {reinterpret_cast<const char*>(m_bytes.data()) + view.offset, view.size};
}

int GltfBuffer::addView(const void* data, std::size_t size, int target) {
    m_bytes.resize((m_bytes.size() + kAlignment - 1) / kAlignment * kAlignment);
    const View view{m_bytes.size(), size};
    const auto* first = static_cast<const unsigned char*>(data);
    m_bytes.insert(m_bytes.end(), first, first + size);
    m_views.push_back(view);
    Json described{{"buffer", 0}, {"byteOffset", view.offset}, {"byteLength", size}};
    if (target != kNoTarget) described["target"] = target;
    m_document["bufferViews"].push_back(std::move(described));
    return static_cast<int>(m_views.size()) - 1;
}

int GltfBuffer::sharedView(const void* data, std::size_t size, int target) {
    const std::string_view wanted(static_cast<const char*>(data), size);
    const std::size_t hash = std::hash<std::string_view>()(wanted);
    const auto [first, last] = m_shared.equal_range(hash);
    for (auto known = first; known != last; ++known)
        if (known->second.first == target && bytesOf(m_views[static_cast<std::size_t>(known->second.second)]) == wanted)
            return known->second.second;
    const int view = addView(data, size, target);
    m_shared.emplace(hash, std::pair(target, view));
    return view;
}

int GltfBuffer::blob(const void* data, std::size_t size) { return size == 0 ? -1 : addView(data, size, kNoTarget); }

int GltfBuffer::sharedBlob(const void* data, std::size_t size) {
    return size == 0 ? -1 : sharedView(data, size, kNoTarget);
}

int GltfBuffer::addAccessor(int view, int componentType, GltfType type, std::size_t count) {
    const int index = static_cast<int>(m_accessors.size());
    m_accessors[{view, componentType, type}] = index;
    m_document["accessors"].push_back(
        {{"bufferView", view}, {"componentType", componentType}, {"count", count}, {"type", nameOf(type)}});
    return index;
}

int GltfBuffer::accessor(GltfUse use, GltfType type, const std::vector<float>& values) {
    const int target = use == GltfUse::positions ? kVertices : kNoTarget;
    const int view = sharedView(values.data(), values.size() * sizeof(float), target);
    const auto known = m_accessors.find({view, kFloat, type});
    const bool ranged = use == GltfUse::positions || use == GltfUse::keyTimes;
    const int index =
        known != m_accessors.end() ? known->second : addAccessor(view, kFloat, type, values.size() / widthOf(type));
    Json& described = m_document["accessors"][static_cast<std::size_t>(index)];
    if (ranged && !described.contains("min")) addRange(described, values, widthOf(type));
    return index;
}

int GltfBuffer::indices(const std::vector<std::uint32_t>& values) {
    const int view = sharedView(values.data(), values.size() * sizeof(std::uint32_t), kIndices);
    const auto known = m_accessors.find({view, kUnsignedInt, GltfType::scalar});
    return known != m_accessors.end() ? known->second
                                      : addAccessor(view, kUnsignedInt, GltfType::scalar, values.size());
}

std::vector<unsigned char> GltfBuffer::take() {
    if (m_bytes.empty()) return {};
    m_bytes.resize((m_bytes.size() + kAlignment - 1) / kAlignment * kAlignment);
    m_document["buffers"] = Json::array({Json{{"byteLength", m_bytes.size()}}});
    return std::move(m_bytes);
}

}  // namespace ond::stage
