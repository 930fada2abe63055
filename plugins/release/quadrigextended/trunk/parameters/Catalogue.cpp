#include "parameters/Catalogue.h"

#include <algorithm>
#include <array>
#include <utility>

#include "CCarCamObject.h"
#include "ond/unidevice/OutputProperty.h"
#include "parameters/Gauges.h"

namespace ond::ovs::addon {

namespace {

using Vehicle = CCarCamObject;

// Fields

template <auto member>
constexpr auto& own(Vehicle& v) {
    return v.*member;
}
template <auto member>
constexpr auto& car(Vehicle& v) {
    return v.cCarCam.*member;
}
constexpr double& steeringWheelMult(Vehicle& v) { return v.cSteeringWheelNode.dSteeringWheelRotMult; }
template <int index>
constexpr double& channelResponse(Vehicle& v) {
    return v.cCarCam.pcInput[index].response;
}
template <int index>
constexpr double& channelMaximum(Vehicle& v) {
    return v.cCarCam.pcInput[index].maximum;
}

// Rows

struct Range {
    double min;
    double max;
    double step;
};
constexpr bool kTold = true;
constexpr bool kSilent = false;

constexpr ParameterRow number(std::string_view label, std::string_view description, NumberField field, Range range) {
    return {label, description, field, range.min, range.max, range.step};
}
constexpr ParameterRow whole(std::string_view label, std::string_view description, WholeField field, Range range) {
    return {label, description, field, range.min, range.max, range.step};
}
constexpr ParameterRow flag(std::string_view label, std::string_view description, FlagField field, bool tellsChanges) {
    return {label, description, field, 0.0, 0.0, 0.0, tellsChanges};
}
constexpr ParameterRow button(std::string_view label, std::string_view description) {
    return {label, description, std::monostate{}};
}

constexpr std::array<ParameterGroup, 8> kGroups = {{
    {"Gauges", "", 7},
    {"General Modes", "", 8},
    {"Autonomous Mode",
     "In Autonomous mode the quadrig will automatically follow the TargetMesh.\nConstrain the TargetMesh to a "
     "path/spline.\nUse an input device to apply features and to deviate from the follow path in real-time.",
     6},
    {"Steering Parameters", "", 5},
    {"Suspension Parameters", "", 9},
    {"General Parameters", "", 19},
    {"Ray Cast Parameters", "", 5},
    {"Input Property Parameters", "", 1 + 2 * kNumInputs},
}};

/// The rows with texts of their own. Labels and descriptions are known to saved presets and to users of many years;
/// their spelling stays as it is.
constexpr std::array<ParameterRow, 60> kFixedRows = {{
    // Gauges
    number("Initital Velocity (% of max)",
           "This is the first of three ways to have an initial velocity. It is specified as a percentage of the "
           "maximum velocity. If this parameter is zero it will be ignored. (The second way is to use a keyframed "
           "initial velocity. The third way is to use a non-zero input value - moving your joystick forward slightly - "
           "and then pressing record.",
           own<&Vehicle::dInitialVelocity>, {0, 1000, 1}),
    number("Multiplier",
           "Use this function to create a read-out in mph or km/h. Meters per second will be multiplied by this value, "
           "so to convert from m/s to km/h use multiplier value 3.6, from m/s to mph use multiplier value 2.2369.",
           own<&Vehicle::dVelocityConversionMult>, {0.001, 10000000, 0.001}),
    number("World Space Maximum Velocity Gauge",
           "This is a gauge outputting the maximum velocity the quadrig can have (except when using booster). The "
           "value is in ((units per second)*multiplier)*(maximum gas pedal value)*(the scale of the quadrig).",
           own<&Vehicle::dMaxVelocityGauge>, {0, 100000, 1}),
    number("Current Velocity",
           "The measured current velocity of the vehicle in meters per second times the [Multiplier value] (the "
           "maximum velocity is Gas pedal max times the CarBodyMesh scale).",
           own<&Vehicle::dCurrentVelocity>, {-10000000, 10000000, 0.01}),
    number("Current Velocity (% of max)", "The current velocity of the vehicle in percent of the maximum velocity.",
           own<&Vehicle::dCurrentVelocityPercent>, {-10000000, 10000000, 0.01}),
    number("World Space Acceleration Gauge (seconds from 0 to 100)",
           "This is a gauge outputting the number of seconds it would take to acceleration the quadrig from 0-100 "
           "(except when using booster). The value is in seconds = ((100/multiplier)/Acceleration)/scale",
           own<&Vehicle::dAccelerationGauge100>, {0, 1000000, 0.01}),
    number("World Space Acceleration Gauge (seconds from 0 to 60)",
           "This is a gauge outputting the number of seconds it would take to acceleration the quadrig from 0-100 "
           "(except when using booster). The value is in seconds = ((60/multiplier)/Acceleration)/scale",
           own<&Vehicle::dAccelerationGauge60>, {0, 1000000, 0.01}),
    // General Modes
    button("Re-Initialize Car Attributes", "Press to enable re-initialization of the car's physical attributes"),
    flag("Hide Helpers", "Hide Helpers", own<&Vehicle::bHideHelpers>, kTold),
    flag("Hide Helpers During Recording", "Hide Helpers During Recording", own<&Vehicle::bHideHelpersDuringRecording>,
         kSilent),
    flag("Hide Follow Camera", "Hide Follow Camera", own<&Vehicle::bHideFollowCamera>, kTold),
    flag("Hide Driver Camera", "Hide Driver Camera", own<&Vehicle::bHideDriverCamera>, kTold),
    flag("Hide TopView Camera", "Hide TopView Camera", own<&Vehicle::bHideTopViewCamera>, kTold),
    flag("Enable Seamless Transitions", "Enable Seamless Transitions requires more memory usage.",
         own<&Vehicle::bSaveDynamicData>, kTold),
    flag("Keyframe only essential objects",
         "Only the the body, the wheels and the gravityDirectionMesh will be keyframed.",
         own<&Vehicle::bKeyframeOnlyEssential>, kTold),
    // Autonomous Mode
    flag("Autonomous Mode",
         "In this mode the vehicle automatically follows the TargetMesh.nThe TargetMesh should be attached to the "
         "object the vehicle is to follow.",
         car<&cCarCam::bAutonomousMode>, kSilent),
    number("Autonomous mode follow strength", "This factor decides how tightly the car follows the target.",
           own<&Vehicle::dFollowAccelerationMult>, {0.01, 30, 0.01}),
    number("Follow Strength Response Factor",
           "The smaller the value is the slower the quadrig auto functions respond to the target movements.",
           own<&Vehicle::dFollowAccRespFact>, {0.0001, 1, 0.001}),
    number("Auto-Steering Response Factor",
           "The smaller the value is the slower the quadrig auto functions respond to the target movements.",
           own<&Vehicle::dAutoSteeringValueRespFact>, {0.0001, 1, 0.001}),
    number("Reverse Max Vel Mult",
           "When the Quadrig applies a reverse force in autonomous mode this value will be applied to the maximum "
           "velocity parameter.",
           own<&Vehicle::dReverseMaxVelMult>, {0, 1000, 0.001}),
    number("Ignore Sphere Radius (length relative)",
           "This sets a virtual sphere about front of the quadrig which is the distance at which the car will begin to "
           "react to the TargetMesh.\nI.e. the TargetMesh must be outside this sphere to move the car.\nThe radius is "
           "multiplied by the length of the car to be relative.",
           own<&Vehicle::dIgnoreSphereRadius>, {0.001, 100, 0.001}),
    // Steering Parameters
    number("Maximum Steering Change Velocity", "How fast the wheels can turn in rads per sec.",
           car<&cCarCam::dVelRelMaxSteeringChangeVel>, {0.001, 100, 0.001}),
    number("Speed Dependent Turn Radius Reduction Factor",
           "By this factor the turn radius will be decreased linearly with the car velocity.",
           car<&cCarCam::dSpeedDependentTurnRadiusReductionFactor>, {0, 10, 0.001}),
    number("Steering Noise", "Adds noise to the steering.", car<&cCarCam::dSteeringNoise>, {0, 1000, 0.001}),
    number("Steering Wheel Rot Mult", "Multiplies the steering wheel mesh rotation with this value.", steeringWheelMult,
           {0, 1000, 0.001}),
    number("Turn Base (Back Wheel Relative)", "If larger than zero the car will turn with all four wheels.",
           car<&cCarCam::dTurnBase>, {-2, 2, 0.001}),
    // Suspension Parameters
    number("Front Stiffness", "Stiffness determines how much force the springs have.", car<&cCarCam::fStiffnessFront>,
           {0, 10000, 1}),
    number("Front Damping", "Damping determines how dull the shock absorbers are.", car<&cCarCam::fDampingFront>,
           {0, 10000, 0.1}),
    number("Back Stiffness", "Stiffness determines how much force the springs have.", car<&cCarCam::fStiffnessBack>,
           {0, 10000, 1}),
    number("Back Damping", "Damping determines how dull the shock absorbers are.", car<&cCarCam::fDampingBack>,
           {0, 10000, 0.1}),
    number("Tire Pressure",
           "Can be used as a wheel air pressure parameter. The parameter may cause instability when too low. For wheel "
           "deformations a lattice/FFD is required as well as raytracing for the boundaries.",
           own<&Vehicle::fSurfaceEdgeResponseFactor>, {0, 1000, 0.001}),
    number("Maximum Forward Tilt Angle", "The maximum angle the car body can have in the forward direction.",
           car<&cCarCam::dMaximumForwardTiltAngle>, {0, 1.5, 0.0001}),
    number("Maximum Side Tilt Angle", "The maximum angle the car body can have sideways.",
           car<&cCarCam::dMaximumSideTiltAngle>, {0, 1.5, 0.0001}),
    number("Booster Stiffness Multiplier", "Increases the Stiffness by this factor times the booster value.",
           car<&cCarCam::dBoosterStiffnessMult>, {0, 10, 0.001}),
    number("Mass Multiplier", "Mass Multiplier.", car<&cCarCam::fMassMult>, {0, 1000, 0.001}),
    // General Parameters
    flag("Fixate Wheel Center Nodes", "When checked the WheelCenterMesh will not turn with the wheel yaw.",
         own<&Vehicle::bFixateWheelCenterNodes>, kTold),
    flag("Move WheelCenterMesh to ground hit point",
         "If checked the WheelCenterMesh will be moved to the point where the wheel meets the ground. If in the air it "
         "will be moved to the bottom of the wheel.",
         own<&Vehicle::bMoveWheelCenterNodeToGroundHitPoint>, kTold),
    flag("Align WheelCenterMesh to ground incline",
         "If this box is checked the WheelCenterMesh will point down - ie stand at a perpendicular angle to the "
         "ground's incline at the point where the wheel touches ground. (Hint: this can be used for snowmobiles and "
         "similar vehicles by making the wheels small and attaching the skis to the WheelCenterMesh. Otherwise the "
         "WheelCenterMeshes is useful for particle effects and suspension).",
         own<&Vehicle::bAlignWheelCenterToGroundNormal>, kSilent),
    flag("Use Reverse As ABS Brake",
         "When this box is checked the applying a negative gas pedal value yields in an ABS brake action.",
         car<&cCarCam::bUseReverseAsAbsBrake>, kSilent),
    number("Skidding Offset Value", "This value is added to the input device value for 'Skidding' as an offset.",
           car<&cCarCam::dSkiddingOffset>, {0, 100, 0.001}),
    number("Skidding Release Value (Lateral Vel Rel)",
           "When the car reaches this sideway velocity during a turn the car will automatically generate a 'Skidding' "
           "input device signal.",
           car<&cCarCam::dSkiddingReleaseThresh>, {0, 100, 0.001}),
    number("Skidding Release Response Factor",
           "Determines how fast the car will stop skidding after either skidding or skid brake.",
           car<&cCarCam::dSkiddingReleaseResponseFactor>, {1e-08, 1, 0.001}),
    number("Gravel Shake Offset Value",
           "This value is added to the input device value for 'Gravel Shake Amplitude' as an offset.",
           car<&cCarCam::dGravelShakeOffset>, {0, 100, 0.001}),
    number("Gravel Roughness", "How rough the gravel shake is", car<&cCarCam::dGravelRoughness>, {0, 1, 0.001}),
    number("External Force Offset Value",
           "This value is added to the input device value for 'External Force' as an offset.",
           car<&cCarCam::dForceOffset>, {0, 10000, 0.001}),
    number("Skid Brake Stop Factor",
           "If larger than 1.0 it will brake harder after the button is released yielding a harder ending of the skid "
           "brake. If smaller than 1.0 the skid brake will continue further which might be good if in a curving "
           "situation.",
           car<&cCarCam::dSkidBrakeStopFactor>, {1e-08, 100, 0.001}),
    number("Skid Brake Rot Brake Mult",
           "If larger than 1.0 the rotations brake harder than the translations and vice versa if smaller than 1.0.",
           car<&cCarCam::dSkidBrakeRotBrakeMult>, {0, 1000, 0.001}),
    number("Burnout Shake", "How much the car should shake during a burnout.", car<&cCarCam::dBurnoutShake>,
           {0, 100, 0.01}),
    number("Burnout Tilting Force", "How much the car should be tilted during a burnout.",
           car<&cCarCam::dBurnoutTiltForce>, {0, 100, 0.01}),
    number("Burnout Fadeout Factor", "How fast the burnout dies out.", car<&cCarCam::dBurnoutFadeoutFactor>,
           {0, 1, 0.001}),
    whole("Random Seed Adder", "Adds this number to the initial random seeds to generate unique numbers",
          car<&cCarCam::iRandomSeedAdder>, {0, 10000, 1}),
    number("World Avoidance Sphere (scale relative)",
           "This value times the scale of the car is the radius of the sphere of outside of which the car will try to "
           "get back inside.",
           car<&cCarCam::dWorldAvoidanceSphereRadius>, {0, 100000000000, 1}),
    number("Wheel Radius Multiplier",
           "This factor is multiplied internally to change the wheel radius. When smaller than 1.0 the effective "
           "radius is decreased making the tire penetrate the surface to give possibility for tire pressure buldging",
           car<&cCarCam::dWheelRadiusMult>, {0.01, 10, 0.01}),
    number("Gravity", "Gravity", car<&cCarCam::fGravity>, {0, 10000, 0.001}),
    // Ray Cast Parameters
    whole("Ray Multiplier",
          "This function enables wheels to detect collision with ground. Value should be given in whole numbers. A "
          "value of one causes wheels only to detect ground at their bottom point. A value larger than one will enable "
          "wheels to detect ground at additional points on the wheel's surface, slightly forward and slightly backward "
          "of the bottom point. For each step two extra points of collision are detectable. The 'Degrees Per Ground "
          "Detection Point' (below) determines the distance between these points of detection. Increasing the Ground "
          "Detection Points will increase accuracy for wheels detecting uneven terrain but will increase the "
          "computation time. Therefore, when using a high poly mesh and a large number of Ground Detection Points, it "
          "is preferable to use autonomous mode or drive with a large 'slow motion factor'.",
          own<&Vehicle::iRayMultiplier>, {1, 100, 1}),
    flag("Cast Rays at Wheel Edges",
         "When this box is checked the wheel's collision with the ground is detected at the sides of the wheels as "
         "well as in the middle. This means the number of detection points are trippled. The Ground Detectio Pionts "
         "value must be larger than one for this to have any effect.",
         own<&Vehicle::bAddRaysAtWheelEdges>, kSilent),
    number("Degrees Per Ray",
           "Determines the distance on the surface of the wheel between points of ground detection. The bottom of the "
           "wheel is 0 degrees. The forward-most and backward-most points on the wheels are 90 degrees. However, the "
           "maximum degree for ground detection is 89 degrees.",
           own<&Vehicle::dDegsPerRay>, {0.1, 89, 0.01}),
    flag("Use Fast Ray Cast",
         "If checked and interal ray caster is used yielding considerably faster calculations, but only non-animated "
         "surfaces may be used.\nThe method also requires much more memory.",
         own<&Vehicle::bUseStaticMesh>, kTold),
    flag("Store Ground Mesh Data",
         "Stores the mesh data. Once checked the data will be stored, if the mesh is rebuilt you need to do a "
         "re-checking.",
         own<&Vehicle::bStoreGroundMeshData>, kTold),
    // Input Property Parameters
    number("Acceleration (scale relative)",
           "How fast the quadrig can accelerate (Acceleration*((units per second per second)*multiplier)*(the scale of "
           "the car).",
           car<&cCarCam::dGasPedalMaxRateOfChange>, {0.001, 1000000, 0.01}),
}};

/// How far a channel's maximum can be set. That of the steering wheel is an angle, and its tangent must stay finite.
constexpr double largestMaximum(int channel) { return channel == pcInput_STEERING_WHEEL ? 1.57 : 1e+16; }

constexpr ParameterRow channelRow(std::string_view label, std::string_view description, NumberField field, double max,
                                  int channel) {
    return {label, description, field, 0.0, max, 0.001, kTold, channel};
}

template <int... channels>
constexpr std::array<ParameterRow, 2 * sizeof...(channels)> channelRows(
    std::integer_sequence<int, channels...> /*channels*/) {
    std::array<ParameterRow, 2 * sizeof...(channels)> rows;
    std::size_t next = 0;
    const auto add = [&](int channel, NumberField response, NumberField maximum) {
        rows[next++] = channelRow(" Response Factor", ": Response Factor", response, 1e+16, channel);
        rows[next++] = channelRow(" Maximum", ": Maximum", maximum, largestMaximum(channel), channel);
    };
    (add(channels, channelResponse<channels>, channelMaximum<channels>), ...);
    return rows;
}

constexpr auto kRows = [] {
    constexpr auto kOfChannels = channelRows(std::make_integer_sequence<int, kNumInputs>());
    std::array<ParameterRow, kFixedRows.size() + kOfChannels.size()> rows;
    std::copy(kOfChannels.begin(), kOfChannels.end(), std::copy(kFixedRows.begin(), kFixedRows.end(), rows.begin()));
    return rows;
}();

template <class Field>
constexpr auto countRows() {
    return std::count_if(kRows.begin(), kRows.end(),
                         [](const ParameterRow& row) { return std::holds_alternative<Field>(row.field); });
}
static_assert(kRows.size() == 78 && countRows<NumberField>() == 60 && countRows<FlagField>() == 15 &&
              countRows<WholeField>() == 2 && countRows<std::monostate>() == 1);
static_assert([] {
    std::size_t rows = 0;
    for (const ParameterGroup& group : kGroups) rows += group.rows;
    return rows;
}() == kRows.size());

// Declaration

constexpr std::uint32_t kTwoDirections = 14;
constexpr std::uint32_t kOneDirection = 15;
constexpr double kInputExponent = 1.3;
constexpr std::uint32_t kOutputChannels = 41;
constexpr std::int32_t kTypeDouble = 8;

void declareInputs(Vehicle& v) {
    static unidevice::Property::Factory factory;
    for (std::size_t i = 0; i < v.aInputProperties.size(); ++i) {
        const InputChannel& channel = v.cCarCam.pcInput[i];
        unidevice::Property* property = v.hostInterface->createInputProperty(
            std::string(channel.sName), channel.bOneSided ? kOneDirection : kTwoDirections, &factory);
        if (property != nullptr) property->exponent = kInputExponent;
        v.aInputProperties[i] = property;
    }
    v.hostInterface->endInputProperties();
}

/// Declares one row; called with what the row's field holds.
struct RowDeclaration {
    Vehicle& vehicle;
    const ParameterRow& row;
    CInterface& host;
    CInterface::Callback* callback;

