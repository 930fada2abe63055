#include "stage/TakeScene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>

#include "stage/PoseParts.h"
#include "stage/TakeMotion.h"

namespace ond::stage {

using Json = nlohmann::ordered_json;
using util::Matrix4;
using util::Vector3;

namespace {

constexpr double kAspect = 16.0 / 9.0;
constexpr double kDegree = 57.29577951308232;
constexpr double kNarrowest = 1.0;  ///< degrees; glTF has no camera without an angle
constexpr double kWidest = 179.0;
/// Nearest and farthest that a camera sees, in lengths of the car: about 0.1 and 10,000 for one of usual size.
constexpr double kNear = 0.03;
constexpr double kFar = 3000.0;
constexpr double kUsualLength = 3.5;
/// Of what has no colour of its own.
constexpr std::array<float, 3> kGrey{0.6F, 0.6F, 0.6F};
constexpr double kRoughness = 0.8;

class SceneWriter {
  public:
    SceneWriter(const TakeContents& contents, const TakeOptions& options, Json& document, GltfBuffer& buffer)
        : m_contents(contents), m_options(options), m_document(document), m_buffer(buffer) {}

    TakePlaces write() {
        m_places.nodes.assign(m_contents.elements.size(), -1);
        m_places.meshes.assign(m_contents.elements.size(), -1);
        m_places.origin = origin();
        int nodes = 0;
        for (std::size_t i = 0; i < m_contents.elements.size(); ++i)
            if (!m_contents.elements[i].state.deleted) m_places.nodes[i] = nodes++;
        writeRoots();
        for (std::size_t i = 0; i < m_contents.elements.size(); ++i)
            if (m_places.nodes[i] >= 0) writeNode(i);
        return m_places;
    }

  private:
    [[nodiscard]] double snap() const { return 1e-6 * m_contents.rate.step(); }

    /// Times below 0 are not allowed in an animation.
    [[nodiscard]] int origin() const {
        int first = 0;
        for (const TakeElement& element : m_contents.elements)
            if (!element.state.deleted && !element.state.track.keys.empty())
                first = std::min(first, static_cast<int>(std::floor(
                                            element.state.track.keys.front().time / m_contents.rate.step() + 1e-6)));
        return first;
    }

    void writeRoots() {
        Json roots = Json::array();
        for (std::size_t i = 0; i < m_contents.elements.size(); ++i)
            if (m_places.nodes[i] >= 0 && m_contents.elements[i].state.parent < 0) roots.push_back(m_places.nodes[i]);
        Json scene = Json::object();
        if (!roots.empty()) scene["nodes"] = std::move(roots);
        m_document["scene"] = 0;
        m_document["scenes"] = Json::array({std::move(scene)});
    }

    void writeNode(std::size_t place) {
        const TakeElement& element = m_contents.elements[place];
        Json node{{"name", element.name}};
        Json children = Json::array();
        for (const int child : element.state.children)
            children.push_back(m_places.nodes[static_cast<std::size_t>(child)]);
        if (!children.empty()) node["children"] = std::move(children);
        writePose(element, m_places.nodes[place], node);
        // A camera that is not shown in the viewports still renders.
        if (element.isCamera) node["camera"] = writeCamera(element);
        if (element.state.shown || m_options.withExtension) m_places.meshes[place] = writeMesh(element);
        if (element.state.shown && m_places.meshes[place] >= 0) node["mesh"] = m_places.meshes[place];
        m_document["nodes"].push_back(std::move(node));
    }

    /// Where the node stands without its animation, and its animation.
    void writePose(const TakeElement& element, int node, Json& described) {
        const Track& track = element.state.track;
        const int frame = m_options.stillAt.value_or(m_contents.now);
        PoseParts parts = partsOf(track.at(m_contents.rate.time(frame), snap()));
        std::array<float, 3> translation = single(parts.translation);
        std::array<float, 3> scale = single(parts.scale);
        std::array<float, 4> rotation{static_cast<float>(parts.rotation.x), static_cast<float>(parts.rotation.y),
                                      static_cast<float>(parts.rotation.z), static_cast<float>(parts.rotation.w)};
        if (!track.keys.empty() && !m_options.stillAt) {
            const TakeMotion motion = motionOf(track, m_contents.rate, m_places.origin);
            writeMotion(motion, node);
            // A channel that is left out has its value here.
            if (!motion.moves) std::copy_n(motion.translations.begin(), 3, translation.begin());
            if (!motion.turns) std::copy_n(motion.rotations.begin(), 4, rotation.begin());
            if (!motion.resizes) std::copy_n(motion.scales.begin(), 3, scale.begin());
        }
        if (translation != std::array<float, 3>{0, 0, 0}) described["translation"] = translation;
        if (rotation != std::array<float, 4>{0, 0, 0, 1}) described["rotation"] = rotation;
        if (scale != std::array<float, 3>{1, 1, 1}) described["scale"] = scale;
    }

    static std::array<float, 3> single(const Vector3<double>& v) {
        return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
    }

