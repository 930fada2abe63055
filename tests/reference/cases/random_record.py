"""A record filled with plausible numbers; the same rules of drawing serve whole records and single fields."""

from carmodel.record import Car, flatten, assign
from carmodel.vectors import Quat, normalized_quat

# Ranges by path without indices. What is not listed is drawn around its default.
RANGES = {
    "dSimStep": (0.0025, 0.006), "dGasPedalValue_prev": (-3.0, 6.0), "pcInput_GAS_PEDAL_inp_prev": (-1.0, 1.0),
    "dVelocity": (-12.0, 25.0), "fSteeringAngle": (-0.7, 0.7), "fCarLocalYawIncr": (-0.01, 0.01),
    "dForceOffset": (-0.5, 0.5), "dWantedSkiddingValue": (0.0, 1.0), "dSkidBrakeLocalYawIncr": (-0.01, 0.01),
    "dSteeringResponseSaved": (0.02, 1.0), "dBurnoutRandom": (0.0, 20.0), "dSkiddingOffset": (-0.1, 0.2),
    "dGravelShakeOffset": (-0.5, 1.0), "dSkiddingReleaseThresh": (0.001, 0.08), "dInputFilterMem": (-0.3, 0.3),
    "dGasPedalInputFilterMem": (-1.0, 1.0), "fSkidWantedGasPedalValue": (-1.0, 3.0), "dSteeringInput_prev": (-1.0, 1.0),
    "dGasPedalInput_prev": (-1.0, 1.0), "dAutoSteeringValue": (-0.7, 0.7), "dBaseStiffnessFront": (1000.0, 3000.0),
    "dBaseStiffnessBack": (1000.0, 3000.0), "dBaseDampingFront": (100.0, 300.0), "dBaseDampingBack": (100.0, 300.0),
    "dSteeringNoise": (-0.05, 0.1), "dWorldAvoidanceSphereRadius": (-4.0, 12.0), "dTurnBase": (-0.3, 0.8),
    "dSpringIntegralGain": (0.0, 10.0), "dBrakeStartValue": (-3.0, 6.0), "dScaleRelMaxJumpVelocity": (0.05, 12.0),
    "dLandingSkiddingFactor": (0.0, 0.3), "fRelMaxBumperLen": (0.05, 0.4),
    "vAcceleration.x": (-20.0, 20.0), "vAcceleration.y": (-60.0, 60.0), "vAcceleration.z": (-20.0, 20.0),
    "vExternalForceDir": (-1.5, 1.5), "vExternalForcePos": (-1.5, 1.5), "vWantedPosIncr": (-0.1, 0.1),
    "vSkidBrakePosIncr": (-0.1, 0.1), "vSkidBrakeInitVel": (-3.0, 3.0), "vSkidBrakeInitRotVel": (-0.5, 0.5),
    "qTransCarAbsIncr.position": (-0.1, 0.1), "qTransCarAbsIncr_prev.position": (-0.1, 0.1),
    "qTransCarStart.position": (-30.0, 30.0), "vGravityDir": (-1.0, 1.0), "qTransCarAbs.position": (-30.0, 30.0),
    "vWorldAcceleration": (-80.0, 80.0), "vLocalAcceleration": (-80.0, 80.0),
    "cCarBody.qTransRel.position": (-0.2, 0.2), "cCarBody.qTransAbs.position": (-30.0, 30.0),
    "cCarBody.qSpare0.position": (-1.0, 1.0), "cCarBody.qSpare1.position": (-1.0, 1.0),
    "cCarBody.fRelYPos": (-0.05, 0.05), "cCarBody.fRelYVel": (-1.0, 1.0), "cCarBody.fRelXAng": (-0.07, 0.07),
    "cCarBody.fRelZAng": (-0.08, 0.08), "cCarBody.fRelXAngVel": (-0.5, 0.5), "cCarBody.fRelZAngVel": (-0.5, 0.5),
    "pcWheel.dSuspDistanceMoved": (0.0, 1.0), "pcWheel.vGroundNormal": (-1.0, 1.0),
    "pcWheel.vGroundHitPoint": (-30.0, 30.0), "pcWheel.fSuspForce": (-500.0, 500.0),
    "pcWheel.fSuspIntegral": (-1.0, 1.0), "pcWheel.qTransWheelAbs.position": (-30.0, 30.0),
    "pcWheel.qTransWheelAbs_prev.position": (-30.0, 30.0), "pcWheel.qTransWheelRel.position": (-2.0, 2.0),
    "pcWheel.vSuspPoint": (-30.0, 30.0), "pcWheel.vSuspPoint_prev": (-30.0, 30.0), "pcWheel.fSuspZeroDiff": (-0.1, 0.1),
    "pcWheel.fSuspZeroDiff_prev": (-0.1, 0.1), "pcWheel.pfTotalPitch": (-7.0, 7.0), "pcWheel.pfPitchIncr": (-2.0, 2.0),
    "pcWheel.pfYaw": (-0.7, 0.7), "pcWheel.pfYaw_prev": (-0.7, 0.7), "pcWheel.fGravelOffset": (-0.02, 0.02),
    "pcWheel.fGravelNoise": (-0.02, 0.02), "pcWheel.dWheelGroundNormalDiff": (0.1, 0.4),
}
FILTER_FACTORS = {"dSkiddingReleaseResponseFactor", "dSkidBrakeStopFactor", "dHorizontalRestoringFactor",
                  "dGravelRoughness", "dBurnoutFadeoutFactor"}
