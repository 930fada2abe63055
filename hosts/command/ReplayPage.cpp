#include "command/ReplayPage.h"

#include "command/CommandError.h"

namespace ond::command {

namespace {

std::string base64Of(const std::vector<unsigned char>& bytes) {
    constexpr const char* kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t left = bytes.size() - i;
        const unsigned b0 = bytes[i];
        const unsigned b1 = left > 1 ? bytes[i + 1] : 0U;
        const unsigned b2 = left > 2 ? bytes[i + 2] : 0U;
        const unsigned all = (b0 << 16U) | (b1 << 8U) | b2;
        text += kDigits[all >> 18U];
        text += kDigits[(all >> 12U) & 63U];
        text += left > 1 ? kDigits[(all >> 6U) & 63U] : '=';
        text += left > 2 ? kDigits[all & 63U] : '=';
    }
    return text;
}

std::string escaped(const std::string& text) {
    std::string safe;
    for (const char c : text) {
        switch (c) {
            case '&': safe += "&amp;"; break;
            case '<': safe += "&lt;"; break;
            case '>': safe += "&gt;"; break;
            case '"': safe += "&quot;"; break;
            case '\'': safe += "&#39;"; break;
            default: safe += c;
        }
    }
    return safe;
}

/// The only place of `mark` in the page.
std::size_t placeOf(const std::string& page, const std::string& mark) {
    const std::size_t at = page.find(mark);
    if (at == std::string::npos || page.find(mark, at + 1) != std::string::npos)
        throw CommandError("the replay page does not have the place " + mark + " exactly once; is it the empty page?");
    return at;
}

}  // namespace

std::string fillReplayPage(const std::string& page, const std::vector<unsigned char>& take, const std::string& title) {
    constexpr const char* kTake = "@TAKE@";
    constexpr const char* kTitle = "@TITLE@";
    const std::size_t takeAt = placeOf(page, kTake);
    const std::size_t titleAt = placeOf(page, kTitle);
    std::string filled = page;
    // The one that stands behind first, so that the other stays where it is.
    const auto put = [&](std::size_t at, const char* mark, const std::string& text) {
        filled.replace(at, std::string(mark).size(), text);
    };
    if (takeAt > titleAt) put(takeAt, kTake, base64Of(take));
    put(titleAt, kTitle, escaped(title));
    if (takeAt < titleAt) put(takeAt, kTake, base64Of(take));
    return filled;
}

}  // namespace ond::command
