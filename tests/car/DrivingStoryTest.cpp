// Whole drives of hundreds of frames on flat ground, told at several frame rates.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "car/FlatGround.h"
#include "car/Follow.h"
#include "car/QuietCar.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::FlatGround;
using test::isClose;
using test::isWithin;
using V = Vector3<double>;

constexpr double kLength = 3.522;
constexpr double kRadius = 0.26 * 0.95;

/// A driver at the wheel of one car: holds the inputs until they are changed.
class Drive {
  public:
    Drive() : car(test::quietCar()) { StartCar(car, car.qTransCarAbs, car.qTransCarAbs, dt()); }
    explicit Drive(double framesPerSecond) : car(test::quietCar()), m_rate(framesPerSecond) {
        StartCar(car, car.qTransCarAbs, car.qTransCarAbs, dt());
    }

    [[nodiscard]] double dt() const { return 1.0 / m_rate; }
    void hold(int channel, double raw) { m_raw[channel] = raw; }
    /// Drives for so many frames; `each` looks at every one of them.
    void frames(int count, const std::function<void(int)>& each = nullptr) {
        for (int i = 0; i < count; ++i) {
            for (int c = 0; c < kNumInputs; ++c) car.pcInput[c].raw = m_raw[c];
            ground.frame(car, dt());
            if (each) each(i);
        }
    }
    void seconds(double count, const std::function<void(int)>& each = nullptr) {
        frames(static_cast<int>(std::round(count * m_rate)), each);
    }
    [[nodiscard]] double gas() const { return car.pcInput[pcInput_GAS_PEDAL].value; }
    [[nodiscard]] V at() const { return car.qTransCarAbs.position; }
    [[nodiscard]] V ahead() const { return Rotate(car.qTransCarAbs.rotation, V(0, 0, -1)); }

    cCarCam car;
    FlatGround ground;

  private:
    double m_rate = 25.0;
    double m_raw[kNumInputs] = {};
};

class Story : public testing::TestWithParam<double> {};
INSTANTIATE_TEST_SUITE_P(FramesPerSecond, Story, testing::Values(24.0, 25.0, 30.0, 50.0, 60.0, 120.0),
                         [](const auto& row) { return std::to_string(static_cast<int>(row.param)); });

TEST_P(Story, AParkedCarStaysParked) {
    Drive drive(GetParam());
    drive.seconds(4);
    EXPECT_LT(Length(drive.at()), 1e-6) << "the least velocity leads nowhere";
    EXPECT_TRUE(isWithin(drive.car.cCarBody.qTransAbs.position.y, 0.15, 1e-9)) << "the body stands at its rest height";
    for (const auto& w : drive.car.pcWheel) {
        EXPECT_TRUE(isClose(w.qTransWheelAbs.position.y, kRadius, 1e-9)) << "wheels touch the ground";
        EXPECT_EQ(w.pfTotalPitch, 0.0) << "and do not roll";
    }
}

TEST_P(Story, AcceleratesWithThePedalAndRollsOutWithout) {
    Drive drive(GetParam());
    drive.hold(pcInput_GAS_PEDAL, 1.0);
    double before = 0.0;
    drive.seconds(4, [&](int) {
        ASSERT_GT(drive.gas(), before) << "the pedal is held, so each frame is faster";
        before = drive.gas();
    });
    // The pedal climbs to full in 1.5 s, the channel follows with a time constant of 4 s.
    const double tau = 0.04 / 0.01;
    const double rise = 1.5;
    const double expected = 3.0 * (1.0 - tau / rise * (std::exp(rise / tau) - 1.0) * std::exp(-4.0 / tau));
    EXPECT_TRUE(isClose(drive.gas(), expected, 0.03)) << "the frame rate does not matter";
    EXPECT_LT(drive.at().z, -10.0);
    EXPECT_LT(std::abs(drive.at().x), 1e-6) << "straight on";
    EXPECT_LT(std::abs(drive.at().y), 0.02) << "on the ground";

    const double start = drive.gas();
    drive.hold(pcInput_GAS_PEDAL, 0.0);
    drive.seconds(4);
    EXPECT_TRUE(isClose(drive.gas(), start * std::exp(-1.0), 0.01)) << "one time constant of rolling out";
}

