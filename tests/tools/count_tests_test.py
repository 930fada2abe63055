#!/usr/bin/env python3
"""Counting tests: what ctest and the programs wrote, and what a crash leaves of it. Usage: count_tests_test.py"""
import pathlib
import subprocess
import sys
import tempfile
import unittest

COUNTER = pathlib.Path(__file__).resolve().parents[2] / "tools" / "count_tests.py"

PASSED = '<testcase name="{}" status="run"/>'
FAILED = '<testcase name="{}" status="fail"><failure message=""/></testcase>'
SKIPPED = '<testcase name="{}" status="notrun"><skipped message="SKIP_RETURN_CODE=77"/></testcase>'
MISSING = '<testcase name="{}" status="notrun"><skipped message="Unable to find executable"/></testcase>'

TEST_PASSED = '<testcase name="a" status="run" result="completed"/>'
TEST_FAILED = '<testcase name="b" status="run" result="completed"><failure message=""/></testcase>'
TEST_SKIPPED = '<testcase name="c" status="run" result="skipped"><skipped message=""/></testcase>'
TEST_OFF = '<testcase name="d" status="notrun" result="suppressed"/>'


class Counting(unittest.TestCase):
    def setUp(self) -> None:
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def counted(self, entries: str, **programs: str) -> str:
        """What is printed of these entries of ctest and these results of programs."""
        folder = pathlib.Path(self.folder.name)
        (folder / "tests.xml").write_text(f"<testsuite>{entries}</testsuite>")
        for name, tests in programs.items():
            (folder / f"{name}.xml").write_text(f"<testsuites><testsuite>{tests}</testsuite></testsuites>")
        run = subprocess.run([sys.executable, "-B", COUNTER, folder / "tests.xml", folder],
                             capture_output=True, text=True, check=True)
        return run.stdout.strip()

    def test_entries_without_results_are_one_test_each(self) -> None:
        entries = PASSED.format("S.A") + PASSED.format("S.B") + FAILED.format("S.C") + SKIPPED.format("S.D")
        self.assertEqual(self.counted(entries), "2 1 1")

    def test_a_program_counts_as_its_tests(self) -> None:
        entries = PASSED.format("S.A") + FAILED.format("P")
        self.assertEqual(self.counted(entries, P=TEST_PASSED * 3 + TEST_FAILED * 2 + TEST_SKIPPED), "4 2 1")

    def test_a_test_that_is_switched_off_has_failed(self) -> None:
        self.assertEqual(self.counted(PASSED.format("P"), P=TEST_PASSED + TEST_OFF), "1 1 0")

    def test_a_bad_end_without_a_failed_test_is_one(self) -> None:
        self.assertEqual(self.counted(FAILED.format("P"), P=TEST_PASSED * 5), "5 1 0")

    def test_an_entry_that_could_not_be_started_has_failed(self) -> None:
        self.assertEqual(self.counted(PASSED.format("S.A") + MISSING.format("S.B")), "1 1 0")

    def test_a_program_that_ends_early_and_well_has_failed(self) -> None:
        self.assertEqual(self.counted(PASSED.format("P") + PASSED.format("S.A")), "1 1 0")

    def test_a_crash_leaves_no_results(self) -> None:
        self.assertEqual(self.counted(FAILED.format("P") + PASSED.format("S.A")), "1 1 0")

    def test_results_that_cannot_be_read_are_a_failure(self) -> None:
        self.assertEqual(self.counted(PASSED.format("P") + PASSED.format("S.A"), P="<cut"), "1 1 0")

    def test_nothing_that_ran_is_a_failure(self) -> None:
        self.assertEqual(self.counted(""), "0 1 0")

    def test_no_results_of_the_runner_are_a_failure(self) -> None:
        run = subprocess.run([sys.executable, "-B", COUNTER, "/nowhere/tests.xml"],
                             capture_output=True, text=True, check=True)
        self.assertEqual(run.stdout.strip(), "0 1 0")


if __name__ == "__main__":
    unittest.main()
