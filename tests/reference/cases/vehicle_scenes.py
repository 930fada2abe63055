"""The scenes in which whole vehicles drive. Each function returns (frames per second, actions).

An action is what a user, a host or a driver does; `vehicle_cases.py` tells the list and plays it. Channels: 0 gas,
1 steering, 2 booster, 3 ABS brake, 4 skidding, 5 skid brake, 6 gravel shake, 7 burnout, 8 external force. Device values
pass the dead zone and the curve of the input channels.
"""

import math

from carmodel.vectors import product
from vehiclemodel.matrices import rotation_x, rotation_y, rotation_z, scaling, translation

from .random_source import Random

SCENES = []
ARROW = "GravityDirectionMesh"
BODY = "CarBodyMesh"
LENGTH = 3.522


def scene(f):
    SCENES.append(f)
    return f


def q(x, bits=12):
    """x on a grid of binary fractions, so that files stay short."""
    return round(x * 2.0**bits) / 2.0**bits


def placed(*matrices):
    m = matrices[0]
    for n in matrices[1:]:
        m = product(m, n)
    return [q(x, 20) for x in m]


def times(factor):
    return scaling(factor, factor, factor)


# Grounds: (vertices, faces). Corners lie at uneven places, so that no ray of a symmetric car meets an edge.

def leaning(x, z):
    """Nearly level: on level ground the rays at both edges of a wheel end at exactly its radius, and rounding alone
    would tell which of them counts."""
    return 0.015625 * x - 0.0078125 * z


def quad(half_x, half_z, height=leaning, shift=(0.3125, -0.1875)):
    corners = [(-half_x, -half_z), (half_x, -half_z * 1.125), (half_x * 1.0625, half_z), (-half_x, half_z)]
    vertices = [(x + shift[0], q(height(x + shift[0], z + shift[1])), z + shift[1]) for x, z in corners]
    return vertices, [(0, 2, 1), (0, 3, 2)]


def slope(degrees, half=60.0):
    """Rises towards -z."""
    rise = math.tan(math.radians(degrees))
    return quad(half, half, lambda x, z: -rise * z)


def terrain(seed, cells, cell, bump, upside_down=False):
    r = Random(seed)
    n = cells + 1
    vertices = []
    for k in range(n):
        for i in range(n):
            x = (i - cells / 2) * cell + r.short(-0.25, 0.25) * cell
            z = (k - cells / 2) * cell + r.short(-0.25, 0.25) * cell
            vertices.append((q(x), q(r.short(-bump, bump)), q(z)))
    faces = []
    for k in range(cells):
        for i in range(cells):
            a, b, c, d = k * n + i, k * n + i + 1, (k + 1) * n + i, (k + 1) * n + i + 1
            pair = [(a, c, b), (b, c, d)] if r.chance(0.5) else [(a, d, b), (a, c, d)]
            faces += [(f[0], f[2], f[1]) if upside_down else f for f in pair]
    return vertices, faces


def ground(name, mesh, local=None, parent=None):
    return {"ground": name, "parent": parent, "local": local or placed(times(1.0)), "vertices": mesh[0],
            "faces": mesh[1]}


def link(element, to):
    return {"link": element, "to": to}


def put(fields):
    return {"set": fields}


def place(element, matrix, frame=0, space="local"):
    return {"place": element, "frame": frame, "space": space, "matrix": matrix}


def start(frame=0, devices=None):
    return {"start": frame, "devices": devices or [0.0] * 9}


def drive(first, last, plan):
    """Actions for the frames first..last; `plan`: [(frame, {channel: value})], each value holding until the next."""
    out, devices = [], [0.0] * 9
    marks = sorted({first, last + 1} | {k for k, _ in plan if first < k <= last})
    for a, b in zip(marks, marks[1:]):
        devices = list(devices)
        for k, changes in plan:
            if k <= a and (k == a or k <= first):
                for channel, value in changes.items():
                    devices[channel] = value
        out.append({"run": [a, b - 1], "devices": devices})
    return out


