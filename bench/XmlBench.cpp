// Reading and writing of XML text at the size of a ground mesh. Bytes per second count the characters of the text.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "ond/util/CMesh.h"

namespace {

using ond::util::CMesh;
using ond::util::xml::Element;

/// A wavy square grid: `vertexCount` rounded down to a square, two triangles per cell.
CMesh grid(std::int64_t vertexCount) {
    int side = 1;
    while ((side + 1) * (side + 1) <= vertexCount) ++side;
    CMesh mesh;
    mesh.setNumVertices(side * side);
    for (int i = 0; i < side * side; ++i) mesh.setVertex(i, 0.37 * (i % side), 0.011 * (i % 97), -0.41 * (i / side));
    mesh.setNumFaces(2 * (side - 1) * (side - 1));
    int face = 0;
    for (int row = 0; row + 1 < side; ++row) {
        for (int column = 0; column + 1 < side; ++column) {
            const int corner = row * side + column;
            mesh.setFace(face++, corner, corner + 1, corner + side);
            mesh.setFace(face++, corner + side, corner + 1, corner + side + 1);
        }
    }
    return mesh;
}

void parse(benchmark::State& state, bool verbose) {
    const std::string text = grid(state.range(0)).toXml(verbose).toString("\n", "\t", "");
    for (auto _ : state) {
        Element element;
        benchmark::DoNotOptimize(element.parse(text));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK_CAPTURE(parse, verbose, true)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(parse, compact, false)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

void write(benchmark::State& state, bool verbose) {
    const Element element = grid(state.range(0)).toXml(verbose);
    std::int64_t size = 0;
    for (auto _ : state) {
        const std::string text = element.toString("\n", "\t", "");
        size = static_cast<std::int64_t>(text.size());
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(state.iterations() * size);
}
BENCHMARK_CAPTURE(write, verbose, true)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(write, compact, false)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

/// What storing and loading a ground mesh costs: mesh to element to text, text to element to mesh.
void roundTrip(benchmark::State& state, bool verbose) {
    const CMesh mesh = grid(state.range(0));
    std::int64_t size = 0;
    for (auto _ : state) {
        const std::string text = mesh.toXml(verbose).toString();
        CMesh back;
        back.fromXml(Element(text));
        size = static_cast<std::int64_t>(text.size());
        benchmark::DoNotOptimize(back.vertices.data());
    }
    state.SetBytesProcessed(state.iterations() * size);
}
BENCHMARK_CAPTURE(roundTrip, compact, false)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(roundTrip, verbose, true)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
