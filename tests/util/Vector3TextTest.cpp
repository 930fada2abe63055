#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <iomanip>
#include <limits>
#include <locale>
#include <sstream>
#include <string>

#include "ond/util/Vector3Text.h"
#include "ond/util/xml/Element.h"
#include "util/PinnedRandom.h"

namespace {

using ond::test::PinnedRandom;
using ond::util::intFromText;
using ond::util::toText;
using ond::util::vector3FromText;
using V = ond::util::Vector3<double>;

/// A locale that writes numbers as much of Europe does: "1.234,5".
class CommaNumbers : public std::numpunct<char> {
  protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

std::locale commaLocale() { return {std::locale::classic(), new CommaNumbers}; }

/// Makes the comma locale the global one for as long as it lives.
class GlobalCommaLocale {
  public:
    GlobalCommaLocale() : m_before(std::locale::global(commaLocale())) {}
    ~GlobalCommaLocale() { std::locale::global(m_before); }
    GlobalCommaLocale(const GlobalCommaLocale&) = delete;
    GlobalCommaLocale& operator=(const GlobalCommaLocale&) = delete;

  private:
    std::locale m_before;
};

std::string streamed(double number) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << number;
    return stream.str();
}

bool sameBits(const V& a, const V& b) {
    const auto bits = [](double d) { return std::bit_cast<std::uint64_t>(d); };
    return bits(a.x) == bits(b.x) && bits(a.y) == bits(b.y) && bits(a.z) == bits(b.z);
}

TEST(Vector3Text, WritesThreeNumbersWithCommas) {
    EXPECT_EQ(toText(V(1, 2.5, -3)), "1,2.5,-3");
    EXPECT_EQ(toText(V()), "0,0,0");
}

TEST(Vector3Text, WritesSixSignificantDigits) {
    EXPECT_EQ(toText(V(1.23456789, 123456.5, 0.0001234567)), "1.23457,123456,0.000123457");
}

TEST(Vector3Text, WritesExponentsWithTwoDigitsAtLeast) {
    EXPECT_EQ(toText(V(1e6, 1e-5, 1e100)), "1e+06,1e-05,1e+100");
    EXPECT_EQ(toText(V(1234567, -1.5e-300, 999999.5)), "1.23457e+06,-1.5e-300,1e+06");
}

TEST(Vector3Text, WritesSpecialNumbers) {
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(toText(V(inf, -inf, -0.0)), "inf,-inf,-0");
    EXPECT_EQ(toText(V(std::numeric_limits<double>::quiet_NaN(), 0, 0)), "nan,0,0");
}

TEST(Vector3Text, WritesAnyDoubleAsAStreamDoes) {
    constexpr std::uint64_t kSeed = 57001;
    SCOPED_TRACE(kSeed);
    PinnedRandom random(kSeed);
    for (int run = 0; run < 20000; ++run) {
        const auto any = std::bit_cast<double>(std::uint64_t{random.bits()} << 32 | random.bits());
        const double plain = random.in(-2000, 2000);
        const V v(any, plain, plain * 1e4);
        ASSERT_EQ(toText(v), streamed(v.x) + "," + streamed(v.y) + "," + streamed(v.z));
    }
}

TEST(Vector3Text, ReadsCommasAndBlanksAlike) {
    EXPECT_EQ(vector3FromText("1,2.5,-3"), V(1, 2.5, -3));
    EXPECT_EQ(vector3FromText("1 2.5 -3"), V(1, 2.5, -3));
    EXPECT_EQ(vector3FromText(" 1 , 2.5 ,\t-3 "), V(1, 2.5, -3));
    EXPECT_EQ(vector3FromText("1;2.5;-3"), V(1, 2.5, -3));
    EXPECT_EQ(vector3FromText("+1,.5,1e2"), V(1, 0.5, 100));
}

TEST(Vector3Text, WhatIsMissingReadsAsZero) {
    EXPECT_EQ(vector3FromText(""), V());
    EXPECT_EQ(vector3FromText("5"), V(5, 0, 0));
    EXPECT_EQ(vector3FromText("5,"), V(5, 0, 0));
    EXPECT_EQ(vector3FromText("5,6"), V(5, 6, 0));
    EXPECT_EQ(vector3FromText("text"), V());
}

TEST(Vector3Text, OneCharacterIsSkippedBeforeEachSecondTry) {
    EXPECT_EQ(vector3FromText("a 5 6"), V(0, 5, 6));
    EXPECT_EQ(vector3FromText("1,,2,3"), V(1, 0, 2));
    EXPECT_EQ(vector3FromText("1--2,3"), V(1, 2, 3));  // the first try has eaten a sign already
}

TEST(Vector3Text, WhatFollowsTheThirdNumberIsIgnored) {
    EXPECT_EQ(vector3FromText("1,2,3,4"), V(1, 2, 3));
    EXPECT_EQ(vector3FromText("1,2,3xyz"), V(1, 2, 3));
}

TEST(Vector3Text, InfinitiesDoNotReadBack) {
    EXPECT_EQ(vector3FromText("inf,2,3").x, 0);
    EXPECT_EQ(vector3FromText("1,nan,3").x, 1);
    EXPECT_EQ(vector3FromText("1,nan,3").y, 0);
}

TEST(Vector3Text, NumberTooLargeReadsAsTheLargest) {
    EXPECT_EQ(vector3FromText("1e999,2,3"), V(std::numeric_limits<double>::max(), 2, 3));
    EXPECT_EQ(vector3FromText("-1e999,2,3"), V(std::numeric_limits<double>::lowest(), 2, 3));
}

TEST(Vector3Text, TextReadsAsAStreamReadsIt) {
    constexpr std::uint64_t kSeed = 57002;
    SCOPED_TRACE(kSeed);
    PinnedRandom random(kSeed);
    const std::string alphabet = "0123456789012345678901234567890,,,,,,....---+eeEx \t;npif";
    int read = 0;
    for (int run = 0; run < 100000; ++run) {
        std::string text;
        for (std::uint32_t n = random.bits() % 16; n > 0; --n) text += alphabet[random.bits() % alphabet.size()];
        std::istringstream stream(text);
        V expected;
        stream >> expected;
        ASSERT_TRUE(sameBits(vector3FromText(text), expected)) << text;
        read += expected != V() ? 1 : 0;
    }
    EXPECT_GT(read, 50000);
}

TEST(Vector3Text, ExtractionFollowsItsStepsOnRandomText) {
    constexpr std::uint64_t kSeed = 57003;
    SCOPED_TRACE(kSeed);
    PinnedRandom random(kSeed);
    const std::string alphabet = "00123456789,,,..-+e x";
    for (int run = 0; run < 50000; ++run) {
        std::string text;
        for (std::uint32_t n = random.bits() % 14; n > 0; --n) text += alphabet[random.bits() % alphabet.size()];
        std::istringstream plain(text);
        double expected[3] = {0, 0, 0};
        plain >> expected[0];
        for (int i = 1; i < 3; ++i) {
            plain >> expected[i];
            if (!plain.fail()) continue;
            plain.clear();
            char skipped = 0;
            plain >> skipped;
            plain >> expected[i];
        }
        std::istringstream stream(text);
        V actual(7, 7, 7);
        stream >> actual;
        ASSERT_TRUE(sameBits(actual, V(expected[0], expected[1], expected[2]))) << text;
        ASSERT_EQ(stream.rdstate(), plain.rdstate()) << text;
    }
}

TEST(Vector3Text, SixDigitsSurviveWritingReadingAndWritingAgain) {
    constexpr std::uint64_t kSeed = 57004;
    SCOPED_TRACE(kSeed);
    PinnedRandom random(kSeed);
    for (int run = 0; run < 20000; ++run) {
        const std::string text = toText(random.vector(5000.0));
        ASSERT_EQ(toText(vector3FromText(text)), text);
    }
}

TEST(Vector3Text, StreamOutputHeedsNoFormatOfTheStream) {
    std::ostringstream stream;
    stream.imbue(commaLocale());
    stream << std::fixed << std::setprecision(2) << V(1234.5, 2.25, 1e6);
    EXPECT_EQ(stream.str(), "1234.5,2.25,1e+06");
}

TEST(Vector3Text, StreamInputHeedsNoLocaleAndRestoresIt) {
    std::istringstream stream("1.5,2.5,3.5");
    stream.imbue(commaLocale());
    V v(9, 9, 9);
    stream >> v;
    EXPECT_EQ(v, V(1.5, 2.5, 3.5));
    EXPECT_EQ(std::use_facet<std::numpunct<char>>(stream.getloc()).decimal_point(), ',');
}

TEST(Vector3Text, TwoVectorsReadFromOneStream) {
    std::istringstream stream("1,2,3 4,5,6");
    V a;
    V b;
    stream >> a >> b;
    EXPECT_EQ(a, V(1, 2, 3));
    EXPECT_EQ(b, V(4, 5, 6));
}

TEST(Vector3Text, GlobalLocaleHasNoEffect) {
    const GlobalCommaLocale guard;
    ASSERT_EQ((std::ostringstream() << 1234.5).str(), "1.234,5");  // the locale is at work
    EXPECT_EQ(toText(V(1234.5, 2.25, 1e6)), "1234.5,2.25,1e+06");
    EXPECT_EQ(toText(1234567), "1234567");
    EXPECT_EQ(vector3FromText("1234.5,2.25,3"), V(1234.5, 2.25, 3));
    EXPECT_EQ(vector3FromText("1234.5 2.25 3"), V(1234.5, 2.25, 3));
    EXPECT_EQ(intFromText("1.234"), 1);
    EXPECT_EQ(ond::util::xml::Data(1234567).text, "1234567");
}

TEST(IndexText, WritesDecimal) {
    EXPECT_EQ(toText(0), "0");
    EXPECT_EQ(toText(std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(toText(std::numeric_limits<int>::max()), "2147483647");
}

TEST(IndexText, ReadsDecimalBehindWhiteSpaceAndSign) {
    EXPECT_EQ(intFromText("42"), 42);
    EXPECT_EQ(intFromText(" \n-42 "), -42);
    EXPECT_EQ(intFromText("+42"), 42);
    EXPECT_EQ(intFromText("007"), 7);
    EXPECT_EQ(intFromText("12abc"), 12);
    EXPECT_EQ(intFromText("0x10"), 0);
    EXPECT_EQ(intFromText("-2147483648"), std::numeric_limits<int>::min());
}

TEST(IndexText, FailedExtractionIsZero) {
    for (const char* text : {"", " ", "abc", "-", "+", "+-5", "-+5", "- 5", "2147483648", "-2147483649"})
        EXPECT_EQ(intFromText(text), 0) << text;
}

TEST(IndexText, ReadsAsAStreamReads) {
    constexpr std::uint64_t kSeed = 57005;
    SCOPED_TRACE(kSeed);
    PinnedRandom random(kSeed);
    const std::string alphabet = "0123456789-+ \tx.,";
    for (int run = 0; run < 50000; ++run) {
        std::string text;
        for (std::uint32_t n = random.bits() % 12; n > 0; --n) text += alphabet[random.bits() % alphabet.size()];
        std::istringstream stream(text);
        int expected = 0;
        if (!(stream >> expected)) expected = 0;
        ASSERT_EQ(intFromText(text), expected) << text;
    }
}

}  // namespace
