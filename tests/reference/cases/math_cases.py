"""Cases of the scalar, vector, quaternion and matrix operations, the filters and the shaping of a device's value."""

import math

from carmodel import filters, inputs, scalars, skidding, suspension, vectors
from carmodel.vectors import QTransform, Quat, Vector3

from .random_source import Random
from .text import cells, line

SEED = 0x0C0FFEE5
HOSTILE = [0.0, -0.0, 5e-324, -5e-324, 2.2250738585072014e-308, 1e-160, -1e-160, 1e-16, -1e-9, 1.0, -1.0,
           1.0000000000000002, 0.9999999999999999, -1e9, 1e16, -1e100, 1e150]
DTS = [0.0, 1e-9, 0.0017, 1 / 60, 0.02, 1 / 30, 0.04, 1 / 24, 0.0399999, 0.1, 0.12, 1.0, 2.5]
FACTORS = [0.0, 1.0, 0.5, 0.1, 0.01, 0.02, 0.9, 0.99, 1.1, 1.5, 2.0, 1e-9, 0.05, 3.0]


def _scalar(r):
    kind = r.below(10)
    if kind == 0:
        return r.pick(HOSTILE)
    if kind < 3:
        return (r.unit() - 0.5) * 10.0 ** (r.below(9) - 4)
    return r.short(-8.0, 8.0)


def _magnitude(r):
    return abs(_scalar(r))


def _vector(r):
    kind = r.below(12)
    if kind == 0:
        return vectors.ZERO
    if kind == 1:
        return r.pick([Vector3(1.0, -1.0, 0.0), Vector3(0.5, 0.25, -0.75), Vector3(0.0, 0.0, -2.0),
                       Vector3(-0.0, 0.0, 0.0), Vector3(1e-170, 0.0, 0.0), Vector3(3e-155, 4e-155, 0.0),
                       Vector3(1e120, -2e120, 5e119)])
    return Vector3(_scalar(r), _scalar(r), _scalar(r))


def _tame_vector(r):
    return Vector3(*(r.short(-8.0, 8.0) for _ in range(3)))


def _unit_quat(r):
    q = vectors.normalized_quat(Quat(*(r.short(-1.0, 1.0) for _ in range(4))))
    return q if r.chance(0.85) else r.pick([
        Quat(0.0, 0.0, 0.0, 1.0), Quat(0.0, 0.0, 0.0, -1.0), Quat(1.0, 0.0, 0.0, 0.0), Quat(0.0, -1.0, 0.0, 0.0),
        Quat(0.0, 0.0, 1.0, 0.0), Quat(0.0, 1e-9, 0.0, 1.0), Quat(1e-5, 0.0, 0.0, -1.0)])


def _quat(r):
    kind = r.below(8)
    if kind == 0:
        return r.pick([Quat(0.0, 0.0, 0.0, 0.0), Quat(1e-170, 0.0, 0.0, 1e-170), Quat(1e100, 0.0, -1e100, 2e100)])
    if kind < 3:
        return Quat(*(r.short(-3.0, 3.0) for _ in range(4)))
    return _unit_quat(r)


def _matrix(r):
    """Mostly rotations with scale and translation, also shear, mirrors, singular ones and a projecting last row."""
    kind = r.below(10)
    if kind < 5:
        m = vectors.quat_matrix(_unit_quat(r))
        for i in range(3):
            s = r.short(-3.0, 3.0) if r.chance(0.7) else 1.0
            for j in range(3):
                m[4 * i + j] *= s
    else:
        m = [r.short(-3.0, 3.0) for _ in range(16)]
        m[3] = m[7] = m[11] = 0.0
        m[15] = 1.0
    if kind == 8:
        column = r.below(3)
        m[4 * column] = m[4 * column + 1] = m[4 * column + 2] = 0.0
    if kind == 9:
        m[3], m[7], m[11], m[15] = (r.short(-1.0, 1.0) if r.chance(0.7) else 0.0 for _ in range(4))
    m[12], m[13], m[14] = _tame_vector(r)
    return m


def _affine(r):
    m = _matrix(r)
    m[3] = m[7] = m[11] = 0.0
    m[15] = 1.0
    return m


def _flat(*things):
    out = []
    for thing in things:
        if isinstance(thing, (list, tuple)):
            out.extend(_flat(*thing))
        elif isinstance(thing, QTransform):
            out.extend(_flat(thing.position, thing.rotation))
        else:
            out.append(float(thing))
    return out


def _biggest(*things):
    return max((abs(x) for x in _flat(*things)), default=0.0)


def _random_counter(r):
    return r.pick([0, -1, 1000, 10000, 100000, 2147483647, -2147483648, scalars.to_signed_32(r.bits())])


# A case is (arguments, result, scale), or None when the draw is of no use. The scale is the size of the largest term
# that cancels inside the operation; 0 where nothing cancels.


def _single(draw, f, scale=lambda *_: 0.0):
    def case(r):
        a = draw(r)
        return (a,), f(a), scale(a)
    return case