def sway(first, last, size=0.75, period=40, every=5):
    return [(k, {1: q(size * math.sin(2 * math.pi * k / period), 6)}) for k in range(first, last, every)]


STOP = {"stop": True}
QUIET = put({"dGravelShakeOffset": 0.0})
SURFACE = put({"vehicle.bUseStaticMesh": False})
STRETCH = {"pcInput[0].response": 0.05}


@scene
def plane_without_ground(_):
    return 25, [SURFACE, start(), *drive(1, 60, [(1, {0: 1.0}), *sway(10, 60)]), STOP]


@scene
def flat_surface_with_shake(_):
    return 30, [SURFACE, ground("Field", quad(80.0, 80.0)), link(ARROW, "Field"), start(),
                *drive(1, 80, [(1, {0: 0.875}), *sway(6, 80, 1.0), (50, {6: 1.0})]), STOP]


@scene
def slope_of_10_degrees_by_surface(_):
    return 25, [SURFACE, QUIET, ground("Hill", slope(10.0)), link(ARROW, "Hill"),
                place(BODY, placed(translation(1.0, 0.25, -2.0), rotation_y(0.625), times(LENGTH))),
                start(), *drive(1, 60, [(1, {0: 1.0}), (20, {1: -0.5}), (40, {1: 0.75})]), STOP]


@scene
def slope_of_20_degrees_by_fast_casting(_):
    return 24, [QUIET, ground("Hill", slope(20.0)), link(ARROW, "Hill"), put(STRETCH), start(),
                *drive(1, 60, [(1, {0: -1.0}), (20, {0: 1.0, 1: -0.5}), (40, {1: 0.75})]), STOP]


@scene
def bumps_by_surface(_):
    return 24, [SURFACE, QUIET, put({**STRETCH, "vehicle.iRayMultiplier": 5, "vehicle.dDegsPerRay": 4.0}),
                ground("Rough", terrain(11, 12, 3.0, 0.375)), link(ARROW, "Rough"), start(),
                *drive(1, 60, [(1, {0: 1.0}), *sway(8, 60, 0.5)]), STOP]


@scene
def bumps_by_fast_casting(_):
    return 30, [QUIET, put({**STRETCH, "vehicle.iRayMultiplier": 5, "vehicle.dDegsPerRay": 4.0}),
                ground("Rough", terrain(12, 12, 3.0, 0.25), placed(translation(0.5, 0.125, 2.0), rotation_y(0.5))),
                link(ARROW, "Rough"), start(), *drive(1, 60, [(1, {0: 0.875}), *sway(8, 60, -0.5)]), STOP]


@scene
def bumps_from_below_by_fast_casting(_):
    """The faces look down; the rays meet their backs."""
    return 25, [QUIET, put({**STRETCH, "vehicle.bAddRaysAtWheelEdges": False,
                                "vehicle.bAlignWheelCenterToGroundNormal": True}),
                ground("Rough", terrain(13, 10, 3.5, 0.25, True)), link(ARROW, "Rough"), start(),
                *drive(1, 40, [(1, {0: 0.875})]), STOP]


@scene
def stored_bumps_in_a_moved_frame(_):
    return 25, [SURFACE, QUIET,
                put({**STRETCH, "vehicle.iRayMultiplier": 3, "vehicle.dDegsPerRay": 6.0}),
                ground("Rough", terrain(14, 9, 2.0, 0.125),
                       placed(translation(-0.5, 0.25, -3.0), rotation_y(-0.375), rotation_x(0.03125), times(2.0))),
                link(ARROW, "Rough"), put({"vehicle.bStoreGroundMeshData": True}),
                {"label": "Store Ground Mesh Data"}, link(ARROW, None), start(),
                *drive(1, 60, [(1, {0: 1.0}), *sway(5, 60, 0.625, 30)]), STOP]


