#include "stage/GroundCheck.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <unordered_set>

#include "stage/Finite.h"

namespace ond::stage {

namespace {

using util::CMesh;
using util::Matrix4;
using V = util::Vector3<double>;

// Twice the area of a triangle over the square of its longest edge; below it is a line in any precision of a file.
constexpr double kFlat = 1e-12;

std::string quoted(const std::string& name) { return "\"" + name + "\""; }

void checkNode(const GroundScene& scene, std::size_t i) {
    const GroundNode& node = scene.nodes[i];
    if (node.parent < -1 || node.parent >= static_cast<int>(i)) {
        throw GroundError("its node " + quoted(node.name) + " stands before its parent; export the file again");
    }
    bool finite = isFinite(node.local);
    for (std::size_t k = 0; k < node.keys.size(); ++k) {
        finite = finite && std::isfinite(node.keys[k].time) && isFinite(node.keys[k].local);
        if (k > 0 && !(node.keys[k - 1].time < node.keys[k].time)) {
            throw GroundError("the keys of its node " + quoted(node.name) +
                              " are not in the order of their times; export the file again");
        }
    }
    if (!finite) {
        throw GroundError("the transform of its node " + quoted(node.name) +
                          " has numbers that are not finite; repair it and export the file again");
    }
}

void checkWorld(const GroundScene& scene) {
    std::vector<Matrix4> worlds;
    worlds.reserve(scene.nodes.size());
    for (const GroundNode& node : scene.nodes) {
        worlds.push_back(node.parent < 0 ? node.local : worlds[static_cast<std::size_t>(node.parent)] * node.local);
        if (!isFinite(worlds.back())) {
            throw GroundError("the transforms above its node " + quoted(node.name) +
                              " multiply to numbers that are not finite; repair them and export the file again");
        }
    }
}

void checkMesh(const CMesh& mesh, const std::string& name) {
    for (std::size_t i = 0; i < mesh.vertices.size(); ++i) {
        if (!isFinite(mesh.vertices[i])) {
            throw GroundError("vertex " + std::to_string(i) + " of " + quoted(name) +
                              " has a coordinate that is not finite; repair the mesh and export the file again");
        }
    }
    const bool fits = std::all_of(mesh.faces.begin(), mesh.faces.end(), [&mesh](int index) {
        return index >= 0 && static_cast<std::size_t>(index) < mesh.vertices.size();
    });
    if (!fits || mesh.faces.size() % 3 != 0) {
        throw GroundError("a triangle of " + quoted(name) +
                          " has a corner that is not in the file; export the file again");
    }
}

std::uint64_t mixed(std::uint64_t bits) {
    bits = (bits ^ (bits >> 31)) * 0x7fb5d329728ea185U;
    bits = (bits ^ (bits >> 27)) * 0x81dadef4bc2dd44dU;
    return bits ^ (bits >> 33);
}

/// The same for equal positions. Adding 0.0 makes the two zeros one.
std::uint64_t fingerprint(const V& v) {
    std::uint64_t bits = mixed(std::bit_cast<std::uint64_t>(v.x + 0.0) + 1);
    bits = mixed(bits + std::bit_cast<std::uint64_t>(v.y + 0.0));
    return mixed(bits + std::bit_cast<std::uint64_t>(v.z + 0.0));
}

bool isFlat(const V& a, const V& b, const V& c) {
    const V ab = b - a;
    const V ac = c - a;
    const V bc = c - b;
    const double longest = std::max({Dot(ab, ab), Dot(ac, ac), Dot(bc, bc)});
    return Length(Cross(ab, ac)) <= kFlat * longest;
}

/// How many triangles are no surface, and how many lie on corners that a triangle before them has, in any order.
struct Oddities {
    std::int64_t flat = 0;
    std::int64_t repeated = 0;
};

void countOddities(const CMesh& mesh, Oddities& counts) {
    std::vector<std::uint64_t> ofVertex;
    ofVertex.reserve(mesh.vertices.size());
    for (const V& vertex : mesh.vertices) ofVertex.push_back(fingerprint(vertex));
    std::vector<std::uint64_t> ofTriangle;
    ofTriangle.reserve(mesh.faces.size() / 3);
    for (std::size_t i = 0; i < mesh.faces.size(); i += 3) {
        const auto a = static_cast<std::size_t>(mesh.faces[i]);
        const auto b = static_cast<std::size_t>(mesh.faces[i + 1]);
        const auto c = static_cast<std::size_t>(mesh.faces[i + 2]);
        if (isFlat(mesh.vertices[a], mesh.vertices[b], mesh.vertices[c])) {
            ++counts.flat;
        } else {
            ofTriangle.push_back(mixed(ofVertex[a]) + mixed(ofVertex[b]) + mixed(ofVertex[c]));
        }
    }
    std::sort(ofTriangle.begin(), ofTriangle.end());
    for (std::size_t i = 1; i < ofTriangle.size(); ++i) counts.repeated += ofTriangle[i - 1] == ofTriangle[i] ? 1 : 0;
}

void addWarnings(const Oddities& counts, std::vector<std::string>& warnings) {
    if (counts.flat > 0) {
        warnings.push_back(std::to_string(counts.flat) + (counts.flat == 1 ? " triangle has" : " triangles have") +
                           " no area; kept as in the file.");
    }
    if (counts.repeated > 0) {
        warnings.push_back(std::to_string(counts.repeated) +
                           (counts.repeated == 1 ? " triangle lies" : " triangles lie") +
                           " on the corners of another one; kept as in the file.");
    }
}

}  // namespace

void checkGround(GroundScene& scene) {
    std::unordered_set<const CMesh*> seen;
    Oddities counts;
    scene.triangles = 0;
    for (std::size_t i = 0; i < scene.nodes.size(); ++i) {
        const GroundNode& node = scene.nodes[i];
        checkNode(scene, i);
        if (!node.mesh) continue;
        if (seen.insert(node.mesh.get()).second) {
            checkMesh(*node.mesh, node.name);
            countOddities(*node.mesh, counts);
        }
        scene.triangles += static_cast<std::int64_t>(node.mesh->faces.size() / 3);
    }
    checkWorld(scene);
    if (scene.triangles == 0) {
        throw GroundError("it holds no triangle; export a file with the meshes of the ground");
    }
    addWarnings(counts, scene.warnings);
}

}  // namespace ond::stage
