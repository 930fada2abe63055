// Base64 at the size of a small and of a large stored mesh. Bytes per second count the bytes, not the characters.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "ond/util/Base64Data.h"

namespace {

using ond::util::Base64Data;

std::vector<unsigned char> noise(std::int64_t size) {
    std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
    std::uint32_t state = 1;
    for (auto& byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<unsigned char>(state >> 24);
    }
    return bytes;
}

void encode(benchmark::State& state) {
    const auto bytes = noise(state.range(0));
    const Base64Data data(bytes.data(), static_cast<int>(bytes.size()));
    for (auto _ : state) benchmark::DoNotOptimize(data.toString());
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(encode)->Arg(30000)->Arg(3000001)->Arg(30000000);

void decode(benchmark::State& state) {
    const auto bytes = noise(state.range(0));
    const std::string text = Base64Data(bytes.data(), static_cast<int>(bytes.size())).toString();
    for (auto _ : state) {
        const Base64Data data(text);
        benchmark::DoNotOptimize(data.getSize());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(decode)->Arg(30000)->Arg(3000001)->Arg(30000000);

}  // namespace
