"""Start of a run: measuring the rig, reset or restore of the car, the world of the rays, the cut of the histories."""

from carmodel.record import BOOSTER, BURNOUT, GAS, SKID_BRAKE, SKIDDING, STEER
from carmodel.rolling import reset_car, start_car
from carmodel.step import choose_step_length
from carmodel.vectors import (UP, QTransform, Vector3, conjugate, dot, group, length, normalized,
                              quat_from_matrix, rotate, scale)

from . import histories
from .histories import as_transform
from .matrices import cross, identity, set_group, to_transform, with_axis_lengths
from .physics import build_world
from .settling import point_below

STRETCHED_BODY = ("Nonuniform scaling is not allowed on the body since it would affect children.\nThe quadrig body "
                  "will now rescale to become uniform.\nWhen scaling only the length of the dummy is of "
                  "importance.\nModify the shape by editing the mesh.")
WHEELS_NOT_RELOCATED = ("In the rigging process the wheels should be moved and scaled with the "
                        "WheelRelocatorMesh:es.\nUse the WheelCenterMesh:es for suspension and particles.")
TARGET_BELOW_BODY = ("The TargetMesh is parented to the CarBodyMesh.\nThis will mess up the autonomous mode making the "
                     "car spinn.")
RANDOM_COUNTERS = ("randomValue_gravelShake", "randomValue_burnout", "randomValue_steeringNoise")


def start_run(vehicle, time):
    vehicle.bRunning = True
    if time <= vehicle.dStartTime:
        vehicle.dStartTime = time
        vehicle.bFreshStart = True
    if vehicle.bSaveDynamicData or vehicle.bKeyframeOnlyEssential:
        vehicle.scene.undo_records += histories.count(vehicle.histories)
    if vehicle.bFreshStart:
        _fresh(vehicle, time)
    else:
        _resume(vehicle, time)
    _corners(vehicle, time)
    _common(vehicle, time)


def _counters(vehicle, time, adder):
    for name in RANDOM_COUNTERS:
        value = vehicle.histories["ancCarCam" + name].value_at(time)
        setattr(vehicle.car, name, value + adder)


def _measure_body(vehicle, time, warn):
    car = vehicle.car
    m = vehicle.cCarBodyNode.read_world(time)
    s = scale(m)
    uneven = abs(abs(s.x) / abs(s.y) - 1) > 0.001 or abs(abs(s.x) / abs(s.z) - 1) > 0.001
    if warn and uneven:
        vehicle.scene.message(STRETCHED_BODY, "Warning")
    set_group(m, 0, group(m, 0) * (s.z / s.x))
    set_group(m, 1, group(m, 1) * (s.z / s.y))
    car.cCarBody.qTransAbs = to_transform(m)
    car.fBodyHeight, car.fBodyLength, car.fBodyWidth = s.y, s.z, s.x
    return m, s


def _fresh(vehicle, time):
    car = vehicle.car
    reset_car(car)
    _counters(vehicle, time, car.iRandomSeedAdder)
    m, s = _measure_body(vehicle, time, True)
    for node in (vehicle.cCarBodyNode, vehicle.cRelativeTurnBaseNode, vehicle.cSteeringWheelNode,
                 vehicle.cGravityDirectionNode, vehicle.cBaseMeshNode):
        node.prepare(time)
    vehicle.cChassisRelocatorNode.update(time)
    vehicle.read_inputs()
    vehicle.cFollowCamNode.prepare_follow_cam(time)
    contacts = _measure_wheels(vehicle, time, s)
    _place_car(car, m, contacts)
    car.qTransCarAbsIncr = QTransform()
    car.qTransCarAbsIncr_prev = QTransform()
    gas, booster = car.pcInput[GAS], car.pcInput[BOOSTER]
    gas.value = gas.raw * gas.maximum
    if booster.raw != 0.0:
        gas.value = booster.maximum * gas.maximum


def _measure_wheels(vehicle, time, s):
    """The contact point below each wheel."""
    car = vehicle.car
    relocated = True
    contacts = [wheel.vSuspPoint for wheel in car.pcWheel]
    up = rotate(car.cCarBody.qTransAbs.rotation, UP)
    for i in range(vehicle.num_corners()):
        wheel_node, centre = vehicle.aWheelNodes[i], vehicle.aWheelCenterNodes[i]
        suspension, relocator = vehicle.aWheelCenterSuspensionNodes[i], vehicle.aWheelRelocatorNodes[i]
        for node in (centre, suspension, wheel_node):
            node.prepare(time)
        w = list(wheel_node.mPrev)
        p = _in_body(car, group(w, 3))
        if p.x < wheel_node.vInitScale.y * 0.00001:
            set_group(w, 3, group(w, 3) + -0.001 * group(w, 0))
            wheel_node.write_world(w, time)
            p = _in_body(car, group(w, 3))
        car.wheelGeom[i].x, car.wheelGeom[i].z = p.x, p.z
        wheel = car.pcWheel[i]
        wheel.qTransWheelAbs = to_transform(w)
        wheel.qTransWheelAbs_prev = to_transform(w)
        c, l = centre.read_world(time), relocator.read_world(time)
        if length(group(c, 3) - group(l, 3)) > 0.01 * abs(s.z):
            relocated = False
        set_group(c, 3, wheel.qTransWheelAbs.position)
        set_group(l, 3, wheel.qTransWheelAbs.position)
        l = with_axis_lengths(l, (length(group(l, 1)),) * 3)
        relocator.write_world(l, time)
        centre.write_world(c, time)
        suspension.write_world(c, time)
        wheel_node.write_world(w, time)
        wheel_node.prepare(time)
        contacts[i] = wheel.qTransWheelAbs.position - up * car.wheelGeom[i].radius * car.dWheelRadiusMult
    if not relocated:
        vehicle.scene.message(WHEELS_NOT_RELOCATED, "Warning")
    return contacts


