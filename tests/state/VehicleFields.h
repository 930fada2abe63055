// Fields and histories of a vehicle by the names that test data use for them. A list of its own: it shares nothing with
// the tables of the module.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "CCarCamObject.h"

namespace ond::test {

// The name is the very expression behind the vehicle.
#define QUADRIG_FIELD(path) \
    { #path, &v.path }

inline std::map<std::string, double*> numberFields(ovs::addon::CCarCamObject& v) {
    return {
        QUADRIG_FIELD(cCarCam.fRelMaxBumperLen),
        QUADRIG_FIELD(fSurfaceEdgeResponseFactor),
        QUADRIG_FIELD(cCarCam.dScaleRelMaxJumpVelocity),
        QUADRIG_FIELD(cCarCam.dHorizontalRestoringFactor),
        QUADRIG_FIELD(cCarCam.dLandingNeutralizer),
        QUADRIG_FIELD(cCarCam.dVelRelMaxSteeringChangeVel),
        QUADRIG_FIELD(cCarCam.dBurnoutShake),
        QUADRIG_FIELD(cCarCam.dBurnoutTiltForce),
        QUADRIG_FIELD(dMinGroundDistance),
        QUADRIG_FIELD(cCarCam.dSpeedDependentTurnRadiusReductionFactor),
        QUADRIG_FIELD(cCarCam.fGravity),
        QUADRIG_FIELD(cCarCam.dBurnoutFadeoutFactor),
        QUADRIG_FIELD(cCarCam.dLandingSkiddingFactor),
        QUADRIG_FIELD(cCarCam.dBoosterStiffnessMult),
        QUADRIG_FIELD(cCarCam.fStiffnessBack),
        QUADRIG_FIELD(cCarCam.fDampingBack),
        QUADRIG_FIELD(dFollowAccelerationMult),
        QUADRIG_FIELD(dIgnoreSphereRadius),
        QUADRIG_FIELD(cCarCam.dSkiddingOffset),
        QUADRIG_FIELD(cCarCam.dSkiddingReleaseThresh),
        QUADRIG_FIELD(cCarCam.dGravelShakeOffset),
        QUADRIG_FIELD(dFollowAccRespFact),
        QUADRIG_FIELD(dAutoSteeringValueRespFact),
        QUADRIG_FIELD(cCarCam.dForceOffset),
        QUADRIG_FIELD(cCarCam.dMaximumForwardTiltAngle),
        QUADRIG_FIELD(cCarCam.dMaximumSideTiltAngle),
        QUADRIG_FIELD(dMaximumSpringChangeVelocityRel),
        QUADRIG_FIELD(dDegsPerRay),
        QUADRIG_FIELD(dVelocityConversionMult),
        QUADRIG_FIELD(dInitialVelocity),
        QUADRIG_FIELD(dStartTime),
        QUADRIG_FIELD(cCarCam.dSkidBrakeRotBrakeMult),
        QUADRIG_FIELD(dReverseMaxVelMult),
        QUADRIG_FIELD(cCarCam.dSteeringNoise),
        QUADRIG_FIELD(cSteeringWheelNode.dSteeringWheelRotMult),
        QUADRIG_FIELD(cCarCam.dGasPedalMaxRateOfChange),
        QUADRIG_FIELD(cCarCam.dWorldAvoidanceSphereRadius),
        QUADRIG_FIELD(cCarCam.dWheelRadiusMult),
        QUADRIG_FIELD(cCarCam.dSkidBrakeStopFactor),
        QUADRIG_FIELD(cCarCam.dSkiddingReleaseResponseFactor),
        QUADRIG_FIELD(cCarCam.dTurnBase),
        QUADRIG_FIELD(cCarCam.dTurnBaseSpare),
        QUADRIG_FIELD(cCarCam.fBodyRestHeight),
        QUADRIG_FIELD(cCarCam.fBodyHeight),
        QUADRIG_FIELD(cCarCam.fBodyWidth),
        QUADRIG_FIELD(cCarCam.fBodyLength),
        QUADRIG_FIELD(cCarCam.dSpringLimitMult),
        QUADRIG_FIELD(cCarCam.dSpringLimitSpare),
        QUADRIG_FIELD(cCarCam.fMassMult),
        QUADRIG_FIELD(cCarCam.fStiffnessFront),
        QUADRIG_FIELD(cCarCam.fDampingFront),
        QUADRIG_FIELD(cCarCam.dSpringIntegralGain),
        QUADRIG_FIELD(cCarCam.dGravelRoughness),
        QUADRIG_FIELD(cCarCam.pcInput[0].response),
        QUADRIG_FIELD(cCarCam.pcInput[0].maximum),
        QUADRIG_FIELD(cCarCam.pcInput[1].response),
        QUADRIG_FIELD(cCarCam.pcInput[1].maximum),
        QUADRIG_FIELD(cCarCam.pcInput[2].response),
        QUADRIG_FIELD(cCarCam.pcInput[2].maximum),
        QUADRIG_FIELD(cCarCam.pcInput[3].response),
        QUADRIG_FIELD(cCarCam.pcInput[3].maximum),
        QUADRIG_FIELD(cCarCam.pcInput[4].response),
        QUADRIG_FIELD(cCarCam.pcInput[4].maximum),
        QUADRIG_FIELD(cCarCam.pcInput[5].response),
        QUADRIG_FIELD(cCarCam.pcInput[5].maximum),
        QUADRIG_FIELD(cCarCam.pcInput[6].response),
        QUADRIG_FIELD(cCarCam.pcInput[6].maximum),
        QUADRIG_FIELD(cCarCam.pcInput[7].response),
        QUADRIG_FIELD(cCarCam.pcInput[7].maximum),
        QUADRIG_FIELD(cCarCam.pcInput[8].response),
        QUADRIG_FIELD(cCarCam.pcInput[8].maximum),
        QUADRIG_FIELD(cCarCam.wheelGeom[0].radius),
        QUADRIG_FIELD(cCarCam.wheelGeom[0].z),
        QUADRIG_FIELD(cCarCam.wheelGeom[0].x),
        QUADRIG_FIELD(cCarCam.pcWheel[0].dWheelGroundNormalDiff),
        QUADRIG_FIELD(cCarCam.wheelGeom[1].radius),
        QUADRIG_FIELD(cCarCam.wheelGeom[1].z),
        QUADRIG_FIELD(cCarCam.wheelGeom[1].x),
        QUADRIG_FIELD(cCarCam.pcWheel[1].dWheelGroundNormalDiff),
        QUADRIG_FIELD(cCarCam.wheelGeom[2].radius),
        QUADRIG_FIELD(cCarCam.wheelGeom[2].z),
        QUADRIG_FIELD(cCarCam.wheelGeom[2].x),
        QUADRIG_FIELD(cCarCam.pcWheel[2].dWheelGroundNormalDiff),
        QUADRIG_FIELD(cCarCam.wheelGeom[3].radius),
        QUADRIG_FIELD(cCarCam.wheelGeom[3].z),
        QUADRIG_FIELD(cCarCam.wheelGeom[3].x),
        QUADRIG_FIELD(cCarCam.pcWheel[3].dWheelGroundNormalDiff),
        QUADRIG_FIELD(dMaxVelocityGauge),
        QUADRIG_FIELD(dCurrentVelocity),
        QUADRIG_FIELD(dCurrentVelocityPercent),
        QUADRIG_FIELD(dAccelerationGauge100),
        QUADRIG_FIELD(dAccelerationGauge60),
    };
}

inline std::map<std::string, bool*> flagFields(ovs::addon::CCarCamObject& v) {
    return {
        QUADRIG_FIELD(cCarCam.bGravityOn),
        QUADRIG_FIELD(cCarCam.bAutonomousMode),
        QUADRIG_FIELD(bSaveDynamicData),
        QUADRIG_FIELD(bDisableGroundNodesAnimation),
        QUADRIG_FIELD(bDisableFollowCamAnimation),
        QUADRIG_FIELD(bDisableGravityNodeAnimation),
        QUADRIG_FIELD(bFixateWheelCenterNodes),
        QUADRIG_FIELD(bAlignWheelCenterToGroundNormal),
        QUADRIG_FIELD(bAddRaysAtWheelEdges),
        QUADRIG_FIELD(bKeyframeOnlyEssential),
        QUADRIG_FIELD(cCarCam.bUseReverseAsAbsBrake),
        QUADRIG_FIELD(bMoveWheelCenterNodeToGroundHitPoint),
        QUADRIG_FIELD(bUseStaticMesh),
        QUADRIG_FIELD(bStoreGroundMeshData),
        QUADRIG_FIELD(bFreshStart),
        QUADRIG_FIELD(bHideHelpersDuringRecording),
        QUADRIG_FIELD(bHideHelpers),
        QUADRIG_FIELD(bHideTopViewCamera),
        QUADRIG_FIELD(bHideDriverCamera),
        QUADRIG_FIELD(bHideFollowCamera),
        QUADRIG_FIELD(bSpareFlag),
        QUADRIG_FIELD(bWireframeMode),
    };
}

inline std::map<std::string, std::int32_t*> wholeFields(ovs::addon::CCarCamObject& v) {
    return {
        QUADRIG_FIELD(iRayMultiplier),
        QUADRIG_FIELD(iChunkVersion),
        QUADRIG_FIELD(cCarCam.iRandomSeedAdder),
    };
}

inline std::map<std::string, util::Matrix4*> matrixFields(ovs::addon::CCarCamObject& v) {
    return {
        QUADRIG_FIELD(cSteeringWheelNode.mInit_loc),
        QUADRIG_FIELD(mBulletGroundMesh),
    };
}

/// Calls `visit(name, variable)` for every history of a vehicle; those of corners are named NAME[CORNER].
template <class Visit>
void forEachHistory(ovs::addon::CCarCamObject& v, Visit visit) {
#define QUADRIG_HISTORY(name) visit(std::string(#name), v.name)
    QUADRIG_HISTORY(ancCarCamcCarBodyfRelYPos);
    QUADRIG_HISTORY(ancCarCamcCarBodyfRelXAng);
    QUADRIG_HISTORY(ancCarCamcCarBodyfRelZAng);
    QUADRIG_HISTORY(ancCarCamcCarBodyfRelYVel);
    QUADRIG_HISTORY(ancCarCamcCarBodyfRelXAngVel);
    QUADRIG_HISTORY(ancCarCamcCarBodyfRelZAngVel);
    QUADRIG_HISTORY(anFollowCamFilterMem);
    QUADRIG_HISTORY(ancCarCampcInput_STEERING_WHEEL);
    QUADRIG_HISTORY(ancCarCampcInput_GAS_PEDAL);
    QUADRIG_HISTORY(ancCarCamqTransCarAbsIncr);
    QUADRIG_HISTORY(ancCarCampcInput_SKID_BRAKE);
    QUADRIG_HISTORY(ancCarCambSkidBreakingOn);
    QUADRIG_HISTORY(ancCarCampcInput_SKIDDING);
    QUADRIG_HISTORY(ancCarCambSkiddingOn);
    QUADRIG_HISTORY(ancCarCamfSkidWantedGasPedalValue);
    QUADRIG_HISTORY(anQGravityFilterMem);
    QUADRIG_HISTORY(anbCarInTheAir);
    QUADRIG_HISTORY(cCarCamdWantedSkiddingValue);
    QUADRIG_HISTORY(ancCarCampcInput_BOOSTER);
    QUADRIG_HISTORY(ancCarCampcInput_BURNOUT);
    QUADRIG_HISTORY(anvAcceleration);
    QUADRIG_HISTORY(cCarCamdInputFilterMem);
    QUADRIG_HISTORY(cCarCamdGasPedalInputFilterMem);
    QUADRIG_HISTORY(andFollowAccMem);
    QUADRIG_HISTORY(andAutoSteeringValueMem);
    QUADRIG_HISTORY(ancCarCamfCarLocalYawIncr);
    QUADRIG_HISTORY(ancCarCambSkidBreakingOnDisableFeatures);
    QUADRIG_HISTORY(ancCarCampcInput_GAS_PEDAL_inp_prev);
    QUADRIG_HISTORY(ancCarCambIsReverseVelAbsBraking);
    QUADRIG_HISTORY(ancCarCamvSkidBrakePosIncr);
    QUADRIG_HISTORY(ancCarCamdSkidBrakeLocalYawIncr);
    QUADRIG_HISTORY(ancCarCambSkidFirstTime);
    QUADRIG_HISTORY(ancCarCamrandomValue_gravelShake);
    QUADRIG_HISTORY(ancCarCamrandomValue_burnout);
    QUADRIG_HISTORY(ancCarCamrandomValue_steeringNoise);
    for (std::size_t corner = 0; corner < 4; ++corner) {
#define QUADRIG_CORNER(name) visit(std::string(#name "[") + std::to_string(corner) + "]", v.name[corner])
        QUADRIG_CORNER(ancCarCampcWheelfSuspZeroDiff);
        QUADRIG_CORNER(ancCarCampcWheelfSuspZeroDiff_prev);
        QUADRIG_CORNER(ancCarCampcWheelpfTotalPitch);
        QUADRIG_CORNER(ancWheelNodeCurrDelta);
        QUADRIG_CORNER(ancWheelNodeCurrDeltaW);
        QUADRIG_CORNER(andWheelGroundNormalDiff);
#undef QUADRIG_CORNER
    }
#undef QUADRIG_HISTORY
}

#undef QUADRIG_FIELD

}  // namespace ond::test
