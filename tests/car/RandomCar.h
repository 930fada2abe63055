// Car records in the middle of a drive, with every field that the model reads or writes away from its default.
#pragma once

#include "car/CarState.h"
#include "util/PinnedRandom.h"

namespace ond::test {

[[nodiscard]] inline util::QTransform<double> randomTransform(PinnedRandom& random, double size) {
    const util::Vector3<double> at = random.vector(size);
    return {at, random.rotation()};
}

/// Numbers of a size that driving produces. Flags are set by chance, so that every branch is met in some records.
[[nodiscard]] inline ovs::addon::cCarCam randomCar(PinnedRandom& random) {
    ovs::addon::cCarCam c;
    c.dSimStep = random.in(0.003, 0.006);
    c.dGasPedalValue_prev = random.in(-3, 3);
    c.pcInput_GAS_PEDAL_inp_prev = random.chance(0.2) ? 0.0 : random.in(-1, 1);
    c.bIsReverseVelAbsBraking = random.chance(0.4);
    c.dVelocity = random.in(-20, 20);
    c.fSteeringAngle = random.in(-1, 1);
    c.dLandingSkiddingFactor = random.in(0.01, 0.3);
    c.dBoosterStiffnessMult = random.in(0.1, 0.6);
    c.fCarLocalYawIncr = random.in(-0.02, 0.02);
    c.vAcceleration = random.vector(5);
    c.vExternalForceDir = random.vector(1);
    c.vExternalForcePos = random.vector(1);
    c.dForceOffset = random.in(-0.1, 0.1);
    c.vWantedPosIncr = random.vector(0.1);
    c.dWantedSkiddingValue = random.in(0.02, 1);
    c.dScaleRelMaxJumpVelocity = random.in(0.1, 10);
    c.dHorizontalRestoringFactor = random.in(0.01, 0.5);
    c.bBoosterOn = random.chance(0.3);
    c.vSkidBrakePosIncr = random.chance(0.2) ? util::Vector3<double>() : random.vector(0.1);
    c.dSkidBrakeLocalYawIncr = random.in(-0.01, 0.01);
    c.vSkidBrakeInitVel = random.vector(2);
    c.vSkidBrakeInitRotVel = {0, random.in(-1, 1), 0};
    c.bSkidBreakingOn = random.chance(0.3);
    c.bSkidBreakingOnDisableFeatures = c.bSkidBreakingOn;
    c.bSkidFirstTime = !c.bSkidBreakingOn || random.chance(0.1);
    c.bSkidBrakeValueOn = random.chance(0.3);
    c.bJustLanded = random.chance(0.2);
    c.bAllWheelsInAir = random.chance(0.2);
    c.bBurnoutIdle = random.chance(0.5);
    c.dSteeringResponseSaved = random.in(0.05, 0.5);
    c.dBurnoutRandom = random.in(0, 20);
    c.bAutonomousMode = random.chance(0.3);
    c.dSkiddingOffset = random.in(-0.1, 0.2);
    c.dGravelShakeOffset = random.in(0, 1);
    c.dSkiddingReleaseThresh = random.in(0.01, 0.1);
    c.dInputFilterMem = random.in(-0.3, 0.3);
    c.dGasPedalInputFilterMem = random.in(-1, 1);
    c.bUseReverseAsAbsBrake = random.chance(0.7);
    c.randomValue_gravelShake = static_cast<std::int32_t>(random.bits());
    c.randomValue_burnout = static_cast<std::int32_t>(random.bits());
    c.randomValue_steeringNoise = static_cast<std::int32_t>(random.bits());
    c.dGasPedalMaxRateOfChange = random.in(0.5, 5);
    c.bSkiddingOn = random.chance(0.5);
    c.bSkiddingReady = random.chance(0.5);
    c.iSkidBrakeVelSign = random.chance(0.5) ? 1 : -1;
    c.iSkidBrakeSteerSign = random.chance(0.5) ? 1 : -1;
    c.dSteeringInput_prev = random.in(-1, 1);
    c.dGasPedalInput_prev = random.in(-1, 1);
    c.dAutoSteeringValue = random.in(-0.5, 0.5);
    c.dBaseStiffnessFront = random.in(1000, 3000);
    c.dBaseStiffnessBack = random.in(1000, 3000);
    c.dBaseDampingFront = random.in(100, 300);
    c.dBaseDampingBack = random.in(100, 300);
    c.fRelMaxBumperLen = random.in(0.1, 0.5);
    c.dMaximumForwardTiltAngle = random.in(0.02, 0.2);
    c.dMaximumSideTiltAngle = random.in(0.02, 0.2);
    c.bGravityOn = random.chance(0.5);
    c.bCarInTheAir = random.chance(0.3);
    c.bTakeOffArmed = random.chance(0.5);
    c.qTransCarAbsIncr = randomTransform(random, 0.1);
    c.qTransCarAbsIncr_prev = {c.qTransCarAbsIncr.position + random.vector(0.001), random.rotation()};
    c.qTransCarAbs = randomTransform(random, 30);
    c.qTransCarStart = c.qTransCarAbs;
    c.qTransCarStart.rotation = util::Normalized(c.qTransCarAbs.rotation + 0.01 * random.rotation());
    c.vGravityDir = util::Normalized(random.vector(1));
    c.qGravity = random.rotation();
    c.QGravityFilterMem = random.rotation();
    c.fGravity = random.in(0.1, 2);
    c.dVelRelMaxSteeringChangeVel = random.in(0.5, 5);
    c.dBurnoutShake = random.in(0, 0.001);
    c.dBurnoutTiltForce = random.in(0.5, 2);
    c.dBurnoutFadeoutFactor = random.in(0.9, 1);
    c.dSpeedDependentTurnRadiusReductionFactor = random.in(0, 0.5);
    c.dSteeringNoise = random.chance(0.4) ? 0.0 : random.in(0, 0.2);
    c.bStiffnessBoosted = random.chance(0.5);
    c.dSkidBrakeRotBrakeMult = random.in(0.5, 2);
    c.dWorldAvoidanceSphereRadius = random.chance(0.4) ? 0.0 : random.in(0.5, 8);
    c.dSkidBrakeStopFactor = random.in(0.2, 1.5);
    c.dSkiddingReleaseResponseFactor = random.in(0.1, 1.5);
    c.dTurnBase = random.in(-0.3, 0.6);
    c.fBodyRestHeight = random.in(0.1, 0.3);
    c.fBodyLength = random.in(2, 5);
    for (int i = 0; i < 4; ++i) {
        c.wheelGeom[i].radius = random.in(0.2, 0.4);
        c.wheelGeom[i].z = (i < 2 ? -1 : 1) * random.in(0.8, 1.4);
        c.wheelGeom[i].x = (i % 2 == 0 ? -1 : 1) * random.in(0.5, 0.9);
    }
    c.fMassMult = random.in(0.5, 4);
    c.fStiffnessFront = random.in(1000, 3000);
    c.fDampingFront = random.in(100, 300);
    c.fStiffnessBack = random.in(1000, 3000);
    c.fDampingBack = random.in(100, 300);
    c.dGravelRoughness = random.in(0.1, 1.2);
    c.dWheelRadiusMult = random.in(0.8, 1.1);
    for (auto& channel : c.pcInput) {
        const double low = channel.bOneSided ? 0.0 : -1.0;
        channel.raw = random.chance(0.35) ? 0.0 : random.chance(0.2) ? 1.0 : random.in(low, 1);
        channel.value = random.chance(0.2) ? 0.0 : random.in(low, 1) * channel.maximum;
        channel.response = random.chance(0.2) ? 1.0 : random.in(0.01, 2.5);
    }
    c.pcInput[ovs::addon::pcInput_SKIDDING].maximum = random.in(0.3, 0.95);
    auto& b = c.cCarBody;
    b.fRelYPos = random.in(-0.02, 0.02);
    b.fRelYVel = random.in(-0.5, 0.5);
    b.fRelXAng = random.in(-0.05, 0.05);
    b.fRelZAng = random.in(-0.05, 0.05);
    b.fRelXAngVel = random.in(-0.5, 0.5);
    b.fRelZAngVel = random.in(-0.5, 0.5);
    b.qTransAbs = {c.qTransCarAbs.position + random.vector(0.2), random.rotation()};
    b.qTransRel = randomTransform(random, 0.2);
    const int wheelsInAir = random.chance(0.5) ? 0 : static_cast<int>(random.in(1, 4.999));
    for (int i = 0; i < 4; ++i) {
        auto& w = c.pcWheel[i];
        w.bInAir = i < wheelsInAir;
        w.dSuspDistanceMoved = random.in(0, 0.5);
        w.fSuspIntegral = random.in(-1, 1);
        w.fSuspZeroDiff = random.in(-0.05, 0.05);
        w.fSuspZeroDiff_prev = w.fSuspZeroDiff + random.in(-0.002, 0.002);
        w.qTransWheelAbs = randomTransform(random, 3);
        w.qTransWheelAbs_prev = {w.qTransWheelAbs.position + random.vector(0.3), random.rotation()};
        w.qTransWheelRel = randomTransform(random, 1);
        w.vSuspPoint = random.vector(3);
        w.pfTotalPitch = random.in(-6.2, 6.2);
        w.pfPitchIncr = random.in(-1, 1);
        w.pfYaw = random.in(-0.5, 0.5);
        w.pfYaw_prev = random.in(-0.5, 0.5);
        w.fGravelOffset = random.in(-0.01, 0.01);
        w.fGravelNoise = random.in(-0.01, 0.01);
        w.dWheelGroundNormalDiff = random.in(0.2, 0.3);
    }
    return c;
}

/// Device values of one frame: held for a while, then changed, as hands do.
class RandomDriver {
  public:
    explicit RandomDriver(PinnedRandom& random) : m_random(random) {}
    void operator()(ovs::addon::cCarCam& c) {
        for (int i = 0; i < 9; ++i) {
            auto& channel = c.pcInput[i];
            if (m_random.chance(0.05)) {
                const double low = channel.bOneSided ? 0.0 : -1.0;
                const double rest = channel.bOneSided ? 0.75 : 0.2;
                m_raw[i] = m_random.chance(rest) ? 0.0 : m_random.in(low, 1);
            }
            channel.raw = m_raw[i];
        }
    }

  private:
    PinnedRandom& m_random;
    double m_raw[9] = {};
};

}  // namespace ond::test
