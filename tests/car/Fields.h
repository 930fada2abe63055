// Walks every number of the car record by name, for tests that compare, change or search whole records.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "car/CarState.h"

namespace ond::test {

struct NamedNumber {
    std::string name;
    double value;
};

namespace fields {

/// The pieces of a field's name; put together only when somebody wants to read it.
struct Name {
    const char* group;  ///< array that it stands in, or null
    int index;
    const char* member;
    const char* part = "";

    [[nodiscard]] std::string text() const {
        const std::string prefix = group ? std::string(group) + "[" + std::to_string(index) + "]." : "";
        return prefix + member + part;
    }
    [[nodiscard]] Name of(const char* p) const { return {group, index, member, p}; }
};

template <typename F>
void walk(const Name& name, const double& d, F&& f) {
    f(name, d);
}
template <typename F>
void walk(const Name& name, const bool& b, F&& f) {
    f(name, b ? 1.0 : 0.0);
}
template <typename F>
void walk(const Name& name, const std::int32_t& i, F&& f) {
    f(name, static_cast<double>(i));
}
template <typename F>
void walk(const Name& name, const util::Vector3<double>& v, F&& f) {
    f(name.of(".x"), v.x);
    f(name.of(".y"), v.y);
    f(name.of(".z"), v.z);
}
template <typename F>
void walk(const Name& name, const util::Quat<double>& q, F&& f) {
    f(name.of(".x"), q.x);
    f(name.of(".y"), q.y);
    f(name.of(".z"), q.z);
    f(name.of(".w"), q.w);
}
template <typename F>
void walk(const Name& name, const util::QTransform<double>& t, F&& f) {
    f(name.of(".position.x"), t.position.x);
    f(name.of(".position.y"), t.position.y);
    f(name.of(".position.z"), t.position.z);
    f(name.of(".rotation.x"), t.rotation.x);
    f(name.of(".rotation.y"), t.rotation.y);
    f(name.of(".rotation.z"), t.rotation.z);
    f(name.of(".rotation.w"), t.rotation.w);
}

}  // namespace fields

/// Calls f(name, value) for every number of the record; flags count as 0 and 1.
template <typename F>
void walkRecord(const ovs::addon::cCarCam& c, F&& f) {
#define FIELD(member) fields::walk({nullptr, 0, #member}, c.member, f)
    FIELD(dSimStep);
    FIELD(dGasPedalValue_prev);
    FIELD(pcInput_GAS_PEDAL_inp_prev);
    FIELD(bIsReverseVelAbsBraking);
    FIELD(dVelocity);
    FIELD(fSteeringAngle);
    FIELD(dLandingSkiddingFactor);
    FIELD(dBoosterStiffnessMult);
    FIELD(fCarLocalYawIncr);
    FIELD(vAcceleration);
    FIELD(vExternalForceDir);
    FIELD(vExternalForcePos);
    FIELD(dForceOffset);
    FIELD(vWantedPosIncr);
    FIELD(dWantedSkiddingValue);
    FIELD(dScaleRelMaxJumpVelocity);
    FIELD(dLandingNeutralizer);
    FIELD(dHorizontalRestoringFactor);
    FIELD(bBoosterOn);
    FIELD(vSkidBrakePosIncr);
    FIELD(dSkidBrakeLocalYawIncr);
    FIELD(vSkidBrakeInitVel);
    FIELD(vSkidBrakeInitRotVel);
    FIELD(bSkidBreakingOn);
    FIELD(bSkidBreakingOnDisableFeatures);
    FIELD(bSkidBrakeValueOn);
    FIELD(bSkidFirstTime);
    FIELD(bJustLanded);
    FIELD(bAllWheelsInAir);
    FIELD(bBurnoutIdle);
    FIELD(dSteeringResponseSaved);
    FIELD(dBurnoutRandom);
    FIELD(bAutonomousMode);
    FIELD(dSkiddingOffset);
    FIELD(dGravelShakeOffset);
    FIELD(dSkiddingReleaseThresh);
    FIELD(dInputFilterMem);
    FIELD(dGasPedalInputFilterMem);
    FIELD(bUseReverseAsAbsBrake);
    FIELD(randomValue_gravelShake);
    FIELD(randomValue_burnout);
    FIELD(randomValue_steeringNoise);
    FIELD(dGasPedalMaxRateOfChange);
    FIELD(bSkiddingOn);
    FIELD(bSkiddingReady);
    FIELD(iSkidBrakeVelSign);
    FIELD(iSkidBrakeSteerSign);
    FIELD(fSkidWantedGasPedalValue);
    FIELD(dSteeringInput_prev);
    FIELD(dGasPedalInput_prev);
    FIELD(dAutoSteeringValue);
    FIELD(dBaseStiffnessFront);
    FIELD(dBaseStiffnessBack);
    FIELD(dBaseDampingFront);
    FIELD(dBaseDampingBack);
    FIELD(fRelMaxBumperLen);
    FIELD(dMaximumForwardTiltAngle);
    FIELD(dMaximumSideTiltAngle);
    FIELD(bGravityOn);
    FIELD(bCarInTheAir);
    FIELD(bTakeOffArmed);
    FIELD(qTransCarAbsIncr);
    FIELD(qTransCarAbsIncr_prev);
    FIELD(qTransCarStart);
    FIELD(vGravityDir);
    FIELD(qGravity);
    FIELD(QGravityFilterMem);
    FIELD(fGravity);
    FIELD(dVelRelMaxSteeringChangeVel);
    FIELD(dBurnoutShake);
    FIELD(dBurnoutTiltForce);
    FIELD(dBurnoutFadeoutFactor);
    FIELD(dSpeedDependentTurnRadiusReductionFactor);
    FIELD(dSteeringNoise);
    FIELD(bStiffnessBoosted);
    FIELD(dSkidBrakeRotBrakeMult);
    FIELD(dWorldAvoidanceSphereRadius);
    FIELD(iRandomSeedAdder);
    FIELD(dSkidBrakeStopFactor);
    FIELD(dSkiddingReleaseResponseFactor);
    FIELD(dTurnBase);
    FIELD(fBodyRestHeight);
    FIELD(fBodyHeight);
    FIELD(fBodyWidth);
    FIELD(fBodyLength);
    FIELD(dSpringLimitMult);
    FIELD(fMassMult);
    FIELD(fStiffnessFront);
    FIELD(fDampingFront);
    FIELD(fStiffnessBack);
    FIELD(fDampingBack);
    FIELD(dSpringIntegralGain);
    FIELD(dGravelRoughness);
    FIELD(dWheelRadiusMult);
    FIELD(qTransCarAbs);
    FIELD(vWorldAcceleration);
    FIELD(vLocalAcceleration);
    FIELD(fFrontAxleZ);
    FIELD(dBrakeStartValue);
    FIELD(bBrakeArmed);
    FIELD(cCarBody.qTransRel);
    FIELD(cCarBody.qTransAbs);
    FIELD(cCarBody.fRelYPos);
    FIELD(cCarBody.fRelYVel);
    FIELD(cCarBody.fRelXAng);
    FIELD(cCarBody.fRelZAng);
    FIELD(cCarBody.fRelXAngVel);
    FIELD(cCarBody.fRelZAngVel);
#undef FIELD
    for (int i = 0; i < 9; ++i) {
#define FIELD(member) fields::walk({"pcInput", i, #member}, c.pcInput[i].member, f)
        FIELD(raw);
        FIELD(value);
        FIELD(response);
        FIELD(maximum);
#undef FIELD
    }
    for (int i = 0; i < 4; ++i) {
#define FIELD(member) fields::walk({"pcWheel", i, #member}, c.pcWheel[i].member, f)
        FIELD(dSuspDistanceMoved);
        FIELD(vGroundNormal);
        FIELD(vGroundHitPoint);
        FIELD(fSuspForce);
        FIELD(fSuspIntegral);
        FIELD(qTransWheelAbs);
        FIELD(qTransWheelAbs_prev);
        FIELD(qTransWheelRel);
        FIELD(vSuspPoint);
        FIELD(vSuspPoint_prev);
        FIELD(fSuspZeroDiff);
        FIELD(fSuspZeroDiff_prev);
        FIELD(qWheelFull);
        FIELD(pfTotalPitch);
        FIELD(pfPitchIncr);
        FIELD(pfYaw);
        FIELD(pfYaw_prev);
        FIELD(qWheelYaw);
        FIELD(fGravelOffset);
        FIELD(fGravelNoise);
        FIELD(dWheelGroundNormalDiff);
        FIELD(bInAir);
#undef FIELD
#define FIELD(member) fields::walk({"wheelGeom", i, #member}, c.wheelGeom[i].member, f)
        FIELD(radius);
        FIELD(z);
        FIELD(x);
#undef FIELD
    }
}

[[nodiscard]] inline std::vector<NamedNumber> numbersOf(const ovs::addon::cCarCam& car) {
    std::vector<NamedNumber> result;
    walkRecord(car, [&](const fields::Name& name, double value) { result.push_back({name.text(), value}); });
    return result;
}

[[nodiscard]] inline std::vector<double> valuesOf(const ovs::addon::cCarCam& car) {
    std::vector<double> result;
    result.reserve(600);
    walkRecord(car, [&](const fields::Name&, double value) { result.push_back(value); });
    return result;
}

/// Every number of `actual` lies within `bound` of `expected`, relative above 1 and absolute below. Spring forces have
/// a floor of 1000 instead of 1: they are differences of world places times stiffness, or damping over a sub-step.
[[nodiscard]] inline testing::AssertionResult sameRecord(const ovs::addon::cCarCam& actual,
                                                         const ovs::addon::cCarCam& expected, double bound) {
    const std::vector<double> other = valuesOf(expected);
    testing::AssertionResult result = testing::AssertionFailure();
    int wrong = 0;
    std::size_t i = 0;
    walkRecord(actual, [&](const fields::Name& name, double x) {
        const double y = other[i++];
        if (x == y || (std::isnan(x) && std::isnan(y))) return;
        const double floor = std::strcmp(name.member, "fSuspForce") == 0 ? 1000.0 : 1.0;
        if (std::abs(x - y) <= bound * std::fmax(floor, std::abs(y))) return;
        if (++wrong <= 8) result << "\n  " << name.text() << " is " << x << " instead of " << y;
    });
    return wrong == 0 ? testing::AssertionSuccess() : result << "\n  " << wrong << " numbers differ";
}

/// Names of the numbers that differ at all between the two records.
[[nodiscard]] inline std::vector<std::string> changedFields(const ovs::addon::cCarCam& before,
                                                            const ovs::addon::cCarCam& after) {
    const std::vector<double> other = valuesOf(before);
    std::vector<std::string> names;
    std::size_t i = 0;
    walkRecord(after, [&](const fields::Name& name, double value) {
        if (value != other[i++]) names.push_back(name.text());
    });
    return names;
}

}  // namespace ond::test
