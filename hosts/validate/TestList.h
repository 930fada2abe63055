// Every test of a validation, as one table.
#pragma once

#include <string_view>

#include "validate/Check.h"

namespace ond::validate {

struct TestRow {
    std::string_view id;        ///< kebab-case
    std::string_view sentence;  ///< what the contract wants and the test asks
    Level level;
    void (*run)(Check& check);
};

/// The row of that id, or null.
[[nodiscard]] const TestRow* findTest(std::string_view id);

/// The rows, in the order in which they are run and told.
struct TestRows {
    const TestRow* first;
    const TestRow* last;
    [[nodiscard]] const TestRow* begin() const { return first; }
    [[nodiscard]] const TestRow* end() const { return last; }
};
[[nodiscard]] TestRows allTests();

}  // namespace ond::validate
