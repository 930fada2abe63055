"""Smoothing filters that settle alike at any step length. Time is cut into slices of at most 0.04 seconds."""

import math

from .scalars import SUB_SLICE_SECONDS
from .vectors import negated, norm_squared, normalized_quat


def slices(dt):
    """(number of slices, share of the reference period that each covers)."""
    r = dt / SUB_SLICE_SECONDS
    whole = math.trunc(r) if math.isfinite(r) and abs(r) < 2.0**31 else 0
    n = whole + 1
    return n, r / n


def _run(value, target, n, step):
    for _ in range(n):
        value = value + step * (target - value)
    return value


def filter_exact(value, target, factor, dt):
    """Scalar or vector. A factor of exactly 0 or exactly 1 jumps to the target."""
    n, k = slices(dt)
    if factor == 1.0 or factor == 0.0:
        return target
    return _run(value, target, n, k * factor)


def filter_saturating(value, target, factor, dt):
    """Scalar or vector. Jumps when a slice would cover the whole distance, or when the factor is exactly 0."""
    n, k = slices(dt)
    if k * factor >= 1.0 or factor == 0.0:
        return target
    return _run(value, target, n, k * factor)


def _same_hemisphere(value, target):
    if target.w < 0:
        target = negated(target)
    if value.w < 0:
        value = negated(value)
    if norm_squared(target - value) > norm_squared(target - negated(value)):
        value = negated(value)
    return value, target


def filter_exact_quat(value, target, factor, dt):
    """(new value, target in the sign it was brought to)."""
    value, target = _same_hemisphere(value, target)
    return normalized_quat(filter_exact(value, target, factor, dt)), target


def filter_saturating_quat(value, target, factor, dt):
    """(new value, target in the sign it was brought to)."""
    value, target = _same_hemisphere(value, target)
    return normalized_quat(filter_saturating(value, target, factor, dt)), target


def filter_quat_pid(value, previous, previous2, target, gain_p, gain_d, gain_v, dt):
    """(new value, target). Three gains: distance, change of rate, rate."""
    if gain_p + gain_d + gain_v == 0.0:
        return filter_exact_quat(value, target, gain_p, dt)
    rate = (value - previous) / dt
    rate_before = (previous - previous2) / dt
    change = (rate - rate_before) / dt
    value = value + (gain_p * (target - value) - gain_d * change - gain_v * rate)
    return normalized_quat(value), target
