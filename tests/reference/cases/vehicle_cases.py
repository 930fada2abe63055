"""Whole vehicles in scenes: what is done to them, and what becomes of every element and value.

The actions of a scene, in order: `ground` makes an element of the user with a mesh, `empty` one without; `link` puts an
element below another (local matrices stay) and `delete` takes it away; `place` sets a key; `set` writes fields, `label`
tells the vehicle of a changed item, `corners` resizes the rig; `start`, `run` (frames, with the devices held), `stop`
and `show` are the clock's.
"""

import math

from carmodel.record import assign, flatten
from carmodel.scalars import libm
from vehiclemodel import histories
from vehiclemodel.rays import Mesh
from vehiclemodel.scene import SAME_TIME, Scene
from vehiclemodel.vehicle import Vehicle

from .random_source import Random
from .run_cases import KEY_FIELDS
from .text import cell, line
from .tolerances import FLOOR, RUN
from .vehicle_scenes import SCENES

SAMPLE_EVERY = 10
FLOORS = {"anvAcceleration": 1.0}  # springs multiply the rounding of a distance by their stiffness
# Scenes that need more than RUN. The default ground is a convex shape, which the physics library meets by an iteration
# that stops short of the surface, not by a formula as it does triangles.
TOLERANCES = {"default_ground": 1e-5}
CAR_FIELDS = KEY_FIELDS + (
    [f"cCarBody.qTransAbs.rotation.{c}" for c in "xyzw"] + [f"qTransCarAbsIncr.position.{c}" for c in "xyz"]
    + [f"QGravityFilterMem.{c}" for c in "xyzw"] + [f"vGravityDir.{c}" for c in "xyz"]
    + [f"vExternalForceDir.{c}" for c in "xyz"] + [f"vExternalForcePos.{c}" for c in "xyz"]
    + ["fBodyLength", "fBodyWidth", "fBodyHeight", "fBodyRestHeight", "fFrontAxleZ", "fSteeringAngle", "dSimStep",
       "dInputFilterMem", "dGasPedalInputFilterMem", "dAutoSteeringValue", "bSkiddingReady", "dBaseStiffnessFront",
       "fStiffnessFront", "dGasPedalInput_prev", "dGasPedalValue_prev", "pcInput_GAS_PEDAL_inp_prev", "bAllWheelsInAir",
       "bSkidFirstTime", "dVelocity"]
    + [f"qGravity.{c}" for c in "xyzw"] + [f"qTransCarAbsIncr_prev.position.{c}" for c in "xyz"]
    + [f"qTransCarAbsIncr.rotation.{c}" for c in "xyzw"] + [f"vSkidBrakePosIncr.{c}" for c in "xyz"]
    + [f"wheelGeom[{i}].{n}" for i in range(4) for n in ("radius", "z", "x")])
WHEEL_FIELDS = (
    ["bInAir", "pfYaw_prev", "fSuspZeroDiff_prev", "dSuspDistanceMoved", "dWheelGroundNormalDiff", "pfPitchIncr"]
    + [f"{v}.{c}" for v in ("vGroundNormal", "vGroundHitPoint", "qTransWheelAbs.position", "vSuspPoint",
                                  "qTransWheelAbs_prev.position")
       for c in "xyz"]
    + [f"qTransWheelAbs.rotation.{c}" for c in "xyzw"])
VEHICLE_FIELDS = ["dCurrentVelocity", "dCurrentVelocityPercent", "dMaxVelocityGauge", "dAccelerationGauge100",
                  "dAccelerationGauge60", "dStartTime", "bFreshStart", "bUseStaticMesh", "bStoreGroundMeshData"]
FOLLOW_FIELDS = ["dFollowAccMem", "dAutoSteeringValueMem"]