@scene
def stored_slope_by_fast_casting(_):
    return 25, [QUIET, ground("Hill", slope(6.0, 40.0), placed(translation(0.0, 0.5, 0.0), rotation_z(0.0625))),
                link(ARROW, "Hill"), put({"vehicle.bStoreGroundMeshData": True}),
                {"label": "Store Ground Mesh Data"}, ground("Other", slope(-3.0, 40.0)), link(ARROW, "Other"), start(),
                *drive(1, 40, [(1, {0: 1.0, 1: 0.5})]), STOP]


@scene
def children_with_own_frames(_):
    flat = quad(30.0, 6.0)
    return 30, [SURFACE, QUIET, put(STRETCH), put({"vehicle.iRayMultiplier": 4, "vehicle.dDegsPerRay": 5.0}),
                ground("A", flat, placed(translation(0.0, -0.75, 4.0), rotation_y(0.25), times(2.0)), ARROW),
                ground("B", flat, placed(translation(1.0, -0.5, -6.0), rotation_x(0.0625), times(0.5)), ARROW),
                ground("C", terrain(15, 4, 2.0, 0.25), placed(translation(0.0, 0.0, -2.0), times(0.75)), ARROW),
                start(), *drive(1, 60, [(1, {0: 1.0}), (30, {1: 0.5})]), STOP]


@scene
def child_by_fast_casting(_):
    return 60, [QUIET, put(STRETCH),
                ground("A", slope(8.0, 20.0), placed(translation(0.0, 0.25, 1.5), rotation_y(0.375), times(0.5)),
                       ARROW),
                start(), *drive(1, 90, [(1, {0: 1.0}), (50, {1: -1.0})]), STOP]


@scene
def parent_and_children(_):
    return 25, [SURFACE, QUIET, put(STRETCH),
                put({"vehicle.iRayMultiplier": 4, "vehicle.dDegsPerRay": 4.0}),
                ground("Field", quad(60.0, 60.0),
                       placed(translation(0.0, 0.125, 0.0), rotation_z(0.015625), times(1.5))),
                link(ARROW, "Field"),
                place(ARROW, placed(translation(0.0, 0.0, -1.0), rotation_x(0.03125), times(2.0))),
                ground("Ramp", quad(4.0, 6.0, lambda x, z: 0.25 - 0.0625 * z),
                       placed(translation(0.0, -0.25, -5.0), times(0.75)), ARROW),
                {"empty": "Locator", "parent": ARROW},
                start(), *drive(1, 50, [(1, {0: 1.0}), (45, {1: 0.5})]),
                place("Field", placed(translation(0.0, 0.25, 0.5), rotation_z(-0.03125), times(1.5)), 50),
                *drive(51, 70, [(51, {0: 1.0})]), STOP]


@scene
def parent_and_child_by_fast_casting(_):
    """Both enter the world in their own coordinates; the rays come in those of the parent."""
    return 30, [QUIET, put(STRETCH), ground("Field", quad(60.0, 60.0), placed(translation(0.0, 0.25, 0.0))),
                link(ARROW, "Field"),
                ground("Hump", quad(8.0, 3.0, lambda x, z: 0.125 + 0.03125 * z),
                       placed(translation(7.0, 3.0, 9.0)), ARROW),
                start(), *drive(1, 60, [(1, {0: 1.0})]), STOP]


@scene
def default_ground(_):
    return 25, [QUIET, start(), *drive(1, 40, [(1, {0: 1.0, 1: 0.5}), (20, {1: -0.5})]), STOP]


@scene
def changed_wheels(_):
    """Front wheels smaller and further out, back wheels larger; fast, so that wheels turn more than half in a frame."""
    return 24, [SURFACE, QUIET, ground("Field", quad(300.0, 300.0)), link(ARROW, "Field"),
                put({"pcInput[0].maximum": 8.0, "pcInput[0].response": 0.5, "dGasPedalMaxRateOfChange": 8.0,
                         "vehicle.iRayMultiplier": 3}),
                *[place("WheelRelocatorMesh" + s, placed(translation(x, 0.0, z), times(f / LENGTH)))
                  for s, x, z, f in (("_FL", -0.21875, -0.375, 0.125), ("_FR", 0.21875, -0.375, 0.1328125),
                                     ("_BL", -0.1875, 0.28125, 0.3125), ("_BR", 0.203125, 0.28125, 0.3125))],
                start(), *drive(1, 60, [(1, {0: 1.0}), (20, {1: 0.25}), (40, {1: 0.0})]),
                STOP]


