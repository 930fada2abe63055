// Words of the text files .obj and .mtl.
#pragma once

#include <cstddef>
#include <string_view>

namespace ond::stage::obj {

/// Goes through a text line by line and word by word. A line ends with a line feed, a carriage return or both; a
/// backslash before that joins the next line to it, except in a comment. The text must outlive this and all words of
/// it.
class Words {
  public:
    explicit Words(std::string_view text);

    /// Goes to the first or next line, whatever is left of this one. False at the end of the text.
    bool nextLine();
    /// The next word of the line; empty at its end. A word that begins with "#" ends the line, as do all behind it.
    std::string_view next();
    /// What is left of the line as one name, without the blanks around it. A backslash is a part of it.
    std::string_view rest();
    /// How many characters of the text lie behind.
    [[nodiscard]] std::size_t place() const { return m_at; }
    /// The line, counted from 1, that the word before a place stands in. Goes through the text up to it.
    [[nodiscard]] std::size_t lineNumberAt(std::size_t place) const;

  private:
    [[nodiscard]] bool atLineEnd() const;
    /// How many characters from here on join the next line to this one; 0 for none.
    [[nodiscard]] std::size_t jointLength() const;
    void skipToLineEnd();

    std::string_view m_text;
    std::size_t m_at = 0;
    bool m_begun = false;
};

}  // namespace ond::stage::obj
