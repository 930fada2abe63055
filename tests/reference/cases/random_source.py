"""A pinned generator, written out so that no library's change can move a golden value (splitmix64)."""

import math

MASK = (1 << 64) - 1


class Random:
    def __init__(self, seed):
        self.state = seed & MASK

    def bits(self):
        self.state = (self.state + 0x9E3779B97F4A7C15) & MASK
        z = self.state
        z = ((z ^ (z >> 30)) * 0xBF58476D1CE4E5B9) & MASK
        z = ((z ^ (z >> 27)) * 0x94D049BB133111EB) & MASK
        return z ^ (z >> 31)

    def below(self, n):
        return self.bits() % n

    def unit(self):
        """In [0, 1) with 53 bits."""
        return (self.bits() >> 11) / float(1 << 53)

    def short(self, low, high):
        """In about [low, high], a multiple of a power of two near 1/65536 of the range."""
        low, high = min(low, high), max(low, high)
        if low == high:
            return low
        step = 2.0 ** (math.frexp(high - low)[1] - 16)
        return round((low + (high - low) * (self.bits() >> 48) / 65536.0) / step) * step

    def pick(self, options):
        return options[self.below(len(options))]

    def chance(self, probability):
        return self.unit() < probability
