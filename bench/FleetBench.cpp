// What a vehicle costs beside 99 others on the same terrain, and how many of them one core drives in real time.
//
// Each vehicle has its own collision world, as in a host; on the plane they have none, which shows how much of the
// difference is not the ground's. They start at different places of the terrain and drive a
// curve of 100 frames (4 seconds), all of them one frame further in turn, so that each comes upon caches that the
// others have used. In between some of their drives are repeated by a vehicle alone, so that the load of the machine
// weighs on both alike. Time is processor time per vehicle and frame. Counters:
//   fleet_us     median over the frames, with all vehicles
//   alone_us     median over the frames of vehicles that drive alone
//   ratio        fleet over alone
//   per_core     vehicles that one core drives at 25 frames per second, with all vehicles
//   alone_per_core  the same from `alone_us`
//   allocations  in the frames of the fleet behind the tenth
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "BenchHost.h"
#include "CountedHeap.h"
#include "GridTerrain.h"
#include "ThreadClock.h"

namespace {

using namespace ond::bench;
using namespace ond::ovs::addon;

constexpr int kFrames = 100;
constexpr int kAlone = 20;

/// Ready to drive from the place of vehicle number `i` of a fleet.
std::unique_ptr<BenchCar> makeCar(Casting how, const GridTerrain& terrain, int i) {
    auto car = std::make_unique<BenchCar>(how, how == Casting::plane ? nullptr : &terrain);
    Element& body = *car->host.elements.at("CarBodyMesh");
    ond::util::Matrix4 world = body.world;
    world.setRow(3, world.row(3) + ond::util::Vector3<double>(6.0 * (i % 10) - 27.0, 0.0, 6.0 * (i / 10) - 27.0));
    body.setWorldMatrix(world);
    car->axis(pcInput_GAS_PEDAL) = 0.6;
    car->axis(pcInput_STEERING_WHEEL) = 0.5;
    car->axis(pcInput_GRAVEL_SHAKE) = 0.2;
    car->vehicle->dInitialVelocity = 20.0;
    car->reserveKeys(kFrames);
    car->vehicle->startRun(0.0);
    return car;
}

using Cars = std::vector<std::unique_ptr<BenchCar>>;

/// Drives all cars one frame further; processor time, seconds per vehicle.
double drive(const Cars& cars, int frame) {
    const double start = threadSeconds();
    for (const auto& car : cars) car->frame(frame);
    return (threadSeconds() - start) / static_cast<double>(cars.size());
}

void fleet(benchmark::State& state, Casting how) {
    const GridTerrain terrain(state.range(0));
    const int count = static_cast<int>(state.range(1));
    std::vector<double> together;
    std::vector<double> alone;
    long allocations = 0;
    for ([[maybe_unused]] auto once : state) {
        Cars cars;
        for (int i = 0; i < count; ++i) cars.push_back(makeCar(how, terrain, i));
        for (int frame = 1; frame <= kFrames; ++frame) {
            const long before = heap.allocations;
            together.push_back(drive(cars, frame));
            if (frame > 10) allocations += heap.allocations - before;
            if (frame % (kFrames / kAlone) != 0) continue;
            Cars single;
            single.push_back(makeCar(how, terrain, frame * count / (kFrames + 1)));
            for (int i = 1; i <= kFrames; ++i) alone.push_back(drive(single, i));
        }
        state.SetIterationTime(median(together));
    }
    state.counters["fleet_us"] = median(together) * 1e6;
    state.counters["alone_us"] = median(alone) * 1e6;
    state.counters["ratio"] = median(together) / median(alone);
    state.counters["per_core"] = 0.04 / median(together);
    state.counters["alone_per_core"] = 0.04 / median(alone);
    state.counters["allocations"] = static_cast<double>(allocations);
}

}  // namespace

BENCHMARK_CAPTURE(fleet, bullet, Casting::bullet)
    ->ArgNames({"triangles", "vehicles"})
    ->Args({200000, 100})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(fleet, plane, Casting::plane)
    ->ArgNames({"triangles", "vehicles"})
    ->Args({2, 100})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
