"""The sprung body, where the wheels stand, and flight."""

from .filters import filter_exact_quat
from .record import FORCE, SKIDDING
from .scalars import clamp_abs, libm
from .vectors import Quat, Vector3, clamp_length, conjugate, multiply, negated, rotate, sum_abs_diff


def spring_force(h, diff, diff_prev, stiffness, damping, integral, integral_limit, steps):
    """(force, running integral) of one spring-damper. What a spring takes beside these has no effect on it."""
    d = diff / steps
    dp = diff_prev / steps
    s = h / steps
    force = 0.0
    for _ in range(steps):
        rate = (d - dp) / s
        integral += d * s
        integral = clamp_abs(integral, integral_limit)
        force += -stiffness * d - damping * rate
    return force, integral


def verlet(position, velocity, acceleration, force, mass, limit, h):
    """(position, velocity, acceleration) a step later; the position stops at +-limit."""
    position += velocity * h + 0.5 * acceleration * h * h
    position = clamp_abs(position, limit)
    v = velocity + 0.5 * acceleration * h
    acceleration = (1.0 / mass) * force
    velocity = v + 0.5 * acceleration * h
    if abs(position) == limit:
        velocity = 0.0
    return position, velocity, acceleration


def _spring_forces(car, h, integral_limit):
    for i, wheel in enumerate(car.pcWheel):
        front = i < 2
        wheel.fSuspForce, wheel.fSuspIntegral = spring_force(
            h, wheel.fSuspZeroDiff, wheel.fSuspZeroDiff_prev,
            car.fStiffnessFront if front else car.fStiffnessBack,
            car.fDampingFront if front else car.fDampingBack,
            wheel.fSuspIntegral, integral_limit, 1)
    for wheel in car.pcWheel:
        if car.bGravityOn and (wheel.bInAir or car.bJustLanded):
            wheel.fSuspForce = 0.0


def _integrate(car, h, lever, torque_x):
    body = car.cCarBody
    length = car.fBodyLength
    g = 10.0 * car.fGravity
    mass = 25.0 * car.fMassMult
    inertia = mass * 1.0 / 12.0 * 2.0 * length * length
    ext = car.pcInput[FORCE].value
    push, where = car.vExternalForceDir, car.vExternalForcePos
    local = car.vLocalAcceleration
    _spring_forces(car, h, 10.0 * mass)

    force_y = 0.0
    for wheel in car.pcWheel:
        force_y += wheel.fSuspForce
    force_y += length * ext * push.y
    force_y += mass * local.y
    limit_y = car.fRelMaxBumperLen * car.wheelGeom[0].radius * car.dWheelRadiusMult * 0.9
    body.fRelYPos, body.fRelYVel, acc_y = verlet(
        body.fRelYPos, body.fRelYVel, car.vAcceleration.y, force_y, mass, limit_y, h)

    g_body = rotate(conjugate(body.qTransAbs.rotation), car.vGravityDir)
    twist = length * length * ext
    for geometry, wheel in zip(car.wheelGeom, car.pcWheel):
        torque_x += geometry.z * wheel.fSuspForce
    torque_x += twist * (-where.y * push.z + where.z * push.y)
    torque_x = -torque_x
    torque_x += g * mass * length / 4.0 * lever * g_body.z - mass * local.z * lever
    body.fRelXAng, body.fRelXAngVel, acc_x = verlet(
        body.fRelXAng, body.fRelXAngVel, car.vAcceleration.x, torque_x, inertia, car.dMaximumForwardTiltAngle, h)

    torque_z = 0.0
    for geometry, wheel in zip(car.wheelGeom, car.pcWheel):
        torque_z += -geometry.x * wheel.fSuspForce
    torque_z += twist * (where.y * push.x - where.x * push.y)
    torque_z = -torque_z
    torque_z += -g * length / 4.0 * mass * lever * g_body.x + mass * local.x * lever
    body.fRelZAng, body.fRelZAngVel, acc_z = verlet(
        body.fRelZAng, body.fRelZAngVel, car.vAcceleration.z, torque_z, inertia, car.dMaximumSideTiltAngle, h)
    car.vAcceleration = Vector3(acc_x, acc_y, acc_z)


