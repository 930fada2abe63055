"""Grounds: meshes out of a take and out of .obj files, and where their topmost place is."""

import json
import struct

from carmodel.vectors import Vector3
from vehiclemodel.rays import Mesh

EXTENSION = "OND_vehicle_take"


def _chunks(data):
    length = struct.unpack_from("<I", data, 12)[0]
    return json.loads(data[20:20 + length]), data[28 + length:]


def _numbers(document, binary, view, code, size):
    view = document["bufferViews"][view]
    return struct.unpack_from(f"<{view['byteLength'] // size}{code}", binary, view.get("byteOffset", 0))


def read_grounds(take):
    """[(name, Mesh)] of the user's elements of a take, exact. Only such as rest at the origin, as drive files make."""
    document, binary = _chunks(take.read_bytes())
    grounds = []
    for element in document["extensions"][EXTENSION]["elements"]:
        if "vehicle" in element or element.get("surface") != "mesh":
            continue
        numbers = _numbers(document, binary, element["vertices"], "d", 8)
        faces = _numbers(document, binary, element["faces"], "i", 4)
        mesh = Mesh(zip(*[iter(numbers)] * 3), zip(*[iter(faces)] * 3))
        grounds.append((document["nodes"][element["node"]]["name"], mesh))
    return grounds


def read_obj(path, at=(0.0, 0.0, 0.0)):
    """(name, Mesh) of a .obj file that has one object of triangles, moved by `at`."""
    name, vertices, faces = None, [], []
    for words in map(str.split, path.read_text().splitlines()):
        if not words:
            continue
        if words[0] == "o":
            name = words[1]
        elif words[0] == "v":
            vertices.append([float(word) + offset for word, offset in zip(words[1:], at, strict=True)])
        elif words[0] == "f":
            first, second, third = (int(word.split("/")[0]) - 1 for word in words[1:])
            faces.append((first, second, third))
    return name, Mesh(vertices, faces)


class Probe:
    """Heights of the topmost ground."""

    def __init__(self, meshes):
        self._meshes = meshes
        self._above = max((v.y for mesh in meshes for v in mesh.vertices), default=0.0) + 1.0

    def __bool__(self):
        return bool(self._meshes)

    def top(self, x, z):
        """Height, or None."""
        hits = [mesh.intersect(Vector3(x, self._above, z), Vector3(0.0, -1.0, 0.0)) for mesh in self._meshes]
        heights = [self._above - hit[0] for hit in hits if hit is not None]
        return max(heights, default=None)
