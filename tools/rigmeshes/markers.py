"""The small helper shapes: attach marker, wheel centre plate, turn base, arrow, target."""

import math

from shape import Shape, box, extruded, revolved


def attach_to():
    """A flat arrow towards the front on the floor and a tapered post at its end."""
    shape = Shape()
    shaft = box((-0.17, -0.005, -0.52), (0.153, 0.075, 0.006))
    # Seen with -y towards the eye: u = x, v = z needs w = -y, so the outline runs clockwise in (x, z).
    head = extruded([(-0.476, -0.5), (-0.0085, -0.995), (0.459, -0.5)], 0.005, 0.095, axes=(0, 2, 1))
    head.faces = [(a, c, b) for a, b, c in head.faces]
    low, high = box((-0.12, 0.03, -0.195), (0.103, 0.563, -0.035)), 0.563

    def tapered(p):
        return (-0.0085 + (p[0] + 0.0085) * (0.45 if p[1] == high else 1), p[1], p[2])

    return shape.append(shaft).append(head).append(low.moved(tapered))


def wheel_ground():
    """A plate with a spike for a foot, nine vertices at either end."""
    xs, zs = (-0.044, 0.0, 0.044), (-0.003, 0.0, 0.003)

    def foot(i, k):
        return (xs[i], 0.062 if i != 1 else 0.0, zs[k])

    def head(i, k):
        return (xs[i], 0.176 if i != 1 else 0.188, zs[k])

    shape = Shape()
    shape.grid([[head(i, k) for k in range(3)] for i in range(3)], flip=True)
    shape.grid([[foot(i, k) for k in range(3)] for i in range(3)])
    rim = [(0, 0), (0, 1), (0, 2), (1, 2), (2, 2), (2, 1), (2, 0), (1, 0)]
    shape.grid([[foot(*rim[n % 8]), head(*rim[n % 8])] for n in range(9)])
    return shape


def turn_base():
    """A turned post on a round foot; through it a flat arrow towards the front with a feathered tail."""
    post = revolved(
        [(0, 0), (0.24, 0), (0.225, 0.05), (0.05, 0.115), (0.036, 0.93), (0.062, 0.985), (0, 1.084)], 12, axis="y"
    )
    half = [(0.0, -0.243), (0.11, -0.115), (0.04, -0.115), (0.04, 0.10), (0.11, 0.165), (0.11, 0.27), (0.0, 0.205)]
    outline = [(x, z) for x, z in half] + [(-x, z) for x, z in reversed(half[1:-1])]
    arrow = extruded(outline, 0.74, 0.785, axes=(0, 2, 1))
    arrow.faces = [(a, c, b) for a, b, c in arrow.faces]
    return Shape().append(post).append(arrow)


def gravity_direction():
    """An arrow that points down: a square shaft, a square head."""
    shape = Shape()

    def ring(half, y):
        return [(half, y, half), (half, y, -half), (-half, y, -half), (-half, y, half), (half, y, half)]

    top, neck, brim = ring(0.16, 1.264), ring(0.16, 0.2), ring(0.361, 0.2)
    shape.quad(*top[:4])
    shape.grid([list(column) for column in zip(neck, top)])
    shape.grid([list(column) for column in zip(brim, neck)])
    shape.fan((0, -0.512, 0), brim, flip=True)
    return shape


def target():
    """A cross of three bars, one on each axis."""
    shape = Shape()
    for axis in range(3):
        high = tuple(1.0 if k == axis else 0.05 for k in range(3))
        shape.append(box(tuple(-c for c in high), high))
    return shape
