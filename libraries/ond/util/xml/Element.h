// XML as a tree of tags with attributes, texts and comments: as much of it as scenes and meshes need.
//
// Index: ElementType, ParseCode, Element (fields, virtual operations, tree, attributes, comparison, conversion),
// Tag, Text, Data. The tokens behind parse() are in Tokenizer.h, the character references in Escape.h.
//
// There is no validation, no DOCTYPE, no namespace and no named character reference. The text form has habits of its
// own that stored scenes rely on: everything outside printable ASCII is written as a numeric reference, a comment ends
// with "-- >", text is unescaped twice on reading, and load() drops line feeds. So not every tree reads back as it was
// written: a ">" in an attribute value ends the tag, a comment grows dashes each time, neighbouring texts melt into
// one.
//
// Trees of any depth are safe: copying, comparing, writing, parsing and destroying walk with a stack on the heap. Mind
// that with an `indentStep` the written text grows with the square of the depth.
//
// Nothing here depends on the process's locale and nothing reports by exceptions. An Element is not synchronised.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ond/util/Vector3.h"

namespace ond::util::xml {

/// Values of Element::type. An element of any other type writes as nothing.
namespace ElementType {
inline constexpr int kNone = 0;
inline constexpr int kTag = 1;
inline constexpr int kText = 2;
inline constexpr int kComment = 4;
}  // namespace ElementType

/// Results of Element::parse() and Element::load().
namespace ParseCode {
inline constexpr int kSuccess = 0;
inline constexpr int kCannotOpen = 1;    ///< load() only
inline constexpr int kNoElement = 2;     ///< an element must stand here, but does not: no token, no tag, a close tag
inline constexpr int kUnclosed = 3;      ///< the text ends inside an element
inline constexpr int kWrongClose = 4;    ///< the close tag bears another name
inline constexpr int kBadAttribute = 5;  ///< attribute syntax
inline constexpr int kOutOfTokens = 5;   ///< nothing behind the "<?xml ...?>" line
}  // namespace ParseCode

class Element {
  public:
    /// Name and value in order of insertion; parse() never stores one name twice.
    std::vector<std::pair<std::string, std::string>> attributes;
    /// Owned; never null.
    std::vector<std::unique_ptr<Element>> children;
    /// By type: name, characters, or what the comment says.
    std::string text;
    /// One of ElementType.
    int type = ElementType::kNone;

    // The order of the virtual operations is fixed; the destructor stands behind them, further down.

    /// Deep copy. `other` may be this element or stand anywhere below it.
    virtual Element& operator=(const Element& other);
    /// Assigns to `text`, and refers to it.
    virtual std::string& setText(const std::string& newText);
    /// Appends a deep copy of `child` and returns that copy. An empty child (isEmpty()) is dropped; the result is then
    /// this element itself. `child` may be this element or stand anywhere in its tree.
    virtual Element& addChild(const Element& child);

    Element();
    Element(const Element& other);
    Element(Element&& other) noexcept;
    /// parse() without its answer: of a faulty `xmlText` the tree has what stood before the fault.
    explicit Element(const std::string& xmlText);
    virtual ~Element();

    // ---- tree ----

    /// Removes children, attributes and text; `type` stays.
    void clear();
    /// True without text and children; attributes do not count.
    [[nodiscard]] bool isEmpty() const { return text.empty() && children.empty(); }

