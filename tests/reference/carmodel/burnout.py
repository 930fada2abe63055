"""Burnout and gravel shake."""

import math

from .filters import filter_exact
from .record import BURNOUT, GRAVEL, STEER
from .scalars import random_unit, sign


def burnout_block(car, dt, h, torque_x):
    """The pitch torque of a sub-step: the given one, unless a burnout runs."""
    burn = car.pcInput[BURNOUT]
    steer = car.pcInput[STEER]
    if not burn.value > 0.001:
        car.dBurnoutRandom = 0.0
        if not car.bBurnoutIdle:
            car.bBurnoutIdle = True
            steer.response = car.dSteeringResponseSaved
        return torque_x
    if car.bBurnoutIdle:
        car.bBurnoutIdle = False
        car.dSteeringResponseSaved = steer.response
    if burn.raw == 0:
        burn.value *= car.dBurnoutFadeoutFactor * car.dSimStep / h
    else:
        steer.response = filter_exact(steer.response, 0.05, 0.1, h)
    spin = -burn.value * 3.141592653589793 * 0.49 * h / dt
    car.pcWheel[2].pfTotalPitch += spin
    car.pcWheel[3].pfTotalPitch += spin
    unit, car.randomValue_burnout = random_unit(car.randomValue_burnout)
    car.dBurnoutRandom = 20.0 * unit
    tilt = burn.value * car.dBurnoutTiltForce * car.fBodyLength * car.fBodyLength / 46875.0
    shake = car.dBurnoutShake
    for _ in range(5):
        shake *= car.dBurnoutRandom
    return tilt * (1.0 + shake)


def update_gravel(car, dt, squarings):
    gravel = abs(car.pcInput[GRAVEL].value)
    for wheel in car.pcWheel:
        wheel.fGravelNoise = 0.0
        if gravel > 1e-5:
            u, car.randomValue_gravelShake = random_unit(car.randomValue_gravelShake)
            n = math.sqrt(abs(car.dVelocity)) * (u - 0.5) * gravel
            s = int(sign(n))
            n *= s
            for _ in range(squarings):
                n = n * n
            n *= s
            wheel.fGravelNoise = n
    for wheel in car.pcWheel:
        wheel.fGravelOffset = filter_exact(wheel.fGravelOffset, wheel.fGravelNoise, car.dGravelRoughness, dt)
