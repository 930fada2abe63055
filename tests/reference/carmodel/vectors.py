"""Vector, quaternion, rigid transform and matrix. All values are immutable; what changes an argument in the C++ form
returns the changed value here.

Right-handed, +Y up. `multiply(a, b)` turns by a first, then by b.
"""

import math
from typing import NamedTuple

from .scalars import clamp_abs, libm


class Vector3(NamedTuple):
    x: float = 0.0
    y: float = 0.0
    z: float = 0.0

    def __add__(self, o):
        return Vector3(self.x + o.x, self.y + o.y, self.z + o.z)

    def __sub__(self, o):
        return Vector3(self.x - o.x, self.y - o.y, self.z - o.z)

    def __neg__(self):
        return Vector3(-self.x, -self.y, -self.z)

    def __mul__(self, s):
        return Vector3(self.x * s, self.y * s, self.z * s)

    __rmul__ = __mul__

    def __truediv__(self, s):
        return Vector3(self.x / s, self.y / s, self.z / s)


ZERO = Vector3(0.0, 0.0, 0.0)
UP = Vector3(0.0, 1.0, 0.0)


def dot(a, b):
    return a.x * b.x + a.y * b.y + a.z * b.z


def length(v):
    return math.sqrt(dot(v, v))


def normalized(v):
    """v at length 1; all zeros give +y."""
    n = length(v)
    return UP if n == 0.0 else v / n


def clamp_length(v, maximum):
    n = length(v)
    return v * maximum / n if n > maximum else v


class Quat(NamedTuple):
    x: float = 0.0
    y: float = 0.0
    z: float = 0.0
    w: float = 1.0

    def __add__(self, o):
        return Quat(self.x + o.x, self.y + o.y, self.z + o.z, self.w + o.w)

    def __sub__(self, o):
        return Quat(self.x - o.x, self.y - o.y, self.z - o.z, self.w - o.w)

    def __mul__(self, s):
        return Quat(self.x * s, self.y * s, self.z * s, self.w * s)

    __rmul__ = __mul__

    def __truediv__(self, s):
        return Quat(self.x / s, self.y / s, self.z / s, self.w / s)


IDENTITY_QUAT = Quat(0.0, 0.0, 0.0, 1.0)


def dot4(a, b):
    return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w


def norm_squared(q):
    return dot4(q, q)


def negated(q):
    return Quat(-q.x, -q.y, -q.z, -q.w)


def conjugate(q):
    return Quat(-q.x, -q.y, -q.z, q.w)


def sum_abs_diff(a, b):
    return abs(a.x - b.x) + abs(a.y - b.y) + abs(a.z - b.z) + abs(a.w - b.w)


def multiply(a, b):
    """The rotation a followed by the rotation b."""
    return Quat(
        b.x * a.w + b.y * a.z - b.z * a.y + b.w * a.x,
        -b.x * a.z + b.y * a.w + b.z * a.x + b.w * a.y,
        b.x * a.y - b.y * a.x + b.z * a.w + b.w * a.z,
        -b.x * a.x - b.y * a.y - b.z * a.z + b.w * a.w,
    )


def normalized_quat(q):
    """q at norm 1; all zeros give the identity."""
    n = norm_squared(q)
    return IDENTITY_QUAT if n == 0.0 else q * (1.0 / math.sqrt(n))


def quat_matrix(q):
    """The rotation as sixteen numbers, column after column. The squared norm of q is a scale of it."""
    x, y, z, w = q
    x2, y2, z2, w2 = x * x, y * y, z * z, w * w
    return [
        x2 - y2 - z2 + w2, 2 * (x * y + z * w), 2 * (x * z - y * w), 0.0,
        2 * (x * y - z * w), -x2 + y2 - z2 + w2, 2 * (y * z + x * w), 0.0,
        2 * (x * z + y * w), 2 * (y * z - x * w), -x2 - y2 + z2 + w2, 0.0,
        0.0, 0.0, 0.0, 1.0,
    ]


def rotate(q, v):
    return transform(quat_matrix(q), v)


def to_rotation_vector(q):
    """(axis times angle, q brought to w >= 0)."""
    if q.w < 0:
        q = negated(q)
    angle = 2 * libm.acos(clamp_abs(q.w, 1))
    if angle == 0:
        return ZERO, q
    return Vector3(q.x, q.y, q.z) * (1 / libm.sin(angle / 2)) * angle, q


def from_rotation_vector(v):
    """Half-angle form. The axis is brought to length 1 unless the components of v add up to 0."""
    half = length(v) * 0.5
    axis = normalized(v) if v.x + v.y + v.z != 0 else v
    w = libm.cos(half)
    s = libm.sin(half)
    return Quat(axis.x * s, axis.y * s, axis.z * s, w)


