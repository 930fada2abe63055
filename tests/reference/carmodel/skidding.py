"""The frame phases that set velocity and grip: both brakes, skids and the booster."""

from .filters import filter_exact
from .record import ABS, BOOSTER, BURNOUT, GAS, SKID_BRAKE, SKIDDING, STEER
from .scalars import divide, same_sign, sign
from .vectors import ZERO, Vector3, conjugate, dot, length, multiply, normalized, rotate, to_rotation_vector


def _start_slide(car, dt):
    car.bSkidFirstTime = False
    car.bSkidBreakingOn = True
    car.bSkidBreakingOnDisableFeatures = True
    car.vSkidBrakeInitVel = car.qTransCarAbsIncr.position / dt
    turned = multiply(car.qTransCarAbs.rotation, conjugate(car.qTransCarStart.rotation))
    rotation, _ = to_rotation_vector(turned)
    rate = rotation / dt
    car.vSkidBrakeInitRotVel = Vector3(0.0, rate.y, 0.0)
    car.iSkidBrakeVelSign = int(sign(car.dVelocity))
    car.iSkidBrakeSteerSign = int(sign(-car.pcInput[STEER].value))
    car.vSkidBrakePosIncr = car.vSkidBrakeInitVel * dt
    signs = float(car.iSkidBrakeSteerSign * car.iSkidBrakeVelSign)
    car.dSkidBrakeLocalYawIncr = signs * length(car.vSkidBrakeInitRotVel) * dt


def _hold_still(car):
    car.pcInput[GAS].value = 0.0
    car.pcInput[SKIDDING].value = 0.0
    car.dWantedSkiddingValue = 1.0
    car.pcInput[BURNOUT].value = 0.0
    car.pcInput[BOOSTER].value = 0.0


def _release_slide(car):
    if tuple(car.vSkidBrakePosIncr) != (0.0, 0.0, 0.0):
        gas = car.pcInput[GAS]
        car.dWantedSkiddingValue = 0.0
        car.pcInput[SKIDDING].value = 1.0
        velocity = rotate(conjugate(car.qTransCarAbs.rotation), car.qTransCarAbsIncr.position / car.dSimStep)
        forward = -velocity.z
        g = 0.0
        if same_sign(gas.raw, forward):
            g = abs(gas.raw)
        if car.pcInput[BOOSTER].raw > 0 and forward > 0:
            g = 1.0
        gas.value = g * forward / car.fBodyLength
    car.fCarLocalYawIncr = car.dSkidBrakeLocalYawIncr
    car.bSkidFirstTime = True
    car.bSkidBreakingOn = False
    car.bSkidBreakingOnDisableFeatures = False


def _lose_yaw(car, loss, way):
    car.dSkidBrakeLocalYawIncr -= loss
    if not same_sign(car.dSkidBrakeLocalYawIncr, way):
        car.dSkidBrakeLocalYawIncr = 0.0


def update_skid_brake(car, dt):
    if car.bCarInTheAir or car.bJustLanded:
        return
    brake = car.pcInput[SKID_BRAKE]
    if brake.raw > 0:
        if car.bSkidFirstTime:
            _start_slide(car, dt)
        _hold_still(car)
    elif not car.bSkidFirstTime:
        _release_slide(car)
    car.bSkidBrakeValueOn = divide(brake.value, brake.maximum) > 0.0001
    way = float(car.iSkidBrakeSteerSign * car.iSkidBrakeVelSign)
    loss = way * length(car.vSkidBrakeInitRotVel) * car.dSkidBrakeRotBrakeMult * 0.001 * brake.maximum * dt * 30.0
    if car.bSkidBreakingOn:
        car.vSkidBrakePosIncr = car.vSkidBrakePosIncr - car.vSkidBrakeInitVel * 0.001 * brake.maximum * dt * 30.0
        _lose_yaw(car, loss, way)
        if dot(car.vSkidBrakePosIncr, normalized(car.vSkidBrakeInitVel)) < 0:
            car.vSkidBrakePosIncr = ZERO
            car.dSkidBrakeLocalYawIncr = 0.0
            brake.raw = 0.0
            _hold_still(car)
    elif car.bSkidBrakeValueOn:
        _lose_yaw(car, loss, way)
    else:
        car.dSkidBrakeLocalYawIncr = 0.0


def update_skidding(car, dt):
    del dt
    if car.bAllWheelsInAir or car.bSkidBreakingOnDisableFeatures:
        return
    skid = car.pcInput[SKIDDING]
    if skid.raw == 0:
        car.bSkiddingReady = True
    elif car.bSkiddingReady:
        car.bSkiddingReady = False
        car.bSkiddingOn = True
    car.bSkiddingOn = not (skid.raw == 0 and not divide(skid.value, skid.maximum) > 0.05)


def update_booster(car, dt):
    gas = car.pcInput[GAS]
    boost = car.pcInput[BOOSTER]
    car.bBoosterOn = boost.raw != 0 and not car.bSkidBreakingOnDisableFeatures
    if car.bBoosterOn:
        gas.value = filter_exact(gas.value, boost.maximum * gas.maximum, boost.response, dt)
    excess = gas.value - gas.maximum
    if excess > 0.001 * gas.maximum and car.bBoosterOn:
        car.bStiffnessBoosted = True
        _scale_springs(car, 1.0 + car.dBoosterStiffnessMult * excess)
        return
    if car.bStiffnessBoosted:
        _scale_springs(car, 1.0)
    car.bStiffnessBoosted = False


def _scale_springs(car, f):
    car.fStiffnessFront = car.dBaseStiffnessFront * f
    car.fStiffnessBack = car.dBaseStiffnessBack * f
    car.fDampingFront = car.dBaseDampingFront * f
    car.fDampingBack = car.dBaseDampingBack * f


def reverse_brake_active(state, velocity, value, previous):
    """Whether a pedal that was pressed the other way brakes from now on."""
    if not state and sign(velocity) != sign(value) and value != 0:
        return True
    if state and sign(value) != sign(previous):
        return False
    return False if value == 0 else state


def _brake(car, dt, strength):
    gas = car.pcInput[GAS]
    if car.bBrakeArmed:
        car.bBrakeArmed = False
        car.dBrakeStartValue = gas.value
    loss = car.dBrakeStartValue * dt * 30.0 * abs(strength)
    v = car.dGasPedalValue_prev - loss
    gas.value = v if same_sign(v, car.dBrakeStartValue) else 0.0


def _reverse_brakes(car):
    if not car.bUseReverseAsAbsBrake:
        return False
    gas = car.pcInput[GAS]
    car.bIsReverseVelAbsBraking = reverse_brake_active(
        car.bIsReverseVelAbsBraking, gas.value, gas.raw, car.pcInput_GAS_PEDAL_inp_prev)
    return car.bIsReverseVelAbsBraking


def update_abs_brake(car, dt):
    gas = car.pcInput[GAS]
    brake = car.pcInput[ABS]
    if brake.raw > 0:
        _brake(car, dt, brake.raw * brake.maximum)
    elif _reverse_brakes(car):
        _brake(car, dt, gas.raw * brake.maximum)
    else:
        car.bBrakeArmed = True
    car.pcInput_GAS_PEDAL_inp_prev = gas.raw
    car.dGasPedalValue_prev = gas.value
