#include "stage/GroundFbxDepth.h"

#include <cstdint>
#include <string>
#include <vector>

#include "ond/util/LittleEndian.h"
#include "stage/GroundFile.h"

namespace ond::stage {

namespace {

void checkDepth(std::size_t depth) {
    if (depth <= kMostFbxDepth) return;
    throw GroundError("its records lie more than " + std::to_string(kMostFbxDepth) +
                      " deep in each other; export the file again");
}

/// Braces in strings and behind semicolons, which begin comments, are no records.
void checkTextDepth(std::string_view text) {
    std::size_t depth = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') {
            i = text.find('"', i + 1);
        } else if (text[i] == ';') {
            i = text.find('\n', i + 1);
        } else if (text[i] == '{') {
            checkDepth(++depth);
        } else if (text[i] == '}' && depth > 0) {
            --depth;
        }
        if (i == std::string_view::npos) return;
    }
}

/// A whole number of `width` bytes.
std::uint64_t wholeAt(std::string_view bytes, std::size_t at, std::size_t width) {
    const auto* const from = reinterpret_cast<const unsigned char*>(bytes.data()) + at;
    return width == 8 ? util::loadLittleEndian<std::uint64_t>(from) : util::loadLittleEndian<std::uint32_t>(from);
}

/// A record: where it ends, the number and the length of its values, the length of its name, name and values; if it
/// does not end there, the records in it, the last one of which is all zero.
void checkBinaryDepth(std::string_view bytes) {
    constexpr std::size_t kVersionAt = 23;
    constexpr std::size_t kRecordsAt = 27;
    if (bytes.size() < kRecordsAt) return;
    const std::size_t width = wholeAt(bytes, kVersionAt, 4) >= 7500 ? 8 : 4;
    const std::size_t head = 3 * width + 1;
    std::vector<std::uint64_t> ends;
    std::uint64_t at = kRecordsAt;
    while (at <= bytes.size() && bytes.size() - at >= head) {
        while (!ends.empty() && at >= ends.back()) ends.pop_back();
        const std::uint64_t end = wholeAt(bytes, at, width);
        if (end == 0) {
            at += head;
            continue;
        }
        const std::uint64_t values = wholeAt(bytes, at + 2 * width, width);
        const std::uint64_t inside = at + head + static_cast<unsigned char>(bytes[at + head - 1]);
        if (end > bytes.size() || inside > end || values > end - inside) return;
        at = inside + values;
        if (at == end) continue;
        ends.push_back(end);
        checkDepth(ends.size());
    }
}

}  // namespace

void checkFbxDepth(std::string_view bytes) {
    if (bytes.starts_with("Kaydara FBX Binary")) {
        checkBinaryDepth(bytes);
    } else {
        checkTextDepth(bytes);
    }
}

}  // namespace ond::stage
