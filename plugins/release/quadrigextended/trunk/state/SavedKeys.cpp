#include "state/SavedKeys.h"

#include <algorithm>

#include "CCarCamObject.h"
#include "state/SavedRecordFields.h"

namespace ond::ovs::addon {

namespace {

using Vehicle = CCarCamObject;

template <auto member>
constexpr auto& own(Vehicle& v) {
    return v.*member;
}
template <auto member>
constexpr auto& car(Vehicle& v) {
    return v.cCarCam.*member;
}
template <auto member>
constexpr auto& steeringWheel(Vehicle& v) {
    return v.cSteeringWheelNode.*member;
}

constexpr SavedNumber number(SavedNumber field) { return field; }
constexpr SavedFlag flag(SavedFlag field) { return field; }
constexpr SavedWhole whole(SavedWhole field) { return field; }
constexpr SavedMatrix matrix(SavedMatrix field) { return field; }

constexpr bool kOnlyWithGround = true;
constexpr std::size_t kMatrixSize = 128;

}  // namespace

constexpr std::array<SavedRow, 93> kSavedRows = {{
    {"sDataChunkSaveStruct", RecordLeaf{}},
    {"fRelMaxBumperLen", number(car<&cCarCam::fRelMaxBumperLen>)},
    {"fSurfaceEdgeResponseFactor", number(own<&Vehicle::fSurfaceEdgeResponseFactor>)},
    {"cCarCambGravityOn", flag(car<&cCarCam::bGravityOn>)},
    {"dScaleRelMaxJumpVelocity", number(car<&cCarCam::dScaleRelMaxJumpVelocity>)},
    {"dHorizontalRestoringFactor", number(car<&cCarCam::dHorizontalRestoringFactor>)},
    {"dLandingNeutralizer", number(car<&cCarCam::dLandingNeutralizer>)},
    {"iRayMultiplier", whole(own<&Vehicle::iRayMultiplier>)},
    {"ancCarCamcCarBodyfRelYPos", HistoryLeaf{}},
    {"ancCarCamcCarBodyfRelXAng", HistoryLeaf{}},
    {"ancCarCamcCarBodyfRelZAng", HistoryLeaf{}},
    {"ancCarCamcCarBodyfRelYVel", HistoryLeaf{}},
    {"ancCarCamcCarBodyfRelXAngVel", HistoryLeaf{}},
    {"ancCarCamcCarBodyfRelZAngVel", HistoryLeaf{}},
    {"anFollowCamFilterMem", HistoryLeaf{}},
    {"ancCarCampcInput_STEERING_WHEEL", HistoryLeaf{}},
    {"ancCarCampcInput_GAS_PEDAL", HistoryLeaf{}},
    {"wheelstore", WheelStoreLeaf{}},
    {"ancCarCamqTransCarAbsIncr", HistoryLeaf{}},
    {"ancCarCampcInput_SKID_BRAKE", HistoryLeaf{}},
    {"ancCarCambSkidBreakingOn", HistoryLeaf{}},
    {"ancCarCampcInput_SKIDDING", HistoryLeaf{}},
    {"ancCarCambSkiddingOn", HistoryLeaf{}},
    {"ancCarCamfSkidWantedGasPedalValue", HistoryLeaf{}},
    {"anQGravityFilterMem", HistoryLeaf{}},
    {"anbCarInTheAir", HistoryLeaf{}},
    {"dVelRelMaxSteeringChangeVel", number(car<&cCarCam::dVelRelMaxSteeringChangeVel>)},
    {"cCarCamdWantedSkiddingValue", HistoryLeaf{}},
    {"dBurnoutShake", number(car<&cCarCam::dBurnoutShake>)},
    {"dBurnoutTiltForce", number(car<&cCarCam::dBurnoutTiltForce>)},
    {"dMinGroundDistance", number(own<&Vehicle::dMinGroundDistance>)},
    {"dSpeedDependentTurnRadiusReductionFactor", number(car<&cCarCam::dSpeedDependentTurnRadiusReductionFactor>)},
    {"ancCarCampcInput_BOOSTER", HistoryLeaf{}},
    {"cCarCamfGravity", number(car<&cCarCam::fGravity>)},
    {"ancCarCampcInput_BURNOUT", HistoryLeaf{}},
    {"cCarCamdBurnoutFadeoutFactor", number(car<&cCarCam::dBurnoutFadeoutFactor>)},
    {"dLandingSkiddingFactor", number(car<&cCarCam::dLandingSkiddingFactor>)},
    {"dBoosterStiffnessMult", number(car<&cCarCam::dBoosterStiffnessMult>)},
    {"fStiffnessBack", number(car<&cCarCam::fStiffnessBack>)},
    {"fDampingBack", number(car<&cCarCam::fDampingBack>)},
    {"cCarCambAutonomousMode", flag(car<&cCarCam::bAutonomousMode>)},
    {"dFollowAccelerationMult", number(own<&Vehicle::dFollowAccelerationMult>)},
    {"dIgnoreSphereRadius", number(own<&Vehicle::dIgnoreSphereRadius>)},
    {"cCarCamdSkiddingOffset", number(car<&cCarCam::dSkiddingOffset>)},
    {"cCarCamdSkiddingReleaseThresh", number(car<&cCarCam::dSkiddingReleaseThresh>)},
    {"cCarCamdGravelShakeOffset", number(car<&cCarCam::dGravelShakeOffset>)},
    {"anvAcceleration", HistoryLeaf{}},
    {"cCarCamdInputFilterMem", HistoryLeaf{}},
    {"cCarCamdGasPedalInputFilterMem", HistoryLeaf{}},
    {"dFollowAccRespFact", number(own<&Vehicle::dFollowAccRespFact>)},
    {"dAutoSteeringValueRespFact", number(own<&Vehicle::dAutoSteeringValueRespFact>)},
    {"andFollowAccMem", HistoryLeaf{}},
    {"andAutoSteeringValueMem", HistoryLeaf{}},
    {"cCarCamdForceOffset", number(car<&cCarCam::dForceOffset>)},
    {"bSaveDynamicData", flag(own<&Vehicle::bSaveDynamicData>)},
    {"bDisableGroundNodesAnimation", flag(own<&Vehicle::bDisableGroundNodesAnimation>)},
    {"bDisableFollowCamAnimation", flag(own<&Vehicle::bDisableFollowCamAnimation>)},
    {"bDisableGravityNodeAnimation", flag(own<&Vehicle::bDisableGravityNodeAnimation>)},
    {"cCarCamdMaximumForwardTiltAngle", number(car<&cCarCam::dMaximumForwardTiltAngle>)},
    {"cCarCamdMaximumSideTiltAngle", number(car<&cCarCam::dMaximumSideTiltAngle>)},
    {"dMaximumSpringChangeVelocityRel", number(own<&Vehicle::dMaximumSpringChangeVelocityRel>)},
    {"bFixateWheelBottomNodes", flag(own<&Vehicle::bFixateWheelCenterNodes>)},
    {"ancCarCamfCarLocalYawIncr", HistoryLeaf{}},
    {"dDegsPerRay", number(own<&Vehicle::dDegsPerRay>)},
    {"dVelocityConversionMult", number(own<&Vehicle::dVelocityConversionMult>)},
    {"bAlignWheelCenterToGroundNormal", flag(own<&Vehicle::bAlignWheelCenterToGroundNormal>)},
    {"dInitialVelocity", number(own<&Vehicle::dInitialVelocity>)},
    {"bAddRaysAtWheelEdges", flag(own<&Vehicle::bAddRaysAtWheelEdges>)},
    {"dStartTime", number(own<&Vehicle::dStartTime>)},
    {"bKeyframeOnlyEssential", flag(own<&Vehicle::bKeyframeOnlyEssential>)},
    {"cCarCam.dSkidBrakeRotBrakeMult", number(car<&cCarCam::dSkidBrakeRotBrakeMult>)},
    {"ancCarCambSkidBreakingOnDisableFeatures", HistoryLeaf{}},
    {"dReverseMaxVelMult", number(own<&Vehicle::dReverseMaxVelMult>)},
    {"cCarCam.dSteeringNoise", number(car<&cCarCam::dSteeringNoise>)},
    {"cSteeringWheelNode.dSteeringWheelRotMult",
     number(steeringWheel<&rig::CSteeringWheelNode::dSteeringWheelRotMult>)},
    {"cCarCam.bUseReverseAsAbsBrake", flag(car<&cCarCam::bUseReverseAsAbsBrake>)},
    {"ancCarCampcInput_GAS_PEDAL_inp_prev", HistoryLeaf{}},
    {"ancCarCambIsReverseVelAbsBraking", HistoryLeaf{}},
    {"ancCarCamvSkidBrakePosIncr", HistoryLeaf{}},
    {"ancCarCamdSkidBrakeLocalYawIncr", HistoryLeaf{}},
    {"ancCarCambSkidFirstTime", HistoryLeaf{}},
    {"bMoveWheelCenterNodeToGroundHitPoint", flag(own<&Vehicle::bMoveWheelCenterNodeToGroundHitPoint>)},
    {"cCarCam.dGasPedalMaxRateOfChange", number(car<&cCarCam::dGasPedalMaxRateOfChange>)},
    {"ancCarCamrandomValue_gravelShake", HistoryLeaf{}},
    {"ancCarCamrandomValue_burnout", HistoryLeaf{}},
    {"ancCarCamrandomValue_steeringNoise", HistoryLeaf{}},
    {"cSteeringWheelNode.mInit_loc", matrix(steeringWheel<&rig::CSteeringWheelNode::mInit_loc>)},
    {"bUseStaticMesh", flag(own<&Vehicle::bUseStaticMesh>)},
    {"cMesh_storedGroundMesh", GroundTextLeaf{}, kOnlyWithGround},
    {"mBulletGroundMesh", matrix(own<&Vehicle::mBulletGroundMesh>), kOnlyWithGround},
    {"bStoreGroundMeshData", flag(own<&Vehicle::bStoreGroundMeshData>)},
    {"cCarCam.dWorldAvoidanceSphereRadius", number(car<&cCarCam::dWorldAvoidanceSphereRadius>)},
    {"cCarCam.dWheelRadiusMult", number(car<&cCarCam::dWheelRadiusMult>)},
}};

const SavedRow* findSavedRow(std::string_view key) {
    const auto* found =
        std::find_if(kSavedRows.begin(), kSavedRows.end(), [key](const SavedRow& row) { return row.key == key; });
    return found == kSavedRows.end() ? nullptr : found;
}

std::size_t savedRowNumber(std::string_view key) {
    const SavedRow* row = findSavedRow(key);
    return row == nullptr ? 0 : static_cast<std::size_t>(row - kSavedRows.data()) + 1;
}

AVar_Linear<double>& wheelStoreVariable(CCarCamObject& vehicle, int corner, std::size_t index) {
    const AnimatedRow& row = *findAnimatedRow(kWheelStoreKeys[index]);
    return (vehicle.*std::get<CornerBinding>(row.binding).variables)[static_cast<std::size_t>(corner)];
}

namespace {

template <class V>
constexpr std::size_t keySizeOf(V Vehicle::* /*variable*/) {
    return V::kKeySize;
}

std::size_t keySizeOfHistory(std::string_view key) {
    const AnimatedRow* row = findAnimatedRow(key);
    if (row == nullptr) return AVar_Linear<double>::kKeySize;
    return std::visit(
        [](const auto& binding) {
            if constexpr (std::is_same_v<std::decay_t<decltype(binding)>, CornerBinding>)
                return AVar_Linear<double>::kKeySize;
            else
                return keySizeOf(binding.variable);
        },
        row->binding);
}

struct ShapeOfBinding {
    using Kind = LeafShape::Kind;
    std::string_view key;

