#include "command/Numbers.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "command/CommandError.h"

namespace ond::command {

std::string trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1));
}

std::optional<double> toNumber(std::string_view text) {
    const std::string word = trimmed(text);
    const char* begin = word.data();
    const char* end = begin + word.size();
    if (word.size() > 1 && word[0] == '+' && word[1] != '-') ++begin;
    double value = 0.0;
    const auto [stop, error] = std::from_chars(begin, end, value);
    if (error != std::errc() || stop != end || !std::isfinite(value)) return std::nullopt;
    return value;
}

std::string Range::text() const {
    const bool below = std::isfinite(min);
    const bool above = std::isfinite(max);
    if (below && above) return shortText(min) + " to " + shortText(max);
    if (below) return "at least " + shortText(min);
    if (above) return "at most " + shortText(max);
    return "any";
}

double numberOf(const std::string& text, const std::string& what, const Range& range) {
    const std::optional<double> value = toNumber(text);
    if (!value) throw CommandError(what + ": '" + text + "' is no number");
    if (!range.holds(*value)) throw CommandError(what + ": " + text + " is out of range; give " + range.text());
    return *value;
}

int wholeOf(const std::string& text, const std::string& what, const Range& range) {
    const double value = numberOf(text, what, {std::max(range.min, -1e9), std::min(range.max, 1e9)});
    if (value != std::floor(value)) throw CommandError(what + ": " + text + " is no whole number");
    return static_cast<int>(value);
}

std::vector<double> numbersOf(const std::string& text, const std::string& what) {
    std::vector<double> numbers;
    std::size_t from = 0;
    while (true) {
        const std::size_t comma = text.find(',', from);
        numbers.push_back(numberOf(text.substr(from, comma - from), what));
        if (comma == std::string::npos) return numbers;
        from = comma + 1;
    }
}

std::string exactText(double value) {
    char text[40];
    const auto [end, error] = std::to_chars(text, text + sizeof text, value);
    return error == std::errc() ? std::string(text, end) : std::string();
}

std::string shortText(double value, int digits) {
    char text[40];
    std::snprintf(text, sizeof text, "%.*g", digits, value);
    return text;
}

std::pair<std::string, std::string> splitAt(const std::string& text, char separator, const std::string& what,
                                            const std::string& form) {
    const std::size_t at = text.find(separator);
    if (at == std::string::npos || trimmed(text.substr(0, at)).empty() || trimmed(text.substr(at + 1)).empty())
        throw CommandError(what + ": '" + text + "' does not have the form " + form);
    return {trimmed(text.substr(0, at)), trimmed(text.substr(at + 1))};
}

}  // namespace ond::command
