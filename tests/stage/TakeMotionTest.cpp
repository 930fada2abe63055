// The keys of an element in single precision.
#include "stage/TakeMotion.h"

#include <gtest/gtest.h>

#include "ond/util/Quat.h"
#include "stage/PoseParts.h"

namespace ond::stage {
namespace {

using util::Matrix4;
using util::Quat;
using util::Translation;

constexpr FrameRate kRate{25, 1};
constexpr double kSnap = 1e-6 / 25;

TEST(TakeMotion, KeysThatFallOnOneTimeLeaveTheOneOfTheFrame) {
    // A day into the timeline single precision knows steps of 8 ms only.
    const int frame = 86400 * 25;
    Track track;
    track.setKey(kRate.time(frame - 1), Translation({1, 0, 0}), kSnap);
    track.setKey(kRate.time(frame) - 0.002, Translation({2, 0, 0}), kSnap);
    track.setKey(kRate.time(frame), Translation({3, 0, 0}), kSnap);
    track.setKey(kRate.time(frame) + 0.002, Translation({4, 0, 0}), kSnap);
    track.setKey(kRate.time(frame) + 0.018, Translation({5, 0, 0}), kSnap);
    track.setKey(kRate.time(frame) + 0.019, Translation({6, 0, 0}), kSnap);
    const TakeMotion motion = motionOf(track, kRate, 0);
    ASSERT_EQ(motion.times.size(), 3u);
    EXPECT_EQ(motion.times[1], static_cast<float>(kRate.time(frame)));
    EXPECT_EQ(motion.translations[0], 1.0F);
    EXPECT_EQ(motion.translations[3], 3.0F) << "the key of the frame";
    EXPECT_EQ(motion.translations[6], 6.0F) << "the later of two keys between frames";
    for (std::size_t i = 1; i < motion.times.size(); ++i) EXPECT_GT(motion.times[i], motion.times[i - 1]);
    EXPECT_TRUE(motion.moves);
    EXPECT_FALSE(motion.turns);
    EXPECT_FALSE(motion.resizes);
}

TEST(TakeMotion, TimeOfAFrameComesFromItsNumber) {
    constexpr FrameRate ntsc{30000, 1001};
    Track track;
    const double drifted = ntsc.time(1000) + 0.4e-6 * ntsc.step();
    track.setKey(drifted, Matrix4(), kSnap);
    track.setKey(ntsc.time(1001), Translation({1, 0, 0}), kSnap);
    EXPECT_EQ(motionOf(track, ntsc, 0).times[0], static_cast<float>(1000 * 1001.0 / 30000.0));
    EXPECT_EQ(motionOf(track, ntsc, -2000).times[0], static_cast<float>(3000 * 1001.0 / 30000.0));
    Track between;
    between.setKey(0.25 * ntsc.step(), Matrix4(), kSnap);
    EXPECT_EQ(motionOf(between, ntsc, 0).times[0], static_cast<float>(0.25 * ntsc.step()));
}

TEST(TakeMotion, RotationsStayOnOneHemisphereThroughManyTurns) {
    Track track;
    for (int i = 0; i < 200; ++i)
        track.setKey(kRate.time(i), util::RotationX(1.3 * i) * util::RotationY(0.9 * i), kSnap);
    const TakeMotion motion = motionOf(track, kRate, 0);
    int negative = 0;
    for (std::size_t i = 0; i < 200; ++i) {
        const float* q = &motion.rotations[4 * i];
        if (i > 0) {
            const float* p = q - 4;
            EXPECT_GE(p[0] * q[0] + p[1] * q[1] + p[2] * q[2] + p[3] * q[3], 0.0F) << i;
        }
        negative += q[3] < 0.0F ? 1 : 0;
        const Quat<double> exact = partsOf(track.keys[i].local).rotation;
        EXPECT_NEAR(std::abs(exact.x * q[0] + exact.y * q[1] + exact.z * q[2] + exact.w * q[3]), 1.0, 1e-6) << i;
    }
    EXPECT_GT(negative, 20) << "signs were never turned";
}

TEST(TakeMotion, ArcsOverSeveralFramesGetKeysAtThem) {
    Track track;
    track.setKey(kRate.time(2), Matrix4(), kSnap);
    track.setKey(kRate.time(6) + 0.01, util::RotationY(2.0), kSnap);
    track.setKey(kRate.time(9), util::RotationY(2.001) * util::Scaling(2.0), kSnap);
    const TakeMotion motion = motionOf(track, kRate, 0);
    ASSERT_EQ(motion.times.size(), 7u) << "none where the rotation hardly changes";
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(motion.times[static_cast<std::size_t>(i)], static_cast<float>(kRate.time(2 + i)));
    const Quat<double> at = partsOf(track.at(kRate.time(4), kSnap)).rotation;
    EXPECT_NEAR(motion.rotations[9], at.y, 1e-7);
    EXPECT_NEAR(motion.rotations[11], at.w, 1e-7);
}

TEST(TakeMotion, ArcOverTooManyFramesIsLeftToTheTool) {
    Track track;
    track.setKey(0.0, Matrix4(), kSnap);
    track.setKey(kRate.time(kMostAddedKeys + 1), util::RotationY(2.0), kSnap);
    EXPECT_EQ(motionOf(track, kRate, 0).times.size(), static_cast<std::size_t>(kMostAddedKeys + 2));
    track.setKey(kRate.time(kMostAddedKeys + 2), util::RotationY(2.0), kSnap);
    track.keys.erase(track.keys.begin() + 1);
    EXPECT_EQ(motionOf(track, kRate, 0).times.size(), 2u);
}

}  // namespace
}  // namespace ond::stage
