"""Spatial subdivision of a stored mesh, and the first triangle on a line in the order of the walk."""

from carmodel.vectors import Vector3, normalized

from .matrices import cross


def _solve(p, q, origin, direction, corner):
    """(u, v, t) with corner + u p + v q = origin + t direction, or None for a line parallel to both.

    The inverse of the matrix of the axes p, q and -direction by cofactors, each divided by the determinant, which is
    expanded along the first row; written out for speed.
    """
    (px, py, pz), (qx, qy, qz), (dx, dy, dz) = p, q, direction
    dx, dy, dz = -dx, -dy, -dz
    c00, c01, c02 = qy * dz - dy * qz, dy * pz - py * dz, py * qz - qy * pz
    determinant = px * c00 + qx * c01 + dx * c02
    if determinant == 0.0:
        return None
    c10, c11, c12 = dx * qz - qx * dz, px * dz - dx * pz, qx * pz - px * qz
    c20, c21, c22 = qx * dy - dx * qy, dx * py - px * dy, px * qy - qx * py
    x, y, z = origin[0] - corner[0], origin[1] - corner[1], origin[2] - corner[2]
    return (c00 / determinant * x + c10 / determinant * y + c20 / determinant * z,
            c01 / determinant * x + c11 / determinant * y + c21 / determinant * z,
            c02 / determinant * x + c12 / determinant * y + c22 / determinant * z)


def line_triangle(a, b, c, origin, direction):
    """t, or None. The edge opposite to a does not belong to the triangle; t may be negative."""
    uvt = _solve(b - a, c - a, origin, direction, a)
    if uvt is None:
        return None
    u, v, t = uvt
    return t if u >= 0.0 and v >= 0.0 and u + v < 1.0 else None


def line_parallelogram(corner, p, q, origin, direction):
    uvt = _solve(p, q, origin, direction, corner)
    if uvt is None:
        return None
    u, v, t = uvt
    return t if u >= 0.0 and v >= 0.0 and u <= 1.0 and v <= 1.0 else None


def line_box(low, high, origin, direction):
    sx, sy, sz = high - low
    x, y, z = (sx, 0.0, 0.0), (0.0, sy, 0.0), (0.0, 0.0, sz)
    back_x, back_y, back_z = (-sx, 0.0, 0.0), (0.0, -sy, 0.0), (0.0, 0.0, -sz)
    nearest = None
    for corner, p, q in ((low, x, y), (low, y, z), (low, z, x), (high, back_x, back_y), (high, back_y, back_z),
                         (high, back_z, back_x)):
        t = line_parallelogram(corner, p, q, origin, direction)
        if t is not None and (nearest is None or t < nearest):
            nearest = t
    return nearest


def _inside(p, low, high):
    return low.x <= p.x <= high.x and low.y <= p.y <= high.y and low.z <= p.z <= high.z


def _box_edges(low, high):
    s = high - low
    x, y, z = Vector3(s.x, 0.0, 0.0), Vector3(0.0, s.y, 0.0), Vector3(0.0, 0.0, s.z)
    return ([(low, x), (low + y, x), (low + y + z, x), (low + z, x)]
            + [(low, y), (low + x, y), (low + x + z, y), (low + z, y)]
            + [(low, z), (low + x, z), (low + x + y, z), (low + y, z)])


def overlaps(a, b, c, low, high):
    if _inside(a, low, high) or _inside(b, low, high) or _inside(c, low, high):
        return True
    for start, edge in _box_edges(low, high):
        t = line_triangle(a, b, c, start, edge)
        if t is not None and 0.0 <= t <= 1.0:
            return True
    for start, end in ((a, b), (b, c), (c, a)):
        t = line_box(low, high, start, end - start)
        if t is not None and 0.0 <= t <= 1.0:
            return True
    return False


def _widest(points):
    if not points:
        return Vector3(), Vector3()
    return (Vector3(*(min(p[i] for p in points) for i in range(3))),
            Vector3(*(max(p[i] for p in points) for i in range(3))))


class GroundMeshTree:
    """`triangles`: corner triples. Inner nodes have children; only leaves read their triangles."""

    def __init__(self, low=Vector3(), high=Vector3(), triangles=()):
        self.low, self.high = low, high
        self.triangles = list(triangles)
        self.children = []

    @staticmethod
    def of_mesh(mesh):
        root = GroundMeshTree(*_widest(mesh.vertices),
                              [tuple(mesh.vertices[i] for i in face) for face in mesh.faces])
        root._subdivide()
        return root

    def _divisions(self, size):
        half = size / 2.0
        counts = []
        for low_corner, box in ((self.low, Vector3(half.x, size.y, size.z)),
                                (Vector3(self.low.x + half.x, self.low.y, self.low.z),
                                 Vector3(half.x, size.y, size.z)),
                                (self.low, Vector3(size.x, half.y, size.z)),
                                (Vector3(self.low.x, self.low.y + half.y, self.low.z),
                                 Vector3(size.x, half.y, size.z)),
                                (self.low, Vector3(size.x, size.y, half.z)),
                                (Vector3(self.low.x, self.low.y, self.low.z + half.z),
                                 Vector3(size.x, size.y, half.z))):
            counts.append(sum(overlaps(*t, low_corner, low_corner + box) for t in self.triangles))
        out = []
        for axis in range(3):
            low, high = counts[2 * axis], counts[2 * axis + 1]
            whole = low < 3 or high < 3 or (low + high) / len(self.triangles) > 1.1
            out.append(1 if whole else 2)
        return out

    def _subdivide(self):
        if 3 * len(self.triangles) < 30:
            return
        size = self.high - self.low
        nx, ny, nz = self._divisions(size)
        cell = Vector3(size.x / nx, size.y / ny, size.z / nz)
        for i in range(nx):
            for j in range(ny):
                for k in range(nz):
                    low = self.low + Vector3(i * cell.x, j * cell.y, k * cell.z)
                    high = low + cell
                    taken = [t for t in self.triangles if overlaps(*t, low, high)]
                    if len(taken) >= len(self.triangles):
                        self.children = []
                        return
                    if taken:
                        child = GroundMeshTree(low, high, taken)
                        child._subdivide()
                        self.children.append(child)

    def query(self, origin, direction):
        """(t, normal) or None."""
        if line_box(self.low, self.high, origin, direction) is None:
            return None
        if not self.children:
            for a, b, c in self.triangles:
                t = line_triangle(a, b, c, origin, direction)
                if t is not None:
                    return t, normalized(cross(b - a, c - a))
            return None
        for child in self.children:
            hit = child.query(origin, direction)
            if hit is not None:
                return hit
        return None