TEST_P(Story, WheelsRollTheWayTheyGo) {
    Drive drive(GetParam());
    drive.car.pcInput[pcInput_GAS_PEDAL].response = 0.0;
    drive.car.dGasPedalMaxRateOfChange = 1e9;
    drive.hold(pcInput_GAS_PEDAL, 0.2);
    drive.seconds(8);  // until the body has stopped rocking, which moves the contact points a little
    const double start = drive.at().z;
    double rolled = 0.0;
    drive.seconds(2, [&](int) { rolled += drive.car.pcWheel[0].pfPitchIncr; });
    EXPECT_LT(rolled, -5.0);
    EXPECT_TRUE(isClose(rolled * kRadius, drive.at().z - start, 1e-6)) << "without slip: way = angle * radius";
}

TEST_P(Story, TurnsToTheRightOnTheRadiusOfItsSteering) {
    Drive drive(GetParam());
    drive.car.pcInput[pcInput_GAS_PEDAL].response = 0.0;
    drive.car.dGasPedalMaxRateOfChange = 1e9;
    drive.car.dSpeedDependentTurnRadiusReductionFactor = 0.0;
    drive.car.dSkiddingReleaseThresh = 1e9;
    drive.hold(pcInput_GAS_PEDAL, 0.2);
    drive.hold(pcInput_STEERING_WHEEL, 0.5);
    drive.seconds(3);
    EXPECT_TRUE(isClose(drive.car.fSteeringAngle, 0.35, 1e-3)) << "half of 0.7 radians";
    const V before = drive.ahead();
    drive.seconds(1);
    const double turned = std::atan2(Cross(before, drive.ahead()).y, Dot(before, drive.ahead()));
    const double radius = (1.761 + 1.044) / std::tan(0.35);
    EXPECT_LT(turned, 0.0) << "clockwise from above";
    EXPECT_TRUE(isClose(turned, -0.6 * kLength / radius, 0.04)) << "up to the sub-step a frame may lose";
    EXPECT_LT(drive.car.pcWheel[1].pfYaw, drive.car.pcWheel[0].pfYaw) << "the inner wheel is turned further";
}

TEST_P(Story, ReverseBrakeStopsTheCarAndDrivesBackOnlyOnceReleased) {
    Drive drive(GetParam());
    drive.hold(pcInput_GAS_PEDAL, 1.0);
    drive.seconds(4);
    ASSERT_GT(drive.gas(), 1.0);
    drive.hold(pcInput_GAS_PEDAL, 0.0);
    drive.frames(1);
    drive.hold(pcInput_GAS_PEDAL, -1.0);
    drive.frames(2);
    EXPECT_TRUE(drive.car.bIsReverseVelAbsBraking) << "the pedal points against the travel";
    EXPECT_EQ(drive.car.pcInput[pcInput_GAS_PEDAL].raw, -1.0) << "and is not limited while it brakes";
    drive.seconds(1.3);
    EXPECT_LE(std::abs(drive.gas()), 1e-8) << "1 / (30 * 0.03) = 1.1 seconds to a stop";
    const V stopped = drive.at();
    drive.seconds(2);
    EXPECT_LT(Length(drive.at() - stopped), 1e-5) << "held on, it stays where it is";
    drive.hold(pcInput_GAS_PEDAL, 0.0);
    drive.frames(2);
    EXPECT_FALSE(drive.car.bIsReverseVelAbsBraking);
    drive.hold(pcInput_GAS_PEDAL, -1.0);
    drive.seconds(3);
    EXPECT_LT(drive.gas(), -0.5) << "pressed anew it is a reverse gear";
    EXPECT_GT(drive.at().z, stopped.z + 1.0);
}