def _place_body(car):
    body = car.cCarBody
    q_z = Quat(0.0, 0.0, libm.sin(body.fRelZAng / 2), libm.cos(body.fRelZAng / 2))
    q_x = Quat(libm.sin(body.fRelXAng / 2), 0.0, 0.0, libm.cos(body.fRelXAng / 2))
    body.qTransRel.rotation = multiply(q_z, q_x)
    body.qTransAbs.rotation = multiply(body.qTransRel.rotation, car.qTransCarAbs.rotation)
    rise = Vector3(0.0, body.fRelYPos + car.fBodyRestHeight, 0.0)
    body.qTransAbs.position = car.qTransCarAbs.position + rotate(body.qTransAbs.rotation, rise)
    apart = body.qTransAbs.position - car.qTransCarAbs.position
    body.qTransRel.position = rotate(conjugate(car.qTransCarAbs.rotation), apart)


def _place_wheels(car):
    body = car.cCarBody
    for i, (geometry, wheel) in enumerate(zip(car.wheelGeom, car.pcWheel)):
        r = car.wheel_radius(i)
        tilt = multiply(conjugate(car.qTransCarAbs.rotation), body.qTransAbs.rotation)
        wheel.qTransWheelRel.position = Vector3(
            geometry.x + geometry.x * abs(libm.sin(body.fRelZAng)) / 6.0,
            wheel.dWheelGroundNormalDiff + wheel.fGravelOffset,
            geometry.z + rotate(tilt, Vector3(0.0, r, 0.0)).z)
        wheel.qTransWheelAbs.position = car.qTransCarAbs.apply(wheel.qTransWheelRel.position)
        wheel.vSuspPoint_prev = wheel.vSuspPoint
        wheel.vSuspPoint = wheel.qTransWheelAbs.position - rotate(body.qTransAbs.rotation, Vector3(0.0, r, 0.0))
        wheel.fSuspZeroDiff_prev = wheel.fSuspZeroDiff
        mount = body.qTransAbs.position + rotate(body.qTransAbs.rotation, Vector3(geometry.x, 0.0, geometry.z))
        y = rotate(conjugate(body.qTransAbs.rotation), mount - wheel.qTransWheelAbs.position).y
        wheel.fSuspZeroDiff = y - (car.fBodyRestHeight - r)


def update_body(car, h, body_centre, mean_radius, torque_x):
    _integrate(car, h, body_centre - mean_radius, torque_x)
    _place_body(car)
    _place_wheels(car)


def update_flight(car, dt):
    in_air = [wheel.bInAir for wheel in car.pcWheel]
    if not any(in_air):
        car.bJustLanded = car.bCarInTheAir
        car.bCarInTheAir = False
        car.bTakeOffArmed = True
        car.bAllWheelsInAir = False
        return
    car.bCarInTheAir = True
    if car.bTakeOffArmed:
        car.bTakeOffArmed = False
        car.QGravityFilterMem = car.qTransCarAbs.rotation
    increment = car.qTransCarAbsIncr
    strength = (1 if car.bGravityOn else 0) * car.fGravity * 30.0 * car.dSimStep * dt * 30.0
    increment.position = increment.position + strength * car.vGravityDir * car.fBodyLength / 4.0
    increment.position = clamp_length(
        increment.position, car.fBodyLength * car.dScaleRelMaxJumpVelocity * car.dSimStep / dt)
    if car.qGravity.w < 0:
        car.qGravity = negated(car.qGravity)
    if sum_abs_diff(car.qGravity, car.QGravityFilterMem) >= 2.0:
        car.QGravityFilterMem = negated(car.QGravityFilterMem)
    if sum_abs_diff(car.QGravityFilterMem, car.qTransCarAbs.rotation) >= 2.0:
        car.qTransCarAbs.rotation = negated(car.qTransCarAbs.rotation)
    factor = car.dHorizontalRestoringFactor
    car.QGravityFilterMem, car.qGravity = filter_exact_quat(car.QGravityFilterMem, car.qGravity, factor, dt)
    car.qTransCarAbs.rotation, car.QGravityFilterMem = filter_exact_quat(
        car.qTransCarAbs.rotation, car.QGravityFilterMem, factor, dt)
    if all(in_air):
        car.bAllWheelsInAir = True
    if car.dLandingSkiddingFactor > car.pcInput[SKIDDING].raw + car.dSkiddingOffset:
        car.dWantedSkiddingValue = car.dLandingSkiddingFactor
