// Numbers that no sensible user sets: the model may lose its mind over them, but it never crashes, hangs or trips over
// an undefined conversion. These tests bite most under the sanitizers.
#include <gtest/gtest.h>

#include <chrono>
#include <limits>

#include "car/Fields.h"
#include "car/FlatGround.h"
#include "car/Follow.h"
#include "car/QuietCar.h"
#include "car/RandomCar.h"
#include "util/Close.h"

namespace ond::ovs::addon {
namespace {

using test::quietCar;
using V = Vector3<double>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
const double kHostile[] = {kNan, kInf, -kInf, 0.0, -1.0, 1e300, -1e300, 5e-324, 1e-300, 1e18};

/// Drives with everything pressed in turns.
void drive(cCarCam& car, int frames, double dt) {
    test::PinnedRandom random(901);
    test::RandomDriver driver(random);
    for (int i = 0; i < frames; ++i) {
        driver(car);
        StepCar(car, dt);
        UpdateWheelRolling(car, dt);
    }
}

struct ParameterRow {
    const char* name;
    double cCarCam::*field;
};

const ParameterRow kParameters[] = {
    {"dLandingSkiddingFactor", &cCarCam::dLandingSkiddingFactor},
    {"dBoosterStiffnessMult", &cCarCam::dBoosterStiffnessMult},
    {"dForceOffset", &cCarCam::dForceOffset},
    {"dScaleRelMaxJumpVelocity", &cCarCam::dScaleRelMaxJumpVelocity},
    {"dHorizontalRestoringFactor", &cCarCam::dHorizontalRestoringFactor},
    {"dSkiddingOffset", &cCarCam::dSkiddingOffset},
    {"dGravelShakeOffset", &cCarCam::dGravelShakeOffset},
    {"dSkiddingReleaseThresh", &cCarCam::dSkiddingReleaseThresh},
    {"dGasPedalMaxRateOfChange", &cCarCam::dGasPedalMaxRateOfChange},
    {"fRelMaxBumperLen", &cCarCam::fRelMaxBumperLen},
    {"dMaximumForwardTiltAngle", &cCarCam::dMaximumForwardTiltAngle},
    {"dMaximumSideTiltAngle", &cCarCam::dMaximumSideTiltAngle},
    {"fGravity", &cCarCam::fGravity},
    {"dVelRelMaxSteeringChangeVel", &cCarCam::dVelRelMaxSteeringChangeVel},
    {"dBurnoutShake", &cCarCam::dBurnoutShake},
    {"dBurnoutTiltForce", &cCarCam::dBurnoutTiltForce},
    {"dBurnoutFadeoutFactor", &cCarCam::dBurnoutFadeoutFactor},
    {"dSpeedDependentTurnRadiusReductionFactor", &cCarCam::dSpeedDependentTurnRadiusReductionFactor},
    {"dSteeringNoise", &cCarCam::dSteeringNoise},
    {"dSkidBrakeRotBrakeMult", &cCarCam::dSkidBrakeRotBrakeMult},
    {"dWorldAvoidanceSphereRadius", &cCarCam::dWorldAvoidanceSphereRadius},
    {"dSkidBrakeStopFactor", &cCarCam::dSkidBrakeStopFactor},
    {"dSkiddingReleaseResponseFactor", &cCarCam::dSkiddingReleaseResponseFactor},
    {"dTurnBase", &cCarCam::dTurnBase},
    {"fBodyRestHeight", &cCarCam::fBodyRestHeight},
    {"fBodyLength", &cCarCam::fBodyLength},
    {"dSpringLimitMult", &cCarCam::dSpringLimitMult},
    {"fMassMult", &cCarCam::fMassMult},
    {"fStiffnessFront", &cCarCam::fStiffnessFront},
    {"fDampingFront", &cCarCam::fDampingFront},
    {"fStiffnessBack", &cCarCam::fStiffnessBack},
    {"fDampingBack", &cCarCam::fDampingBack},
    {"dGravelRoughness", &cCarCam::dGravelRoughness},
    {"dWheelRadiusMult", &cCarCam::dWheelRadiusMult},
};

TEST(HostileNumbers, AnyParameterOfAnySize) {
    for (const ParameterRow& row : kParameters) {
        for (const double value : kHostile) {
            SCOPED_TRACE(testing::Message() << row.name << " = " << value);
            cCarCam car = quietCar();
            car.*row.field = value;
            drive(car, 40, 0.04);
            ASSERT_EQ(car.dSimStep, 0.04 / 13) << "the step hangs on the frame alone";
        }
    }
}

TEST(HostileNumbers, AnyChannelOfAnySize) {
    for (int i = 0; i < kNumInputs; ++i) {
        for (const double value : kHostile) {
            for (double InputChannel::*field :
                 {&InputChannel::raw, &InputChannel::value, &InputChannel::response, &InputChannel::maximum}) {
                SCOPED_TRACE(testing::Message() << "channel " << i << " " << value);
                cCarCam car = quietCar();
                car.pcInput[i].*field = value;
                StepCar(car, 0.04);
                UpdateWheelRolling(car, 0.04);
                drive(car, 10, 0.04);
                StartCar(car, car.qTransCarAbs, car.qTransCarAbs, 0.04);
            }
        }
    }
}

TEST(HostileNumbers, AnyPlaceOfTheCar) {
    for (const double value : kHostile) {
        SCOPED_TRACE(value);
        for (const bool air : {false, true}) {
            cCarCam car = quietCar();
            car.bGravityOn = true;
            car.dWorldAvoidanceSphereRadius = 1.0;
            for (auto& w : car.pcWheel) w.bInAir = air;
            car.qTransCarAbs = {V(value, value, value), Quat<double>(value, value, value, value)};
            car.qTransCarAbsIncr = car.qTransCarAbs;
            car.vGravityDir = {value, value, value};
            car.qGravity = {value, value, value, value};
            car.QGravityFilterMem = car.qGravity;
            drive(car, 10, 0.04);
            cCarCam wheels = quietCar();
            for (auto& w : wheels.pcWheel) {
                w.dWheelGroundNormalDiff = value;
                w.dSuspDistanceMoved = value;
                w.pfTotalPitch = value;
                w.fSuspZeroDiff = value;
            }
            for (auto& g : wheels.wheelGeom) g = {value, value, value};
            drive(wheels, 10, 0.04);
        }
    }
}

TEST(HostileNumbers, AMassOfZeroIsTheModelsOwnNotANumber) {
    cCarCam car = quietCar();
    car.fMassMult = 0.0;
    drive(car, 5, 0.04);
    EXPECT_TRUE(std::isnan(car.cCarBody.fRelXAng)) << "0 torque over 0 inertia is not repaired";
    EXPECT_TRUE(std::isfinite(car.qTransCarAbs.position.z)) << "and does not reach the way of the car";
}

TEST(HostileNumbers, AGasMaximumOfZeroInAutonomousMode) {
    cCarCam car = quietCar();
    FollowState follow;
    car.bAutonomousMode = true;
    car.pcInput[pcInput_GAS_PEDAL].maximum = 0.0;
    car.pcInput[pcInput_STEERING_WHEEL].maximum = 0.0;
    for (int i = 0; i < 50; ++i) {
        for (auto& channel : car.pcInput) channel.raw = 0.0;
        UpdateFollow(car, follow, ToMatrix(car.cCarBody.qTransAbs), {3, 0, -20}, 0.04);
        StepCar(car, 0.04);
        UpdateWheelRolling(car, 0.04);
    }
    EXPECT_TRUE(std::isnan(car.pcInput[pcInput_GAS_PEDAL].value)) << "0 / 0";
}

TEST(HostileNumbers, SkiddingAboveOneRunsAway) {
    cCarCam car = quietCar();
    car.pcInput[pcInput_SKIDDING].maximum = 30.0;
    car.pcInput[pcInput_SKIDDING].response = 0.0;
    car.pcInput[pcInput_GAS_PEDAL].value = 1.0;
    for (int i = 0; i < 400; ++i) {
        for (auto& channel : car.pcInput) channel.raw = 0.0;
        car.pcInput[pcInput_SKIDDING].raw = 1.0;
        StepCar(car, 0.04);
    }
    EXPECT_FALSE(Length(car.qTransCarAbs.position) < 1e6) << "a grip of -29 pushes the car from where it wants to be";
}

TEST(HostileNumbers, ResponsesAboveFour) {
    for (const double response : {4.5, 1e6, 1e300}) {
        for (int i = 0; i < kNumInputs; ++i) {
            cCarCam car = quietCar();
            car.pcInput[i].response = response;
            car.dSkiddingReleaseResponseFactor = response;
            car.dHorizontalRestoringFactor = response;
            car.dGravelRoughness = response;
            car.pcWheel[0].bInAir = i % 2 == 0;
            drive(car, 100, 0.04);
        }
    }
}

TEST(HostileNumbers, FramesOfAnyLengthEnd) {
    for (const double dt : {1e-300, 1e-9, 1e-4, 0.0029999, 1.0, 10.0, 1e10, 1e300, kInf, kNan, -0.04, -1e300, 0.0}) {
        SCOPED_TRACE(dt);
        const auto begin = std::chrono::steady_clock::now();
        cCarCam car = quietCar();
        for (auto& channel : car.pcInput) channel.raw = 0.5;
        StepCar(car, dt);
        UpdateWheelRolling(car, dt);
        FollowState follow;
        car.bAutonomousMode = true;
        UpdateFollow(car, follow, ToMatrix(car.cCarBody.qTransAbs), {3, 0, -20}, dt);
        StartCar(car, car.qTransCarAbs, car.qTransCarAbs, dt);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    }
}

TEST(HostileNumbers, AShortFrameStillIsAFrame) {
    cCarCam car = quietCar();
    car.pcInput[pcInput_GAS_PEDAL].response = 0.0;
    car.dGasPedalInput_prev = 1.0;
    car.pcInput[pcInput_GAS_PEDAL].raw = 1.0;
    StepCar(car, 1e-6);
    EXPECT_EQ(car.dSimStep, 1e-6);
    EXPECT_TRUE(test::isClose(car.qTransCarAbs.position.z, -3.0 * 3.522e-6));
}

TEST(HostileNumbers, AFrameOfTenSecondsIsOnlyLong) {
    cCarCam car = quietCar();
    car.pcInput[pcInput_GAS_PEDAL].response = 0.0;
    car.dGasPedalInput_prev = 1.0;
    car.pcInput[pcInput_GAS_PEDAL].raw = 1.0;
    StepCar(car, 10.0);
    EXPECT_TRUE(test::isClose(car.qTransCarAbs.position.z, -30.0 * 3.522, 1e-3));
}

TEST(HostileNumbers, TheChaseOfNowhere) {
    for (const double value : kHostile) {
        SCOPED_TRACE(value);
        cCarCam car = quietCar();
        car.bAutonomousMode = true;
        FollowState follow;
        UpdateFollow(car, follow, util::Matrix4(), {value, value, value}, 0.04);
        util::Matrix4 body;
        body.m.fill(value);
        UpdateFollow(car, follow, body, {3, 0, -20}, 0.04);
        StepCar(car, 0.04);
    }
    cCarCam car = quietCar();
    car.bAutonomousMode = true;
    FollowState follow;
    follow.dIgnoreSphereRadius = kNan;
    follow.dFollowAccelerationMult = kInf;
    follow.dFollowAccRespFact = 1e300;
    UpdateFollow(car, follow, util::Matrix4(), {3, 0, -20}, 0.04);
}

TEST(HostileNumbers, CountersWrapInEveryGenerator) {
    cCarCam car = quietCar();
    car.randomValue_gravelShake = car.randomValue_burnout = car.randomValue_steeringNoise =
        std::numeric_limits<std::int32_t>::max();
    car.dSteeringNoise = 0.1;
    car.pcInput[pcInput_GRAVEL_SHAKE].raw = 1.0;
    car.pcInput[pcInput_BURNOUT].raw = 1.0;
    StepCar(car, 0.04);
    EXPECT_LT(car.randomValue_gravelShake, 0);
    EXPECT_LT(car.randomValue_burnout, 0);
    EXPECT_LT(car.randomValue_steeringNoise, 0);
}

}  // namespace
}  // namespace ond::ovs::addon
