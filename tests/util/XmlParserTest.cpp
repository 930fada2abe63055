#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ond/util/xml/Element.h"
#include "ond/util/xml/Escape.h"
#include "ond/util/xml/Tokenizer.h"
#include "util/NaiveXml.h"
#include "util/PinnedRandom.h"

namespace {

using ond::test::PinnedRandom;
using ond::util::xml::Element;
using ond::util::xml::escape;
using ond::util::xml::tokenize;
using ond::util::xml::unescape;
using ond::util::xml::XmlToken;
namespace naive = ond::test::naive;

int codeOf(const std::string& xmlText) {
    Element e;
    return e.parse(xmlText);
}

/// Tokens as text: kind, a colon, the characters, a bar.
std::string tokensOf(const std::string& xmlText) {
    std::string result;
    for (const XmlToken& token : tokenize(xmlText)) result += std::to_string(token.kind) + ":" + token.text + "|";
    return result;
}

std::string repeated(const std::string& part, std::size_t times) {
    std::string result;
    result.reserve(part.size() * times);
    for (std::size_t i = 0; i < times; ++i) result += part;
    return result;
}

// ---- character references ----

TEST(XmlEscape, PassesPrintableCharactersButAmpersandAndLess) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string raw(1, static_cast<char>(byte));
        const bool passes = byte >= 32 && byte < 127 && byte != '&' && byte != '<';
        EXPECT_EQ(escape(raw), passes ? raw : "&#" + std::to_string(byte) + ";") << byte;
    }
    EXPECT_EQ(escape(">\"'"), ">\"'");
}

TEST(XmlEscape, UnescapeRestoresEveryByte) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
    EXPECT_EQ(unescape(escape(all)), all);
}

TEST(XmlUnescape, ReadsDecimalAndHexadecimal) {
    EXPECT_EQ(unescape("a&#65;b"), "aAb");
    EXPECT_EQ(unescape("&#x41;&#x4a;&#x4A;"), "AJJ");
    EXPECT_EQ(unescape("&#X41;"), std::string(1, '\0') + "41;");  // only a small x says hexadecimal
}

TEST(XmlUnescape, SwallowsTheCharacterThatEndsTheNumber) {
    EXPECT_EQ(unescape("&#65 b"), "Ab");
    EXPECT_EQ(unescape("&#65&#66;"), "A#66;");
    EXPECT_EQ(unescape("&#65"), "A");
}

TEST(XmlUnescape, DecimalReferenceCollectsHexadecimalDigitsButStopsAtThem) { EXPECT_EQ(unescape("&#65bead;x"), "Ax"); }

TEST(XmlUnescape, NamedReferencesStay) {
    EXPECT_EQ(unescape("&amp;&lt;& "), "&amp;&lt;& ");
    EXPECT_EQ(unescape("&"), "&");
}

TEST(XmlUnescape, ReferenceWithoutNumberIsAZeroByte) {
    const std::string nul(1, '\0');
    EXPECT_EQ(unescape("&#;z"), nul + "z");
    EXPECT_EQ(unescape("&#x;z"), nul + "z");
    EXPECT_EQ(unescape("&#ab;z"), nul + "z");
    EXPECT_EQ(unescape("&#"), nul);
    EXPECT_EQ(unescape("&#x"), nul);
}

TEST(XmlUnescape, TakesTheLowByte) { EXPECT_EQ(unescape("&#321;&#x141;"), "AA"); }

TEST(XmlUnescape, SurvivesNumbersOutOfRange) {
    EXPECT_EQ(unescape("&#" + std::string(100000, '9') + ";z").size(), 2u);
    EXPECT_EQ(unescape("&#x" + std::string(100000, 'f') + ";z").size(), 2u);
}

// ---- tokens ----

TEST(XmlTokenizer, TellsTheKinds) {
    EXPECT_EQ(tokensOf("<a k='v'>text</a><b/><!note>"), "1:a k='v'|0:text|2:a|3:b|4:note|");
}

TEST(XmlTokenizer, DropsWhiteSpaceBetweenTagsButKeepsItAroundText) {
    EXPECT_EQ(tokensOf(" \t\r\n\v\f<a>  \n <b> x </b> </a>"), "1:a|1:b|0: x |2:b|2:a|");
}

