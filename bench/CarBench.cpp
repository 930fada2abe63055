// Cost of the car model per frame, with every input in use.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>

#include "car/StepCar.h"
#include "car/WheelRolling.h"

namespace {

std::atomic<long> allocations{0};

}  // namespace

// Counts what the model allocates: nothing, is the aim.
[[gnu::noinline]] void* operator new(std::size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

using namespace ond::ovs::addon;

void setDevices(cCarCam& car, long frame) {
    const double phase = 0.01 * static_cast<double>(frame);
    car.pcInput[pcInput_GAS_PEDAL].raw = 0.6 + 0.4 * std::sin(phase);
    car.pcInput[pcInput_STEERING_WHEEL].raw = std::sin(0.7 * phase);
    car.pcInput[pcInput_BOOSTER].raw = frame % 400 < 40 ? 1.0 : 0.0;
    car.pcInput[pcInput_ABS_BRAKE].raw = frame % 500 > 480 ? 1.0 : 0.0;
    car.pcInput[pcInput_SKIDDING].raw = frame % 300 < 60 ? 0.5 : 0.0;
    car.pcInput[pcInput_SKID_BRAKE].raw = frame % 700 > 660 ? 1.0 : 0.0;
    car.pcInput[pcInput_GRAVEL_SHAKE].raw = 0.5;
    car.pcInput[pcInput_BURNOUT].raw = frame % 900 < 50 ? 1.0 : 0.0;
    car.pcInput[pcInput_EXTERNAL_FORCE].raw = frame % 600 < 30 ? 0.2 : 0.0;
}

void BM_StepCar(benchmark::State& state) {
    const double dt = 1.0 / static_cast<double>(state.range(0));
    cCarCam car;
    for (auto& wheel : car.pcWheel) wheel.dWheelGroundNormalDiff = 0.247;
    StartCar(car, {}, {}, dt);
    long frame = 0;
    const long before = allocations;
    for (auto _ : state) {
        setDevices(car, frame++);
        StepCar(car, dt);
        benchmark::DoNotOptimize(car);
    }
    state.counters["allocations"] = static_cast<double>(allocations - before);
    state.counters["sub_steps"] = static_cast<double>(static_cast<int>(dt / car.dSimStep));
}
BENCHMARK(BM_StepCar)->Arg(25)->Arg(30)->Arg(60)->ArgName("fps");

}  // namespace
