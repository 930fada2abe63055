#include "stage/FrameRate.h"

#include <cmath>
#include <cstdlib>
#include <numeric>

#include "stage/StageError.h"

namespace ond::stage {

namespace {

/// The whole of `text` as a number; NaN if it is none.
double number(const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    const bool digitsOnly = text.find_first_not_of("0123456789.") == std::string::npos;
    return !text.empty() && digitsOnly && *end == '\0' ? value : std::nan("");
}

FrameRate ratio(double numerator, double denominator) {
    const int n = static_cast<int>(numerator);
    const int d = static_cast<int>(denominator);
    const int common = std::gcd(n, d);
    return {n / common, d / common};
}

FrameRate fromDecimal(double rate) {
    for (const int whole : {24, 30, 48, 60, 120})
        if (std::abs(rate - whole * 1000.0 / 1001.0) < 0.0006) return {whole * 1000, 1001};
    return ratio(std::round(rate * 1000.0), 1000.0);
}

}  // namespace

FrameRate FrameRate::parse(const std::string& text) {
    const std::size_t slash = text.find('/');
    const double n = number(text.substr(0, slash));
    const double d = slash == std::string::npos ? 1.0 : number(text.substr(slash + 1));
    // Written so that NaN fails.
    if (!(n > 0.0 && n <= 1e6 && d > 0.0 && d <= 1e6 && n / d >= 1.0 && n / d <= 1000.0) ||
        (slash != std::string::npos && (n != std::floor(n) || d != std::floor(d))))
        throw StageError("'" + text + "' is no frame rate; give frames per second such as 25, 29.97 or 30000/1001");
    return slash == std::string::npos ? fromDecimal(n) : ratio(n, d);
}

int FrameRate::nearest(double seconds) const {
    return static_cast<int>(std::lround(seconds * numerator / denominator));
}

std::string FrameRate::text() const {
    return std::to_string(numerator) + (denominator == 1 ? "" : "/" + std::to_string(denominator));
}

}  // namespace ond::stage