TEST(XmlTokenizer, KeepsWhiteSpaceAtTheEnd) { EXPECT_EQ(tokensOf("<a/> \n"), "3:a|0: \n|"); }

TEST(XmlTokenizer, SlashInsideATagStays) { EXPECT_EQ(tokensOf("<a/b k='c/d'>"), "1:a/b k='c/d'|"); }

TEST(XmlTokenizer, SlashBeforeTheBracketOfACloseTagMakesAnEmptyTag) { EXPECT_EQ(tokensOf("</a/>"), "3:a|"); }

TEST(XmlTokenizer, SlashAtTheEndOfACommentStays) { EXPECT_EQ(tokensOf("<!a/>"), "4:a/|"); }

TEST(XmlTokenizer, CommentKeepsItsDashesAndEndsAtTheFirstBracket) {
    EXPECT_EQ(tokensOf("<!-- a-- >b"), "4:-- a-- |0:b|");
    EXPECT_EQ(tokensOf("<!-- a > b -->"), "4:-- a |0: b -->|");
}

TEST(XmlTokenizer, EmptyTagsAreNoTokens) {
    EXPECT_EQ(tokensOf("<></></><!>"), "");
    EXPECT_EQ(tokensOf("<//>"), "");
}

TEST(XmlTokenizer, NulEndsTheText) {
    EXPECT_EQ(tokensOf(std::string("<a>x\0y</a>", 10)), "1:a|0:x|");
    EXPECT_EQ(tokensOf(std::string("<a\0>", 4)), "1:a|");
    EXPECT_EQ(tokensOf(std::string("\0<a/>", 5)), "");
}

TEST(XmlTokenizer, EndOfTheTextEndsATag) {
    EXPECT_EQ(tokensOf("<a b"), "1:a b|");
    EXPECT_EQ(tokensOf("<a/"), "1:a/|");
    EXPECT_EQ(tokensOf("</"), "");
    EXPECT_EQ(tokensOf("<"), "");
    EXPECT_EQ(tokensOf("<!"), "");
}

TEST(XmlTokenizer, UnescapesTextOnlyAndOnce) {
    EXPECT_EQ(tokensOf("<a k='&#65;'>&#38;#65;"), "1:a k='&#65;'|0:&#65;|");
}

TEST(XmlTokenizer, AgreesWithThePlainReaderOnRandomText) {
    constexpr std::uint64_t kSeed = 54001;
    SCOPED_TRACE(kSeed);
    PinnedRandom random(kSeed);
    constexpr char kAlphabet[] = "<<<>>>//!?='\"&&##;;x09afAz \t\n\0\xc3";
    const std::string alphabet(kAlphabet, sizeof kAlphabet - 1);
    std::size_t tokenCount = 0;
    for (int run = 0; run < 20000; ++run) {
        std::string text;
        for (std::uint32_t n = random.bits() % 40; n > 0; --n) text += alphabet[random.bits() % alphabet.size()];
        const auto expected = naive::tokenize(text);
        const auto actual = tokenize(text);
        ASSERT_EQ(actual.size(), expected.size()) << escape(text);
        for (std::size_t i = 0; i < expected.size(); ++i) {
            ASSERT_EQ(actual[i].kind, expected[i].kind) << escape(text);
            ASSERT_EQ(actual[i].text, expected[i].text) << escape(text);
        }
        tokenCount += actual.size();
    }
    EXPECT_GT(tokenCount, 20000u);
}

// ---- parsing ----

TEST(XmlParser, EmptyTextGivesTwoAndAnEmptyElement) {
    Element e("<a k='v'><b/></a>");
    EXPECT_EQ(e.parse(""), 2);
    EXPECT_TRUE(e.isEmpty());
    EXPECT_TRUE(e.attributes.empty());
    EXPECT_EQ(e.type, 1);  // clearing leaves the type
    EXPECT_EQ(codeOf("   \n"), 2);
}

