"""Turning circle, grip and the way of the car within one sub-step; also the rate limit of the pedal."""

import math

from .burnout import burnout_block
from .filters import filter_exact
from .record import BURNOUT, GAS, SKIDDING, STEER
from .scalars import clamp_abs, clamp_abs_min, divide, libm, sign
from .steering import update_wheel_yaw
from .suspension import update_body
from .vectors import Quat, Vector3, conjugate, multiply, rotate

STEERING_LIMIT = 1.5707649108683606
STRAIGHT_RADIUS = 1e45


def shape_gas_input(car, dt):
    """Frame phase of channel 0, before its filter."""
    gas = car.pcInput[GAS]
    if car.bAutonomousMode:
        car.dGasPedalInputFilterMem = filter_exact(car.dGasPedalInputFilterMem, gas.raw * gas.maximum, gas.response, dt)
        gas.value += car.dGasPedalInputFilterMem
        gas.raw = divide(gas.value, gas.maximum)
    else:
        car.dGasPedalInputFilterMem = 0.0
    value = gas.raw
    change = value - car.dGasPedalInput_prev
    if value != 0 and car.bBrakeArmed and not car.bBoosterOn:
        wanted = value * gas.maximum
        if wanted > gas.value:
            limit = divide(car.dGasPedalMaxRateOfChange * dt, gas.maximum)
            if change > limit:
                value = car.dGasPedalInput_prev + limit
        elif gas.value > wanted:
            limit = divide(-car.dGasPedalMaxRateOfChange * dt, gas.maximum)
            if limit > change:
                value = car.dGasPedalInput_prev - divide(car.dGasPedalMaxRateOfChange * dt, gas.maximum)
    gas.raw = value
    car.dGasPedalInput_prev = value


def half_turn_up(angle):
    """Quaternion of a turn by `angle` about +Y."""
    return Quat(0.0, libm.sin(angle / 2), 0.0, libm.cos(angle / 2))


def turn_geometry(car):
    """(turning axis in half car lengths, signed turn radius) of the clamped steering angle, which is stored."""
    length = car.fBodyLength
    car.fSteeringAngle = clamp_abs(car.pcInput[STEER].value, STEERING_LIMIT)
    t = libm.tan(car.fSteeringAngle)
    turn_base = car.dTurnBase - car.wheelGeom[2].z / (length / 2.0)
    radius = -STRAIGHT_RADIUS
    if abs(t) != 0:
        radius = car.fFrontAxleZ * (1.0 - turn_base) / t
    radius = clamp_abs_min(radius, 0.01 * length)
    radius = clamp_abs(radius, STRAIGHT_RADIUS)
    return turn_base, radius


def _turn_and_grip(car, radius, h):
    """(burnout's yaw, grip); moves the car's yaw increment toward what arc, burnout and slide want."""
    burnout_yaw = -car.pcInput[BURNOUT].value * car.pcInput[STEER].value * h
    yaw = car.dVelocity * h / (sign(radius) * math.sqrt(radius * radius)) + burnout_yaw
    if car.bSkidBreakingOn:
        yaw = car.dSkidBrakeLocalYawIncr
    else:
        yaw += car.dSkidBrakeLocalYawIncr
    grip = 1.0 - car.pcInput[SKIDDING].value
    if grip > 0.7:
        grip = filter_exact(grip, 1.0, 0.2, h)
    if grip > 0.99:
        grip = 1.0
    car.fCarLocalYawIncr = filter_exact(car.fCarLocalYawIncr, yaw, grip, h)
    return burnout_yaw, grip


def _want_increment(car, turn_base, burnout_yaw, h):
    car.qTransCarAbsIncr_prev = car.qTransCarAbsIncr.copy()
    car.qTransCarAbsIncr.rotation = half_turn_up(car.fCarLocalYawIncr)
    side_shift = Vector3(turn_base * car.fFrontAxleZ * libm.tan(car.fCarLocalYawIncr), 0.0, 0.0)
    ahead = Vector3(0.0, 0.0, -car.dVelocity * h)
    heading = car.qTransCarAbs.rotation
    car.vWantedPosIncr = rotate(heading, ahead - side_shift)
    if car.bSkidBreakingOn:
        car.vWantedPosIncr = car.vSkidBrakePosIncr
    forward = Vector3(0.0, 0.0, -1.0)
    front_z = car.wheelGeom[0].z + car.wheelGeom[1].z
    pivot = rotate(half_turn_up(burnout_yaw), forward) - forward
    car.vWantedPosIncr = car.vWantedPosIncr + rotate(heading, front_z * pivot)


def _take_increment(car, grip, h):
    increment = car.qTransCarAbsIncr
    if car.pcInput[SKIDDING].raw != 0 and not car.bSkidBreakingOnDisableFeatures:
        increment.position = filter_exact(increment.position, car.vWantedPosIncr, grip, h)
        car.dWantedSkiddingValue = grip
        return
    m = car.dSkidBrakeStopFactor if car.bSkidBrakeValueOn else 1.0
    wanted = filter_exact(car.dWantedSkiddingValue, grip, car.dSkiddingReleaseResponseFactor * m, h)
    if wanted > 0.5:
        wanted = filter_exact(wanted, 1.0, 0.2, h)
    if wanted > 0.99:
        wanted = 1.0
    car.dWantedSkiddingValue = wanted
    increment.position = filter_exact(increment.position, car.vWantedPosIncr, wanted, h)


def _turn_car(car):
    car.qTransCarAbs.rotation = multiply(car.qTransCarAbsIncr.rotation, car.qTransCarAbs.rotation)


def step_drive(car, dt, h):
    """Moves the car by h seconds; dt is what the frame lasts."""
    gas = car.pcInput[GAS]
    gas.value = clamp_abs_min(gas.value, 1e-8)
    car.qTransCarStart = car.qTransCarAbs.copy()
    body_centre = car.cCarBody.fRelYPos + car.fBodyRestHeight + car.fBodyLength / 3.0 / 2.0
    mean_radius = 0.0
    for i in range(4):
        mean_radius += car.wheel_radius(i)
    mean_radius /= 4
    car.dVelocity = car.fBodyLength * gas.value
    turn_base, radius = turn_geometry(car)
    torque_x = 0.0
    if car.bCarInTheAir and car.bGravityOn:
        _turn_car(car)
    else:
        burnout_yaw, grip = _turn_and_grip(car, radius, h)
        torque_x = burnout_block(car, dt, h, torque_x)
        _want_increment(car, turn_base, burnout_yaw, h)
        _take_increment(car, grip, h)
        _turn_car(car)
    moved = car.qTransCarAbsIncr.position
    car.vWorldAcceleration = (moved - car.qTransCarAbsIncr_prev.position) / h / h
    car.vLocalAcceleration = rotate(conjugate(car.qTransCarAbs.rotation), car.vWorldAcceleration)
    car.qTransCarAbs.position = car.qTransCarAbs.position + moved
    update_wheel_yaw(car, turn_base, radius, h)
    update_body(car, h, body_centre, mean_radius, torque_x)
