"""Animated variables: values over time as keys in ascending order, found by exact equality of times."""


def _linear(before, after, t):
    (ta, a), (tb, b) = before, after
    return a + (b - a) * (t - ta) / (tb - ta)


def _nearest(before, after, t):
    return before[1] if after[0] - t > t - before[0] else after[1]


def _latest(before, after, t):
    return before[1]


class AnimatedVariable:
    def __init__(self, rule, fallback):
        self._rule = rule
        self.fallback = fallback
        self.times = []
        self.values = []

    def __len__(self):
        return len(self.times)

    def _search(self, t):
        """(index of the key at exactly t or None, index of the last key before t or -1)."""
        lo, hi = 0, len(self.times) - 1
        while lo <= hi:
            mid = (lo + hi) // 2
            if self.times[mid] == t:
                return mid, mid
            if self.times[mid] > t:
                hi = mid - 1
            else:
                lo = mid + 1
        return None, hi

    def value_at(self, t):
        if not self.times:
            return self.fallback
        exact, before = self._search(t)
        if exact is not None:
            return self.values[exact]
        if before < 0:
            return self.values[0]
        if before == len(self.times) - 1:
            return self.values[before]
        return self._rule((self.times[before], self.values[before]),
                          (self.times[before + 1], self.values[before + 1]), t)

    def set_key(self, t, value):
        exact, before = self._search(t)
        if exact is not None:
            self.values[exact] = value
        else:
            self.times.insert(before + 1, t)
            self.values.insert(before + 1, value)

    def erase_from(self, t):
        keep = sum(1 for time in self.times if time < t)
        del self.times[keep:]
        del self.values[keep:]


def linear():
    return AnimatedVariable(_linear, 0.0)


def nearest(fallback):
    return AnimatedVariable(_nearest, fallback)


def latest(fallback):
    return AnimatedVariable(_latest, fallback)
