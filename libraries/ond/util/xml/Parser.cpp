// Element::parse(): tokens into a tree. The open elements wait on a heap stack, so depth costs no call stack, and a
// finished child moves into its parent, so depth costs no copies either.
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ond/util/xml/AsciiClass.h"
#include "ond/util/xml/Element.h"
#include "ond/util/xml/Escape.h"
#include "ond/util/xml/Tokenizer.h"

namespace ond::util::xml {

namespace {

/// Stores attributes under the names of one token, a repeated name overwriting its value. Takes over from the linear
/// search of Element::attribute() where a tag has many of them.
class AttributeStore {
  public:
    explicit AttributeStore(Element& element) : m_element(element) {}

    /// `name` must stay where it is as long as the store lives.
    void set(std::string_view name, std::string value) {
        if (m_element.attributes.size() < kFewAttributes) {
            m_element.attribute(std::string(name)) = std::move(value);
            return;
        }
        if (m_places.empty()) indexExisting();
        const auto [place, isNew] = m_places.try_emplace(std::string(name), m_element.attributes.size());
        if (isNew)
            m_element.attributes.emplace_back(place->first, std::move(value));
        else
            m_element.attributes[place->second].second = std::move(value);
    }

  private:
    static constexpr std::size_t kFewAttributes = 16;

    void indexExisting() {
        for (std::size_t i = 0; i < m_element.attributes.size(); ++i)
            m_places.emplace(m_element.attributes[i].first, i);
    }

    Element& m_element;
    std::map<std::string, std::size_t> m_places;
};

/// Walks the text of a tag token: the name, then the attributes.
class TagReader {
  public:
    explicit TagReader(std::string_view text) : m_text(text) {}

    /// The name is what stands before the first white space; a tag that begins with white space has an empty one.
    [[nodiscard]] std::string name() const {
        std::size_t end = 0;
        while (end < m_text.size() && !isSpace(m_text[end])) ++end;
        return unescape(m_text.substr(0, end));
    }

    int readAttributes(Element& element) {
        AttributeStore store(element);
        skipSpace();
        while (!atEnd() && !isSpace(m_text[m_i])) ++m_i;
        for (;;) {
            skipSpace();
            if (atEnd() || m_text[m_i] == '?') return ParseCode::kSuccess;
            const std::size_t nameBegin = m_i;
            while (!atEnd() && m_text[m_i] != '=' && !isSpace(m_text[m_i])) ++m_i;
            const std::string_view name = m_text.substr(nameBegin, m_i - nameBegin);
            if (atEnd() || m_text[m_i] != '=') return ParseCode::kBadAttribute;
            ++m_i;
            if (atEnd() || (m_text[m_i] != '"' && m_text[m_i] != '\'')) return ParseCode::kBadAttribute;
            const char quote = m_text[m_i++];
            const std::size_t end = m_text.find(quote, m_i);
            if (end == std::string_view::npos) return ParseCode::kBadAttribute;
            store.set(name, unescape(m_text.substr(m_i, end - m_i)));
            m_i = end + 1;
        }
    }

  private:
    [[nodiscard]] bool atEnd() const { return m_i >= m_text.size(); }
    void skipSpace() {
        while (!atEnd() && isSpace(m_text[m_i])) ++m_i;
    }

    std::string_view m_text;
    std::size_t m_i = 0;
};

class Parser {
  public:
    explicit Parser(std::string_view xmlText) : m_tokens(xmlText) { advance(); }

    int parseDocument(Element& root) {
        if (!m_hasToken) return ParseCode::kNoElement;
        if (m_token.kind != TokenKind::kOpenTag && m_token.kind != TokenKind::kEmptyTag) return ParseCode::kNoElement;
        if (m_token.text.front() == '?') advance();
        if (!m_hasToken) return ParseCode::kOutOfTokens;
        const int code = readNode(root);
        return code == ParseCode::kSuccess && m_opened ? readChildren(root) : code;
    }

  private:
    void advance() { m_hasToken = m_tokens.next(m_token); }

    /// Reads the current token into the fresh `node`; `m_opened` says whether children follow.
    int readNode(Element& node) {
        m_opened = false;
        if (m_token.kind == TokenKind::kCloseTag) return ParseCode::kNoElement;
        if (m_token.kind == TokenKind::kText || m_token.kind == TokenKind::kComment) {
            // For a text this is the second time: the tokenizer has resolved one layer of references already.
            node.type = m_token.kind == TokenKind::kText ? ElementType::kText : ElementType::kComment;
            node.text = unescape(m_token.text);
        } else {
            node.type = ElementType::kTag;
            TagReader reader(m_token.text);
            node.text = reader.name();
            if (const int code = reader.readAttributes(node); code != ParseCode::kSuccess) return code;
            m_opened = m_token.kind == TokenKind::kOpenTag;
        }
        advance();
        return ParseCode::kSuccess;
    }

    /// Reads up to the close tag of `root`. Elements still open at an error are lost, as is the one that has it.
    int readChildren(Element& root) {
        std::vector<std::unique_ptr<Element>> open;  // below root, outermost first
        while (m_hasToken) {
            Element& parent = open.empty() ? root : *open.back();
            if (m_token.kind == TokenKind::kCloseTag) {
                if (m_token.text != parent.text) return ParseCode::kWrongClose;
                advance();
                if (open.empty()) return ParseCode::kSuccess;
                std::unique_ptr<Element> finished = std::move(open.back());
                open.pop_back();
                adopt(open.empty() ? root : *open.back(), std::move(finished));
                continue;
            }
            auto child = std::make_unique<Element>();
            if (const int code = readNode(*child); code != ParseCode::kSuccess) return code;
            if (m_opened)
                open.push_back(std::move(child));
            else
                adopt(parent, std::move(child));
        }
        return ParseCode::kUnclosed;
    }

    /// What addChild() does, without the copy.
    static void adopt(Element& parent, std::unique_ptr<Element> child) {
        if (!child->isEmpty()) parent.children.push_back(std::move(child));
    }

    Tokenizer m_tokens;
    XmlToken m_token;
    bool m_hasToken = false;
    bool m_opened = false;
};

}  // namespace

int Element::parse(const std::string& xmlText) {
    Element root;  // read aside, because xmlText may belong to this tree
    root.type = type;
    const int code = Parser(xmlText).parseDocument(root);
    takeContentOf(root);
    return code;
}

}  // namespace ond::util::xml
