// Ground at three sizes of terrain: building the tree and the Bullet world, and one ray through each.
//
// Rays go straight down on places all over the terrain, from above it, as a wheel's centre ray does. Sizes are numbers
// of triangles. On two million the tree takes most of a minute to build and more than a gigabyte; the build that is
// timed is done once, and the rays have one of their own.
#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <memory>
#include <vector>

#include "ground/BulletLibrary.h"
#include "ground/GroundMeshTree.h"
#include "ground/PhysicsWorld.h"
#include "ground/TriMeshStorage.h"

namespace {

using namespace ond::ovs::addon;
using ond::util::CMesh;
using V = ond::util::Vector3<double>;

constexpr double kCell = 0.5;

double height(double x, double z) {
    return 4.0 * std::sin(0.021 * x) * std::cos(0.017 * z) + 0.8 * std::sin(0.13 * x + 0.11 * z) +
           0.05 * std::sin(1.7 * x) * std::sin(2.3 * z);
}

int cellsFor(std::int64_t triangles) {
    return static_cast<int>(std::lround(std::sqrt(static_cast<double>(triangles) / 2.0)));
}

CMesh makeTerrain(int cells) {
    CMesh mesh;
    const int n = cells + 1;
    mesh.setNumVertices(n * n);
    mesh.setNumFaces(2 * cells * cells);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            const double x = (j - 0.5 * cells) * kCell;
            const double z = (i - 0.5 * cells) * kCell;
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

/// Made once per size and kept for all benchmarks.
const CMesh& terrain(std::int64_t triangles) {
    static std::map<std::int64_t, CMesh> meshes;
    const auto [entry, isNew] = meshes.try_emplace(triangles);
    if (isNew) entry->second = makeTerrain(cellsFor(triangles));
    return entry->second;
}

const GroundMeshTreeNode& tree(std::int64_t triangles) {
    static std::map<std::int64_t, GroundMeshTreeNode> trees;
    const auto [entry, isNew] = trees.try_emplace(triangles);
    if (isNew) entry->second.buildFromMesh(terrain(triangles));
    return entry->second;
}

/// The terrain as the one body of a world.
class BulletGround {
  public:
    explicit BulletGround(const CMesh& mesh) {
        m_storage.setStaticMesh(mesh, btTransform::getIdentity(), btVector3(1, 1, 1), 0.01);
        m_physics.createWorld(V(0, -1, 0));
        m_physics.addRigidBody(m_body, 0.0, btTransform::getIdentity(), m_storage.getShape());
    }
    [[nodiscard]] btDynamicsWorld* world() const { return m_physics.pWorld.get(); }

  private:
    triMeshStorage m_storage;
    btRigidBody* m_body = nullptr;
    PhysicsWorld m_physics;
};

/// Starts of rays, in an order without pattern.
std::vector<V> rayStarts(std::int64_t triangles) {
    const double half = 0.499 * cellsFor(triangles) * kCell;
    std::vector<V> starts(4096);
    for (std::size_t i = 0; i < starts.size(); ++i) {
        // Additive recurrence on the plastic number: spreads evenly, repeats nothing.
        const auto n = static_cast<double>(i + 1);
        const double u = std::fmod(n * 0.7548776662466927, 1.0);
        const double w = std::fmod(n * 0.5698402909980532, 1.0);
        starts[i] = V((2 * u - 1) * half, 10.0, (2 * w - 1) * half);
    }
    return starts;
}

void treeBuild(benchmark::State& state) {
    const CMesh& mesh = terrain(state.range(0));
    for (auto _ : state) {
        GroundMeshTreeNode node;
        node.buildFromMesh(mesh);
        benchmark::DoNotOptimize(node.aChildren.data());
    }
}

void treeRay(benchmark::State& state) {
    const GroundMeshTreeNode& root = tree(state.range(0));
    const std::vector<V> starts = rayStarts(state.range(0));
    std::size_t i = 0;
    std::int64_t hits = 0;
    for (auto _ : state) {
        double t = 0.0;
        V normal;
        hits += root.rayQuery(starts[i++ % starts.size()], V(0, -1, 0), t, &normal) ? 1 : 0;
        benchmark::DoNotOptimize(t);
    }
    state.counters["hits"] = static_cast<double>(hits) / static_cast<double>(state.iterations());
}

void bulletBuild(benchmark::State& state) {
    const CMesh& mesh = terrain(state.range(0));
    for (auto _ : state) {
        const BulletGround ground(mesh);
        benchmark::DoNotOptimize(ground.world());
    }
}

void bulletRay(benchmark::State& state) {
    const BulletGround ground(terrain(state.range(0)));
    btDefaultVehicleRaycaster raycaster(ground.world());
    const std::vector<V> starts = rayStarts(state.range(0));
    std::size_t i = 0;
    std::int64_t hits = 0;
    for (auto _ : state) {
        const btVector3 from = toBullet(starts[i++ % starts.size()]);
        btVehicleRaycaster::btVehicleRaycasterResult result;
        hits += raycaster.castRay(from, from - btVector3(0, 300, 0), result) ? 1 : 0;
        benchmark::DoNotOptimize(result.m_distFraction);
    }
    state.counters["hits"] = static_cast<double>(hits) / static_cast<double>(state.iterations());
}

}  // namespace

BENCHMARK(treeBuild)->Arg(2000)->Arg(200000)->Unit(benchmark::kMillisecond);
BENCHMARK(treeBuild)->Arg(2000000)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(treeRay)->Arg(2000)->Arg(200000)->Arg(2000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(bulletBuild)->Arg(2000)->Arg(200000)->Arg(2000000)->Unit(benchmark::kMillisecond);
BENCHMARK(bulletRay)->Arg(2000)->Arg(200000)->Arg(2000000)->Unit(benchmark::kMicrosecond);
