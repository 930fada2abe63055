"""How a new vehicle is sized, gets its wheels placed and is put onto the ground."""

import math

from carmodel.vectors import ZERO, Vector3, dot, group, inverse, length, normalized, product, transform
from vehiclemodel.matrices import (cross, identity, rotation_x, rotation_y, scaling, set_group, translation,
                                   without_scale)

CORNERS = ("FL", "FR", "BL", "BR")
ROOTS = ("CarBodyMesh", "GravityDirectionMesh", "TargetMesh")
ROUNDS = 4  # a leaning car has its wheels elsewhere than an upright one


def _world(vehicle, name):
    return vehicle.scene.find(name).world(vehicle.scene.now)


def _move(vehicle, by):
    for name in ROOTS:
        vehicle.scene.find(name).set_world(vehicle.scene.now, product(by, _world(vehicle, name)))


def body_length(vehicle):
    return length(group(_world(vehicle, "CarBodyMesh"), 2))


def resize(vehicle, wanted):
    _move(vehicle, scaling(*(wanted / body_length(vehicle),) * 3))


def place_wheels(vehicle, wheels):
    axes = without_scale(_world(vehicle, "CarBodyMesh"))
    set_group(axes, 3, ZERO)
    for corner, plan in sorted(wheels.items()):
        element = vehicle.scene.find(f"WheelRelocatorMesh_{corner}")
        m = element.world(vehicle.scene.now)
        size = length(group(m, 1)) * plan.get("scale", 1.0)
        if "caster" in plan:
            turned = product(axes, rotation_x(math.radians(plan["caster"])))
            for i in range(3):
                set_group(m, i, group(turned, i))
        for i in range(3):
            set_group(m, i, normalized(group(m, i)) * size)
        if "move" in plan:
            set_group(m, 3, group(m, 3) + transform(axes, Vector3(*plan["move"])))
        element.set_world(vehicle.scene.now, m)


def _contacts(vehicle):
    points = []
    for corner in CORNERS:
        wheel = _world(vehicle, f"WheelMesh_{corner}")
        radius = length(group(wheel, 1)) * vehicle.car.dWheelRadiusMult
        points.append(group(wheel, 3) - Vector3(0.0, radius, 0.0))
    return points


def _mean(points):
    return (points[0] + points[1] + points[2] + points[3]) * 0.25


def _axes(points):
    back = normalized(points[2] + points[3] - points[0] - points[1])
    right = points[1] + points[3] - points[0] - points[2]
    right = normalized(right - back * dot(right, back))
    m = identity()
    for i, axis in enumerate((right, cross(back, right), back)):
        set_group(m, i, axis)
    return m


def _upright(heading, at):
    return product(translation(*at), rotation_y(-heading * math.pi / 180.0))


def _standing(contacts, x, z, heading, probe):
    placing = _upright(heading, (x, 0.0, z))
    for _ in range(ROUNDS):
        below = [transform(placing, point) for point in contacts]
        heights = [probe.top(point.x, point.z) for point in below]
        if None in heights:
            raise ValueError("a wheel has no ground below it; such a start is not modelled here")
        below = [point._replace(y=height) for point, height in zip(below, heights)]
        placing = product(_axes(below), inverse(_axes(contacts)))
        set_group(placing, 3, Vector3(x, _mean(below).y - transform(placing, _mean(contacts)).y, z))
    return placing


def place(vehicle, at, heading, probe):
    contacts = _contacts(vehicle)
    rest = _mean(contacts).y
    if at is not None and len(at) == 3:
        _move(vehicle, _upright(heading, (at[0], at[1] - rest, at[2])))
    elif not probe:
        x, z = at or (0.0, 0.0)
        _move(vehicle, _upright(heading, (x, -rest, z)))
    else:
        _move(vehicle, _standing(contacts, *(at or (0.0, 0.0)), heading, probe))