TEST(XmlParser, EmptyTagGivesATagWithoutChildren) {
    Element e;
    EXPECT_EQ(e.parse("<a/>"), 0);
    EXPECT_EQ(e.type, 1);
    EXPECT_EQ(e.text, "a");
    EXPECT_EQ(e.getNumChildren(), 0);
}

TEST(XmlParser, UnclosedTagGivesThree) { EXPECT_EQ(codeOf("<a>"), 3); }

TEST(XmlParser, WrongCloseTagGivesFour) { EXPECT_EQ(codeOf("<a></b>"), 4); }

TEST(XmlParser, LeadingCloseTagGivesTwo) { EXPECT_EQ(codeOf("</a>"), 2); }

TEST(XmlParser, LeadingTextOrCommentGivesTwo) {
    EXPECT_EQ(codeOf("x<a/>"), 2);
    EXPECT_EQ(codeOf("<!c><a/>"), 2);
}

TEST(XmlParser, AttributeWithoutEqualsSignGivesFive) { EXPECT_EQ(codeOf("<a b></a>"), 5); }

TEST(XmlParser, AttributeWithoutQuotesGivesFive) { EXPECT_EQ(codeOf("<a b=c></a>"), 5); }

TEST(XmlParser, BlankBeforeTheEqualsSignGivesFive) { EXPECT_EQ(codeOf("<a b = 'c'></a>"), 5); }

TEST(XmlParser, BlankBehindTheEqualsSignGivesFive) { EXPECT_EQ(codeOf("<a b= 'c'></a>"), 5); }

TEST(XmlParser, MissingClosingQuoteGivesFive) {
    EXPECT_EQ(codeOf("<a b='c></a>"), 5);
    EXPECT_EQ(codeOf("<a b='"), 5);
    EXPECT_EQ(codeOf("<a b="), 5);
}

TEST(XmlParser, TwoAttributesKeepTheirOrder) {
    Element e;
    ASSERT_EQ(e.parse("<a b=\"1\" c='2'/>"), 0);
    ASSERT_EQ(e.attributes.size(), 2u);
    EXPECT_EQ(e.attributes[0], (std::pair<std::string, std::string>("b", "1")));
    EXPECT_EQ(e.attributes[1], (std::pair<std::string, std::string>("c", "2")));
}

TEST(XmlParser, AttributesNeedNoBlankBetweenThem) { EXPECT_EQ(Element("<a b='1'c='2'/>").getAttribute("c"), "2"); }

TEST(XmlParser, RepeatedAttributeOverwrites) {
    Element e;
    ASSERT_EQ(e.parse("<a b='1' c='2' b='3'/>"), 0);
    ASSERT_EQ(e.attributes.size(), 2u);
    EXPECT_EQ(e.attributes[0].second, "3");
}

TEST(XmlParser, AttributeValuesAreUnescapedOnceAndNamesNever) {
    Element e;
    ASSERT_EQ(e.parse("<a n&#65;='&#38;#66;'/>"), 0);
    EXPECT_EQ(e.attributes[0].first, "n&#65;");
    EXPECT_EQ(e.attributes[0].second, "&#66;");
}

TEST(XmlParser, AttributesMayHaveNoNameAndNoValue) {
    Element e;
    ASSERT_EQ(e.parse("<a ='x' b=''/>"), 0);
    EXPECT_EQ(e.getAttribute(""), "x");
    EXPECT_TRUE(e.hasAttribute("b"));
}

TEST(XmlParser, BracketInAnAttributeValueEndsTheTag) { EXPECT_EQ(codeOf("<a b='x>y'/>"), 5); }

TEST(XmlParser, HeadLineIsSkipped) {
    Element e;
    EXPECT_EQ(e.parse("<?xml version=\"1.0\"?>\n<a/>"), 0);
    EXPECT_EQ(e.text, "a");
}

TEST(XmlParser, QuestionMarkEndsTheAttributes) {
    Element e;
    EXPECT_EQ(e.parse("<a b='1' ? c=nonsense/>"), 0);
    EXPECT_EQ(e.attributes.size(), 1u);
}

TEST(XmlParser, HeadLineAloneGivesFive) { EXPECT_EQ(codeOf("<?xml version=\"1.0\"?>"), 5); }

