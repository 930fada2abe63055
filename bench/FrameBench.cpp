// A whole frame of a vehicle with default parameters, beside the bare rays that it casts.
//
// The car drives a curve of 100 frames (4 seconds) over the same hills in every pass, so that each frame finds other
// triangles. A first drive records its rays; then each pass repeats the drive and casts the recorded rays again,
// without a vehicle, on the same ground. Time is processor time per frame. Counters, medians over the passes:
//   rays          rays of one frame: one down and 56 to the sides per wheel
//   rays_us       the bare rays of a frame
//   ratio         frame over bare rays
//   rest_us       frame minus bare rays: what is not a ray
//   hits          share of the bare rays that hit
//   allocations   of all passes together, with room for the keys; Bullet's included
//   first_allocations  of the recording drive, which is the vehicle's first: its work space grows once
//
// largeOverSmall drives on two million triangles and on two thousand in turn; its ratio is that of the two frames.
//
// In stored mode nothing sees the rays on their way to the tree. There the rays replayed are those of a car that drives
// the same curve in surface mode, which differ in the last digits only.
//
// On two million triangles the tree takes most of a minute to build and 1.3 gigabytes.
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "BenchHost.h"
#include "CountedHeap.h"
#include "GridTerrain.h"
#include "ThreadClock.h"
#include "ground/BulletLibrary.h"

namespace {

using namespace ond::bench;
using namespace ond::ovs::addon;
using ond::util::Matrix4;
using V = ond::util::Vector3<double>;

constexpr int kFrames = 100;
constexpr int kRaysOfFrame = 228;

struct BulletRay {
    btVector3 from;
    btVector3 to;
};

class RecordingCaster final : public btDefaultVehicleRaycaster {
  public:
    RecordingCaster(btDynamicsWorld* world, std::vector<BulletRay>& log)
        : btDefaultVehicleRaycaster(world), m_log(log) {}
    void* castRay(const btVector3& from, const btVector3& to, btVehicleRaycasterResult& result) override {
        m_log.push_back({from, to});
        return btDefaultVehicleRaycaster::castRay(from, to, result);
    }

  private:
    std::vector<BulletRay>& m_log;
};

/// A drive that can be repeated, with its rays.
class Drive {
  public:
    Drive(Casting how, const GridTerrain* terrain) : m_terrain(terrain), m_car(how, terrain) {
        m_car.axis(pcInput_GAS_PEDAL) = 0.6;
        m_car.axis(pcInput_STEERING_WHEEL) = 0.5;
        m_car.axis(pcInput_GRAVEL_SHAKE) = 0.2;
        m_car.vehicle->dInitialVelocity = 40.0;
        m_car.reserveKeys(kFrames);
        m_bulletRays.reserve(kFrames * kRaysOfFrame);
        m_localRays.reserve(kFrames * kRaysOfFrame);
        m_car.vehicle->startRun(0.0);
        groundSeconds = threadSeconds() - m_start;
        record();
    }

    /// One pass of frames; seconds of processor time for all of them.
    double frames() {
        restart();
        const long before = heap.allocations;
        const double start = threadSeconds();
        for (int i = 1; i <= kFrames; ++i) m_car.frame(i);
        const double seconds = threadSeconds() - start;
        allocations += heap.allocations - before;
        return seconds;
    }

    /// The rays of a pass of frames without a vehicle; seconds of processor time.
    double rays() {
        const double start = threadSeconds();
        switch (m_car.casting) {
            case Casting::plane: break;
            case Casting::stored: castIntoTree(); break;
            case Casting::bullet: castIntoWorld(); break;
            case Casting::surface: castAtSurface(); break;
        }
        return threadSeconds() - start;
    }

    /// Whether the last pass of frames was the recorded one, to the bit, in a scene without complaints.
    [[nodiscard]] bool isSound() const { return m_car.body() == m_end && m_car.host.complaints.empty(); }

    [[nodiscard]] std::size_t numRays() const { return m_bulletRays.size() + m_localRays.size(); }

