#include "stage/GroundGltf.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <utility>

#include "stage/GroundGltfData.h"
#include "stage/GroundGltfMesh.h"
#include "stage/GroundGltfMotion.h"

namespace ond::stage {

namespace {

using namespace gltf;

/// Keys of all nodes together: a bound for the memory of a small file whose nodes share their keys.
constexpr std::size_t kMostKeys = 10'000'000;

/// Required extensions that change nothing of what is read here, by the beginnings of their names.
constexpr std::array<const char*, 9> kHarmless{"KHR_materials_", "KHR_texture_",     "KHR_lights_",
                                               "KHR_xmp",        "EXT_texture_",     "KHR_mesh_quantization",
                                               "EXT_lights_",    "MSFT_texture_dds", "KHR_animation_pointer"};

void checkExtensions(const Json& json) {
    for (const Json& entry : list(json, "extensionsRequired")) {
        if (!entry.is_string()) damaged("the name of a required extension is no text");
        const std::string name = entry.get<std::string>();
        if (name == "KHR_draco_mesh_compression" || name == "EXT_meshopt_compression") {
            throw GroundError("its meshes are compressed (" + name + "); export it without compression");
        }
        const bool known = std::any_of(kHarmless.begin(), kHarmless.end(),
                                       [&name](const char* beginning) { return name.starts_with(beginning); });
        if (!known) {
            throw GroundError("it needs the extension \"" + name + "\", which is not read; export plain glTF 2.0");
        }
    }
}

void checkVersion(const Json& json) {
    const Json* asset = findObject(json, "asset");
    if (asset == nullptr) damaged("it does not say what version of the format it has");
    const std::string version = text(*asset, "version");
    const std::string least = text(*asset, "minVersion");
    if (!version.starts_with("2.") || (!least.empty() && least != "2.0")) {
        throw GroundError("it has version \"" + version + "\" of the format; export it as glTF 2.0");
    }
}

/// Who is whose child, over all nodes of the file.
struct Hierarchy {
    std::vector<std::vector<std::size_t>> children;
    std::vector<bool> isChild;
};

/// All nodes below `roots` and these themselves, parents first.
std::vector<std::size_t> below(const std::vector<std::size_t>& roots, const Hierarchy& hierarchy) {
    std::vector<std::size_t> order;
    std::vector<std::size_t> open(roots.rbegin(), roots.rend());
    while (!open.empty()) {
        const std::size_t node = open.back();
        open.pop_back();
        order.push_back(node);
        const std::vector<std::size_t>& children = hierarchy.children[node];
        open.insert(open.end(), children.rbegin(), children.rend());
    }
    return order;
}

std::vector<std::size_t> rootsOf(const Hierarchy& hierarchy) {
    std::vector<std::size_t> roots;
    for (std::size_t i = 0; i < hierarchy.isChild.size(); ++i) {
        if (!hierarchy.isChild[i]) roots.push_back(i);
    }
    return roots;
}

/// Each node has one parent at most, and nothing goes in circles.
Hierarchy readHierarchy(const Json& nodes) {
    Hierarchy hierarchy;
    hierarchy.children.resize(nodes.size());
    hierarchy.isChild.resize(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        for (const Json& entry : list(nodes[i], "children")) {
            const std::size_t child = asReference(entry, "a child of a node", nodes.size());
            if (hierarchy.isChild[child]) damaged("its node " + std::to_string(child) + " is a child twice");
            hierarchy.isChild[child] = true;
            hierarchy.children[i].push_back(child);
        }
    }
    if (below(rootsOf(hierarchy), hierarchy).size() != nodes.size()) damaged("its nodes are children in a circle");
    return hierarchy;
}

/// The roots of the scene that the file shows; without any scene all roots.
std::vector<std::size_t> shownRoots(const Json& json, const Hierarchy& hierarchy) {
    const Json& scenes = list(json, "scenes");
    const std::size_t shown = reference(json, "scene", scenes.size()).value_or(0);
    if (scenes.empty()) return rootsOf(hierarchy);
    std::vector<std::size_t> roots;
    std::vector<bool> seen(hierarchy.children.size());
    for (const Json& entry : list(scenes[shown], "nodes")) {
        const std::size_t root = asReference(entry, "a node of its scene", hierarchy.children.size());
        if (hierarchy.isChild[root])
            damaged("node " + std::to_string(root) + " of its scene is a child of another one");
        if (seen[root]) damaged("node " + std::to_string(root) + " is in its scene twice");
        seen[root] = true;
        roots.push_back(root);
    }
    return roots;
}

util::Matrix4 readMatrix(const Json& node) {
    util::Matrix4 m;
    gltf::numbers(node, "matrix", m.m);
    if (m[3] != 0.0 || m[7] != 0.0 || m[11] != 0.0 || m[15] != 1.0) {
        damaged("the matrix of a node does not end in 0, 0, 0, 1");
    }
    return m;
}

GroundPose readPose(const Json& node) {
    std::array<double, 3> translation{0.0, 0.0, 0.0};
    std::array<double, 4> rotation{0.0, 0.0, 0.0, 1.0};
    std::array<double, 3> scale{1.0, 1.0, 1.0};
    gltf::numbers(node, "translation", translation);
    gltf::numbers(node, "rotation", rotation);
    gltf::numbers(node, "scale", scale);
    GroundPose pose;
    pose.translation = {translation[0], translation[1], translation[2]};
    pose.rotation = {rotation[0], rotation[1], rotation[2], rotation[3]};
    pose.scale = {scale[0], scale[1], scale[2]};
    return pose;
}

class SceneReader {
  public:
    SceneReader(Data& data, GroundScene& scene) : m_data(data), m_scene(scene), m_meshes(data) {}

