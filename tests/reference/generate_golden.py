#!/usr/bin/env python3
"""Writes the golden files of tests/golden from the plain model in this folder.

  generate_golden.py                write the files
  generate_golden.py --check        exit 1 unless the files hold what would be written now
  generate_golden.py --sensitivity  per run: the share of its tolerance that last-bit changes of sin, cos ... use up

--check compares numbers, not bytes: another platform's sin, cos, tan, acos, atan2 and pow may round differently.
"""

import argparse
import json
import sys
from pathlib import Path

from cases import function_cases, math_cases, run_cases, vehicle_cases
from cases.text import parse_cell

GOLDEN = Path(__file__).resolve().parent.parent / "golden"
FILES = {
    "math_golden.jsonl": math_cases.lines,
    "car_functions_golden.jsonl": function_cases.lines,
    "car_runs_golden.jsonl": run_cases.lines,
    "vehicle_runs_golden.jsonl": vehicle_cases.lines,
}
RELATIVE = 1e-9
ABSOLUTE = 1e-9
SENSITIVITY_LIMIT = 0.5  # share of the tolerance; the rest is left to other orders of rounding


def same(a, b):
    """Whether two parsed lines agree: structure, texts, integers and flags exactly, doubles within a tolerance."""
    if isinstance(a, dict) and isinstance(b, dict):
        return a.keys() == b.keys() and all(same(a[k], b[k]) for k in a)
    if isinstance(a, list) and isinstance(b, list):
        return len(a) == len(b) and all(same(x, y) for x, y in zip(a, b))
    if type(a) is not type(b):
        return False
    if a == b:
        return True
    try:
        x, y = parse_cell(a), parse_cell(b)
    except ValueError:
        return False
    return isinstance(x, float) and abs(x - y) <= max(ABSOLUTE, RELATIVE * max(abs(x), abs(y)))


def check_file(name, lines):
    old = (GOLDEN / name).read_text().splitlines()
    new = [text.rstrip("\n") for text in lines()]
    if len(old) != len(new):
        print(f"{name}: {len(old)} lines, now {len(new)}")
        return False
    identical = True
    for number, (a, b) in enumerate(zip(old, new), 1):
        if a == b:
            continue
        identical = False
        if not same(json.loads(a), json.loads(b)):
            print(f"{name}:{number}: differs")
            return False
    print(f"{name}: {'identical' if identical else 'equal within rounding'}")
    return True


def write_file(name, lines):
    GOLDEN.mkdir(exist_ok=True)
    text = "".join(lines())
    (GOLDEN / name).write_text(text)
    print(f"{name}: {len(text)} bytes")


def report_sensitivity():
    fine = True
    for name, script, events in run_cases.prepared():
        share, path = max(run_cases.sensitivity(script, events, seed) for seed in (1, 2, 3))
        verdict = "" if share <= SENSITIVITY_LIMIT else "  TOO SENSITIVE"
        fine = fine and not verdict
        print(f"{name:48} {share:8.4f} of the tolerance, {path}{verdict}")
    for name, fps, actions in vehicle_cases.prepared():
        share, path = max(vehicle_cases.sensitivity(fps, actions, seed) for seed in (1, 2))
        verdict = "" if share <= SENSITIVITY_LIMIT else "  TOO SENSITIVE"
        fine = fine and not verdict
        print(f"{name:48} {share:8.4f} of the tolerance, {path}{verdict}")
    return fine


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    group = parser.add_mutually_exclusive_group()
    group.add_argument("--check", action="store_true")
    group.add_argument("--sensitivity", action="store_true")
    options = parser.parse_args()
    if options.sensitivity:
        return 0 if report_sensitivity() else 1
    if options.check:
        return 0 if all([check_file(name, lines) for name, lines in FILES.items()]) else 1
    for name, lines in FILES.items():
        write_file(name, lines)
    return 0


if __name__ == "__main__":
    sys.exit(main())
