// The recorded state of a skid, and the automatic skid of a hard turn.
#include "car/Skidding.h"

#include <gtest/gtest.h>

#include "car/Inputs.h"
#include "car/QuietCar.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::isClose;
using test::quietCar;

constexpr double kFrame = 0.04;

InputChannel& skid(cCarCam& c) { return c.pcInput[pcInput_SKIDDING]; }

struct SkidRow {
    const char* what;
    double raw;
    double value;
    bool on;
    bool ready;
    bool onAfter;
    bool readyAfter;
};

TEST(Skidding, IsOnWhileTheInputOrATwentiethOfItsMaximumLasts) {
    const SkidRow rows[] = {
        {"pressed", 0.2, 0.0, false, true, true, false},
        {"held", 0.2, 0.5, true, false, true, false},
        {"held although not ready", 0.2, 0.0, false, false, true, false},
        {"released, value fading", 0.0, 0.046, false, false, true, true},
        {"released, value out", 0.0, 0.045, true, false, false, true},
        {"at rest", 0.0, 0.0, false, true, false, true},
    };
    for (const SkidRow& row : rows) {
        cCarCam car = quietCar();
        skid(car).raw = row.raw;
        skid(car).value = row.value;
        car.bSkiddingOn = row.on;
        car.bSkiddingReady = row.ready;
        UpdateSkidding(car, kFrame);
        EXPECT_EQ(car.bSkiddingOn, row.onAfter) << row.what;
        EXPECT_EQ(car.bSkiddingReady, row.readyAfter) << row.what;
    }
}

TEST(Skidding, StandsByInTheAirAndUnderTheSkidBrake) {
    for (const bool air : {false, true}) {
        cCarCam car = quietCar();
        car.bAllWheelsInAir = air;
        car.bSkidBreakingOnDisableFeatures = !air;
        skid(car).raw = 0.5;
        UpdateSkidding(car, kFrame);
        EXPECT_FALSE(car.bSkiddingOn);
        EXPECT_TRUE(car.bSkiddingReady);
    }
    cCarCam car = quietCar();
    car.bCarInTheAir = true;
    skid(car).raw = 0.5;
    UpdateSkidding(car, kFrame);
    EXPECT_TRUE(car.bSkiddingOn) << "one wheel off the ground does not count";
}

TEST(AutomaticSkid, AFullInputIsAddedInAHardTurn) {
    // 0.04 of the gas maximum, in lengths: |a| * dt / L / maximum.
    const double limit = 0.04 * 3.522 * 3.0 / kFrame;
    cCarCam car = quietCar();
    skid(car).raw = 0.25;
    car.vLocalAcceleration = {-limit * 1.001, 1e6, 1e6};
    UpdateInputs(car, kFrame);
    EXPECT_EQ(skid(car).raw, 1.25);
    cCarCam gentle = quietCar();
    skid(gentle).raw = 0.25;
    gentle.vLocalAcceleration = {limit * 0.999, 1e6, 1e6};
    UpdateInputs(gentle, kFrame);
    EXPECT_EQ(skid(gentle).raw, 0.25) << "only the sideways part counts";
}

TEST(AutomaticSkid, TheOffsetIsTakenBackFromTheFullInput) {
    cCarCam car = quietCar();
    car.dSkiddingOffset = 0.25;
    UpdateInputs(car, kFrame);
    EXPECT_EQ(skid(car).raw, 0.25);
    car = quietCar();
    car.dSkiddingOffset = 0.25;
    car.vLocalAcceleration = {1e4, 0, 0};
    UpdateInputs(car, kFrame);
    EXPECT_EQ(skid(car).raw, 1.0);
}

TEST(AutomaticSkid, AFullInputTakesNoOffset) {
    cCarCam car = quietCar();
    car.dSkiddingOffset = 0.25;
    car.vLocalAcceleration = {1e4, 0, 0};
    skid(car).raw = 1.0;
    UpdateInputs(car, kFrame);
    EXPECT_EQ(skid(car).raw, 1.0);
    EXPECT_TRUE(isClose(skid(car).value, 0.9 * 0.0975));
}

}  // namespace
}  // namespace ond::ovs::addon
