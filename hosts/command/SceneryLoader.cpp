#include "command/SceneryLoader.h"

#include <array>
#include <filesystem>
#include <map>

#include "command/CommandError.h"
#include "command/OutputFile.h"
#include "stage/GroundFile.h"

namespace ond::command {

using stage::Element;
using stage::GroundNode;
using stage::GroundScene;
using util::CMesh;
using util::Matrix4;

namespace {

/// Up to this many meshes of a file stay elements of their own.
constexpr std::size_t kFewMeshes = 8;

/// A shape at rest, in world coordinates.
struct Piece {
    std::string name;
    CMesh mesh;
    bool hasColour = false;
    std::array<float, 3> colour{};
};

void append(CMesh& mesh, const CMesh& other, const Matrix4& world) {
    const int offset = mesh.getNumVertices();
    for (const auto& vertex : other.vertices) mesh.vertices.push_back(util::Transform(world, vertex));
    for (const int index : other.faces) mesh.faces.push_back(index + offset);
    mesh.tFaces.resize(mesh.faces.size(), 0);
}

/// Turns a file whose Z is up so that its Y is: (x, y, z) becomes (x, z, -y). Exact.
Matrix4 uprightOf(const GroundPlan& plan) {
    Matrix4 turn;
    if (!plan.zUp) return turn;
    const std::string ending = endingOf(plan.file);
    if (ending == ".glb" || ending == ".gltf" || ending == ".fbx")
        throw CommandError(plan.file + ": the up axis z is for .obj, .ply and .stl; a file with the ending " + ending +
                           " says itself which axis is up, so leave it out");
    turn.setRow(1, {0.0, 0.0, -1.0});
    turn.setRow(2, {0.0, 1.0, 0.0});
    return turn;
}

/// One file on its way into the scene.
class Loader {
  public:
    Loader(const GroundPlan& plan, stage::Scene& scene)
        : m_scene(scene),
          m_file(stage::readGround(plan.file)),
          m_stem(std::filesystem::path(plan.file).stem().string()),
          m_root(util::Translation(plan.at) * util::Scaling(plan.scale) * uprightOf(plan)) {
        for (const std::string& warning : m_file.warnings) notes.push_back(plan.file + ": " + warning);
        findMoving();
    }

    /// Elements of the meshes at rest.
    std::vector<Element*> addResting();
    /// Elements of the nodes that move, of what they carry and of what carries them.
    void addMoving(const std::string& file);

    std::vector<std::string> notes;

  private:
    void findMoving();
    [[nodiscard]] std::vector<Piece> pieces() const;
    [[nodiscard]] std::vector<Piece> joined(std::vector<Piece> all) const;
    [[nodiscard]] std::string freeName(const std::string& wanted) const;
    [[nodiscard]] Matrix4 placed(const GroundNode& node, const Matrix4& local) const {
        return node.parent < 0 ? m_root * local : local;
    }

