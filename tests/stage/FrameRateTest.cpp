#include "stage/FrameRate.h"

#include <gtest/gtest.h>

#include <cmath>

#include "stage/StageError.h"

namespace ond::stage {
namespace {

TEST(FrameRate, ReadsWholeDecimalAndRatio) {
    EXPECT_EQ(FrameRate::parse("25"), (FrameRate{25, 1}));
    EXPECT_EQ(FrameRate::parse("24.0"), (FrameRate{24, 1}));
    EXPECT_EQ(FrameRate::parse("12.5"), (FrameRate{25, 2}));
    EXPECT_EQ(FrameRate::parse("30000/1001"), (FrameRate{30000, 1001}));
    EXPECT_EQ(FrameRate::parse("50/2"), (FrameRate{25, 1}));
}

TEST(FrameRate, BroadcastDecimalsAreRatios) {
    EXPECT_EQ(FrameRate::parse("29.97"), (FrameRate{30000, 1001}));
    EXPECT_EQ(FrameRate::parse("23.976"), (FrameRate{24000, 1001}));
    EXPECT_EQ(FrameRate::parse("23.98"), (FrameRate{1199, 50})) << "too far from 24000/1001 to be it";
    EXPECT_EQ(FrameRate::parse("59.94"), (FrameRate{60000, 1001}));
    EXPECT_EQ(FrameRate::parse("119.88"), (FrameRate{120000, 1001}));
}

TEST(FrameRate, RefusesWhatIsNone) {
    for (const char* text : {"", "fast", "0", "-25", "25fps", "nan", "inf", "25/0", "0/1", "1e3", "1001", "0.5", "25/",
                             "/25", "25.5/2", "1/1/1", "0x19", " 25"}) {
        try {
            (void)FrameRate::parse(text);
            ADD_FAILURE() << "'" << text << "' passed for a frame rate";
        } catch (const StageError& error) {
            EXPECT_EQ(std::string(error.what()), "'" + std::string(text) +
                                                     "' is no frame rate; give frames per second such as 25, 29.97 or "
                                                     "30000/1001");
        }
    }
}

TEST(FrameRate, FramesAndSecondsGoBackAndForth) {
    for (const char* text : {"24", "25", "29.97", "30", "60", "23.976"}) {
        const FrameRate rate = FrameRate::parse(text);
        for (int frame = -500; frame <= 200000; frame = frame < 2000 ? frame + 1 : frame + 997) {
            ASSERT_EQ(rate.nearest(rate.time(frame)), frame) << text;
            ASSERT_EQ(rate.nearest(static_cast<float>(rate.time(frame))), frame) << text << " in single precision";
        }
        EXPECT_EQ(rate.time(1), rate.step());
        EXPECT_EQ(FrameRate::parse(rate.text()), rate);
    }
    EXPECT_EQ(FrameRate::parse("29.97").time(30000), 1001.0);
    EXPECT_NEAR(FrameRate::parse("29.97").perSecond(), 29.97, 1e-4);
}

}  // namespace
}  // namespace ond::stage
