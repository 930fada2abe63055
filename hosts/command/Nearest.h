// The known word that a mistyped one was probably meant to be.
#pragma once

#include <string>
#include <vector>

namespace ond::command {

/// Letters, digits and all else with capitals made small (ASCII).
[[nodiscard]] std::string lower(std::string text);

/// How many insertions, deletions, replacements and swaps of neighbours turn `a` into `b`; capitals count as small.
/// No letter is changed twice (Damerau-Levenshtein in its restricted form).
[[nodiscard]] int editDistance(const std::string& a, const std::string& b);

/// The one of `known` that is nearest to `word`; empty if none is near enough to be meant. A word that holds `word` as
/// it is counts as near, however long. Of several that are equally near the first is given.
[[nodiscard]] std::string nearest(const std::string& word, const std::vector<std::string>& known);

/// "; did you mean 'X'?", or nothing.
[[nodiscard]] std::string didYouMean(const std::string& word, const std::vector<std::string>& known);

/// "a, b and c", or with another joint.
[[nodiscard]] std::string enumerated(const std::vector<std::string>& words, const std::string& joint = "and");

}  // namespace ond::command
