"""Triangle meshes under construction: welding, mirroring, refining to a count, checking.

Axes: +Z to the back, +Y up, +X to the right. Triangles run counter-clockwise seen from outside.
"""

import math

# Decimals of a written coordinate; vertices closer than that are one vertex.
DECIMALS = 5


def add(a, b):
    return (a[0] + b[0], a[1] + b[1], a[2] + b[2])


def sub(a, b):
    return (a[0] - b[0], a[1] - b[1], a[2] - b[2])


def mul(a, s):
    return (a[0] * s, a[1] * s, a[2] * s)


def dot(a, b):
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def length(a):
    return math.sqrt(dot(a, a))


def unit(a):
    n = length(a)
    return mul(a, 1 / n) if n > 0 else (0.0, 1.0, 0.0)


def lerp(a, b, t):
    return a + (b - a) * t


def mix(a, b, t):
    return (lerp(a[0], b[0], t), lerp(a[1], b[1], t), lerp(a[2], b[2], t))


def rounded(p):
    """Coordinates as they are written; adding 0.0 turns a negative zero into zero."""
    return tuple(round(c, DECIMALS) + 0.0 for c in p)


def curve(points):
    """Smooth function through (x, y) pairs of rising x, without overshoot (monotone cubic pieces); flat outside."""
    xs = [p[0] for p in points]
    ys = [p[1] for p in points]
    steps = [xs[i + 1] - xs[i] for i in range(len(xs) - 1)]
    slopes = [(ys[i + 1] - ys[i]) / steps[i] for i in range(len(xs) - 1)]
    tangents = [slopes[0]]
    for i in range(1, len(slopes)):
        if slopes[i - 1] * slopes[i] <= 0:
            tangents.append(0.0)
        else:
            w1, w2 = 2 * steps[i] + steps[i - 1], steps[i] + 2 * steps[i - 1]
            tangents.append((w1 + w2) / (w1 / slopes[i - 1] + w2 / slopes[i]))
    tangents.append(slopes[-1])

    def value(x):
        if x <= xs[0]:
            return ys[0]
        if x >= xs[-1]:
            return ys[-1]
        i = max(k for k in range(len(xs) - 1) if xs[k] <= x)
        t = (x - xs[i]) / steps[i]
        return (
            ys[i] * (1 + 2 * t) * (1 - t) ** 2
            + tangents[i] * steps[i] * t * (1 - t) ** 2
            + ys[i + 1] * t * t * (3 - 2 * t)
            + tangents[i + 1] * steps[i] * t * t * (t - 1)
        )

    return value


