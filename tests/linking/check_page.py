#!/usr/bin/python3 -B
"""Checks that docs/linking.md has a row for each situation, and that each of its rows is a test.

Usage: check_page.py PROJECT BUILD
"""

import json
import re
import subprocess
import sys
from pathlib import Path

SITUATIONS = [
    "CMake, installed", "CMake, embedded", "pkg-config", "Meson", "prefer_static", "Make", "plain sources", "hidden visibility", "LTO",
    "--gc-sections", "--exclude-libs", "-static-pie", "fully static", "--as-needed", "archive before ours",
    "shared library that the program does not refer to", "gold", "lld", "mold", "with a trace"]


def tests_of(build):
    shown = subprocess.run(["ctest", "--show-only=json-v1", "-R", r"^linking\."], cwd=build / "tests" / "linking",
                           check=True, capture_output=True, text=True).stdout
    return {test["name"] for test in json.loads(shown)["tests"]}


def problems(page, tests):
    table = re.search(r"^\| situation .*\n\|[-|]+\n((\|.*\n)+)", page, re.M)
    rows = [line.strip("| ").split(" | ") for line in table[1].splitlines()] if table else []
    for row in rows:
        if len(row) != 4 or row[-1].strip("`") not in tests:
            yield f"this row must name a test of tests/linking/: {' | '.join(row)}"
    for name in {row[-1] for row in rows if [other[-1] for other in rows].count(row[-1]) > 1}:
        yield f"several rows name the test {name}"
    for situation in SITUATIONS:
        if not any(situation in row[0] for row in rows):
            yield f"no row covers the situation '{situation}'"


def main():
    project, build = Path(sys.argv[1]), Path(sys.argv[2])
    found = list(problems((project / "docs" / "linking.md").read_text(encoding="utf-8"), tests_of(build)))
    sys.exit("\n".join(found) or 0)


if __name__ == "__main__":
    main()