class Player:
    """Does the actions of a scene to a vehicle of the model."""

    def __init__(self, fps):
        self.scene = Scene(fps)
        self.vehicle = Vehicle(self.scene)
        self.vehicle.create_rig()
        for element in self.scene.elements:  # the rig's meshes are surfaces too; their shape is never asked for
            element.surface = None if element.name.endswith("Cam") else Mesh([(0, 0, 0)], [])

    def do(self, action):
        kind = next(iter(action))
        getattr(self, "_" + kind)(action)

    def _named(self, name):
        return None if name is None else self.scene.find(name)

    def _ground(self, action):
        element = self.scene.create(action["ground"], self._named(action["parent"]),
                                    Mesh(action["vertices"], action["faces"]))
        element.set_local(0.0, action["local"])

    def _empty(self, action):
        self.scene.create(action["empty"], self._named(action["parent"]))

    def _link(self, action):
        self.scene.link(self._named(action["link"]), self._named(action["to"]))

    def _delete(self, action):
        self.scene.delete(self._named(action["delete"]))

    def _place(self, action):
        element, time = self._named(action["place"]), self.scene.time(action["frame"])
        (element.set_world if action["space"] == "world" else element.set_local)(time, action["matrix"])

    def _set(self, action):
        for path, value in action["set"].items():
            if path.startswith("vehicle."):
                assign(self.vehicle, path.removeprefix("vehicle."), value)
            elif hasattr(self.vehicle.follow, path):
                setattr(self.vehicle.follow, path, value)
            else:
                assign(self.vehicle.car, path, value)

    def _label(self, action):
        assert action["label"] == "Store Ground Mesh Data"
        self.vehicle.store_ground_changed()

    def _corners(self, action):
        self.vehicle.resize_wheels(action["corners"])

    def _start(self, action):
        self.vehicle.devices = action["devices"]
        self.scene.now = self.scene.time(action["start"])
        self.vehicle.start_run(self.scene.now)

    def _run(self, action):
        self.vehicle.devices = action["devices"]
        for frame in range(action["run"][0], action["run"][1] + 1):
            self.scene.now = self.scene.time(frame)
            self.vehicle.update_frame(self.scene.now)

    def _stop(self, _):
        self.vehicle.stop_run()

    def _show(self, action):
        self.scene.now = self.scene.time(action["show"])
        self.vehicle.show_frame(self.scene.now)