class Shape:
    """Vertices and triangles. Vertices of equal position (after rounding) are welded within one shape."""

    def __init__(self):
        self.vertices = []
        self.faces = []
        self._index = {}

    # Building

    def vertex(self, p):
        p = rounded(p)
        if p not in self._index:
            self._index[p] = len(self.vertices)
            self.vertices.append(p)
        return self._index[p]

    def triangle(self, a, b, c):
        """Three positions; one that has no area is left out, so that grids may run into a point."""
        i, j, k = self.vertex(a), self.vertex(b), self.vertex(c)
        if i != j and j != k and k != i:
            self.faces.append((i, j, k))

    def quad(self, a, b, c, d):
        """Four positions, split along the shorter diagonal."""
        if length(sub(a, c)) <= length(sub(b, d)) + 1e-9:
            self.triangle(a, b, c)
            self.triangle(a, c, d)
        else:
            self.triangle(a, b, d)
            self.triangle(b, c, d)

    def grid(self, rows, keep=None, flip=False):
        """rows[i][j]; outside is where (i direction) x (j direction) points, or the other side with `flip`.

        keep(i, j) says which cells are filled.
        """
        for i in range(len(rows) - 1):
            for j in range(len(rows[i]) - 1):
                if keep is None or keep(i, j):
                    corners = [rows[i][j], rows[i + 1][j], rows[i + 1][j + 1], rows[i][j + 1]]
                    self.quad(*(reversed(corners) if flip else corners))

    def fan(self, centre, loop, flip=False):
        for a, b in zip(loop, loop[1:]):
            if flip:
                self.triangle(centre, b, a)
            else:
                self.triangle(centre, a, b)

    def polygon(self, loop):
        """A convex polygon as a strip of triangles between its two sides, which avoids slivers of a fan."""
        low, high = 0, len(loop) - 1
        forward = True
        while high - low > 1:
            if forward:
                self.triangle(loop[low], loop[low + 1], loop[high])
                low += 1
            else:
                self.triangle(loop[low], loop[high - 1], loop[high])
                high -= 1
            forward = not forward

    def append(self, other, weld=False):
        """Adds another shape. Without `weld` its vertices stay its own, even where positions are equal."""
        if weld:
            indices = [self.vertex(p) for p in other.vertices]
        else:
            indices = [len(self.vertices) + i for i in range(len(other.vertices))]
            self.vertices.extend(other.vertices)
        for face in other.faces:
            a, b, c = (indices[i] for i in face)
            if a != b and b != c and c != a:
                self.faces.append((a, b, c))
        return self

    def moved(self, f):
        """A copy with each position sent through f; f keeps the sense of rotation."""
        copy = Shape()
        copy.vertices = [rounded(f(p)) for p in self.vertices]
        copy._index = {p: i for i, p in enumerate(copy.vertices)}
        copy.faces = list(self.faces)
        return copy

    def mirrored(self):
        """This shape of the side x >= 0 and its mirror image, welded along x = 0 only."""
        whole = Shape()
        whole.vertices = list(self.vertices)
        whole.faces = list(self.faces)
        indices = []
        for p in self.vertices:
            if p[0] == 0:
                indices.append(len(indices))
            else:
                indices.append(len(whole.vertices))
                whole.vertices.append((-p[0], p[1], p[2]))
        whole.faces += [(indices[a], indices[c], indices[b]) for a, b, c in self.faces]
        whole._index = {p: i for i, p in enumerate(whole.vertices)}
        return whole

    # Measuring

    def counts(self):
        return len(self.vertices), len(self.faces)

    def edges(self):
        """(low, high) -> list of (face, runs from low to high)."""
        found = {}
        for index, face in enumerate(self.faces):
            for a, b in zip(face, face[1:] + face[:1]):
                found.setdefault((min(a, b), max(a, b)), []).append((index, a < b))
        return found

    def parts(self):
        """Lists of faces that hang together over edges."""
        owner = list(range(len(self.faces)))

        def root(i):
            while owner[i] != i:
                owner[i] = owner[owner[i]]
                i = owner[i]
            return i

        for uses in self.edges().values():
            for face, _ in uses[1:]:
                owner[root(face)] = root(uses[0][0])
        groups = {}
        for i in range(len(self.faces)):
            groups.setdefault(root(i), []).append(i)
        return list(groups.values())

    def face_normal(self, index):
        a, b, c = (self.vertices[i] for i in self.faces[index])
        return cross(sub(b, a), sub(c, a))

    def vertex_normals(self):
        sums = [(0.0, 0.0, 0.0)] * len(self.vertices)
        for index, face in enumerate(self.faces):
            normal = self.face_normal(index)
            for i in face:
                sums[i] = add(sums[i], normal)
        return [unit(n) for n in sums]

    def extents(self):
        return [(min(p[k] for p in self.vertices), max(p[k] for p in self.vertices)) for k in range(3)]

    def volume(self, faces=None):
        indices = range(len(self.faces)) if faces is None else faces
        total = 0.0
        for i in indices:
            a, b, c = (self.vertices[k] for k in self.faces[i])
            total += dot(a, cross(b, c)) / 6
        return total

    # Refining

    def split_longest(self, boundary):
        """Halves the longest edge: of the open ones with `boundary`, else of the inner ones."""
        best = None
        for (a, b), uses in self.edges().items():
            if (len(uses) == 1) == boundary:
                size = length(sub(self.vertices[a], self.vertices[b]))
                if best is None or size > best[0] + 1e-9:
                    best = (size, a, b, [face for face, _ in uses])
        _, a, b, faces = best
        middle = len(self.vertices)
        self.vertices.append(rounded(mix(self.vertices[a], self.vertices[b], 0.5)))
        for index in faces:
            face = self.faces[index]
            self.faces[index] = tuple(middle if i == a else i for i in face)
            self.faces.append(tuple(middle if i == b else i for i in face))

    def refine(self, vertices, faces):
        """Splits edges until the counts are met. An inner edge adds 1 vertex and 2 faces, an open one 1 and 1."""
        missing_vertices, missing_faces = vertices - len(self.vertices), faces - len(self.faces)
        inner = missing_faces - missing_vertices
        outer = missing_vertices - inner
        if inner < 0 or outer < 0:
            raise ValueError(
                f"{len(self.vertices)} vertices and {len(self.faces)} faces cannot be split to {vertices} and {faces}"
                f" (inner {inner}, open {outer})"
            )
        for _ in range(inner):
            self.split_longest(boundary=False)
        for _ in range(outer):
            self.split_longest(boundary=True)
        return self

    # Checking

    def faults(self):
        """What is wrong with the mesh, as a list of sentences; empty for a sound one."""
        found = []
        used = {i for face in self.faces for i in face}
        if len(used) != len(self.vertices):
            found.append(f"{len(self.vertices) - len(used)} vertices belong to no face")
        if len({tuple(sorted(face)) for face in self.faces}) != len(self.faces):
            found.append("a face exists twice")
        for index, face in enumerate(self.faces):
            a, b, c = (self.vertices[i] for i in face)
            longest = max(length(sub(a, b)), length(sub(b, c)), length(sub(c, a)))
            if longest == 0 or length(self.face_normal(index)) < 1e-3 * longest * longest:
                found.append(f"face {index} {a} {b} {c} has no area")
        for (a, b), uses in self.edges().items():
            if len(uses) > 2:
                found.append(f"edge {self.vertices[a]} {self.vertices[b]} has {len(uses)} faces")
            elif len(uses) == 2 and uses[0][1] == uses[1][1]:
                found.append(f"the faces at edge {self.vertices[a]} {self.vertices[b]} run the same way")
        for part in self.parts():
            if self.is_closed(part) and self.volume(part) <= 0:
                found.append(f"the closed part of face {part[0]} is turned inside out")
        return found

    def is_closed(self, part=None):
        """Whether no edge of the part (or of the whole mesh) is open."""
        chosen = None if part is None else set(part)
        return all(len(uses) == 2 for uses in self.edges().values() if chosen is None or uses[0][0] in chosen)


