"""The physics library's world, as far as the vehicle asks it: the nearest hit on the segment of a ray.

The library tells (header of its ray callback) that the normal of a face that is hit from behind is flipped towards the
ray's origin unless a flag forbids it; the vehicle's ray caster sets no such flag. It walks two-sided triangles.
"""

from carmodel.vectors import Vector3, dot

from .rays import Triangles

# The library accepts hits that miss a triangle by this much in barycentric coordinates.
EDGE_SLACK = 1e-4


class MeshWorld:
    def __init__(self, meshes):
        self._triangles = Triangles(meshes)

    def cast(self, origin, direction, ray_length):
        """(fraction of the segment, normal towards the origin) or None."""
        to = origin + direction * ray_length
        hit = self._triangles.nearest(origin, to - origin, EDGE_SLACK)
        if hit is None or hit[0] >= 1.0:
            return None
        fraction, normal = hit
        return fraction, (-normal if dot(normal, to - origin) > 0 else normal)


class DefaultGround:
    """The top of a box 20 lengths thick and 2000 lengths wide, at y = 0."""

    def __init__(self, length):
        self._half = 1000.0 * length

    def cast(self, origin, direction, ray_length):
        to = origin + direction * ray_length
        if not origin.y > 0.0 >= to.y:
            return None
        fraction = origin.y / (origin.y - to.y)
        hit = origin + (to - origin) * fraction
        if abs(hit.x) > self._half or abs(hit.z) > self._half:
            return None
        return fraction, Vector3(0.0, 1.0, 0.0)


def build_world(vehicle, time):
    """What the rays of a run meet, from what is linked to the gravity arrow."""
    arrow = vehicle.cGravityDirectionNode.element
    linked = list(arrow.children) + ([arrow.parent] if arrow.parent is not None else [])
    if not linked and not vehicle.bStoreGroundMeshData:
        return DefaultGround(vehicle.car.fBodyLength)
    stored = vehicle.cMesh_storedGroundMesh
    if stored is None or len(stored.faces) < 1:
        return MeshWorld([e.surface for e in linked if e.surface is not None and e.surface.vertices])
    return MeshWorld([stored])