TEST_P(Story, SkidBrakeSlidesStopsAndLetsGo) {
    Drive drive(GetParam());
    drive.hold(pcInput_GAS_PEDAL, 1.0);
    drive.seconds(3);
    ASSERT_TRUE(drive.car.bSkidFirstTime) << "idle";
    const double wheel = drive.car.pcWheel[0].pfTotalPitch;
    const double movement = drive.car.qTransCarAbsIncr.position.z;
    ASSERT_LT(movement, -0.005);

    drive.hold(pcInput_SKID_BRAKE, 1.0);
    drive.frames(33, [&](int i) {
        ASSERT_TRUE(drive.car.bSkidBreakingOn) << "sliding";
        ASSERT_TRUE(isClose(drive.car.vSkidBrakePosIncr.z, movement * (1 - 0.03 * (i + 1)), 1e-9))
            << "the same amount is lost each frame";
        ASSERT_EQ(drive.car.pcInput[pcInput_SKID_BRAKE].raw, 1.0);
    });
    EXPECT_EQ(drive.car.pcWheel[0].pfTotalPitch, wheel) << "the wheels are locked";
    drive.frames(1);
    EXPECT_EQ(drive.car.vSkidBrakePosIncr, V()) << "stopped: the 34th frame passes zero";
    EXPECT_EQ(drive.car.pcInput[pcInput_SKID_BRAKE].raw, 0.0);
    const V stopped = drive.at();
    drive.frames(20);
    EXPECT_LT(Length(drive.at() - stopped), 1e-3) << "it stands although the pedal is down; only the body still rocks";
    EXPECT_TRUE(drive.car.bSkidBreakingOnDisableFeatures);

    drive.hold(pcInput_SKID_BRAKE, 0.0);
    drive.frames(1);
    EXPECT_TRUE(drive.car.bSkidFirstTime) << "idle again";
    EXPECT_FALSE(drive.car.bSkidBreakingOn);
    drive.seconds(2);
    EXPECT_LT(drive.at().z, stopped.z - 1.0) << "and the pedal drives on";
}

TEST_P(Story, ASlideLetGoHalfwayBecomesASkidWithThePedalsShareOfTheSpeed) {
    Drive drive(GetParam());
    drive.hold(pcInput_GAS_PEDAL, 1.0);
    drive.seconds(3);
    drive.hold(pcInput_SKID_BRAKE, 1.0);
    drive.frames(10);
    const double speed = -drive.car.qTransCarAbsIncr.position.z / drive.car.dSimStep / kLength;
    ASSERT_GT(speed, 0.5);
    drive.hold(pcInput_SKID_BRAKE, 0.0);
    drive.frames(1);
    EXPECT_TRUE(isClose(drive.gas(), speed, 0.05)) << "the pedal is down: the speed of the slide is taken over";
    EXPECT_LT(drive.car.dWantedSkiddingValue, 0.9) << "with the grip still coming back";
    drive.hold(pcInput_GAS_PEDAL, 0.0);
    drive.seconds(3);
    EXPECT_EQ(drive.car.dWantedSkiddingValue, 1.0);
}

TEST_P(Story, BoosterOutrunsThePedalAndStiffensTheSprings) {
    Drive drive(GetParam());
    drive.hold(pcInput_GAS_PEDAL, 1.0);
    drive.seconds(2);
    EXPECT_EQ(drive.car.fStiffnessFront, 2000.0);
    drive.hold(pcInput_BOOSTER, 1.0);
    drive.seconds(4, [&](int) {
        const double excess = drive.gas() - 3.0;
        if (excess > 0.01) {
            ASSERT_TRUE(drive.car.bStiffnessBoosted);
            ASSERT_TRUE(isClose(drive.car.fStiffnessFront, 2000.0 * (1 + 0.3 * excess), 1e-9));
            ASSERT_TRUE(isClose(drive.car.fDampingBack, 200.0 * (1 + 0.3 * excess), 1e-9));
        }
    });
    EXPECT_GT(drive.gas(), 8.0) << "far beyond the 3 lengths a second of the pedal";
    drive.hold(pcInput_BOOSTER, 0.0);
    drive.frames(1);
    EXPECT_EQ(drive.car.fStiffnessFront, 2000.0);
    EXPECT_EQ(drive.car.fDampingBack, 200.0);
    const double start = drive.gas();
    drive.seconds(2);
    EXPECT_LT(drive.gas(), start - 1.0) << "and the pedal's filter brings it back";
}

