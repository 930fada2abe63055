#include "ground/GroundRayIndex.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <utility>

#include "ground/GroundRayIndexBuilder.h"
#include "ground/LineSolve.h"
#include "ond/util/Prefetch.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

// Vectors are handed about in this file only.
#pragma GCC diagnostic ignored "-Wpsabi"

// What is rare stands apart, which leaves the registers to what is not.
#define GROUND_APART __attribute__((noinline))

namespace ond::ovs::addon {

namespace {

using ground_line::kFar;
using ground_line::kLeastSlope;
using util::Vector3;
using EightMasks = int __attribute__((vector_size(32)));
using FourMasks = long long __attribute__((vector_size(32)));

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
// Directions whose largest component is between these are taken as they are.
constexpr double kLeastUnscaled = 0.5;
constexpr double kMostUnscaled = 1.0 + 0x1p-20;
// Least component upwards of a line that is not far from upright.
constexpr float kUpright = 0.25F;
// Bytes of the corners of eight triangles of a surface and of their lists of leaves, about.
constexpr std::size_t kBehind = 256;
// Rounding of the determinant of a triangle's sides with the direction, in squares of the longest side.
constexpr float kRoundingOfSides = 0x1p-17F;
// More than the rounding of where a line is nearest to a point, in margins.
constexpr float kPlaneMargins = 16.0F;
// Room for what is still to be looked at; a deeper tree is left to the walk.
constexpr std::size_t kStack = 256;

// The same for triangles that one line may hit; with more of them the walk is as quick.
constexpr std::size_t kMostCandidates = 64;
// Those with more leaves than this are looked for from the root.
constexpr std::uint32_t kFewLeaves = 32;
constexpr std::uint32_t kNoLeaf = std::numeric_limits<std::uint32_t>::max();

/// Which borders of boxes a line comes to first, and which last, along x, y, z: how far behind the first border they
/// are, in bytes for eight boxes.
struct BorderOrder {
    std::array<std::size_t, 3> near;
    std::array<std::size_t, 3> far;
};

/// A bit per axis along which it runs the negative way.
constexpr std::array<BorderOrder, 8> kBorderOrders = [] {
    std::array<BorderOrder, 8> orders{};
    for (std::size_t turned = 0; turned < 8; ++turned)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::size_t low = axis * sizeof(EightFloats);
            const std::size_t high = (axis + 3) * sizeof(EightFloats);
            const bool isTurned = (turned >> axis & 1U) != 0;
            orders[turned].near[axis] = isTurned ? high : low;
            orders[turned].far[axis] = isTurned ? low : high;
        }
    return orders;
}();

[[nodiscard]] inline const EightFloats& borderAt(const EightBoxes& boxes, std::size_t bytes) {
    return *reinterpret_cast<const EightFloats*>(reinterpret_cast<const std::byte*>(&boxes.border) + bytes);
}
[[nodiscard]] inline const SixteenFloats& borderAt(const GroundBoxes& boxes, std::size_t bytes) {
    return *reinterpret_cast<const SixteenFloats*>(reinterpret_cast<const std::byte*>(&boxes.border) + 2 * bytes);
}

/// Where the line hits a triangle.
struct Hit {
    double t;
    AxisDoubles across;  ///< product of its sides
};

/// A triangle that the line may hit.
struct Candidate {
    const EightTriangles* eight;
    std::size_t lane;
};

/// All of them, in no order.
struct Candidates {
    std::array<Candidate, kMostCandidates + 8> candidate;
    std::size_t count = 0;
};

/// Ascending numbers of leaves.
struct LeafNumbers {
    const std::uint32_t* first;
    std::uint32_t count;

    [[nodiscard]] std::uint32_t next() const { return count != 0 ? *first : kNoLeaf; }
    void dropFirst() {
        ++first;
        --count;
    }
};

[[nodiscard]] inline LeafNumbers leavesOf(const Candidate& candidate) {
    const std::uint32_t& leaf = candidate.eight->leaf[candidate.lane];
    if ((leaf & EightTriangles::kMany) == 0) return {&leaf, 1};
    const std::uint32_t* list = candidate.eight->list(candidate.lane);
    return {list + 1, list[0]};
}

[[nodiscard]] inline GroundRayIndex::Found foundAt(const Hit& hit) {
    return {hit.t, {hit.across[0], hit.across[1], hit.across[2]}};
}

/// Tells of a hit whose numbers are not finite in the short form what the general inverse matrix says.
GROUND_APART bool solveUnsolved(const Candidate& candidate, const Vector3<double>& origin,
                                const Vector3<double>& direction, double& t) {
    const Vector3<double>* vertices = candidate.eight->vertices();
    const std::array<std::uint8_t, 3>& corners = candidate.eight->corners[candidate.lane];
    const Vector3<double>& a = vertices[corners[0]];
    LinePoint point{};
    if (!solveByInverse(a, vertices[corners[1]] - a, vertices[corners[2]] - a, origin, direction, point) ||
        !isOnTriangle(point))
        return false;
    t = point.t;
    return true;
}

/// How many leaves all candidates have.
[[nodiscard]] std::uint32_t leavesOfAll(const Candidates& candidates) {
    std::uint32_t count = 0;
    for (std::size_t i = 0; i < candidates.count; ++i) count += leavesOf(candidates.candidate[i]).count;
    return count;
}

/// The place of the one that comes first in the list of a leaf; the count if it lists none of them.
[[nodiscard]] std::size_t firstOfLeaf(const Candidates& candidates, std::uint32_t leaf) {
    std::size_t first = candidates.count;
    std::uint32_t least = EightTriangles::kNone;
    for (std::size_t i = 0; i < candidates.count; ++i) {
        const Candidate& candidate = candidates.candidate[i];
        const std::uint32_t number = candidate.eight->number[candidate.lane];
        if (number >= least) continue;
        const LeafNumbers leaves = leavesOf(candidate);
        if (!std::binary_search(leaves.first, leaves.first + leaves.count, leaf)) continue;
        least = number;
        first = i;
    }
    return first;
}

}  // namespace

