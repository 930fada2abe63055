#!/usr/bin/env python3
"""Checks that every include points to its own floor or downwards.

Usage: check_floors.py ROOT. Prints each include that runs upwards and exits 1; exits 0 when there is none.
Test folders may include anything below hosts, and their own support headers.
"""
import pathlib
import re
import sys

TRUNK = "plugins/release/quadrigextended/trunk"
# Room -> (folder, rooms that it may include besides itself). The order of the rows is the order of the floors.
ROOMS = {
    "util": ("libraries/ond/util", []),
    "unidevice": ("libraries/ond/unidevice", ["util"]),
    "ovs": ("libraries/ond/ovs", ["util", "unidevice"]),
    "car": (f"{TRUNK}/car", ["util", "unidevice"]),
    "ground": (f"{TRUNK}/ground", ["util"]),
    "rig": (f"{TRUNK}/rig", ["util", "ovs", "unidevice", "car", "ground", "object"]),
    "run": (f"{TRUNK}/run", ["util", "ovs", "unidevice", "car", "ground", "rig", "parameters", "state", "object"]),
    "parameters": (f"{TRUNK}/parameters", ["util", "ovs", "unidevice", "car", "object"]),
    "state": (f"{TRUNK}/state", ["util", "ovs", "unidevice", "car", "ground", "rig", "object"]),
    "object": (TRUNK, ["util", "ovs", "unidevice", "car", "ground", "rig", "run", "parameters", "state"]),
    "module": (f"{TRUNK}/module", ["util", "ovs", "unidevice", "object"]),
    "stage": ("hosts/stage", ["util", "ovs", "unidevice"]),
    "validate": ("hosts/validate", ["util", "ovs", "unidevice", "stage"]),
    "command": ("hosts/command", ["util", "ovs", "unidevice", "stage", "validate"]),
}
# The input channel record is the one header of unidevice that the car model may see.
CAR_MAY_SEE = {"ond/unidevice/InputChannel.h"}
INCLUDE = re.compile(r'^\s*#\s*include\s+(?:"([^"]+)"|<(ond/[^>]+)>)', re.MULTILINE)


def room_of(path: str) -> str | None:
    """The room with the longest folder that holds `path`."""
    fitting = [(len(folder), name) for name, (folder, _) in ROOMS.items() if path.startswith(folder + "/")]
    return max(fitting)[1] if fitting else None


def resolve(root: pathlib.Path, source: pathlib.Path, included: str) -> str | None:
    for base in (source.parent, root / "libraries", root / "hosts", root / TRUNK, root):
        candidate = base / included
        if candidate.is_file():
            return candidate.resolve().relative_to(root).as_posix()
    return None


def violations(root: pathlib.Path):
    for source in sorted(root.rglob("*")):
        if source.suffix not in (".h", ".cpp") or "node_modules" in source.parts:
            continue
        path = source.relative_to(root).as_posix()
        room = room_of(path)
        if room is None:
            continue
        for quoted, angled in INCLUDE.findall(source.read_text(encoding="utf-8")):
            included = quoted or angled
            target = resolve(root, source, included)
            if target is None:
                yield f"{path}: cannot find \"{included}\""
                continue
            other = room_of(target)
            allowed = other == room or other in ROOMS[room][1]
            if room == "car" and other == "unidevice" and included not in CAR_MAY_SEE:
                allowed = False
            if not allowed:
                yield f"{path}: includes \"{included}\", which lies above its floor"


def main() -> int:
    if len(sys.argv) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    root = pathlib.Path(sys.argv[1]).resolve()
    found = list(violations(root))
    for line in found:
        print(line)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
