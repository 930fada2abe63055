#include <gtest/gtest.h>

#include <string>

#include "ond/util/xml/Element.h"
#include "util/PinnedRandom.h"

namespace {

using ond::test::PinnedRandom;
using ond::util::xml::Element;
using ond::util::xml::Tag;
using ond::util::xml::Text;

Element comment(const std::string& content) {
    Element e;
    e.type = 4;
    e.setText(content);
    return e;
}

Element tagWith(const std::string& name, std::initializer_list<Element> children) {
    Element e{Tag(name)};
    for (const Element& child : children) e.addChild(child);
    return e;
}

Element tagWithAttribute(const std::string& value) {
    Element e{Tag("a")};
    e.setAttribute("k", value);
    return e;
}

TEST(XmlWriter, OneTextChildWritesOnOneLine) {
    EXPECT_EQ(tagWith("a", {Text("text")}).toString("\n", "\t", ""), "<a>text</a>");
}

TEST(XmlWriter, TwoTextChildrenHaveABlankBetweenThem) {
    EXPECT_EQ(tagWith("a", {Text("one"), Text("two")}).toString("\n", "\t", ""), "<a>one two</a>");
}

TEST(XmlWriter, ChildTagStandsIndentedOnALineOfItsOwn) {
    EXPECT_EQ(tagWith("a", {Tag("b")}).toString("\n", "\t", ""), "<a>\n\t<b/>\n</a>");
}

TEST(XmlWriter, IndentGrowsPerLevelFromTheGivenStart) {
    EXPECT_EQ(tagWith("a", {tagWith("b", {Tag("c")}), Tag("d")}).toString("\n", "  ", "> "),
              "> <a>\n>   <b>\n>     <c/>\n>   </b>\n>   <d/>\n> </a>");
}

TEST(XmlWriter, CloseTagBehindATextStandsWithoutIndent) {
    EXPECT_EQ(tagWith("a", {tagWith("b", {Text("x")})}).toString("\n", "\t", ""), "<a>\n\t<b>x</b>\n</a>");
}

TEST(XmlWriter, DefaultsWriteEverythingOnOneLine) {
    EXPECT_EQ(tagWith("a", {tagWith("b", {Tag("c")}), Tag("d")}).toString(), "<a><b><c/></b><d/></a>");
}

TEST(XmlWriter, TagsInsideATextTagKeepTheirIndentButGetNoLine) {
    EXPECT_EQ(tagWith("a", {Text("x"), Tag("b"), Text("y"), Text("z")}).toString("\n", "\t", ""), "<a>x\t<b/>y z</a>");
}

TEST(XmlWriter, TextsBehindAFirstTagGetALineEachWithoutIndent) {
    EXPECT_EQ(tagWith("a", {Tag("b"), Text("x"), Text("y")}).toString("\n", "\t", ""), "<a>\n\t<b/>\nx\ny\n</a>");
}

TEST(XmlWriter, CommentHasABlankBeforeItsBracket) {
    EXPECT_EQ(comment("note ").toString("\n", "\t", "\t"), "\t<!-- note -- >");
    EXPECT_EQ(tagWith("a", {comment("n")}).toString("\n", "\t", ""), "<a>\n\t<!-- n-- >\n</a>");
}

TEST(XmlWriter, CommentNestsItsDashesWithEachReading) {
    Element e("<r><!-- a-- ></r>");
    EXPECT_EQ(e.getChild(0).text, "-- a-- ");
    EXPECT_EQ(e.toString(), "<r><!-- -- a-- -- ></r>");
    const Element again(e.toString());
    EXPECT_EQ(again.getChild(0).text, "-- -- a-- -- ");
}

TEST(XmlWriter, UnknownTypeWritesNothing) {
    Element e = tagWith("a", {Tag("b")});
    for (const int type : {0, 3, 5, -1}) {
        e.type = type;
        EXPECT_EQ(e.toString("\n", "\t", "  "), "");
    }
    EXPECT_EQ(tagWith("p", {e}).toString("\n", "\t", ""), "<p>\n\n</p>");
}

TEST(XmlWriter, TextWritesItsEscapedCharactersAlone) {
    EXPECT_EQ(Text("a&b<c").toString("\n", "\t", "\t"), "a&#38;b&#60;c");
}

TEST(XmlWriter, EscapedTextReadsBack) {
    const std::string written = tagWith("t", {Text("a&b<c")}).toString();
    EXPECT_EQ(written, "<t>a&#38;b&#60;c</t>");
    EXPECT_EQ(Element(written).getTextContent(), "a&b<c");
}

TEST(XmlWriter, ControlCharactersAreReferences) { EXPECT_EQ(Text("\t\n\r").toString(), "&#9;&#10;&#13;"); }

TEST(XmlWriter, TagNameIsEscapedAtBothEnds) {
    EXPECT_EQ(tagWith("a&b", {Text("x")}).toString(), "<a&#38;b>x</a&#38;b>");
}

TEST(XmlWriter, AttributesStandInOrderOneBlankApart) {
    Element e = tagWithAttribute("v");
    e.setAttribute("b", "w");
    EXPECT_EQ(e.toString(), "<a k=\"v\" b=\"w\"/>");
    e.addChild(Text("x"));
    EXPECT_EQ(e.toString(), "<a k=\"v\" b=\"w\">x</a>");
}

TEST(XmlWriter, AttributeNameIsWrittenAsItStands) {
    Element e{Tag("a")};
    e.attribute("n&<\x80").append("v");
    EXPECT_EQ(e.toString(), "<a n&<\x80=\"v\"/>");
}

TEST(XmlWriter, AttributeValueWithDoubleQuotesStandsInSingleOnes) {
    EXPECT_EQ(tagWithAttribute("say \"x\"").toString(), "<a k='say \"x\"'/>");
}

TEST(XmlWriter, AttributeValueWithASingleQuoteStandsInDoubleOnes) {
    EXPECT_EQ(tagWithAttribute("it's").toString(), "<a k=\"it's\"/>");
}

TEST(XmlWriter, AttributeValueWithBothQuotesReadsBack) {
    const std::string value = "it's \"x\"";
    const std::string written = tagWithAttribute(value).toString();
    EXPECT_EQ(written, "<a k=\"it's &#34;x&#34;\"/>");
    EXPECT_EQ(Element(written).getAttribute("k"), value);
}

TEST(XmlWriter, AttributeWithAnEmptyValueIsWritten) {
    Element e{Tag("a")};
    e.attribute("k");
    EXPECT_EQ(e.toString(), "<a k=\"\"/>");
}

TEST(XmlWriter, DeepTreeWithIndentIsWritten) {
    Element root{Tag("t")};
    Element* last = &root;
    for (int i = 1; i < 3000; ++i) last = &last->addChild(Tag("t"));
    const std::string written = root.toString("\n", " ", "");
    EXPECT_EQ(written.size(), 2999u * (3 + 4 + 2) + 2 * (2998u * 2999u / 2) + 2999 + 4);
}

// ---- trees that the text form can carry: no ">" in attribute values, no comments, no neighbouring texts, texts that
// hold a visible character first and nothing that a second unescaping would change ----

std::string anyText(PinnedRandom& random) {
    std::string result(1, static_cast<char>('a' + random.bits() % 26));
    for (std::uint32_t n = random.bits() % 12; n > 0; --n) {
        const auto byte = static_cast<char>(random.bits() & 0xff);
        if (byte != '#' && byte != '\0') result += byte;
    }
    return result;
}

std::string anyValue(PinnedRandom& random) {
    std::string result;
    for (std::uint32_t n = random.bits() % 12; n > 0; --n) {
        const auto byte = static_cast<char>(random.bits() & 0xff);
        if (byte != '>') result += byte;
    }
    if (result.empty() || result.back() == '/') result += '.';
    return result;
}

std::string anyName(PinnedRandom& random) {
    std::string result(1, static_cast<char>('a' + random.bits() % 26));
    for (std::uint32_t n = random.bits() % 6; n > 0; --n) result += "abXY019_-.:"[random.bits() % 11];
    return result;
}

Element anyTree(PinnedRandom& random, int depth) {
    Element e{Tag(anyName(random))};
    for (std::uint32_t n = random.bits() % 4; n > 0; --n) e.setAttribute(anyName(random), anyValue(random));
    if (depth == 0) return e;
    bool textBefore = false;
    for (std::uint32_t n = random.bits() % 5; n > 0; --n) {
        if (!textBefore && random.chance(0.4)) {
            e.addChild(Text(anyText(random)));
            textBefore = true;
        } else {
            e.addChild(anyTree(random, depth - 1));
            textBefore = false;
        }
    }
    return e;
}

TEST(XmlWriter, RandomTreesReadBackAsTheyWere) {
    constexpr std::uint64_t kSeed = 54003;
    SCOPED_TRACE(kSeed);
    PinnedRandom random(kSeed);
    for (int run = 0; run < 3000; ++run) {
        const Element tree = anyTree(random, 4);
        const std::string written = tree.toString();
        Element back;
        ASSERT_EQ(back.parse(written), 0) << written;
        ASSERT_TRUE(back.equalsDeep(tree)) << written;
        ASSERT_EQ(back.toString(), written);
        ASSERT_TRUE(Element(tree).equalsDeep(tree));
    }
}

}  // namespace
