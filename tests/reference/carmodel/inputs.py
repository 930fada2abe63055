"""Shaping of a device's value and the frame phase that turns the nine raw inputs into values."""

from .drive import shape_gas_input
from .filters import filter_saturating
from .record import FORCE, GAS, GRAVEL, SKIDDING, STEER
from .scalars import libm
from .steering import shape_steering_input


def property_value(device, multiplier=1.0, exponent=1.0, dead_zone=0.1, offset=0.0):
    """A device value after dead zone, curve, scale and offset; `device` is None while nothing is wired."""
    x = 0.0 if device is None else device
    s = -1.0 if x < 0 else 1.0
    m = abs(x) - dead_zone
    if m < 0:
        m = 0.0
    m = libm.pow(m / (1.0 - dead_zone), exponent)
    return m * s * multiplier + offset


def _shape_skidding_input(car, dt):
    skid = car.pcInput[SKIDDING]
    if skid.raw == 1.0:
        return
    skid.raw += car.dSkiddingOffset
    sideways = abs(car.vLocalAcceleration.x) * dt / car.fBodyLength / car.pcInput[GAS].maximum
    if sideways > car.dSkiddingReleaseThresh:
        skid.raw += 1.0 - car.dSkiddingOffset


def update_inputs(car, dt):
    for i, channel in enumerate(car.pcInput):
        if i == GAS:
            shape_gas_input(car, dt)
        elif i == STEER:
            shape_steering_input(car, dt)
        elif i == SKIDDING:
            _shape_skidding_input(car, dt)
        elif i == GRAVEL:
            channel.raw += car.dGravelShakeOffset
        elif i == FORCE:
            channel.raw += car.dForceOffset
        channel.value = filter_saturating(channel.value, channel.maximum * channel.raw, channel.response, dt)
