// Which lines may be edge-on to triangles that the walk comes to with them, per group of triangles that they come to.
#include <algorithm>
#include <array>
#include <cmath>

#include "ground/GroundRayIndexBuilder.h"

namespace ond::ovs::addon {

namespace {

using ground_aim::kReach;
using ground_aim::kSide;
using ground_aim::kSquare;

// More than the product of a normal and the direction of a line of the grid that counts as edge-on, with all rounding.
constexpr float kEdgeSlack = 0.01F;
// More than the rounding of where a line comes to the grid.
constexpr float kPlaceSlack = 1e-3F;
// In margins of lines: more than how far a line may keep away from two boxes that count as met, and their rounding.
constexpr float kBoxMargins = 4.0F;

// See aimsFrom().
constexpr int kFewSquares = 9;

/// Squares of some rows or columns.
using Bands = std::array<GroundAims, kSide + 1>;

/// Those from a column on, and those before it; the same of rows.
struct Halves {
    Bands fromColumn;
    Bands beforeColumn;
    Bands fromRow;
    Bands beforeRow;
};

constexpr Halves kHalves = [] {
    Halves halves{};
    for (std::uint32_t at = 0; at <= kSide; ++at)
        for (std::uint32_t square = 0; square < kSide * kSide; ++square) {
            (square % kSide >= at ? halves.fromColumn : halves.beforeColumn)[at].add(square);
            (square / kSide >= at ? halves.fromRow : halves.beforeRow)[at].add(square);
        }
    return halves;
}();

/// Which row or column a place falls in; 0 for all before the grid, the number of them for all behind.
std::size_t bandOf(float place) {
    const float band = (place + kReach) * (1.0F / kSquare);
    return static_cast<std::size_t>(std::clamp(band, 0.0F, static_cast<float>(kSide)));
}

/// How far apart places of two boxes may be along an axis.
struct Apart {
    float least;
    float most;
};

/// Leaves the squares with lines that are that far aside where they are that far below.
void keepBetween(GroundAims& aims, const Apart& aside, const Apart& below, const Bands& from, const Bands& before) {
    const float lowest = aside.least > 0.0F ? below.most : below.least;
    if (lowest > 0.0F) aims &= from[bandOf(aside.least / lowest - kPlaceSlack)];
    const float highest = aside.most < 0.0F ? below.most : below.least;
    if (highest > 0.0F) aims &= before[std::min<std::size_t>(bandOf(aside.most / highest + kPlaceSlack) + 1, kSide)];
}

/// The squares of lines that come from one box to another that is lower.
GroundAims aimsDown(const Apart& x, const Apart& below, const Apart& z) {
    if (!(below.most > 0.0F)) return {};
    GroundAims aims = GroundAims::all();
    keepBetween(aims, x, below, kHalves.fromColumn, kHalves.beforeColumn);
    keepBetween(aims, z, below, kHalves.fromRow, kHalves.beforeRow);
    return aims;
}

GroundAims aimsOfLane(const GroundCellBoxes& cells, int lane) {
    GroundAims aims;
    for (std::size_t i = 0; i < GroundAims::kWords; ++i)
        aims.word[i] = static_cast<std::uint32_t>(cells.edgeOn[i][lane]);
    return aims;
}

}  // namespace

// The lines that are edge-on to a triangle come to a straight line of the grid.
GroundAims GroundRayIndexBuilder::aimsOf(std::uint32_t triangle) const {
    const Normal& normal = m_normals[triangle];
    if (std::isnan(normal[0])) return GroundAims::all();
    GroundAims aims;
    const float level = std::fabs(normal[0]) + std::fabs(normal[2]);
    if (std::fabs(normal[1]) > level * kReach + kEdgeSlack) return aims;
    const float most = level * (kSquare * 0.5F) + kEdgeSlack;
    for (std::uint32_t row = 0; row < kSide; ++row) {
        // It is near squares whose middle is between two places.
        const float z = kSquare * (static_cast<float>(row) + 0.5F) - kReach;
        const float across = normal[1] - normal[2] * z;
        float least = -kReach;
        float greatest = kReach;
        if (std::fabs(normal[0]) * kReach > kPlaceSlack) {
            const float inverse = 1.0F / normal[0];
            least = across * inverse - most * std::fabs(inverse);
            greatest = across * inverse + most * std::fabs(inverse);
        } else if (std::fabs(across) > most + kPlaceSlack) {
            continue;
        }
        const std::size_t first = bandOf(least + kSquare * 0.5F - kPlaceSlack);
        const std::size_t end = bandOf(greatest + kSquare * 0.5F);
        for (std::size_t column = first; column < end; ++column)
            aims.add(row * kSide + static_cast<std::uint32_t>(column));
    }
    return aims;
}

GroundAims GroundRayIndexBuilder::aimsOfLeaf(std::uint32_t leaf) const {
    GroundAims aims;
    for (const std::uint32_t triangle : listOf(leaf)) aims |= aimsOf(triangle);
    return aims;
}

GroundAims GroundRayIndexBuilder::aimsBetween(const Box& box, const GroundCellBoxes& cells, int lane) const {
    const float slack = kBoxMargins * m_tables.nearMargin;
    const auto& border = cells.cells.border;
    std::array<Apart, 3> up;
    std::array<Apart, 3> down;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        up[axis] = {border[axis][lane] - box.high[axis] - slack, border[axis + 3][lane] - box.low[axis] + slack};
        down[axis] = {-up[axis].most, -up[axis].least};
    }
    GroundAims aims = aimsDown(up[0], down[1], up[2]);
    aims |= aimsDown(down[0], up[1], down[2]);
    return aims;
}

