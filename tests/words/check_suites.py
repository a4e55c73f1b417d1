#!/usr/bin/python3 -B
"""Names each test without a suite, and each file that tests run and their suite's target does not build.

Usage: check_suites.py BUILD
"""

import json
import re
import subprocess
import sys
from pathlib import Path


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def main(build):
    outputs = {line.rpartition(": ")[0] for line in output_of("ninja", "-C", build, "-t", "targets", "all").splitlines()}
    tests = json.loads(output_of("ctest", "--test-dir", build, "--show-only=json-v1"))["tests"]
    built = {}
    problems = set()
    for test in tests:
        suite = test["name"].partition(".")[0]
        if suite == "valgrind" or test["name"].endswith("_NOT_BUILT"):
            # The preset of valgrind builds everything, and tests of a program are only known once it is built.
            continue
        if "suite-" + suite not in outputs:
            problems.add(f"{test['name']}: there is no target suite-{suite}: call orva_suite({suite} …)")
            continue
        if suite not in built:
            commands = output_of("ninja", "-C", build, "-t", "commands", "suite-" + suite)
            built[suite] = set(re.findall(r" -o (\S+)", commands))
        for word in test.get("command", []):
            path = Path(word)
            name = str(path.relative_to(build)) if path.is_relative_to(build) else None
            if name in outputs and name not in built[suite]:
                problems.add(f"suite-{suite} does not build {name}, which {suite} tests run")
    sys.exit("\n".join(sorted(problems)) or 0)


main(str(Path(sys.argv[1]).resolve()))
