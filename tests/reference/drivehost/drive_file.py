"""Drive files and presets as plain dictionaries, with what is not said in them filled in."""

import json
import re
from fractions import Fraction

VEHICLE = {"name": "car", "heading": 0.0, "length": 4.0, "preset": None, "parameters": {}, "state": {}, "wheels": {},
           "channels": {}, "inputs": [], "target": None, "at": None}
BROADCAST = (24, 30, 48, 60, 120)  # rates that are spoken of as this times 1000 / 1001


def _without_comments(text):
    """The text without // and /* */, but with those inside of strings."""
    token = re.compile(r'"(?:\\.|[^"\\])*"|//[^\n]*|/\*.*?\*/', re.DOTALL)
    return token.sub(lambda found: found.group() if found.group().startswith('"') else " ", text)


def frame_rate(value):
    """Frames per second as a fraction of whole numbers."""
    rate = Fraction(str(value))
    for whole in BROADCAST:
        near = Fraction(1000 * whole, 1001)
        if "/" not in str(value) and rate != whole and abs(rate - near) < Fraction(6, 10000):
            return near
    return rate


def read_preset(name, folder):
    return json.loads(_without_comments((folder / f"{name}.json").read_text()))


def read_drive(path, presets):
    """`presets`: the folder that holds the shipped ones. Paths in the result are absolute."""
    drive = json.loads(_without_comments(path.read_text()))
    drive = {"ground": [], "fps": 25, "first": 0, **drive}
    drive["fps"] = frame_rate(drive["fps"])
    for ground in drive["ground"]:
        ground["file"] = path.parent / ground["file"]
    drive["vehicles"] = [{**VEHICLE, **vehicle} for vehicle in drive["vehicles"]]
    for vehicle in drive["vehicles"]:
        if vehicle["preset"] is not None:
            vehicle["preset"] = read_preset(vehicle["preset"], presets)
        files = [track for track in vehicle["inputs"] if "file" in track]
        for item in files + ([vehicle["target"]] if vehicle["target"] else []):
            item["file"] = path.parent / item["file"]
    return drive
