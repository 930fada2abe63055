// Numeric character references: bytes that must not stand in XML text as themselves.
#pragma once

#include <string>
#include <string_view>

namespace ond::util::xml {

/// Every byte outside 32 to 126, and "&" and "<", as "&#" + unsigned decimal + ";". Quotes and ">" pass unchanged.
[[nodiscard]] std::string escape(std::string_view raw);

/// Replaces "&#<decimal>" and "&#x<hexadecimal>" by the low byte of the number, 0 if there is no number.
/// The character that ends the number is swallowed whatever it is; a missing ";" is no error. Hexadecimal digits
/// inside a decimal reference end the number and are swallowed too. Named references stay as they are.
[[nodiscard]] std::string unescape(std::string_view escaped);

}  // namespace ond::util::xml
