#include "stage/GroundFbxDepth.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "ond/util/LittleEndian.h"
#include "stage/GroundFbxModels.h"
#include "stage/GroundFile.h"

namespace ond::stage {

namespace {

void checkDepth(std::size_t depth) {
    if (depth <= kMostFbxDepth) return;
    throw GroundError("its records lie more than " + std::to_string(kMostFbxDepth) +
                      " deep in each other; export the file again");
}

/// Goes through a text: names end with a colon, values lie between gaps or commas, braces are around inner records.
class TextFile {
  public:
    TextFile(std::string_view text, FbxModels& models) : m_text(text), m_models(models) {}

    void check() {
        std::size_t depth = 0;
        while (m_at < m_text.size()) {
            const char c = m_text[m_at];
            if (c == '{' || c == '}') {
                endRecord();
                if (c == '{') checkDepth(++depth);
                if (c == '}' && depth > 0) --depth;
            }
            if (c == ';') {
                goTo("\n\r\f");
            } else if (c == '"') {
                readQuoted();
            } else if (kBetween.find(c) != std::string_view::npos) {
                ++m_at;
            } else {
                readWord();
            }
        }
        endRecord();
    }

  private:
    static constexpr std::string_view kBetween{" \t\n\r\f\0,:{}", 10};
    static constexpr std::string_view kBehindWord{" \t\n\r\f\0,:{};\"", 12};

    void goTo(std::string_view ends) { m_at = std::min(m_text.find_first_of(ends, m_at), m_text.size()); }

    void readQuoted() {
        const std::size_t begin = ++m_at;
        goTo("\"");
        addValue(m_text.substr(begin, m_at - begin));
        if (m_at < m_text.size()) ++m_at;
    }

    void readWord() {
        const std::size_t begin = m_at;
        goTo(kBehindWord);
        const std::string_view word = m_text.substr(begin, m_at - begin);
        if (m_at < m_text.size() && m_text[m_at] == ':') {
            endRecord();
            m_name = word;
        } else {
            addValue(word);
        }
    }

    void addValue(std::string_view value) {
        if (FbxModels::wants(m_name) && m_values.size() < FbxModels::kValues) m_values.emplace_back(value);
    }

    void endRecord() {
        m_models.take(m_name, m_values);
        m_name = {};
        m_values.clear();
    }

    std::string_view m_text;
    FbxModels& m_models;
    std::size_t m_at = 0;
    std::string_view m_name;
    std::vector<std::string> m_values;
};

/// A whole number of `width` bytes.
std::uint64_t wholeAt(std::string_view bytes, std::size_t at, std::size_t width) {
    const auto* const from = reinterpret_cast<const unsigned char*>(bytes.data()) + at;
    return width == 8 ? util::loadLittleEndian<std::uint64_t>(from) : util::loadLittleEndian<std::uint32_t>(from);
}

/// The first values in the bytes of a record's values, up to one that is neither a text nor a number of eight bytes.
std::vector<std::string> valuesIn(std::string_view bytes) {
    std::vector<std::string> values;
    while (values.size() < FbxModels::kValues) {
        if (bytes.starts_with('L') && bytes.size() >= 9) {
            values.push_back(std::to_string(wholeAt(bytes, 1, 8)));
            bytes.remove_prefix(9);
        } else if (bytes.starts_with('S') && bytes.size() >= 5 && wholeAt(bytes, 1, 4) <= bytes.size() - 5) {
            const std::size_t length = wholeAt(bytes, 1, 4);
            values.emplace_back(bytes.substr(5, length));
            bytes.remove_prefix(5 + length);
        } else {
            break;
        }
    }
    return values;
}

/// A record: where it ends, the number and the length of its values, the length of its name, name and values; if it
/// does not end there, the records in it, behind which there is a head that is all zero.
class BinaryFile {
  public:
    BinaryFile(std::string_view bytes, FbxModels& models) : m_bytes(bytes), m_models(models) {}

    void check() {
        if (m_bytes.size() < kRecordsAt) return;
        m_width = wholeAt(m_bytes, kVersionAt, 4) >= 7500 ? 8 : 4;
        m_head = 3 * m_width + 1;
        std::uint64_t at = kRecordsAt;
        while (true) {
            const std::uint64_t limit = m_ends.empty() ? m_bytes.size() : m_ends.back() - m_head;
            if (!m_ends.empty() && at == limit) {
                at = m_ends.back();
                m_ends.pop_back();
                continue;
            }
            const bool isHead = limit - at >= m_head && wholeAt(m_bytes, at, m_width) != 0;
            // Behind the outermost records there are other bytes.
            if (!isHead && m_ends.empty()) return;
            if (!isHead) refuse();
            at = enter(at, limit);
        }
    }

  private:
    static constexpr std::size_t kVersionAt = 23;
    static constexpr std::size_t kRecordsAt = 27;

    [[noreturn]] static void refuse() { throw GroundError("its records are damaged; export the file again"); }

    /// Takes the record at `at`, which must end before `limit`. Where its inner records or the next one begin.
    std::uint64_t enter(std::uint64_t at, std::uint64_t limit) {
        const std::uint64_t end = wholeAt(m_bytes, at, m_width);
        const std::uint64_t length = wholeAt(m_bytes, at + 2 * m_width, m_width);
        const std::uint64_t name = at + m_head;
        const std::uint64_t values = name + static_cast<unsigned char>(m_bytes[name - 1]);
        if (end > limit || values > end || length > end - values) refuse();
        const std::string_view key = m_bytes.substr(name, values - name);
        if (FbxModels::wants(key)) m_models.take(key, valuesIn(m_bytes.substr(values, length)));
        const std::uint64_t inner = values + length;
        if (inner == end) return end;
        if (end - inner < m_head) refuse();
        m_ends.push_back(end);
        checkDepth(m_ends.size());
        return inner;
    }

    std::string_view m_bytes;
    FbxModels& m_models;
    std::size_t m_width = 4;
    std::size_t m_head = 13;
    /// Of the records around the current place.
    std::vector<std::uint64_t> m_ends;
};

}  // namespace

void checkFbxDepth(std::string_view bytes) {
    FbxModels models;
    if (bytes.starts_with("Kaydara FBX Binary")) {
        BinaryFile(bytes, models).check();
    } else {
        TextFile(bytes, models).check();
    }
    models.check();
}

}  // namespace ond::stage
