// One frame of the model: how it is cut, and that each phase stands where it stands.
#include "car/StepCar.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <vector>

#include "car/Braking.h"
#include "car/Drive.h"
#include "car/Fields.h"
#include "car/QuietCar.h"
#include "car/RandomCar.h"
#include "car/StepAngles.h"
#include "util/Close.h"
#include "util/PinnedRandom.h"

namespace ond::ovs::addon {
namespace {

using test::isClose;
using test::quietCar;

/// Sub-steps of a frame, counted by the burnout's noise counter, which advances once in each.
int subSteps(cCarCam car, double dt) {
    car.pcInput[pcInput_BURNOUT].value = 1.0;
    car.pcInput[pcInput_BURNOUT].raw = 1.0;
    const std::int32_t before = car.randomValue_burnout;
    StepCar(car, dt);
    return car.randomValue_burnout - before;
}

struct StepRow {
    double dt;
    double parts;  ///< whole sub-steps that fit
};

TEST(ChooseStepLength, CutsAFrameIntoPartsOfThreeMillisecondsOrMore) {
    const StepRow rows[] = {{0.001, 1}, {0.002, 1},      {0.003, 1},      {0.0059, 1},     {0.006, 2},
                            {0.04, 13}, {1.0 / 30., 11}, {1.0 / 60., 5},  {1.0 / 24., 13}, {0.1, 33},
                            {1.0, 333}, {1.0 / 120., 2}, {1.0 / 1000., 1}};
    for (const StepRow& row : rows) {
        cCarCam car;
        EXPECT_EQ(ChooseStepLength(car, row.dt), row.dt / row.parts) << row.dt;
        EXPECT_EQ(car.dSimStep, row.dt / row.parts) << row.dt;
    }
}

TEST(ChooseStepLength, StaysBelowSixMillisecondsAndCoversTheFrame) {
    test::PinnedRandom random(71);
    for (int i = 0; i < 2000; ++i) {
        cCarCam car;
        const double dt = random.in(0.003, 0.5);
        const double h = ChooseStepLength(car, dt);
        ASSERT_GE(h, 0.003 * (1 - 1e-15)) << dt;
        ASSERT_LT(h, 0.006) << dt;
        ASSERT_TRUE(isClose(std::round(dt / h) * h, dt)) << dt;
    }
}

TEST(StepCar, AFrameOfTwoMillisecondsIsOneSubStepOfThatLength) {
    cCarCam car = quietCar();
    EXPECT_EQ(subSteps(car, 0.002), 1);
    car.pcInput[pcInput_GAS_PEDAL].value = 1.0;
    car.pcInput[pcInput_GAS_PEDAL].response = 0.0;
    car.pcInput[pcInput_GAS_PEDAL].raw = 1.0;
    car.dGasPedalInput_prev = 1.0;
    StepCar(car, 0.002);
    EXPECT_EQ(car.dSimStep, 0.002);
    EXPECT_TRUE(isClose(car.qTransCarAbs.position.z, -3.0 * 3.522 * 0.002)) << "3 lengths a second for 2 ms";
}

TEST(StepCar, AFrameAtTwentyFiveASecondIsThirteenSubSteps) {
    const double h = 0.04 / 13.0;
    EXPECT_EQ(subSteps(quietCar(), 0.04), static_cast<int>(0.04 / h));
    cCarCam car = quietCar();
    StepCar(car, 0.04);
    EXPECT_EQ(car.dSimStep, h);
}

TEST(StepCar, RunsAsManySubStepsAsTheQuotientTruncatesTo) {
    int short1 = 0;
    for (int i = 1; i <= 120; ++i) {
        const double dt = 0.0031 * i;
        cCarCam car = quietCar();
        const int n = static_cast<int>(dt / ChooseStepLength(car, dt));
        EXPECT_EQ(subSteps(quietCar(), dt), n) << dt;
        short1 += n != static_cast<int>(std::round(dt / car.dSimStep));
    }
    RecordProperty("frames_one_sub_step_short", short1);
}

TEST(StepDrive, WhatEarlierSubStepsHaveWorkedOutChangesNoBit) {
    test::PinnedRandom random(20340403);
    for (int i = 0; i < 300; ++i) {
        cCarCam car = test::randomCar(random);
        cCarCam plain = car;
        StepAngles angles;
        for (int step = 0; step < 8; ++step) {
            // Some frames end in between, with other devices and another length of step.
            if (random.chance(0.3)) {
                car.pcInput[pcInput_STEERING_WHEEL].value *= random.chance(0.3) ? -1.0 : random.in(0.5, 1);
                car.pcInput[pcInput_GAS_PEDAL].value *= random.in(-1, 1);
                car.wheelGeom[random.chance(0.5) ? 0 : 1].x *= 1.125;
                plain.pcInput[pcInput_STEERING_WHEEL].value = car.pcInput[pcInput_STEERING_WHEEL].value;
                plain.pcInput[pcInput_GAS_PEDAL].value = car.pcInput[pcInput_GAS_PEDAL].value;
                std::copy(std::begin(car.wheelGeom), std::end(car.wheelGeom), std::begin(plain.wheelGeom));
            }
            const double h = random.chance(0.5) ? 0.003 : 0.004;
            StepDrive(car, 0.04, h, angles);
            StepDrive(plain, 0.04, h);
            const std::vector<double> values = test::valuesOf(car);
            const std::vector<double> expected = test::valuesOf(plain);
            ASSERT_EQ(std::memcmp(values.data(), expected.data(), values.size() * sizeof(double)), 0)
                << "car " << i << ", sub-step " << step << ": "
                << testing::PrintToString(test::changedFields(plain, car));
        }
    }
}

TEST(LastAnswer, AsksAnewForOtherBitsOnly) {
    int asked = 0;
    LastAnswer<double, 2> answer;
    const auto signsOf = [&](double a, double b) {
        ++asked;
        return std::copysign(1.0, a) + 2.0 * std::copysign(1.0, b);
    };
    EXPECT_EQ(answer.of(signsOf, 0.0, 0.0), 3.0) << "equal to what stands there before the first question";
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(answer.of(signsOf, 0.0, 0.0), 3.0);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(answer.of(signsOf, -0.0, 0.0), 1.0);
    EXPECT_EQ(answer.of(signsOf, -0.0, -0.0), -3.0);
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(answer.of(signsOf, -0.0, -0.0), -3.0);
    EXPECT_EQ(asked, 3);
}

TEST(StepCar, BrakeBeatsThePedalWithinTheFrame) {
    cCarCam car = quietCar();
    car.pcInput[pcInput_GAS_PEDAL].value = 2.0;
    car.dGasPedalValue_prev = 2.0;
    car.dGasPedalInput_prev = 1.0;
    car.pcInput[pcInput_GAS_PEDAL].raw = 1.0;
    car.pcInput[pcInput_ABS_BRAKE].raw = 1.0;
    StepCar(car, 0.04);
    // The brake takes its share from last frame's velocity; what the pedal's filter made of it does not count. The
    // share is measured at the velocity that the pedal's filter gave in the brake's first frame.
    const double filtered = 3.0 - (3.0 - 2.0) * 0.995 * 0.995;
    EXPECT_TRUE(isClose(car.dBrakeStartValue, filtered));
    EXPECT_TRUE(isClose(car.pcInput[pcInput_GAS_PEDAL].value, 2.0 - filtered * 0.04 * 30.0 * 0.03));
}

TEST(StepCar, RollingStartsEachFrameAtZero) {
    cCarCam car = quietCar();
    for (auto& w : car.pcWheel) w.pfPitchIncr = 0.7;
    StepCar(car, 0.04);
    for (const auto& w : car.pcWheel) EXPECT_EQ(w.pfPitchIncr, 0.0);
}

// The order of the phases: each of the following states gives another result with two neighbours swapped.

TEST(PhaseOrder, FlightComesBeforeTheSkidBrake) {
    cCarCam car = quietCar();
    car.pcWheel[1].bInAir = true;
    car.pcInput[pcInput_SKID_BRAKE].raw = 1.0;
    StepCar(car, 0.04);
    EXPECT_TRUE(car.bCarInTheAir);
    EXPECT_TRUE(car.bSkidFirstTime) << "the flight of this very frame keeps the slide from starting";
}

TEST(PhaseOrder, TheSkidBrakeComesBeforeSkidding) {
    cCarCam car = quietCar();
    car.pcInput[pcInput_SKID_BRAKE].raw = 1.0;
    car.pcInput[pcInput_SKIDDING].raw = 0.5;
    StepCar(car, 0.04);
    EXPECT_TRUE(car.bSkidBreakingOnDisableFeatures);
    EXPECT_FALSE(car.bSkiddingOn) << "skidding is off from the first frame of the brake";
}

TEST(PhaseOrder, SkiddingComesBeforeTheInputsThatAddTheAutomaticSkid) {
    cCarCam car = quietCar();
    car.vLocalAcceleration = {1000, 0, 0};
    StepCar(car, 0.04);
    EXPECT_EQ(car.pcInput[pcInput_SKIDDING].raw, 1.0) << "the hard turn adds a full input";
    EXPECT_FALSE(car.bSkiddingOn) << "which the state only sees in the next frame";
}

TEST(PhaseOrder, TheSkidBrakeComesBeforeTheInputs) {
    cCarCam car = quietCar();
    car.pcInput[pcInput_GAS_PEDAL].value = 2.0;
    car.pcInput[pcInput_GAS_PEDAL].raw = 1.0;
    car.dGasPedalInput_prev = 1.0;
    car.pcInput[pcInput_SKID_BRAKE].raw = 1.0;
    StepCar(car, 0.04);
    EXPECT_TRUE(isClose(car.pcInput[pcInput_GAS_PEDAL].value, 3.0 * (1 - 0.995 * 0.995)))
        << "the filter starts from the forced zero";
}

TEST(PhaseOrder, InputsComeBeforeTheBooster) {
    cCarCam car = quietCar();
    car.pcInput[pcInput_GAS_PEDAL].value = 2.0;
    car.pcInput[pcInput_BOOSTER].raw = 1.0;
    StepCar(car, 0.04);
    const double released = 2.0 * 0.995 * 0.995;
    EXPECT_TRUE(isClose(car.pcInput[pcInput_GAS_PEDAL].value, 18.0 - (18.0 - released) * 0.99 * 0.99));
}

TEST(PhaseOrder, TheInputsSeeTheBoosterOfTheFrameBefore) {
    cCarCam car = quietCar();
    car.pcInput[pcInput_GAS_PEDAL].raw = 1.0;
    car.pcInput[pcInput_BOOSTER].raw = 1.0;
    StepCar(car, 0.04);
    EXPECT_TRUE(isClose(car.pcInput[pcInput_GAS_PEDAL].raw, 2.0 * 0.04 / 3.0)) << "the pedal is still limited";
    car.pcInput[pcInput_GAS_PEDAL].raw = 1.0;
    StepCar(car, 0.04);
    EXPECT_EQ(car.pcInput[pcInput_GAS_PEDAL].raw, 1.0) << "and free one frame later";
}

TEST(PhaseOrder, TheBoosterComesBeforeTheAbsBrake) {
    cCarCam car = quietCar();
    car.pcInput[pcInput_GAS_PEDAL].value = 2.0;
    car.dGasPedalValue_prev = 2.0;
    car.pcInput[pcInput_BOOSTER].raw = 1.0;
    car.pcInput[pcInput_ABS_BRAKE].raw = 1.0;
    StepCar(car, 0.04);
    const double boosted = 18.0 - (18.0 - 2.0 * 0.995 * 0.995) * 0.99 * 0.99;
    EXPECT_TRUE(isClose(car.dBrakeStartValue, boosted));
    EXPECT_TRUE(isClose(car.pcInput[pcInput_GAS_PEDAL].value, 2.0 - boosted * 0.04 * 30.0 * 0.03));
}

TEST(PhaseOrder, InputsComeBeforeTheGravel) {
    cCarCam car = quietCar();
    car.dGravelShakeOffset = 0.5;
    ASSERT_EQ(car.pcInput[pcInput_GRAVEL_SHAKE].value, 0.0);
    StepCar(car, 0.04);
    EXPECT_EQ(car.randomValue_gravelShake, 1004) << "the shake is on in the first frame, one number a wheel";
}

TEST(PhaseOrder, TheGravelComesBeforeTheDriveThatPlacesTheWheels) {
    cCarCam car = quietCar();
    car.dVelocity = 400.0;
    car.dGravelShakeOffset = 0.5;
    StepCar(car, 0.04);
    const pcWheel& w = car.pcWheel[0];
    EXPECT_GT(std::abs(w.fGravelOffset), 1e-6);
    EXPECT_EQ(w.qTransWheelRel.position.y, w.dWheelGroundNormalDiff + w.fGravelOffset);
}

TEST(PhaseOrder, TheGravelUsesTheVelocityOfTheFrameBefore) {
    cCarCam car = quietCar();
    car.dGravelShakeOffset = 0.5;
    car.pcInput[pcInput_GAS_PEDAL].raw = 1.0;
    car.pcInput[pcInput_GAS_PEDAL].response = 0.0;
    car.dGasPedalInput_prev = 1.0;
    StepCar(car, 0.04);
    EXPECT_GT(car.dVelocity, 10.0);
    EXPECT_EQ(car.pcWheel[0].fGravelNoise, 0.0) << "the noise was made while the car still stood";
}

TEST(PhaseOrder, FlightStillUsesTheSubStepOfTheFrameBefore) {
    cCarCam car = quietCar();
    car.bGravityOn = true;
    for (auto& w : car.pcWheel) w.bInAir = true;
    car.dSimStep = 0.005;
    StepCar(car, 0.04);
    // 900 * L / 4 scene units/s^2 at the defaults.
    EXPECT_TRUE(isClose(car.qTransCarAbsIncr.position.y, -900.0 * 0.005 * 0.04 * 3.522 / 4.0));
    EXPECT_EQ(car.dSimStep, 0.04 / 13.0);
}

TEST(PhaseOrder, ThePreviousIncrementIsTakenBehindTheFlightAndBeforeTheSubSteps) {
    cCarCam car = quietCar();
    car.bGravityOn = true;
    for (auto& w : car.pcWheel) w.bInAir = true;
    car.qTransCarAbsIncr.position = {0.01, 0, -0.02};
    car.qTransCarAbsIncr_prev.position = {5, 5, 5};
    StepCar(car, 0.04);
    EXPECT_LT(car.qTransCarAbsIncr.position.y, -0.01) << "gravity has changed the increment";
    EXPECT_EQ(car.qTransCarAbsIncr_prev, car.qTransCarAbsIncr);
    EXPECT_EQ(car.vWorldAcceleration, Vector3<double>()) << "so the body in free fall feels nothing of it";
}

TEST(PhaseOrder, ALandingDropsTheSpringForcesOfItsFrameOnly) {
    cCarCam car = quietCar();
    car.bGravityOn = true;
    car.bCarInTheAir = true;
    for (auto& w : car.pcWheel) {
        w.fSuspZeroDiff = w.fSuspZeroDiff_prev = -0.02;
        w.dWheelGroundNormalDiff += 0.02;
    }
    StepCar(car, 0.04);
    EXPECT_TRUE(car.bJustLanded);
    for (const auto& w : car.pcWheel) EXPECT_EQ(w.fSuspForce, 0.0);
    StepCar(car, 0.04);
    EXPECT_FALSE(car.bJustLanded);
    for (const auto& w : car.pcWheel) EXPECT_NE(w.fSuspForce, 0.0);
}

TEST(StepCar, TakesTheCountOfAHopelessQuotientAsOne) {
    EXPECT_EQ(wholeCount(0.0), 1);
    EXPECT_EQ(wholeCount(0.99), 1);
    EXPECT_EQ(wholeCount(13.99), 13);
    EXPECT_EQ(wholeCount(std::numeric_limits<double>::quiet_NaN()), 1);
    EXPECT_EQ(wholeCount(std::numeric_limits<double>::infinity()), 1);
    EXPECT_EQ(wholeCount(-std::numeric_limits<double>::infinity()), 1);
    EXPECT_EQ(wholeCount(1e300), 1);
}

}  // namespace
}  // namespace ond::ovs::addon
