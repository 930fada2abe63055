// The car record: every parameter, input, piece of integrator state and output of the car model, as one plain value.
//
// Units: seconds, radians, scene units. "Car lengths" are multiples of `fBodyLength`; fields called scale relative or
// "Rel" count in them. Axes of the car: +X right, +Y up, -Z forward. Corners: 0 front left, 1 front right, 2 back left,
// 3 back right. The record owns no memory and may be copied as it stands.
//
// Sections: wheel geometry | body | wheel | the record (stepping memory, skid brake, air and landing, transforms,
// parameters, inputs, body, wheels, closing fields)
#pragma once

#include <cstdint>

#include "ond/unidevice/InputChannel.h"
#include "ond/util/QTransform.h"
#include "ond/util/Quat.h"
#include "ond/util/Vector3.h"

namespace ond::ovs::addon {

using unidevice::InputChannel;
using util::QTransform;
using util::Quat;
using util::Vector3;

/// Index of each channel in `cCarCam::pcInput`.
enum InputIndex : int {
    pcInput_GAS_PEDAL,       ///< value: car lengths per second, + forward
    pcInput_STEERING_WHEEL,  ///< value: steering angle in radians, + to the right
    pcInput_BOOSTER,         ///< value: multiple of the gas pedal's maximum
    pcInput_ABS_BRAKE,       ///< value: brake strength
    pcInput_SKIDDING,        ///< value: lost grip, 0 to 1
    pcInput_SKID_BRAKE,      ///< value: brake strength
    pcInput_GRAVEL_SHAKE,    ///< value: amplitude
    pcInput_BURNOUT,         ///< value: wheel spin and turn rate
    pcInput_EXTERNAL_FORCE,  ///< value: force
    kNumInputs
};

constexpr int kNumWheels = 4;

/// Bound of the steering angle, just below pi/2, so that its tangent stays finite.
constexpr double kMaxSteeringAngle = 1.5707649108683606;

/// Seeds of the noise counters before `iRandomSeedAdder` is added.
constexpr std::int32_t kSeedGravelShake = 1000;
constexpr std::int32_t kSeedBurnout = 10000;
constexpr std::int32_t kSeedSteeringNoise = 100000;

/// Where a wheel sits in the car frame, in scene units. A run measures it from the rig.
struct WheelGeometry {
    double radius;  ///< unscaled; the model always uses radius * dWheelRadiusMult
    double z;       ///< negative in front
    double x;       ///< negative on the left
};

/// The sprung body.
struct cCarBody {
    QTransform<double> qTransRel;  ///< in the car frame
    QTransform<double> qTransAbs;  ///< in the world
    QTransform<double> qSpare0;    ///< kept for the layout; the model does not use it
    QTransform<double> qSpare1;    ///< as above; its rotation is reset with the others
    double fRelYPos = 0.0;         ///< height above the rest height
    double fRelYVel = 0.0;
    double fRelXAng = 0.0;  ///< pitch
    double fRelZAng = 0.0;  ///< roll
    double fRelXAngVel = 0.0;
    double fRelZAngVel = 0.0;
};

struct pcWheel {
    double dSuspDistanceMoved = 0.0;         ///< distance moved in the frame, >= 0; written by ground probing
    Vector3<double> vGroundNormal{0, 1, 0};  ///< world, unit; written by ground probing
    Vector3<double> vGroundHitPoint;         ///< world; written by ground probing
    double fSuspForce = 0.0;                 ///< vertical spring force of the sub-step
    double fSuspIntegral = 0.0;              ///< sum of compression * step, limited; no force uses it
    QTransform<double> qTransWheelAbs;       ///< wheel centre in the world
    QTransform<double> qTransWheelAbs_prev;  ///< its position one frame ago
    QTransform<double> qTransWheelRel;       ///< wheel centre in the car frame
    Vector3<double> vSuspPoint;              ///< lowest point of the wheel, world: where it wants to meet the ground
    Vector3<double> vSuspPoint_prev;
    double fSuspZeroDiff = 0.0;  ///< spring travel against rest, + when stretched
    double fSuspZeroDiff_prev = 0.0;
    Quat<double> qWheelFull;    ///< written for display only
    double pfTotalPitch = 0.0;  ///< rolling angle, within one turn; keeps its sign
    double pfPitchIncr = 0.0;   ///< rolling of this frame
    double pfYaw = 0.0;         ///< steering angle of this wheel
    double pfYaw_prev = 0.0;
    Quat<double> qWheelYaw;               ///< `pfYaw` as a turn about +Y
    double fGravelOffset = 0.0;           ///< smoothed gravel displacement, + up
    double fGravelNoise = 0.0;            ///< gravel displacement of this frame before smoothing
    double dWheelGroundNormalDiff = 0.0;  ///< height of the wheel centre over the car origin; from ground probing
    bool bInAir = false;                  ///< no ground contact; written by ground probing
};

struct cCarCam {
    // Stepping memory
    double dSimStep = 0.003;                      ///< length of a sub-step, chosen each frame
    double dGasPedalValue_prev = 0.0;             ///< gas pedal value at the end of the previous frame
    double pcInput_GAS_PEDAL_inp_prev = 0.0;      ///< its device value then
    bool bIsReverseVelAbsBraking = false;         ///< the pedal pressed against the direction of travel is braking
    double dVelocity = 0.0;                       ///< scene units per second, + forward
    double fSteeringAngle = 0.0;                  ///< steering value limited to +-kMaxSteeringAngle
    double dLandingSkiddingFactor = 0.05;         ///< grip while wheels are off the ground
    double dBoosterStiffnessMult = 0.3;           ///< "Booster Stiffness Multiplier"
    double fCarLocalYawIncr = 0.0;                ///< yaw of the sub-step
    Vector3<double> vAcceleration;                ///< of fRelXAng, fRelYPos, fRelZAng in x, y, z
    Vector3<double> vExternalForceDir{1, -1, 1};  ///< direction of the external force, car space
    Vector3<double> vExternalForcePos{0, 1, 0};   ///< its point of application, car space
    double dForceOffset = 0.0;                    ///< "External Force Offset Value"
    Vector3<double> vWantedPosIncr;               ///< world movement that the arc asks for in the sub-step
    double dWantedSkiddingValue = 1.0;       ///< grip of the movement: 1 follows at once, small values keep the old one
    double dScaleRelMaxJumpVelocity = 10.0;  ///< cap of the speed of flight
    double dLandingNeutralizer = 0.8;        ///< carried in saved blocks; no formula reads it
    double dHorizontalRestoringFactor = 0.05;  ///< filter factor that levels a flying car
    bool bBoosterOn = false;                   ///< booster acts in this frame

