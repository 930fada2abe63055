#!/usr/bin/env python3
"""Runs the proving ground's programs and checks what they write and refuse.

Usage: proving_ground_test.py PROVINGGROUND PRACTISE MODULE DRIVES
"""
import pathlib
import subprocess
import sys
import tempfile
import unittest

PROVINGGROUND, PRACTISE, MODULE, DRIVES = sys.argv[1:5]
DRIVE = str(pathlib.Path(DRIVES) / "proving-ground.json")
RECORDING = pathlib.Path(DRIVES) / "proving-ground.csv"


class ProvingGround(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.holder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.holder.cleanup)
        cls.ground = pathlib.Path(cls.holder.name) / "ground.glb"
        subprocess.run([PROVINGGROUND, str(cls.ground)], check=True)

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_program(self, *command):
        return subprocess.run([str(part) for part in command], capture_output=True, text=True, check=False)

    def check(self, recording, drive=DRIVE):
        return self.run_program(PRACTISE, MODULE, drive, recording, "--check", "--ground", self.ground)

    def test_writes_ground_and_line(self):
        result = self.run_program(PROVINGGROUND, self.folder / "a.glb", "--line", self.folder / "a.csv")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual((self.folder / "a.glb").read_bytes(), self.ground.read_bytes())
        lines = (self.folder / "a.csv").read_text(encoding="ascii").splitlines()
        self.assertEqual(lines[0], "x_m,z_m,y_m,station_m,speed_mps")
        self.assertEqual(len({line.count(",") for line in lines}), 1)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["a.csv", "a.glb"])

    def test_refuses_to_write_nothing_or_nowhere(self):
        self.assertEqual(self.run_program(PROVINGGROUND).returncode, 2)
        result = self.run_program(PROVINGGROUND, self.folder / "none" / "a.glb")
        self.assertEqual(result.returncode, 2)
        self.assertIn("cannot be written", result.stderr)
        result = self.run_program(PROVINGGROUND, self.folder)
        self.assertEqual(result.returncode, 2)
        self.assertEqual(list(self.folder.iterdir()), [])

    def test_the_driver_of_today_records_a_good_drive(self):
        recording = self.folder / "drive.csv"
        result = self.run_program(PRACTISE, MODULE, DRIVE, recording, "--ground", self.ground)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(len(recording.read_text(encoding="ascii").splitlines()), 1652)
        self.assertEqual([path.name for path in self.folder.iterdir()], ["drive.csv"])

    def test_the_recording_drives_well(self):
        result = self.check(RECORDING)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_tells_a_bad_recording(self):
        header, *rows = RECORDING.read_text(encoding="ascii").splitlines()
        bad = self.folder / "bad.csv"
        straight = [",".join([row.split(",")[0], "0", *row.split(",")[2:]]) for row in rows]
        bad.write_text("\n".join([header, *straight]) + "\n", encoding="ascii")
        result = self.check(bad)
        self.assertEqual(result.returncode, 1, result.stderr)
        self.assertIn("the car left the road", result.stderr)
        self.assertIn("the lap was not finished", result.stderr)

        bad.write_text("\n".join([header, *rows[:100]]) + "\n", encoding="ascii")
        result = self.check(bad)
        self.assertEqual(result.returncode, 2)
        self.assertIn("ends before the drive", result.stderr)

        bad.write_text(header + "\nfast\n", encoding="ascii")
        self.assertEqual(self.check(bad).returncode, 2)
        self.assertEqual(self.check(self.folder / "none.csv").returncode, 2)
        self.assertEqual(self.check(RECORDING, self.folder / "none.json").returncode, 2)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
