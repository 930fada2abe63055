// The nine channels of a frame: each channel's own rule, then its filter.
#include "car/Inputs.h"

#include <gtest/gtest.h>

#include "car/Fields.h"
#include "car/QuietCar.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::isClose;
using test::quietCar;

constexpr double kFrame = 0.04;

TEST(Inputs, AChannelCoversItsShareInAFrame) {
    cCarCam car = quietCar();
    car.pcInput[pcInput_SKID_BRAKE].raw = 1.0;  // response 0.1
    UpdateInputs(car, kFrame);
    EXPECT_TRUE(isClose(car.pcInput[pcInput_SKID_BRAKE].value, 0.0975));
}

TEST(Inputs, EveryChannelRunsTowardsItsMaximumTimesItsInput) {
    for (int i = 2; i < 9; ++i) {
        cCarCam car = quietCar();
        car.pcInput[i].raw = 0.5;
        UpdateInputs(car, 0.02);
        const InputChannel& channel = car.pcInput[i];
        EXPECT_TRUE(isClose(channel.value, 0.5 * channel.maximum * 0.5 * channel.response)) << i;
        EXPECT_EQ(channel.raw, 0.5) << i;
    }
}

TEST(Inputs, AResponseOfOneCoversThreeQuartersOfAReferencePeriod) {
    cCarCam car = quietCar();
    car.pcInput[pcInput_ABS_BRAKE].raw = 1.0;
    UpdateInputs(car, kFrame);
    EXPECT_TRUE(isClose(car.pcInput[pcInput_ABS_BRAKE].value, 0.75 * 0.03));
}

TEST(Inputs, AResponseOfZeroIsInstant) {
    cCarCam car = quietCar();
    car.dGasPedalMaxRateOfChange = 1e9;
    car.pcInput[pcInput_GAS_PEDAL].response = 0.0;
    car.pcInput[pcInput_GAS_PEDAL].raw = 1.0;
    UpdateInputs(car, kFrame);
    EXPECT_EQ(car.pcInput[pcInput_GAS_PEDAL].value, 3.0);
}

TEST(Inputs, AResponseOfTwoJumpsInsteadOfOvershooting) {
    cCarCam car = quietCar();
    car.pcInput[pcInput_BURNOUT].response = 2.0;
    car.pcInput[pcInput_BURNOUT].raw = 0.5;
    UpdateInputs(car, kFrame);
    EXPECT_EQ(car.pcInput[pcInput_BURNOUT].value, 1.5);
}

TEST(Inputs, ARawOfTwoIsNotClamped) {
    cCarCam car = quietCar();
    car.pcInput[pcInput_EXTERNAL_FORCE].raw = 2.0;
    for (int i = 0; i < 100; ++i) {
        car.pcInput[pcInput_EXTERNAL_FORCE].raw = 2.0;
        UpdateInputs(car, kFrame);
    }
    EXPECT_TRUE(isClose(car.pcInput[pcInput_EXTERNAL_FORCE].value, 200.0));
}

TEST(Inputs, GravelAndExternalForceHaveOffsets) {
    cCarCam car = quietCar();
    car.dGravelShakeOffset = 0.5;
    car.dForceOffset = 0.25;
    car.pcInput[pcInput_GRAVEL_SHAKE].raw = 0.125;
    UpdateInputs(car, kFrame);
    EXPECT_EQ(car.pcInput[pcInput_GRAVEL_SHAKE].raw, 0.625);
    EXPECT_EQ(car.pcInput[pcInput_EXTERNAL_FORCE].raw, 0.25);
    EXPECT_TRUE(isClose(car.pcInput[pcInput_EXTERNAL_FORCE].value, 18.75));
}

TEST(Inputs, TheDefaultShakeNeedsNoInput) {
    cCarCam car;
    for (int i = 0; i < 50; ++i) {
        car.pcInput[pcInput_GRAVEL_SHAKE].raw = 0.0;
        UpdateInputs(car, kFrame);
    }
    EXPECT_TRUE(isClose(car.pcInput[pcInput_GRAVEL_SHAKE].value, 0.025));
}

TEST(Inputs, SkiddingTakesItsOffsetUnlessItIsExactlyOne) {
    cCarCam car = quietCar();
    car.dSkiddingOffset = 0.125;
    car.pcInput[pcInput_SKIDDING].raw = 1.0;
    UpdateInputs(car, kFrame);
    EXPECT_EQ(car.pcInput[pcInput_SKIDDING].raw, 1.0);
    car.pcInput[pcInput_SKIDDING].raw = 0.5;
    UpdateInputs(car, kFrame);
    EXPECT_EQ(car.pcInput[pcInput_SKIDDING].raw, 0.625);
}

TEST(Inputs, TheGasPedalComesBeforeTheSteeringThatReadsItsValue) {
    cCarCam car = quietCar();
    car.dGasPedalMaxRateOfChange = 1e9;
    car.dVelRelMaxSteeringChangeVel = 1e9;
    car.pcInput[pcInput_GAS_PEDAL].response = 0.0;
    car.pcInput[pcInput_GAS_PEDAL].raw = 1.0;
    car.pcInput[pcInput_STEERING_WHEEL].raw = 0.8;
    UpdateInputs(car, kFrame);
    EXPECT_TRUE(isClose(car.pcInput[pcInput_STEERING_WHEEL].raw, 0.8 / 1.6)) << "3 lengths a second already count";
}

TEST(Inputs, OtherChannelsAreLeftAlone) {
    cCarCam car = quietCar();
    car.pcInput[pcInput_BURNOUT].raw = 0.5;
    const cCarCam before = car;
    UpdateInputs(car, kFrame);
    EXPECT_EQ(test::changedFields(before, car), std::vector<std::string>{"pcInput[7].value"});
}

}  // namespace
}  // namespace ond::ovs::addon