TEST(XmlParser, AnyElementMayFollowTheHeadLine) {
    Element e;
    EXPECT_EQ(e.parse("<?xml?>text"), 0);
    EXPECT_EQ(e.type, 2);
    EXPECT_EQ(e.text, "text");
    EXPECT_EQ(e.parse("<?xml?><!note>"), 0);
    EXPECT_EQ(e.type, 4);
    EXPECT_EQ(e.parse("<?xml?></a>"), 2);
}

TEST(XmlParser, WhatFollowsTheRootIsIgnored) {
    EXPECT_EQ(codeOf("<a/></b>"), 0);
    EXPECT_EQ(codeOf("<a></a><b"), 0);
}

TEST(XmlParser, TextIsUnescapedTwice) {
    EXPECT_EQ(Element("<a>&#38;#60;</a>").getTextContent(), "<");
    EXPECT_EQ(Element("<a>&#38;#38;#60;</a>").getTextContent(), "&#60;");
}

TEST(XmlParser, CommentTextIsUnescapedOnce) { EXPECT_EQ(Element("<a><!&#38;#60;></a>").getChild(0).text, "&#60;"); }

TEST(XmlParser, TagNameIsUnescaped) { EXPECT_EQ(Element("<a&#66;c/>").text, "aBc"); }

TEST(XmlParser, CloseTagIsComparedAsItStandsWithTheUnescapedName) {
    EXPECT_EQ(codeOf("<a&#66;></a&#66;>"), 4);
    EXPECT_EQ(codeOf("<a&#66;></aB>"), 0);
    EXPECT_EQ(codeOf("<a></a >"), 4);
}

TEST(XmlParser, ErrorKeepsWhatWasCompleteBeforeIt) {
    Element e;
    EXPECT_EQ(e.parse("<a k='v'>t<b/><c><d/></x></a>"), 4);
    EXPECT_EQ(e.text, "a");
    EXPECT_EQ(e.getAttribute("k"), "v");
    ASSERT_EQ(e.getNumChildren(), 2);
    EXPECT_EQ(e.getChild(0).text, "t");
    EXPECT_EQ(e.getChild(1).text, "b");
}

TEST(XmlParser, ErrorInTheRootsAttributesKeepsThoseBeforeIt) {
    Element e;
    EXPECT_EQ(e.parse("<a b='1' c=2/>"), 5);
    EXPECT_EQ(e.text, "a");
    EXPECT_EQ(e.attributes.size(), 1u);
    EXPECT_EQ(e.type, 1);
}

TEST(XmlParser, ErrorInAChildsAttributesDropsTheChild) {
    Element e;
    EXPECT_EQ(e.parse("<a><b c=2/></a>"), 5);
    EXPECT_EQ(e.getNumChildren(), 0);
}

TEST(XmlParser, TagWithoutANameIsDroppedUnlessItHasChildren) {
    EXPECT_EQ(Element("<a>< /></a>").getNumChildren(), 0);
    Element e;
    EXPECT_EQ(e.parse("<a>< b='1'/><c/></a>"), 0);
    ASSERT_EQ(e.getNumChildren(), 1);
    EXPECT_EQ(e.getChild(0).text, "c");
}

TEST(XmlParser, ReplacesTheOldContent) {
    Element e("<old k='v'><x/><y/></old>");
    EXPECT_EQ(e.parse("<new><z/></new>"), 0);
    EXPECT_EQ(e.toString(), "<new><z/></new>");
}

TEST(XmlParser, ReadsTextThatBelongsToTheTreeItself) {
    Element e("<a>&#60;b/&#62;</a>");
    ASSERT_EQ(e.getTextContent(), "<b/>");
    EXPECT_EQ(e.parse(e.children[0]->text), 0);
    EXPECT_EQ(e.text, "b");
}

TEST(XmlParser, BytesOf128AndAboveComeBack) {
    std::string bytes;
    for (int byte = 128; byte < 256; ++byte) bytes += static_cast<char>(byte);
    Element e{ond::util::xml::Tag("a")};
    e.setAttribute("k", bytes);
    e.addChild(ond::util::xml::Text(bytes));
    const std::string written = e.toString();
    for (const char c : written) ASSERT_TRUE(c >= 32 && c < 127);
    const Element back(written);
    EXPECT_EQ(back.getAttribute("k"), bytes);
    EXPECT_EQ(back.getTextContent(), bytes);
}