def split(actions, every):
    """The actions with runs cut behind every frame that is a multiple of `every`; (action, whether to look then)."""
    for action in actions:
        if "run" not in action:
            yield action, "start" in action or "stop" in action or "show" in action
            continue
        a, b = action["run"]
        while a <= b:
            end = min(b, (a - 1) // every * every + every)
            yield {"run": [a, end], "devices": action["devices"]}, end % every == 0
            a = end + 1


def named_elements(scene):
    return [e for e in scene.elements if not e.deleted]


def state(player):
    vehicle, scene = player.vehicle, player.scene
    world = {e.name: [e.world(scene.now)[4 * i + j] for i in range(4) for j in range(3)]
             for e in named_elements(scene)}
    record = flatten(vehicle.car)
    wheels = []
    for i in range(4):
        wheel = [record[f"pcWheel[{i}].{name}"] for name in WHEEL_FIELDS]
        if i < vehicle.num_corners():
            wheel += [vehicle.aWheelNodes[i].dCurrDelta, vehicle.aWheelNodes[i].dCurrDeltaW]
        wheels.append(wheel)
    return {"world": world, "wheels": wheels, "car": [record[path] for path in CAR_FIELDS],
            "vehicle": [getattr(vehicle, name) for name in VEHICLE_FIELDS]
            + [getattr(vehicle.follow, name) for name in FOLLOW_FIELDS], "outputs": list(vehicle.outputs),
            "messages": len(scene.messages), "undoRecords": scene.undo_records}


def numbers(value):
    """A value of a history as a flat list."""
    if isinstance(value, tuple):
        return [n for part in value for n in numbers(part)]
    return [value]


def history(variable):
    if not len(variable):
        return []
    return [len(variable), variable.times[0], variable.times[-1], *numbers(variable.values[-1])]


def spin_keys(element, scene):
    """[(time, local)] of the keys that lie between frames."""
    out = []
    for time, local in zip(element.times, element.locals):
        if abs(time - scene.time(round(time * scene.fps))) > 2 * SAME_TIME:
            out.append((time, [local[4 * i + j] for i in range(4) for j in range(3)]))
    return out


def ending(player):
    vehicle, scene = player.vehicle, player.scene
    variables = {}
    for name, variable in vehicle.histories.items():
        variables[name] = [history(v) for v in variable] if isinstance(variable, list) else history(variable)
    keys = {e.name: len(e.times) for e in named_elements(scene)}
    spins = {node.element.name: spin_keys(node.element, scene) for node in vehicle.aWheelNodes}
    return {"histories": variables, "keys": keys, "spin": spins,
            "texts": [[text.partition("\n")[0], caption] for text, caption in scene.messages]}


def prepared():
    """[(name, frames per second, actions)]"""
    return [(make.__name__, *make(None)) for make in SCENES]


def text_of(thing):
    if isinstance(thing, dict):
        return {name: text_of(value) for name, value in thing.items()}
    if isinstance(thing, (list, tuple)):
        return [text_of(value) for value in thing]
    if thing is None:
        return ""
    return thing if isinstance(thing, str) else cell(thing)


def play(fps, actions, every=SAMPLE_EVERY):
    """Yields (action, state or None) for each part of the scene, at the end (None, ending)."""
    player = Player(fps)
    for action, look in split(actions, every):
        player.do(action)
        yield action, state(player) if look else None
    yield None, ending(player)


def worst_difference(a, b, path=""):
    """(largest deviation in units of the tolerance, its path); a difference of kind, length or flag is infinite."""
    if isinstance(a, dict):
        return max((worst_difference(a[k], b[k], f"{path}.{k}") for k in a), default=(0.0, ""))
    if isinstance(a, (list, tuple)):
        if len(a) != len(b):
            return math.inf, path
        return max((worst_difference(x, y, f"{path}[{i}]") for i, (x, y) in enumerate(zip(a, b))), default=(0.0, ""))
    if isinstance(a, float):
        floor = next((f for name, f in FLOORS.items() if name in path), FLOOR)
        return (abs(a - b) / (RUN * max(floor, abs(a))), path)
    return (0.0, "") if a == b else (math.inf, path)


def sensitivity(fps, actions, seed):
    """The largest deviation when each result of sin, cos, tan, acos, atan2 and pow is moved at random by up to one unit
    in the last place."""
    calm = [expected for _, expected in play(fps, actions)]
    r = Random(seed)
    libm.nudge = lambda x: x if x == 0.0 else r.pick([x, math.nextafter(x, math.inf), math.nextafter(x, -math.inf)])
    try:
        moved = [expected for _, expected in play(fps, actions)]
    finally:
        libm.nudge = None
    return max(worst_difference(a, b) for a, b in zip(calm, moved) if a is not None)


def lines(every=SAMPLE_EVERY, only=None):
    yield line({"about": "Vehicles in scenes. 'scene' makes one: a vehicle with its rig, made at time 0. Then actions, "
                         "one a line, in order: ground, empty, link, delete, place (a key), set, label, corners, "
                         "start, run (frames with devices held), stop, show; an empty name is none. 'expect' on a line "
                         "is what is then: the world matrices of all elements at the last time (groups 0 to 3, three "
                         "numbers each), the wheel records, fields of the car and of the vehicle, outputs, counts of "
                         "messages and undo records. 'end': per history number of keys, first and last time, last "
                         "value; keys per element; keys of wheels between frames; messages up to the first line feed. "
                         "The host's rule of time: a set makes a key; a read gives the key at that time, else the "
                         "latest before it, else the first, else the identity; times nearer than 'sameTime' are one. "
                         "A double may be off by the scene's 'tolerance' times the larger of its floor and its "
                         "magnitude.",
                "carFields": CAR_FIELDS, "wheelFields": WHEEL_FIELDS, "vehicleFields": VEHICLE_FIELDS + FOLLOW_FIELDS,
                "sameTime": cell(SAME_TIME), "floor": cell(FLOOR),
                "floors": text_of(FLOORS), "variables": histories.count(histories.make())})
    for name, fps, actions in prepared():
        if only is not None and name not in only:
            continue
        yield line({"scene": name, "fps": fps, "tolerance": cell(TOLERANCES.get(name, RUN))})
        for action, expected in play(fps, actions, every):
            entry = text_of(action) if action is not None else {}
            if expected is not None:
                entry["end" if action is None else "expect"] = text_of(expected)
            yield line(entry)

