// Animated variables at the sizes of a short take, a long one and an all-day recording.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ond/util/AVar.h"

namespace {

using namespace ond::util;

constexpr double kFrame = 1.0 / 25.0;

template <typename Variable>
using ValueOf = decltype(Variable::fallback);

template <typename Variable>
Variable filled(std::int64_t count) {
    Variable variable;
    for (std::int64_t i = 0; i < count; ++i) variable.setKey(static_cast<double>(i) * kFrame, ValueOf<Variable>());
    return variable;
}

/// Keeps freed memory in the process. Otherwise the allocator hands it back to the system after some runs and not after
/// others, depending on what ran before, and the page faults hide what is compared.
const bool keepsMemory = mallopt(M_MMAP_THRESHOLD, 1 << 30) == 1 && mallopt(M_TRIM_THRESHOLD, 1 << 30) == 1;

void sizes(benchmark::internal::Benchmark* bench) { bench->Arg(100)->Arg(10000)->Arg(1000000); }

/// A whole recording, key after key, into an empty variable.
template <typename Variable>
void append(benchmark::State& state) {
    const ValueOf<Variable> value{};
    for (auto _ : state) {
        Variable variable;
        for (std::int64_t i = 0; i < state.range(0); ++i) variable.setKey(static_cast<double>(i) * kFrame, value);
        benchmark::DoNotOptimize(variable.keys.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// The yardstick of append(): the same structs into a plain vector.
template <typename Variable>
void appendToVector(benchmark::State& state) {
    const ValueOf<Variable> value{};
    for (auto _ : state) {
        std::vector<AVarKey<ValueOf<Variable>>> keys;
        for (std::int64_t i = 0; i < state.range(0); ++i) keys.push_back({static_cast<double>(i) * kFrame, value});
        benchmark::DoNotOptimize(keys.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// Keys behind 90,000 others, with room for them, and the same structs behind as many in a plain vector.
template <typename Variable>
struct Recorded {
    static constexpr int kKeys = 90000;
    static constexpr int kMore = 5000;

    Variable variable = filled<Variable>(kKeys);
    std::vector<AVarKey<ValueOf<Variable>>> keys{variable.keys.begin(), variable.keys.end()};

    Recorded() {
        variable.keys.reserve(kKeys + kMore);
        keys.reserve(kKeys + kMore);
    }
};

template <typename Variable>
void goOn(benchmark::State& state) {
    Recorded<Variable> recorded;
    const ValueOf<Variable> value{};
    for (auto _ : state) {
        for (int i = recorded.kKeys; i < recorded.kKeys + recorded.kMore; ++i)
            recorded.variable.setKey(i * kFrame, value);
        benchmark::ClobberMemory();
        recorded.variable.eraseFrom(recorded.kKeys * kFrame);
    }
    state.SetItemsProcessed(state.iterations() * recorded.kMore);
}

template <typename Variable>
void goOnInVector(benchmark::State& state) {
    Recorded<Variable> recorded;
    const ValueOf<Variable> value{};
    for (auto _ : state) {
        for (int i = recorded.kKeys; i < recorded.kKeys + recorded.kMore; ++i)
            recorded.keys.push_back({i * kFrame, value});
        benchmark::ClobberMemory();
        recorded.keys.resize(recorded.kKeys);
    }
    state.SetItemsProcessed(state.iterations() * recorded.kMore);
}

/// Values at times all over the recording, between keys, in an order that no cache foresees.
template <typename Variable>
void lookup(benchmark::State& state) {
    const auto variable = filled<Variable>(state.range(0));
    std::uint32_t place = 1;
    for (auto _ : state) {
        place = place * 1664525u + 1013904223u;
        const double t = static_cast<double>(place) * 0x1p-32 * static_cast<double>(state.range(0)) * kFrame;
        benchmark::DoNotOptimize(variable.valueAt(t));
    }
    state.SetItemsProcessed(state.iterations());
}

template <typename Variable>
void serialise(benchmark::State& state) {
    const auto variable = filled<Variable>(state.range(0));
    std::vector<unsigned char> block(static_cast<std::size_t>(variable.getSerialSize()));
    for (auto _ : state) {
        variable.write(block.data(), static_cast<int>(block.size()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(block.size()));
}

template <typename Variable>
void deserialise(benchmark::State& state) {
    auto variable = filled<Variable>(state.range(0));
    std::vector<unsigned char> block(static_cast<std::size_t>(variable.getSerialSize()));
    variable.write(block.data(), static_cast<int>(block.size()));
    for (auto _ : state) {
        variable.read(block.data(), block.size());
        benchmark::DoNotOptimize(variable.keys.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(block.size()));
}

using Double = AVar_Linear<double>;
using Transform = AVar_Nearest<QTransform<double>>;
using Bool = AVar_Nearest<bool>;

BENCHMARK(append<Double>)->Apply(sizes);
BENCHMARK(appendToVector<Double>)->Apply(sizes);
BENCHMARK(append<Transform>)->Apply(sizes);
BENCHMARK(appendToVector<Transform>)->Apply(sizes);
BENCHMARK(append<Bool>)->Apply(sizes);
BENCHMARK(appendToVector<Bool>)->Apply(sizes);
BENCHMARK(goOn<Double>);
BENCHMARK(goOnInVector<Double>);
BENCHMARK(goOn<Transform>);
BENCHMARK(goOnInVector<Transform>);
BENCHMARK(goOn<Bool>);
BENCHMARK(goOnInVector<Bool>);
BENCHMARK(lookup<Double>)->Apply(sizes);
BENCHMARK(lookup<Transform>)->Apply(sizes);
BENCHMARK(serialise<Double>)->Apply(sizes);
BENCHMARK(serialise<Transform>)->Apply(sizes);
BENCHMARK(serialise<Bool>)->Apply(sizes);
BENCHMARK(deserialise<Double>)->Apply(sizes);
BENCHMARK(deserialise<Transform>)->Apply(sizes);
BENCHMARK(deserialise<Bool>)->Apply(sizes);

}  // namespace