@scene
def backwards_spin(_):
    return 24, [SURFACE, QUIET, ground("Field", quad(300.0, 300.0)), link(ARROW, "Field"),
                put({"pcInput[0].maximum": 10.0, "pcInput[0].response": 0.5, "dGasPedalMaxRateOfChange": 12.0,
                         "vehicle.iRayMultiplier": 1}),
                start(), *drive(1, 40, [(1, {0: -1.0, 1: 0.125})]), STOP]


@scene
def larger_body_and_shifted_chassis(_):
    return 25, [SURFACE, ground("Field", quad(200.0, 200.0)), link(ARROW, "Field"),
                place(BODY, placed(translation(2.0, 0.375, 1.0), rotation_y(-0.75), rotation_x(0.0625), times(7.0))),
                place("ChassisRelocatorMesh", placed(translation(0.0625, 0.125, -0.03125), rotation_y(0.03125))),
                start(), *drive(1, 30, [(1, {0: 1.0})]),
                place("ChassisRelocatorMesh", placed(translation(-0.0625, 0.09375, 0.0625), rotation_z(0.03125)), 30),
                *drive(31, 60, [(31, {0: 1.0, 1: 0.75})]), STOP]


@scene
def stretched_body(_):
    return 25, [SURFACE, QUIET, ground("Field", quad(200.0, 200.0)), link(ARROW, "Field"),
                place(BODY, placed(translation(0.0, 0.25, 0.0), scaling(3.0, 4.0, 5.0))),
                start(), *drive(1, 40, [(1, {0: 1.0, 1: 0.25})]), STOP]


@scene
def wheel_centre_left_behind(_):
    return 25, [SURFACE, QUIET, ground("Field", quad(200.0, 200.0)), link(ARROW, "Field"),
                place("WheelCenterMesh_FR", placed(translation(0.5, 0.25, 0.5), times(1.0)), 0, "world"),
                put({"vehicle.bFixateWheelCenterNodes": True, "vehicle.bMoveWheelCenterNodeToGroundHitPoint": True,
                       "vehicle.cSteeringWheelNode.dSteeringWheelRotMult": 0.5}),
                start(), *drive(1, 30, [(1, {0: 1.0, 1: 1.0})]), STOP]


@scene
def every_input(_):
    plan = [(1, {0: 1.0}), (6, {1: 0.75}), (16, {1: -0.875}), (26, {1: 0.0, 2: 1.0}), (40, {2: 0.0, 4: 0.75, 1: 0.5}),
            (52, {4: 0.0, 5: 1.0}), (62, {5: 0.0, 6: 1.0}), (70, {8: 0.75, 6: 0.0}), (80, {8: 0.0, 3: 1.0, 0: 0.0}),
            (88, {3: 0.0, 7: 1.0, 1: 0.625}), (100, {7: 0.0, 0: -1.0})]
    return 25, [SURFACE, ground("Field", quad(200.0, 200.0)), link(ARROW, "Field"),
                put({**STRETCH, "vehicle.iRayMultiplier": 2, "dSteeringNoise": 0.25,
                         "iRandomSeedAdder": 17}), start(), *drive(1, 120, plan), STOP,
                start(46), *drive(47, 60, [(47, {0: 1.0, 4: 0.5})]), STOP]