CHANNEL_VALUES = [(-3.0, 6.0), (-0.8, 0.8), (0.0, 3.0), (0.0, 0.03), (0.0, 0.9), (0.0, 1.0), (-0.05, 0.05), (-0.5, 3.0),
                  (-60.0, 60.0)]
TWO_SIDED = (0, 1)


def _plain(path):
    out = ""
    skip = False
    for c in path:
        if c == "[":
            skip = True
        elif c == "]":
            skip = False
        elif not skip:
            out += c
    return out


def _draw_channel(r, path, default):
    index = int(path[len("pcInput["):path.index("]")])
    name = path[path.index("]") + 2:]
    if name == "raw":
        low = -1.0 if index in TWO_SIDED else 0.0
        return r.pick([0.0, 0.0, 1.0, low, 0.5]) if r.chance(0.4) else r.short(low, 1.0)
    if name == "value":
        return r.pick([0.0, 1e-8, 0.0009]) if r.chance(0.2) else r.short(*CHANNEL_VALUES[index])
    if name == "response":
        return r.pick([0.0, 1.0, default, default]) if r.chance(0.5) else r.short(0.01, 1.0)
    return r.short(default * 0.5, default * 1.5)


def _draw_number(r, path, default):
    if path.startswith("pcInput["):
        return _draw_channel(r, path, default)
    plain = _plain(path)
    if plain in FILTER_FACTORS:
        return r.pick([0.0, 1.0, default]) if r.chance(0.3) else r.short(0.02, 1.0)
    for key in (plain, plain.rpartition(".")[0]):
        if key in RANGES:
            return r.short(*RANGES[key])
    return r.short(default * 0.6, default * 1.4)


def _draw_quat(r, canonical_only):
    """A car stands mostly upright, turned anyhow; now and then it lies on its side or has the other sign."""
    tilt = 0.1 if r.chance(0.8) else 1.0
    q = normalized_quat(Quat(r.short(-tilt, tilt), r.short(-1.0, 1.0), r.short(-tilt, tilt), r.short(-1.0, 1.0)))
    if q.w < 0 and canonical_only:
        q = Quat(-q.x, -q.y, -q.z, -q.w)
    return q


def _draw_integer(r, path):
    if path.endswith("Sign"):
        return r.pick([-1, 1])
    if path.startswith("randomValue"):
        return r.below(200000) if r.chance(0.9) else r.pick([2147483647, -1, -2147483648])
    return r.below(1000)


def draw_fields(car, r, paths):
    """Draws the fields at `paths` anew; a rotation is drawn whole as soon as its x is named."""
    defaults = flatten(Car())
    for path in paths:
        default = defaults[path]
        stem, _, last = path.rpartition(".")
        if stem + ".w" in defaults:
            if last == "x":
                q = _draw_quat(r, r.chance(0.7))
                for name in "xyzw":
                    assign(car, f"{stem}.{name}", getattr(q, name))
        elif isinstance(default, bool):
            assign(car, path, r.chance(0.5))
        elif isinstance(default, int):
            assign(car, path, _draw_integer(r, path))
        else:
            assign(car, path, _draw_number(r, path, default))


def random_record(r):
    """A whole record; what is seldom true (a slide, a flight, a burnout) is made a bit less seldom than in life."""
    car = Car()
    paths = [p for p in flatten(car) if not p.endswith("bOneSided")]
    draw_fields(car, r, paths)
    for path in ("bSkidBreakingOn", "bSkidBreakingOnDisableFeatures", "bCarInTheAir", "bAllWheelsInAir", "bJustLanded"):
        assign(car, path, r.chance(0.25))
    for i in range(4):
        assign(car, f"pcWheel[{i}].bInAir", r.chance(0.2))
    together = r.pick([None, False, False, True])
    if together is not None:
        for wheel in car.pcWheel:
            wheel.bInAir = together
    if r.chance(0.7):
        _measure_as_a_run_does(car, r)
    return car


def _measure_as_a_run_does(car, r):
    """Front axle half a length ahead, back wheels in line; mostly with the turning axis right on them."""
    car.fFrontAxleZ = -car.fBodyLength / 2.0
    car.wheelGeom[3].z = car.wheelGeom[2].z
    if r.chance(0.6):
        car.dTurnBase = 0.0
