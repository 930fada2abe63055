#include "validate/CarHistories.h"

#include <algorithm>
#include <cstring>

#include "ond/util/DataChunk.h"

namespace ond::validate {

namespace {

constexpr std::size_t kHeaderSize = 16;

/// Histories of each wheel, in the order of the chunk that holds them.
constexpr const char* kOfWheels[] = {"ancCarCampcWheelfSuspZeroDiff", "ancCarCampcWheelfSuspZeroDiff_prev",
                                     "ancCarCampcWheelpfTotalPitch",  "ancWheelNodeCurrDelta",
                                     "ancWheelNodeCurrDeltaW",        "andWheelGroundNormalDiff"};
constexpr std::size_t kKeySizeOfWheels = 16;

Bytes bytesOf(const util::DataChunk& chunk) {
    const auto* bytes = static_cast<const unsigned char*>(chunk.getData());
    return bytes == nullptr ? Bytes() : Bytes(bytes, bytes + chunk.getSize());
}

}  // namespace

const std::vector<CarKey>& carKeys() {
    static const std::vector<CarKey> all = {
        {"sDataChunkSaveStruct", 368, 0, nullptr, 100},
        {"fRelMaxBumperLen", 8, 0, nullptr, 104},
        {"fSurfaceEdgeResponseFactor", 8, 0, "Tire Pressure", 104},
        {"cCarCambGravityOn", 1, 0, nullptr, 104},
        {"dScaleRelMaxJumpVelocity", 8, 0, nullptr, 107},
        {"dHorizontalRestoringFactor", 8, 0, nullptr, 107},
        {"dLandingNeutralizer", 8, 0, nullptr, 107},
        {"iRayMultiplier", 4, 0, "Ray Multiplier", 107},
        {"ancCarCamcCarBodyfRelYPos", 0, 16, nullptr, 100},
        {"ancCarCamcCarBodyfRelXAng", 0, 16, nullptr, 100},
        {"ancCarCamcCarBodyfRelZAng", 0, 16, nullptr, 100},
        {"ancCarCamcCarBodyfRelYVel", 0, 16, nullptr, 106},
        {"ancCarCamcCarBodyfRelXAngVel", 0, 16, nullptr, 106},
        {"ancCarCamcCarBodyfRelZAngVel", 0, 16, nullptr, 106},
        {"anFollowCamFilterMem", 0, 64, nullptr, 100},
        {"ancCarCampcInput_STEERING_WHEEL", 0, 16, nullptr, 100},
        {"ancCarCampcInput_GAS_PEDAL", 0, 16, nullptr, 100},
        {"wheelstore", 0, 0, nullptr, 100},
        {"ancCarCamqTransCarAbsIncr", 0, 64, nullptr, 100},
        {"ancCarCampcInput_SKID_BRAKE", 0, 16, nullptr, 100},
        {"ancCarCambSkidBreakingOn", 0, 9, nullptr, 100},
        {"ancCarCampcInput_SKIDDING", 0, 16, nullptr, 100},
        {"ancCarCambSkiddingOn", 0, 9, nullptr, 100},
        {"ancCarCamfSkidWantedGasPedalValue", 0, 16, nullptr, 100},
        {"anQGravityFilterMem", 0, 40, nullptr, 8115},
        {"anbCarInTheAir", 0, 9, nullptr, 8115},
        {"dVelRelMaxSteeringChangeVel", 8, 0, "Maximum Steering Change Velocity", 108},
        {"cCarCamdWantedSkiddingValue", 0, 16, nullptr, 109},
        {"dBurnoutShake", 8, 0, "Burnout Shake", 110},
        {"dBurnoutTiltForce", 8, 0, "Burnout Tilting Force", 110},
        {"dMinGroundDistance", 8, 0, nullptr, 110},
        {"dSpeedDependentTurnRadiusReductionFactor", 8, 0, "Speed Dependent Turn Radius Reduction Factor", 112},
        {"ancCarCampcInput_BOOSTER", 0, 16, nullptr, 112},
        {"cCarCamfGravity", 8, 0, "Gravity", 113},
        {"ancCarCampcInput_BURNOUT", 0, 16, nullptr, 115},
        {"cCarCamdBurnoutFadeoutFactor", 8, 0, "Burnout Fadeout Factor", 115},
        {"dLandingSkiddingFactor", 8, 0, nullptr, 116},
        {"dBoosterStiffnessMult", 8, 0, "Booster Stiffness Multiplier", 116},
        {"fStiffnessBack", 8, 0, "Back Stiffness", 122},
        {"fDampingBack", 8, 0, "Back Damping", 122},
        {"cCarCambAutonomousMode", 1, 0, "Autonomous Mode", 122},
        {"dFollowAccelerationMult", 8, 0, "Autonomous mode follow strength", 122},
        {"dIgnoreSphereRadius", 8, 0, "Ignore Sphere Radius (length relative)", 122},
        {"cCarCamdSkiddingOffset", 8, 0, "Skidding Offset Value", 122},
        {"cCarCamdSkiddingReleaseThresh", 8, 0, "Skidding Release Value (Lateral Vel Rel)", 122},
        {"cCarCamdGravelShakeOffset", 8, 0, "Gravel Shake Offset Value", 122},
        {"anvAcceleration", 0, 32, nullptr, 122},
        {"cCarCamdInputFilterMem", 0, 16, nullptr, 122},
        {"cCarCamdGasPedalInputFilterMem", 0, 16, nullptr, 123},
        {"dFollowAccRespFact", 8, 0, "Follow Strength Response Factor", 125},
        {"dAutoSteeringValueRespFact", 8, 0, "Auto-Steering Response Factor", 125},
        {"andFollowAccMem", 0, 16, nullptr, 125},
        {"andAutoSteeringValueMem", 0, 16, nullptr, 125},
        {"cCarCamdForceOffset", 8, 0, "External Force Offset Value", 127},
        {"bSaveDynamicData", 1, 0, "Enable Seamless Transitions", 128},
        {"bDisableGroundNodesAnimation", 1, 0, nullptr, 129},
        {"bDisableFollowCamAnimation", 1, 0, nullptr, 129},
        {"bDisableGravityNodeAnimation", 1, 0, nullptr, 129},
        {"cCarCamdMaximumForwardTiltAngle", 8, 0, "Maximum Forward Tilt Angle", 130},
        {"cCarCamdMaximumSideTiltAngle", 8, 0, "Maximum Side Tilt Angle", 130},
        {"dMaximumSpringChangeVelocityRel", 8, 0, nullptr, 131},
        {"bFixateWheelBottomNodes", 1, 0, "Fixate Wheel Center Nodes", 132},
        {"ancCarCamfCarLocalYawIncr", 0, 16, nullptr, 134},
        {"dDegsPerRay", 8, 0, "Degrees Per Ray", 137},
        {"dVelocityConversionMult", 8, 0, "Multiplier", 139},
        {"bAlignWheelCenterToGroundNormal", 1, 0, "Align WheelCenterMesh to ground incline", 139},
        {"dInitialVelocity", 8, 0, "Initital Velocity (% of max)", 139},
        {"bAddRaysAtWheelEdges", 1, 0, "Cast Rays at Wheel Edges", 140},
        {"dStartTime", 8, 0, nullptr, 8108},
        {"bKeyframeOnlyEssential", 1, 0, "Keyframe only essential objects", 100},
        {"cCarCam.dSkidBrakeRotBrakeMult", 8, 0, "Skid Brake Rot Brake Mult", 8118},
        {"ancCarCambSkidBreakingOnDisableFeatures", 0, 9, nullptr, 8119},
        {"dReverseMaxVelMult", 8, 0, "Reverse Max Vel Mult", 8120},
        {"cCarCam.dSteeringNoise", 8, 0, "Steering Noise", 8121},
        {"cSteeringWheelNode.dSteeringWheelRotMult", 8, 0, "Steering Wheel Rot Mult", 8124},
        {"cCarCam.bUseReverseAsAbsBrake", 1, 0, "Use Reverse As ABS Brake", 8125},
        {"ancCarCampcInput_GAS_PEDAL_inp_prev", 0, 16, nullptr, 8126},
        {"ancCarCambIsReverseVelAbsBraking", 0, 9, nullptr, 8126},
        {"ancCarCamvSkidBrakePosIncr", 0, 32, nullptr, 8129},
        {"ancCarCamdSkidBrakeLocalYawIncr", 0, 16, nullptr, 8129},
        {"ancCarCambSkidFirstTime", 0, 9, nullptr, 8130},
        {"bMoveWheelCenterNodeToGroundHitPoint", 1, 0, "Move WheelCenterMesh to ground hit point", 8133},
        {"cCarCam.dGasPedalMaxRateOfChange", 8, 0, "Acceleration (scale relative)", 8136},
        {"ancCarCamrandomValue_gravelShake", 0, 12, nullptr, 8137},
        {"ancCarCamrandomValue_burnout", 0, 12, nullptr, 8137},
        {"ancCarCamrandomValue_steeringNoise", 0, 12, nullptr, 8137},
        {"cSteeringWheelNode.mInit_loc", 128, 0, nullptr, 8139},
        {"bUseStaticMesh", 1, 0, "Use Fast Ray Cast", 8140},
        {"bStoreGroundMeshData", 1, 0, "Store Ground Mesh Data", 8143},
        {"cCarCam.dWorldAvoidanceSphereRadius", 8, 0, "World Avoidance Sphere (scale relative)", 8145},
        {"cCarCam.dWheelRadiusMult", 8, 0, "Wheel Radius Multiplier", 8148},
    };
    return all;
}

const char* wheelKey(std::size_t place) { return kOfWheels[place % std::size(kOfWheels)]; }

std::vector<CarHistory> histories(const Bytes& block) {
    util::DataChunk root;
    root.deserialize(block.data(), block.size());
    std::vector<CarHistory> all;
    for (const CarKey& key : carKeys())
        if (key.keySize > 0 && root.hasChild(key.name))
            all.push_back({key.name, bytesOf(root.getChild(key.name)), key.keySize});
    if (!root.hasChild("wheelstore")) return all;
    const util::DataChunk& wheels = root.getChild("wheelstore");
    for (int i = 0; i < wheels.getNumChildren(); ++i)
        all.push_back(
            {wheels.getChild(i).getName() + " " + std::to_string(i), bytesOf(wheels.getChild(i)), kKeySizeOfWheels});
    return all;
}

const CarHistory& historyOf(Check& check, const std::vector<CarHistory>& all, const std::string& name) {
    const auto found = std::find_if(all.begin(), all.end(), [&](const CarHistory& one) { return one.name == name; });
    if (found == all.end()) check.give("car-block", "the saved block has no history " + cited(name));
    return *found;
}

std::vector<double> keyTimes(const CarHistory& history) {
    std::vector<double> times;
    for (std::size_t at = kHeaderSize; at + history.keySize <= history.bytes.size(); at += history.keySize) {
        double time = 0.0;
        std::memcpy(&time, history.bytes.data() + at, sizeof time);
        times.push_back(time);
    }
    return times;
}

bool isOfFollowing(std::string_view history) {
    for (const std::string_view name :
         {"cCarCamdInputFilterMem", "cCarCamdGasPedalInputFilterMem", "andFollowAccMem", "andAutoSteeringValueMem"})
        if (history == name) return true;
    return false;
}

bool isCutAtTheStart(std::string_view history) {
    for (const std::string_view name : {"anFollowCamFilterMem",
                                        "ancCarCampcInput_STEERING_WHEEL",
                                        "ancCarCampcInput_GAS_PEDAL",
                                        "ancCarCampcInput_GAS_PEDAL_inp_prev",
                                        "ancCarCambIsReverseVelAbsBraking",
                                        "ancCarCamvSkidBrakePosIncr",
                                        "ancCarCamdSkidBrakeLocalYawIncr",
                                        "ancCarCampcInput_BOOSTER",
                                        "ancCarCampcInput_SKID_BRAKE",
                                        "ancCarCambSkidBreakingOn",
                                        "ancCarCambSkidBreakingOnDisableFeatures",
                                        "ancCarCambSkidFirstTime",
                                        "ancCarCampcInput_SKIDDING",
                                        "ancCarCampcInput_BURNOUT",
                                        "ancCarCambSkiddingOn",
                                        "ancCarCamfSkidWantedGasPedalValue",
                                        "ancCarCamfCarLocalYawIncr",
                                        "ancCarCamrandomValue_gravelShake",
                                        "ancCarCamrandomValue_burnout",
                                        "ancCarCamrandomValue_steeringNoise"})
        if (history == name) return true;
    return isOfFollowing(history);
}

std::vector<double> keyedNumbers(const CarHistory& history) {
    std::vector<double> numbers;
    for (std::size_t at = kHeaderSize; history.keySize == 16 && at + 16 <= history.bytes.size(); at += 16) {
        double number = 0.0;
        std::memcpy(&number, history.bytes.data() + at + sizeof(double), sizeof number);
        numbers.push_back(number);
    }
    return numbers;
}

}  // namespace ond::validate
