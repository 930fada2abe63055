// Numbers as users write them, and as this program writes them.
#pragma once

#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ond/util/Vector3.h"

namespace ond::command {

/// A finite number in plain or exponent notation with a decimal point; blanks around it are allowed.
[[nodiscard]] std::optional<double> toNumber(std::string_view text);

/// Ends a number may not lie outside of.
struct Range {
    double min = -std::numeric_limits<double>::infinity();
    double max = std::numeric_limits<double>::infinity();
    [[nodiscard]] bool holds(double value) const { return value >= min && value <= max; }
    /// "0 to 1", "at least 0", "at most 1".
    [[nodiscard]] std::string text() const;
};

/// @param what names the number in messages, e.g. "--length"
/// @throws CommandError for text that is no number, and for numbers outside of the range
[[nodiscard]] double numberOf(const std::string& text, const std::string& what, const Range& range = {});
[[nodiscard]] int wholeOf(const std::string& text, const std::string& what, const Range& range = {});
/// Numbers with commas between them.
[[nodiscard]] std::vector<double> numbersOf(const std::string& text, const std::string& what);

/// The shortest text that reads back as the same number.
[[nodiscard]] std::string exactText(double value);
/// For reading: `digits` significant digits, without zeros at the end.
[[nodiscard]] std::string shortText(double value, int digits = 6);

/// The parts before and behind the first `separator`.
/// @param form how it should look, for the message, e.g. "LABEL=VALUE"
/// @throws CommandError if there is none, or nothing before or behind it
[[nodiscard]] std::pair<std::string, std::string> splitAt(const std::string& text, char separator,
                                                          const std::string& what, const std::string& form);
/// Without blanks at both ends.
[[nodiscard]] std::string trimmed(std::string_view text);

}  // namespace ond::command
