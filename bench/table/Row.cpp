#include "table/Row.h"

#include <algorithm>
#include <iterator>

namespace ond::bench::table {

namespace {

struct RowText {
    const char* what;
    Goal goal;
};

constexpr Goal atMost(double value) { return {Goal::Is::atMost, value}; }
constexpr Goal atLeast(double value) { return {Goal::Is::atLeast, value}; }

// The first is row 1.
constexpr RowText kRows[] = {
    {"frame in Bullet mode / its 228 bare casts", atMost(0.30)},
    {"frame in Bullet mode, largest ground / smallest", atMost(1.5)},
    {"ground tree ray / Embree ray", atMost(1.6)},
    {"the same on an exactly flat mesh", atMost(3.0)},
    {"slowest ray of a fan / median ray, ground tree", atMost(20.0)},
    {"frame in stored mode / plain frame in Bullet mode", atMost(0.3)},
    {"building the ground tree / Embree's build", atMost(3.0)},
    {"memory of stored mode / of Bullet's shape", atMost(5.0)},
    {"second run start on the same ground / first", atMost(0.1)},
    {"frame of a vehicle among 100 / alone", atMost(1.2)},
    {"setKey behind 90,000 keys / push_back", atMost(1.3)},
    {"speed of save + load / twice malloc + memcpy", atLeast(0.7)},
    {"peak of extra memory in a save / the block", atMost(1.5)},
    {"heap allocations / frames, after warm-up", atMost(0.0)},
    {"vehicles in real time per core, 25 fps", atLeast(1000.0)},
};

}  // namespace

bool Row::isMet() const {
    return isMeasured() && faults.empty() && std::all_of(ratios.begin(), ratios.end(), [this](const Ratio& ratio) {
               return !ratio.counts || goal.isMetBy(ratio.value);
           });
}

std::vector<Row> emptyRows() {
    std::vector<Row> rows;
    for (const RowText& text : kRows) {
        Row row;
        row.number = static_cast<int>(rows.size()) + 1;
        row.what = text.what;
        row.goal = text.goal;
        rows.push_back(row);
    }
    return rows;
}

}  // namespace ond::bench::table
