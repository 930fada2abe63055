"""The scripts of the runs. Each function returns (script, events) and draws from the generator it is given.

Channels by number: gas 0, steering 1, booster 2, ABS brake 3, skidding 4, skid brake 5, gravel 6, burnout 7,
force from outside 8.
"""

import math

FLAT = 0.247  # rest height of the wheel centres with the default radius
DOWN = [0.0, -1.0, 0.0, 0.0, 0.0, 0.0, 1.0]
SCENARIOS = []


def scenario(f):
    SCENARIOS.append(f)
    return f


def q(x, bits=16):
    """x on a grid of binary fractions, so that files stay short."""
    return round(x * 2.0**bits) / 2.0**bits


def script(dt, stretch=1.0, **fields):
    """Fields with brackets or dots in their path are given through `also`."""
    also = fields.pop("also", {})
    follow = fields.pop("follow", {})
    return {"dt": dt, "stretch": stretch, "set": {**fields, **also}, "follow": follow}


def level(moved=0.125, height=FLAT):
    return [[False, height, moved, 0.0, 1.0, 0.0] for _ in range(4)]


def waves(k, size=0.02, moved=0.25):
    """Uneven ground: each wheel its own wave, on a coarse grid, new every other frame."""
    k -= k % 2
    return [[False, q(FLAT + size * math.sin(0.21 * k + 1.3 * i)), q(moved + 0.1 * math.cos(0.17 * k + i), 10),
             0.0, 1.0, 0.0] for i in range(4)]


def airborne(wheels, height=FLAT):
    return [[i in wheels, height, 0.0, 0.0, 1.0, 0.0] for i in range(4)]


def drive(frames, plan, ground=None, target=None, gravity=None):
    """`plan`: [(first frame, {channel: raw})], each holding until the next; ground, target, gravity: functions of the
    frame, or constants."""
    events = []
    raw = [0.0] * 9
    todo = sorted(plan, key=lambda entry: entry[0])
    for k in range(frames):
        while todo and todo[0][0] <= k:
            raw = list(raw)
            for channel, value in todo.pop(0)[1].items():
                raw[channel] = value
        event = {"raw": raw, "ground": ground(k) if callable(ground) else ground or level()}
        if target is not None:
            event["target"] = target(k)
        if gravity is not None:
            event["gravity"] = gravity(k) if callable(gravity) else gravity
        events.append(event)
    return events


@scenario
def accelerate_and_release(_):
    return script(1 / 25), drive(200, [(0, {0: 1.0}), (120, {0: 0.0})])


@scenario
def full_lock_circle(_):
    return script(1 / 30), drive(200, [(0, {0: 0.5}), (10, {1: 1.0}), (120, {1: -1.0})])


@scenario
def slalom_on_waves(_):
    plan = [(k, {1: q(0.8 * math.sin(0.2 * k), 8)}) for k in range(0, 240, 6)]
    return script(1 / 60, fBodyRestHeight=0.137), drive(240, plan + [(0, {0: 1.0})], waves)


@scenario
def reverse_as_brake(_):
    plan = [(0, {0: 1.0}), (90, {0: -1.0}), (150, {0: 0.0}), (160, {0: -1.0}), (220, {0: 1.0})]
    return script(1 / 25, also={"pcInput[0].response": 0.1}), drive(260, plan)


@scenario
def reverse_as_reverse(_):
    plan = [(0, {0: 1.0, 1: 0.25}), (90, {0: -1.0}), (200, {0: 0.0})]
    return script(1 / 30, bUseReverseAsAbsBrake=False), drive(240, plan)


@scenario
def abs_brake_full_stop(_):
    plan = [(0, {0: 1.0}), (80, {3: 1.0}), (140, {3: 0.0}), (180, {3: 0.5, 1: 0.5})]
    return script(1 / 24), drive(240, plan)


@scenario
def skid_brake_straight_to_stop(_):
    plan = [(0, {0: 1.0}), (100, {5: 1.0}), (170, {5: 0.0})]
    return script(1 / 25), drive(200, plan)


@scenario
def skid_brake_in_a_turn(_):
    plan = [(0, {0: 1.0, 1: 0.75}), (100, {5: 1.0}), (112, {5: 0.0}), (150, {5: 0.5}), (190, {5: 0.0})]
    return script(1 / 30, dSkidBrakeRotBrakeMult=0.5, dSkidBrakeStopFactor=0.25), drive(240, plan)


