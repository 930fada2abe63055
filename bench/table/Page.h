// The figures for a reader.
#pragma once

#include <string>
#include <vector>

#include "table/Breakdown.h"
#include "table/Machine.h"
#include "table/Row.h"

namespace ond::bench::table {

[[nodiscard]] std::string machinePage(const Machine& machine, const std::string& commit);
[[nodiscard]] std::string tablePage(const std::vector<Row>& rows);
[[nodiscard]] std::string breakdownPage(const std::vector<FrameParts>& frames);

}  // namespace ond::bench::table
