#include "stage/GroundGltfMesh.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <utility>

#include "stage/GroundPolygons.h"

namespace ond::stage::gltf {

namespace {

using util::CMesh;

enum Mode : std::size_t { points = 0, lines = 1, lineLoop = 2, lineStrip = 3, triangles = 4, strip = 5, fan = 6 };

std::int64_t countPointsOrLines(std::size_t mode, std::size_t corners) {
    const auto n = static_cast<std::int64_t>(corners);
    switch (mode) {
        case Mode::lines: return n / 2;
        case Mode::lineStrip: return std::max<std::int64_t>(n - 1, 0);
        default: return n;
    }
}

/// Appends the triangles on `corners`, whose entries count from vertex `first` on.
void addFaces(CMesh& mesh, const std::vector<std::uint32_t>& corners, std::size_t mode, std::size_t first) {
    const auto add = [&](std::size_t a, std::size_t b, std::size_t c) {
        for (const std::size_t i : {a, b, c}) mesh.faces.push_back(static_cast<int>(first + corners[i]));
    };
    const std::size_t n = corners.size();
    mesh.faces.reserve(mesh.faces.size() + (mode == Mode::triangles ? n : 3 * n));
    if (mode == Mode::triangles) {
        if (n % 3 != 0) damaged("a mesh has " + std::to_string(n) + " corners, which are no whole triangles");
        for (std::size_t i = 0; i < n; i += 3) add(i, i + 1, i + 2);
    } else {
        for (std::size_t i = 2; i < n; ++i) {
            if (mode == Mode::fan) {
                add(i - 1, i, 0);
            } else if (i % 2 == 0) {
                add(i - 2, i - 1, i);
            } else {
                add(i - 2, i, i - 1);
            }
        }
    }
}

/// Appends the positions of accessor `accessor`.
void addVertices(CMesh& mesh, Data& data, std::size_t accessor) {
    const std::vector<double> numbers = data.numbers(accessor, 3);
    mesh.vertices.reserve(mesh.vertices.size() + numbers.size() / 3);
    for (std::size_t i = 0; i < numbers.size(); i += 3) {
        mesh.vertices.emplace_back(numbers[i], numbers[i + 1], numbers[i + 2]);
    }
}

/// The corners of a primitive, each below `count`, its number of vertices.
std::vector<std::uint32_t> cornersOf(const Json& primitive, Data& data, std::size_t count) {
    const std::size_t accessors = list(data.json(), "accessors").size();
    const std::optional<std::size_t> accessor = reference(primitive, "indices", accessors);
    if (!accessor) {
        std::vector<std::uint32_t> all(count);
        std::iota(all.begin(), all.end(), 0U);
        return all;
    }
    std::vector<std::uint32_t> corners = data.indices(*accessor);
    const auto wrong = std::find_if(corners.begin(), corners.end(), [count](std::uint32_t c) { return c >= count; });
    if (wrong != corners.end()) {
        damaged("a mesh has a corner " + std::to_string(*wrong) + " and only " + std::to_string(count) + " vertices");
    }
    return corners;
}

}  // namespace

Meshes::Meshes(Data& data) : m_data(data), m_meshes(list(data.json(), "meshes").size()) {}

const ColouredMesh& Meshes::get(std::size_t index) {
    if (!m_meshes[index]) m_meshes[index] = std::make_unique<ColouredMesh>(read(index));
    return *m_meshes[index];
}

ColouredMesh Meshes::read(std::size_t index) {
    const std::size_t accessors = list(m_data.json(), "accessors").size();
    ColouredMesh result;
    auto mesh = std::make_shared<CMesh>();
    // Primitives that differ in their triangles alone share their vertices.
    std::map<std::size_t, std::size_t> firstVertex;
    for (const Json& primitive : list(list(m_data.json(), "meshes")[index], "primitives")) {
        const Json* attributes = findObject(primitive, "attributes");
        if (attributes == nullptr) damaged("a mesh has no attributes");
        const std::size_t mode = wholeNumber(primitive, "mode").value_or(Mode::triangles);
        if (mode > Mode::fan) damaged("a mesh has the unknown mode " + std::to_string(mode));
        const std::optional<std::size_t> positions = reference(*attributes, "POSITION", accessors);
        if (!positions) continue;
        const std::size_t count = m_data.count(*positions);
        if (mode < Mode::triangles) {
            const std::optional<std::size_t> corners = reference(primitive, "indices", accessors);
            m_pointsAndLines += countPointsOrLines(mode, corners ? m_data.count(*corners) : count);
            continue;
        }
        const auto [known, isNew] = firstVertex.try_emplace(*positions, mesh->vertices.size());
        if (isNew) addVertices(*mesh, m_data, *positions);
        addFaces(*mesh, cornersOf(primitive, m_data, count), mode, known->second);
        if (!list(primitive, "targets").empty()) ++m_morphed;
        if (!result.hasColour) readColour(primitive, result);
    }
    if (!mesh->faces.empty()) result.mesh = std::move(mesh);
    return result;
}

void Meshes::readColour(const Json& primitive, ColouredMesh& mesh) const {
    const Json& materials = list(m_data.json(), "materials");
    const std::optional<std::size_t> material = reference(primitive, "material", materials.size());
    if (!material) return;
    const Json* surface = findObject(materials[*material], "pbrMetallicRoughness");
    double colour[4];
    if (surface == nullptr || !numbers(*surface, "baseColorFactor", colour)) return;
    for (std::size_t i = 0; i < 3; ++i) mesh.colour[i] = static_cast<float>(std::clamp(colour[i], 0.0, 1.0));
    mesh.hasColour = true;
}

void Meshes::addWarnings(std::vector<std::string>& warnings) const {
    warnOfPointsAndLines(m_pointsAndLines, warnings);
    if (m_morphed > 0) {
        warnings.push_back(
            std::to_string(m_morphed) +
            (m_morphed == 1 ? " mesh part with morph targets was" : " mesh parts with morph targets were") +
            " taken in the rest shape.");
    }
}

}  // namespace ond::stage::gltf
