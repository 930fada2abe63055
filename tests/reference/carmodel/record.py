"""The car's record: every field with its default, and a flat view of it by path.

Units: scene units, seconds, radians. A path is spelled as a C++ expression would spell it:
`dVelocity`, `pcInput[3].value`, `cCarBody.qTransRel.rotation.x`, `wheelGeom[1].radius`.
"""

import copy

from .vectors import IDENTITY_QUAT, UP, QTransform, Quat, Vector3

GAS, STEER, BOOSTER, ABS, SKIDDING, SKID_BRAKE, GRAVEL, BURNOUT, FORCE = range(9)


class InputChannel:
    def __init__(self, one_sided, response, maximum):
        self.bOneSided = one_sided
        self.raw = 0.0
        self.value = 0.0
        self.response = response
        self.maxRate = 1.0
        self.maximum = maximum


class WheelGeometry:
    def __init__(self, radius, z, x):
        self.radius = radius
        self.z = z
        self.x = x


class CarBody:
    def __init__(self):
        self.qTransRel = QTransform()
        self.qTransAbs = QTransform()
        self.qSpare0 = QTransform()
        self.qSpare1 = QTransform()
        self.fRelYPos = 0.0
        self.fRelYVel = 0.0
        self.fRelXAng = 0.0
        self.fRelZAng = 0.0
        self.fRelXAngVel = 0.0
        self.fRelZAngVel = 0.0


class Wheel:
    def __init__(self):
        self.dSuspDistanceMoved = 0.0
        self.vGroundNormal = UP
        self.vGroundHitPoint = Vector3()
        self.fSuspForce = 0.0
        self.fSuspIntegral = 0.0
        self.qTransWheelAbs = QTransform()
        self.qTransWheelAbs_prev = QTransform()
        self.qTransWheelRel = QTransform()
        self.vSuspPoint = Vector3()
        self.vSuspPoint_prev = Vector3()
        self.fSuspZeroDiff = 0.0
        self.fSuspZeroDiff_prev = 0.0
        self.qWheelFull = IDENTITY_QUAT
        self.pfTotalPitch = 0.0
        self.pfPitchIncr = 0.0
        self.pfYaw = 0.0
        self.pfYaw_prev = 0.0
        self.qWheelYaw = IDENTITY_QUAT
        self.fGravelOffset = 0.0
        self.fGravelNoise = 0.0
        self.dWheelGroundNormalDiff = 0.0
        self.bInAir = False


