// The four-wheeled vehicle's dialog: its groups and rows, in the order in which they are declared.
#pragma once

#include <vector>

#include "validate/Items.h"

namespace ond::validate {

struct CarGroup {
    const char* title;
    const char* description;
};
[[nodiscard]] const std::vector<CarGroup>& carGroups();

struct CarRow {
    const char* group;
    const char* label;
    Item::Kind kind;
    double initial, min, max, step;
    bool listens;  ///< the object hears of a change
    const char* description;
};
[[nodiscard]] const std::vector<CarRow>& carRows();

}  // namespace ond::validate
