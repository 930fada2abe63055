"""The steering wheel: a rim with a flat bottom, three spokes, a boss on the column. The driver looks along -z."""

import math

from shape import Shape

CENTRE_X, CENTRE_Y = -0.009, 0.037
RIM_Z, TUBE = 0.165, 0.137
RADIUS = 1.458 - TUBE


def _rim():
    """24 sections of 6 points along a circle whose lower part is cut off straight."""
    shape = Shape()
    bottom = -1.074 + TUBE - CENTRE_Y
    middle = []
    corner = math.asin(-bottom / RADIUS) - 0.10
    arc = 2 * math.pi - (math.pi - 2 * corner)
    for k in range(21):
        angle = -corner + arc * k / 20
        middle.append((RADIUS * math.cos(angle), RADIUS * math.sin(angle)))
    # The straight part; the outline turns into it over a short slope.
    x = RADIUS * math.cos(corner)
    middle += [(-x * 0.72, bottom), (0.0, bottom), (x * 0.72, bottom)]
    n = len(middle)
    rows = []
    for k in range(n + 1):
        (px, py), (ax, ay), (bx, by) = middle[k % n], middle[(k - 1) % n], middle[(k + 1) % n]
        ux, uy = by - ay, -(bx - ax)
        size = math.hypot(ux, uy)
        ux, uy = ux / size, uy / size
        ring = []
        for m in range(7):
            # Stretched along z, where a hexagon is lower than wide.
            turn = 2 * math.pi * (m % 6) / 6
            out, up = TUBE * math.cos(turn), TUBE * math.sin(turn) / math.sin(math.pi / 3)
            ring.append((CENTRE_X + px + ux * out, CENTRE_Y + py + uy * out, RIM_Z + up))
        rows.append(ring)
    shape.grid(rows)
    return shape


def _column():
    """Boss and column: an eight-sided lathe along z, open at its front end, which sticks in the dashboard."""
    profile = [(0.13, -1.892), (0.13, -0.62), (0.30, -0.50), (0.30, -0.18), (0.47, -0.04), (0.40, 0.10)]
    shape = Shape()

    def point(k, r, z):
        angle = 2 * math.pi * ((k % 8) + 0.5) / 8
        return (CENTRE_X + r * math.cos(angle), CENTRE_Y + r * math.sin(angle), z)

    rows = [[point(k, r, z) for r, z in profile] + [(CENTRE_X, CENTRE_Y, 0.15)] for k in range(9)]
    shape.grid(rows)
    return shape


def _spoke(angle, reach):
    """Five triangular sections from the boss into the rim, the ridge towards the driver."""
    along = (math.cos(angle), math.sin(angle))
    side = (-along[1], along[0])
    sections = []
    for r, half, z in [
        (0.30, 0.24, 0.02),
        (0.50, 0.19, 0.06),
        (0.75, 0.145, 0.10),
        (1.02, 0.13, 0.125),
        (reach, 0.15, 0.135),
    ]:
        at = (CENTRE_X + along[0] * r, CENTRE_Y + along[1] * r)
        sections.append(
            [
                (at[0] - side[0] * half, at[1] - side[1] * half, z),
                (at[0] + side[0] * half, at[1] + side[1] * half, z),
                (at[0], at[1], z + 0.055),
            ]
        )
    shape = Shape()
    shape.grid([ring + ring[:1] for ring in sections])
    shape.triangle(*sections[0])
    shape.triangle(*reversed(sections[-1]))
    if shape.volume() < 0:
        shape.faces = [(a, c, b) for a, b, c in shape.faces]
    return shape


def steering_wheel():
    shape = Shape()
    for part in (_rim(), _column()):
        if part.volume() < 0:
            part.faces = [(a, c, b) for a, b, c in part.faces]
        shape.append(part)
    shape.append(_spoke(math.radians(4), RADIUS))
    shape.append(_spoke(math.radians(176), RADIUS))
    shape.append(_spoke(math.radians(270), 1.074 + CENTRE_Y - TUBE))
    return shape
