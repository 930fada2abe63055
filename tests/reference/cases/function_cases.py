"""Each function of the car model on whole random records."""

import fnmatch
import math

from carmodel import burnout, drive, follow, inputs, rolling, skidding, steering, step, suspension
from carmodel.record import Car, FollowState, flatten
from carmodel.vectors import QTransform, Vector3

from .random_record import draw_fields, random_record, _draw_quat
from .random_source import Random
from .text import cell, cells, fields, line
from .tolerances import FLOOR, FLOORS, OPERATION, RUN

SEED = 0x5EED0CA5
CASES = 60
RECORDS = 20
DTS = [1 / 24, 1 / 25, 0.04, 1 / 30, 1 / 60, 0.0017, 0.002, 0.1]

CHANNELS = ["pcInput[*].raw", "pcInput[*].value"]
MOTION = ["qTransCarAbs.*", "qTransCarAbsIncr.*", "fCarLocalYawIncr", "dVelocity"]
MODES = ["bSkid*", "bCarInTheAir", "bJustLanded", "bAllWheelsInAir", "bGravityOn", "bBurnoutIdle", "bBrakeArmed",
         "bBoosterOn", "bAutonomousMode", "bUseReverseAsAbsBrake", "bIsReverseVelAbsBraking", "pcWheel[*].bInAir"]
SLIDE = ["vSkidBrake*", "dSkidBrake*", "iSkidBrake*"]
BODY = ["cCarBody.fRel*", "vAcceleration.*", "vLocalAcceleration.*", "pcWheel[*].fSusp*",
        "pcWheel[*].dWheelGroundNormalDiff", "pcInput[8].value", "bGravityOn", "bJustLanded", "pcWheel[*].bInAir"]


def _frame_dt(r):
    return r.pick(DTS) if r.chance(0.8) else r.short(0.004, 0.08)


def _sub_step(r):
    dt = _frame_dt(r)
    return dt, step.choose_step_length(Car(), dt)


def _only_dt(f):
    return lambda car, args: f(car, *args)


def _draw_dt(r, car):
    return [_frame_dt(r)]


def _draw_sub_step(r, car):
    dt, h = _sub_step(r)
    if r.chance(0.9):
        car.dSimStep = h
    return [dt, h]


def _draw_yaw(r, car):
    _, h = _sub_step(r)
    turn_base, radius = drive.turn_geometry(car.copy())
    if r.chance(0.3):
        radius = r.pick([-1e45, 1e45, 0.03522, -0.03522, 12.5, -4.0])
    return [turn_base, radius, h]


def _draw_body(r, car):
    return [_sub_step(r)[1], r.short(0.5, 1.0), r.short(0.2, 0.3), r.pick([0.0, 0.0, 3.0, -0.5])]


def _draw_start(r, car):
    t = QTransform(Vector3(*(r.short(-20.0, 20.0) for _ in range(3))), _draw_quat(r, True))
    return [*t.position, *t.rotation, _frame_dt(r)]


def _draw_follow(r, car):
    """Follow state (7), body matrix (16), target (3), dt."""
    car.bAutonomousMode = r.chance(0.95)
    state = [r.short(0.1, 1.5), r.short(0.0, 1.0), r.short(0.2, 1.0), r.pick([0.0, 0.02, 0.3]), r.pick([0.0, 0.2, 1.0]),
             r.short(-2.0, 3.0), r.short(-0.7, 0.7)]
    body = car.cCarBody.qTransAbs
    m = body.matrix()
    if r.chance(0.7):
        for i in range(3):
            s = r.short(0.5, 4.0)
            for j in range(3):
                m[4 * i + j] *= s
    distance = r.pick([0.5, 2.0, 8.0, 30.0])
    target = body.position + Vector3(*(r.short(-distance, distance) for _ in range(3)))
    return [*state, *m, *target, _frame_dt(r)]


def _call_follow(car, args):
    state = FollowState()
    names = list(vars(state))
    for name, value in zip(names, args[:7]):
        setattr(state, name, value)
    follow.update_follow(car, state, args[7:23], Vector3(*args[23:26]), args[26])
    return list(vars(state).values())


def _call_start(car, args):
    rolling.start_car(car, QTransform(Vector3(*args[:3]), type(car.qGravity)(*args[3:7])), args[7])


