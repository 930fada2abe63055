"""Rays against triangles: the host's surface and the physics library's mesh, both plain searches for the nearest hit.

Triangles are kept in small groups with a slightly enlarged box, and groups in bundles, which only saves time: the
answers are those of a walk over all triangles.
"""

import math

from carmodel.vectors import Vector3, normalized

from .matrices import cross

GROUP = 12
BOX_MARGIN = 1e-3


class Triangles:
    """Triangles of meshes, with the exact form of T. Moeller and B. Trumbore (1997) in doubles."""

    def __init__(self, meshes):
        self._groups = []
        corners = [(mesh.vertices[f[0]], mesh.vertices[f[1]], mesh.vertices[f[2]])
                   for mesh in meshes for f in mesh.faces]
        for first in range(0, len(corners), GROUP):
            part = corners[first:first + GROUP]
            low = [min(p[i] for t in part for p in t) - BOX_MARGIN for i in range(3)]
            high = [max(p[i] for t in part for p in t) + BOX_MARGIN for i in range(3)]
            self._groups.append((low, high, [(*a, *(b - a), *(c - a)) for a, b, c in part]))
        self._bundles = []
        for first in range(0, len(self._groups), GROUP):
            part = self._groups[first:first + GROUP]
            low = [min(group[0][i] for group in part) for i in range(3)]
            high = [max(group[1][i] for group in part) for i in range(3)]
            self._bundles.append((low, high, part))

    @staticmethod
    def _meets(low, high, o, d):
        near, far = 0.0, math.inf
        for i in range(3):
            if d[i] == 0.0:
                if o[i] < low[i] or o[i] > high[i]:
                    return False
                continue
            t0, t1 = (low[i] - o[i]) / d[i], (high[i] - o[i]) / d[i]
            if t0 > t1:
                t0, t1 = t1, t0
            near, far = max(near, t0), min(far, t1)
        return near <= far * (1 + 1e-9) + 1e-9

    def _met(self, origin, direction):
        """The triangles of the groups whose boxes the ray meets, in order."""
        for low, high, groups in self._bundles:
            if self._meets(low, high, origin, direction):
                for group_low, group_high, triangles in groups:
                    if self._meets(group_low, group_high, origin, direction):
                        yield triangles

    def nearest(self, origin, direction, slack=0.0):
        """(t, normal) of the hit with the smallest t >= 0, or None; normal = (b - a) x (c - a) at length 1. A triangle
        reaches beyond its edges by `slack` in barycentric coordinates."""
        ox, oy, oz = origin
        dx, dy, dz = direction
        best, winner = math.inf, None
        for triangles in self._met(origin, direction):
            for triangle in triangles:
                ax, ay, az, bx, by, bz, cx, cy, cz = triangle
                px, py, pz = dy * cz - dz * cy, dz * cx - dx * cz, dx * cy - dy * cx
                det = bx * px + by * py + bz * pz
                if det == 0.0:
                    continue
                sx, sy, sz = ox - ax, oy - ay, oz - az
                u = (sx * px + sy * py + sz * pz) / det
                if u < -slack or u > 1.0 + slack:
                    continue
                qx, qy, qz = sy * bz - sz * by, sz * bx - sx * bz, sx * by - sy * bx
                v = (dx * qx + dy * qy + dz * qz) / det
                if v < -slack or u + v > 1.0 + slack:
                    continue
                t = (cx * qx + cy * qy + cz * qz) / det
                if 0.0 <= t < best:
                    best, winner = t, triangle
        if winner is None:
            return None
        return best, normalized(cross(Vector3(*winner[3:6]), Vector3(*winner[6:9])))


class Mesh:
    """Vertices as Vector3, faces as triples of indices."""

    def __init__(self, vertices, faces):
        self.vertices = [Vector3(*v) for v in vertices]
        self.faces = [tuple(f) for f in faces]
        self._triangles = None

    def intersect(self, origin, direction):
        """As the host's surface answers: a hit is at origin + t * direction, from either side, its normal as it is."""
        if self._triangles is None:
            self._triangles = Triangles([self])
        return self._triangles.nearest(origin, direction)
