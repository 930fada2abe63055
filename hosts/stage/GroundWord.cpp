#include "stage/GroundWord.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <system_error>

namespace ond::stage {

namespace {

/// A number that no double comes near to, in the notation that from_chars() takes: infinite or zero.
double beyondDouble(std::string_view word) {
    const double sign = word.front() == '-' ? -1.0 : 1.0;
    const std::size_t letter = std::min(word.find_first_of("eE"), word.size());
    const std::string_view digits = word.substr(0, letter);
    const std::size_t point = std::min(digits.find('.'), digits.size());
    const std::size_t first = digits.find_first_of("123456789");
    std::string_view exponent = word.substr(std::min(letter + 1, word.size()));
    if (exponent.starts_with('+')) exponent.remove_prefix(1);
    std::int64_t power = 0;
    const auto result = std::from_chars(exponent.data(), exponent.data() + exponent.size(), power);
    // More digits than that do not fit into a file.
    constexpr std::int64_t kFar = std::int64_t{1} << 60;
    if (result.ec == std::errc::result_out_of_range) power = exponent.starts_with('-') ? -kFar : kFar;
    power = std::clamp(power, -kFar, kFar) + static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first);
    return sign * (power > 0 ? std::numeric_limits<double>::infinity() : 0.0);
}

}  // namespace

std::optional<double> toDouble(std::string_view word) {
    if (word.starts_with('+')) {
        word.remove_prefix(1);
        if (word.starts_with('-')) return std::nullopt;
    }
    double value = 0.0;
    const char* const end = word.data() + word.size();
    const std::from_chars_result result = std::from_chars(word.data(), end, value);
    if (word.empty() || result.ptr != end) return std::nullopt;
    if (result.ec == std::errc::result_out_of_range) return beyondDouble(word);
    if (result.ec != std::errc()) return std::nullopt;
    return value;
}

std::string quotedWord(std::string_view word) {
    std::string text(word.substr(0, 20));
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return "\"" + text + "\"";
}

}  // namespace ond::stage
