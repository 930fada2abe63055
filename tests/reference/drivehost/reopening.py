"""What a vehicle still knows when its take is opened again: parameters, measures, histories; no state of a moment."""

from carmodel.record import Car, FollowState

KEPT = ("dSkidBrakeStopFactor", "dSkiddingReleaseResponseFactor", "dTurnBase", "fBodyRestHeight", "fBodyHeight",
        "fBodyWidth", "fBodyLength", "wheelGeom", "dSpringLimitMult", "fMassMult", "fStiffnessFront", "fDampingFront",
        "dSpringIntegralGain", "dGravelRoughness", "fRelMaxBumperLen", "bGravityOn", "dScaleRelMaxJumpVelocity",
        "dHorizontalRestoringFactor", "dLandingNeutralizer", "dVelRelMaxSteeringChangeVel", "dBurnoutShake",
        "dBurnoutTiltForce", "dSpeedDependentTurnRadiusReductionFactor", "fGravity", "dBurnoutFadeoutFactor",
        "dLandingSkiddingFactor", "dBoosterStiffnessMult", "fStiffnessBack", "fDampingBack", "bAutonomousMode",
        "dSkiddingOffset", "dSkiddingReleaseThresh", "dGravelShakeOffset", "dForceOffset", "dMaximumForwardTiltAngle",
        "dMaximumSideTiltAngle", "dSkidBrakeRotBrakeMult", "dSteeringNoise", "bUseReverseAsAbsBrake",
        "dGasPedalMaxRateOfChange", "dWorldAvoidanceSphereRadius", "dWheelRadiusMult", "iRandomSeedAdder")
KEPT_FOLLOW = ("dFollowAccelerationMult", "dIgnoreSphereRadius", "dReverseMaxVelMult", "dFollowAccRespFact",
               "dAutoSteeringValueRespFact")


def _taken_over(fresh, old, names):
    for name in names:
        setattr(fresh, name, getattr(old, name))
    return fresh


def reopen(vehicle):
    """As after saving, opening and showing; between runs."""
    channels = vehicle.car.pcInput
    vehicle.car = _taken_over(Car(), vehicle.car, KEPT)
    for channel, old in zip(vehicle.car.pcInput, channels):
        channel.response, channel.maximum = old.response, old.maximum
    vehicle.follow = _taken_over(FollowState(), vehicle.follow, KEPT_FOLLOW)
