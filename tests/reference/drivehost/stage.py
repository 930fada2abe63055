"""A scene as the host of drive files keeps it: motion between keys, times from whole frames."""

from carmodel.vectors import Quat, dot4, group, negated, normalized_quat, quat_from_matrix, quat_matrix, scale, slerp
from vehiclemodel.matrices import identity, scaled, set_group
from vehiclemodel.scene import Element, Scene


def _between(a, b, part):
    """Position and axis lengths straight, rotation along the shorter arc."""
    if a == b:
        return list(a)
    start, end = quat_from_matrix(a), quat_from_matrix(b)
    if dot4(start, end) < 0.0:
        end = negated(end)
    turn = start if dot4(start, end) >= 1.0 else slerp(start, end, part)
    sizes = scale(a) + (scale(b) - scale(a)) * part
    m = scaled(quat_matrix(normalized_quat(Quat(*turn))), *sizes)
    set_group(m, 3, group(a, 3) + (group(b, 3) - group(a, 3)) * part)
    return m


class MovingElement(Element):
    """An element whose local matrix changes between keys."""

    def local(self, time):
        if not self.times:
            return identity()
        at, place = self._key_at(time)
        if at is not None or place in (0, len(self.times)):
            return super().local(time)
        before, behind = self.times[place - 1], self.times[place]
        return _between(self.locals[place - 1], self.locals[place], (time - before) / (behind - before))


class Stage(Scene):
    """Of one vehicle with its own ground; `rate` is a fraction of whole numbers."""

    def __init__(self, rate):
        super().__init__(float(rate))
        self.rate = rate
        self.step = rate.denominator / rate.numerator

    def time(self, frame):
        return frame * self.rate.denominator / self.rate.numerator

    def create(self, name, parent=None, surface=None):
        element = MovingElement(name, parent, surface)
        self.elements.append(element)
        return element
