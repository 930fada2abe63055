// Cuts XML text into tags, comments and the texts between them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ond::util::xml {

/// Values of XmlToken::kind.
namespace TokenKind {
inline constexpr int kText = 0;
inline constexpr int kOpenTag = 1;
inline constexpr int kCloseTag = 2;
inline constexpr int kEmptyTag = 3;
inline constexpr int kComment = 4;
}  // namespace TokenKind

struct XmlToken {
    /// One of TokenKind.
    int kind = TokenKind::kText;
    /// What stands between the angle brackets, without the "/" or "!" that made the kind; of a text its characters,
    /// unescaped once. Never empty.
    std::string text;
};

/// Reads one token after the other. The text must outlive the tokenizer; a NUL in it counts as its end.
///
/// Blank stretches from tag to tag are passed over, and so is an empty tag "<>". The nearest ">" closes a tag or a
/// comment, even inside quotes; without one the last character of the text does.
class Tokenizer {
  public:
    explicit Tokenizer(std::string_view text);

    /// Stores the next token in `token`; false at the end of the text, `token` is then without meaning.
    [[nodiscard]] bool next(XmlToken& token);

  private:
    void readTag(XmlToken& token);
    void readText(std::size_t begin, XmlToken& token);

    std::string_view m_text;
    std::size_t m_position = 0;
};

/// All tokens of `text`.
[[nodiscard]] std::vector<XmlToken> tokenize(std::string_view text);

}  // namespace ond::util::xml
