"""The chase of a target: a driver that presses gas, steering and brake by itself."""

from .filters import filter_exact
from .record import ABS, GAS, STEER
from .scalars import clamp_abs, same_sign, sign
from .vectors import Vector3, group, inverse, length, normalized, scale, transform


def _target_in_car(car, matrix, target):
    """Way from the nose to the target in the car's axes, y dropped, held within reach."""
    s = scale(matrix)
    m = list(matrix)
    for i in range(3):
        for j in range(3):
            m[4 * i + j] = m[4 * i + j] / s[i]
    rotation = list(m)
    rotation[12] = rotation[13] = rotation[14] = 0.0
    nose = group(m, 3) + transform(rotation, Vector3(0.0, 0.0, -car.fBodyLength / 2.0))
    local = transform(inverse(rotation), target - nose)._replace(y=0.0)
    reach = abs(s.z) * car.pcInput[GAS].maximum
    return normalized(local) * reach if length(local) > reach else local


def _wanted_velocity(car, follow, direction, distance, ignore):
    wanted = (-direction.z) * follow.dFollowAccelerationMult * (distance - ignore) / car.fBodyLength * 3.5
    if wanted < 0:
        wanted *= follow.dReverseMaxVelMult
    if wanted > 0 and not same_sign(car.dAutoSteeringValue, direction.x):
        wanted = 0.0
    return clamp_abs(wanted, car.pcInput[GAS].maximum)


def update_follow(car, follow, matrix, target, dt):
    """`matrix`: the body's world matrix, sixteen numbers; `target`: where the target stood a frame ago."""
    if not car.bAutonomousMode:
        return
    gas, steer = car.pcInput[GAS], car.pcInput[STEER]
    local = _target_in_car(car, matrix, target)
    direction = normalized(local)
    ignore = ignore_gate = follow.dIgnoreSphereRadius * car.fBodyLength
    distance = distance_gate = length(local)
    if distance < ignore:
        distance = 0.0
        ignore = 0.0
        car.pcInput[ABS].raw = 1.0
    wanted = _wanted_velocity(car, follow, direction, distance, ignore)
    follow.dFollowAccMem = filter_exact(follow.dFollowAccMem, wanted, follow.dFollowAccRespFact, dt)
    gas.value = follow.dFollowAccMem

    s = direction.x * steer.maximum * sign(wanted)
    s = s / (car.dSpeedDependentTurnRadiusReductionFactor * 0.5 * abs(follow.dFollowAccMem) + 1.0)
    change = s - car.dAutoSteeringValue
    if abs(change) > car.dVelRelMaxSteeringChangeVel * dt:
        s = car.dAutoSteeringValue + sign(change) * car.dVelRelMaxSteeringChangeVel * dt
    car.dAutoSteeringValue = s
    follow.dAutoSteeringValueMem = filter_exact(follow.dAutoSteeringValueMem, s, follow.dAutoSteeringValueRespFact, dt)
    if ignore_gate <= distance_gate:
        steer.value = follow.dAutoSteeringValueMem
