// The figures for programs: one JSON document.
#pragma once

#include <string>
#include <vector>

#include "table/Breakdown.h"
#include "table/Machine.h"
#include "table/Row.h"
#include "table/Settings.h"

namespace ond::bench::table {

struct Record {
    Machine machine;
    std::string commit;
    Settings settings;
    std::string groundFile;  ///< empty for the hills
    std::vector<Row> rows;
    std::vector<FrameParts> breakdown;
    double seconds = 0.0;  ///< that all of it took, on the wall
};

/// Writes it aside and renames it. Throws std::runtime_error with a sentence for the user.
void writeRecord(const Record& record, const std::string& path);

}  // namespace ond::bench::table