    void read() {
        const Json& nodes = list(m_data.json(), "nodes");
        const Hierarchy hierarchy = readHierarchy(nodes);
        const std::vector<std::size_t> order = below(shownRoots(m_data.json(), hierarchy), hierarchy);
        m_motions = readMotions(m_data, m_scene.warnings);
        std::vector<int> parents(nodes.size(), -1);
        for (const std::size_t index : order) {
            for (const std::size_t child : hierarchy.children[index]) {
                parents[child] = static_cast<int>(m_scene.nodes.size());
            }
            addNode(nodes[index], index, parents[index]);
        }
        addWarnings(nodes.size() - order.size());
    }

  private:
    void addNode(const Json& object, std::size_t index, int parent) {
        GroundNode& node = m_scene.nodes.emplace_back();
        node.parent = parent;
        node.name = text(object, "name");
        readTransform(object, index, node);
        const Json& meshes = list(m_data.json(), "meshes");
        if (const std::optional<std::size_t> mesh = reference(object, "mesh", meshes.size())) {
            const ColouredMesh& read = m_meshes.get(*mesh);
            node.mesh = read.mesh;
            std::copy(std::begin(read.colour), std::end(read.colour), std::begin(node.colour));
            node.hasColour = read.hasColour;
            if (node.name.empty()) node.name = text(meshes[*mesh], "name");
            if (find(object, "skin") != nullptr) ++m_skinned;
        }
        if (node.name.empty()) node.name = "node " + std::to_string(index);
    }

    void readTransform(const Json& object, std::size_t index, GroundNode& node) {
        const GroundMotion& motion = m_motions[index];
        const std::size_t keys =
            motion.translation.times.size() + motion.rotation.times.size() + motion.scale.times.size();
        if (find(object, "matrix") != nullptr) {
            if (keys > 0) damaged("a node with a matrix is moved by an animation");
            node.local = readMatrix(object);
            return;
        }
        const GroundPose rest = readPose(object);
        node.local = matrixOf(rest);
        m_keys += keys;
        if (m_keys > kMostKeys) {
            throw GroundError("its animations have more than " + std::to_string(kMostKeys) +
                              " keys; export it without motion");
        }
        node.keys = mergeKeys(motion, rest);
    }

    void addWarnings(std::size_t notShown) {
        m_meshes.addWarnings(m_scene.warnings);
        if (m_skinned > 0) {
            m_scene.warnings.push_back(std::to_string(m_skinned) +
                                       (m_skinned == 1 ? " skinned mesh was" : " skinned meshes were") +
                                       " taken in the rest shape.");
        }
        if (notShown > 0) {
            m_scene.warnings.push_back(std::to_string(notShown) + (notShown == 1 ? " node is" : " nodes are") +
                                       " not in the scene that the file shows; left out.");
        }
    }

    Data& m_data;
    GroundScene& m_scene;
    Meshes m_meshes;
    std::vector<GroundMotion> m_motions;
    std::size_t m_keys = 0;
    std::size_t m_skinned = 0;
};

}  // namespace

GroundScene readGltf(const std::string& bytes, GltfKind kind, const std::optional<std::filesystem::path>& folder) {
    Data data(bytes, kind, folder);
    checkVersion(data.json());
    checkExtensions(data.json());
    GroundScene scene;
    SceneReader(data, scene).read();
    return scene;
}

}  // namespace ond::stage