@scene
def every_input_at_60_frames(_):
    plan = [(1, {0: 1.0, 1: 0.5}), (20, {5: 1.0}), (50, {5: 0.0}), (60, {7: 1.0}), (80, {7: 0.0, 2: 0.5}),
            (100, {2: 0.0, 3: 0.5})]
    return 60, [QUIET, ground("Field", quad(200.0, 200.0)), link(ARROW, "Field"),
                put({"pcInput[0].response": 0.25, "vehicle.iRayMultiplier": 1}), start(),
                *drive(1, 120, plan), STOP]


@scene
def external_force_from_a_moved_arrow(_):
    return 30, [SURFACE, QUIET, ground("Field", quad(200.0, 200.0)), link(ARROW, "Field"),
                place("ExternalForceMesh", placed(translation(0.125, 0.25, 0.25), rotation_y(0.75), rotation_x(2.5))),
                *[place("ExternalForceMesh", placed(translation(0.125, 0.25, 0.25), rotation_y(0.75 + 0.03125 * k)), k)
                  for k in range(1, 61)],
                put({"dForceOffset": 0.125}), start(),
                *drive(1, 60, [(1, {0: 0.5}), (10, {8: 1.0}), (30, {8: 0.0})]), STOP]


@scene
def chase(_):
    """The target circles on keys; the car drives by itself, and the user's steering is added. The pedal's rate limit is
    out of reach, since in this mode the last bit of a division tells whether it acts."""
    keys = [place("TargetMesh", placed(translation(q(0.75 + 9 * math.sin(0.06 * k)), 0.5,
                                           q(-4 - 9 * (1 - math.cos(0.06 * k)) - 0.05 * k))), k)
            for k in range(-1, 101)]
    return 25, [SURFACE, QUIET, ground("Field", quad(200.0, 200.0)), link(ARROW, "Field"),
                put({"bAutonomousMode": True, "vehicle.iRayMultiplier": 2, "dFollowAccRespFact": 0.25,
                         "dGasPedalMaxRateOfChange": 1024.0}),
                *keys, start(), *drive(1, 100, [(50, {1: 0.375}), (60, {1: 0.0})]), STOP]


@scene
def chase_of_a_target_below_the_body(_):
    return 25, [SURFACE, QUIET, link("TargetMesh", BODY),
                place("TargetMesh", placed(translation(0.25, 0.0, -1.5))),
                put({"bAutonomousMode": True, "dGasPedalMaxRateOfChange": 1024.0}), start(),
                *drive(1, 30, []), STOP]


@scene
def tilted_gravity(_):
    """Gravity leans, the car leaves the ground over a ledge and turns towards it."""
    return 25, [SURFACE, QUIET, ground("Ledge", quad(30.0, 7.0)), link(ARROW, "Ledge"),
                place(ARROW, placed(translation(0.0, 0.5, 0.0), rotation_z(0.125), rotation_x(-0.0625), times(3.0))),
                *[place("WheelRelocatorMesh" + s, placed(translation(x, 0.0, -0.28125), times(0.26 / LENGTH)))
                  for s, x in (("_FL", -0.1875), ("_FR", 0.1875))],
                put({"bGravityOn": True, "fRelMaxBumperLen": 1.5, "fGravity": 0.015625, "pcInput[0].response": 0.5,
                         "dGasPedalMaxRateOfChange": 6.0, "vehicle.dMaximumSpringChangeVelocityRel": 2.0,
                         "vehicle.iRayMultiplier": 4}),
                start(), *drive(1, 60, [(1, {0: 1.0}), (20, {1: 0.25})]), STOP,
                start(52), *drive(53, 60, [(53, {0: 1.0})]), STOP]


@scene
def only_essential_keys(_):
    return 25, [SURFACE, QUIET, ground("Field", quad(200.0, 200.0)), link(ARROW, "Field"),
                put({"vehicle.bKeyframeOnlyEssential": True, "vehicle.bSaveDynamicData": False}),
                start(), *drive(1, 40, [(1, {0: 1.0, 1: -0.5})]), STOP, {"show": 20}, {"show": 40}]


