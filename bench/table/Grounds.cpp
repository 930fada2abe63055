#include "table/Grounds.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>

#include "stage/GroundFile.h"
#include "table/Random.h"
#include "table/Settings.h"

namespace ond::bench::table {

namespace {

constexpr double kHalfWidth = 50.0;

using Height = std::function<double(double x, double z)>;

util::CMesh makeGrid(std::int64_t triangles, const Height& height) {
    const int cells = static_cast<int>(std::lround(std::sqrt(static_cast<double>(triangles) / 2.0)));
    const double cell = 2.0 * kHalfWidth / cells;
    const int n = cells + 1;
    util::CMesh mesh;
    mesh.setNumVertices(n * n);
    mesh.setNumFaces(2 * cells * cells);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            const double x = j * cell - kHalfWidth;
            const double z = i * cell - kHalfWidth;
            mesh.setVertex(i * n + j, x, height(x, z), z);
        }
    for (int i = 0; i < cells; ++i)
        for (int j = 0; j < cells; ++j) {
            const int a = i * n + j;
            mesh.setFace(2 * (i * cells + j), a, a + n, a + 1);
            mesh.setFace(2 * (i * cells + j) + 1, a + 1, a + n, a + n + 1);
        }
    return mesh;
}

struct Wave {
    double x;  ///< radians per unit
    double z;
    double phase;
    double height;
};

/// From hills that are wider than the car down to bumps that are narrower than its wheels.
std::vector<Wave> makeWaves(std::uint64_t seed) {
    Random random(seed);
    std::vector<Wave> waves;
    for (const auto& [length, height] : {std::pair{70.0, 0.9}, {45.0, 0.5}, {14.0, 0.12}, {6.0, 0.03}, {3.0, 0.01}}) {
        const double angle = random.between(0.0, 6.283185307179586);
        const double turn = 6.283185307179586 / length;
        waves.push_back(
            {turn * std::cos(angle), turn * std::sin(angle), random.between(0.0, 6.283185307179586), height});
    }
    return waves;
}

void append(util::CMesh& all, const util::CMesh& more) {
    const int first = all.getNumVertices();
    all.vertices.insert(all.vertices.end(), more.vertices.begin(), more.vertices.end());
    for (int face = 0; face < more.getNumFaces(); ++face)
        for (int corner = 0; corner < 3; ++corner) all.faces.push_back(first + more.getFaceVertex(face, corner));
    all.tFaces.resize(all.faces.size());
}

}  // namespace

util::CMesh makeHills(std::int64_t triangles, std::uint64_t seed) {
    return makeGrid(triangles, [waves = makeWaves(seed)](double x, double z) {
        double sum = 0.0;
        for (const Wave& wave : waves) sum += wave.height * std::sin(wave.x * x + wave.z * z + wave.phase);
        return sum;
    });
}

util::CMesh makePlain(std::int64_t triangles) {
    return makeGrid(triangles, [](double /*x*/, double /*z*/) { return 0.0; });
}

util::CMesh readMesh(const std::string& path) {
    const stage::GroundScene scene = stage::readGround(path);
    util::CMesh all;
    std::vector<util::Matrix4> worlds;
    for (const stage::GroundNode& node : scene.nodes) {
        worlds.push_back(node.parent < 0 ? node.local : worlds[static_cast<std::size_t>(node.parent)] * node.local);
        if (node.mesh != nullptr) append(all, *node.mesh * worlds.back());
    }
    if (all.getNumFaces() < 1) throw std::runtime_error(path + " holds no triangle; give a mesh to drive on");
    return all;
}

NamedGround groundOf(const Settings& settings, std::int64_t triangles) {
    if (settings.ground == nullptr) return {sizeName(triangles), makeHills(triangles, settings.seed)};
    return {sizeName(settings.ground->getNumFaces()), *settings.ground};
}

std::vector<std::int64_t> groundSizes(const Settings& settings) {
    if (settings.ground != nullptr) return {settings.ground->getNumFaces()};
    if (settings.quick) return {kSmall, kMiddle};
    return {kSmall, kMiddle, kLarge};
}

std::string sizeName(std::int64_t triangles) {
    if (triangles >= 1000000 && triangles % 1000000 == 0) return std::to_string(triangles / 1000000) + "M";
    if (triangles >= 1000 && triangles % 1000 == 0) return std::to_string(triangles / 1000) + "k";
    return std::to_string(triangles);
}

Box boxOf(const util::CMesh& mesh) {
    Box box{mesh.vertices.at(0), mesh.vertices.at(0)};
    for (const Vector& v : mesh.vertices) {
        box.low = {std::min(box.low.x, v.x), std::min(box.low.y, v.y), std::min(box.low.z, v.z)};
        box.high = {std::max(box.high.x, v.x), std::max(box.high.y, v.y), std::max(box.high.z, v.z)};
    }
    return box;
}

}  // namespace ond::bench::table
