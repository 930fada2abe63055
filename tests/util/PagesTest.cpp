#include "ond/util/Pages.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <new>

#include "util/PageState.h"

namespace {

using namespace ond;
using namespace ond::util;

/// Pages of their own, filled.
class Pages : public testing::Test {
  protected:
    const std::size_t kPage = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t kSize = 16 * kPage;

    Pages() { std::memset(memory, 7, kSize); }
    ~Pages() override { ::operator delete (memory, std::align_val_t{kPage}); }

    unsigned char* const memory = static_cast<unsigned char*>(::operator new (kSize, std::align_val_t{kPage}));
};

TEST_F(Pages, WholeLargePagesHoldWhatIsAskedForAndLessThanAPageMore) {
    EXPECT_EQ(wholeLargePages(0), 0u);
    EXPECT_EQ(wholeLargePages(1), kLargePage);
    EXPECT_EQ(wholeLargePages(kLargePage), kLargePage);
    EXPECT_EQ(wholeLargePages(kLargePage + 1), 2 * kLargePage);
    EXPECT_EQ(wholeLargePages(kOwnMapping), 34u << 20);
}

TEST_F(Pages, PreferringLargeOnesTakesAnyRangeAndKeepsWhatIsThere) {
    for (std::size_t start = 0; start < 3; ++start)
        for (const std::size_t size : {std::size_t{0}, std::size_t{1}, kPage - 1, kPage, 2 * kPage - 192})
            preferLargePages(memory + start, size);
    for (std::size_t i = 0; i < kSize; ++i) ASSERT_EQ(memory[i], 7) << i;
}

TEST_F(Pages, GivingBackTakesWholePagesOnly) {
    // From the middle of the second page to the middle of the sixth: the three between.
    giveBackPages(memory + kPage + kPage / 2, 4 * kPage);
    for (std::size_t i = 0; i < 2 * kPage; ++i) ASSERT_EQ(memory[i], 7) << i;
    for (std::size_t i = 5 * kPage; i < kSize; ++i) ASSERT_EQ(memory[i], 7) << i;
    const test::Residency given = test::residencyOf(memory + 2 * kPage, 3 * kPage);
    EXPECT_EQ(given.pages, 3u);
    EXPECT_EQ(given.backed, 0u);
    memory[3 * kPage] = 5;
    EXPECT_EQ(memory[3 * kPage], 5) << "can be written again";
}

TEST_F(Pages, GivingBackTakesASinglePageThatIsWhole) {
    giveBackPages(memory + kPage, kPage);
    EXPECT_EQ(test::residencyOf(memory + kPage, kPage).backed, 0u);
    EXPECT_EQ(test::residencyOf(memory, kPage).backed, 1u);
    EXPECT_EQ(test::residencyOf(memory + 2 * kPage, kPage).backed, 1u);
}

TEST_F(Pages, PreferringLargeOnesIsKnownToTheSystem) {
    const std::size_t size = 4 * kLargePage;
    void* const large = ::operator new (size, std::align_val_t{kLargePage});
    preferLargePages(large, size);
    const test::Wish wish = test::wishAt(static_cast<unsigned char*>(large) + kLargePage);
    ::operator delete (large, std::align_val_t{kLargePage});
    if (wish == test::Wish::unknown) GTEST_SKIP() << "the system has no large pages, or does not tell";
    EXPECT_EQ(wish, test::Wish::large);
}

TEST_F(Pages, GivingBackPartsOfPagesChangesNothing) {
    giveBackPages(memory, 0);
    giveBackPages(memory, kPage - 1);
    giveBackPages(memory + 1, kPage);
    giveBackPages(memory + 1, 2 * kPage - 2);
    giveBackPages(memory + 1, 100);
    giveBackPages(memory + kPage - 1, kPage);
    for (std::size_t i = 0; i < kSize; ++i) ASSERT_EQ(memory[i], 7) << i;
}

}  // namespace
