// What the golden runs name of a vehicle: fields that a scene sets or compares, and histories.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "CCarCamObject.h"
#include "CarRecordFields.h"

namespace golden {

using ond::ovs::addon::CCarCamObject;

/// Throws std::runtime_error for a name that is not told here.
inline FieldPointer vehicleField(CCarCamObject& v, const std::string& name) {
#define ANSWER(field) \
    if (name == #field) return &v.field
    ANSWER(dCurrentVelocity);
    ANSWER(dCurrentVelocityPercent);
    ANSWER(dMaxVelocityGauge);
    ANSWER(dAccelerationGauge100);
    ANSWER(dAccelerationGauge60);
    ANSWER(dStartTime);
    ANSWER(bFreshStart);
    ANSWER(bUseStaticMesh);
    ANSWER(bStoreGroundMeshData);
    ANSWER(dFollowAccMem);
    ANSWER(dAutoSteeringValueMem);
    ANSWER(dFollowAccRespFact);
    ANSWER(iRayMultiplier);
    ANSWER(dDegsPerRay);
    ANSWER(bAddRaysAtWheelEdges);
    ANSWER(bAlignWheelCenterToGroundNormal);
    ANSWER(bMoveWheelCenterNodeToGroundHitPoint);
    ANSWER(bFixateWheelCenterNodes);
    ANSWER(cSteeringWheelNode.dSteeringWheelRotMult);
    ANSWER(dMaximumSpringChangeVelocityRel);
    ANSWER(bKeyframeOnlyEssential);
    ANSWER(bSaveDynamicData);
    ANSWER(dInitialVelocity);
#undef ANSWER
    throw std::runtime_error("no vehicle field '" + name + "'");
}

inline void appendParts(std::vector<double>& out, double x) { out.push_back(x); }
inline void appendParts(std::vector<double>& out, bool x) { out.push_back(x ? 1.0 : 0.0); }
inline void appendParts(std::vector<double>& out, int x) { out.push_back(x); }
inline void appendParts(std::vector<double>& out, const ond::util::Vector3<double>& v) {
    out.insert(out.end(), {v.x, v.y, v.z});
}
inline void appendParts(std::vector<double>& out, const ond::util::Quat<double>& q) {
    out.insert(out.end(), {q.x, q.y, q.z, q.w});
}
inline void appendParts(std::vector<double>& out, const ond::util::QTransform<double>& t) {
    appendParts(out, t.position);
    appendParts(out, t.rotation);
}

/// Number of keys, first and last time, parts of the last value; empty for a history without keys.
template <typename Variable>
std::vector<double> summaryOf(const Variable& variable) {
    std::vector<double> out;
    const int n = variable.getNumKeys();
    if (n == 0) return out;
    out = {static_cast<double>(n), variable.getKeyTime(0), variable.getKeyTime(n - 1)};
    appendParts(out, variable.valueAt(variable.getKeyTime(n - 1)));
    return out;
}

/// Calls visit(name, summary) for each history, visit(name, corner, summary) for each one of a corner.
template <typename Visit, typename VisitCorner>
void forEachHistory(CCarCamObject& v, Visit&& visit, VisitCorner&& visitCorner) {
#define ONE(member) visit(#member, summaryOf(v.member))
#define FOUR(member) \
    for (std::size_t i = 0; i < 4; ++i) visitCorner(#member, i, summaryOf(v.member[i]))
    ONE(ancCarCamcCarBodyfRelYPos);
    ONE(ancCarCamcCarBodyfRelXAng);
    ONE(ancCarCamcCarBodyfRelZAng);
    ONE(ancCarCamcCarBodyfRelYVel);
    ONE(ancCarCamcCarBodyfRelXAngVel);
    ONE(ancCarCamcCarBodyfRelZAngVel);
    ONE(anFollowCamFilterMem);
    ONE(anvAcceleration);
    ONE(ancCarCamvSkidBrakePosIncr);
    ONE(ancCarCamdSkidBrakeLocalYawIncr);
    ONE(ancCarCampcInput_STEERING_WHEEL);
    ONE(ancCarCampcInput_GAS_PEDAL);
    ONE(ancCarCampcInput_GAS_PEDAL_inp_prev);
    ONE(ancCarCambIsReverseVelAbsBraking);
    ONE(ancCarCampcInput_BOOSTER);
    FOUR(ancCarCampcWheelfSuspZeroDiff);
    FOUR(ancCarCampcWheelfSuspZeroDiff_prev);
    FOUR(ancCarCampcWheelpfTotalPitch);
    FOUR(ancWheelNodeCurrDelta);
    FOUR(ancWheelNodeCurrDeltaW);
    FOUR(andWheelGroundNormalDiff);
    ONE(ancCarCamqTransCarAbsIncr);
    ONE(ancCarCampcInput_SKID_BRAKE);
    ONE(ancCarCambSkidBreakingOn);
    ONE(ancCarCambSkidBreakingOnDisableFeatures);
    ONE(ancCarCambSkidFirstTime);
    ONE(ancCarCampcInput_SKIDDING);
    ONE(ancCarCampcInput_BURNOUT);
    ONE(ancCarCambSkiddingOn);
    ONE(ancCarCamfSkidWantedGasPedalValue);
    ONE(cCarCamdWantedSkiddingValue);
    ONE(cCarCamdInputFilterMem);
    ONE(cCarCamdGasPedalInputFilterMem);
    ONE(andFollowAccMem);
    ONE(andAutoSteeringValueMem);
    ONE(ancCarCamfCarLocalYawIncr);
    ONE(anQGravityFilterMem);
    ONE(anbCarInTheAir);
    ONE(ancCarCamrandomValue_gravelShake);
    ONE(ancCarCamrandomValue_burnout);
    ONE(ancCarCamrandomValue_steeringNoise);
#undef ONE
#undef FOUR
}

}  // namespace golden
