// Every default of a new car record.
#include "car/CarState.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <type_traits>

#include "car/Fields.h"

namespace ond::ovs::addon {
namespace {

static_assert(std::is_same_v<decltype(cCarCam::randomValue_burnout), std::int32_t>);
static_assert(std::is_same_v<decltype(cCarCam::iSkidBrakeVelSign), std::int32_t>);
static_assert(std::is_same_v<decltype(cCarCam::bGravityOn), bool>);
static_assert(std::is_copy_constructible_v<cCarCam> && std::is_copy_assignable_v<cCarCam>);

struct DefaultRow {
    const char* name;
    double value;
};

// Everything that is not zero, and not the scalar part of an identity rotation.
const DefaultRow kDefaults[] = {
    {"dSimStep", 0.003},
    {"dLandingSkiddingFactor", 0.05},
    {"dBoosterStiffnessMult", 0.3},
    {"vExternalForceDir.x", 1},
    {"vExternalForceDir.y", -1},
    {"vExternalForceDir.z", 1},
    {"vExternalForcePos.y", 1},
    {"dWantedSkiddingValue", 1},
    {"dScaleRelMaxJumpVelocity", 10},
    {"dLandingNeutralizer", 0.8},
    {"dHorizontalRestoringFactor", 0.05},
    {"bSkidFirstTime", 1},
    {"bBurnoutIdle", 1},
    {"dSteeringResponseSaved", 1},
    {"dGravelShakeOffset", 0.5},
    {"dSkiddingReleaseThresh", 0.04},
    {"bUseReverseAsAbsBrake", 1},
    {"randomValue_gravelShake", 1000},
    {"randomValue_burnout", 10000},
    {"randomValue_steeringNoise", 100000},
    {"dGasPedalMaxRateOfChange", 2},
    {"bSkiddingReady", 1},
    {"iSkidBrakeVelSign", 1},
    {"iSkidBrakeSteerSign", 1},
    {"fRelMaxBumperLen", 0.2},
    {"dMaximumForwardTiltAngle", 0.06},
    {"dMaximumSideTiltAngle", 0.07},
    {"bTakeOffArmed", 1},
    {"vGravityDir.y", -1},
    {"fGravity", 1},
    {"dVelRelMaxSteeringChangeVel", 2},
    {"dBurnoutShake", 0.2},
    {"dBurnoutTiltForce", 1},
    {"dBurnoutFadeoutFactor", 0.99},
    {"dSpeedDependentTurnRadiusReductionFactor", 0.2},
    {"dSkidBrakeRotBrakeMult", 1},
    {"dSkidBrakeStopFactor", 1},
    {"dSkiddingReleaseResponseFactor", 1},
    {"fBodyRestHeight", 0.15},
    {"fBodyHeight", 1.002},
    {"fBodyWidth", 1.361},
    {"fBodyLength", 3.522},
    {"dSpringLimitMult", 1e16},
    {"fMassMult", 2},
    {"fStiffnessFront", 2000},
    {"fDampingFront", 200},
    {"fStiffnessBack", 2000},
    {"fDampingBack", 200},
    {"dGravelRoughness", 0.9},
    {"dWheelRadiusMult", 0.95},
    {"fFrontAxleZ", -1.05},
    {"bBrakeArmed", 1},
    {"wheelGeom[0].radius", 0.26},
    {"wheelGeom[1].radius", 0.26},
    {"wheelGeom[2].radius", 0.26},
    {"wheelGeom[3].radius", 0.26},
    {"wheelGeom[0].z", -1.05},
    {"wheelGeom[1].z", -1.05},
    {"wheelGeom[2].z", 1.044},
    {"wheelGeom[3].z", 1.044},
    {"wheelGeom[0].x", -0.64},
    {"wheelGeom[1].x", 0.64},
    {"wheelGeom[2].x", -0.64},
    {"wheelGeom[3].x", 0.64},
    {"pcWheel[0].vGroundNormal.y", 1},
    {"pcWheel[1].vGroundNormal.y", 1},
    {"pcWheel[2].vGroundNormal.y", 1},
    {"pcWheel[3].vGroundNormal.y", 1},
    {"pcInput[0].response", 0.01},
    {"pcInput[1].response", 0.1},
    {"pcInput[2].response", 0.02},
    {"pcInput[3].response", 1},
    {"pcInput[4].response", 0.1},
    {"pcInput[5].response", 0.1},
    {"pcInput[6].response", 1},
    {"pcInput[7].response", 0.03},
    {"pcInput[8].response", 1},
    {"pcInput[0].maximum", 3},
    {"pcInput[1].maximum", 0.7},
    {"pcInput[2].maximum", 6},
    {"pcInput[3].maximum", 0.03},
    {"pcInput[4].maximum", 0.9},
    {"pcInput[5].maximum", 1},
    {"pcInput[6].maximum", 0.05},
    {"pcInput[7].maximum", 3},
    {"pcInput[8].maximum", 100},
};

bool isScalarPartOfARotation(const std::string& name) { return name.ends_with(".w"); }

TEST(CarState, EveryNumberHasItsDefault) {
    std::map<std::string, double> expected;
    for (const DefaultRow& row : kDefaults) ASSERT_TRUE(expected.emplace(row.name, row.value).second) << row.name;
    std::size_t met = 0;
    for (const test::NamedNumber& number : test::numbersOf(cCarCam())) {
        const auto row = expected.find(number.name);
        if (row != expected.end()) ++met;
        const double value = row != expected.end() ? row->second : isScalarPartOfARotation(number.name) ? 1.0 : 0.0;
        EXPECT_EQ(number.value, value) << number.name;
    }
    EXPECT_EQ(met, expected.size()) << "each row of the table is a field";
}

TEST(CarState, HasTheTwoSavedNumbersThatNoFormulaReads) {
    const cCarCam car;
    EXPECT_EQ(car.dTurnBaseSpare, 30.0);
    EXPECT_EQ(car.dSpringLimitSpare, 1e9);
}

TEST(CarState, SpareBodyTransformsAreIdentities) {
    const cCarCam car;
    EXPECT_EQ(car.cCarBody.qSpare0, QTransform<double>());
    EXPECT_EQ(car.cCarBody.qSpare1, QTransform<double>());
}

TEST(CarState, SeedsAreShiftedByTheAdder) {
    const cCarCam car(7);
    EXPECT_EQ(car.randomValue_gravelShake, 1007);
    EXPECT_EQ(car.randomValue_burnout, 10007);
    EXPECT_EQ(car.randomValue_steeringNoise, 100007);
    EXPECT_EQ(car.iRandomSeedAdder, 7);
    // The counters wrap like the generator that uses them.
    const cCarCam last(std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(last.randomValue_gravelShake, std::numeric_limits<std::int32_t>::min() + 999);
}

struct ChannelRow {
    int index;
    const char* name;
    const char* description;
    bool oneSided;
};

TEST(CarState, ChannelsBearTheirTexts) {
    const ChannelRow rows[] = {
        {0, "Gas Pedal (Forw/Backw)", "How strong and fast the engine is. 0.0 gives an instant velocity.", false},
        {1, "Steering Wheel (Right/Left)", "How much and how smoothly the wheels turn", false},
        {2, "Booster", "How much and how fast the velocity will multiply", true},
        {3, "ABS Brake", "Brakes as strong as possible until a full stop", true},
        {4, "Skidding", "How much skidding and how fast it applies", true},
        {5, "Skid Brake", "Locks the wheels", true},
        {6, "Gravel Shake Amplitude", "Gravel Shake Amplitude", true},
        {7, "Burnout", "Creates a burnout where the back wheel(s) spinn", true},
        {8, "External Force", "This input will apply a force in the direction of the 'ExternalForceMesh' direction",
         true},
    };
    const cCarCam car;
    for (const ChannelRow& row : rows) {
        EXPECT_EQ(car.pcInput[row.index].sName, row.name);
        EXPECT_EQ(car.pcInput[row.index].sDescription, row.description);
        EXPECT_EQ(car.pcInput[row.index].bOneSided, row.oneSided) << row.name;
        EXPECT_EQ(car.pcInput[row.index].maxRate, 1.0) << row.name;
    }
}

TEST(CarState, ChannelIndicesFollowTheirOrder) {
    static_assert(pcInput_GAS_PEDAL == 0 && pcInput_STEERING_WHEEL == 1 && pcInput_BOOSTER == 2);
    static_assert(pcInput_ABS_BRAKE == 3 && pcInput_SKIDDING == 4 && pcInput_SKID_BRAKE == 5);
    static_assert(pcInput_GRAVEL_SHAKE == 6 && pcInput_BURNOUT == 7 && pcInput_EXTERNAL_FORCE == 8);
    static_assert(std::extent_v<decltype(cCarCam::pcInput)> == 9);
    static_assert(std::extent_v<decltype(cCarCam::pcWheel)> == 4);
}

TEST(CarState, ABareChannelHasItsOwnDefaults) {
    const InputChannel channel;
    EXPECT_FALSE(channel.bOneSided);
    EXPECT_EQ(channel.raw, 0.0);
    EXPECT_EQ(channel.value, 0.0);
    EXPECT_EQ(channel.response, 1.0);
    EXPECT_EQ(channel.maxRate, 1.0);
    EXPECT_EQ(channel.maximum, 1.0);
}

TEST(CarState, ACopyIsTheSameCar) {
    cCarCam car;
    car.pcWheel[2].pfTotalPitch = 1.5;
    car.qTransCarAbs.position = {1, 2, 3};
    const cCarCam copy = car;
    EXPECT_TRUE(test::sameRecord(copy, car, 0.0));
}

}  // namespace
}  // namespace ond::ovs::addon