// A cell that is seen in few squares is not looked into: little more could be told.
GroundAims GroundRayIndexBuilder::aimsFrom(const Box& box, std::vector<CellLane>& near) const {
    GroundAims far;
    near.clear();
    std::vector<std::uint32_t> waiting{m_tables.cellRoot};
    while (!waiting.empty()) {
        const GroundCellBoxes& cells = m_tables.cellBoxes[waiting.back() & ground_child::kMost];
        waiting.pop_back();
        for (int lane = 0; lane < 8; ++lane) {
            GroundAims aims = aimsOfLane(cells, lane);
            if (far.hasAll(aims)) continue;
            aims &= aimsBetween(box, cells, lane);
            if (far.hasAll(aims)) continue;
            const std::uint32_t child = cells.child[static_cast<std::size_t>(lane)];
            if (aims.count() <= kFewSquares)
                far |= aims;
            else if ((child & ground_child::kKind) == ground_child::kLeaf)
                near.push_back({&cells, lane});
            else
                waiting.push_back(child);
        }
    }
    return far;
}

GroundRayIndexBuilder::Box GroundRayIndexBuilder::boxAt(const GroundBoxes& boxes, std::size_t place) {
    Box box{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        box.low[axis] = boxes.border[axis][place / 8][static_cast<int>(place % 8)];
        box.high[axis] = boxes.border[axis + 3][place / 8][static_cast<int>(place % 8)];
    }
    return box;
}

// What is far from one of these boxes is far from all.
void GroundRayIndexBuilder::addAims(const GroundBoxes& boxes, std::vector<CellLane>& near) {
    std::array<std::size_t, GroundBoxes::kCount> places;
    std::size_t count = 0;
    Box all = nothingAdded().box;
    for (std::size_t place = 0; place < GroundBoxes::kCount; ++place) {
        const std::uint32_t child = boxes.child[place];
        if (child == m_nothing || (child & ground_child::kKind) != ground_child::kTriangles) continue;
        widen(all, boxAt(boxes, place));
        places[count++] = place;
    }
    if (count == 0) return;
    const GroundAims far = aimsFrom(all, near);
    for (std::size_t i = 0; i < count; ++i) {
        const Box box = boxAt(boxes, places[i]);
        GroundAims aims = far;
        for (const CellLane& cell : near) {
            GroundAims more = aimsOfLane(*cell.cells, cell.lane);
            if (aims.hasAll(more)) continue;
            more &= aimsBetween(box, *cell.cells, cell.lane);
            aims |= more;
        }
        m_tables.triangles.at(boxes.child[places[i]] & ground_child::kMost).edgeOn = aims;
    }
}

void GroundRayIndexBuilder::addAims() {
    if ((m_tables.root & ground_child::kKind) == ground_child::kTriangles)
        m_tables.triangles.at(m_tables.root & ground_child::kMost).edgeOn = GroundAims::all();
    std::vector<CellLane> near;
    for (const GroundBoxes& boxes : m_tables.boxes) addAims(boxes, near);
}

}  // namespace ond::ovs::addon
