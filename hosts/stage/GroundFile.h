// Ground and scenery from mesh files of other programs: what a scene holds before a vehicle drives in it.
//
// Lengths in metres, +Y up, times in seconds. What a file holds is taken as it stands: no corners are welded, no
// triangles re-ordered, left out or turned round, nothing is scaled. Exceptions are told at readGround().
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "ond/util/CMesh.h"
#include "ond/util/Matrix4.h"

namespace ond::stage {

/// One key of a moving node.
struct GroundKey {
    /// Seconds.
    double time = 0.0;
    /// The node in its parent at that time.
    util::Matrix4 local;
};

struct GroundNode {
    std::string name;
    /// Index into GroundScene::nodes, always below this node's own; -1 at a root.
    int parent = -1;
    /// The node in its parent, at rest.
    util::Matrix4 local;
    /// By ascending times; empty if the node does not move.
    std::vector<GroundKey> keys;
    /// Null at a node that only carries others. Nodes that show the same mesh of a glTF file share it. Texture
    /// coordinates are not read.
    std::shared_ptr<const util::CMesh> mesh;
    /// Red, green and blue of the first material of the mesh, as in the file; only with `hasColour`.
    float colour[3] = {0.8F, 0.8F, 0.8F};
    bool hasColour = false;
};

struct GroundScene {
    /// Parents before their children, children in the order of the file.
    std::vector<GroundNode> nodes;
    /// Triangles of all nodes; a mesh at two nodes counts twice.
    std::int64_t triangles = 0;
    /// Sentences about what is odd in the file or was left out of it.
    std::vector<std::string> warnings;
};

/// A file that cannot be the ground. The text is one sentence that names the file and says what to do.
class GroundError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Reads a ground or scenery file. The ending of its name, in either case, says what it is:
///
/// - .glb, .gltf: glTF 2.0 with buffers inside, as data URIs or in files next to it. Numbers come through to the bit.
///   Only the scene that the file shows is read. A mesh of several primitives becomes one mesh, their triangles in the
///   file's order.
/// - .ply: text or binary of either byte order, faces and triangle strips. Numbers come through to the bit; units and
///   axes are not part of the format, so they are taken as metres and +Y up.
/// - .obj: without units and axes, too. Each number becomes the double nearest to it; vertices without a face are left
///   out. Each object and each group that has faces is a mesh, with the colour that its first coloured material has in
///   the .mtl files next to the file.
/// - .stl: the same without units or axes. Numbers have single precision, and the corners of each face are vertices of
///   their own.
/// - .fbx: its settings say which axis is up, front and right and how many centimetres its unit has. The roots are
///   turned and scaled by that, so that the scene is in metres with +Y up; meshes and the nodes below the roots keep
///   the file's own numbers. What has several materials keeps the order of triangles within each material.
///
/// Polygons are cut into triangles, concave ones along their outline. Points and lines are left out. Triangles without
/// an area and those that are there twice are kept; a warning counts them. A root that an importer adds above the
/// file's own nodes does not appear. A moving node has keys at all times where its translation, its rotation or its
/// scale has one.
///
/// Throws GroundError for a file that is not there, is no file of the kind that its name says, is damaged, holds
/// numbers that are not finite or no triangle at all, is larger than 1 GiB or needs what is not read here.
[[nodiscard]] GroundScene readGround(const std::string& path);

}  // namespace ond::stage
