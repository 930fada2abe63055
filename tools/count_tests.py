#!/usr/bin/env python3
"""Prints how many tests a JUnit file of ctest holds and how many of them failed: "RAN FAILED".

A missing or unreadable file counts as one failed test, so that a crashed runner cannot pass.
"""
import sys
import xml.etree.ElementTree as ElementTree


def main() -> None:
    try:
        suite = ElementTree.parse(sys.argv[1]).getroot()
        ran = int(suite.get("tests", "0"))
        bad = int(suite.get("failures", "0")) + int(suite.get("disabled", "0"))
    except (OSError, ElementTree.ParseError, IndexError):
        ran, bad = 1, 1
    if ran == 0:
        ran, bad = 1, 1
    print(ran, bad)


if __name__ == "__main__":
    main()
