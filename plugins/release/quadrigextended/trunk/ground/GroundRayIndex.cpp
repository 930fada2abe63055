#include "ground/GroundRayIndex.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

#include "ground/GroundRayIndexBuilder.h"
#include "ground/LineSolve.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

// Vectors are handed about in this file only.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace ond::ovs::addon {

namespace {

using ground_line::kFar;
using ground_line::kLeastSlope;
using util::Vector3;
using EightMasks = int __attribute__((vector_size(32)));

// Lines with longer or shorter directions, or that start farther away, are left to the walk.
constexpr double kLeastDirection = 1e-100;
constexpr double kMostDirection = 1e100;
constexpr double kMostOrigin = 1e30;
// In half sizes of the mesh: lines that start farther away than kFar are told from the point on them nearest to its
// middle, and those that stay farther away than this are left to the walk, which ends at its first box.
constexpr double kTooFar = 1e6;
// Slopes below this are taken for it: so steep a line moves by nothing against the margin wherever it may be near a
// box.
constexpr float kLevel = 1e-20F;
// Faces across an axis with a smaller slope confirm nothing.
constexpr float kCrossing = 0x1p-20F;
// Rounding of the determinant of a triangle's sides with the direction, in squares of the longest side.
constexpr float kRoundingOfSides = 0x1p-17F;
// Room for what is still to be looked at; a deeper tree is left to the walk.
constexpr std::size_t kStack = 256;

// The same for hits on one line; with more of them the walk is as quick.
constexpr std::size_t kMostHits = 64;
// A hit with more leaves than this is looked for from the root.
constexpr std::uint32_t kFewLeaves = 12;

/// A triangle that the line hits.
struct Hit {
    const EightTriangles* eight;
    std::size_t lane;
    double t;
};

/// All of them, in no order.
struct Hits {
    std::array<Hit, kMostHits> hit;
    std::size_t count = 0;
};

/// Ascending numbers of leaves.
struct LeafNumbers {
    const std::uint32_t* first;
    std::uint32_t count;
};

[[nodiscard]] LeafNumbers leavesOf(const GroundRayTables& tables, const Hit& hit) {
    const std::uint32_t& leaf = hit.eight->leaf[hit.lane];
    if ((leaf & EightTriangles::kMany) == 0) return {&leaf, 1};
    const std::uint32_t* list = &tables.shared[leaf & ~EightTriangles::kMany];
    return {list + 1, list[0]};
}

[[nodiscard]] GroundRayIndex::Found foundAt(const Hit& hit) {
    const util::Vector3<double>* vertices = hit.eight->vertices();
    const std::array<std::uint8_t, 3>& corners = hit.eight->corners[hit.lane];
    return {hit.t, {vertices + corners[0], vertices + corners[1], vertices + corners[2]}};
}

/// The hit that comes first in the list of a leaf; null if it lists none of them.
[[nodiscard]] const Hit* firstOfLeaf(const GroundRayTables& tables, const Hits& hits, std::uint32_t leaf) {
    const Hit* first = nullptr;
    for (std::size_t i = 0; i < hits.count; ++i) {
        const Hit& hit = hits.hit[i];
        const LeafNumbers leaves = leavesOf(tables, hit);
        if (!std::binary_search(leaves.first, leaves.first + leaves.count, leaf)) continue;
        if (first == nullptr || hit.eight->number[hit.lane] < first->eight->number[first->lane]) first = &hit;
    }
    return first;
}

}  // namespace

// The query for processors with sixteen lanes, with eight, and for all others.
#if defined(__x86_64__)
#define GROUND_LANES __attribute__((target("avx512f,avx512bw,avx512dq,avx512vl,avx2,bmi")))
#define GROUND_SIXTEEN_LANES 1
namespace {
namespace widest {
[[nodiscard]] GROUND_LANES inline unsigned bitsOf(EightMasks mask) {
    return static_cast<unsigned>(_mm256_movemask_ps(reinterpret_cast<__m256>(mask)));
}
#include "ground/GroundRayQuery.inc"
}  // namespace widest
}  // namespace
#undef GROUND_LANES
#undef GROUND_SIXTEEN_LANES

#define GROUND_LANES __attribute__((target("avx2,bmi")))
#define GROUND_SIXTEEN_LANES 0
namespace {
namespace wide {
[[nodiscard]] GROUND_LANES inline unsigned bitsOf(EightMasks mask) {
    return static_cast<unsigned>(_mm256_movemask_ps(reinterpret_cast<__m256>(mask)));
}
[[nodiscard]] GROUND_LANES inline EightFloats numbersOf(EightSteps steps) {
    return _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(reinterpret_cast<__m128i>(steps)));
}
#include "ground/GroundRayQuery.inc"
}  // namespace wide
}  // namespace
#undef GROUND_LANES
#undef GROUND_SIXTEEN_LANES
#endif

#define GROUND_LANES
#define GROUND_SIXTEEN_LANES 0
namespace {
namespace narrow {
[[nodiscard]] inline unsigned bitsOf(EightMasks mask) {
    unsigned bits = 0;
    for (int lane = 0; lane < 8; ++lane) bits |= (static_cast<unsigned>(mask[lane]) & 1U) << lane;
    return bits;
}
[[nodiscard]] inline EightFloats numbersOf(EightSteps steps) { return __builtin_convertvector(steps, EightFloats); }
#include "ground/GroundRayQuery.inc"
}  // namespace narrow
}  // namespace
#undef GROUND_LANES
#undef GROUND_SIXTEEN_LANES

std::shared_ptr<const GroundRayIndex> GroundRayIndex::of(const GroundMeshTreeNode& root, Lanes lanes) {
    GroundRayTables tables;
    if (!GroundRayIndexBuilder(tables).build(root)) return nullptr;
    return std::make_shared<const GroundRayIndex>(std::move(tables), lanes);
}

GroundRayIndex::GroundRayIndex(GroundRayTables tables, [[maybe_unused]] Lanes lanes)
    : m_tables(std::move(tables)), m_query(&narrow::query) {
#if defined(__x86_64__)
    if (lanes == Lanes::narrow || !__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("bmi")) return;
    m_query = &wide::query;
    if (lanes == Lanes::best && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl"))
        m_query = &widest::query;
#endif
}

}  // namespace ond::ovs::addon
