// What the table of figures consists of.
#pragma once

#include <string>
#include <vector>

namespace ond::bench::table {

/// A measured quantity as it was read.
struct Figure {
    std::string what;
    double value = 0.0;
    std::string unit;
};

/// One ratio of a row, with both sides taken in turn in this process.
struct Ratio {
    std::string of;  ///< which of a row's cases; empty when there is one
    double value = 0.0;
    Figure over;
    Figure under;
    int passes = 1;    ///< medians are over so many of each side
    double low = 0.0;  ///< quartiles of the ratios that pairs of passes gave; both `value` where there is one pass
    double high = 0.0;
    bool counts = true;  ///< false: told beside the others, and not held to the goal
};

struct Goal {
    enum class Is { atMost, atLeast };
    Is is = Is::atMost;
    double value = 0.0;
    [[nodiscard]] bool isMetBy(double ratio) const { return is == Is::atMost ? ratio <= value : ratio >= value; }
};

struct Row {
    int number = 0;
    std::string what;
    Goal goal;
    std::vector<Ratio> ratios;
    std::vector<std::string> notes;   ///< on how the figures are to be read
    std::vector<std::string> faults;  ///< why they cannot be trusted; a row with faults is never met

    [[nodiscard]] bool isMeasured() const { return !ratios.empty(); }
    [[nodiscard]] bool isMet() const;
};

/// All rows, unmeasured.
[[nodiscard]] std::vector<Row> emptyRows();

}  // namespace ond::bench::table