    // Skid brake
    Vector3<double> vSkidBrakePosIncr;            ///< movement of a slide per sub-step
    double dSkidBrakeLocalYawIncr = 0.0;          ///< its yaw
    Vector3<double> vSkidBrakeInitVel;            ///< at the start of the slide, world
    Vector3<double> vSkidBrakeInitRotVel;         ///< rotation velocity then, yaw only
    bool bSkidBreakingOn = false;                 ///< the slide controls the position
    bool bSkidBreakingOnDisableFeatures = false;  ///< rolling, steering, booster and skidding are off
    bool bSkidBrakeValueOn = false;               ///< the channel's value has not faded out yet
    bool bSkidFirstTime = true;                   ///< ready for the next slide

    // Air and landing
    bool bJustLanded = false;              ///< all wheels came down in this frame
    bool bAllWheelsInAir = false;          ///< all four were off the ground in this flight
    bool bBurnoutIdle = true;              ///< no burnout is running
    double dSteeringResponseSaved = 1.0;   ///< steering response before the burnout
    double dBurnoutRandom = 0.0;           ///< noise of the sub-step, 0..20
    bool bAutonomousMode = false;          ///< "Autonomous Mode"
    double dSkiddingOffset = 0.0;          ///< "Skidding Offset Value"
    double dGravelShakeOffset = 0.5;       ///< "Gravel Shake Offset Value"
    double dSkiddingReleaseThresh = 0.04;  ///< "Skidding Release Value (Lateral Vel Rel)"
    double dInputFilterMem = 0.0;          ///< steering added by the devices in autonomous mode
    double dGasPedalInputFilterMem = 0.0;  ///< gas added by the devices in autonomous mode
    bool bUseReverseAsAbsBrake = true;     ///< "Use Reverse As ABS Brake"
    std::int32_t randomValue_gravelShake = kSeedGravelShake;
    std::int32_t randomValue_burnout = kSeedBurnout;
    std::int32_t randomValue_steeringNoise = kSeedSteeringNoise;
    double dGasPedalMaxRateOfChange = 2.0;  ///< "Acceleration (scale relative)"
    bool bSkiddingOn = false;               ///< keyed state only; no formula reads it
    bool bSkiddingReady = true;             ///< the Skidding input has been 0 since the last start
    std::int32_t iSkidBrakeVelSign = 1;     ///< sign of the velocity when a slide began
    std::int32_t iSkidBrakeSteerSign = 1;   ///< sign of minus the steering value then
    double fSkidWantedGasPedalValue = 0.0;  ///< keyed and restored; no formula reads it
    double dSteeringInput_prev = 0.0;       ///< memory of the steering's rate limit
    double dGasPedalInput_prev = 0.0;       ///< memory of the pedal's rate limit
    double dAutoSteeringValue = 0.0;        ///< steering wanted by autonomous mode, rate limited
    double dBaseStiffnessFront = 0.0;       ///< spring constants before booster, taken when a run starts
    double dBaseStiffnessBack = 0.0;
    double dBaseDampingFront = 0.0;
    double dBaseDampingBack = 0.0;
    double fRelMaxBumperLen = 0.2;           ///< limit of fRelYPos in wheel radii
    double dMaximumForwardTiltAngle = 0.06;  ///< "Maximum Forward Tilt Angle"
    double dMaximumSideTiltAngle = 0.07;     ///< "Maximum Side Tilt Angle"
    bool bGravityOn = false;                 ///< gravity acts on a car off the ground; set by saved blocks only
    bool bCarInTheAir = false;               ///< at least one wheel is off the ground
    bool bTakeOffArmed = true;               ///< the next frame off the ground is the first of a flight

