#include "stage/GroundImport.h"

#include <assimp/config.h>
#include <assimp/material.h>
#include <assimp/scene.h>

#include <algorithm>
#include <assimp/Importer.hpp>
#include <cmath>
#include <cstdint>
#include <map>
#include <span>
#include <utility>
#include <vector>

#include "stage/GroundBytes.h"
#include "stage/GroundFbxDepth.h"
#include "stage/GroundMotion.h"
#include "stage/GroundPolygons.h"

namespace ond::stage {

namespace {

using util::Matrix4;

Matrix4 asMatrix(const aiMatrix4x4& m) {
    Matrix4 result;
    for (unsigned column = 0; column < 4; ++column) {
        for (unsigned line = 0; line < 4; ++line) {
            result[static_cast<int>(4 * column + line)] = static_cast<double>(m[line][column]);
        }
    }
    return result;
}

util::Vector3<double> asVector(const aiVector3D& v) {
    return {static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.z)};
}

util::Quat<double> asQuat(const aiQuaternion& q) {
    return {static_cast<double>(q.x), static_cast<double>(q.y), static_cast<double>(q.z), static_cast<double>(q.w)};
}

/// The importer's name of the format that it has read.
const char* formatOf(ImportKind kind) {
    switch (kind) {
        case ImportKind::fbx: return "Autodesk FBX Importer";
        case ImportKind::stl: return "Stereolithography (STL) Importer";
    }
    return "";
}

/// The importer falls back to looking at the content, so a file of another kind may have been read.
void checkFormat(const aiScene& scene, ImportKind kind) {
    aiString format;
    const bool known = scene.mMetaData != nullptr && scene.mMetaData->Get("SourceAsset_Format", format);
    if (!known || std::string(format.C_Str()) != formatOf(kind)) {
        throw GroundError("it is no file of the kind that its ending says; give it the ending of what it is");
    }
}

// --- Axes and unit of FBX -------------------------------------------------------------------------------------------

struct Axis {
    std::int32_t index = 0;
    std::int32_t sign = 1;
};

Axis axisOf(const aiMetadata& settings, const std::string& name, Axis axis) {
    settings.Get(name, axis.index);
    settings.Get(name + "Sign", axis.sign);
    if (axis.index < 0 || axis.index > 2 || (axis.sign != 1 && axis.sign != -1)) {
        throw GroundError("its settings name an axis that there is not; export the file again");
    }
    return axis;
}

/// Takes what the file has to metres with X to the right, Y up and Z to the front, as the settings of the file say.
Matrix4 worldOfFbx(const aiScene& scene) {
    const aiMetadata& settings = *scene.mMetaData;
    const Axis axes[3] = {axisOf(settings, "CoordAxis", {0, 1}), axisOf(settings, "UpAxis", {1, 1}),
                          axisOf(settings, "FrontAxis", {2, 1})};
    if (axes[0].index == axes[1].index || axes[1].index == axes[2].index || axes[0].index == axes[2].index) {
        throw GroundError("its settings give two directions the same axis; export the file again");
    }
    float centimetres = 1.0F;
    settings.Get("UnitScaleFactor", centimetres);
    if (!std::isfinite(centimetres) || centimetres <= 0.0F) {
        throw GroundError("its settings give no proper length of its unit; export the file again");
    }
    Matrix4 world;
    for (int line = 0; line < 3; ++line) {
        for (int column = 0; column < 3; ++column) {
            const double direction = axes[line].index == column ? axes[line].sign : 0.0;
            world[4 * column + line] = direction * (static_cast<double>(centimetres) / 100.0);
        }
    }
    return world;
}

// --- Motion ---------------------------------------------------------------------------------------------------------

using Channels = std::map<std::string, std::pair<const aiNodeAnim*, double>>;

/// The first channel of each node over all animations, with its ticks per second.
Channels channelsOf(const aiScene& scene, std::vector<std::string>& warnings) {
    Channels channels;
    int repeated = 0;
    for (const aiAnimation* animation : std::span(scene.mAnimations, scene.mNumAnimations)) {
        const double ticks = animation->mTicksPerSecond > 0.0 ? animation->mTicksPerSecond : 1.0;
        for (const aiNodeAnim* channel : std::span(animation->mChannels, animation->mNumChannels)) {
            const bool isNew = channels.try_emplace(channel->mNodeName.C_Str(), channel, ticks).second;
            repeated += isNew ? 0 : 1;
        }
    }
    if (repeated > 0) {
        warnings.push_back(std::to_string(repeated) +
                           " animation channel(s) move what an earlier one moves; the earlier one counts.");
    }
    return channels;
}

/// Keys at the same tick, which the importer makes where curves meet, count once.
template <typename Key, typename Append>
GroundTrack trackOf(const Key* keys, unsigned count, double ticks, Append append) {
    GroundTrack track;
    for (const Key& key : std::span(keys, count)) {
        const double time = key.mTime / ticks;
        if (!track.times.empty() && track.times.back() == time) continue;
        track.times.push_back(time);
        append(key.mValue, track.numbers);
    }
    return track;
}

std::vector<GroundKey> keysOf(const aiNodeAnim& channel, double ticks, const aiMatrix4x4& local) {
    const auto appendVector = [](const aiVector3D& v, std::vector<double>& to) {
        const util::Vector3<double> d = asVector(v);
        to.insert(to.end(), {d.x, d.y, d.z});
    };
    const auto appendQuat = [](const aiQuaternion& q, std::vector<double>& to) {
        const util::Quat<double> d = asQuat(q);
        to.insert(to.end(), {d.x, d.y, d.z, d.w});
    };
    GroundMotion motion;
    motion.translation = trackOf(channel.mPositionKeys, channel.mNumPositionKeys, ticks, appendVector);
    motion.rotation = trackOf(channel.mRotationKeys, channel.mNumRotationKeys, ticks, appendQuat);
    motion.scale = trackOf(channel.mScalingKeys, channel.mNumScalingKeys, ticks, appendVector);
    aiVector3D translation;
    aiQuaternion rotation;
    aiVector3D scale;
    local.Decompose(scale, rotation, translation);
    return mergeKeys(motion, {asVector(translation), asQuat(rotation), asVector(scale)});
}

// --- Nodes ----------------------------------------------------------------------------------------------------------

/// Adds the vertices and faces of one mesh behind those that are there.
void addMesh(const aiMesh& from, GroundPolygons& polygons) {
    const std::size_t first = polygons.mesh.vertices.size();
    if (from.mNumVertices > 0 && from.mVertices == nullptr) {
        throw GroundError("a mesh has no vertices; export the file again");
    }
    for (const aiVector3D& vertex : std::span(from.mVertices, from.mNumVertices)) {
        polygons.mesh.vertices.push_back(asVector(vertex));
    }
    std::vector<std::uint32_t> corners;
    for (const aiFace& face : std::span(from.mFaces, from.mNumFaces)) {
        corners.clear();
        for (const unsigned index : std::span(face.mIndices, face.mNumIndices)) {
            if (index >= from.mNumVertices) {
                throw GroundError("a face has a corner that is not among the vertices; export the file again");
            }
            corners.push_back(static_cast<std::uint32_t>(first + index));
        }
        polygons.add(corners);
    }
}

class SceneCopier {
  public:
    SceneCopier(const aiScene& from, GroundScene& to)
        : m_from(from), m_to(to), m_channels(channelsOf(from, to.warnings)) {}

