#include "ond/util/xml/Escape.h"

#include <charconv>

#include "ond/util/xml/AsciiClass.h"

namespace ond::util::xml {

std::string escape(std::string_view raw) {
    std::string result;
    result.reserve(raw.size());
    for (const char c : raw) {
        if (isPrintable(c) && c != '&' && c != '<') {
            result += c;
            continue;
        }
        char digits[4];
        const auto end =
            std::to_chars(digits, digits + sizeof digits, static_cast<unsigned>(static_cast<unsigned char>(c))).ptr;
        result += "&#";
        result.append(digits, end);
        result += ';';
    }
    return result;
}

namespace {

/// Value of the leading digits of `digits` in `base`, modulo 256; 0 without any.
char lowByteOfNumber(std::string_view digits, int base) {
    unsigned value = 0;
    for (const char c : digits) {
        const int digit = hexDigitValue(c);
        if (digit >= base) break;
        value = (value * static_cast<unsigned>(base) + static_cast<unsigned>(digit)) & 0xffu;
    }
    return static_cast<char>(static_cast<unsigned char>(value));
}

}  // namespace

std::string unescape(std::string_view escaped) {
    std::string result;
    result.reserve(escaped.size());
    std::size_t i = 0;
    while (i < escaped.size()) {
        const std::size_t reference = escaped.find("&#", i);
        if (reference == std::string_view::npos) break;
        result.append(escaped, i, reference - i);
        i = reference + 2;
        int base = 10;
        if (i < escaped.size() && escaped[i] == 'x') {
            base = 16;
            ++i;
        }
        const std::size_t begin = i;
        while (i < escaped.size() && hexDigitValue(escaped[i]) >= 0) ++i;
        result += lowByteOfNumber(escaped.substr(begin, i - begin), base);
        ++i;  // what ended the number, ";" or not
    }
    if (i < escaped.size()) result.append(escaped, i);
    return result;
}

}  // namespace ond::util::xml