class Car:
    def __init__(self):
        self._previous_step()
        self._skid_brake()
        self._air_and_modes()
        self._transforms()
        self._parameters()
        self.pcInput = [
            InputChannel(False, 0.01, 3.0),
            InputChannel(False, 0.1, 0.7),
            InputChannel(True, 0.02, 6.0),
            InputChannel(True, 1.0, 0.03),
            InputChannel(True, 0.1, 0.9),
            InputChannel(True, 0.1, 1.0),
            InputChannel(True, 1.0, 0.05),
            InputChannel(True, 0.03, 3.0),
            InputChannel(True, 1.0, 100.0),
        ]
        self.cCarBody = CarBody()
        self.pcWheel = [Wheel() for _ in range(4)]
        self.qTransCarAbs = QTransform()
        self.vWorldAcceleration = Vector3()
        self.vLocalAcceleration = Vector3()
        self.fFrontAxleZ = -1.05
        self.dBrakeStartValue = 0.0
        self.bBrakeArmed = True

    def _previous_step(self):
        self.dSimStep = 0.003
        self.dGasPedalValue_prev = 0.0
        self.pcInput_GAS_PEDAL_inp_prev = 0.0
        self.bIsReverseVelAbsBraking = False
        self.dVelocity = 0.0
        self.fSteeringAngle = 0.0
        self.dLandingSkiddingFactor = 0.05
        self.dBoosterStiffnessMult = 0.3
        self.fCarLocalYawIncr = 0.0
        self.vAcceleration = Vector3()
        self.vExternalForceDir = Vector3(1.0, -1.0, 1.0)
        self.vExternalForcePos = Vector3(0.0, 1.0, 0.0)
        self.dForceOffset = 0.0
        self.vWantedPosIncr = Vector3()
        self.dWantedSkiddingValue = 1.0
        self.dScaleRelMaxJumpVelocity = 10.0
        self.dLandingNeutralizer = 0.8
        self.dHorizontalRestoringFactor = 0.05
        self.bBoosterOn = False

    def _skid_brake(self):
        self.vSkidBrakePosIncr = Vector3()
        self.dSkidBrakeLocalYawIncr = 0.0
        self.vSkidBrakeInitVel = Vector3()
        self.vSkidBrakeInitRotVel = Vector3()
        self.bSkidBreakingOn = False
        self.bSkidBreakingOnDisableFeatures = False
        self.bSkidBrakeValueOn = False
        self.bSkidFirstTime = True

    def _air_and_modes(self):
        self.bJustLanded = False
        self.bAllWheelsInAir = False
        self.bBurnoutIdle = True
        self.dSteeringResponseSaved = 1.0
        self.dBurnoutRandom = 0.0
        self.bAutonomousMode = False
        self.dSkiddingOffset = 0.0
        self.dGravelShakeOffset = 0.5
        self.dSkiddingReleaseThresh = 0.04
        self.dInputFilterMem = 0.0
        self.dGasPedalInputFilterMem = 0.0
        self.bUseReverseAsAbsBrake = True
        self.randomValue_gravelShake = 1000
        self.randomValue_burnout = 10000
        self.randomValue_steeringNoise = 100000
        self.dGasPedalMaxRateOfChange = 2.0
        self.bSkiddingOn = False
        self.bSkiddingReady = True
        self.iSkidBrakeVelSign = 1
        self.iSkidBrakeSteerSign = 1
        self.fSkidWantedGasPedalValue = 0.0
        self.dSteeringInput_prev = 0.0
        self.dGasPedalInput_prev = 0.0
        self.dAutoSteeringValue = 0.0
        self.dBaseStiffnessFront = 0.0
        self.dBaseStiffnessBack = 0.0
        self.dBaseDampingFront = 0.0
        self.dBaseDampingBack = 0.0
        self.fRelMaxBumperLen = 0.2
        self.dMaximumForwardTiltAngle = 0.06
        self.dMaximumSideTiltAngle = 0.07
        self.bGravityOn = False
        self.bCarInTheAir = False
        self.bTakeOffArmed = True

    def _transforms(self):
        self.qTransCarAbsIncr = QTransform()
        self.qTransCarAbsIncr_prev = QTransform()
        self.qTransCarStart = QTransform()
        self.vGravityDir = Vector3(0.0, -1.0, 0.0)
        self.qGravity = IDENTITY_QUAT
        self.QGravityFilterMem = IDENTITY_QUAT

    def _parameters(self):
        self.fGravity = 1.0
        self.dVelRelMaxSteeringChangeVel = 2.0
        self.dBurnoutShake = 0.2
        self.dBurnoutTiltForce = 1.0
        self.dBurnoutFadeoutFactor = 0.99
        self.dSpeedDependentTurnRadiusReductionFactor = 0.2
        self.dSteeringNoise = 0.0
        self.bStiffnessBoosted = False
        self.dSkidBrakeRotBrakeMult = 1.0
        self.dWorldAvoidanceSphereRadius = 0.0
        self.iRandomSeedAdder = 0
        self.dSkidBrakeStopFactor = 1.0
        self.dSkiddingReleaseResponseFactor = 1.0
        self.dTurnBase = 0.0
        self.dTurnBaseSpare = 30.0
        self.fBodyRestHeight = 0.15
        self.fBodyHeight = 1.002
        self.fBodyWidth = 1.361
        self.fBodyLength = 3.522
        self.wheelGeom = [
            WheelGeometry(0.26, -1.05, -0.64),
            WheelGeometry(0.26, -1.05, 0.64),
            WheelGeometry(0.26, 1.044, -0.64),
            WheelGeometry(0.26, 1.044, 0.64),
        ]
        self.dSpringLimitMult = 1e16
        self.dSpringLimitSpare = 1e9
        self.fMassMult = 2.0
        self.fStiffnessFront = 2000.0
        self.fDampingFront = 200.0
        self.fStiffnessBack = 2000.0
        self.fDampingBack = 200.0
        self.dSpringIntegralGain = 0.0
        self.dGravelRoughness = 0.9
        self.dWheelRadiusMult = 0.95

    def copy(self):
        return copy.deepcopy(self)

    def wheel_radius(self, i):
        """Effective radius of wheel i."""
        return self.wheelGeom[i].radius * self.dWheelRadiusMult


class FollowState:
    """What the chase of a target keeps beside the record."""

    def __init__(self):
        self.dFollowAccelerationMult = 0.5
        self.dIgnoreSphereRadius = 0.5
        self.dReverseMaxVelMult = 0.5
        self.dFollowAccRespFact = 0.02
        self.dAutoSteeringValueRespFact = 0.2
        self.dFollowAccMem = 0.0
        self.dAutoSteeringValueMem = 0.0


def flatten(thing, prefix=""):
    """{path: bool, int or float} of a record, in declaration order."""
    out = {}
    if isinstance(thing, (bool, int, float)):
        return {prefix: thing}
    if isinstance(thing, list):
        for i, entry in enumerate(thing):
            out.update(flatten(entry, f"{prefix}[{i}]"))
        return out
    if isinstance(thing, (Vector3, Quat)):
        names = thing._fields
    elif isinstance(thing, QTransform):
        names = QTransform.__slots__
    else:
        names = vars(thing)
    for name in names:
        out.update(flatten(getattr(thing, name), f"{prefix}.{name}" if prefix else name))
    return out


def assign(thing, path, value):
    """Sets the field at `path`."""
    steps = path.replace("[", ".[").split(".")
    _assign(thing, steps, value)


def _get(thing, step):
    return thing[int(step[1:-1])] if step.startswith("[") else getattr(thing, step)


def _assign(thing, steps, value):
    if len(steps) == 1:
        setattr(thing, steps[0], value)
        return
    child = _get(thing, steps[0])
    if isinstance(child, (Vector3, Quat)):
        setattr(thing, steps[0], child._replace(**{steps[1]: value}))
    else:
        _assign(child, steps[1:], value)
