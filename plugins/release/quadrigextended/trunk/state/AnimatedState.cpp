#include "state/AnimatedState.h"

#include <algorithm>

namespace ond::ovs::addon {

namespace {

using Vehicle = CCarCamObject;

template <class V, class T>
constexpr AnimatedBinding single(V Vehicle::*variable, T& (*live)(Vehicle&)) {
    return SingleBinding<V, T>{variable, live};
}

template <int index>
double& channelValue(Vehicle& v) {
    return v.cCarCam.pcInput[index].value;
}

template <auto member>
auto& carField(Vehicle& v) {
    return v.cCarCam.*member;
}

template <auto member>
double& bodyField(Vehicle& v) {
    return v.cCarCam.cCarBody.*member;
}

template <auto member>
double* wheelField(Vehicle& v, int corner) {
    return &(v.cCarCam.pcWheel[corner].*member);
}

template <auto member>
double* wheelNodeField(Vehicle& v, int corner) {
    if (corner >= v.numCorners()) return nullptr;
    return &(v.aWheelNodes[static_cast<std::size_t>(corner)].*member);
}

constexpr auto kKey = Restore::fromKey;
constexpr auto kHand = Restore::byHand;
constexpr auto kStart = EraseFrom::start;
constexpr auto kNext = EraseFrom::nextFrame;

AnimatedRow linear(std::string_view key, AVar_Linear<double> Vehicle::*variable, double& (*live)(Vehicle&),
                   Restore restore, EraseFrom eraseFrom, bool onlyAutonomous = false) {
    return {key, single(variable, live), restore, eraseFrom, onlyAutonomous};
}
AnimatedRow flag(std::string_view key, AVar_Nearest<bool> Vehicle::*variable, bool& (*live)(Vehicle&), Restore restore,
                 EraseFrom eraseFrom) {
    return {key, single(variable, live), restore, eraseFrom, false};
}
AnimatedRow vector(std::string_view key, AVar_Nearest<Vector3<double>> Vehicle::*variable,
                   Vector3<double>& (*live)(Vehicle&), EraseFrom eraseFrom) {
    return {key, single(variable, live), kKey, eraseFrom, false};
}
AnimatedRow transform(std::string_view key, AVar_Nearest<QTransform<double>> Vehicle::*variable,
                      QTransform<double>& (*live)(Vehicle&), EraseFrom eraseFrom) {
    return {key, single(variable, live), kHand, eraseFrom, false};
}
AnimatedRow counter(std::string_view key, AVar_Latest<int> Vehicle::*variable, std::int32_t& (*live)(Vehicle&)) {
    return {key, single(variable, live), kHand, kStart, false};
}
AnimatedRow corner(std::string_view key, std::array<AVar_Linear<double>, kNumWheels> Vehicle::*variables,
                   double* (*live)(Vehicle&, int)) {
    return {key, CornerBinding{variables, live}, kHand, kNext, false};
}

}  // namespace

const std::array<AnimatedRow, 41> kAnimatedState = {
    linear("ancCarCamcCarBodyfRelYPos", &Vehicle::ancCarCamcCarBodyfRelYPos, bodyField<&cCarBody::fRelYPos>, kKey,
           kNext),
    linear("ancCarCamcCarBodyfRelXAng", &Vehicle::ancCarCamcCarBodyfRelXAng, bodyField<&cCarBody::fRelXAng>, kKey,
           kNext),
    linear("ancCarCamcCarBodyfRelZAng", &Vehicle::ancCarCamcCarBodyfRelZAng, bodyField<&cCarBody::fRelZAng>, kKey,
           kNext),
    linear("ancCarCamcCarBodyfRelYVel", &Vehicle::ancCarCamcCarBodyfRelYVel, bodyField<&cCarBody::fRelYVel>, kKey,
           kNext),
    vector("anvAcceleration", &Vehicle::anvAcceleration, carField<&cCarCam::vAcceleration>, kNext),
    linear("ancCarCamcCarBodyfRelXAngVel", &Vehicle::ancCarCamcCarBodyfRelXAngVel, bodyField<&cCarBody::fRelXAngVel>,
           kKey, kNext),
    linear("ancCarCamcCarBodyfRelZAngVel", &Vehicle::ancCarCamcCarBodyfRelZAngVel, bodyField<&cCarBody::fRelZAngVel>,
           kKey, kNext),
    transform(
        "anFollowCamFilterMem", &Vehicle::anFollowCamFilterMem,
        [](Vehicle& v) -> QTransform<double>& { return v.cFollowCamNode.qFollowFilterMem; }, kStart),
    linear("ancCarCampcInput_STEERING_WHEEL", &Vehicle::ancCarCampcInput_STEERING_WHEEL,
           channelValue<pcInput_STEERING_WHEEL>, kKey, kStart),
    linear("ancCarCampcInput_GAS_PEDAL", &Vehicle::ancCarCampcInput_GAS_PEDAL, channelValue<pcInput_GAS_PEDAL>, kKey,
           kStart),
    linear("ancCarCampcInput_GAS_PEDAL_inp_prev", &Vehicle::ancCarCampcInput_GAS_PEDAL_inp_prev,
           carField<&cCarCam::pcInput_GAS_PEDAL_inp_prev>, kKey, kStart),
    flag("ancCarCambIsReverseVelAbsBraking", &Vehicle::ancCarCambIsReverseVelAbsBraking,
         carField<&cCarCam::bIsReverseVelAbsBraking>, kKey, kStart),
    vector("ancCarCamvSkidBrakePosIncr", &Vehicle::ancCarCamvSkidBrakePosIncr, carField<&cCarCam::vSkidBrakePosIncr>,
           kStart),
    linear("ancCarCamdSkidBrakeLocalYawIncr", &Vehicle::ancCarCamdSkidBrakeLocalYawIncr,
           carField<&cCarCam::dSkidBrakeLocalYawIncr>, kKey, kStart),
    linear("ancCarCampcInput_BOOSTER", &Vehicle::ancCarCampcInput_BOOSTER, channelValue<pcInput_BOOSTER>, kKey, kStart),
    corner(kWheelStoreKeys[0], &Vehicle::ancCarCampcWheelfSuspZeroDiff, wheelField<&pcWheel::fSuspZeroDiff>),
    corner(kWheelStoreKeys[1], &Vehicle::ancCarCampcWheelfSuspZeroDiff_prev, wheelField<&pcWheel::fSuspZeroDiff_prev>),
    corner(kWheelStoreKeys[2], &Vehicle::ancCarCampcWheelpfTotalPitch, wheelField<&pcWheel::pfTotalPitch>),
    corner(kWheelStoreKeys[3], &Vehicle::ancWheelNodeCurrDelta, wheelNodeField<&rig::CWheelNode::dCurrDelta>),
    corner(kWheelStoreKeys[4], &Vehicle::ancWheelNodeCurrDeltaW, wheelNodeField<&rig::CWheelNode::dCurrDeltaW>),
    corner(kWheelStoreKeys[5], &Vehicle::andWheelGroundNormalDiff, wheelField<&pcWheel::dWheelGroundNormalDiff>),
    transform("ancCarCamqTransCarAbsIncr", &Vehicle::ancCarCamqTransCarAbsIncr, carField<&cCarCam::qTransCarAbsIncr>,
              kNext),
    linear("ancCarCampcInput_SKID_BRAKE", &Vehicle::ancCarCampcInput_SKID_BRAKE, channelValue<pcInput_SKID_BRAKE>, kKey,
           kStart),
    flag("ancCarCambSkidBreakingOn", &Vehicle::ancCarCambSkidBreakingOn, carField<&cCarCam::bSkidBreakingOn>, kKey,
         kStart),
    flag("ancCarCambSkidBreakingOnDisableFeatures", &Vehicle::ancCarCambSkidBreakingOnDisableFeatures,
         carField<&cCarCam::bSkidBreakingOnDisableFeatures>, kKey, kStart),
    flag("ancCarCambSkidFirstTime", &Vehicle::ancCarCambSkidFirstTime, carField<&cCarCam::bSkidFirstTime>, kKey,
         kStart),
    linear("ancCarCampcInput_SKIDDING", &Vehicle::ancCarCampcInput_SKIDDING, channelValue<pcInput_SKIDDING>, kKey,
           kStart),
    linear("ancCarCampcInput_BURNOUT", &Vehicle::ancCarCampcInput_BURNOUT, channelValue<pcInput_BURNOUT>, kKey, kStart),
    flag("ancCarCambSkiddingOn", &Vehicle::ancCarCambSkiddingOn, carField<&cCarCam::bSkiddingOn>, kKey, kStart),
    linear("ancCarCamfSkidWantedGasPedalValue", &Vehicle::ancCarCamfSkidWantedGasPedalValue,
           carField<&cCarCam::fSkidWantedGasPedalValue>, kKey, kStart),
    linear("cCarCamdWantedSkiddingValue", &Vehicle::cCarCamdWantedSkiddingValue,
           carField<&cCarCam::dWantedSkiddingValue>, kKey, kNext),
    linear("cCarCamdInputFilterMem", &Vehicle::cCarCamdInputFilterMem, carField<&cCarCam::dInputFilterMem>, kKey,
           kStart, true),
    linear("cCarCamdGasPedalInputFilterMem", &Vehicle::cCarCamdGasPedalInputFilterMem,
           carField<&cCarCam::dGasPedalInputFilterMem>, kKey, kStart, true),
    linear(
        "andFollowAccMem", &Vehicle::andFollowAccMem, [](Vehicle& v) -> double& { return v.dFollowAccMem; }, kHand,
        kStart, true),
    linear(
        "andAutoSteeringValueMem", &Vehicle::andAutoSteeringValueMem,
        [](Vehicle& v) -> double& { return v.dAutoSteeringValueMem; }, kHand, kStart, true),
    linear("ancCarCamfCarLocalYawIncr", &Vehicle::ancCarCamfCarLocalYawIncr, carField<&cCarCam::fCarLocalYawIncr>, kKey,
           kStart),
    AnimatedRow{
        "anQGravityFilterMem",
        single(
            &Vehicle::anQGravityFilterMem, +[](Vehicle& v) -> Quat<double>& { return v.cCarCam.QGravityFilterMem; }),
        kHand, kNext, false},
    flag("anbCarInTheAir", &Vehicle::anbCarInTheAir, carField<&cCarCam::bCarInTheAir>, kHand, kNext),
    counter("ancCarCamrandomValue_gravelShake", &Vehicle::ancCarCamrandomValue_gravelShake,
            carField<&cCarCam::randomValue_gravelShake>),
    counter("ancCarCamrandomValue_burnout", &Vehicle::ancCarCamrandomValue_burnout,
            carField<&cCarCam::randomValue_burnout>),
    counter("ancCarCamrandomValue_steeringNoise", &Vehicle::ancCarCamrandomValue_steeringNoise,
            carField<&cCarCam::randomValue_steeringNoise>),
};

const AnimatedRow* findAnimatedRow(std::string_view key) {
    const auto* found = std::find_if(kAnimatedState.begin(), kAnimatedState.end(),
                                     [key](const AnimatedRow& row) { return row.key == key; });
    return found == kAnimatedState.end() ? nullptr : found;
}

}  // namespace ond::ovs::addon