@scenario
def skid_brake_released_under_gas_and_booster(_):
    plan = [(0, {0: 1.0, 1: -0.5}), (120, {5: 1.0}), (140, {5: 0.0}), (200, {5: 1.0, 2: 1.0}), (215, {5: 0.0}),
            (240, {2: 0.0})]
    return script(1 / 60, dSkiddingReleaseResponseFactor=0.05, also={"pcInput[0].response": 0.05}), drive(300, plan)


@scenario
def skidding_through_a_bend(_):
    plan = [(0, {0: 1.0}), (60, {1: 0.6}), (80, {4: 1.0}), (130, {4: 0.0}), (160, {4: 0.5})]
    return script(1 / 25, dSkiddingReleaseResponseFactor=0.3, dSkiddingReleaseThresh=1000.0), drive(220, plan, waves)


@scenario
def skids_by_itself_in_a_hard_turn(_):
    plan = [(0, {0: 1.0}), (60, {1: 1.0}), (120, {1: -1.0}), (180, {1: 0.0})]
    return script(1 / 24, dSkiddingReleaseThresh=0.02, dSkiddingOffset=0.05,
                  dSkiddingReleaseResponseFactor=0.2), drive(220, plan)


@scenario
def booster_stiffens_springs(_):
    plan = [(0, {0: 1.0}), (60, {2: 1.0, 1: 0.1}), (140, {2: 0.0}), (170, {0: 0.0})]
    return script(1 / 25), drive(220, plan, waves)


@scenario
def booster_under_skid_brake(_):
    plan = [(0, {0: 1.0, 2: 1.0}), (70, {5: 1.0}), (90, {5: 0.0}), (130, {2: 0.0})]
    return script(1 / 30, dBoosterStiffnessMult=0.1), drive(180, plan)


@scenario
def burnout_held_and_fading(_):
    plan = [(0, {7: 1.0, 1: 0.5}), (60, {7: 0.0}), (120, {7: 1.0, 0: 0.3}), (140, {7: 0.0})]
    return script(1 / 25, dBurnoutFadeoutFactor=0.98), drive(200, plan)


@scenario
def burnout_without_shake(_):
    plan = [(0, {7: 0.5, 1: -1.0}), (100, {7: 0.0, 0: 0.5})]
    return script(1 / 60, dBurnoutShake=0.0, dBurnoutTiltForce=40000.0), drive(200, plan)


@scenario
def burnout_stopped_by_skid_brake(_):
    plan = [(0, {7: 1.0, 1: 0.25, 0: 0.25}), (50, {5: 1.0}), (80, {5: 0.0, 7: 0.0})]
    return script(1 / 24, iRandomSeedAdder=17, randomValue_burnout=10017), drive(150, plan)


@scenario
def gravel_shake(_):
    plan = [(0, {0: 1.0}), (60, {6: 1.0}), (120, {6: -0.5}), (160, {6: 0.0})]
    return script(1 / 30, dGravelRoughness=0.5, also={"pcInput[6].maximum": 0.2}), drive(200, plan)


@scenario
def rough_gravel_with_wrapping_counter(_):
    plan = [(0, {0: 1.0, 6: 0.5})]
    return script(1 / 25, dGravelRoughness=1.0, randomValue_gravelShake=2147483500), drive(150, plan)


@scenario
def steering_noise(_):
    plan = [(0, {0: 1.0}), (100, {1: 0.3}), (160, {1: 0.0})]
    return script(1 / 25, dSteeringNoise=0.0625), drive(200, plan)


@scenario
def external_force(_):
    plan = [(0, {0: 0.5}), (30, {8: 0.5}), (90, {8: -0.25}), (130, {8: 0.0})]
    return script(1 / 30, dForceOffset=0.0625, fRelMaxBumperLen=0.5, dMaximumForwardTiltAngle=0.3,
                  dMaximumSideTiltAngle=0.3, also={"vExternalForceDir.x": 0.7}), drive(180, plan)


def _jump(k):
    """Off at frame 80, all four off at 84, first wheels down at 118, all down at 122."""
    if 80 <= k < 84 or 118 <= k < 122:
        return airborne({0, 1} if k < 84 else {2, 3})
    return airborne({0, 1, 2, 3}, 0.2) if 84 <= k < 118 else level()


@scenario
def jump_and_landing_with_gravity(_):
    plan = [(0, {0: 1.0}), (70, {1: 0.5}), (130, {0: 0.0, 1: 0.0})]
    return script(1 / 25, bGravityOn=True, fGravity=0.0123878, fRelMaxBumperLen=1.0), drive(180, plan, _jump)


