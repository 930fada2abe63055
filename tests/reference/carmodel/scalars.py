"""Scalar helpers and the gate to the platform's mathematical functions.

All transcendental functions are called through `libm`, so that a caller can ask what becomes of a result when a library
rounds them differently: `libm.nudge` is applied to each result.
"""

import math

SUB_SLICE_SECONDS = 0.04
TWO_TO_32 = 1 << 32


class Libm:
    """The platform's functions; `nudge(x)` may move a result by some units in the last place (default: not at all)."""

    def __init__(self):
        self.nudge = None

    def _out(self, x):
        return x if self.nudge is None else self.nudge(x)

    def sin(self, x):
        return self._out(math.sin(x))

    def cos(self, x):
        return self._out(math.cos(x))

    def tan(self, x):
        return self._out(math.tan(x))

    def acos(self, x):
        return self._out(math.acos(x))

    def atan2(self, y, x):
        return self._out(math.atan2(y, x))

    def pow(self, x, y):
        return self._out(math.pow(x, y))


libm = Libm()


def divide(a, b):
    """a / b with the outcomes of IEEE 754 at b == 0, where Python would raise."""
    if b != 0.0:
        return a / b
    if a == 0.0 or math.isnan(a):
        return math.nan
    return math.copysign(math.inf, a) * math.copysign(1.0, b)


def sign(x):
    """-1.0 below zero, otherwise +1.0; zero counts as positive."""
    return -1.0 if 0 > x else 1.0


def sign_zero(x):
    """Three-valued sign as a float; not a number stays not a number."""
    if x > 0:
        return 1.0
    if x < 0:
        return -1.0
    return 0.0 if x == 0 else math.nan


def same_sign(a, b):
    """Whether both are negative, both zero or both positive; false with not-a-number."""
    return sign_zero(a) == sign_zero(b)


def clamp_abs(x, maximum):
    """x held to a magnitude of at most `maximum`."""
    return sign(x) * maximum if abs(x) > maximum else x


def clamp_abs_min(x, minimum):
    """x held to a magnitude of at least `minimum`; zero becomes +minimum."""
    return sign(x) * minimum if minimum > abs(x) else x


def to_signed_32(bits):
    """The signed reading of the low 32 bits of an integer."""
    bits &= TWO_TO_32 - 1
    return bits - TWO_TO_32 if bits >= TWO_TO_32 // 2 else bits


def random_unit(counter):
    """(noise in [0, 1), advanced counter): integer noise that depends on the counter alone; 32-bit wrap-around."""
    mask = TWO_TO_32 - 1
    counter = (counter + 1) & mask
    n = ((counter << 13) & mask) ^ counter
    inner = ((n * n & mask) * 15731 + 789221) & mask
    m = ((n * inner & mask) + 1376312589) & mask
    m &= 0x7FFFFFFF
    return 0.5 * m / 1073741824.0, to_signed_32(counter)