def _double(draw_a, draw_b, f, scale=lambda *_: 0.0):
    def case(r):
        a, b = draw_a(r), draw_b(r)
        return (a, b), f(a, b), scale(a, b)
    return case


def _slerp_case(r):
    a, b, t = _unit_quat(r), _unit_quat(r), r.short(0.0, 1.0)
    d = vectors.dot4(a, b)
    if abs(d) > 0.999:
        return None
    return (a, b, t), vectors.slerp(a, b, t), 1.0


def _filter_case(f, draw):
    def case(r):
        value, target = draw(r), draw(r)
        factor = r.pick(FACTORS) if r.chance(0.7) else r.short(0.0, 1.0)
        dt = r.pick(DTS) if r.chance(0.7) else r.short(0.001, 0.3)
        return (value, target, factor, dt), f(value, target, factor, dt), _biggest(value, target)
    return case


def _pid_case(r):
    value, previous, previous2, target = (_unit_quat(r) for _ in range(4))
    gains = [r.short(-0.5, 0.5) for _ in range(3)] if r.chance(0.8) else r.pick([[0.0, 0.0, 0.0], [0.25, -0.25, 0.0]])
    dt = r.pick([0.04, 0.02, 1 / 30, 0.1, 0.5])
    out = filters.filter_quat_pid(value, previous, previous2, target, *gains, dt)
    # A normalised sum of terms as large as gain / dt^2: what cancels is that size against the norm before.
    return (value, previous, previous2, target, *gains, dt), out, 4.0 / dt / dt


def _property_case(r):
    device = r.pick([0.0, -0.0, 0.1, -0.1, 1.0, -1.0, 0.05, 2.0, 0.1000001]) if r.chance(0.4) else r.short(-1.2, 1.2)
    multiplier = r.pick([1.0, -1.0, 2.0, 0.5])
    exponent = r.pick([1.0, 1.3, 2.0, 0.5, 1.3])
    dead_zone = r.pick([0.1, 0.0, 0.2, 0.1])
    offset = r.pick([0.0, 0.0, 0.25, -0.5])
    out = inputs.property_value(device, multiplier, exponent, dead_zone, offset)
    # m = |x| - dead zone cancels at the edge of the dead zone.
    return (device, multiplier, exponent, dead_zone, offset), out, 1.0


def _spring_case(r):
    args = (r.short(0.001, 0.01), r.short(-0.1, 0.1), r.short(-0.1, 0.1), r.short(0.0, 4000.0), r.short(0.0, 400.0),
            r.short(-600.0, 600.0), r.short(1.0, 500.0), r.pick([1, 1, 1, 2, 5]))
    h, diff, diff_prev, stiffness, damping = args[:5]
    return args, suspension.spring_force(*args), abs(stiffness * diff) + damping * (abs(diff) + abs(diff_prev)) / h


def _reverse_case(r):
    draw = [0.0, -0.0, 1e-8, -1e-8, 0.5, -0.5, 1.0, -1.0]
    args = (r.chance(0.5), r.pick(draw), r.pick(draw), r.pick(draw))
    return args, skidding.reverse_brake_active(*args), 0.0


def _transform_draw(r):
    return QTransform(_tame_vector(r), _unit_quat(r))


def _matrix_scale(m, p):
    return _biggest(m) * max(_biggest(p), 1.0)


def _over_fourth(size, w):
    """Scale of size / w where w itself is a sum of terms as large as `size`."""
    return size if w == 0 else size / abs(w) * max(1.0, size / abs(w))


def _projected(r):
    m, p = _matrix(r), _tame_vector(r)
    w = m[3] * p.x + m[7] * p.y + m[11] * p.z + m[15]
    if w != 0 and abs(w) < 0.01:
        return None
    return (m, p), vectors.transform(m, p), _over_fourth(_matrix_scale(m, p), w)


def _no_projection_case(r):
    m, p, w = _affine(r), _tame_vector(r), r.pick([0.0, 1.0, 0.5, -2.0])
    return (m, p, w), vectors.transform_no_projection(m, p, w), _matrix_scale(m, p) * max(1.0, abs(w))


def _inverse_case(r):
    m = _affine(r)
    d = abs(vectors.determinant(m))
    if d != 0 and d < 1e-3:
        return None
    size = max(_biggest(*(vectors.group(m, i) for i in range(3))), 1.0)
    shift = max(_biggest(vectors.group(m, 3)), 1.0)
    # Cofactors are as large as size^2; the determinant cancels terms of size^3.
    scale = size**2 / d * max(1.0, size**3 / d) * shift if d != 0 else 0.0
    return (m,), vectors.inverse(m), scale


def _rotation_vector_draw(r):
    v = r.pick([vectors.ZERO, Vector3(1.0, -1.0, 0.0), Vector3(0.25, 0.25, -0.5), Vector3(0.0, 3.0, 0.0)])
    return v if r.chance(0.15) else Vector3(*(r.short(-2.0, 2.0) for _ in range(3)))


