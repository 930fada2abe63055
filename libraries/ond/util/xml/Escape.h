// Numeric character references: bytes that must not stand in XML text as themselves.
#pragma once

#include <string>
#include <string_view>

namespace ond::util::xml {

/// Every byte outside 32 to 126, and "&" and "<", as "&#" + unsigned decimal + ";". Quotes and ">" pass unchanged.
[[nodiscard]] std::string escape(std::string_view raw);

/// Puts one byte in place of "&#<decimal>" and "&#x<hexadecimal>": the number modulo 256, 0 if there is no number.
/// Whatever stands behind the number is swallowed with it; a missing ";" is no error. Hexadecimal digits
/// inside a decimal reference end the number and are swallowed too. Named references stay as they are.
[[nodiscard]] std::string unescape(std::string_view escaped);

}  // namespace ond::util::xml