    /// Copies what is below the importer's root, with the roots put into `world`.
    void copy(const Matrix4& world, const std::string& fallbackName) {
        m_fallbackName = fallbackName;
        const aiNode& root = *m_from.mRootNode;
        const bool carries = root.mNumMeshes > 0 || m_channels.contains(root.mName.C_Str());
        if (carries) {
            m_open.push_back({&root, -1, world});
        } else {
            pushChildren(root, -1, world * asMatrix(root.mTransformation));
        }
        while (!m_open.empty()) {
            const Open next = m_open.back();
            m_open.pop_back();
            addNode(*next.node, next.parent, next.before);
            pushChildren(*next.node, static_cast<int>(m_to.nodes.size()) - 1, Matrix4());
        }
        m_polygons.addWarnings(m_to.warnings);
    }

  private:
    struct Open {
        const aiNode* node = nullptr;
        int parent = -1;
        /// Comes before the node's own transform.
        Matrix4 before;
    };

    void pushChildren(const aiNode& node, int parent, const Matrix4& before) {
        for (unsigned i = node.mNumChildren; i > 0; --i) m_open.push_back({node.mChildren[i - 1], parent, before});
    }

    void addNode(const aiNode& from, int parent, const Matrix4& before) {
        GroundNode node;
        node.name = from.mName.length > 0 ? from.mName.C_Str() : m_fallbackName;
        node.parent = parent;
        node.local = before * asMatrix(from.mTransformation);
        const auto channel = m_channels.find(from.mName.C_Str());
        if (channel != m_channels.end()) {
            node.keys = keysOf(*channel->second.first, channel->second.second, from.mTransformation);
            for (GroundKey& key : node.keys) key.local = before * key.local;
        }
        addMeshes(from, node);
        m_to.nodes.push_back(std::move(node));
    }

