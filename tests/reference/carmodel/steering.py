"""The steering input of a frame, and the yaw that each wheel shows."""

import math

from .filters import filter_exact
from .record import GAS, STEER
from .scalars import divide, libm, random_unit, sign
from .vectors import dot, group, length, normalized


def _avoid_edge_of_world(car, steer):
    if car.bAutonomousMode or not car.dWorldAvoidanceSphereRadius > 0:
        return
    position = car.qTransCarAbs.position
    if not length(position) > car.dWorldAvoidanceSphereRadius * car.fBodyLength:
        return
    m = car.qTransCarAbs.matrix()
    out = normalized(position)
    outward = dot(-group(m, 2), out)
    if outward > 0:
        steer.raw -= 2.0 * outward * sign(dot(group(m, 0), out))


def shape_steering_input(car, dt):
    """Frame phase of channel 1, before its filter."""
    steer = car.pcInput[STEER]
    steer.raw = steer.raw / (1.0 + car.dSpeedDependentTurnRadiusReductionFactor * abs(car.pcInput[GAS].value))
    rate = car.dVelRelMaxSteeringChangeVel
    _avoid_edge_of_world(car, steer)
    change = steer.raw - car.dSteeringInput_prev
    if steer.raw == 0:
        rate *= 2.0
    limited = steer.raw
    if abs(change) > rate * dt:
        limited = car.dSteeringInput_prev + sign(change) * rate * dt
    if car.dSteeringNoise > 0:
        noise, car.randomValue_steeringNoise = random_unit(car.randomValue_steeringNoise)
        limited += math.sqrt(abs(car.dVelocity)) * (noise - 0.5) * car.dSteeringNoise
    steer.raw = limited
    car.dSteeringInput_prev = limited
    if car.bAutonomousMode:
        car.dInputFilterMem = filter_exact(car.dInputFilterMem, steer.raw * steer.maximum, steer.response, dt)
        steer.value += car.dInputFilterMem
        steer.raw = divide(steer.value, steer.maximum)
    else:
        car.dInputFilterMem = 0.0


def wheel_yaw_angles(car, turn_base, radius, h):
    """Per wheel the yaw that points it along its circle, or None for a wheel on the turning axis."""
    chord = car.dVelocity * h / (sign(radius) * math.sqrt(radius * radius))
    r = 1e16
    if chord != 0:
        r = divide(car.dVelocity * h / 2.0, libm.tan(chord / 2.0))
    base = turn_base * car.fFrontAxleZ
    s = sign(r)
    return [None if g.z == base else libm.atan2(s * (base - g.z), s * (r + g.x)) for g in car.wheelGeom]


def update_wheel_yaw(car, turn_base, radius, h):
    for wheel, angle in zip(car.pcWheel, wheel_yaw_angles(car, turn_base, radius, h)):
        if angle is not None:
            wheel.pfYaw_prev = wheel.pfYaw
            wheel.pfYaw = angle
