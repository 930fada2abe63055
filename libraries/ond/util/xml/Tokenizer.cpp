#include "ond/util/xml/Tokenizer.h"

#include <algorithm>

#include "ond/util/xml/AsciiClass.h"
#include "ond/util/xml/Escape.h"

namespace ond::util::xml {

Tokenizer::Tokenizer(std::string_view text) : m_text(text.substr(0, text.find('\0'))) {}

bool Tokenizer::next(XmlToken& token) {
    while (m_position < m_text.size()) {
        const std::size_t begin = m_position;
        while (m_position < m_text.size() && isSpace(m_text[m_position])) ++m_position;
        if (m_position < m_text.size() && m_text[m_position] == '<')
            readTag(token);
        else
            readText(begin, token);
        if (!token.text.empty()) return true;
    }
    return false;
}

void Tokenizer::readTag(XmlToken& token) {
    ++m_position;
    token.kind = TokenKind::kOpenTag;
    if (m_position < m_text.size() && m_text[m_position] == '/') {
        token.kind = TokenKind::kCloseTag;
        ++m_position;
    } else if (m_position < m_text.size() && m_text[m_position] == '!') {
        token.kind = TokenKind::kComment;
        ++m_position;
    }
    const std::size_t bracket = m_text.find('>', m_position);
    const bool closed = bracket != std::string_view::npos;
    std::string_view body = m_text.substr(m_position, closed ? bracket - m_position : std::string_view::npos);
    // Only a "/" right before the bracket says something; a close tag that has one becomes an empty tag too.
    if (closed && token.kind != TokenKind::kComment && body.ends_with('/')) {
        token.kind = TokenKind::kEmptyTag;
        body.remove_suffix(1);
    }
    token.text = body;
    m_position = closed ? bracket + 1 : m_text.size();
}

void Tokenizer::readText(std::size_t begin, XmlToken& token) {
    m_position = std::min(m_text.find('<', m_position), m_text.size());
    token.kind = TokenKind::kText;
    token.text = unescape(m_text.substr(begin, m_position - begin));
}

std::vector<XmlToken> tokenize(std::string_view text) {
    std::vector<XmlToken> tokens;
    Tokenizer tokenizer(text);
    XmlToken token;
    while (tokenizer.next(token)) tokens.push_back(token);
    return tokens;
}

}  // namespace ond::util::xml