@scene
def three_corners(_):
    return 25, [SURFACE, QUIET, {"corners": 3}, ground("Hill", slope(3.0)), link(ARROW, "Hill"),
                place("WheelRelocatorMesh_BL", placed(translation(0.0078125, 0.0, 0.28125), times(0.26 / LENGTH))),
                start(),
                *drive(1, 40, [(1, {0: 1.0}), (15, {1: 0.5})]), STOP]


@scene
def resumed_run(_):
    return 30, [SURFACE, QUIET, ground("Rough", terrain(16, 8, 4.0, 0.1875)), link(ARROW, "Rough"),
                put({**STRETCH, "vehicle.iRayMultiplier": 2}), start(),
                *drive(1, 60, [(1, {0: 1.0}), *sway(5, 60)]), STOP, {"show": 33},
                start(30), *drive(31, 60, [(31, {0: 0.5, 1: -0.75}), (45, {5: 1.0})]), STOP,
                start(50), *drive(51, 70, [(51, {0: 1.0})]), STOP]


@scene
def resumed_chase_by_fast_casting(_):
    return 25, [ground("Field", quad(200.0, 200.0)), link(ARROW, "Field"),
                put({"bAutonomousMode": True, "iRandomSeedAdder": 5, "vehicle.iRayMultiplier": 1,
                         "dFollowAccRespFact": 0.25,
                         "dGasPedalMaxRateOfChange": 1024.0}),
                place("TargetMesh", placed(translation(6.0, 0.5, -24.0))), start(), *drive(1, 50, []), STOP,
                place("TargetMesh", placed(translation(-16.0, 0.5, 4.0)), 25),
                start(25), *drive(26, 60, []), STOP]


@scene
def two_fresh_runs(_):
    runs = drive(1, 40, [(1, {0: 1.0}), (15, {1: 0.5}), (30, {7: 0.5})])
    return 25, [SURFACE, ground("Field", quad(200.0, 200.0)), link(ARROW, "Field"),
                put({"pcInput[0].response": 0.25, "vehicle.iRayMultiplier": 2}), start(), *runs, STOP,
                start(0, [0.5] + [0.0] * 8), *runs, STOP,
                place(BODY, placed(translation(1.0, 0.25, -3.0), rotation_y(0.5), times(LENGTH)), -1),
                start(-1), *drive(0, 20, [(0, {0: 1.0})]), STOP]


@scene
def fresh_start_in_motion(_):
    """The body is keyed before the first run, which starts late: it takes the body's speed along."""
    keys = [place(BODY, placed(translation(0.0, 0.25, q(-0.1875 * k)), times(LENGTH)), k) for k in range(12)]
    return 25, [SURFACE, QUIET, ground("Field", quad(200.0, 200.0)), link(ARROW, "Field"), *keys,
                start(10), *drive(11, 40, [(25, {1: 0.5})]), STOP,
                start(20), *drive(21, 30, [(21, {0: 1.0})]), STOP]


@scene
def initial_velocity(_):
    return 24, [SURFACE, QUIET, ground("Field", quad(200.0, 200.0)), link(ARROW, "Field"),
                put({"vehicle.dInitialVelocity": 40.0}), start(), *drive(1, 30, []), STOP]


@scene
def without_histories(_):
    """Nothing is keyed, so a resumed run starts from the fallbacks."""
    return 25, [SURFACE, QUIET, ground("Field", quad(200.0, 200.0)), link(ARROW, "Field"),
                put({"vehicle.bSaveDynamicData": False}), start(), *drive(1, 30, [(1, {0: 1.0, 1: 0.25})]), STOP,
                start(20), *drive(21, 40, [(21, {0: 1.0})]), STOP]


@scene
def ground_is_the_own_body(_):
    return 25, [SURFACE, QUIET, link(ARROW, BODY), start(), *drive(1, 10, [(1, {0: 1.0})]), STOP]