// The query for processors with sixteen lanes, with eight, and for all others.
#if defined(__x86_64__)
#define GROUND_LANES __attribute__((target("avx512f,avx512bw,avx512dq,avx512vl,avx2,fma,bmi")))
#define GROUND_SIXTEEN_LANES 1
#define GROUND_FOUR_DOUBLES 1
namespace {
namespace widest {
[[nodiscard]] GROUND_LANES inline unsigned bitsOf(EightMasks mask) {
    return static_cast<unsigned>(_mm256_movemask_ps(reinterpret_cast<__m256>(mask)));
}
[[nodiscard]] GROUND_LANES inline bool any(FourMasks mask) {
    return _mm256_movemask_pd(reinterpret_cast<__m256d>(mask)) != 0;
}
[[nodiscard]] GROUND_LANES inline EightFloats fused(EightFloats a, EightFloats b, EightFloats c) {
    return _mm256_fmadd_ps(a, b, c);
}
[[nodiscard]] GROUND_LANES inline EightFloats fusedLess(EightFloats a, EightFloats b, EightFloats c) {
    return _mm256_fmsub_ps(a, b, c);
}
[[nodiscard]] GROUND_LANES inline unsigned bitsOfAtMost(EightFloats a, EightFloats b) {
    return _mm256_cmp_ps_mask(a, b, _CMP_LE_OQ);
}
#include "ground/GroundRayQuery.inc"
}  // namespace widest
}  // namespace
#undef GROUND_LANES
#undef GROUND_SIXTEEN_LANES
#undef GROUND_FOUR_DOUBLES

#define GROUND_LANES __attribute__((target("avx2,fma,bmi")))
#define GROUND_SIXTEEN_LANES 0
#define GROUND_FOUR_DOUBLES 1
namespace {
namespace wide {
[[nodiscard]] GROUND_LANES inline unsigned bitsOf(EightMasks mask) {
    return static_cast<unsigned>(_mm256_movemask_ps(reinterpret_cast<__m256>(mask)));
}
[[nodiscard]] GROUND_LANES inline bool any(FourMasks mask) {
    return _mm256_movemask_pd(reinterpret_cast<__m256d>(mask)) != 0;
}
[[nodiscard]] GROUND_LANES inline EightFloats fused(EightFloats a, EightFloats b, EightFloats c) {
    return _mm256_fmadd_ps(a, b, c);
}
[[nodiscard]] GROUND_LANES inline EightFloats fusedLess(EightFloats a, EightFloats b, EightFloats c) {
    return _mm256_fmsub_ps(a, b, c);
}
[[nodiscard]] GROUND_LANES inline unsigned bitsOfAtMost(EightFloats a, EightFloats b) { return bitsOf(a <= b); }
#include "ground/GroundRayQuery.inc"
}  // namespace wide
}  // namespace
#undef GROUND_LANES
#undef GROUND_SIXTEEN_LANES
#undef GROUND_FOUR_DOUBLES
#endif

#define GROUND_LANES
#define GROUND_SIXTEEN_LANES 0
#define GROUND_FOUR_DOUBLES 0
namespace {
namespace narrow {
[[nodiscard]] inline unsigned bitsOf(EightMasks mask) {
    unsigned bits = 0;
    for (int lane = 0; lane < 8; ++lane) bits |= (static_cast<unsigned>(mask[lane]) & 1U) << lane;
    return bits;
}
[[nodiscard]] inline bool any(FourMasks mask) { return ((mask[0] | mask[1]) | (mask[2] | mask[3])) != 0; }
[[nodiscard]] inline EightFloats fused(EightFloats a, EightFloats b, EightFloats c) { return a * b + c; }
[[nodiscard]] inline EightFloats fusedLess(EightFloats a, EightFloats b, EightFloats c) { return a * b - c; }
[[nodiscard]] inline unsigned bitsOfAtMost(EightFloats a, EightFloats b) { return bitsOf(a <= b); }
#include "ground/GroundRayQuery.inc"
}  // namespace narrow
}  // namespace
#undef GROUND_LANES
#undef GROUND_SIXTEEN_LANES
#undef GROUND_FOUR_DOUBLES

std::shared_ptr<const GroundRayIndex> GroundRayIndex::of(const GroundMeshTreeNode& root, Lanes lanes) {
    GroundRayTables tables;
    if (!GroundRayIndexBuilder(tables).build(root)) return nullptr;
    return std::make_shared<const GroundRayIndex>(std::move(tables), lanes);
}

GroundRayIndex::GroundRayIndex(GroundRayTables tables, [[maybe_unused]] Lanes lanes)
    : m_tables(std::move(tables)), m_query(&narrow::query), m_mayHitEdgeOn(&narrow::mayHitEdgeOn) {
#if defined(__x86_64__)
    if (lanes == Lanes::narrow || !__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma") ||
        !__builtin_cpu_supports("bmi"))
        return;
    m_query = &wide::query;
    m_mayHitEdgeOn = &wide::mayHitEdgeOn;
    if (lanes == Lanes::best && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl")) {
        m_query = &widest::query;
        m_mayHitEdgeOn = &widest::mayHitEdgeOn;
    }
#endif
}

}  // namespace ond::ovs::addon
