#include "parameters/Gauges.h"

#include <cmath>

#include "CCarCamObject.h"
#include "ond/unidevice/OutputProperty.h"

namespace ond::ovs::addon {

namespace {

/// Car lengths per second (times the display's multiplier) below which a car counts as standing: the model never lets
/// the velocity become exactly 0.
constexpr double kStandingVelocity = 0.0001;
constexpr double kStandingPercent = 0.01;

double velocityReadout(const CCarCamObject& v, double time) {
    const double length = v.cCarCam.fBodyLength;
    const double velocity = length * v.dVelocityConversionMult * v.ancCarCampcInput_GAS_PEDAL.valueAt(time);
    return std::abs(velocity / length) < kStandingVelocity ? 0.0 : velocity;
}

double percentReadout(double percent) { return std::abs(percent) < kStandingPercent ? 0.0 : percent; }

double gasPedalMaximum(const CCarCamObject& v) { return v.cCarCam.pcInput[pcInput_GAS_PEDAL].maximum; }

template <int wheel>
double isInAir(const CCarCamObject& v) {
    return v.cCarCam.pcWheel[wheel].bInAir ? 1.0 : 0.0;
}

}  // namespace

void updateMaximumGauges(CCarCamObject& vehicle, double length) {
    const double mult = vehicle.dVelocityConversionMult;
    const double rate = vehicle.cCarCam.dGasPedalMaxRateOfChange;
    vehicle.dMaxVelocityGauge = length * mult * gasPedalMaximum(vehicle);
    vehicle.dAccelerationGauge100 = 100.0 / mult / rate / length;
    vehicle.dAccelerationGauge60 = 60.0 / mult / rate / length;
}

void updateVelocityGauges(CCarCamObject& vehicle, double time) {
    vehicle.dCurrentVelocity = velocityReadout(vehicle, time);
    vehicle.dCurrentVelocityPercent =
        percentReadout(vehicle.cCarCam.pcInput[pcInput_GAS_PEDAL].value * 100.0 / gasPedalMaximum(vehicle));
}

void updateIdleGauges(CCarCamObject& vehicle, double time) {
    vehicle.dCurrentVelocity = velocityReadout(vehicle, time);
    vehicle.dCurrentVelocityPercent =
        percentReadout(100.0 * vehicle.ancCarCampcInput_GAS_PEDAL.valueAt(time) / gasPedalMaximum(vehicle));
}

const std::array<OutputRow, 7> kOutputs = {{
    {"Velocity", [](const CCarCamObject& v) { return v.dCurrentVelocity; }},
    {"Velocity (Percent of Max)", [](const CCarCamObject& v) { return v.dCurrentVelocityPercent / 100.0; }},
    {"Steering Angle", [](const CCarCamObject& v) { return v.cCarCam.fSteeringAngle; }},
    {"WheelMesh_FL", isInAir<0>},
    {"WheelMesh_FR", isInAir<1>},
    {"WheelMesh_BL", isInAir<2>},
    {"WheelMesh_BR", isInAir<3>},
}};
static_assert(kOutputs.size() == kNumOutputs);

void storeOutput(CCarCamObject& vehicle, unidevice::Property* channel) {
    if (channel == nullptr) return;
    for (std::size_t i = 0; i < kOutputs.size(); ++i) {
        if (vehicle.aOutputProperties[i] != channel) continue;
        static_cast<unidevice::OutputProperty*>(channel)->store(kOutputs[i].value(vehicle));
        return;
    }
}

void storeOutputs(CCarCamObject& vehicle) {
    for (unidevice::Property* channel : vehicle.aOutputProperties) storeOutput(vehicle, channel);
}

}  // namespace ond::ovs::addon
