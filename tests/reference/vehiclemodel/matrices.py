"""Matrices of placing: what `carmodel.vectors` leaves out."""

from carmodel.scalars import libm
from carmodel.vectors import (IDENTITY_MATRIX, QTransform, Vector3, group, length, normalized, quat_from_matrix,
                              transform_no_projection)


def cross(a, b):
    return Vector3(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x)


def identity():
    return list(IDENTITY_MATRIX)


def translation(x, y, z):
    m = identity()
    m[12], m[13], m[14] = x, y, z
    return m


def scaling(x, y, z):
    m = identity()
    m[0], m[5], m[10] = x, y, z
    return m


def rotation_x(angle):
    c, s = libm.cos(angle), libm.sin(angle)
    m = identity()
    m[5], m[6], m[9], m[10] = c, s, -s, c
    return m


def rotation_y(angle):
    c, s = libm.cos(angle), libm.sin(angle)
    m = identity()
    m[0], m[2], m[8], m[10] = c, -s, s, c
    return m


def rotation_z(angle):
    c, s = libm.cos(angle), libm.sin(angle)
    m = identity()
    m[0], m[1], m[4], m[5] = c, s, -s, c
    return m


def set_group(m, i, v):
    m[4 * i], m[4 * i + 1], m[4 * i + 2] = v


def with_axis_lengths(m, lengths):
    """A copy of m whose axes have the given lengths; a zero axis counts as pointing up."""
    out = list(m)
    for i in range(3):
        set_group(out, i, normalized(group(m, i)) * lengths[i])
    return out


def without_scale(m):
    out = list(m)
    for i in range(3):
        set_group(out, i, normalized(group(m, i)))
    return out


def scaled(m, x, y, z):
    """m times scale(x, y, z)."""
    out = list(m)
    for i, s in enumerate((x, y, z)):
        set_group(out, i, group(m, i) * s)
    return out


def direction(m, v):
    """m applied to v without its translation."""
    return transform_no_projection(m, v, 0.0)


def to_transform(m):
    return QTransform(group(m, 3), quat_from_matrix(m))


def axis_length(m, i):
    return length(group(m, i))
