"""The wheel: a tyre on a rim, a five-armed star with a bored hub, a brake disc behind it. Axle along x, outside at -x.

Tyre with rim, star and disc are each closed and each has one hole, as a ring has, which makes two faces per vertex.
"""

import math

from shape import Shape

# Largest radius. Midway between the two extents that the rig asks for across the axle, so that the tyre is round.
RADIUS = 1.006
ARMS = 5


def _ring(radius, x, segments):
    angles = [2 * math.pi * k / segments for k in range(segments)]
    return [(x, radius * math.cos(angle), radius * math.sin(angle)) for angle in angles]


def _join(shape, outer, inner):
    """Fills between two closed rings, the second with as many points as the first, half or double as many."""
    n, m = len(outer), len(inner)
    if n == m:
        for k in range(n):
            shape.quad(outer[k], outer[(k + 1) % n], inner[(k + 1) % m], inner[k])
    elif n == 2 * m:
        for k in range(m):
            a, b, c = outer[2 * k], outer[2 * k + 1], outer[(2 * k + 2) % n]
            d, e = inner[k], inner[(k + 1) % m]
            shape.triangle(a, b, d)
            shape.triangle(b, e, d)
            shape.triangle(b, c, e)
    else:
        for k in range(n):
            a, b = outer[k], outer[(k + 1) % n]
            d, e, f = inner[2 * k], inner[2 * k + 1], inner[(2 * k + 2) % m]
            shape.triangle(a, e, d)
            shape.triangle(a, b, e)
            shape.triangle(b, f, e)


def _tyre():
    """Closed way round the tyre's section, from the tread over the outside and the rim's barrel to the inside."""
    n = 36
    rings = [
        _ring(RADIUS, 0.36, n),
        _ring(RADIUS, -0.38, n),
        _ring(0.955, -0.515, n),
        _ring(0.83, -0.558, n),
        _ring(0.715, -0.50, n),
        _ring(0.675, -0.525, n),
        _ring(0.615, -0.44, n),
        _ring(0.62, 0.46, n // 2),
        _ring(0.84, 0.558, n // 2),
    ]
    shape = Shape()
    for a, b in zip(rings, rings[1:] + rings[:1]):
        _join(shape, a, b)
    return shape


def _star():
    """Hub and arms in one piece; the arms end inside the rim. 16 vertices per arm."""
    shape = Shape()

    def point(arm, across, radius, x):
        """across: sideways from the arm's middle line, in radians."""
        angle = 2 * math.pi * arm / ARMS + across
        return (x, radius * math.cos(angle), radius * math.sin(angle))

    def spots(arm):
        half = math.pi / ARMS
        return {
            "bore": point(arm, 0, 0.07, -0.40),
            "rise": point(arm, 0, 0.20, -0.415),
            "rootL": point(arm, -0.40, 0.235, -0.375),
            "rootR": point(arm, 0.40, 0.235, -0.375),
            "gap": point(arm, half, 0.20, -0.35),
            "tipL": point(arm, -0.155, 0.64, -0.40),
            "tipM": point(arm, 0, 0.64, -0.445),
            "tipR": point(arm, 0.155, 0.64, -0.40),
            "bore'": point(arm, 0, 0.07, -0.20),
            "rootL'": point(arm, -0.36, 0.23, -0.22),
            "rootR'": point(arm, 0.36, 0.23, -0.22),
            "gap'": point(arm, half, 0.195, -0.20),
            "tipL'": point(arm, -0.15, 0.64, -0.28),
            "tipR'": point(arm, 0.15, 0.64, -0.28),
            "mid": point(arm, 0, 0.42, -0.44),
            "mid'": point(arm, 0, 0.42, -0.24),
        }

    for arm in range(ARMS):
        here, after, before = spots(arm), spots(arm + 1), spots(arm - 1)
        front = [
            ("bore", "gap-", "rootL"), ("bore", "rootL", "rise"), ("bore", "rise", "rootR"), ("bore", "rootR", "gap"),
            ("rise", "rootL", "mid"), ("rise", "mid", "rootR"),
            ("rootL", "tipL", "mid"), ("tipL", "tipM", "mid"), ("tipM", "tipR", "mid"), ("tipR", "rootR", "mid"),
        ]  # fmt: skip
        back = [
            ("bore'", "rootL'", "gap-'"), ("bore'", "rootR'", "rootL'"), ("bore'", "gap'", "rootR'"),
            ("rootL'", "rootR'", "mid'"), ("rootL'", "mid'", "tipL'"), ("tipL'", "mid'", "tipR'"),
            ("tipR'", "mid'", "rootR'"),
        ]  # fmt: skip
        sides = [
            ("gap-", "gap-'", "rootL'", "rootL"), ("rootL", "rootL'", "tipL'", "tipL"),
            ("rootR'", "rootR", "tipR", "tipR'"), ("gap'", "gap", "rootR", "rootR'"),
        ]  # fmt: skip
        names = dict(here)
        names["gap-"], names["gap-'"] = before["gap"], before["gap'"]
        for corners in front + back:
            shape.triangle(*(names[c] for c in corners))
        for corners in sides:
            shape.quad(*(names[c] for c in corners))
        # End of the arm.
        shape.triangle(names["tipL"], names["tipL'"], names["tipM"])
        shape.triangle(names["tipL'"], names["tipR'"], names["tipM"])
        shape.triangle(names["tipR'"], names["tipR"], names["tipM"])
        # Between this arm and the next one, round the gap, and the bore.
        shape.triangle(here["bore"], here["gap"], after["bore"])
        shape.triangle(here["bore'"], after["bore'"], here["gap'"])
        shape.quad(here["bore"], after["bore"], after["bore'"], here["bore'"])
    return shape


def _brake_disc():
    n = 16
    rings = [_ring(0.50, 0.02, n), _ring(0.50, -0.05, n), _ring(0.16, -0.05, n), _ring(0.16, 0.02, n)]
    shape = Shape()
    for a, b in zip(rings, rings[1:] + rings[:1]):
        _join(shape, a, b)
    return shape


def wheel():
    shape = Shape()
    for part in (_tyre(), _star(), _brake_disc()):
        if part.volume() < 0:
            part.faces = [(a, c, b) for a, b, c in part.faces]
        shape.append(part)
    return shape
