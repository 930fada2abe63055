// Data chunks against a plain copy of the same bytes: a tree of the shape that a vehicle saves (some ninety leaves, a
// few of which hold recordings), small without recordings and large with them; and a tree of many chunks of 8 bytes.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "ond/util/DataChunk.h"

namespace {

using ond::util::DataChunk;

/// `recording` is the size in bytes of each of forty leaves; the others hold single numbers.
DataChunk vehicleTree(std::int64_t recording) {
    const std::vector<char> bytes(static_cast<std::size_t>(recording), 'k');
    DataChunk root("CarCamDataChunk9201");
    for (int i = 0; i < 90; ++i) {
        const bool isRecording = i % 9 < 4;
        root.addChild(DataChunk("ancCarCamVariableNumber" + std::to_string(i), bytes.data(),
                                isRecording ? static_cast<int>(recording) : 8));
    }
    return root;
}

void sizes(benchmark::internal::Benchmark* bench) { bench->Arg(16)->Arg(16016)->Arg(160016); }

void serialise(benchmark::State& state) {
    DataChunk tree = vehicleTree(state.range(0));
    int size = 0;
    for (auto _ : state) benchmark::DoNotOptimize(tree.serialize(&size));
    state.SetBytesProcessed(state.iterations() * size);
}
BENCHMARK(serialise)->Apply(sizes);

void deserialise(benchmark::State& state) {
    DataChunk tree = vehicleTree(state.range(0));
    int size = 0;
    const void* block = tree.serialize(&size);
    for (auto _ : state) {
        DataChunk back;
        benchmark::DoNotOptimize(back.deserialize(block, static_cast<std::size_t>(size)));
    }
    state.SetBytesProcessed(state.iterations() * size);
}
BENCHMARK(deserialise)->Apply(sizes);

DataChunk manySmall(std::int64_t count) {
    const char bytes[8] = {};
    DataChunk root("root");
    for (std::int64_t i = 0; i < count; ++i)
        root.addChild(DataChunk("number" + std::to_string(i), bytes, sizeof bytes));
    return root;
}

void serialiseManySmall(benchmark::State& state) {
    DataChunk tree = manySmall(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(tree.serialize(nullptr));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(serialiseManySmall)->Arg(1000)->Arg(100000);

void deserialiseManySmall(benchmark::State& state) {
    DataChunk tree = manySmall(state.range(0));
    int size = 0;
    const void* block = tree.serialize(&size);
    for (auto _ : state) {
        DataChunk back;
        benchmark::DoNotOptimize(back.deserialize(block, static_cast<std::size_t>(size)));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(deserialiseManySmall)->Arg(1000)->Arg(100000);

void copyOfTheSameBytes(benchmark::State& state) {
    DataChunk tree = vehicleTree(state.range(0));
    int size = 0;
    const void* block = tree.serialize(&size);
    std::vector<unsigned char> target(static_cast<std::size_t>(size));
    for (auto _ : state) {
        std::memcpy(target.data(), block, target.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * size);
}
BENCHMARK(copyOfTheSameBytes)->Apply(sizes);

}  // namespace
