// The car record: every parameter, input, piece of integrator state and output of the car model, as one plain value.
//
// Units: seconds, radians, scene units. "Car lengths" are multiples of `fBodyLength`; fields called scale relative or
// "Rel" count in them. The car heads towards -Z; +X is on the driver's right hand and +Y above. Wheels are counted from
// the left to the right, the front pair (0, 1) before the back pair (2, 3). The record owns no memory and may be copied
// as it stands.
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
    pcInput_BOOSTER,         ///< value: target speed over the gas pedal's maximum
    pcInput_ABS_BRAKE,       ///< value: brake strength
    pcInput_SKIDDING,        ///< value: lost grip, 0 to 1
    pcInput_SKID_BRAKE,      ///< value: brake strength
    pcInput_GRAVEL_SHAKE,    ///< value: amplitude
    pcInput_BURNOUT,         ///< value: how fast wheels spin and the car turns
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
    QTransform<double> qSpare0;    ///< kept for the layout; not touched by the model
    QTransform<double> qSpare1;    ///< as above; its rotation is reset with the others
    double fRelYPos = 0.0;         ///< height above the rest height
    double fRelYVel = 0.0;
    double fRelXAng = 0.0;  ///< pitch
    double fRelZAng = 0.0;  ///< roll
    double fRelXAngVel = 0.0;
    double fRelZAngVel = 0.0;
};

struct pcWheel {
    double dSuspDistanceMoved = 0.0;         ///< way of the tyre's lowest point in a frame; from ground probing
    Vector3<double> vGroundNormal{0, 1, 0};  ///< unit, world; from ground probing
    Vector3<double> vGroundHitPoint;         ///< world; from ground probing
    double fSuspForce = 0.0;                 ///< of spring and damper, + pushes the body up
    double fSuspIntegral = 0.0;              ///< sum of compression * step, limited; no force uses it
    QTransform<double> qTransWheelAbs;       ///< pose of the wheel's centre, world
    QTransform<double> qTransWheelAbs_prev;  ///< its position one frame ago
    QTransform<double> qTransWheelRel;       ///< the same in the car frame
    Vector3<double> vSuspPoint;              ///< where the tyre would touch down, world
    Vector3<double> vSuspPoint_prev;
    double fSuspZeroDiff = 0.0;  ///< spring travel against rest, + when stretched
    double fSuspZeroDiff_prev = 0.0;
    Quat<double> qWheelFull;    ///< written for display only
    double pfTotalPitch = 0.0;  ///< rolling angle, within one turn; keeps its sign
    double pfPitchIncr = 0.0;   ///< rolling of this frame
    double pfYaw = 0.0;         ///< its own angle about +Y
    double pfYaw_prev = 0.0;
    Quat<double> qWheelYaw;               ///< `pfYaw` as a turn about +Y
    double fGravelOffset = 0.0;           ///< smoothed gravel displacement, + up
    double fGravelNoise = 0.0;            ///< the same before smoothing, new in each frame
    double dWheelGroundNormalDiff = 0.0;  ///< +Y of the wheel's centre in the car frame; from ground probing
    bool bInAir = false;                  ///< hangs free; from ground probing
};

struct cCarCam {
    // Stepping memory
    double dSimStep = 0.003;                      ///< seconds; StepCar() cuts each frame anew
    double dGasPedalValue_prev = 0.0;             ///< where the gas pedal's `value` was left one frame ago
    double pcInput_GAS_PEDAL_inp_prev = 0.0;      ///< and its `raw`
    bool bIsReverseVelAbsBraking = false;         ///< the pedal brakes, see ReverseBrakeActive()
    double dVelocity = 0.0;                       ///< scene units per second, + forward
    double fSteeringAngle = 0.0;                  ///< steering value limited to +-kMaxSteeringAngle
    double dLandingSkiddingFactor = 0.05;         ///< grip in the air, unless `raw` + offset of skidding is above it
    double dBoosterStiffnessMult = 0.3;           ///< "Booster Stiffness Multiplier"
    double fCarLocalYawIncr = 0.0;                ///< yaw of the sub-step
    Vector3<double> vAcceleration;                ///< of fRelXAng, fRelYPos, fRelZAng in x, y, z
    Vector3<double> vExternalForceDir{1, -1, 1};  ///< where the external force points, in the car frame
    Vector3<double> vExternalForcePos{0, 1, 0};   ///< where on the body it acts, in the car frame
    double dForceOffset = 0.0;                    ///< "External Force Offset Value"
    Vector3<double> vWantedPosIncr;               ///< world movement that the arc asks for in the sub-step
    double dWantedSkiddingValue = 1.0;            ///< grip: share of the way to the arc's movement per 0.04 s
    double dScaleRelMaxJumpVelocity = 10.0;       ///< limits how fast a car flies
    double dLandingNeutralizer = 0.8;             ///< carried in saved blocks; no formula reads it
    double dHorizontalRestoringFactor = 0.05;     ///< filter factor of levelling in the air, used twice
    bool bBoosterOn = false;                      ///< pressed, and no slide locks the car

