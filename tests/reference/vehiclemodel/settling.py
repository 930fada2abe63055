"""How the car frame settles on the contact points of its wheels."""

from carmodel.scalars import clamp_abs, libm
from carmodel.vectors import UP, Quat, Vector3, dot, inverse, multiply, normalized, normalized_quat, rotate

from .matrices import cross, direction, identity, set_group


def point_below(origin, down, rows):
    """Where the ray from `origin` along `down` meets the plane through the three points origin + row."""
    base = identity()
    for i, row in enumerate(rows):
        set_group(base, i, row)
    c = normalized(direction(inverse(base), down))
    c = c / (c.x + c.y + c.z)
    return origin + direction(base, c)


def settle(car):
    p0, p1, p2, p3 = (wheel.vSuspPoint for wheel in car.pcWheel)
    back = p3 + (p2 - p3) / 2.0
    n = cross(normalized(p1 - back), normalized(p0 - back))
    up = rotate(car.qTransCarAbs.rotation, UP)
    angle = libm.acos(clamp_abs(dot(up, n), 1.0))
    axis = cross(up, n) * libm.sin(angle / 2)
    q = Quat(axis.x, axis.y, axis.z, libm.cos(angle / 2))
    car.qTransCarAbs.rotation = normalized_quat(multiply(car.qTransCarAbs.rotation, q))
    origin = car.cCarBody.qTransAbs.position
    down = rotate(car.cCarBody.qTransAbs.rotation, Vector3(0.0, -1.0, 0.0))
    car.qTransCarAbs.position = point_below(origin, down, (back - origin, p0 - origin, p1 - origin))
