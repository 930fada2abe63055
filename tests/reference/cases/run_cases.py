"""Whole runs over hundreds of frames: what a driver, the ground and a target do, and what becomes of the car.

A frame: the nine device values are set, the follower acts (if any), the gravity node is read in, StepCar, the ground is
set, UpdateWheelRolling. Between frames nothing else touches the record.
"""

import math

from carmodel.follow import update_follow
from carmodel.record import Car, FollowState, assign, flatten
from carmodel.rolling import reset_car, start_car, update_wheel_rolling
from carmodel.scalars import libm
from carmodel.step import step_car
from carmodel.vectors import Quat, Vector3

from .random_source import Random
from .scenarios import SCENARIOS
from .text import cell, cells, fields, line
from .tolerances import FLOOR, FLOORS, RUN, allowance

KEY_FIELDS = (
    [f"qTransCarAbs.position.{c}" for c in "xyz"] + [f"qTransCarAbs.rotation.{c}" for c in "xyzw"]
    + [f"cCarBody.{n}" for n in ("fRelYPos", "fRelXAng", "fRelZAng", "fRelYVel", "fRelXAngVel", "fRelZAngVel")]
    + [f"cCarBody.qTransAbs.position.{c}" for c in "xyz"]
    + [f"pcInput[{i}].value" for i in (0, 1, 2, 4, 5, 7)]
    + ["dWantedSkiddingValue", "fCarLocalYawIncr", "dSkidBrakeLocalYawIncr", "dSteeringInput_prev"]
    + [f"pcWheel[{i}].{n}" for i in range(4) for n in ("pfTotalPitch", "pfYaw", "fSuspZeroDiff")]
    + ["randomValue_gravelShake", "randomValue_burnout", "randomValue_steeringNoise", "bSkidBreakingOn", "bCarInTheAir",
       "bJustLanded", "bBoosterOn", "bBrakeArmed", "bSkiddingOn", "bIsReverseVelAbsBraking", "bBurnoutIdle"])
SAMPLE_EVERY = 10


def body_matrix(car, stretch):
    """The body's world matrix; `stretch` is the scale of its Z axis."""
    m = car.cCarBody.qTransAbs.matrix()
    for j in range(3):
        m[8 + j] *= stretch
    return m


class Run:
    """A scenario, frame by frame, from its script."""

    def __init__(self, script):
        self.script = script
        self.car = Car()
        for path, value in script["set"].items():
            assign(self.car, path, value)
        reset_car(self.car)
        car = self.car
        car.dBaseStiffnessFront, car.dBaseStiffnessBack = car.fStiffnessFront, car.fStiffnessBack
        car.dBaseDampingFront, car.dBaseDampingBack = car.fDampingFront, car.fDampingBack
        start_car(car, car.qTransCarAbs, script["dt"])
        self.follow = FollowState()
        for name, value in script["follow"].items():
            setattr(self.follow, name, value)

    def frame(self, event):
        car, dt = self.car, self.script["dt"]
        for channel, raw in zip(car.pcInput, event["raw"]):
            channel.raw = raw
        if "target" in event:
            update_follow(car, self.follow, body_matrix(car, self.script["stretch"]), Vector3(*event["target"]), dt)
        if "gravity" in event:
            car.vGravityDir = Vector3(*event["gravity"][:3])
            car.qGravity = Quat(*event["gravity"][3:])
        step_car(car, dt)
        for wheel, (in_air, height, moved, *normal) in zip(car.pcWheel, event["ground"]):
            wheel.bInAir = in_air
            wheel.dWheelGroundNormalDiff = height
            wheel.dSuspDistanceMoved = moved
            wheel.vGroundNormal = Vector3(*normal)
        update_wheel_rolling(car)


def play(script, events):
    """(samples by frame, whole record at the end, follower at the end)."""
    run = Run(script)
    samples = {}
    for k, event in enumerate(events):
        run.frame(event)
        if (k + 1) % SAMPLE_EVERY == 0:
            record = flatten(run.car)
            samples[k] = [record[path] for path in KEY_FIELDS]
    return samples, flatten(run.car), list(vars(run.follow).values())