    // Skid brake
    Vector3<double> vSkidBrakePosIncr;            ///< movement of a slide per sub-step
    double dSkidBrakeLocalYawIncr = 0.0;          ///< its yaw
    Vector3<double> vSkidBrakeInitVel;            ///< movement of a sub-step over the frame's dt, as a slide began
    Vector3<double> vSkidBrakeInitRotVel;         ///< and the turn, likewise; y alone is not 0
    bool bSkidBreakingOn = false;                 ///< the car's movement is vSkidBrakePosIncr
    bool bSkidBreakingOnDisableFeatures = false;  ///< locked: the wheels, and other inputs with them
    bool bSkidBrakeValueOn = false;               ///< the channel's value has not faded out yet
    bool bSkidFirstTime = true;                   ///< ready for the next slide

    // Air and landing
    bool bJustLanded = false;              ///< in the first frame with no wheel in the air
    bool bAllWheelsInAir = false;          ///< this flight has had no contact at all for a frame
    bool bBurnoutIdle = true;              ///< no burnout is running
    double dSteeringResponseSaved = 1.0;   ///< steering response before the burnout
    double dBurnoutRandom = 0.0;           ///< noise of the sub-step, 0..20
    bool bAutonomousMode = false;          ///< "Autonomous Mode"
    double dSkiddingOffset = 0.0;          ///< "Skidding Offset Value"
    double dGravelShakeOffset = 0.5;       ///< "Gravel Shake Offset Value"
    double dSkiddingReleaseThresh = 0.04;  ///< "Skidding Release Value (Lateral Vel Rel)"
    double dInputFilterMem = 0.0;          ///< the driver's own steering on top of the follower's
    double dGasPedalInputFilterMem = 0.0;  ///< the driver's own gas, likewise
    bool bUseReverseAsAbsBrake = true;     ///< "Use Reverse As ABS Brake"
    std::int32_t randomValue_gravelShake = kSeedGravelShake;
    std::int32_t randomValue_burnout = kSeedBurnout;
    std::int32_t randomValue_steeringNoise = kSeedSteeringNoise;
    double dGasPedalMaxRateOfChange = 2.0;  ///< "Acceleration (scale relative)"
    bool bSkiddingOn = false;               ///< keyed state only; no formula reads it
    bool bSkiddingReady = true;             ///< a new skid may begin: its input was let go since
    std::int32_t iSkidBrakeVelSign = 1;     ///< -1 for a slide that began in reverse, else 1
    std::int32_t iSkidBrakeSteerSign = 1;   ///< -1 for one that began steering to the right, else 1
    double fSkidWantedGasPedalValue = 0.0;  ///< keyed and restored; no formula reads it
    double dSteeringInput_prev = 0.0;       ///< memory of the steering's rate limit
    double dGasPedalInput_prev = 0.0;       ///< memory of the pedal's rate limit
    double dAutoSteeringValue = 0.0;        ///< radians: where the follower steers, within the rate limit
    double dBaseStiffnessFront = 0.0;       ///< these four: the springs unboosted, as a run found them
    double dBaseStiffnessBack = 0.0;
    double dBaseDampingFront = 0.0;
    double dBaseDampingBack = 0.0;
    double fRelMaxBumperLen = 0.2;           ///< 0.9 times this many wheel radii bound fRelYPos
    double dMaximumForwardTiltAngle = 0.06;  ///< "Maximum Forward Tilt Angle"
    double dMaximumSideTiltAngle = 0.07;     ///< "Maximum Side Tilt Angle"
    bool bGravityOn = false;                 ///< a flying car falls; only saved blocks can set it
    bool bCarInTheAir = false;               ///< some wheel hangs free
    bool bTakeOffArmed = true;               ///< set on the ground, cleared where a flight begins

