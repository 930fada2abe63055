// Base64 in both directions.
//
// Properties:
// - text decodes to what a plain decoder with a search through the alphabet gives;
// - bytes come back from their text, which has the right length and only characters of the alphabet and padding.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/FuzzProperty.h"
#include "ond/util/Base64Data.h"

namespace {

using ond::test::require;
using ond::util::Base64Data;
using Bytes = std::vector<unsigned char>;

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int digit(char character) {
    const std::size_t at = kAlphabet.find(character);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

Bytes plainlyDecoded(const std::string& text) {
    Bytes result;
    if (text.size() % 4 != 0) return result;
    for (std::size_t i = 0; i < text.size(); i += 4) {
        const int bytes = 3 - (text[i + 3] == '=' ? 1 : 0) - (text[i + 2] == '=' ? 1 : 0);
        const int a = digit(text[i]);
        const int b = digit(text[i + 1]);
        const int c = bytes > 1 ? digit(text[i + 2]) : 0;
        const int d = bytes > 2 ? digit(text[i + 3]) : 0;
        if (a < 0 || b < 0 || c < 0 || d < 0) return {};
        result.push_back(static_cast<unsigned char>(a * 4 + b / 16));
        if (bytes > 1) result.push_back(static_cast<unsigned char>(b % 16 * 16 + c / 4));
        if (bytes > 2) result.push_back(static_cast<unsigned char>(c % 4 * 64 + d));
    }
    return result;
}

Bytes bytesOf(const Base64Data& data) {
    Bytes bytes(static_cast<std::size_t>(data.getSize()));
    require(data.copyTo(bytes.data(), data.getSize()), "there is room");
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    require(bytesOf(Base64Data(text)) == plainlyDecoded(text), "text decodes as the plain decoder says");

    const std::string encoded = Base64Data(bytes, static_cast<int>(size)).toString();
    require(encoded.size() == (size + 2) / 3 * 4, "four characters for each begun group of three bytes");
    require(encoded.find_first_not_of(std::string(kAlphabet) + "=") == std::string::npos, "only base64 characters");
    require(bytesOf(Base64Data(encoded)) == Bytes(bytes, bytes + size), "bytes come back from their text");
    return 0;
}
