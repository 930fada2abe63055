// Start and end of a run: what a user waits for after pressing play.
//
// In Bullet mode the start builds the collision world from the ground, in stored mode everything stands already, in
// surface mode the ground stays with the host. The resumed run starts behind a recording of 10,000 frames, whose
// histories the undo records copy.
//
// secondOverFirst starts cars of which each is the first on its ground, and starts each of them again. Counter:
//   ratio         second start over first, without the stops
// Of the others:
//   kept_bytes    heap that one more run leaves behind, Bullet's included; absent where it is nothing
// Read the medians, and of the times "CPU".
#include <benchmark/benchmark.h>

#include <vector>

#include "BenchHost.h"
#include "CountedHeap.h"
#include "GridTerrain.h"
#include "ThreadClock.h"
#include "ond/ovs/CCamera.h"

namespace {

using namespace ond::bench;
using namespace ond::ovs::addon;

constexpr int kRecordedFrames = 10000;

void startAndStop(BenchCar& car, double time) {
    car.host.now = time;
    car.vehicle->startRun(time);
    car.vehicle->stopRun(time);
}

/// Times runs that all start at `time`.
void runs(benchmark::State& state, BenchCar& car, double time) {
    startAndStop(car, time);
    const long before = heap.liveBytes;
    for (auto _ : state) startAndStop(car, time);
    const long kept = heap.liveBytes - before;
    if (kept != 0) state.counters["kept_bytes"] = static_cast<double>(kept) / static_cast<double>(state.iterations());
    if (!car.host.complaints.empty()) state.SkipWithError(car.host.complaints.front().c_str());
}

void fresh(benchmark::State& state, Casting how) {
    const GridTerrain terrain(state.range(0));
    BenchCar car(how, &terrain);
    runs(state, car, 0.0);
}

/// The start alone; seconds of processor time.
double timeOfStart(BenchCar& car) {
    const double start = threadSeconds();
    car.vehicle->startRun(0.0);
    return threadSeconds() - start;
}

void secondOverFirst(benchmark::State& state, Casting how) {
    const GridTerrain terrain(state.range(0));
    std::vector<double> first;
    std::vector<double> second;
    for ([[maybe_unused]] auto once : state) {
        BenchCar car(how, &terrain);
        first.push_back(timeOfStart(car));
        car.vehicle->stopRun(0.0);
        second.push_back(timeOfStart(car));
        car.vehicle->stopRun(0.0);
    }
    state.counters["first_us"] = median(first) * 1e6;
    state.counters["second_us"] = median(second) * 1e6;
    state.counters["ratio"] = median(second) / median(first);
}

/// One car for all repetitions: its tree takes most of a minute and more than a gigabyte.
void freshOnLargeTree(benchmark::State& state) {
    static const GridTerrain terrain(2000000);
    static BenchCar car(Casting::stored, &terrain);
    runs(state, car, 0.0);
}

void freshOnPlane(benchmark::State& state) {
    BenchCar car(Casting::plane, nullptr);
    runs(state, car, 0.0);
}

void resumed(benchmark::State& state) {
    BenchCar car(Casting::plane, nullptr);
    car.axis(pcInput_GAS_PEDAL) = 0.3;
    car.vehicle->startRun(0.0);
    for (int i = 1; i <= kRecordedFrames; ++i) car.frame(i);
    car.vehicle->stopRun(car.host.now);
    runs(state, car, car.host.now);
}

void settings(benchmark::internal::Benchmark* bench) {
    bench->Repetitions(5)->MinTime(0.2)->DisplayAggregatesOnly(true)->Unit(benchmark::kMicrosecond);
}

void sizes(benchmark::internal::Benchmark* bench) {
    settings(bench);
    bench->ArgName("triangles")->Arg(2000)->Arg(200000);
}

/// With a fixed number of runs: a trial for their number would make the ground, and its tree, anew each time.
void fixedRuns(benchmark::internal::Benchmark* bench) {
    bench->Repetitions(3)->Iterations(20000)->DisplayAggregatesOnly(true)->Unit(benchmark::kMicrosecond);
}

void fixedSizes(benchmark::internal::Benchmark* bench) {
    fixedRuns(bench);
    bench->ArgName("triangles")->Arg(2000)->Arg(200000);
}

void largeSize(benchmark::internal::Benchmark* bench) {
    settings(bench);
    bench->ArgName("triangles")->Arg(2000000)->Repetitions(3);
}

}  // namespace

BENCHMARK(freshOnPlane)->Apply(settings);
BENCHMARK(resumed)->Apply(settings);
BENCHMARK_CAPTURE(fresh, bullet, Casting::bullet)->Apply(sizes);
BENCHMARK_CAPTURE(fresh, bullet, Casting::bullet)->Apply(largeSize);
BENCHMARK_CAPTURE(secondOverFirst, bullet, Casting::bullet)
    ->ArgName("triangles")
    ->Arg(200000)
    ->Iterations(11)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(fresh, surface, Casting::surface)->Apply(fixedSizes)->Arg(2000000);
BENCHMARK_CAPTURE(fresh, stored, Casting::stored)->Apply(fixedSizes);
BENCHMARK(freshOnLargeTree)->Apply(fixedRuns);