def revolved(profile, segments, axis="y", start_angle=0.0):
    """Rings of a lathe. profile: (radius, height along the axis); a radius of 0 is a pole.

    Runs so that outside lies to the right of the profile's way when the radius points right and the axis up (a profile
    that goes up encloses the axis).
    """
    shape = Shape()

    def point(entry, k):
        angle = start_angle + 2 * math.pi * (k % segments) / segments
        r, h = entry
        if axis == "y":
            return (r * math.sin(angle), h, r * math.cos(angle))
        if axis == "x":
            return (h, r * math.cos(angle), r * math.sin(angle))
        return (r * math.cos(angle), r * math.sin(angle), h)

    rows = [[point(entry, k) for entry in profile] for k in range(segments + 1)]
    shape.grid(rows)
    return shape


def extruded(outline, low, high, axes=(0, 1, 2)):
    """A prism: outline (u, v) counter-clockwise when w points at you, from w = low to w = high; axes places u, v, w."""
    shape = Shape()

    def point(uv, w):
        p = [0.0, 0.0, 0.0]
        p[axes[0]], p[axes[1]], p[axes[2]] = uv[0], uv[1], w
        return tuple(p)

    n = len(outline)
    for k in range(n):
        a, b = outline[k], outline[(k + 1) % n]
        shape.quad(point(a, low), point(b, low), point(b, high), point(a, high))
    for a, b, c in triangulated(outline):
        shape.triangle(point(outline[a], high), point(outline[b], high), point(outline[c], high))
        shape.triangle(point(outline[a], low), point(outline[c], low), point(outline[b], low))
    return shape


def triangulated(outline):
    """Triangles (three indices each) of a simple polygon that runs counter-clockwise, by cutting off ears."""

    def area(a, b, c):
        return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0])

    left = list(range(len(outline)))
    result = []
    while len(left) > 3:
        best = None
        for k in range(len(left)):
            i, j, m = left[k - 1], left[k], left[(k + 1) % len(left)]
            a, b, c = outline[i], outline[j], outline[m]
            size = area(a, b, c)
            if size <= 1e-12:
                continue
            others = (outline[n] for n in left if n not in (i, j, m))
            if any(area(a, b, p) >= 0 and area(b, c, p) >= 0 and area(c, a, p) >= 0 for p in others):
                continue
            sides = [math.dist(a, b), math.dist(b, c), math.dist(c, a)]
            quality = size / max(sides) ** 2
            if best is None or quality > best[0] + 1e-9:
                best = (quality, k, (i, j, m))
        _, k, triangle = best
        result.append(triangle)
        del left[k]
    result.append(tuple(left))
    return result


def box(low, high):
    (x0, y0, z0), (x1, y1, z1) = low, high
    return extruded([(x0, y0), (x1, y0), (x1, y1), (x0, y1)], z0, z1)