    LeafShape operator()(RecordLeaf /*record*/) const { return {Kind::fixed, kRecordSize}; }
    LeafShape operator()(HistoryLeaf /*history*/) const { return {Kind::history, keySizeOfHistory(key)}; }
    LeafShape operator()(WheelStoreLeaf /*store*/) const { return {Kind::branch, kNumWheels * kWheelStoreKeys.size()}; }
    LeafShape operator()(GroundTextLeaf /*text*/) const { return {Kind::text, 0}; }
    LeafShape operator()(SavedNumber /*field*/) const { return {Kind::fixed, 8}; }
    LeafShape operator()(SavedFlag /*field*/) const { return {Kind::fixed, 1}; }
    LeafShape operator()(SavedWhole /*field*/) const { return {Kind::fixed, 4}; }
    LeafShape operator()(SavedMatrix /*field*/) const { return {Kind::fixed, kMatrixSize}; }
};

}  // namespace

std::optional<LeafShape> shapeOf(std::string_view key) {
    if (const SavedRow* row = findSavedRow(key)) return std::visit(ShapeOfBinding{key}, row->binding);
    if (key == kOldSkidBrakeKey) return LeafShape{LeafShape::Kind::history, AVar_Linear<double>::kKeySize};
    if (key == kOldFixateCentersKey) return LeafShape{LeafShape::Kind::fixed, 1};
    if (key == kOldWheelStoreKey) return LeafShape{LeafShape::Kind::branch, kNumWheels * kWheelStoreKeys.size()};
    return std::nullopt;
}

}  // namespace ond::ovs::addon