def sensitivity(script, events, seed):
    """(largest deviation in units of the allowance, its path) when each result of sin, cos, tan, acos, atan2 and pow is
    moved at random by up to one unit in the last place. Integers and flags that change count as infinite."""
    _, calm, calm_follower = play(script, events)
    r = Random(seed)
    libm.nudge = lambda x: x if x == 0.0 else r.pick([x, math.nextafter(x, math.inf), math.nextafter(x, -math.inf)])
    try:
        _, moved, moved_follower = play(script, events)
    finally:
        libm.nudge = None
    worst = (0.0, "")
    for path, value in calm.items():
        if isinstance(value, float):
            worst = max(worst, (abs(moved[path] - value) / allowance(path, value, calm, RUN), path))
        elif moved[path] != value:
            worst = (math.inf, path)
    for i, (a, b) in enumerate(zip(calm_follower, moved_follower)):
        worst = max(worst, (abs(a - b) / (RUN * max(abs(a), FLOOR)), f"follower {i}"))
    return worst


def prepared():
    """[(name, script, events)] of all scenarios; events carry every value of every frame."""
    out = []
    for index, scenario in enumerate(SCENARIOS):
        script, events = scenario(Random(0xD21FE + 7919 * index))
        out.append((scenario.__name__, script, events))
    return out


def _event_line(k, event, before):
    """What changed since the frame before."""
    out = {"frame": k}
    for name, value in event.items():
        if before is None or value != before.get(name):
            if name == "ground":
                out[name] = [cells(wheel) for wheel in value]
            else:
                out[name] = cells(value)
    return out


# May be large in a tame run: limits given to springs, and the kicks of a burnout, which the tilt limits contain.
UNBOUNDED = ("dSpringLimit", "vAcceleration.x", "cCarBody.fRelXAngVel")


def check_tame(name, record):
    """A run that overflows or runs away is no golden run."""
    for path, value in record.items():
        if not math.isfinite(value):
            raise ValueError(f"{name}: {path} is {value}")
        if isinstance(value, float) and abs(value) > 1e6 and not path.startswith(UNBOUNDED):
            raise ValueError(f"{name}: {path} runs away: {value}")


def lines():
    yield line({"about": "Runs of the car model. 'run' starts one: fields of 'set' on a new record, ResetCar, spring "
                         "constants copied to dBase..., StartCar from qTransCarAbs. Each 'frame' tells what changed "
                         "against the frame before: raw (nine device values), target (of the follower, whose matrix is "
                         "the body's transform with its Z axis times 'stretch'), gravity (direction, orientation), "
                         "ground (per wheel: bInAir, dWheelGroundNormalDiff, dSuspDistanceMoved, vGroundNormal). All "
                         "that was told is set again in each frame: raw, UpdateFollow, gravity, StepCar, ground, "
                         "UpdateWheelRolling. 'expect' holds the key fields behind that frame, 'end' what the record "
                         "then holds that differs from the new record with 'set'. A double may be off by 'tolerance' "
                         "times the largest of: its magnitude, that of the other components of its vector or "
                         "quaternion, and its floor.",
                "generator": "splitmix64, one seed per run", "keyFields": KEY_FIELDS, "tolerance": cell(RUN),
                "floor": cell(FLOOR), "floors": fields(FLOORS)})
    for name, script, events in prepared():
        samples, record, follower = play(script, events)
        check_tame(name, record)
        head = {"run": name, "dt": cell(script["dt"]), "stretch": cell(script["stretch"]),
                "set": fields(script["set"]), "follow": fields(script["follow"])}
        yield line(head)
        before = None
        for k, event in enumerate(events):
            entry = _event_line(k, event, before)
            before = event
            if k in samples:
                entry["expect"] = cells(samples[k])
            if len(entry) > 1:
                yield line(entry)
        start = Car()
        for path, value in script["set"].items():
            assign(start, path, value)
        start = flatten(start)
        end = {path: value for path, value in record.items() if value != start[path]}
        yield line({"frames": len(events), "end": fields(end), "follower": cells(follower)})