@scenario
def jump_over_a_slope_turns_to_its_gravity(_):
    tilted = [q(-0.5, 20), q(-0.8660254, 20), 0.0, 0.0, 0.0, q(0.2588190451, 40), q(0.9659258263, 40)]
    plan = [(0, {0: 1.0}), (150, {5: 1.0})]
    return (script(1 / 30, bGravityOn=True, fGravity=0.0125, also={"qTransCarAbs.rotation.y": 0.6,
                                                                   "qTransCarAbs.rotation.w": 0.8}),
            drive(200, plan, _jump, gravity=lambda k: DOWN if k < 60 else tilted))


@scenario
def flight_with_gravity_node_of_other_sign(_):
    other = [0.0, -1.0, 0.0, 0.0, -0.6, 0.0, -0.8]
    plan = [(0, {0: 1.0, 1: 0.25})]
    return (script(1 / 24, bGravityOn=True, fGravity=0.0125, dHorizontalRestoringFactor=0.2),
            drive(150, plan, lambda k: airborne({0, 1, 2, 3}) if k % 60 >= 30 else level(), gravity=other))


@scenario
def one_wheel_hangs(_):
    plan = [(0, {0: 0.5, 1: 0.2})]
    return (script(1 / 25, bGravityOn=True, fGravity=0.01, dScaleRelMaxJumpVelocity=0.05),
            drive(150, plan, lambda k: airborne({k // 20 % 5})))


@scenario
def no_ground_without_gravity(_):
    plan = [(0, {0: 1.0}), (60, {1: 0.5}), (100, {4: 0.5}), (110, {5: 1.0}), (150, {5: 0.0})]
    turned = [0.0, -1.0, 0.0, 0.0, 0.1305261922, 0.0, 0.9914448614]
    return (script(1 / 60, dSkiddingReleaseThresh=1000.0),
            drive(240, plan, lambda k: airborne({0, 1, 2, 3}) if 50 <= k < 140 else level(), gravity=turned))


@scenario
def all_wheels_steer(_):
    plan = [(0, {0: 0.5}), (20, {1: 1.0}), (100, {1: -0.5}), (150, {0: -0.5})]
    return script(1 / 25, dTurnBase=0.5, bUseReverseAsAbsBrake=False), drive(200, plan)


@scenario
def world_edge(_):
    return (script(1 / 30, dWorldAvoidanceSphereRadius=3.0, also={"qTransCarAbs.position.x": 2.0}),
            drive(300, [(0, {0: 0.7}), (200, {1: 0.5})]))


def _circle(radius, speed, centre=(0.0, 0.0)):
    return lambda k: [q(centre[0] + radius * math.sin(speed * k), 10), 0.5,
                      q(centre[1] - radius * math.cos(speed * k), 10)]


@scenario
def chases_a_circling_target(_):
    return (script(1 / 25, 3.0, bAutonomousMode=True, follow={"dFollowAccRespFact": 0.1}),
            drive(300, [], target=_circle(25.0, 0.01, (0.0, 5.0))))


# Two runs of the follower lift the pedal's rate limit: in autonomous mode its direction hangs on whether
# (value / maximum) * maximum rounds back to value, and once the limit acts, the last bit of the velocity decides.
UNLIMITED = 1000.0


@scenario
def chase_ends_in_the_ignore_sphere(_):
    """The target moves aside all the while, so that the side it is seen on never hangs on a rounding."""
    return (script(1 / 30, 3.522, bAutonomousMode=True, dGasPedalMaxRateOfChange=UNLIMITED,
                   follow={"dIgnoreSphereRadius": 1.0, "dFollowAccRespFact": 0.2}),
            drive(250, [], target=lambda k: [q(4.0 + 0.02 * k, 10), 0.0, -18.0]))


@scenario
def backs_up_to_a_target_behind(_):
    return (script(1 / 24, 2.0, bAutonomousMode=True, bUseReverseAsAbsBrake=False,
                   dGasPedalMaxRateOfChange=UNLIMITED,
                   follow={"dFollowAccRespFact": 0.15, "dReverseMaxVelMult": 0.7}),
            drive(200, [], target=lambda k: [q(3.0 - 0.015 * k, 10), 1.0, 20.0]))


@scenario
def chase_with_a_hand_on_the_wheel(_):
    plan = [(60, {1: 0.25}), (100, {0: 0.25}), (140, {1: -0.25}), (180, {1: 0.0, 0: 0.0})]
    return (script(1 / 60, 3.0, bAutonomousMode=True), drive(300, plan, waves, target=_circle(30.0, 0.005)))


@scenario
def very_short_frames(_):
    plan = [(0, {0: 1.0, 1: 0.5}), (150, {5: 1.0}), (200, {5: 0.0}), (240, {4: 1.0})]
    return script(0.0017, also={"pcInput[0].response": 0.3, "pcInput[1].response": 0.5}), drive(300, plan)


@scenario
def long_frames(_):
    plan = [(0, {0: 1.0}), (30, {1: 0.5}), (60, {5: 1.0}), (75, {5: 0.0}), (90, {7: 0.25}), (105, {7: 0.0})]
    return script(0.1), drive(120, plan)


@scenario
def instant_responses(_):
    plan = [(0, {0: 0.5}), (20, {0: -0.5}), (40, {0: 1.0, 1: 1.0}), (60, {4: 0.3, 1: -0.3}), (80, {3: 1.0}),
            (100, {3: 0.0, 2: 0.5}), (120, {0: 0.0, 2: 0.0})]
    instant = {f"pcInput[{i}].response": 0.0 for i in range(9)}
    return (script(1 / 25, dGasPedalMaxRateOfChange=20.0, dSkiddingReleaseThresh=1000.0, also=instant),
            drive(150, plan))


@scenario
def other_rig(_):
    geometry = {"wheelGeom[0].radius": 0.4, "wheelGeom[1].radius": 0.4, "wheelGeom[2].radius": 0.5,
                "wheelGeom[3].radius": 0.5, "wheelGeom[0].z": -2.25, "wheelGeom[1].z": -2.125, "wheelGeom[2].z": 1.75,
                "wheelGeom[3].z": 1.75, "wheelGeom[0].x": -1.0, "wheelGeom[1].x": 1.0, "wheelGeom[2].x": -1.125,
                "wheelGeom[3].x": 1.25}
    plan = [(0, {0: 1.0}), (50, {1: 0.5}), (130, {5: 1.0}), (140, {5: 0.0})]
    return (script(1 / 25, fBodyLength=6.5, fMassMult=5.0, fStiffnessFront=3000.0, fDampingBack=300.0,
                   fBodyRestHeight=0.5, also=geometry), drive(180, plan, lambda k: waves(k, 0.05, 0.5)))


def _random_drive(r, dt, frames, air):
    """Any input at any time, each held for a while."""
    plan = []
    k = 0
    while k < frames:
        channel = r.pick([0, 0, 0, 1, 1, 1, 2, 3, 4, 4, 5, 6, 7, 8])
        low = (-0.3, -1.0)[channel] if channel < 2 else 0.0
        value = 0.0 if r.chance(0.35) else r.short(low, 1.0)
        if channel == 4:
            # Between the two the automatic skid would add to it; above a value of 1 a skid grows without end.
            value = r.pick([0.0, 1.0])
        if channel == 8:
            value *= 0.125
        plan.append((k, {channel: value}))
        if channel in (2, 3, 5, 7):
            plan.append((k + 5 + r.below(10), {channel: 0.0}))
        k += 1 + r.below(9)
    flights = [30 + r.below(frames - 60) for _ in range(2)] if air else []

    def ground(j):
        for start in flights:
            if start <= j < start + 15:
                return airborne({0, 1, 2, 3} if (j - start) // 5 == 1 else {start % 4})
        return waves(j, 0.01)

    fields = {"dSkiddingReleaseResponseFactor": r.short(0.05, 1.0), "dTurnBase": r.pick([0.0, 0.25]),
              "dSteeringNoise": r.pick([0.0, 0.03125]), "dSkiddingOffset": r.pick([0.0, 0.03125]),
              "bUseReverseAsAbsBrake": r.chance(0.5), "dGravelRoughness": r.short(0.1, 1.0),
              "bGravityOn": air, "fGravity": 0.0125 if air else 1.0}
    quick = {"pcInput[0].response": 0.1}
    return script(dt, also=quick, **fields), drive(frames, plan, ground)


def _add_random_drives():
    rows = [("random_drive_24", 1 / 24, 250, False), ("random_drive_25", 1 / 25, 250, False),
            ("random_drive_30_with_flights", 1 / 30, 250, True), ("random_drive_60", 1 / 60, 300, False),
            ("random_drive_25_with_flights", 1 / 25, 250, True), ("random_drive_odd_step", 0.0123, 250, False)]
    for name, dt, frames, air in rows:
        def run(r, dt=dt, frames=frames, air=air):
            return _random_drive(r, dt, frames, air)
        run.__name__ = name
        SCENARIOS.append(run)


_add_random_drives()
