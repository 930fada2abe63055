"""The path of a target that a vehicle follows."""

from carmodel.vectors import Vector3, group, length
from vehiclemodel.matrices import set_group

from .tables import between, first_of, read_table

USUAL_SPEED = 10.0


class TargetPath:
    def __init__(self, plan):
        table = read_table(plan["file"])
        axes = [table[first_of(table, (name, f"{name}_m"))] for name in "xyz"]
        self._points = [Vector3(*point) for point in zip(*axes)]
        time = first_of(table, ("time", "time_s"))
        self._times = table[time] if time else self._times_by_speed(table, plan.get("speed"))

    def _times_by_speed(self, table, given):
        column = first_of(table, ("speed", "speed_mps"))
        speeds = [given or USUAL_SPEED] * len(self._points)
        if given is None and column:
            speeds = table[column]
        times = [0.0]
        for i in range(1, len(self._points)):
            way = length(self._points[i] - self._points[i - 1])
            times.append(times[-1] + way / ((speeds[i - 1] + speeds[i]) / 2.0))
        return times

    def at(self, seconds):
        return between(self._times, self._points, seconds)


def lay_keys(vehicle, path, first, last):
    """The target moves with a key for each frame, from the one before the first on."""
    scene = vehicle.scene
    element = scene.find("TargetMesh")
    pose = element.world(scene.now)
    element.times, element.locals = [], []
    for frame in range(first - 1, last + 1):
        set_group(pose, 3, path.at(scene.time(frame) - scene.time(first)))
        element.set_local(scene.time(frame), pose)
    assert group(pose, 3) == group(element.world(scene.time(last)), 3)
