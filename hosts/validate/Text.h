// Whether bytes are a text that users can read.
#pragma once

#include <string_view>

namespace ond::validate {

/// UTF-8 without control characters but line breaks and tabs; empty is fine.
[[nodiscard]] bool isPlainText(std::string_view text);

}  // namespace ond::validate
