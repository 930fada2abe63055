"""How near the C++ model must come. Written into the golden files, so that the comparison there needs no numbers.

A double may be off by a tolerance times the largest of: its magnitude, that of the other components of its vector or
quaternion, and its floor.
"""

OPERATION = 1e-12
RUN = 1e-9
# What counts as large for a field that happens to be near zero.
FLOOR = 0.01
# Second differences of positions over steps of 3 ms: the rounding of a position is multiplied by up to 1e5. The springs
# multiply the rounding of a distance by stiffness, and by damping over the step.
FLOORS = {"vWorldAcceleration": 1.0, "vLocalAcceleration": 1.0, "vAcceleration": 1.0, "fSuspForce": 1.0}


def group(path):
    """The vector or quaternion that a component belongs to, or the field itself."""
    stem, _, last = path.rpartition(".")
    return stem if last in ("x", "y", "z", "w") and not stem.startswith("wheelGeom") else path


def allowance(path, value, record, tolerance):
    """How far the value of a field may be off; `record` serves to look up the other components."""
    stem = group(path)
    size = abs(value) if stem == path else max(abs(record.get(f"{stem}.{c}", 0.0)) for c in "xyzw")
    return tolerance * max(size, FLOORS.get(stem.rpartition(".")[2], FLOOR))