    void operator()(std::monostate /*button*/) const { host.addButton(label(), description(), callback); }
    void operator()(NumberField field) const {
        host.addDoubleParameter(label(), description(), &field(vehicle), row.min, row.max, row.step, 1, true, nullptr,
                                callback);
    }
    void operator()(WholeField field) const {
        host.addIntParameter(label(), description(), &field(vehicle), static_cast<std::int32_t>(row.min),
                             static_cast<std::int32_t>(row.max), static_cast<std::int32_t>(row.step), 10, true, nullptr,
                             callback);
    }
    void operator()(FlagField field) const { host.addBoolParameter(label(), description(), &field(vehicle), callback); }

  private:
    [[nodiscard]] std::string label() const { return labelOf(row, vehicle); }
    [[nodiscard]] std::string description() const { return descriptionOf(row, vehicle); }
};

void declareGroups(Vehicle& v) {
    CInterface& host = *v.hostInterface;
    const ParameterRow* row = kRows.data();
    for (const ParameterGroup& group : kGroups) {
        host.beginGroup(std::string(group.title), std::string(group.description));
        for (const ParameterRow* end = row + group.rows; row != end; ++row)
            std::visit(RowDeclaration{v, *row, host, row->tellsChanges ? &v : nullptr}, row->field);
        host.endGroup();
    }
    host.endParameters();
}

void createOutputs(Vehicle& v) {
    v.aOutputProperties.fill(nullptr);
    if (!v.hostInterface->hasExtension(kOutputChannels)) return;
    for (std::size_t i = 0; i < v.aOutputProperties.size(); ++i) {
        unidevice::OutputChannelRecord record{std::string(kOutputs[i].name), kTypeDouble};
        auto* property = static_cast<unidevice::Property*>(v.hostInterface->callExtension(kOutputChannels, &record));
        v.aOutputProperties[i] = property;
        if (property != nullptr) static_cast<unidevice::OutputProperty*>(property)->store(0.0);
    }
}

std::string behindChannelText(const ParameterRow& row, const Vehicle& v, std::string_view InputChannel::*text,
                              std::string_view own) {
    if (row.channel < 0) return std::string(own);
    return std::string(v.cCarCam.pcInput[row.channel].*text).append(own);
}

}  // namespace

std::span<const ParameterRow> parameterRows() { return kRows; }
std::span<const ParameterGroup> parameterGroups() { return kGroups; }

std::string labelOf(const ParameterRow& row, const CCarCamObject& vehicle) {
    return behindChannelText(row, vehicle, &InputChannel::sName, row.label);
}

std::string descriptionOf(const ParameterRow& row, const CCarCamObject& vehicle) {
    return behindChannelText(row, vehicle, &InputChannel::sDescription, row.description);
}

void declareParameters(CCarCamObject& vehicle) {
    declareInputs(vehicle);
    declareGroups(vehicle);
    createOutputs(vehicle);
}

}  // namespace ond::ovs::addon
