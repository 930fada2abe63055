"""The histories of a vehicle: which value each follows, in the order in which a frame keys them.

Values are stored as immutable things: numbers, flags, Vector3, Quat, or (position, rotation) for a transform.
"""

from carmodel.record import BOOSTER, BURNOUT, GAS, SKID_BRAKE, SKIDDING, STEER
from carmodel.vectors import IDENTITY_QUAT, ZERO, QTransform

from .animated import latest, linear, nearest

NO_TRANSFORM = (ZERO, IDENTITY_QUAT)
CORNER_ROWS = ("ancCarCampcWheelfSuspZeroDiff", "ancCarCampcWheelfSuspZeroDiff_prev", "ancCarCampcWheelpfTotalPitch",
               "ancWheelNodeCurrDelta", "ancWheelNodeCurrDeltaW", "andWheelGroundNormalDiff")
AUTONOMOUS_ONLY = ("cCarCamdInputFilterMem", "cCarCamdGasPedalInputFilterMem", "andFollowAccMem",
                   "andAutoSteeringValueMem")
# Cut one frame behind the start of a run: they are written when a frame is over. All others are cut at the start.
CUT_AFTER_START = ("ancCarCamcCarBodyfRelYPos", "ancCarCamcCarBodyfRelXAng", "ancCarCamcCarBodyfRelZAng",
                   "ancCarCamcCarBodyfRelYVel", "anvAcceleration", "ancCarCamcCarBodyfRelXAngVel",
                   "ancCarCamcCarBodyfRelZAngVel", "ancCarCamqTransCarAbsIncr", "cCarCamdWantedSkiddingValue",
                   "anQGravityFilterMem", "anbCarInTheAir") + CORNER_ROWS


def as_pair(q):
    return (q.position, q.rotation)


def as_transform(pair):
    return QTransform(*pair)


def make():
    """{name: variable}, a list of four for the rows by corner; in key order."""
    out = {}
    for name in ("ancCarCamcCarBodyfRelYPos", "ancCarCamcCarBodyfRelXAng", "ancCarCamcCarBodyfRelZAng",
                 "ancCarCamcCarBodyfRelYVel"):
        out[name] = linear()
    out["anvAcceleration"] = nearest(ZERO)
    out["ancCarCamcCarBodyfRelXAngVel"] = linear()
    out["ancCarCamcCarBodyfRelZAngVel"] = linear()
    out["anFollowCamFilterMem"] = nearest(NO_TRANSFORM)
    for name in ("ancCarCampcInput_STEERING_WHEEL", "ancCarCampcInput_GAS_PEDAL",
                 "ancCarCampcInput_GAS_PEDAL_inp_prev"):
        out[name] = linear()
    out["ancCarCambIsReverseVelAbsBraking"] = nearest(False)
    out["ancCarCamvSkidBrakePosIncr"] = nearest(ZERO)
    out["ancCarCamdSkidBrakeLocalYawIncr"] = linear()
    out["ancCarCampcInput_BOOSTER"] = linear()
    for name in CORNER_ROWS:
        out[name] = [linear() for _ in range(4)]
    out["ancCarCamqTransCarAbsIncr"] = nearest(NO_TRANSFORM)
    out["ancCarCampcInput_SKID_BRAKE"] = linear()
    out["ancCarCambSkidBreakingOn"] = nearest(False)
    out["ancCarCambSkidBreakingOnDisableFeatures"] = nearest(False)
    out["ancCarCambSkidFirstTime"] = nearest(True)
    out["ancCarCampcInput_SKIDDING"] = linear()
    out["ancCarCampcInput_BURNOUT"] = linear()
    out["ancCarCambSkiddingOn"] = nearest(False)
    out["ancCarCamfSkidWantedGasPedalValue"] = linear()
    out["cCarCamdWantedSkiddingValue"] = linear()
    for name in AUTONOMOUS_ONLY:
        out[name] = linear()
    out["ancCarCamfCarLocalYawIncr"] = linear()
    out["anQGravityFilterMem"] = nearest(IDENTITY_QUAT)
    out["anbCarInTheAir"] = nearest(False)
    out["ancCarCamrandomValue_gravelShake"] = latest(1000)
    out["ancCarCamrandomValue_burnout"] = latest(10000)
    out["ancCarCamrandomValue_steeringNoise"] = latest(100000)
    return out


def count(histories):
    return sum(len(v) if isinstance(v, list) else 1 for v in histories.values())


