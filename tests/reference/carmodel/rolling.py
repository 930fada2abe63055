"""Rolling of the wheels, start and reset of the car."""

import math

from .drive import half_turn_up, turn_geometry
from .record import GAS
from .scalars import clamp_abs_min, libm, sign
from .steering import wheel_yaw_angles
from .step import choose_step_length
from .vectors import IDENTITY_QUAT, ZERO, QTransform, Quat, dot, group, multiply, quat_matrix


def _orient_wheel(car, wheel):
    pitch = Quat(libm.sin(wheel.pfTotalPitch / 2), 0.0, 0.0, libm.cos(wheel.pfTotalPitch / 2))
    yaw = half_turn_up(wheel.pfYaw)
    wheel.qWheelYaw = yaw
    wheel.qTransWheelAbs.rotation = multiply(
        multiply(multiply(pitch, yaw), car.cCarBody.qTransRel.rotation), car.qTransCarAbs.rotation)


def update_wheel_rolling(car):
    length = car.fBodyLength
    turn_base = car.dTurnBase - car.wheelGeom[2].z / (length / 2.0)
    backward = group(quat_matrix(car.qTransCarAbs.rotation), 2)
    moving = 0.0 if length * 0.001 > abs(car.dVelocity) else 1.0
    for i, (geometry, wheel) in enumerate(zip(car.wheelGeom, car.pcWheel)):
        delta = wheel.qTransWheelAbs.position - wheel.qTransWheelAbs_prev.position
        wheel.qTransWheelAbs_prev.position = wheel.qTransWheelAbs.position
        d = wheel.dSuspDistanceMoved
        if abs(geometry.z - turn_base * car.fFrontAxleZ) > length * 0.001:
            d *= sign(car.dVelocity)
        else:
            d *= -sign(dot(delta, backward))
        wheel.pfPitchIncr += -moving * d / car.wheel_radius(i)
    for wheel in car.pcWheel:
        if not car.bSkidBreakingOnDisableFeatures:
            wheel.pfTotalPitch = math.fmod(wheel.pfTotalPitch + wheel.pfPitchIncr, 6.283185307179586)
    for wheel in car.pcWheel:
        _orient_wheel(car, wheel)


def start_car(car, start, dt):
    """What the first frame of a run builds on; frames last dt seconds."""
    choose_step_length(car, dt)
    car.qTransCarStart = start.copy()
    gas = car.pcInput[GAS]
    gas.value = clamp_abs_min(gas.value, 1e-8)
    car.dVelocity = car.fBodyLength * gas.value
    car.fFrontAxleZ = -car.fBodyLength / 2.0
    turn_base, radius = turn_geometry(car)
    for wheel, angle in zip(car.pcWheel, wheel_yaw_angles(car, turn_base, radius, dt)):
        if angle is not None:
            wheel.pfYaw_prev = wheel.pfYaw = angle
    quarter = 1.5707963267948966
    flip = Quat(0.0, libm.sin(quarter), 0.0, libm.cos(quarter))
    for wheel in car.pcWheel:
        _orient_wheel(car, wheel)
        if wheel.qTransWheelRel.position.x > 0:
            wheel.qTransWheelAbs.rotation = multiply(flip, wheel.qTransWheelAbs.rotation)


def reset_car(car):
    for channel in car.pcInput:
        channel.value = 0.0
    car.qTransCarAbsIncr = QTransform()
    car.qTransCarAbsIncr_prev = QTransform()
    car.vWorldAcceleration = ZERO
    car.vLocalAcceleration = ZERO
    body = car.cCarBody
    body.fRelYPos = body.fRelYVel = body.fRelXAng = body.fRelZAng = body.fRelXAngVel = body.fRelZAngVel = 0.0
    body.qTransRel.rotation = IDENTITY_QUAT
    body.qTransAbs.rotation = IDENTITY_QUAT
    body.qSpare1.rotation = IDENTITY_QUAT
    for wheel in car.pcWheel:
        wheel.qTransWheelAbs = QTransform()
        wheel.fSuspForce = wheel.fSuspIntegral = 0.0
        wheel.fSuspZeroDiff = wheel.fSuspZeroDiff_prev = 0.0
        wheel.pfTotalPitch = wheel.pfPitchIncr = wheel.pfYaw = 0.0
        wheel.fGravelOffset = wheel.fGravelNoise = 0.0
