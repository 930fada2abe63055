#include "ond/util/Base64Data.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "util/PinnedRandom.h"

namespace {

using ond::test::PinnedRandom;
using ond::util::Base64Data;
using Bytes = std::vector<unsigned char>;

const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

Bytes bytesOf(const Base64Data& data) {
    Bytes bytes(static_cast<std::size_t>(data.getSize()));
    EXPECT_TRUE(data.copyTo(bytes.data(), data.getSize()));
    return bytes;
}

Bytes decoded(const std::string& text) { return bytesOf(Base64Data(text)); }
std::string encoded(const Bytes& bytes) { return Base64Data(bytes.data(), static_cast<int>(bytes.size())).toString(); }
Bytes ascii(const std::string& text) { return {text.begin(), text.end()}; }

/// The same decoding, one character after the other with a search through the alphabet.
Bytes plainlyDecoded(const std::string& text) {
    Bytes result;
    if (text.size() % 4 != 0) return result;
    for (std::size_t i = 0; i < text.size(); i += 4) {
        int bytes = 3;
        if (text[i + 3] == '=') bytes -= 1;
        if (text[i + 2] == '=') bytes -= 1;
        std::size_t value[4] = {0, 0, 0, 0};
        for (std::size_t k = 0; k < 4; ++k) {
            if (k == 2 && bytes <= 1) continue;
            if (k == 3 && bytes <= 2) continue;
            value[k] = kAlphabet.find(text[i + k]);
            if (value[k] == std::string::npos) return {};
        }
        result.push_back(static_cast<unsigned char>(value[0] * 4 + value[1] / 16));
        if (bytes > 1) result.push_back(static_cast<unsigned char>(value[1] % 16 * 16 + value[2] / 4));
        if (bytes > 2) result.push_back(static_cast<unsigned char>(value[2] % 4 * 64 + value[3]));
    }
    return result;
}

std::string plainlyEncoded(const Bytes& bytes) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t rest = bytes.size() - i;
        std::string four = "====";
        std::size_t second = bytes[i] % 4u * 16u;
        four[0] = kAlphabet[bytes[i] / 4u];
        if (rest > 1) {
            second += bytes[i + 1] / 16u;
            std::size_t third = bytes[i + 1] % 16u * 4u;
            if (rest > 2) {
                third += bytes[i + 2] / 64u;
                four[3] = kAlphabet[bytes[i + 2] % 64u];
            }
            four[2] = kAlphabet[third];
        }
        four[1] = kAlphabet[second];
        text += four;
    }
    return text;
}

TEST(Base64Data, EncodesOneTwoAndThreeBytes) {
    EXPECT_EQ(encoded(ascii("M")), "TQ==");
    EXPECT_EQ(encoded(ascii("Ma")), "TWE=");
    EXPECT_EQ(encoded(ascii("Man")), "TWFu");
}

TEST(Base64Data, DecodesOneTwoAndThreeBytes) {
    EXPECT_EQ(decoded("TQ=="), ascii("M"));
    EXPECT_EQ(decoded("TWE="), ascii("Ma"));
    EXPECT_EQ(decoded("TWFu"), ascii("Man"));
}

TEST(Base64Data, NoBytesEncodeToNoText) {
    EXPECT_EQ(Base64Data().toString(), "");
    EXPECT_EQ(Base64Data("x", 0).toString(), "");
    EXPECT_EQ(Base64Data(nullptr, 5).toString(), "");
    EXPECT_EQ(Base64Data("x", -1).toString(), "");
    EXPECT_EQ(Base64Data(std::string()).getSize(), 0);
}

TEST(Base64Data, LengthThatIsNoMultipleOfFourDecodesToNothing) {
    EXPECT_EQ(decoded("TQ="), Bytes{});
    EXPECT_EQ(decoded("T"), Bytes{});
    EXPECT_EQ(decoded("TWFuT"), Bytes{});
    EXPECT_EQ(decoded("TWFuTWFuTW"), Bytes{});
}

TEST(Base64Data, ForeignCharacterDecodesToNothing) {
    EXPECT_EQ(decoded("T@=="), Bytes{});
    EXPECT_EQ(decoded("TWFuTWF-"), Bytes{});
    EXPECT_EQ(decoded(std::string("TWF\0", 4)), Bytes{});
    EXPECT_EQ(decoded("TWF\xff"), Bytes{});
}

TEST(Base64Data, PaddingInTheFirstTwoPlacesDecodesToNothing) {
    EXPECT_EQ(decoded("=AAA"), Bytes{});
    EXPECT_EQ(decoded("A=AA"), Bytes{});
    EXPECT_EQ(decoded("A==="), Bytes{});
    EXPECT_EQ(decoded("===="), Bytes{});
}

TEST(Base64Data, PaddingInTheThirdPlaceAloneDecodesToNothing) {
    // It makes the group two bytes long, whose third character is then looked up.
    EXPECT_EQ(decoded("AA=A"), Bytes{});
}