    void addMeshes(const aiNode& from, GroundNode& node) {
        m_polygons.mesh = util::CMesh();
        for (const unsigned index : std::span(from.mMeshes, from.mNumMeshes)) {
            if (index >= m_from.mNumMeshes) throw GroundError("a node has a mesh that is not there; export it again");
            const aiMesh& mesh = *m_from.mMeshes[index];
            addMesh(mesh, m_polygons);
            if (!node.hasColour) readColour(mesh, node);
        }
        if (!m_polygons.mesh.faces.empty()) node.mesh = std::make_shared<util::CMesh>(std::move(m_polygons.mesh));
    }

    void readColour(const aiMesh& mesh, GroundNode& node) const {
        aiColor3D colour;
        if (mesh.mMaterialIndex >= m_from.mNumMaterials) return;
        const aiMaterial& material = *m_from.mMaterials[mesh.mMaterialIndex];
        // The importer gives everything a material; one without a name in the file is its own.
        if (std::string(material.GetName().C_Str()) == AI_DEFAULT_MATERIAL_NAME) return;
        if (material.Get(AI_MATKEY_COLOR_DIFFUSE, colour) != AI_SUCCESS) return;
        const float parts[3] = {colour.r, colour.g, colour.b};
        if (!std::all_of(std::begin(parts), std::end(parts), [](float part) { return std::isfinite(part); })) return;
        for (int i = 0; i < 3; ++i) node.colour[i] = std::clamp(parts[i], 0.0F, 1.0F);
        node.hasColour = true;
    }

    const aiScene& m_from;
    GroundScene& m_to;
    Channels m_channels;
    GroundPolygons m_polygons;
    std::vector<Open> m_open;
    std::string m_fallbackName;
};

/// What the importer says, as a part of a sentence: one line without its full stop.
std::string lineOf(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; }, ' ');
    while (!text.empty() && (text.back() == '.' || text.back() == ' ')) text.pop_back();
    return text.substr(0, 200);
}

}  // namespace

GroundScene importGround(const std::filesystem::path& path, ImportKind kind) {
    checkGroundFile(path);
    if (kind == ImportKind::fbx) checkFbxDepth(readGroundBytes(path));
    Assimp::Importer importer;
    // Nodes with their pivots and rotations of the format in one transform, under their own names.
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    const aiScene* from = importer.ReadFile(path.string(), 0);
    if (from == nullptr || from->mRootNode == nullptr) {
        throw GroundError("it cannot be read (" + lineOf(importer.GetErrorString()) + "); export the file again");
    }
    checkFormat(*from, kind);
    GroundScene scene;
    SceneCopier(*from, scene).copy(kind == ImportKind::fbx ? worldOfFbx(*from) : Matrix4(), path.stem().string());
    return scene;
}

}  // namespace ond::stage