TEST_P(Story, BurnoutSpinsAndPivotsAndGivesTheSteeringBack) {
    Drive drive(GetParam());
    drive.car.pcInput[pcInput_STEERING_WHEEL].response = 0.3;
    drive.hold(pcInput_STEERING_WHEEL, 0.5);
    drive.seconds(1);
    const V nose = drive.at() + drive.ahead() * 1.05;
    const V heading = drive.ahead();
    drive.hold(pcInput_BURNOUT, 1.0);
    double pitched = 0.0;
    drive.seconds(2, [&](int) { pitched = std::max(pitched, std::abs(drive.car.cCarBody.fRelXAng)); });
    EXPECT_LT(Dot(drive.ahead(), heading), 0.6) << "it turns on the spot";
    EXPECT_LT(Cross(heading, drive.ahead()).y, 0.0) << "into the steering's direction";
    EXPECT_LT(Length(drive.at() - nose), 4.0) << "and stays about its place";
    EXPECT_GT(pitched, 0.003) << "the body shakes";
    EXPECT_LE(pitched, 0.06) << "within its limit";
    EXPECT_NE(drive.car.pcWheel[2].pfTotalPitch, 0.0) << "the back wheels spin";
    EXPECT_EQ(drive.car.pcWheel[0].pfTotalPitch, 0.0) << "the front wheels do not";
    EXPECT_LT(drive.car.pcInput[pcInput_STEERING_WHEEL].response, 0.3) << "the steering is sluggish";
    drive.hold(pcInput_BURNOUT, 0.0);
    drive.seconds(3);
    EXPECT_TRUE(drive.car.bBurnoutIdle);
    EXPECT_EQ(drive.car.pcInput[pcInput_STEERING_WHEEL].response, 0.3);
}

TEST_P(Story, JumpsOffACliffAndLands) {
    Drive drive(GetParam());
    // A natural fall: the model's pull is 900 * L / 4 units/s^2 at "Gravity" 1. With the short default reach of the
    // springs the body would throw the wheels off the ground again, so this rig has a longer one.
    drive.car.fGravity = 9.81 * 4.0 / (900.0 * kLength);
    drive.car.fRelMaxBumperLen = 1.0;
    drive.car.bGravityOn = true;
    drive.hold(pcInput_GAS_PEDAL, 1.0);
    drive.seconds(3);
    ASSERT_FALSE(drive.car.bCarInTheAir) << "it drives on the ground first";
    ASSERT_LT(std::abs(drive.at().y), 0.02);
    const double speed = drive.gas() * kLength;
    const V edge = drive.at();
    const V heading = drive.ahead();

    drive.ground.height = -1.0;
    drive.hold(pcInput_STEERING_WHEEL, 1.0);  // has no effect in the air
    int inTheAir = 0;
    double lowest = edge.y + 0.01;
    drive.frames(1);  // the wheels lose the ground at the end of this frame
    for (;;) {
        drive.frames(1);
        if (!drive.car.bCarInTheAir) break;
        ++inTheAir;
        ASSERT_LT(inTheAir, 200) << "it must come down";
        ASSERT_TRUE(drive.car.bAllWheelsInAir);
        ASSERT_FALSE(drive.car.bJustLanded);
        ASSERT_LT(drive.at().y, lowest) << "down all the way";
        ASSERT_LT(Length(drive.ahead() - heading), 0.01) << "steering has no say";
        lowest = drive.at().y;
    }
    // The wheels reach out by their radius, so the ground meets them that much earlier.
    EXPECT_TRUE(isClose(inTheAir * drive.dt(), std::sqrt(2 * (1.0 - kRadius) / 9.81), 0.12)) << "a free fall";
    EXPECT_TRUE(isClose(edge.z - drive.at().z, speed * (inTheAir + 2) * drive.dt(), 0.1)) << "with its speed";
    EXPECT_TRUE(drive.car.bJustLanded) << "all wheels are down in this frame";
    for (const auto& w : drive.car.pcWheel) EXPECT_EQ(w.fSuspForce, 0.0) << "which feels no spring";

    drive.hold(pcInput_STEERING_WHEEL, 0.0);
    drive.hold(pcInput_GAS_PEDAL, 0.0);
    int landings = 0;
    drive.seconds(4, [&](int) { landings += drive.car.bJustLanded; });
    EXPECT_EQ(landings, 0) << "it does not bounce";
    EXPECT_FALSE(drive.car.bCarInTheAir);
    EXPECT_FALSE(drive.car.bAllWheelsInAir);
    EXPECT_TRUE(isWithin(drive.at().y, -1.0, 0.02)) << "it stands on the lower ground";
    EXPECT_TRUE(isWithin(drive.car.cCarBody.fRelYPos, 0.0, 0.005)) << "with its springs at rest";
    EXPECT_LT(drive.at().z, edge.z - 5.0) << "and drives on";
}