    stage::Scene& m_scene;
    GroundScene m_file;
    std::string m_stem;
    Matrix4 m_root;
    std::vector<bool> m_moves;    ///< the node or one above it has keys
    std::vector<bool> m_carries;  ///< a node below it moves
};

void Loader::findMoving() {
    const std::size_t count = m_file.nodes.size();
    m_moves.assign(count, false);
    m_carries.assign(count, false);
    for (std::size_t i = 0; i < count; ++i) {
        const int parent = m_file.nodes[i].parent;
        m_moves[i] = !m_file.nodes[i].keys.empty() || (parent >= 0 && m_moves[static_cast<std::size_t>(parent)]);
    }
    for (std::size_t i = count; i-- > 0;)
        if (m_file.nodes[i].parent >= 0 && (m_moves[i] || m_carries[i]))
            m_carries[static_cast<std::size_t>(m_file.nodes[i].parent)] = true;
}

std::vector<Piece> Loader::pieces() const {
    std::vector<Piece> all;
    std::vector<Matrix4> worlds;
    for (std::size_t i = 0; i < m_file.nodes.size(); ++i) {
        const GroundNode& node = m_file.nodes[i];
        const Matrix4 local = placed(node, node.local);
        worlds.push_back(node.parent < 0 ? local : worlds[static_cast<std::size_t>(node.parent)] * local);
        if (node.mesh == nullptr || node.mesh->getNumFaces() == 0 || m_moves[i]) continue;
        Piece piece{node.name.empty() ? m_stem : node.name,
                    {},
                    node.hasColour,
                    {node.colour[0], node.colour[1], node.colour[2]}};
        append(piece.mesh, *node.mesh, worlds.back());
        all.push_back(std::move(piece));
    }
    return all;
}

std::vector<Piece> Loader::joined(std::vector<Piece> all) const {
    if (all.size() <= kFewMeshes) return all;
    std::vector<Piece> few;
    std::map<std::pair<bool, std::array<float, 3>>, std::size_t> places;
    for (const Piece& piece : all) {
        const auto [place, isNew] = places.try_emplace({piece.hasColour, piece.colour}, few.size());
        if (isNew) few.push_back({m_stem, {}, piece.hasColour, piece.colour});
        append(few[place->second].mesh, piece.mesh, Matrix4());
    }
    return few;
}

std::string Loader::freeName(const std::string& wanted) const {
    if (m_scene.find(wanted) == nullptr) return wanted;
    for (int i = 2;; ++i) {
        std::string name = wanted + " " + std::to_string(i);
        if (m_scene.find(name) == nullptr) return name;
    }
}

std::vector<Element*> Loader::addResting() {
    std::vector<Element*> elements;
    for (const Piece& piece : joined(pieces())) {
        Element& element = m_scene.addMesh(freeName(piece.name), piece.mesh);
        element.ownColour = piece.hasColour;
        for (std::size_t k = 0; k < 3; ++k) element.colour[k] = piece.colour[k];
        elements.push_back(&element);
    }
    return elements;
}

void Loader::addMoving(const std::string& file) {
    std::map<int, Element*> made;
    bool withMesh = false;
    for (std::size_t i = 0; i < m_file.nodes.size(); ++i) {
        const GroundNode& node = m_file.nodes[i];
        if (!m_moves[i] && !m_carries[i]) continue;
        Element& element = m_scene.add(freeName(node.name.empty() ? m_stem : node.name),
                                       node.parent < 0 ? nullptr : made.at(node.parent));
        made[static_cast<int>(i)] = &element;
        element.track.pose = placed(node, node.local);
        for (const stage::GroundKey& key : node.keys)
            element.track.setKey(key.time, placed(node, key.local), m_scene.clock.snap());
        if (!m_moves[i] || node.mesh == nullptr) continue;
        m_scene.setShape(element, *node.mesh);
        element.ownColour = node.hasColour;
        for (std::size_t k = 0; k < 3; ++k) element.colour[k] = node.colour[k];
        withMesh = true;
    }
    if (withMesh) notes.push_back(file + ": meshes that move are shown but not driven on");
}

}  // namespace

std::vector<const Element*> LoadedGround::all() const {
    std::vector<const Element*> elements(children.begin(), children.end());
    if (parent != nullptr) elements.insert(elements.begin(), parent);
    return elements;
}

LoadedGround loadGround(const DrivePlan& plan, stage::Scene& scene) {
    LoadedGround loaded;
    std::string carrier;
    bool explicitParent = false;
    for (const GroundPlan& ground : plan.ground) explicitParent |= ground.link == GroundLink::parent;
    for (const GroundPlan& ground : plan.ground) {
        Loader loader(ground, scene);
        const std::vector<Element*> elements = loader.addResting();
        loader.addMoving(ground.file);
        const bool carries = ground.link == GroundLink::parent ||
                             (ground.link == GroundLink::automatic && !explicitParent && loaded.parent == nullptr);
        if (ground.link == GroundLink::parent && loaded.parent != nullptr)
            throw CommandError("the ground files " + carrier + " and " + ground.file +
                               " both have the link 'parent'; only one can carry the gravity arrow");
        for (Element* element : elements) {
            if (carries && loaded.parent == nullptr) {
                loaded.parent = element;
                carrier = ground.file;
            } else {
                loaded.children.push_back(element);
            }
        }
        loaded.notes.insert(loaded.notes.end(), loader.notes.begin(), loader.notes.end());
    }
    for (const GroundPlan& scenery : plan.scenery) {
        Loader loader(scenery, scene);
        loader.addResting();
        loader.addMoving(scenery.file);
        loaded.notes.insert(loaded.notes.end(), loader.notes.begin(), loader.notes.end());
    }
    return loaded;
}

void linkGround(stage::Scene& scene, const LoadedGround& ground, const std::string& vehicle) {
    Element* arrow = scene.find(vehicle, "GravityDirectionMesh");
    const double now = scene.clock.time(scene.clock.now);
    const Matrix4 world = scene.world(*arrow, now);
    if (ground.parent != nullptr) {
        scene.reparent(*arrow, ground.parent);
        scene.setWorld(*arrow, now, world);
    }
    for (Element* child : ground.children) {
        Element* linked = child;
        if (child->parent != nullptr) {
            linked = &scene.addMesh(child->name + " for " + vehicle, child->shape);
            linked->shown = false;
        }
        scene.reparent(*linked, arrow);
        scene.setWorld(*linked, now, Matrix4());
    }
}

}  // namespace ond::command
