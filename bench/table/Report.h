// Collects the rows while they are measured.
#pragma once

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "table/Row.h"

namespace ond::bench::table {

class Report {
  public:
    /// @param wanted numbers of rows; empty for all
    explicit Report(std::set<int> wanted) : rows(emptyRows()), m_wanted(std::move(wanted)) {}

    [[nodiscard]] bool wants(int number) const { return m_wanted.empty() || m_wanted.count(number) != 0; }
    [[nodiscard]] Row& row(int number) { return rows.at(static_cast<std::size_t>(number) - 1); }

    void add(int number, Ratio ratio) { row(number).ratios.push_back(std::move(ratio)); }
    void note(int number, std::string text) { row(number).notes.push_back(std::move(text)); }
    /// Each text once.
    void fault(int number, const std::string& text) {
        std::vector<std::string>& faults = row(number).faults;
        if (std::find(faults.begin(), faults.end(), text) == faults.end()) faults.push_back(text);
    }

    std::vector<Row> rows;

  private:
    std::set<int> m_wanted;
};

}  // namespace ond::bench::table
