// Text forms of a vector, "1,2.5,-3", and of an index, "42". Both always in the "C" locale.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

#include "ond/util/Vector3.h"

namespace ond::util {

/// "x,y,z": no blanks, each number cut to six significant digits, at least two digits in an exponent. Infinities and
/// NaN write as "inf" and "nan" and do not read back.
[[nodiscard]] std::string toText(const Vector3<double>& v);

/// The number in decimal.
[[nodiscard]] std::string toText(int number);

/// Reads what operator>> reads.
[[nodiscard]] Vector3<double> vector3FromText(std::string_view text);

/// Decimal number at the front of `text`, behind white space and a sign if there are any; what follows the digits is
/// left alone. 0 without digits or if the number does not fit an int.
[[nodiscard]] int intFromText(std::string_view text);

/// Writes toText(v), whatever precision, flags and locale the stream has.
std::ostream& operator<<(std::ostream& stream, const Vector3<double>& v);

/// Sets `v` to 0 and reads three numbers. Where the second or the third cannot be read, one character is skipped and
/// the reading tried once more: so "4,5,6", "4;5;6" and "4 5 6" are alike. What cannot be read stays 0; a number that
/// no double holds becomes the largest one. The stream's error state is that of the last attempt.
std::istream& operator>>(std::istream& stream, Vector3<double>& v);

}  // namespace ond::util