TEST(Base64Data, PaddingInTheMiddleOfTheTextShortensItsGroup) {
    EXPECT_EQ(decoded("TQ==TWFu"), ascii("MMan"));
    EXPECT_EQ(decoded("TWE=TQ==TWFu"), ascii("MaMMan"));
}

TEST(Base64Data, LeftOverBitsOfAShortGroupAreNotLookedAt) {
    EXPECT_EQ(decoded("TR=="), ascii("M"));
    EXPECT_EQ(decoded("TWH="), ascii("Ma"));
}

TEST(Base64Data, WhiteSpaceIsNotSkipped) {
    EXPECT_EQ(decoded("TWFu\n"), Bytes{});
    EXPECT_EQ(decoded("TWF\n"), Bytes{});
    EXPECT_EQ(decoded(" TWF"), Bytes{});
    EXPECT_EQ(decoded("TWFu    "), Bytes{});
}

TEST(Base64Data, EveryCharacterAtEveryPlaceOfAGroup) {
    for (int character = 0; character < 256; ++character) {
        for (std::size_t place = 0; place < 4; ++place) {
            for (const char* base : {"TWFu", "TWE=", "TQ=="}) {
                std::string group = base;
                group[place] = static_cast<char>(character);
                ASSERT_EQ(decoded(group), plainlyDecoded(group)) << group;
                ASSERT_EQ(decoded("TWFu" + group + "TWFu"), plainlyDecoded("TWFu" + group + "TWFu")) << group;
            }
        }
    }
}

TEST(Base64Data, EveryTwelveBitsEncodeAndDecode) {
    for (unsigned bits = 0; bits < 4096; ++bits) {
        const Bytes bytes = {static_cast<unsigned char>(bits >> 4), static_cast<unsigned char>(bits << 4 | bits >> 8),
                             static_cast<unsigned char>(bits)};
        const std::string text = encoded(bytes);
        ASSERT_EQ(text, plainlyEncoded(bytes));
        ASSERT_EQ(decoded(text), bytes);
    }
}

TEST(Base64Data, CopiesOnlyIntoEnoughRoom) {
    const Base64Data data("Man", 3);
    unsigned char target[4] = {7, 7, 7, 7};
    EXPECT_FALSE(data.copyTo(target, 2));
    EXPECT_FALSE(data.copyTo(target, -1));
    EXPECT_EQ(target[0], 7);
    EXPECT_TRUE(data.copyTo(target, 3));
    EXPECT_EQ(Bytes(target, target + 4), (Bytes{'M', 'a', 'n', 7}));
    EXPECT_TRUE(Base64Data().copyTo(nullptr, 0));
}

TEST(Base64Data, RandomBytesComeBack) {
    for (std::uint64_t seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        PinnedRandom random(seed);
        Bytes bytes(seed - 1);
        for (auto& byte : bytes) byte = static_cast<unsigned char>(random.bits());
        const std::string text = encoded(bytes);
        ASSERT_EQ(text, plainlyEncoded(bytes));
        ASSERT_EQ(text.size(), (bytes.size() + 2) / 3 * 4);
        ASSERT_EQ(decoded(text), bytes);
    }
}

TEST(Base64Data, RandomGarbageDecodesAsThePlainFormDoes) {
    int accepted = 0;
    int refused = 0;
    for (std::uint64_t seed = 1; seed <= 3000; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        PinnedRandom random(seed);
        std::string text(random.bits() % 40 / (random.chance(0.8) ? 4 : 1) * 4, ' ');
        if (random.chance(0.1)) text += 'A';
        for (auto& c : text) c = kAlphabet[random.bits() % 64];
        for (std::uint32_t damage = random.bits() % 4; damage > 0 && !text.empty(); --damage)
            text[random.bits() % text.size()] = random.chance(0.7) ? '=' : static_cast<char>(random.bits());
        const Bytes expected = plainlyDecoded(text);
        ASSERT_EQ(decoded(text), expected) << text;
        (expected.empty() ? refused : accepted) += 1;
    }
    EXPECT_GT(accepted, 500);
    EXPECT_GT(refused, 500);
}

TEST(Base64Data, TextTruncatedAtEveryLength) {
    PinnedRandom random(5);
    Bytes bytes(50);
    for (auto& byte : bytes) byte = static_cast<unsigned char>(random.bits());
    const std::string text = encoded(bytes);
    for (std::size_t size = 0; size <= text.size(); ++size) {
        const Bytes result = decoded(text.substr(0, size));
        if (size % 4 != 0) {
            EXPECT_EQ(result, Bytes{}) << size;
        } else {
            const std::size_t count = std::min(bytes.size(), size / 4 * 3);
            EXPECT_EQ(result, Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count))) << size;
        }
    }
}

}  // namespace
