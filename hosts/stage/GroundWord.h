// Words of text files of a ground: as numbers, and as parts of messages.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ond::stage {

/// The double that is nearest to a decimal number, in plain or exponent notation: infinite if it is too large, zero if
/// it is too small. "inf" and "nan" count as numbers. Nothing for any other word.
[[nodiscard]] std::optional<double> toDouble(std::string_view word);

/// A word for an error message: in quotes, cut to 20 characters, "?" for what does not show.
[[nodiscard]] std::string quotedWord(std::string_view word);

}  // namespace ond::stage