    void writeMotion(const TakeMotion& motion, int node) {
        if (motion.moves) writeChannel(motion.times, "translation", GltfType::vec3, motion.translations, node);
        if (motion.turns) writeChannel(motion.times, "rotation", GltfType::vec4, motion.rotations, node);
        if (motion.resizes) writeChannel(motion.times, "scale", GltfType::vec3, motion.scales, node);
    }

    void writeChannel(const std::vector<float>& times, const char* path, GltfType type,
                      const std::vector<float>& values, int node) {
        // Ahead of the references into the document, which the buffer adds to.
        const int input = m_buffer.accessor(GltfUse::keyTimes, GltfType::scalar, times);
        const int output = m_buffer.accessor(GltfUse::keyValues, type, values);
        Json& all = m_document["animations"];
        if (all.is_null()) all = Json::array({Json{{"name", "take"}, {"channels", Json::array()}}});
        Json& animation = all[0];
        const std::size_t sampler = animation["samplers"].size();
        animation["samplers"].push_back({{"input", input}, {"interpolation", "LINEAR"}, {"output", output}});
        animation["channels"].push_back({{"sampler", sampler}, {"target", {{"node", node}, {"path", path}}}});
    }

    /// @return -1 for a shape without triangles
    int writeMesh(const TakeElement& element) {
        std::vector<std::uint32_t> corners;
        const auto count = static_cast<std::int64_t>(element.shape.vertices.size());
        for (std::size_t i = 0; i + 2 < element.shape.faces.size(); i += 3) {
            const int* face = &element.shape.faces[i];
            const auto inside = [&](int vertex) { return vertex >= 0 && vertex < count; };
            if (inside(face[0]) && inside(face[1]) && inside(face[2]))
                for (int k = 0; k < 3; ++k) corners.push_back(static_cast<std::uint32_t>(face[k]));
        }
        if (corners.empty()) return -1;
        std::vector<float> positions;
        positions.reserve(3 * element.shape.vertices.size());
        for (const Vector3<double>& vertex : element.shape.vertices)
            for (const double number : {vertex.x, vertex.y, vertex.z}) positions.push_back(static_cast<float>(number));
        // One after the other: the order of the data in the file must not depend on the compiler.
        const int vertices = m_buffer.accessor(GltfUse::positions, GltfType::vec3, positions);
        const int indices = m_buffer.indices(corners);
        const Json primitive{
            {"attributes", {{"POSITION", vertices}}}, {"indices", indices}, {"material", materialOf(element)}};
        m_document["meshes"].push_back({{"name", element.name}, {"primitives", Json::array({primitive})}});
        return static_cast<int>(m_document["meshes"].size()) - 1;
    }

    int materialOf(const TakeElement& element) {
        std::array<float, 3> colour = kGrey;
        if (element.ownColour)
            for (std::size_t i = 0; i < 3; ++i) colour[i] = std::clamp(element.colour[i], 0.0F, 1.0F);
        const auto [known, fresh] = m_materials.emplace(colour, static_cast<int>(m_materials.size()));
        if (fresh) {
            const Json surface{{"baseColorFactor", {colour[0], colour[1], colour[2], 1.0F}},
                               {"metallicFactor", 0.0},
                               {"roughnessFactor", kRoughness}};
            m_document["materials"].push_back({{"pbrMetallicRoughness", surface}, {"doubleSided", true}});
        }
        return known->second;
    }

    int writeCamera(const TakeElement& element) {
        const double wide = std::clamp(element.fieldOfView, kNarrowest, kWidest) / kDegree;
        const double high = 2.0 * std::atan(std::tan(wide / 2.0) / kAspect);
        const double length = lengthOfCar(element.vehicle);
        const Json perspective{
            {"aspectRatio", kAspect}, {"yfov", high}, {"znear", kNear * length}, {"zfar", kFar * length}};
        m_document["cameras"].push_back(
            {{"name", element.name}, {"type", "perspective"}, {"perspective", perspective}});
        return static_cast<int>(m_document["cameras"].size()) - 1;
    }

    /// Length of the body's axes in the world, which is that of the car.
    [[nodiscard]] double lengthOfCar(const std::string& vehicle) const {
        for (const TakeElement& element : m_contents.elements) {
            if (element.vehicle != vehicle || element.identifier != "CarBodyMesh" || element.state.deleted) continue;
            const double time = m_contents.rate.time(m_contents.now);
            Matrix4 world = element.state.track.at(time, snap());
            for (int up = element.state.parent; up >= 0;) {
                const ElementState& state = m_contents.elements[static_cast<std::size_t>(up)].state;
                world = state.track.at(time, snap()) * world;
                up = state.parent;
            }
            const double length = util::Length(world.row(2));
            if (length > 1e-6 && length < 1e6) return length;
        }
        return kUsualLength;
    }

    const TakeContents& m_contents;
    const TakeOptions& m_options;
    Json& m_document;
    GltfBuffer& m_buffer;
    TakePlaces m_places;
    std::map<std::array<float, 3>, int> m_materials;
};

}  // namespace

TakePlaces writeTakeScene(const TakeContents& contents, const TakeOptions& options, Json& document,
                          GltfBuffer& buffer) {
    return SceneWriter(contents, options, document, buffer).write();
}

}  // namespace ond::stage
