// Element::toString(): a tree into text, with the elements being written on a heap stack.
#include <string>
#include <string_view>
#include <vector>

#include "ond/util/xml/Element.h"
#include "ond/util/xml/Escape.h"

namespace ond::util::xml {

namespace {

class Writer {
  public:
    Writer(const std::string& newline, const std::string& indentStep, const std::string& indent)
        : m_newline(newline), m_indentStep(indentStep), m_indent(indent) {}

    std::string write(const Element& root) {
        begin(root);
        while (!m_open.empty()) {
            if (m_open.back().next < m_open.back().tag->children.size())
                begin(*m_open.back().tag->children[m_open.back().next++]);
            else
                endTag();
        }
        return std::move(m_out);
    }

  private:
    struct OpenTag {
        const Element* tag;
        std::size_t next;  // index of the child to write next
        bool textMode;     // the first child is a text: no new lines inside
    };

    /// Writes a childless element whole, of a tag with children only the start.
    void begin(const Element& element) {
        switch (element.type) {
            case ElementType::kTag:
                if (beginTag(element)) return;
                break;
            case ElementType::kText: m_out += escape(element.text); break;
            case ElementType::kComment:
                m_out += m_indent;
                m_out += "<!-- ";
                m_out += escape(element.text);
                m_out += "-- >";
                break;
            default: break;
        }
        afterChild(element);
    }

    /// True if the tag stays open for its children.
    bool beginTag(const Element& tag) {
        m_out += m_indent;
        m_out += '<';
        m_out += escape(tag.text);
        for (const auto& [name, value] : tag.attributes) {
            m_out += ' ';
            m_out += name;
            m_out += '=';
            writeQuoted(value);
        }
        if (tag.children.empty()) {
            m_out += "/>";
            return false;
        }
        m_out += '>';
        const bool textMode = tag.children.front()->type == ElementType::kText;
        if (!textMode) m_out += m_newline;
        m_open.push_back({&tag, 0, textMode});
        m_indent += m_indentStep;
        return true;
    }

    void endTag() {
        const OpenTag closed = m_open.back();
        m_open.pop_back();
        m_indent.resize(m_indent.size() - m_indentStep.size());
        if (!closed.textMode) m_out += m_indent;
        m_out += "</";
        m_out += escape(closed.tag->text);
        m_out += '>';
        afterChild(*closed.tag);
    }

    /// What separates `written` from whatever follows it in its parent.
    void afterChild(const Element& written) {
        if (m_open.empty()) return;
        const OpenTag& parent = m_open.back();
        if (!parent.textMode) {
            m_out += m_newline;
        } else if (written.type == ElementType::kText && parent.next < parent.tag->children.size() &&
                   parent.tag->children[parent.next]->type == ElementType::kText) {
            m_out += ' ';
        }
    }

    void writeQuoted(std::string_view value) {
        const bool hasDouble = value.find('"') != std::string_view::npos;
        const bool hasSingle = value.find('\'') != std::string_view::npos;
        const char quote = hasDouble && !hasSingle ? '\'' : '"';
        m_out += quote;
        for (const char c : escape(value)) {
            if (c == quote)
                m_out += "&#34;";
            else
                m_out += c;
        }
        m_out += quote;
    }

    const std::string& m_newline;
    const std::string& m_indentStep;
    std::string m_indent;
    std::string m_out;
    std::vector<OpenTag> m_open;
};

}  // namespace

std::string Element::toString(const std::string& newline, const std::string& indentStep,
                              const std::string& indent) const {
    return Writer(newline, indentStep, indent).write(*this);
}

}  // namespace ond::util::xml
