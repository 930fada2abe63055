#include "state/Migration.h"

#include <algorithm>
#include <array>

#include "CCarCamObject.h"
#include "state/MigrationRepairs.h"

namespace ond::ovs::addon {

namespace {

using namespace migration;

/// Keys of a step in the order of reading; shorter lists end with empty ones.
using Keys = std::array<std::string_view, 10>;
using Action = bool (*)(const Load& load);

/// A field that an older block leaves at a fixed value. Null: none.
template <class Field, class Value>
struct Fixed {
    Field field = nullptr;
    Value value = {};
};

struct VersionStep {
    int from;                ///< the first block that has what this step reads
    int chunkVersion = 0;    ///< what CCarCamObject::iChunkVersion becomes for such a block; 0: stays
    Keys keys = {};          ///< read into the fields and histories of the same key
    Keys ownKeys = {};       ///< needed as well, but read by an action
    Action newer = nullptr;  ///< what is done behind that
    Action older = nullptr;  ///< what is done for a block from before the step, instead of all above
    Fixed<SavedNumber, double> olderNumber = {};  ///< what such a block leaves in a field
    Fixed<SavedFlag, bool> olderFlag = {};
};

// Small amends for older blocks.

template <auto member>
constexpr auto& own(CCarCamObject& v) {
    return v.*member;
}
template <auto member>
constexpr auto& car(CCarCamObject& v) {
    return v.cCarCam.*member;
}

constexpr double& steeringWheelMult(CCarCamObject& v) { return v.cSteeringWheelNode.dSteeringWheelRotMult; }

bool takeSpringsFromFront(const Load& load) {
    CCarCamObject& v = load.vehicle;
    v.cCarCam.fStiffnessBack = v.cCarCam.fStiffnessFront;
    v.cCarCam.fDampingBack = v.cCarCam.fDampingFront;
    v.cCarCam.bAutonomousMode = false;
    v.dFollowAccelerationMult = 0.5;
    v.dIgnoreSphereRadius = 0.2;
    return true;
}

bool enableAllAnimation(const Load& load) {
    load.vehicle.bDisableGroundNodesAnimation = false;
    load.vehicle.bDisableFollowCamAnimation = false;
    load.vehicle.bDisableGravityNodeAnimation = false;
    return true;
}

bool startAfterFirstFrame(const Load& load) {
    load.vehicle.dStartTime = load.vehicle.hostInterface->getFrameStep();
    return true;
}

/// Every step, oldest first. The order matters: later steps see what earlier ones have read.
constexpr auto kSteps = std::to_array<VersionStep>({
    {.from = 100, .chunkVersion = 101, .keys = {"sDataChunkSaveStruct"}},
    {.from = 100,
     .keys = {"ancCarCamcCarBodyfRelYPos", "ancCarCamcCarBodyfRelXAng", "ancCarCamcCarBodyfRelZAng",
              "anFollowCamFilterMem", "ancCarCampcInput_STEERING_WHEEL", "ancCarCampcInput_GAS_PEDAL",
              "ancCarCamqTransCarAbsIncr"},
     .newer = readSkidBrake},
    {.from = 100,
     .keys = {"ancCarCambSkidBreakingOn", "ancCarCampcInput_SKIDDING", "ancCarCambSkiddingOn",
              "ancCarCamfSkidWantedGasPedalValue"},
     .newer = takeFlagsAndChannels},
    {.from = 115, .older = shiftTurnBase},
    {.from = 100, .newer = takeDimensions},
    {.from = 104, .chunkVersion = 104, .keys = {"fRelMaxBumperLen", "fSurfaceEdgeResponseFactor", "cCarCambGravityOn"}},
    {.from = 106,
     .chunkVersion = 106,
     .keys = {"ancCarCamcCarBodyfRelYVel", "ancCarCamcCarBodyfRelXAngVel", "ancCarCamcCarBodyfRelZAngVel"}},
    // 106 once more: nothing tells it from 107.
    {.from = 107,
     .chunkVersion = 106,
     .keys = {"dScaleRelMaxJumpVelocity", "dHorizontalRestoringFactor", "dLandingNeutralizer", "iRayMultiplier"}},
    {.from = 108, .chunkVersion = 108, .keys = {"dVelRelMaxSteeringChangeVel"}},
    {.from = 109, .chunkVersion = 109, .keys = {"cCarCamdWantedSkiddingValue"}},
    {.from = 110, .chunkVersion = 110, .keys = {"dBurnoutShake", "dBurnoutTiltForce", "dMinGroundDistance"}},
    {.from = 112,
     .chunkVersion = 112,
     .keys = {"dSpeedDependentTurnRadiusReductionFactor", "ancCarCampcInput_BOOSTER"}},
    {.from = 113, .chunkVersion = 113, .keys = {"cCarCamfGravity"}},
    {.from = 115, .chunkVersion = 115, .keys = {"ancCarCampcInput_BURNOUT", "cCarCamdBurnoutFadeoutFactor"}},
    {.from = 116, .chunkVersion = 116, .keys = {"dLandingSkiddingFactor", "dBoosterStiffnessMult"}},
    {.from = 119, .newer = bindChassisRelocator, .older = makeChassisRelocator},
    {.from = 122,
     .keys = {"fStiffnessBack", "fDampingBack", "cCarCambAutonomousMode", "dFollowAccelerationMult",
              "dIgnoreSphereRadius", "cCarCamdSkiddingOffset", "cCarCamdSkiddingReleaseThresh",
              "cCarCamdGravelShakeOffset", "anvAcceleration", "cCarCamdInputFilterMem"},
     .older = takeSpringsFromFront},
    {.from = 123, .keys = {"cCarCamdGasPedalInputFilterMem"}},
    {.from = 124, .newer = bindTarget, .older = makeTarget},
    {.from = 125,
     .keys = {"dFollowAccRespFact", "dAutoSteeringValueRespFact", "andFollowAccMem", "andAutoSteeringValueMem"}},
    {.from = 126, .newer = bindRelocators},
    {.from = 127, .keys = {"cCarCamdForceOffset"}, .older = hideGravityDirection},
    {.from = 128, .keys = {"bSaveDynamicData"}, .olderFlag = {own<&CCarCamObject::bSaveDynamicData>, true}},
    {.from = 129,
     .keys = {"bDisableGroundNodesAnimation", "bDisableFollowCamAnimation", "bDisableGravityNodeAnimation"},
     .older = enableAllAnimation},
    {.from = 130, .keys = {"cCarCamdMaximumForwardTiltAngle", "cCarCamdMaximumSideTiltAngle"}},
    {.from = 131, .keys = {"dMaximumSpringChangeVelocityRel"}},
    {.from = 132, .newer = readFixateCenters},
    {.from = 134, .keys = {"ancCarCamfCarLocalYawIncr"}},
    {.from = 137, .keys = {"dDegsPerRay"}},
    // Unless the scene holds a rig from before.
    {.from = 139, .ownKeys = {"dVelocityConversionMult", "bAlignWheelCenterToGroundNormal", "dInitialVelocity"}},
    {.from = 100, .newer = bindWheels},
    {.from = 140, .keys = {"bAddRaysAtWheelEdges"}, .newer = readTurnBaseMatrix},
    {.from = 8108, .keys = {"dStartTime"}, .older = startAfterFirstFrame},
    {.from = 100, .ownKeys = {"wheelstore"}, .newer = readWheelStore},
    {.from = 8115, .newer = readGravityMemory},
    {.from = 100, .newer = bindOrMakeBaseMesh},
    // Key and amends are for two different fields.
    {.from = 8118,
     .keys = {"cCarCam.dSkidBrakeRotBrakeMult"},
     .olderNumber = {car<&cCarCam::dSkidBrakeStopFactor>, 0.5}},
    {.from = 8119, .keys = {"ancCarCambSkidBreakingOnDisableFeatures"}, .older = takeDisableFeaturesFromSkidBreaking},
    {.from = 8120, .keys = {"dReverseMaxVelMult"}, .olderNumber = {own<&CCarCamObject::dReverseMaxVelMult>, 0.5}},
    {.from = 8121, .keys = {"cCarCam.dSteeringNoise"}, .olderNumber = {car<&cCarCam::dSteeringNoise>, 0.0}},
    {.from = 8124, .keys = {"cSteeringWheelNode.dSteeringWheelRotMult"}, .olderNumber = {steeringWheelMult, 1.0}},
    {.from = 8125,
     .keys = {"cCarCam.bUseReverseAsAbsBrake"},
     .olderFlag = {car<&cCarCam::bUseReverseAsAbsBrake>, false}},
    {.from = 8126, .keys = {"ancCarCampcInput_GAS_PEDAL_inp_prev", "ancCarCambIsReverseVelAbsBraking"}},
    {.from = 8129, .keys = {"ancCarCamvSkidBrakePosIncr", "ancCarCamdSkidBrakeLocalYawIncr"}},
    {.from = 8130, .keys = {"ancCarCambSkidFirstTime"}, .older = takeFirstTimeFromSkidBreaking},
    {.from = 8133,
     .keys = {"bMoveWheelCenterNodeToGroundHitPoint"},
     .olderFlag = {own<&CCarCamObject::bMoveWheelCenterNodeToGroundHitPoint>, false}},
    // Whatever the block itself says of it.
    {.from = 8135, .olderNumber = {own<&CCarCamObject::fSurfaceEdgeResponseFactor>, 99.0}},
    {.from = 8140, .keys = {"bUseStaticMesh"}, .olderFlag = {own<&CCarCamObject::bUseStaticMesh>, false}},
    {.from = 8143, .ownKeys = {"bStoreGroundMeshData"}, .newer = readGroundMesh, .older = forgetGroundMesh},
    {.from = 8136,
     .keys = {"cCarCam.dGasPedalMaxRateOfChange"},
     .olderNumber = {car<&cCarCam::dGasPedalMaxRateOfChange>, 99999.0}},
    {.from = 8137,
     .keys = {"ancCarCamrandomValue_gravelShake", "ancCarCamrandomValue_burnout",
              "ancCarCamrandomValue_steeringNoise"}},
    {.from = 8138, .newer = bindCenterSuspensions, .older = migration::makeCenterSuspensions},
    {.from = 8139, .keys = {"cSteeringWheelNode.mInit_loc"}, .older = measureSteeringWheel},
    {.from = 8145, .keys = {"cCarCam.dWorldAvoidanceSphereRadius"}},
    {.from = 8148, .keys = {"cCarCam.dWheelRadiusMult"}, .olderNumber = {car<&cCarCam::dWheelRadiusMult>, 1.0}},
    {.from = 100, .newer = rescaleTurnBase},
});

bool readKeys(const Load& load, const Keys& keys) {
    for (const std::string_view key : keys)
        if (!key.empty() && !load.read(key)) return false;
    return true;
}

bool run(const VersionStep& step, const Load& load) {
    if (!load.atLeast(step.from)) {
        if (step.olderNumber.field != nullptr) step.olderNumber.field(load.vehicle) = step.olderNumber.value;
        if (step.olderFlag.field != nullptr) step.olderFlag.field(load.vehicle) = step.olderFlag.value;
        return step.older == nullptr || step.older(load);
    }
    if (step.chunkVersion != 0) load.vehicle.iChunkVersion = step.chunkVersion;
    return readKeys(load, step.keys) && (step.newer == nullptr || step.newer(load));
}

}  // namespace

bool runVersionSteps(const Load& load) {
    for (const VersionStep& step : kSteps)
        if (!run(step, load)) return false;
    return true;
}

SavedRows neededRows(const std::string& rootName) {
    SavedRows rows;
    for (const VersionStep& step : kSteps) {
        if (!isAtLeast(rootName, step.from)) continue;
        for (const Keys& keys : {step.keys, step.ownKeys})
            for (const std::string_view key : keys)
                if (!key.empty()) rows.set(savedRowNumber(key) - 1);
    }
    return rows;
}

}  // namespace ond::ovs::addon
