#include "stage/GroundObjText.h"

#include <algorithm>

namespace ond::stage::obj {

namespace {

bool isGap(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }

}  // namespace

Words::Words(std::string_view text) : m_text(text) {
    // The mark of UTF-8 that some editors put before a text.
    if (m_text.starts_with("\xEF\xBB\xBF")) m_text.remove_prefix(3);
}

bool Words::atLineEnd() const { return m_at >= m_text.size() || m_text[m_at] == '\n' || m_text[m_at] == '\r'; }

std::size_t Words::jointLength() const {
    if (m_at >= m_text.size() || m_text[m_at] != '\\') return 0;
    const std::string_view behind = m_text.substr(m_at + 1, 2);
    if (behind.empty()) return 1;
    if (behind == "\r\n") return 3;
    return behind.front() == '\n' || behind.front() == '\r' ? 2 : 0;
}

void Words::skipToLineEnd() {
    // By words, since a comment does not go on in the next line.
    while (!next().empty()) {
    }
}

bool Words::nextLine() {
    if (m_begun) {
        skipToLineEnd();
        if (m_at < m_text.size()) m_at += m_text.substr(m_at, 2) == "\r\n" ? 2 : 1;
    }
    m_begun = true;
    return m_at < m_text.size();
}

std::string_view Words::next() {
    while (!atLineEnd()) {
        const std::size_t joint = jointLength();
        if (joint == 0 && !isGap(m_text[m_at])) break;
        m_at += std::max<std::size_t>(joint, 1);
    }
    if (!atLineEnd() && m_text[m_at] == '#') {
        while (!atLineEnd()) ++m_at;
    }
    const std::size_t begin = m_at;
    while (!atLineEnd() && !isGap(m_text[m_at]) && jointLength() == 0) ++m_at;
    return m_text.substr(begin, m_at - begin);
}

std::string_view Words::rest() {
    while (!atLineEnd() && isGap(m_text[m_at])) ++m_at;
    const std::size_t begin = m_at;
    while (!atLineEnd()) ++m_at;
    std::string_view name = m_text.substr(begin, m_at - begin);
    while (!name.empty() && isGap(name.back())) name.remove_suffix(1);
    return name;
}

std::size_t Words::lineNumberAt(std::size_t place) const {
    std::size_t number = 1;
    for (std::size_t i = 0; i < place; ++i) {
        const bool ends = m_text[i] == '\n' || (m_text[i] == '\r' && m_text.substr(i + 1, 1) != "\n");
        number += ends ? 1 : 0;
    }
    return number;
}

}  // namespace ond::stage::obj