TEST_P(Story, WithoutGravityACliffIsNoFlight) {
    Drive drive(GetParam());
    drive.hold(pcInput_GAS_PEDAL, 1.0);
    drive.seconds(1);
    drive.ground.height = -2.0;
    drive.seconds(2, [&](int) { ASSERT_FALSE(drive.car.bCarInTheAir); });
    EXPECT_TRUE(isWithin(drive.at().y, -2.0, 0.02)) << "wheels follow the ground at any distance";
}

TEST_P(Story, ChasesATargetAndStopsAtIt) {
    Drive drive(GetParam());
    drive.car.bAutonomousMode = true;
    FollowState follow;
    V target(3, 0, -10);
    double farthest = 0.0;
    const auto chase = [&](double seconds, V velocity) {
        const int n = static_cast<int>(std::round(seconds / drive.dt()));
        for (int i = 0; i < n; ++i) {
            for (auto& channel : drive.car.pcInput) channel.raw = 0.0;
            UpdateFollow(drive.car, follow, ToMatrix(drive.car.cCarBody.qTransAbs), target, drive.dt());
            drive.ground.frame(drive.car, drive.dt());
            target += velocity * drive.dt();
            farthest = std::max(farthest, Length(target - drive.at()));
        }
    };
    chase(20, {1.0, 0, -2.0});
    EXPECT_LT(farthest, 40.0) << "it never loses the target";
    EXPECT_LT(drive.at().z, -20.0) << "and has come along";
    EXPECT_GT(drive.at().x, 5.0);
    const V away = target - drive.at();
    EXPECT_GT(Dot(Normalized(away), drive.ahead()), 0.8) << "heading for it";

    chase(40, V());
    const V nose = drive.at() + drive.ahead() * (kLength / 2);
    EXPECT_LT(Length(V(target.x - nose.x, 0, target.z - nose.z)), kLength) << "it stopped within reach of the target";
    const V stopped = drive.at();
    chase(5, V());
    EXPECT_LT(Length(drive.at() - stopped), 0.05) << "and stays there";
}

TEST(StoryRates, TwoSecondsOfDrivingEndAtTheSamePlaceAtAnyFrameRate) {
    // Rates whose frames hold a whole number of sub-steps without loss would agree best; the others lose at most one.
    std::vector<V> places;
    for (const double rate : {25.0, 30.0, 50.0, 60.0, 100.0}) {
        Drive drive(rate);
        drive.hold(pcInput_GAS_PEDAL, 0.6);
        drive.hold(pcInput_STEERING_WHEEL, 0.3);
        drive.seconds(3);
        places.push_back(drive.at());
    }
    ASSERT_GT(Length(places[0]), 3.0);
    for (const V& place : places) EXPECT_LT(Length(place - places[0]), 0.06 * Length(places[0]));
}

TEST(StoryRates, TheSameDriveTwiceGivesTheSameBits) {
    const auto run = [] {
        Drive drive(25.0);
        drive.car.dGravelShakeOffset = 0.5;
        drive.car.dSteeringNoise = 0.05;
        drive.hold(pcInput_GAS_PEDAL, 1.0);
        drive.hold(pcInput_STEERING_WHEEL, 0.4);
        drive.seconds(4);
        drive.hold(pcInput_SKIDDING, 0.7);
        drive.seconds(4);
        return drive.car;
    };
    const cCarCam a = run();
    const cCarCam b = run();
    EXPECT_EQ(a.qTransCarAbs, b.qTransCarAbs);
    EXPECT_EQ(a.pcWheel[3].qTransWheelAbs, b.pcWheel[3].qTransWheelAbs);
    EXPECT_GT(Length(a.qTransCarAbs.position), 5.0);
}

}  // namespace
}  // namespace ond::ovs::addon