def _in_body(car, point):
    body = car.cCarBody.qTransAbs
    return rotate(conjugate(body.rotation), point - body.position)


def _place_car(car, m, contacts):
    c0, c1, c2, c3 = contacts
    front = c1 + (c0 - c1) / 2
    back = c3 + (c2 - c3) / 2
    f = identity()
    right = normalized(c1 - front)
    backward = normalized(back - front)
    set_group(f, 0, right)
    set_group(f, 2, backward)
    set_group(f, 1, cross(backward, right))
    o = car.cCarBody.qTransAbs.position
    down = rotate(car.cCarBody.qTransAbs.rotation, Vector3(0.0, -1.0, 0.0))
    set_group(f, 3, point_below(o, down, (back - o, c0 - o, c1 - o)))
    car.qTransCarAbs = to_transform(f)
    car.fBodyRestHeight = length(group(f, 3) - group(m, 3))


def _resume(vehicle, time):
    car = vehicle.car
    vehicle.bFreshStart = False
    _counters(vehicle, time, 0)
    reset_car(car)
    _measure_body(vehicle, time, False)
    for node in (vehicle.cCarBodyNode, vehicle.cRelativeTurnBaseNode, vehicle.cGravityDirectionNode,
                 vehicle.cBaseMeshNode):
        node.prepare(time)
    vehicle.cChassisRelocatorNode.update(time)
    vehicle.cFollowCamNode.prepare_follow_cam(time)
    car.qTransCarAbs = QTransform(group(vehicle.cBaseMeshNode.read_world(time), 3),
                                  quat_from_matrix(vehicle.cRelativeTurnBaseNode.read_world(time)))
    _restore(vehicle, time)


def _restore(vehicle, time):
    car, dt = vehicle.car, vehicle.scene.step

    def key(name, at=time):
        return vehicle.histories[name].value_at(at)

    for name in ("fRelYPos", "fRelXAng", "fRelZAng", "fRelYVel", "fRelXAngVel", "fRelZAngVel"):
        setattr(car.cCarBody, name, key("ancCarCamcCarBody" + name))
    car.vAcceleration = key("anvAcceleration")
    for channel, name in ((STEER, "STEERING_WHEEL"), (GAS, "GAS_PEDAL"), (BOOSTER, "BOOSTER")):
        car.pcInput[channel].value = key("ancCarCampcInput_" + name)
    car.pcInput_GAS_PEDAL_inp_prev = key("ancCarCampcInput_GAS_PEDAL_inp_prev")
    car.bIsReverseVelAbsBraking = key("ancCarCambIsReverseVelAbsBraking")
    car.vSkidBrakePosIncr = key("ancCarCamvSkidBrakePosIncr")
    car.dSkidBrakeLocalYawIncr = key("ancCarCamdSkidBrakeLocalYawIncr")
    car.fCarLocalYawIncr = key("ancCarCamfCarLocalYawIncr")
    frame_before = time + dt - 2 * dt
    car.dSteeringInput_prev = key("ancCarCampcInput_STEERING_WHEEL", frame_before)
    car.dAutoSteeringValue = key("ancCarCampcInput_STEERING_WHEEL", frame_before)
    car.dGasPedalInput_prev = key("ancCarCampcInput_GAS_PEDAL", time - dt)
    car.dGasPedalValue_prev = key("ancCarCampcInput_GAS_PEDAL", time - dt)
    car.qTransCarAbsIncr_prev = as_transform(key("ancCarCamqTransCarAbsIncr", time - car.dSimStep))
    car.qTransCarAbsIncr = as_transform(key("ancCarCamqTransCarAbsIncr"))


