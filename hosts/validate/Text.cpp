#include "validate/Text.h"

#include <cstddef>

namespace ond::validate {

namespace {

/// How many bytes the character takes whose first byte is `lead`; 0 for a byte that begins none.
std::size_t lengthOf(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if (lead >= 0xE0 && lead <= 0xEF) return 3;
    if (lead >= 0xF0 && lead <= 0xF4) return 4;
    return 0;
}

}  // namespace

bool isPlainText(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if ((lead < 32 && lead != '\n' && lead != '\t' && lead != '\r') || lead == 127) return false;
        const std::size_t length = lengthOf(lead);
        if (length == 0 || i + length > text.size()) return false;
        for (std::size_t k = 1; k < length; ++k)
            if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
        i += length;
    }
    return true;
}

}  // namespace ond::validate
