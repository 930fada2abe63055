#include "command/Nearest.h"

#include <gtest/gtest.h>

#include "util/PinnedRandom.h"

namespace ond::test {

using namespace command;
namespace {

TEST(EditDistance, CountsEachKindOfSlipOnce) {
    EXPECT_EQ(editDistance("gravity", "gravity"), 0);
    EXPECT_EQ(editDistance("gravity", "GRAVITY"), 0);
    EXPECT_EQ(editDistance("gravty", "gravity"), 1);
    EXPECT_EQ(editDistance("graviity", "gravity"), 1);
    EXPECT_EQ(editDistance("grafity", "gravity"), 1);
    EXPECT_EQ(editDistance("garvity", "gravity"), 1);
    EXPECT_EQ(editDistance("", "gas"), 3);
    EXPECT_EQ(editDistance("ca", "abc"), 3);
}

TEST(EditDistance, IsSymmetricAndNoLargerThanTheLongerWord) {
    PinnedRandom random(3);
    for (int i = 0; i < 200; ++i) {
        std::string words[2];
        for (std::string& word : words)
            for (int k = static_cast<int>(random.in(0.0, 9.0)); k > 0; --k)
                word += static_cast<char>('a' + static_cast<int>(random.in(0.0, 3.0)));
        const int distance = editDistance(words[0], words[1]);
        EXPECT_EQ(distance, editDistance(words[1], words[0]));
        EXPECT_LE(distance, static_cast<int>(std::max(words[0].size(), words[1].size())));
        EXPECT_GE(distance, std::abs(static_cast<int>(words[0].size()) - static_cast<int>(words[1].size())));
        EXPECT_EQ(distance == 0, words[0] == words[1]);
    }
}

TEST(Nearest, FindsWhatWasMeantAndNothingElse) {
    const std::vector<std::string> known{"drive", "resume", "retake", "Gravel Shake Offset Value"};
    EXPECT_EQ(nearest("drvie", known), "drive");
    EXPECT_EQ(nearest("RETAK", known), "retake");
    EXPECT_EQ(nearest("gravel shake", known), "Gravel Shake Offset Value");
    EXPECT_EQ(nearest("xylophone", known), "");
    EXPECT_EQ(didYouMean("resum", known), "; did you mean 'resume'?");
    EXPECT_EQ(didYouMean("xylophone", known), "");
}

TEST(Enumerated, JoinsWords) {
    EXPECT_EQ(enumerated({}), "");
    EXPECT_EQ(enumerated({"a"}), "a");
    EXPECT_EQ(enumerated({"a", "b"}), "a and b");
    EXPECT_EQ(enumerated({"a", "b", "c"}), "a, b and c");
}

}  // namespace
}  // namespace ond::test
