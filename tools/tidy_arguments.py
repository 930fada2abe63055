#!/usr/bin/env python3
"""Prints what clang-tidy is to be called with, one call a line, the longest first.

Usage: tidy_arguments.py BUILD CHECKS FOLDER...
  BUILD    build folder whose compile commands count
  CHECKS   further checks, as clang-tidy's --checks names them; may be empty
  FOLDER   every source file in it is analysed

Files that the build compiles as a piece are analysed as that piece, which reads their headers once. What some checks
find in a main file alone they look for in each file of the piece by itself, if it holds what they are about.
"""
import json
import pathlib
import re
import shlex
import sys

# In a piece the sources are includes: their findings count, and that they are included does not.
PIECE = ("-bugprone-suspicious-include", r"(libraries|plugins|hosts)/.*\.(h|cpp)$")
MAIN_FILE_ONLY = "-*,misc-unused-alias-decls,misc-unused-using-decls,bugprone-suspicious-include"

# A using declaration, a second name of a namespace, an include of a source.
MAY_BE_FOUND = re.compile(
    r'\busing\b[^=;]*;|\bnamespace\s+\w+\s*=|#\s*(include|include_next|import)\s*[<"][^>"]*\.(c|cc|cpp|cxx)[>"]'
)


def piece_parts(path: pathlib.Path) -> list[pathlib.Path]:
    """The sources of a piece, or none if the file is not one."""
    if path.parent.name != "Unity":
        return []
    return [pathlib.Path(name) for name in re.findall(r'^#include "(.*)"$', path.read_text(), re.MULTILINE)]


def flags_of(command: dict[str, str]) -> str:
    """What a file needs to be read as the build reads it: a part of a piece has no compile command of its own."""
    words = iter(shlex.split(command["command"]))
    flags = []
    for word in words:
        if word == "-isystem":
            flags += [word, next(words)]
        elif word.startswith(("-I", "-D", "-std=")):
            flags.append(word)
    return " ".join(f"'{flag}'" for flag in flags)


def main() -> None:
    build, checks = pathlib.Path(sys.argv[1]), sys.argv[2]
    folders = [pathlib.Path(folder).resolve() for folder in sys.argv[3:]]
    wanted = {path for folder in folders for path in folder.rglob("*.cpp") if "node_modules" not in path.parts}
    lines = []
    for command in json.loads((build / "compile_commands.json").read_text()):
        path = pathlib.Path(command["file"])
        parts = [part for part in piece_parts(path) if part in wanted]
        if parts:
            piece_checks = ",".join(filter(None, [checks, PIECE[0]]))
            size = sum(part.stat().st_size for part in parts)
            lines.append((2, size, f"'--checks={piece_checks}' '--header-filter={PIECE[1]}' '{path}'"))
            for part in parts:
                if MAY_BE_FOUND.search(part.read_text()):
                    lines.append((0, 0, f"'--checks={MAIN_FILE_ONLY}' '{part}' -- {flags_of(command)}"))
        elif path in wanted:
            lines.append((1, path.stat().st_size, f"'--checks={checks}' '{path}'"))
        wanted.difference_update(parts, [path])
    if wanted:
        sys.exit(f"no compile command in {build} for {', '.join(sorted(map(str, wanted)))}")
    for _, _, line in sorted(lines, reverse=True):
        print(line)


if __name__ == "__main__":
    main()