def quat_from_matrix(m):
    """The rotation of a matrix whose axes may be scaled; result with w >= 0."""
    columns = [normalized(group(m, i)) for i in range(3)]

    def at(row, column):
        return columns[column][row]

    candidates = [
        abs(1 + at(0, 0) + at(1, 1) + at(2, 2)),
        abs(1 + at(0, 0) - at(1, 1) - at(2, 2)),
        abs(1 - at(0, 0) + at(1, 1) - at(2, 2)),
        abs(1 - at(0, 0) - at(1, 1) + at(2, 2)),
    ]
    winner = 0
    for i in range(1, 4):
        if candidates[i] > candidates[winner]:
            winner = i
    s = 2 * math.sqrt(candidates[winner])
    about_x = at(2, 1) - at(1, 2)
    about_y = at(0, 2) - at(2, 0)
    about_z = at(1, 0) - at(0, 1)
    xy = at(0, 1) + at(1, 0)
    xz = at(0, 2) + at(2, 0)
    yz = at(1, 2) + at(2, 1)
    if winner == 0:
        q = Quat(about_x / s, about_y / s, about_z / s, s / 4)
    elif winner == 1:
        q = Quat(s / 4, xy / s, xz / s, about_x / s)
    elif winner == 2:
        q = Quat(xy / s, s / 4, yz / s, about_y / s)
    else:
        q = Quat(xz / s, yz / s, s / 4, about_z / s)
    q = normalized_quat(q)
    return negated(q) if q.w < 0 else q


def slerp(a, b, t):
    angle = libm.acos(dot4(a, b))
    return a * (libm.sin((1 - t) * angle) / libm.sin(angle)) + b * (libm.sin(t * angle) / libm.sin(angle))


class QTransform:
    """A rotation followed by a translation. Mutable; assign copies."""

    __slots__ = ("position", "rotation")

    def __init__(self, position=ZERO, rotation=IDENTITY_QUAT):
        self.position = position
        self.rotation = rotation

    def copy(self):
        return QTransform(self.position, self.rotation)

    def apply(self, point):
        return self.position + rotate(self.rotation, point)

    def matrix(self):
        m = quat_matrix(self.rotation)
        m[12], m[13], m[14] = self.position
        return m


IDENTITY_MATRIX = [1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0]


def group(m, i):
    """Image of axis i (0 to 2) or the translation (3)."""
    return Vector3(m[4 * i], m[4 * i + 1], m[4 * i + 2])


def transform(m, p):
    """The image of point p under m, divided by its fourth coordinate unless that is 0."""
    w = m[3] * p.x + m[7] * p.y + m[11] * p.z + m[15]
    if w == 0:
        w = 1.0
    return transform_no_projection(m, p, 1.0) / w


def transform_no_projection(m, p, w):
    return Vector3(*(m[r] * p.x + m[4 + r] * p.y + m[8 + r] * p.z + m[12 + r] * w for r in range(3)))


def product(a, b):
    """The matrix that applies b first, then a."""
    out = [0.0] * 16
    for c in range(4):
        for r in range(4):
            out[4 * c + r] = (a[r] * b[4 * c] + a[4 + r] * b[4 * c + 1] + a[8 + r] * b[4 * c + 2]
                              + a[12 + r] * b[4 * c + 3])
    return out


def _cofactor(m, row, column):
    rows = [i for i in range(3) if i != row]
    columns = [i for i in range(3) if i != column]
    a = m[4 * columns[0] + rows[0]] * m[4 * columns[1] + rows[1]]
    b = m[4 * columns[1] + rows[0]] * m[4 * columns[0] + rows[1]]
    return a - b if (row + column) % 2 == 0 else b - a


def determinant(m):
    """Of the 3x3 part, developed along its top line."""
    return m[0] * _cofactor(m, 0, 0) + m[4] * _cofactor(m, 0, 1) + m[8] * _cofactor(m, 0, 2)


def inverse(m):
    """Affine inverse: the 3x3 by cofactors, the translation turned back. All zeros when the determinant is 0."""
    d = determinant(m)
    if d == 0:
        return [0.0] * 16
    out = list(IDENTITY_MATRIX)
    for r in range(3):
        for c in range(3):
            out[4 * c + r] = _cofactor(m, c, r) / d
    back = transform_no_projection(out, group(m, 3), 0.0)
    out[12], out[13], out[14] = -back.x, -back.y, -back.z
    return out


def scale(m):
    """Lengths of the three axes."""
    return Vector3(length(group(m, 0)), length(group(m, 1)), length(group(m, 2)))
