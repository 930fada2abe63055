"""A scene as a host keeps it: elements in a tree, each with keys of its local matrix over time.

A set at a time makes a key there. A read gives the key at that time if there is one, else the latest key before it,
else the first key, else the identity: no interpolation, so that nothing but the vehicle's own arithmetic is compared.
Times nearer than SAME_TIME are one time.
"""

from bisect import bisect_left

from carmodel.vectors import inverse, product

from .matrices import identity

SAME_TIME = 1e-9  # seconds; far below a frame, far above the rounding of a sum of frames


class Element:
    def __init__(self, name, parent=None, surface=None):
        self.name = name
        self.parent = parent
        self.children = []
        self.times = []
        self.locals = []
        self.surface = surface  # object with vertices and faces, or None
        self.deleted = False
        if parent is not None:
            parent.children.append(self)

    def _key_at(self, time):
        """(index of the key at `time` or None, index where one would be put in)."""
        i = bisect_left(self.times, time - SAME_TIME)
        if i < len(self.times) and self.times[i] <= time + SAME_TIME:
            return i, i
        return None, i

    def local(self, time):
        if not self.times:
            return identity()
        at, place = self._key_at(time)
        if at is None:
            at = max(place - 1, 0)
        return list(self.locals[at])

    def set_local(self, time, matrix):
        at, place = self._key_at(time)
        if at is not None:
            self.locals[at] = list(matrix)
        else:
            self.times.insert(place, time)
            self.locals.insert(place, list(matrix))

    def world(self, time):
        own = self.local(time)
        return own if self.parent is None else product(self.parent.world(time), own)

    def set_world(self, time, matrix):
        if self.parent is not None:
            matrix = product(inverse(self.parent.world(time)), matrix)
        self.set_local(time, matrix)

    def is_or_below(self, other):
        element = self
        while element is not None:
            if element is other:
                return True
            element = element.parent
        return False


class Scene:
    def __init__(self, frames_per_second):
        self.fps = frames_per_second
        self.step = 1.0 / frames_per_second
        self.now = 0.0
        self.elements = []
        self.messages = []  # (text, caption)
        self.undo_records = 0
        self.refreshes = 0

    def time(self, frame):
        return frame / self.fps

    def create(self, name, parent=None, surface=None):
        element = Element(name, parent, surface)
        self.elements.append(element)
        return element

    def find(self, name):
        return next(e for e in self.elements if e.name == name and not e.deleted)

    def link(self, element, parent):
        """Moves the element below `parent`, as its last child; its local matrices stay."""
        if element.parent is not None:
            element.parent.children.remove(element)
        element.parent = parent
        if parent is not None:
            parent.children.append(element)

    def delete(self, element):
        for child in element.children:
            child.parent = None
        element.children = []
        self.link(element, None)
        element.deleted = True

    def message(self, text, caption):
        self.messages.append((text, caption))