# name, fields drawn anew in each case, arguments, call (what it returns is kept as "result")
TABLE = [
    ("ChooseStepLength", ["dSimStep"], _draw_dt, _only_dt(step.choose_step_length)),
    ("UpdateFlight", MODES + MOTION + ["qGravity.*", "QGravityFilterMem.*", "vGravityDir.*", "dSimStep"], _draw_dt,
     _only_dt(suspension.update_flight)),
    ("UpdateSkidBrake", MODES + MOTION + SLIDE + CHANNELS + ["qTransCarStart.*"], _draw_dt,
     _only_dt(skidding.update_skid_brake)),
    ("UpdateSkidding", MODES + CHANNELS, _draw_dt, _only_dt(skidding.update_skidding)),
    ("UpdateInputs", MODES + CHANNELS + MOTION + ["d*Input*_prev", "pcInput[*].response", "vLocalAcceleration.*"],
     _draw_dt, _only_dt(inputs.update_inputs)),
    ("UpdateBooster", MODES + CHANNELS + ["dBase*", "bStiffnessBoosted", "pcInput[*].maximum"], _draw_dt,
     _only_dt(skidding.update_booster)),
    ("UpdateAbsBrake", MODES + CHANNELS + ["dGasPedalValue_prev", "pcInput_GAS_PEDAL_inp_prev", "dBrakeStartValue"],
     _draw_dt, _only_dt(skidding.update_abs_brake)),
    ("UpdateGravel", CHANNELS + ["dVelocity", "randomValue_*", "pcWheel[*].fGravel*"],
     lambda r, car: [_frame_dt(r), r.pick([1, 1, 1, 0, 2])], _only_dt(burnout.update_gravel)),
    ("UpdateWheelYaw", CHANNELS + MOTION + ["wheelGeom[0].z", "wheelGeom[1].z"], _draw_yaw,
     _only_dt(steering.update_wheel_yaw)),
    ("UpdateBody", BODY + MOTION + ["cCarBody.qTransAbs.*"], _draw_body, _only_dt(suspension.update_body)),
    ("StepDrive", CHANNELS + MODES + MOTION + SLIDE + BODY + ["dWantedSkiddingValue"], _draw_sub_step,
     _only_dt(drive.step_drive)),
    ("StepCar", CHANNELS + MODES + MOTION + SLIDE + BODY + ["pcInput[*].response", "d*Input*_prev"], _draw_dt,
     _only_dt(step.step_car)),
    ("UpdateFollow", CHANNELS + ["dAutoSteeringValue", "cCarBody.qTransAbs.*"], _draw_follow, _call_follow),
    ("UpdateWheelRolling", MOTION + MODES + ["pcWheel[*].dSusp*", "pcWheel[*].pf*", "pcWheel[*].qTransWheelAbs*"],
     _draw_dt, lambda car, args: rolling.update_wheel_rolling(car)),
    ("StartCar", CHANNELS + ["pcWheel[*].pf*", "pcWheel[*].qTransWheelRel.*"], _draw_start, _call_start),
    ("ResetCar", ["cCarBody.*"], lambda r, car: [], lambda car, args: rolling.reset_car(car)),
]


def _differences(before, after):
    return {p: v for p, v in after.items() if v != before[p] or isinstance(v, bool) != isinstance(before[p], bool)}


def records():
    r = Random(SEED)
    return [random_record(r) for _ in range(RECORDS)]


def _finite(values):
    return all(math.isfinite(v) for v in values)


def function_case(name, patterns, draw_arguments, call, pool, r):
    """(index of the record, changes to it, arguments, result, changed fields), or None if the outcome is not finite."""
    index = r.below(len(pool))
    before = flatten(pool[index])
    car = pool[index].copy()
    # A quarter of the listed fields a case, and all raw inputs: the others stay as the record has them.
    paths = [p for p in before if any(fnmatch.fnmatchcase(_glob_text(p), _glob_text(g)) for g in patterns)]
    draw_fields(car, r, [p for p in paths if r.chance(0.25) or p.endswith(".raw")])
    args = draw_arguments(r, car)
    given = flatten(car)
    result = call(car, list(args))
    after = flatten(car)
    result = [] if result is None else [float(result)] if isinstance(result, (int, float)) else result
    if not _finite(after.values()) or not _finite(result):
        return None
    return index, _differences(before, given), args, result, _differences(given, after)


def _glob_text(path):
    """Brackets mean indices here, not character classes."""
    return path.replace("[", "<").replace("]", ">")


def lines():
    default = flatten(Car())
    yield line({"about": "Functions of the car model. A case takes the named record, sets the fields of 'in', calls "
                         "'fn' with 'args' (vectors, transforms, matrices flattened) and expects the fields of 'out' "
                         "to hold these values, all others to be unchanged, and 'result' to come back (UpdateFollow: "
                         "the state of the follower, seven numbers, which also stand first in its arguments). A "
                         "double may be off by the tolerance times the largest of: its magnitude, that of the other "
                         "components of its vector or quaternion, and its floor.",
                "generator": f"splitmix64, seed {SEED}, one stream per function",
                # A frame is a run of up to 33 sub-steps.
                "tolerance": cell(OPERATION), "tolerances": fields({"StepCar": RUN}),
                "floor": cell(FLOOR), "floors": fields(FLOORS)})
    yield line({"record": "default", "fields": fields(default)})
    pool = records()
    for i, car in enumerate(pool):
        yield line({"record": str(i), "fields": fields(_differences(default, flatten(car)))})
    for index, (name, patterns, draw_arguments, call) in enumerate(TABLE):
        r = Random(SEED + 1000003 * (index + 1))
        done = 0
        count = CASES if name != "ResetCar" else 10
        while done < count:
            case = function_case(name, patterns, draw_arguments, call, pool, r)
            if case is None:
                continue
            done += 1
            record, given, args, result, out = case
            entry = {"fn": name, "record": str(record), "in": fields(given), "args": cells(args)}
            if result:
                entry["result"] = cells(result)
            entry["out"] = fields(out)
            yield line(entry)
