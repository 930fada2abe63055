// The container of binary glTF.
#include "stage/Glb.h"

#include <gtest/gtest.h>

#include "stage/StageError.h"

namespace ond::stage {
namespace {

using Bytes = std::vector<unsigned char>;

TEST(Glb, SplitsWhatItJoins) {
    for (std::size_t text = 2; text < 12; ++text)
        for (std::size_t size = 0; size < 12; ++size) {
            const std::string json = "{" + std::string(text - 2, ' ') + "}";
            const Bytes binary(size, 0xAB);
            const Bytes bytes = joinGlb(json, binary);
            EXPECT_EQ(bytes.size() % 4, 0u);
            const GlbChunks chunks = splitGlb(bytes);
            EXPECT_EQ(chunks.json.substr(0, text), json);
            EXPECT_EQ(chunks.json.find_first_not_of(' ', text), std::string::npos);
            EXPECT_EQ(chunks.json.size() % 4, 0u);
            ASSERT_EQ(chunks.binarySize, (size + 3) / 4 * 4);
            if (size == 0) continue;
            EXPECT_EQ((chunks.binary - bytes.data()) % 8, 0);
            EXPECT_TRUE(std::equal(binary.begin(), binary.end(), chunks.binary));
        }
}

TEST(Glb, PassesOverChunksOfOtherKinds) {
    Bytes bytes = joinGlb("{}", {1, 2, 3, 4});
    const Bytes other{4, 0, 0, 0, 'X', 'Y', 'Z', '1', 9, 9, 9, 9};
    bytes.insert(bytes.end(), other.begin(), other.end());
    bytes[8] = static_cast<unsigned char>(bytes.size());
    EXPECT_EQ(splitGlb(bytes).binarySize, 4u);
}

TEST(Glb, RefusesWhatDoesNotFit) {
    const Bytes sound = joinGlb("{}", {1, 2, 3, 4});
    for (std::size_t keep = 0; keep < sound.size(); ++keep)
        EXPECT_THROW((void)splitGlb(Bytes(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(keep))),
                     FileDamage)
            << keep;
    for (const std::size_t at : {0U, 4U, 8U, 11U, 15U, 16U}) {
        Bytes bytes = sound;
        bytes[at] ^= 0x40;
        EXPECT_THROW((void)splitGlb(bytes), FileDamage) << at;
    }
}

}  // namespace
}  // namespace ond::stage
