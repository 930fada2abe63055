#!/usr/bin/env python3
"""Drives drive files with the plain model and holds every value of every frame against what `quadrig trace` prints.

  compare_drives.py --quadrig build/release/bin/quadrig tests/determinism/drives/*.json

Exit code 0: all values agree; 1: a difference, which a value is, too, that only one of them has; 2: quadrig fails, or a
file is missing. A value may differ by a tolerance times the larger of 1 and its size; the size of an axis or a place is
that of its largest coordinate. The ground of quadrig's take has to be that of the .obj files, number by number. A drive
whose name begins with "resumed" is opened again and gone on with.
"""

import argparse
import json
import math
import subprocess
import sys
import tempfile
from pathlib import Path

from drivehost.drive_file import read_drive
from drivehost.driving import DrivenCar
from drivehost.ground import read_grounds, read_obj
from drivehost.reopening import reopen

PRESETS = Path(__file__).resolve().parents[2] / "hosts/command/presets"
TOLERANCE = 1e-12
# Without any ground, fast casting meets a box of the physics library by an iteration that stops short of its surface.
BOX_TOLERANCE = 1e-7
# Of a line of the trace; messages are compared apart.
NO_VALUES = ("frame", "time", "messages")
# How a resumed drive goes on: from which frame, how many frames, with what.
AT, ONWARD, GAS, STEERING = 60, 70, -0.6, [[0, 0], [0.8, 0.7], [2, -0.2]]
ONWARD_INPUTS = [{"channel": "gas", "value": GAS}, {"channel": "steering", "keys": STEERING}]


class Drive:
    """A drive file that is driven in both ways, perhaps shortened to `last`."""

    def __init__(self, path, last):
        self.path = path.resolve()
        self.plan = read_drive(self.path, PRESETS)
        self.plan["last"] = self.plan["last"] if last is None else min(last, self.plan["last"])
        self.resumption = None
        if path.stem.startswith("resumed"):
            at = min(AT, self.plan["last"])
            self.resumption = (at, at + min(ONWARD, self.plan["last"]))

    def tolerance(self):
        fast = any(vehicle["parameters"].get("Use Fast Ray Cast", True) for vehicle in self.plan["vehicles"])
        return BOX_TOLERANCE if fast and not self.plan["ground"] else TOLERANCE

    def traced(self, quadrig, folder):
        """(take, [frame]) as the program gives them."""
        def run(command, *words):
            return subprocess.run([quadrig, command, *words, "-q"], check=True, stdout=subprocess.PIPE).stdout

        take = folder / "take.glb"
        run("drive", self.path, "--last", str(self.plan["last"]), "-o", take)
        if self.resumption:
            at, last = self.resumption
            keys = ",".join(f"{time}:{value}" for time, value in STEERING)
            first, take = take, folder / "onward.glb"
            run("resume", first, "--at", str(at), "--last", str(last), "--hold", f"gas={GAS}", "--key",
                f"steering={keys}", "-o", take)
        return take, [json.loads(line) for line in run("trace", take).splitlines()]

    def modelled(self, grounds):
        """({frame: {name: numbers}}, {(vehicle, caption, first line of a message): [first frame, times]})"""
        cars = [DrivenCar(self.plan, vehicle, grounds) for vehicle in self.plan["vehicles"]]
        seen = {}
        self._run(cars, self.plan["first"], self.plan["last"], seen)
        if self.resumption:
            at, last = self.resumption
            for car in cars:
                reopen(car.vehicle)
                car.feed(ONWARD_INPUTS, at)
            self._run(cars, at, last, seen)
        return seen, {(car.name, *what): when for car in cars for what, when in car.messages.items()}

    @staticmethod
    def _run(cars, first, last, seen):
        def look():
            return {name: numbers for car in cars for name, numbers in car.look().items()}

        for car in cars:
            car.start(first)
        seen.setdefault(first, look())
        for frame in range(first + 1, last + 1):
            for car in cars:
                car.step(frame)
            seen[frame] = look()
        for car in cars:
            car.stop()


def same_grounds(plan, grounds):
    """Whether these grounds, of a take, are those of the plan's files. A vehicle may have a copy "NAME for VEHICLE"."""
    def numbers(mesh):
        return [(v.x, v.y, v.z) for v in mesh.vertices], mesh.faces

    read = (read_obj(ground["file"], ground.get("at", (0.0, 0.0, 0.0))) for ground in plan["ground"])
    files = {name: numbers(mesh) for name, mesh in read}
    taken = [(name.partition(" for ")[0], numbers(mesh)) for name, mesh in grounds]
    return {name for name, _ in taken} == set(files) and all(files[name] == mesh for name, mesh in taken)


