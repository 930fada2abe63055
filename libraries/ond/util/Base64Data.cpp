#include "ond/util/Base64Data.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace ond::util {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Marks a table entry whose character stands for no digit; lies above the 24 bits of a group.
constexpr std::uint32_t kNoDigit = 1u << 31;

using DigitTable = std::array<std::uint32_t, 256>;

/// For each place of a group: a character's six bits where they belong in the 24 bits of the group.
constexpr std::array<DigitTable, 4> makeDigitTables() {
    std::array<DigitTable, 4> tables{};
    for (auto& table : tables) table.fill(kNoDigit);
    for (std::uint32_t value = 0; value < 64; ++value) {
        const auto character = static_cast<unsigned char>(kAlphabet[value]);
        for (std::size_t place = 0; place < 4; ++place) tables[place][character] = value << (18 - 6 * place);
    }
    return tables;
}

/// The two characters of each 12 bits: half a group at one look.
constexpr std::array<std::array<char, 2>, 4096> makePairTable() {
    std::array<std::array<char, 2>, 4096> pairs{};
    for (std::size_t bits = 0; bits < pairs.size(); ++bits) pairs[bits] = {kAlphabet[bits >> 6], kAlphabet[bits & 63]};
    return pairs;
}

constexpr auto kDigits = makeDigitTables();
constexpr auto kPairs = makePairTable();

/// The 24 bits of the group of four characters at `from`, or kNoDigit among them if it has less than four digits.
inline std::uint32_t fullGroup(const unsigned char* from) {
    return kDigits[0][from[0]] | kDigits[1][from[1]] | kDigits[2][from[2]] | kDigits[3][from[3]];
}

/// Decodes a group that may have padding into `to`; returns its number of bytes, or 0 for a damaged one.
std::size_t decodePadded(const unsigned char* from, unsigned char* to) {
    std::size_t bytes = 3;
    if (from[3] == '=') --bytes;
    if (from[2] == '=') --bytes;
    std::uint32_t bits = kDigits[0][from[0]] | kDigits[1][from[1]];
    if (bytes > 1) bits |= kDigits[2][from[2]];
    if (bytes > 2) bits |= kDigits[3][from[3]];
    if ((bits & kNoDigit) != 0) return 0;
    for (std::size_t i = 0; i < bytes; ++i) to[i] = static_cast<unsigned char>(bits >> (16 - 8 * i));
    return bytes;
}

}  // namespace

Base64Data::Base64Data(const void* bytes, int size) {
    if (bytes == nullptr || size <= 0) return;
    const auto* first = static_cast<const unsigned char*>(bytes);
    m_bytes.assign(first, first + size);
}

Base64Data::Base64Data(const std::string& text) {
    constexpr std::size_t kMaxGroups = static_cast<std::size_t>(std::numeric_limits<int>::max()) / 3;
    if (text.size() % 4 != 0 || text.size() / 4 > kMaxGroups) return;
    m_bytes.resize(text.size() / 4 * 3);
    const auto* from = reinterpret_cast<const unsigned char*>(text.data());
    const auto* const end = from + text.size();
    unsigned char* to = m_bytes.data();
    for (; from != end; from += 4) {
        const std::uint32_t bits = fullGroup(from);
        if ((bits & kNoDigit) != 0) {
            const std::size_t bytes = decodePadded(from, to);
            if (bytes == 0) {
                m_bytes.clear();
                return;
            }
            to += bytes;
            continue;
        }
        to[0] = static_cast<unsigned char>(bits >> 16);
        to[1] = static_cast<unsigned char>(bits >> 8);
        to[2] = static_cast<unsigned char>(bits);
        to += 3;
    }
    m_bytes.resize(static_cast<std::size_t>(to - m_bytes.data()));
}

bool Base64Data::copyTo(void* target, int capacity) const {
    if (capacity < getSize()) return false;
    if (!m_bytes.empty()) std::memcpy(target, m_bytes.data(), m_bytes.size());
    return true;
}

std::string Base64Data::toString() const {
    const std::size_t size = m_bytes.size();
    std::string text((size + 2) / 3 * 4, '=');
    const unsigned char* from = m_bytes.data();
    char* to = text.data();
    std::size_t rest = size;
    for (; rest >= 3; rest -= 3, from += 3, to += 4) {
        const std::uint32_t bits = std::uint32_t{from[0]} << 16 | std::uint32_t{from[1]} << 8 | from[2];
        std::memcpy(to, kPairs[bits >> 12].data(), 2);
        std::memcpy(to + 2, kPairs[bits & 4095].data(), 2);
    }
    if (rest > 0) {
        const std::uint32_t bits = std::uint32_t{from[0]} << 16 | (rest > 1 ? std::uint32_t{from[1]} << 8 : 0u);
        to[0] = kAlphabet[bits >> 18];
        to[1] = kAlphabet[bits >> 12 & 63];
        if (rest > 1) to[2] = kAlphabet[bits >> 6 & 63];
    }
    return text;
}

}  // namespace ond::util
