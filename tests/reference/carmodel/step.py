"""One frame of the model: the frame phases, then the sub-steps."""

import math

from .burnout import update_gravel
from .drive import step_drive
from .inputs import update_inputs
from .skidding import update_abs_brake, update_booster, update_skid_brake, update_skidding
from .suspension import update_flight

TARGET_STEP_SECONDS = 0.003


def _whole_steps(quotient):
    usable = math.isfinite(quotient) and abs(quotient) < 2.0**31
    n = math.trunc(quotient) if usable else 0
    return n if n != 0 else 1


def choose_step_length(car, dt):
    car.dSimStep = dt / _whole_steps(dt / TARGET_STEP_SECONDS)
    return car.dSimStep


def step_car(car, dt):
    for wheel in car.pcWheel:
        wheel.pfPitchIncr = 0.0
    update_flight(car, dt)
    update_skid_brake(car, dt)
    update_skidding(car, dt)
    update_inputs(car, dt)
    update_booster(car, dt)
    update_abs_brake(car, dt)
    update_gravel(car, dt, 1)
    car.qTransCarAbsIncr_prev = car.qTransCarAbsIncr.copy()
    choose_step_length(car, dt)
    for _ in range(_whole_steps(dt / car.dSimStep)):
        step_drive(car, dt, car.dSimStep)
