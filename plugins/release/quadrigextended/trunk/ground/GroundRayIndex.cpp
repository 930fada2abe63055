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

using util::Vector3;
using EightMasks = int __attribute__((vector_size(32)));

// Lines with longer or shorter directions, or that start farther away, are left to the walk.
constexpr double kLeastDirection = 1e-100;
constexpr double kMostDirection = 1e100;
constexpr double kMostOrigin = 1e30;
// So are lines that run along an axis by less than this, but not by nothing: their determinants with faces of boxes may
// be below the smallest normal number.
constexpr double kLeastSlope = 1e-200;
// In half sizes of the mesh: lines that start farther away are told from the point on them nearest to its middle, and
// those that stay farther away are left to the walk, which ends at its first box.
constexpr double kFar = 4.0;
constexpr double kTooFar = 1e6;
// Margin of lines: for the rounding of single precision, of the exact tests at the distance of the line's origin, and
// of the corners of boxes.
constexpr double kMarginOfSize = 0x1p-18;
constexpr double kMarginOfDistance = 0x1p-24;
constexpr double kMarginOfOffset = 0x1p-46;
// Slopes below this are taken for it: so steep a line moves by nothing against the margin wherever it may be near a
// box.
constexpr float kLevel = 1e-20F;
// Faces across an axis with a smaller slope confirm nothing.
constexpr float kCrossing = 0x1p-20F;
// Rounding of the determinant of a triangle's sides with the direction, in squares of the longest side.
constexpr float kRoundingOfSides = 0x1p-17F;
// Room for what is still to be looked at; a deeper tree is left to the walk.
constexpr std::size_t kStack = 256;

/// The first triangle of a leaf's list that the line hits.
struct Hit {
    EightTriangles::Name name;
    double t = 0.0;
};

}  // namespace

// The query for processors with eight lanes, and for all others.
#if defined(__x86_64__)
#define GROUND_LANES __attribute__((target("avx2,bmi")))
namespace {
namespace wide {
[[nodiscard]] GROUND_LANES inline unsigned bitsOf(EightMasks mask) {
    return static_cast<unsigned>(_mm256_movemask_ps(reinterpret_cast<__m256>(mask)));
}
#include "ground/GroundRayQuery.inc"
}  // namespace wide
}  // namespace
#undef GROUND_LANES
#endif

#define GROUND_LANES
namespace {
namespace narrow {
[[nodiscard]] inline unsigned bitsOf(EightMasks mask) {
    unsigned bits = 0;
    for (int lane = 0; lane < 8; ++lane) bits |= (static_cast<unsigned>(mask[lane]) & 1U) << lane;
    return bits;
}
#include "ground/GroundRayQuery.inc"
}  // namespace narrow
}  // namespace
#undef GROUND_LANES

std::shared_ptr<const GroundRayIndex> GroundRayIndex::of(const GroundMeshTreeNode& root, Lanes lanes) {
    GroundRayTables tables;
    if (!GroundRayIndexBuilder(tables).build(root)) return nullptr;
    return std::make_shared<const GroundRayIndex>(std::move(tables), lanes);
}

GroundRayIndex::GroundRayIndex(GroundRayTables tables, [[maybe_unused]] Lanes lanes)
    : m_tables(std::move(tables)), m_query(&narrow::query) {
#if defined(__x86_64__)
    if (lanes == Lanes::best && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi")) m_query = &wide::query;
#endif
}

}  // namespace ond::ovs::addon