def live(vehicle):
    """[(name, value)] of the single rows as they stand now, in key order."""
    car, body, channel = vehicle.car, vehicle.car.cCarBody, vehicle.car.pcInput
    return [
        ("ancCarCamcCarBodyfRelYPos", body.fRelYPos),
        ("ancCarCamcCarBodyfRelXAng", body.fRelXAng),
        ("ancCarCamcCarBodyfRelZAng", body.fRelZAng),
        ("ancCarCamcCarBodyfRelYVel", body.fRelYVel),
        ("anvAcceleration", car.vAcceleration),
        ("ancCarCamcCarBodyfRelXAngVel", body.fRelXAngVel),
        ("ancCarCamcCarBodyfRelZAngVel", body.fRelZAngVel),
        ("anFollowCamFilterMem", as_pair(vehicle.cFollowCamNode.qFollowFilterMem)),
        ("ancCarCampcInput_STEERING_WHEEL", channel[STEER].value),
        ("ancCarCampcInput_GAS_PEDAL", channel[GAS].value),
        ("ancCarCampcInput_GAS_PEDAL_inp_prev", car.pcInput_GAS_PEDAL_inp_prev),
        ("ancCarCambIsReverseVelAbsBraking", car.bIsReverseVelAbsBraking),
        ("ancCarCamvSkidBrakePosIncr", car.vSkidBrakePosIncr),
        ("ancCarCamdSkidBrakeLocalYawIncr", car.dSkidBrakeLocalYawIncr),
        ("ancCarCampcInput_BOOSTER", channel[BOOSTER].value),
        ("ancCarCamqTransCarAbsIncr", as_pair(car.qTransCarAbsIncr)),
        ("ancCarCampcInput_SKID_BRAKE", channel[SKID_BRAKE].value),
        ("ancCarCambSkidBreakingOn", car.bSkidBreakingOn),
        ("ancCarCambSkidBreakingOnDisableFeatures", car.bSkidBreakingOnDisableFeatures),
        ("ancCarCambSkidFirstTime", car.bSkidFirstTime),
        ("ancCarCampcInput_SKIDDING", channel[SKIDDING].value),
        ("ancCarCampcInput_BURNOUT", channel[BURNOUT].value),
        ("ancCarCambSkiddingOn", car.bSkiddingOn),
        ("ancCarCamfSkidWantedGasPedalValue", car.fSkidWantedGasPedalValue),
        ("cCarCamdWantedSkiddingValue", car.dWantedSkiddingValue),
        ("cCarCamdInputFilterMem", car.dInputFilterMem),
        ("cCarCamdGasPedalInputFilterMem", car.dGasPedalInputFilterMem),
        ("andFollowAccMem", vehicle.follow.dFollowAccMem),
        ("andAutoSteeringValueMem", vehicle.follow.dAutoSteeringValueMem),
        ("ancCarCamfCarLocalYawIncr", car.fCarLocalYawIncr),
        ("anQGravityFilterMem", car.QGravityFilterMem),
        ("anbCarInTheAir", car.bCarInTheAir),
        ("ancCarCamrandomValue_gravelShake", car.randomValue_gravelShake),
        ("ancCarCamrandomValue_burnout", car.randomValue_burnout),
        ("ancCarCamrandomValue_steeringNoise", car.randomValue_steeringNoise),
    ]


def write_keys(vehicle, time):
    histories = vehicle.histories
    for name, value in live(vehicle):
        if name not in AUTONOMOUS_ONLY or vehicle.car.bAutonomousMode:
            histories[name].set_key(time, value)
    for i, wheel in enumerate(vehicle.car.pcWheel):
        histories["ancCarCampcWheelfSuspZeroDiff"][i].set_key(time, wheel.fSuspZeroDiff)
        histories["ancCarCampcWheelfSuspZeroDiff_prev"][i].set_key(time, wheel.fSuspZeroDiff_prev)
        histories["ancCarCampcWheelpfTotalPitch"][i].set_key(time, wheel.pfTotalPitch)
        if i < vehicle.num_corners():
            histories["ancWheelNodeCurrDelta"][i].set_key(time, vehicle.aWheelNodes[i].dCurrDelta)
            histories["ancWheelNodeCurrDeltaW"][i].set_key(time, vehicle.aWheelNodes[i].dCurrDeltaW)
        histories["andWheelGroundNormalDiff"][i].set_key(time, wheel.dWheelGroundNormalDiff)


def cut(vehicle, time, dt):
    """Erases what lies ahead of the start of a run."""
    for name, variable in vehicle.histories.items():
        start = time + dt if name in CUT_AFTER_START else time
        for v in variable if isinstance(variable, list) else [variable]:
            v.erase_from(start)