def value_of(line, name):
    for step in name:
        line = line[step]
    return line if isinstance(line, list) else [line]


def names_of(values, above=()):
    """Names of all values of a line, as of the model."""
    if not isinstance(values, dict):
        return {above}
    return {name for step, below in values.items() for name in names_of(below, (*above, step))}


def unpaired(seen, trace, grounds):
    """What only the model or only the program has, or in another number: [text]."""
    resting = {("elements", name) for name, _ in grounds}
    apart = []
    for line in trace:
        mine = seen.get(line["frame"], {})
        theirs = names_of({section: line[section] for section in line if section not in NO_VALUES}) - resting
        apart += [f"frame {line['frame']}, {'/'.join(name)}" for name in sorted(theirs ^ set(mine))]
        apart += [f"frame {line['frame']}, {'/'.join(name)}, another number of values"
                  for name in sorted(theirs & set(mine)) if len(mine[name]) != len(value_of(line, name))]
    frames = {line["frame"] for line in trace}
    return [f"frame {frame}" for frame in sorted(frames ^ set(seen))] + apart


def messages_of(trace):
    """As of the model."""
    return {(m["vehicle"], m["caption"], m["text"].partition("\n")[0]): [line["frame"], m["count"]]
            for line in trace for m in line["messages"]}


def worst(mine, theirs):
    """(deviation, index) of the worst of some numbers. The coordinates of an axis or a place count as a whole."""
    found = (0.0, 0)
    for i, (a, b) in enumerate(zip(mine, theirs, strict=True)):
        deviation = abs(a - b) / max(1.0, *map(abs, theirs[i - i % 4:i - i % 4 + 4]))
        found = max(found, (math.inf if math.isnan(deviation) else deviation, i))
    return found


def told(found):
    deviation, where, frame, mine, theirs = found
    return f"{deviation:.1e} at frame {frame}, {where}: model {mine!r}, quadrig {theirs!r}"


def compare(drive, quadrig):
    """(lines about the drive, whether it agrees)"""
    with tempfile.TemporaryDirectory() as folder:
        take, trace = drive.traced(quadrig, Path(folder))
        grounds = read_grounds(take)
    if not same_grounds(drive.plan, grounds):
        return f"{drive.path.stem}: the ground of the take is not that of its files", False
    seen, messages = drive.modelled(grounds)
    apart = unpaired(seen, trace, grounds)
    if apart:
        return f"{drive.path.stem}: {len(apart)} differences in what there is; the first: {apart[0]}", False
    if [line["frame"] for line in trace] != sorted(seen):
        return f"{drive.path.stem}: the frames are not in order, or one is there twice", False
    first, greatest, count = None, (0.0, "", 0, 0, 0), 0
    for line in trace:
        for name, mine in seen[line["frame"]].items():
            theirs = value_of(line, name)
            deviation, i = worst(mine, theirs)
            here = (deviation, f"{'/'.join(name[1:])}[{i}]", line["frame"], mine[i], theirs[i])
            greatest = max(greatest, here)
            first = first or (here if deviation > drive.tolerance() else None)
            count += len(mine)
    text = f"{drive.path.stem}: {len(trace)} frames, {count} values; greatest difference {told(greatest)}"
    if first:
        text += f"\n  first difference {told(first)}"
    if messages != messages_of(trace):
        text += f"\n  messages differ: model {messages}, quadrig {messages_of(trace)}"
    return text, first is None and messages == messages_of(trace)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("drives", nargs="+", type=Path, metavar="DRIVE")
    parser.add_argument("--quadrig", type=Path, required=True, help="the program")
    parser.add_argument("--last", type=int, help="drive no farther than to this frame")
    options = parser.parse_args()
    fine = True
    for path in options.drives:
        try:
            text, agrees = compare(Drive(path, options.last), options.quadrig)
        except subprocess.CalledProcessError as error:
            print(error, file=sys.stderr)
            return 2
        except OSError as error:
            print(f"{parser.prog}: cannot use {error.filename}: {error.strerror}", file=sys.stderr)
            return 2
        print(text, flush=True)
        fine = fine and agrees
    return 0 if fine else 1


if __name__ == "__main__":
    sys.exit(main())