def _corners(vehicle, time):
    car, dt, fresh = vehicle.car, vehicle.scene.step, vehicle.bFreshStart

    def key(name, i):
        return 0.0 if fresh else vehicle.histories[name][i].value_at(time)

    for i, wheel in enumerate(car.pcWheel[:vehicle.num_corners()]):
        wheel.fSuspZeroDiff = key("ancCarCampcWheelfSuspZeroDiff", i)
        wheel.fSuspZeroDiff_prev = key("ancCarCampcWheelfSuspZeroDiff_prev", i)
        wheel.pfTotalPitch = key("ancCarCampcWheelpfTotalPitch", i)
        wheel.dWheelGroundNormalDiff = key("andWheelGroundNormalDiff", i)
        if fresh:
            frame = car.qTransCarAbs
            wheel.dWheelGroundNormalDiff = rotate(conjugate(frame.rotation),
                                                  wheel.qTransWheelAbs.position - frame.position).y
        wheel.bInAir = False
        node = vehicle.aWheelNodes[i]
        node.dCurrDelta = key("ancWheelNodeCurrDelta", i)
        node.dCurrDeltaW = key("ancWheelNodeCurrDeltaW", i)
        if not fresh:
            for n in (node, vehicle.aWheelCenterNodes[i], vehicle.aWheelCenterSuspensionNodes[i]):
                n.prepare(time)
        wheel.qTransWheelAbs_prev = to_transform(node.read_world(time + dt - 2 * dt))


def _skid_state(vehicle, time):
    car, channel = vehicle.car, vehicle.car.pcInput

    def key(name):
        return vehicle.histories[name].value_at(time)

    if vehicle.bFreshStart:
        for i in (SKID_BRAKE, SKIDDING, BURNOUT):
            channel[i].value = 0.0
        car.bSkidBreakingOn = car.bSkidBreakingOnDisableFeatures = car.bSkiddingOn = False
        car.bSkidFirstTime = True
        car.dWantedSkiddingValue = 1.0
    else:
        channel[SKID_BRAKE].value = key("ancCarCampcInput_SKID_BRAKE")
        channel[SKIDDING].value = key("ancCarCampcInput_SKIDDING")
        channel[BURNOUT].value = key("ancCarCampcInput_BURNOUT")
        for name in ("bSkidBreakingOn", "bSkidBreakingOnDisableFeatures", "bSkidFirstTime", "bSkiddingOn",
                     "fSkidWantedGasPedalValue"):
            setattr(car, name, key("ancCarCam" + name))
        for name in ("dWantedSkiddingValue", "dInputFilterMem", "dGasPedalInputFilterMem"):
            setattr(car, name, key("cCarCam" + name))
    if car.bSkiddingOn:
        car.bSkiddingReady = False


def _common(vehicle, time):
    car, dt = vehicle.car, vehicle.scene.step
    _skid_state(vehicle, time)
    gravity_memory = vehicle.histories["anQGravityFilterMem"]
    gravity_memory.set_key(time, car.qTransCarAbs.rotation)
    car.QGravityFilterMem = gravity_memory.value_at(time)
    car.qGravity = quat_from_matrix(vehicle.cBaseMeshNode.mPrev)
    car.bCarInTheAir = vehicle.histories["anbCarInTheAir"].value_at(time)
    car.bAllWheelsInAir = False
    choose_step_length(car, dt)
    start_car(car, to_transform(vehicle.cCarBodyNode.read_world(time - car.dSimStep)), dt)
    if vehicle.bFreshStart:
        _initial_velocity(vehicle)
    if car.bAutonomousMode:
        vehicle.follow.dFollowAccMem = vehicle.histories["andFollowAccMem"].value_at(time)
        vehicle.follow.dAutoSteeringValueMem = vehicle.histories["andAutoSteeringValueMem"].value_at(time)
        parent = vehicle.cTargetNode.element.parent
        if parent is not None and parent.is_or_below(vehicle.cCarBodyNode.element):
            vehicle.scene.message(TARGET_BELOW_BODY, "Warning")
    car.dBaseStiffnessFront, car.dBaseStiffnessBack = car.fStiffnessFront, car.fStiffnessBack
    car.dBaseDampingFront, car.dBaseDampingBack = car.fDampingFront, car.fDampingBack
    if vehicle.bUseStaticMesh:
        vehicle.world = build_world(vehicle, time)
    histories.cut(vehicle, time, dt)
    vehicle.update_maximum_gauges(car.fBodyLength)


def _initial_velocity(vehicle):
    car, dt, body = vehicle.car, vehicle.scene.step, vehicle.cCarBodyNode
    vehicle.read_inputs()
    gas = car.pcInput[GAS]
    moved = group(body.mCurr, 3) - group(body.mPrev, 3)
    v = dot(moved, -normalized(group(body.mCurr, 2))) / dt / car.fBodyLength
    if abs(gas.raw) > 0.01:
        start = gas.raw * gas.maximum
    elif abs(v) > 0.01:
        start = v
    else:
        start = vehicle.dInitialVelocity / 100 * gas.maximum
    gas.value = start
    increment = -group(body.mCurr, 2) * start * car.dSimStep
    car.qTransCarAbsIncr_prev.position = increment
    car.qTransCarAbsIncr.position = increment
