#include "ond/util/Vector3Text.h"

#include <charconv>
#include <istream>
#include <locale>
#include <ostream>
#include <sstream>
#include <system_error>

#include "ond/util/xml/AsciiClass.h"

namespace ond::util {

namespace {

constexpr int kSignificantDigits = 6;
constexpr std::size_t kLongestNumber = 16;  // "-1.23457e-308" has 13

/// Gives a stream the "C" locale for as long as this object lives.
class ClassicLocale {
  public:
    explicit ClassicLocale(std::istream& stream) : m_stream(stream), m_before(stream.imbue(std::locale::classic())) {}
    ~ClassicLocale() { m_stream.imbue(m_before); }
    ClassicLocale(const ClassicLocale&) = delete;
    ClassicLocale& operator=(const ClassicLocale&) = delete;

  private:
    std::istream& m_stream;
    std::locale m_before;
};

char* writeNumber(char* at, double number) {
    return std::to_chars(at, at + kLongestNumber, number, std::chars_format::general, kSignificantDigits).ptr;
}

void extractBehindSeparator(std::istream& stream, double& number) {
    if (stream >> number) return;
    stream.clear();
    char separator = 0;
    stream >> separator;
    stream >> number;
}

/// Reads a number that ends at `terminator` or, for the terminator 0, at `end`. Only forms which a stream reads to the
/// same value are taken; null for all others.
const char* readPlainNumber(const char* at, const char* end, char terminator, double& number) {
    const char* firstDigit = at != end && *at == '-' ? at + 1 : at;
    if (firstDigit == end || !xml::isDecimalDigit(*firstDigit)) return nullptr;
    const auto result = std::from_chars(at, end, number);
    if (result.ec != std::errc()) return nullptr;
    if (terminator == '\0') return result.ptr == end ? end : nullptr;
    return result.ptr != end && *result.ptr == terminator ? result.ptr + 1 : nullptr;
}

/// The common case "number,number,number", many times as fast as a stream.
bool readPlainForm(std::string_view text, Vector3<double>& v) {
    const char* const end = text.data() + text.size();
    const char* at = readPlainNumber(text.data(), end, ',', v.x);
    if (at != nullptr) at = readPlainNumber(at, end, ',', v.y);
    if (at != nullptr) at = readPlainNumber(at, end, '\0', v.z);
    return at != nullptr;
}

}  // namespace

std::string toText(const Vector3<double>& v) {
    char buffer[3 * kLongestNumber + 2];
    char* at = writeNumber(buffer, v.x);
    *at++ = ',';
    at = writeNumber(at, v.y);
    *at++ = ',';
    at = writeNumber(at, v.z);
    return {buffer, at};
}

std::string toText(int number) {
    char buffer[12];
    return {buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr};
}

Vector3<double> vector3FromText(std::string_view text) {
    Vector3<double> v;
    if (readPlainForm(text, v)) return v;
    std::istringstream stream{std::string(text)};
    stream >> v;
    return v;
}

int intFromText(std::string_view text) {
    while (!text.empty() && xml::isSpace(text.front())) text.remove_prefix(1);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return 0;
    }
    int number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() ? number : 0;
}

std::ostream& operator<<(std::ostream& stream, const Vector3<double>& v) { return stream << toText(v); }

std::istream& operator>>(std::istream& stream, Vector3<double>& v) {
    const ClassicLocale locale(stream);
    v = {};
    stream >> v.x;
    extractBehindSeparator(stream, v.y);
    extractBehindSeparator(stream, v.z);
    return stream;
}

}  // namespace ond::util
