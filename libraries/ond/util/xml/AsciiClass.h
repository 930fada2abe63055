// Character classes of the "C" locale, whatever locale the process runs in.
#pragma once

namespace ond::util::xml {

[[nodiscard]] constexpr bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

[[nodiscard]] constexpr bool isDecimalDigit(char c) { return c >= '0' && c <= '9'; }

/// Letters, digits, punctuation and the blank: the bytes 32 to 126.
[[nodiscard]] constexpr bool isPrintable(char c) { return c >= ' ' && c <= '~'; }

/// Value of a hexadecimal digit, -1 for any other character.
[[nodiscard]] constexpr int hexDigitValue(char c) {
    if (isDecimalDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace ond::util::xml