    long allocations = 0;        ///< in all passes of frames
    long firstAllocations = 0;   ///< while recording
    long hits = 0;               ///< in all passes of rays
    double groundSeconds = 0.0;  ///< until the first run had started

  private:
    /// Drives the vehicle's first run and logs its rays.
    void record() {
        CCarCamObject& vehicle = *m_car.vehicle;
        if (m_car.casting == Casting::bullet)
            vehicle.m_vehicleRaycaster =
                std::make_unique<RecordingCaster>(vehicle.cPhysicsWorld.pWorld.get(), m_bulletRays);
        if (m_car.casting == Casting::surface) m_car.host.surface->recorded = &m_localRays;
        const long before = heap.allocations;
        for (int i = 1; i <= kFrames; ++i) m_car.frame(i);
        firstAllocations = heap.allocations - before;
        m_end = m_car.body();
        if (m_car.casting == Casting::bullet)
            vehicle.m_vehicleRaycaster =
                std::make_unique<btDefaultVehicleRaycaster>(vehicle.cPhysicsWorld.pWorld.get());
        if (m_car.casting == Casting::surface) m_car.host.surface->recorded = nullptr;
        if (m_car.casting == Casting::stored) m_localRays = Drive(Casting::surface, m_terrain).m_localRays;
    }

    /// Starts the run anew on the ground that stands: building it again is not what is measured here.
    void restart() {
        CCarCamObject& vehicle = *m_car.vehicle;
        m_car.rewind();
        m_car.host.now = 0.0;
        StandingGround ground;
        exchange(ground);
        vehicle.bUseStaticMesh = false;
        vehicle.startRun(0.0);
        vehicle.bUseStaticMesh = m_car.casting == Casting::bullet;
        exchange(ground);
    }

    /// What a run start would free.
    struct StandingGround {
        PhysicsWorld world;
        std::vector<std::unique_ptr<CollisionObjects>> objects;
        std::unique_ptr<btDefaultVehicleRaycaster> caster;
    };

    void exchange(StandingGround& ground) {
        CCarCamObject& vehicle = *m_car.vehicle;
        ground.world.pBroadphase.swap(vehicle.cPhysicsWorld.pBroadphase);
        ground.world.pDispatcher.swap(vehicle.cPhysicsWorld.pDispatcher);
        ground.world.pCollisionConfig.swap(vehicle.cPhysicsWorld.pCollisionConfig);
        ground.world.pSolver.swap(vehicle.cPhysicsWorld.pSolver);
        ground.world.pWorld.swap(vehicle.cPhysicsWorld.pWorld);
        ground.objects.swap(vehicle.aCollisionObjects);
        ground.caster.swap(vehicle.m_vehicleRaycaster);
    }

    void castIntoWorld() {
        btDefaultVehicleRaycaster caster(m_car.vehicle->cPhysicsWorld.pWorld.get());
        for (const BulletRay& ray : m_bulletRays) {
            btVehicleRaycaster::btVehicleRaycasterResult result;
            hits += caster.castRay(ray.from, ray.to, result) != nullptr ? 1 : 0;
            benchmark::DoNotOptimize(result.m_distFraction);
        }
    }

    void castIntoTree() {
        const GroundMeshTreeNode& tree = m_car.vehicle->cGroundMeshTree;
        for (const TerrainSurface::Ray& ray : m_localRays) {
            double t = 0.0;
            V normal;
            hits += tree.rayQuery(ray.origin, ray.direction, t, &normal) ? 1 : 0;
            benchmark::DoNotOptimize(t);
        }
    }

    void castAtSurface() {
        ond::ovs::SurfaceObject& surface = *m_car.host.surface;
        for (const TerrainSurface::Ray& ray : m_localRays) {
            double t = 0.0;
            V normal;
            hits += surface.intersect(ray.origin, ray.direction, &t, &normal) ? 1 : 0;
            benchmark::DoNotOptimize(t);
        }
    }