TEST(XmlParser, AgreesWithThePlainReaderOnRandomDocuments) {
    constexpr std::uint64_t kSeed = 54002;
    SCOPED_TRACE(kSeed);
    PinnedRandom random(kSeed);
    const std::vector<std::string> parts = {"<a>",
                                            "<a>",
                                            "</a>",
                                            "</a>",
                                            "<b/>",
                                            "<b k='v'>",
                                            "</b>",
                                            "text",
                                            " ",
                                            "\n",
                                            "&#38;#60;",
                                            "<!-- c-- >",
                                            "<a k=1>",
                                            "<>",
                                            "</",
                                            "< a>",
                                            "<c d=\"'\" e='\"' d='x'/>",
                                            "&#;",
                                            "/",
                                            "\"",
                                            "<?xml v='1'?>",
                                            "<a b='&#65;' ?>"};
    int codes[6] = {};
    for (int run = 0; run < 30000; ++run) {
        std::string text = random.chance(0.7) ? "<a>" : "";
        for (std::uint32_t n = random.bits() % 14; n > 0; --n) text += parts[random.bits() % parts.size()];
        if (random.chance(0.6)) text += "</a>";
        naive::Node expected;
        Element actual;
        const int expectedCode = naive::parse(text, expected);
        ASSERT_EQ(actual.parse(text), expectedCode) << text;
        ASSERT_TRUE(naive::same(expected, actual)) << text;
        ASSERT_EQ(actual.toString("\n", "\t", " "), naive::write(expected, "\n", "\t", " ")) << text;
        ++codes[expectedCode];
    }
    for (const int code : {0, 2, 3, 4, 5}) EXPECT_GT(codes[code], 100) << "code " << code;
}

// ---- hostile text ----

constexpr std::size_t kMoreTagsThanAnyCallStack = 1000000;

TEST(XmlParser, DeeplyNestedTextIsReadAndWrittenInLinearTime) {
    const std::string text =
        repeated("<a>", kMoreTagsThanAnyCallStack - 1) + "<a/>" + repeated("</a>", kMoreTagsThanAnyCallStack - 1);
    Element e;
    ASSERT_EQ(e.parse(text), 0);
    EXPECT_TRUE(e.toString() == text);
}

TEST(XmlParser, DeeplyNestedUnclosedTextGivesThree) {
    Element e;
    EXPECT_EQ(e.parse(repeated("<a>", kMoreTagsThanAnyCallStack)), 3);
    EXPECT_EQ(e.text, "a");
    EXPECT_EQ(e.getNumChildren(), 0);
}

TEST(XmlParser, ManyDifferentAttributesAreReadInLinearTime) {
    constexpr int kCount = 200000;
    std::string text = "<a";
    for (int i = 0; i < kCount; ++i) text += " n" + std::to_string(i) + "='" + std::to_string(i) + "'";
    text += " n3='three' n199999='last'/>";
    Element e;
    ASSERT_EQ(e.parse(text), 0);
    ASSERT_EQ(e.attributes.size(), static_cast<std::size_t>(kCount));
    EXPECT_EQ(e.attributes[3].second, "three");
    EXPECT_EQ(e.attributes[20].second, "20");
    EXPECT_EQ(e.attributes[199999].second, "last");
}

TEST(XmlParser, EveryPrefixOfADocumentIsReadLikeThePlainReader) {
    const std::string text = "<?xml version=\"1.0\"?><a k='&#65;'>x&#38;#60;y<b/><!-- c-- ><d e=\"f\"></d></a>";
    for (std::size_t length = 0; length <= text.size(); ++length) {
        naive::Node expected;
        Element actual;
        const int code = naive::parse(text.substr(0, length), expected);
        EXPECT_EQ(actual.parse(text.substr(0, length)), code) << length;
        EXPECT_TRUE(naive::same(expected, actual)) << length;
    }
}

}  // namespace