TABLE = [
    # name, number of cases, case
    ("Sign", 60, _single(_scalar, scalars.sign)),
    ("SignZero", 60, _single(_scalar, scalars.sign_zero)),
    ("SameSign", 120, _double(_scalar, _scalar, scalars.same_sign)),
    ("ClampAbs", 150, _double(_scalar, _magnitude, scalars.clamp_abs)),
    ("ClampAbsMin", 150, _double(_scalar, _magnitude, scalars.clamp_abs_min)),
    ("RandomUnit", 300, _single(_random_counter, scalars.random_unit)),
    ("Dot", 150, _double(_vector, _vector, vectors.dot, lambda a, b: _biggest(a) * _biggest(b))),
    ("Length", 150, _single(_vector, vectors.length)),
    ("Normalized", 200, _single(_vector, vectors.normalized)),
    ("ClampLength", 150, _double(_vector, _magnitude, vectors.clamp_length)),
    ("Divided", 80, _double(_vector, lambda r: r.short(0.125, 9.0), lambda v, s: v / s)),
    ("QuatDot4", 100, _double(_quat, _quat, vectors.dot4, lambda a, b: _biggest(a) * _biggest(b))),
    ("SumAbsDiff", 100, _double(_quat, _quat, vectors.sum_abs_diff, lambda a, b: _biggest(a, b))),
    ("Multiply", 250, _double(_quat, _quat, vectors.multiply, lambda a, b: _biggest(a) * _biggest(b))),
    ("Conjugate", 40, _single(_quat, vectors.conjugate)),
    ("Rotate", 250, _double(_quat, _tame_vector, vectors.rotate, lambda q, v: _biggest(q) ** 2 * _biggest(v))),
    ("QuatToMatrix", 150, _single(_quat, vectors.quat_matrix, lambda q: _biggest(q) ** 2)),
    ("QuatNormalized", 200, _single(_quat, vectors.normalized_quat)),
    ("ToRotationVector", 200, _single(_unit_quat, vectors.to_rotation_vector)),
    ("FromRotationVector", 200, _single(_rotation_vector_draw, vectors.from_rotation_vector, lambda v: _biggest(v))),
    ("QuatFromMatrix", 200, _single(_affine, vectors.quat_from_matrix, lambda m: 1.0)),
    ("Slerp", 120, _slerp_case),
    ("TransformPoint", 100, _double(_transform_draw, _tame_vector, lambda t, p: t.apply(p),
                                    lambda t, p: _biggest(t, p))),
    ("TransformToMatrix", 60, _single(_transform_draw, lambda t: t.matrix(), lambda t: 1.0)),
    ("TransformFromMatrix", 60, _single(_affine, lambda m: QTransform(vectors.group(m, 3), vectors.quat_from_matrix(m)),
                                        lambda m: 1.0)),
    ("MatrixTransform", 120, _projected),
    ("MatrixTransformNoProjection", 80, _no_projection_case),
    ("MatrixProduct", 80, _double(_affine, _affine, vectors.product, lambda a, b: _biggest(a) * _biggest(b))),
    ("Determinant", 120, _single(_affine, vectors.determinant, lambda m: max(
        _biggest(vectors.group(m, 0), vectors.group(m, 1), vectors.group(m, 2)), 1.0) ** 3)),
    ("Inverse", 120, _inverse_case),
    ("Scale", 80, _single(_affine, vectors.scale)),
    ("FilterExact", 300, _filter_case(filters.filter_exact, _scalar)),
    ("FilterSaturating", 300, _filter_case(filters.filter_saturating, _scalar)),
    ("FilterExactVector3", 150, _filter_case(filters.filter_exact, _tame_vector)),
    ("FilterSaturatingVector3", 150, _filter_case(filters.filter_saturating, _tame_vector)),
    ("FilterExactQuat", 250, _filter_case(filters.filter_exact_quat, _unit_quat)),
    ("FilterSaturatingQuat", 250, _filter_case(filters.filter_saturating_quat, _unit_quat)),
    ("FilterQuatPid", 120, _pid_case),
    ("PropertyValue", 250, _property_case),
    ("SpringForce", 100, _spring_case),
    ("ReverseBrakeActive", 200, _reverse_case),
]


def lines():
    yield line({"about": "Operations of the math library. in/out: arguments and results flattened in declaration order "
                         "(vector x y z, quaternion x y z w, transform position rotation, matrix 16 column by column; "
                         "bool 0 or 1). Arguments that an operation changes in place follow its result. "
                         "scale: size of the largest term that cancels inside, an absolute floor for comparison.",
                "generator": f"splitmix64, seed {SEED}, one stream per function"})
    for index, (name, count, case) in enumerate(TABLE):
        r = Random(SEED + 1000003 * index)
        seen = set()
        attempts = 0
        while len(seen) < count and attempts < 40 * count:
            attempts += 1
            drawn = case(r)
            if drawn is None:
                continue
            args, result, scale = drawn
            given = cells(_flat(*args))
            out = _flat(result)
            if tuple(given) in seen or not all(math.isfinite(x) for x in (*out, scale)):
                continue
            seen.add(tuple(given))
            entry = {"fn": name, "in": given, "out": cells(out)}
            if scale > 0.0:
                entry["scale"] = cells([float(f"{scale:.1e}")])[0]
            yield line(entry)
