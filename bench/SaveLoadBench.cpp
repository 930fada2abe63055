// Saving and loading a vehicle with a recording of an hour, 90,000 frames, driven on the plane with every device in
// use. The yardstick of both is a copy of the block into memory that was not there before.
//
// Counters:
//   block_bytes  size of the saved block
//   peak_ratio   most heap that one call takes beside what lives already, in blocks; the host's copy is not counted
// Read the medians; of the times of a save "CPU", of a load and of the yardstick "Time", which is processor time
// without the vehicle's making and the memory's return.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "BenchHost.h"
#include "CountedHeap.h"
#include "ThreadClock.h"

namespace {

using namespace ond::bench;
using namespace ond::ovs::addon;

constexpr int kRecordedFrames = 90000;

/// All devices, each in a rhythm of its own.
void setAxes(BenchCar& car, int frame) {
    const double phase = 0.01 * frame;
    car.axis(pcInput_GAS_PEDAL) = 0.6 + 0.4 * std::sin(phase);
    car.axis(pcInput_STEERING_WHEEL) = std::sin(0.7 * phase);
    car.axis(pcInput_BOOSTER) = frame % 400 < 40 ? 1.0 : 0.0;
    car.axis(pcInput_ABS_BRAKE) = frame % 500 > 480 ? 1.0 : 0.0;
    car.axis(pcInput_SKIDDING) = frame % 300 < 60 ? 0.5 : 0.0;
    car.axis(pcInput_SKID_BRAKE) = frame % 700 > 660 ? 1.0 : 0.0;
    car.axis(pcInput_GRAVEL_SHAKE) = 0.5;
    car.axis(pcInput_BURNOUT) = frame % 900 < 50 ? 1.0 : 0.0;
    car.axis(pcInput_EXTERNAL_FORCE) = frame % 600 < 30 ? 0.2 : 0.0;
}

/// A vehicle with a recording, made once.
BenchCar& recordedCar() {
    static BenchCar car(Casting::plane, nullptr);
    static const bool recorded = [] {
        car.vehicle->startRun(0.0);
        for (int i = 1; i <= kRecordedFrames; ++i) {
            setAxes(car, i);
            car.frame(i);
        }
        car.vehicle->stopRun(car.host.now);
        return true;
    }();
    static_cast<void>(recorded);
    return car;
}

/// Largest heap during `work` beyond what lived before it.
template <class Work>
long peakOf(Work work) {
    const long before = heap.liveBytes;
    heap.resetPeak();
    work();
    return heap.peakBytes - before;
}

void save(benchmark::State& state) {
    BenchCar& car = recordedCar();
    car.host.keepsBlock = false;
    const long peak = peakOf([&] { car.vehicle->saveState(); });
    for (auto _ : state) car.vehicle->saveState();
    state.counters["block_bytes"] = static_cast<double>(car.host.blockLength);
    state.counters["peak_ratio"] = static_cast<double>(peak) / static_cast<double>(car.host.blockLength);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(car.host.blockLength));
}

void load(benchmark::State& state) {
    BenchCar& saved = recordedCar();
    saved.host.keepsBlock = true;
    saved.vehicle->saveState();
    const auto keys = static_cast<std::size_t>(saved.vehicle->anbCarInTheAir.getNumKeys());
    long peak = 0;
    for (auto _ : state) {
        // Each load takes a new vehicle, which binds the elements of the saved one.
        const VehiclePtr vehicle = declareVehicle(saved.host);
        std::uint64_t failure = 1;
        const double start = threadSeconds();
        peak = peakOf([&] { failure = vehicle->loadState(); });
        state.SetIterationTime(threadSeconds() - start);
        if (failure != 0 || vehicle->anbCarInTheAir.keys.size() != keys || keys < kRecordedFrames) {
            state.SkipWithError("the block was not read");
            return;
        }
    }
    state.counters["block_bytes"] = static_cast<double>(saved.host.blockLength);
    state.counters["peak_ratio"] = static_cast<double>(peak) / static_cast<double>(saved.host.blockLength);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(saved.host.blockLength));
}

void copy(benchmark::State& state) {
    BenchCar& saved = recordedCar();
    saved.host.keepsBlock = true;
    saved.vehicle->saveState();
    const std::vector<unsigned char>& block = saved.host.block;
    for (auto _ : state) {
        const double start = threadSeconds();
        void* const memory = std::malloc(block.size());
        std::memcpy(memory, block.data(), block.size());
        benchmark::DoNotOptimize(memory);
        benchmark::ClobberMemory();
        state.SetIterationTime(threadSeconds() - start);
        std::free(memory);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(block.size()));
}

void settings(benchmark::internal::Benchmark* bench) {
    bench->Repetitions(5)->MinTime(0.2)->DisplayAggregatesOnly(true)->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(save)->Apply(settings);
BENCHMARK(load)->UseManualTime()->Apply(settings);
BENCHMARK(copy)->UseManualTime()->Apply(settings);