    // Transforms
    QTransform<double> qTransCarAbsIncr;  ///< movement of the sub-step: world position, yaw
    QTransform<double> qTransCarAbsIncr_prev;
    QTransform<double> qTransCarStart;      ///< qTransCarAbs before this sub-step moved it
    Vector3<double> vGravityDir{0, -1, 0};  ///< unit, world
    Quat<double> qGravity;                  ///< orientation of the gravity node
    Quat<double> QGravityFilterMem;         ///< qGravity behind one filter: a flying car's aim

    // Parameters
    double fGravity = 1.0;                     ///< "Gravity"
    double dVelRelMaxSteeringChangeVel = 2.0;  ///< "Maximum Steering Change Velocity", input units per second
    double dBurnoutShake = 0.2;                ///< "Burnout Shake"
    double dBurnoutTiltForce = 1.0;            ///< "Burnout Tilting Force"
    double dBurnoutFadeoutFactor = 0.99;       ///< "Burnout Fadeout Factor", per sub-step
    double dSpeedDependentTurnRadiusReductionFactor = 0.2;
    double dSteeringNoise = 0.0;                  ///< "Steering Noise"
    bool bStiffnessBoosted = false;               ///< the springs differ from their dBase... values
    double dSkidBrakeRotBrakeMult = 1.0;          ///< "Skid Brake Rot Brake Mult"
    double dWorldAvoidanceSphereRadius = 0.0;     ///< "World Avoidance Sphere (scale relative)"; 0 is off
    std::int32_t iRandomSeedAdder = 0;            ///< "Random Seed Adder"
    double dSkidBrakeStopFactor = 1.0;            ///< "Skid Brake Stop Factor"
    double dSkiddingReleaseResponseFactor = 1.0;  ///< "Skidding Release Response Factor"
    double dTurnBase = 0.0;                       ///< "Turn Base (Back Wheel Relative)"
    double dTurnBaseSpare = 30.0;                 ///< carried in saved blocks; no formula reads it
    double fBodyRestHeight = 0.15;                ///< from the contacts' plane up to the body's origin
    double fBodyHeight = 1.002;                   ///< of the body mesh along Y
    double fBodyWidth = 1.361;                    ///< along X
    double fBodyLength = 3.522;                   ///< along Z, > 0: one car length
    WheelGeometry wheelGeom[kNumWheels] = {
        {0.26, -1.05, -0.64}, {0.26, -1.05, 0.64}, {0.26, 1.044, -0.64}, {0.26, 1.044, 0.64}};
    double dSpringLimitMult = 1e16;    ///< times fBodyRestHeight: as dSpringIntegralGain
    double dSpringLimitSpare = 1e9;    ///< carried in saved blocks; no formula reads it
    double fMassMult = 2.0;            ///< "Mass Multiplier"
    double fStiffnessFront = 2000.0;   ///< "Front Stiffness"
    double fDampingFront = 200.0;      ///< "Front Damping"
    double fStiffnessBack = 2000.0;    ///< "Back Stiffness"
    double fDampingBack = 200.0;       ///< "Back Damping"
    double dSpringIntegralGain = 0.0;  ///< an argument of the spring that has no effect
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
    double dBrakeStartValue = 0.0;       ///< car lengths per second, as a brake set in
    bool bBrakeArmed = true;             ///< no ABS brake is at work

    /// All defaults, with the nine channels named and tuned. Seeds get `seedAdder` added (wrapping).
    explicit cCarCam(std::int32_t seedAdder = 0);
};

}  // namespace ond::ovs::addon