    /// By place, from 0. Outside the list it is an empty element that all failed look-ups share. That one lives until
    /// the program ends and must not be changed; whoever does so all the same finds it empty again after the next
    /// failed look-up.
    [[nodiscard]] const Element& getChild(int index) const;
    [[nodiscard]] Element& getChild(int index);
    /// By name, which is compared with `text` whatever the child's type; `nth` (from 0) tells which of several. If
    /// there are not as many, the shared empty element.
    [[nodiscard]] const Element& getChild(const std::string& name, int nth = 0) const;
    [[nodiscard]] Element& getChild(const std::string& name, int nth = 0);
    /// Number of children whose `text` equals `name`, of whatever type.
    [[nodiscard]] int countChildren(const std::string& name) const;
    [[nodiscard]] int getNumChildren() const;
    /// What the foremost text child says. Without one it is an empty string that lives as long as the program.
    [[nodiscard]] const std::string& getTextContent() const;
    /// Removes one child, the foremost that equalsShallow(child); false when none does.
    bool removeChild(const Element& child);
    /// Takes the child at `index` out of the tree; an empty element of type 0 if there is none.
    Element removeChildAt(int index);

    // ---- attributes ----

    /// Value for `name`, the earliest one if there are several. Without one, the shared empty string as above.
    [[nodiscard]] const std::string& getAttribute(const std::string& name) const;
    [[nodiscard]] bool hasAttribute(const std::string& name) const;
    /// Value for `name`, the LATEST one if there are several; made here, empty, if there is none.
    std::string& attribute(const std::string& name);
    /// Changes the EARLIEST value for `name`, or adds one. An empty `value` instead takes all of that name away.
    void setAttribute(const std::string& name, const std::string& value);

    // ---- comparison ----

    /// Whether type, text and the list of attributes are alike, order included; children do not count.
    [[nodiscard]] bool equalsShallow(const Element& other) const;
    /// Shallow equality of this pair and, in order, of all pairs below it.
    [[nodiscard]] bool equalsDeep(const Element& other) const;

    // ---- conversion ----

    /// The element as text. `indent` stands in front of this element's lines and grows by `indentStep` per level;
    /// `newline` separates lines. Inside a tag whose first child is a text there are no new lines.
    [[nodiscard]] std::string toString(const std::string& newline = {}, const std::string& indentStep = {},
                                       const std::string& indent = {}) const;
    /// Replaces the content of this element by what `xmlText` says; a NUL ends the text. Returns a ParseCode; after an
    /// error the element holds what was complete before it. `xmlText` may be a string of this very tree.
    /// Time and memory are linear in the number of characters.
    int parse(const std::string& xmlText);
    /// Writes the head line and toString("\n", "\t", ""). The text goes to a new file beside `path` which then takes
    /// its place, so after a failure (false) an older file is still whole. A symbolic link keeps pointing where it
    /// did. A `path` that is no regular file, such as a device or a pipe, is written directly.
    [[nodiscard]] bool save(const std::string& path) const;
    /// Parses the file without its line feeds. Returns ParseCode::kCannotOpen, leaving the element unchanged, if the
    /// file cannot be opened or is a directory; otherwise the result of parse(). Nothing behind a NUL is read.
    int load(const std::string& path);

  private:
    void takeContentOf(Element& other) noexcept;
    [[nodiscard]] Element* findChild(int index) const;
    [[nodiscard]] Element* findChild(const std::string& name, int nth) const;
};

/// A tag without attributes and children.
class Tag : public Element {
  public:
    explicit Tag(std::string name);
    using Element::operator=;
};

/// A text node.
class Text : public Element {
  public:
    explicit Text(std::string characters);
    using Element::operator=;
};

/// A text node that holds one value, and the way to read the value back.
class Data : public Element {
  public:
    /// An empty element of type 0.
    Data() = default;
    explicit Data(const Vector3<double>& value);
    explicit Data(int value);
    /// Gives any element the reading operations below, by copying it.
    explicit Data(const Element& element);
    using Element::operator=;

    /// `text` read by the rules of Vector3Text.h; what cannot be read is 0.
    [[nodiscard]] Vector3<double> toVector3() const;
    /// `text` read as a decimal number: leading white space and a sign are allowed, anything behind the digits is left
    /// alone. 0 if there are no digits or the number does not fit.
    [[nodiscard]] int toInt() const;
};

}  // namespace ond::util::xml