@scene
def deleted_helpers(_):
    """Elements that are gone read as the identity and ignore what is written."""
    return 25, [SURFACE, QUIET, ground("Field", quad(200.0, 200.0)), link(ARROW, "Field"),
                {"delete": "SteeringWheelMesh"}, {"delete": "WheelCenterMesh_BL"}, {"delete": "FollowCam"},
                {"delete": "ExternalForceMesh"}, start(),
                *drive(1, 30, [(1, {0: 1.0, 1: 0.25}), (10, {8: 0.5})]), STOP]


@scene
def ground_stretched_by_its_frame(_):
    return 32, [SURFACE, QUIET, put({**STRETCH, "dTurnBase": 0.5, "vehicle.iRayMultiplier": 3,
                                         "vehicle.bAlignWheelCenterToGroundNormal": True}),
                ground("Rough", terrain(17, 8, 3.0, 0.25), placed(rotation_y(0.25), scaling(1.5, 0.5, 2.0))),
                link(ARROW, "Rough"), start(), *drive(1, 48, [(1, {0: 1.0}), (20, {1: 0.5})]), STOP]


@scene
def narrow_strip_by_fast_casting(_):
    """The rays at the outer edges of the wheels, and the steepest ones, miss."""
    return 25, [QUIET, put({**STRETCH, "vehicle.dDegsPerRay": 11.0}),
                ground("Strip", quad(0.6875, 20.0, shift=(0.0, 0.0))), link(ARROW, "Strip"),
                start(), *drive(1, 30, [(1, {0: 1.0})]), STOP]


@scene
def fall_and_landing_by_fast_casting(_):
    return 30, [QUIET, ground("Ledge", quad(30.0, 5.0)), link(ARROW, "Ledge"),
                ground("Below", quad(60.0, 60.0, lambda x, z: -1.5, shift=(0.0, -10.0)), None, ARROW),
                *[place("WheelRelocatorMesh" + s, placed(translation(x, 0.0, -0.28125), times(0.26 / LENGTH)))
                  for s, x in (("_FL", -0.1875), ("_FR", 0.1875))],
                put({"bGravityOn": True, "fRelMaxBumperLen": 1.5, "fGravity": 0.0078125,
                         "pcInput[0].response": 0.5, "dGasPedalMaxRateOfChange": 6.0,
                         "vehicle.dMaximumSpringChangeVelocityRel": 2.0, "vehicle.iRayMultiplier": 3}),
                start(), *drive(1, 80, [(1, {0: 1.0})]), STOP]


@scene
def surface_that_fast_casting_does_not_take(_):
    return 25, [QUIET, ground("Curve", ([], [])), link(ARROW, "Curve"), start(), *drive(1, 20, [(1, {0: 1.0})]), STOP]


@scene
def refused_captures(_):
    store, changed = put({"vehicle.bStoreGroundMeshData": True}), {"label": "Store Ground Mesh Data"}
    return 25, [SURFACE, QUIET, store, changed, {"empty": "Locator", "parent": None}, link(ARROW, "Locator"), store,
                changed, ground("Points", ([(0.0, 0.0, 0.0), (1.0, 0.0, 0.0)], [])), link(ARROW, "Points"), store,
                changed, link(ARROW, None), start(), *drive(1, 20, [(1, {0: 1.0})]), STOP]


@scene
def mesh_left_over_from_a_capture(_):
    """The flag is off again without the item telling so: the mesh is met in the frame of what is linked now."""
    return 25, [SURFACE, QUIET, put({"vehicle.iRayMultiplier": 2}),
                ground("Hill", slope(5.0, 30.0), placed(translation(0.0, -0.25, 0.0))),
                link(ARROW, "Hill"), put({"vehicle.bStoreGroundMeshData": True}), {"label": "Store Ground Mesh Data"},
                put({"vehicle.bStoreGroundMeshData": False}),
                ground("Field", quad(60.0, 60.0), placed(translation(0.0, 0.25, 0.0), rotation_x(0.0625))),
                link(ARROW, "Field"), start(), *drive(1, 30, [(1, {0: 1.0})]), STOP]