    // Transforms
    QTransform<double> qTransCarAbsIncr;  ///< movement of the sub-step: world position, yaw
    QTransform<double> qTransCarAbsIncr_prev;
    QTransform<double> qTransCarStart;      ///< qTransCarAbs at the start of the sub-step
    Vector3<double> vGravityDir{0, -1, 0};  ///< unit, world
    Quat<double> qGravity;                  ///< orientation of the gravity node
    Quat<double> QGravityFilterMem;         ///< orientation that a flying car turns to, smoothed

    // Parameters
    double fGravity = 1.0;                     ///< "Gravity"
    double dVelRelMaxSteeringChangeVel = 2.0;  ///< "Maximum Steering Change Velocity", input units per second
    double dBurnoutShake = 0.2;                ///< "Burnout Shake"
    double dBurnoutTiltForce = 1.0;            ///< "Burnout Tilting Force"
    double dBurnoutFadeoutFactor = 0.99;       ///< "Burnout Fadeout Factor", per sub-step
    double dSpeedDependentTurnRadiusReductionFactor = 0.2;
    double dSteeringNoise = 0.0;                  ///< "Steering Noise"
    bool bStiffnessBoosted = false;               ///< the spring constants are raised at this moment
    double dSkidBrakeRotBrakeMult = 1.0;          ///< "Skid Brake Rot Brake Mult"
    double dWorldAvoidanceSphereRadius = 0.0;     ///< "World Avoidance Sphere (scale relative)"; 0 is off
    std::int32_t iRandomSeedAdder = 0;            ///< "Random Seed Adder"
    double dSkidBrakeStopFactor = 1.0;            ///< "Skid Brake Stop Factor"
    double dSkiddingReleaseResponseFactor = 1.0;  ///< "Skidding Release Response Factor"
    double dTurnBase = 0.0;                       ///< "Turn Base (Back Wheel Relative)"
    double dTurnBaseSpare = 30.0;                 ///< carried in saved blocks; no formula reads it
    double fBodyRestHeight = 0.15;                ///< body origin above the plane of the contact points
    double fBodyHeight = 1.002;                   ///< Y size of the body mesh
    double fBodyWidth = 1.361;                    ///< X size
    double fBodyLength = 3.522;                   ///< Z size, > 0: the car length
    WheelGeometry wheelGeom[kNumWheels] = {
        {0.26, -1.05, -0.64}, {0.26, -1.05, 0.64}, {0.26, 1.044, -0.64}, {0.26, 1.044, 0.64}};
    double dSpringLimitMult = 1e16;    ///< times fBodyRestHeight: the limit handed to the spring, which ignores it
    double dSpringLimitSpare = 1e9;    ///< carried in saved blocks; no formula reads it
    double fMassMult = 2.0;            ///< "Mass Multiplier"
    double fStiffnessFront = 2000.0;   ///< "Front Stiffness"
    double fDampingFront = 200.0;      ///< "Front Damping"
    double fStiffnessBack = 2000.0;    ///< "Back Stiffness"
    double fDampingBack = 200.0;       ///< "Back Damping"
    double dSpringIntegralGain = 0.0;  ///< handed to the spring, which ignores it
    double dGravelRoughness = 0.9;     ///< "Gravel Roughness"
    double dWheelRadiusMult = 0.95;    ///< "Wheel Radius Multiplier"

    // Inputs, body, wheels
    InputChannel pcInput[kNumInputs];
    addon::cCarBody cCarBody;
    addon::pcWheel pcWheel[kNumWheels];

    // Closing fields
    QTransform<double> qTransCarAbs;     ///< the car in the world: what the model produces
    Vector3<double> vWorldAcceleration;  ///< over the last sub-step
    Vector3<double> vLocalAcceleration;  ///< the same in car space
    double fFrontAxleZ = -1.05;          ///< minus half of fBodyLength once a run has started
    double dBrakeStartValue = 0.0;       ///< gas pedal value when a brake began
    bool bBrakeArmed = true;             ///< the next brake frame is a first one

    /// All defaults, with the nine channels named and tuned. Seeds get `seedAdder` added (wrapping).
    explicit cCarCam(std::int32_t seedAdder = 0);
};

}  // namespace ond::ovs::addon
