#!/usr/bin/env python3
"""Runs benchdrive and checks what it writes and what it refuses. Usage: bench_drive_test.py PROGRAM EXAMPLES"""
import csv
import math
import pathlib
import subprocess
import sys
import tempfile
import unittest

PROGRAM, EXAMPLES = sys.argv[1:3]
WHEEL_RADIUS = 0.26 * 0.95


class BenchDrive(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_program(self, script, *options):
        return subprocess.run([PROGRAM, script, *options], capture_output=True, text=True, check=False)

    def drive(self, text, *options):
        script = self.folder / "script.csv"
        script.write_text(text, encoding="ascii")
        output = self.folder / "drive.csv"
        result = self.run_program(str(script), "-o", str(output), *options)
        self.assertEqual(result.returncode, 0, result.stderr)
        with open(output, encoding="ascii") as file:
            return [{key: float(value) for key, value in row.items()} for row in csv.DictReader(file)]

    def refuse(self, text, sentence):
        output = self.folder / "drive.csv"
        output.write_text("an older drive", encoding="ascii")
        script = self.folder / "script.csv"
        script.write_text(text, encoding="ascii")
        result = self.run_program(str(script), "-o", str(output))
        self.assertEqual(result.returncode, 2)
        self.assertIn(sentence, result.stderr)
        self.assertEqual(output.read_text(encoding="ascii"), "an older drive")
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["drive.csv", "script.csv"])

    def test_straight_drive_rolls_every_wheel_by_distance_over_radius(self):
        rows = self.drive("time,gas\n0,1\n", "--seconds", "6")
        self.assertEqual(len(rows), 150)
        driven = -rows[-1]["z"]
        self.assertGreater(driven, 20.0)
        self.assertLess(abs(rows[-1]["x"]), 1e-6)
        rolled = dict.fromkeys(("wheel_fl", "wheel_fr", "wheel_bl", "wheel_br"), 0.0)
        for before, after in zip(rows, rows[1:]):
            for wheel in rolled:
                # Angles wrap at a turn, towards zero; forward rolling makes them fall.
                step = (after[wheel] - before[wheel]) % (2.0 * math.pi) - 2.0 * math.pi
                rolled[wheel] += step if step > -2.0 * math.pi + 1e-9 else 0.0
        for wheel, angle in rolled.items():
            self.assertAlmostEqual(-angle * WHEEL_RADIUS / driven, 1.0, delta=0.01, msg=wheel)

    def test_the_example_ends_sideways_and_at_rest(self):
        output = self.folder / "drive.csv"
        result = self.run_program(str(pathlib.Path(EXAMPLES) / "first-drive.csv"), "-o", str(output))
        self.assertEqual(result.returncode, 0, result.stderr)
        with open(output, encoding="ascii") as file:
            rows = list(csv.DictReader(file))
        self.assertEqual(len(rows), 500)
        self.assertLess(float(rows[-1]["ground_speed"]), 1e-3)
        fastest = max(float(row["ground_speed"]) for row in rows)
        self.assertGreater(fastest, 20.0)

    def test_frame_rate_and_length(self):
        rows = self.drive("time,gas\n0,1\n", "--fps", "30", "--seconds", "2")
        self.assertEqual(len(rows), 60)
        self.assertAlmostEqual(rows[-1]["time"], 2.0, places=12)

    def test_refusals(self):
        self.refuse("time,throttle\n0,1\n", "there is no column 'throttle'")
        self.refuse("gas\n1\n", "there is no column 'time'")
        self.refuse("time,gas,gas\n0,1,1\n", "is there twice")
        self.refuse("time,gas\n0,fast\n", "line 2: 'fast' is not a number")
        self.refuse("time,gas\n0,\n", "line 2: '' is not a number")
        self.refuse("time,gas\n0\n", "has 1 cells, the header has 2")
        self.refuse("time,gas\n1,1\n1,0\n", "the time does not grow")
        self.refuse("time,gas\n", "holds no step")
        missing = self.run_program(str(self.folder / "none.csv"), "-o", str(self.folder / "drive.csv"))
        self.assertEqual(missing.returncode, 2)
        self.assertIn("cannot be read", missing.stderr)
        self.assertEqual(self.run_program("x.csv", "-o", "y.csv", "--fps", "0").returncode, 2)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