    const GridTerrain* m_terrain;
    const double m_start = threadSeconds();  // ahead of the car, whose making it times
    BenchCar m_car;
    std::vector<BulletRay> m_bulletRays;
    std::vector<TerrainSurface::Ray> m_localRays;
    Matrix4 m_end;  ///< of the body behind the last frame
};

void frame(benchmark::State& state, Casting how) {
    std::unique_ptr<GridTerrain> terrain;
    if (how != Casting::plane) terrain = std::make_unique<GridTerrain>(state.range(0));
    Drive drive(how, terrain.get());
    std::vector<double> frames;
    std::vector<double> rays;
    std::vector<double> ratios;
    std::vector<double> rests;
    while (state.KeepRunningBatch(kFrames)) {
        const double framesSeconds = drive.frames();
        const double raysSeconds = drive.rays();
        state.SetIterationTime(framesSeconds);
        if (!drive.isSound()) {
            state.SkipWithError("the drive was not the recorded one");
            return;
        }
        frames.push_back(framesSeconds / kFrames * 1e6);
        rays.push_back(raysSeconds / kFrames * 1e6);
        rests.push_back((framesSeconds - raysSeconds) / kFrames * 1e6);
        ratios.push_back(framesSeconds / raysSeconds);
    }
    state.counters["frame_us"] = median(frames);
    state.counters["rest_us"] = median(rests);
    state.counters["ground_s"] = drive.groundSeconds;
    state.counters["allocations"] = static_cast<double>(drive.allocations);
    state.counters["first_allocations"] = static_cast<double>(drive.firstAllocations);
    if (drive.numRays() == 0) return;
    state.counters["rays"] = static_cast<double>(drive.numRays()) / kFrames;
    state.counters["hits"] = static_cast<double>(drive.hits) / static_cast<double>(drive.numRays() * rays.size());
    state.counters["rays_us"] = median(rays);
    state.counters["ratio"] = median(ratios);
}

/// The same frame on two grounds of the same hills.
void largeOverSmall(benchmark::State& state, Casting how) {
    const GridTerrain smallTerrain(2000);
    const GridTerrain largeTerrain(2000000);
    Drive small(how, &smallTerrain);
    Drive large(how, &largeTerrain);
    std::vector<double> smallFrames;
    std::vector<double> largeFrames;
    std::vector<double> ratios;
    while (state.KeepRunningBatch(kFrames)) {
        const double smallSeconds = small.frames();
        const double largeSeconds = large.frames();
        state.SetIterationTime(smallSeconds + largeSeconds);
        if (!small.isSound() || !large.isSound()) {
            state.SkipWithError("a drive was not the recorded one");
            return;
        }
        smallFrames.push_back(smallSeconds / kFrames * 1e6);
        largeFrames.push_back(largeSeconds / kFrames * 1e6);
        ratios.push_back(largeSeconds / smallSeconds);
    }
    state.counters["small_us"] = median(smallFrames);
    state.counters["large_us"] = median(largeFrames);
    state.counters["ratio"] = median(ratios);
}

void settings(benchmark::internal::Benchmark* bench, int passes) {
    bench->Iterations(passes * kFrames)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

void plane(benchmark::internal::Benchmark* bench) { settings(bench, 101); }

void sizes(benchmark::internal::Benchmark* bench) {
    settings(bench, 101);
    bench->ArgName("triangles")->Arg(2000)->Arg(200000)->Arg(2000000);
}

/// Fewer passes, because rays through the tree are slow.
void treeSizes(benchmark::internal::Benchmark* bench) {
    settings(bench, 15);
    bench->ArgName("triangles")->Arg(2000)->Arg(200000)->Arg(2000000);
}

}  // namespace

BENCHMARK_CAPTURE(frame, plane, Casting::plane)->Apply(plane);
BENCHMARK_CAPTURE(frame, bullet, Casting::bullet)->Apply(sizes);
BENCHMARK_CAPTURE(frame, surface, Casting::surface)->Apply(sizes);
BENCHMARK_CAPTURE(frame, stored, Casting::stored)->Apply(treeSizes);
BENCHMARK_CAPTURE(largeOverSmall, bullet, Casting::bullet)->Apply(plane);
