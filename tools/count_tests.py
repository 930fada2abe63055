#!/usr/bin/env python3
"""Prints what the tests of a run counted: "PASSED FAILED SKIPPED".

Usage: count_tests.py CTEST_JUNIT [FOLDER]
  CTEST_JUNIT  what ctest wrote
  FOLDER       where programs of many tests wrote what googletest counts, NAME.xml each

Such a program counts as the tests that it ran, and one more failed if it ended badly without a failed test, as when it
leaked. It is an entry of ctest without a dot in its name; any other entry is one test. A missing or unreadable file
counts as one failed test, so that a crashed runner cannot pass, and so does an entry that ctest could not start.
"""
import pathlib
import sys
import xml.etree.ElementTree as ElementTree

UNREADABLE = (OSError, ElementTree.ParseError)


def is_good(entry: ElementTree.Element) -> bool:
    """Whether ctest took the entry for passed."""
    return entry.get("status") == "run" and entry.find("failure") is None


def count_program(path: pathlib.Path) -> tuple[int, int, int]:
    """Passed, failed and skipped tests of one program."""
    tests = list(ElementTree.parse(path).getroot().iter("testcase"))
    # A test that is switched off counts as failed, as it does for ctest's entries.
    bad = [test.get("status") != "run" or test.find("failure") is not None for test in tests]
    failed = sum(bad)
    skipped = sum(not is_bad and test.find("skipped") is not None for test, is_bad in zip(tests, bad))
    return len(tests) - failed - skipped, failed, skipped


def count_entry(entry: ElementTree.Element, folder: pathlib.Path | None) -> tuple[int, int, int]:
    """Passed, failed and skipped tests of one entry of ctest."""
    name = entry.get("name", "")
    if folder and "." not in name:
        try:
            passed, failed, skipped = count_program(folder / f"{name}.xml")
        except UNREADABLE:
            return 0, 1, 0
        return passed, failed + (failed == 0 and not is_good(entry)), skipped
    skip = entry.find("skipped")
    if skip is not None and skip.get("message", "").startswith("SKIP_"):
        return 0, 0, 1
    return (1, 0, 0) if is_good(entry) else (0, 1, 0)


def main() -> None:
    folder = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else None
    try:
        entries = ElementTree.parse(sys.argv[1]).getroot().iter("testcase")
        counts = [count_entry(entry, folder) for entry in entries]
    except UNREADABLE + (IndexError,):
        counts = []
    passed, failed, skipped = (sum(column) for column in zip(*counts)) if counts else (0, 0, 0)
    if passed + failed == 0:
        failed = 1
    print(passed, failed, skipped)


if __name__ == "__main__":
    main()