@scene
def stored_mesh_without_its_tree(_):
    """Captured while fast casting was on, met while it is off: no ray finds anything."""
    return 25, [QUIET, ground("Hill", slope(5.0, 30.0)), link(ARROW, "Hill"),
                put({"vehicle.bStoreGroundMeshData": True}), {"label": "Store Ground Mesh Data"}, SURFACE,
                start(), *drive(1, 20, [(1, {0: 1.0})]), STOP]


@scene
def started_twice_and_updated_at_the_start(_):
    """A start without a stop before it; a host that sends the time of the start as the first frame."""
    return 30, [QUIET, ground("Hill", slope(4.0, 40.0)), link(ARROW, "Hill"), put({"vehicle.iRayMultiplier": 2}),
                start(), *drive(1, 10, [(1, {0: 1.0})]), start(5), *drive(5, 20, [(5, {0: 1.0, 1: 0.5})]), STOP,
                start(0), *drive(0, 20, [(0, {0: 0.75})]), STOP]


@scene
def stored_layers(_):
    """Two layers in one mesh: the first triangle in the order of the walk counts, not the nearest one."""
    upper, lower = terrain(18, 7, 3.0, 0.0625), terrain(19, 7, 3.0, 0.0625)
    n = len(upper[0])
    both = (upper[0] + [(x, y - 0.3125, z) for x, y, z in lower[0]],
            [f for pair in zip(upper[1], [tuple(n + i for i in f) for f in lower[1]]) for f in pair])
    return 25, [SURFACE, QUIET, put({**STRETCH, "vehicle.iRayMultiplier": 2}), ground("Layers", both),
                link(ARROW, "Layers"), put({"vehicle.bStoreGroundMeshData": True}),
                {"label": "Store Ground Mesh Data"}, start(), *drive(1, 40, [(1, {0: 1.0, 1: 0.25})]), STOP]


@scene
def fast_fall_between_floors(_):
    """Faster than a wheel's rays reach up, so that they must start higher to meet the floor that was passed and not the
    one below, which belongs to the same mesh."""
    floor = quad(60.0, 60.0, lambda x, z: -8.4375 + 0.015625 * x, shift=(0.0, -10.0))
    cellar = quad(90.0, 90.0, lambda x, z: -60.0, shift=(0.0, -10.0))
    return 24, [SURFACE, QUIET, ground("Ledge", quad(30.0, 5.0)), link(ARROW, "Ledge"),
                ground("Floors", (floor[0] + cellar[0], floor[1] + [tuple(4 + i for i in f) for f in cellar[1]]), None,
                       ARROW),
                *[place("WheelRelocatorMesh" + s, placed(translation(x, 0.0, -0.28125), times(0.26 / LENGTH)))
                  for s, x in (("_FL", -0.1875), ("_FR", 0.1875))],
                put({"bGravityOn": True, "fRelMaxBumperLen": 1.5, "fGravity": 0.0625,
                         "dScaleRelMaxJumpVelocity": 40.0, "pcInput[0].response": 0.5,
                         "dGasPedalMaxRateOfChange": 6.0, "vehicle.iRayMultiplier": 2,
                         "vehicle.dMaximumSpringChangeVelocityRel": 2.0}),
                start(), *drive(1, 50, [(1, {0: 1.0})]), STOP]


@scene
def spin_with_one_step_a_frame(_):
    """Only then do the wheels' angles before and behind a frame differ at its end."""
    return 200, [SURFACE, QUIET, ground("Field", quad(4000.0, 4000.0)), link(ARROW, "Field"),
                 put({"pcInput[0].maximum": 64.0, "pcInput[0].response": 0.9, "pcInput[1].response": 0.75,
                          "dGasPedalMaxRateOfChange": 4096.0, "dSpeedDependentTurnRadiusReductionFactor": 0.0,
                          "vehicle.iRayMultiplier": 1}),
                 start(), *drive(1, 40, [(1, {0: 1.0}), (15, {1: 0.25}), (28, {1: -0.25})]), STOP]
