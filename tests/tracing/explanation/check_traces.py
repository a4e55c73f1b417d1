#!/usr/bin/python3 -B
"""Runs a program with a trace, and holds every explanation in it against the events that were recorded, by the rules of
check_explanations.py. So many of the sentences must occur at least.

Usage: check_traces.py EXPLAINED_TRACES SENTENCES FEWEST RECORDER AUDIT PROGRAM [ARGUMENT…]

RECORDER and AUDIT are both `linked` where the program holds the recorder.
"""

import os
import subprocess
import sys
import tempfile
from pathlib import Path

from check_explanations import Check


def main():
    explained, sentences, fewest, recorder, audit, *program = sys.argv[1:]
    check = Check(sentences)
    attached = {} if recorder == "linked" else {"LD_PRELOAD": recorder, "LD_AUDIT": audit}
    with tempfile.TemporaryDirectory() as work:
        ran = subprocess.run(program, env={**os.environ, "ORVA_TRACE_FOLDER": work, **attached}, check=False,
                             stdout=subprocess.DEVNULL)
        lines = subprocess.run([explained, *Path(work).glob("*.events")], check=True, capture_output=True, text=True)
    for line in lines.stdout.splitlines():
        check.add(line)
    if len(check.seen) < int(fewest):
        check.problems[f"of at least {fewest} sentences, there are only {sorted(check.seen)}"] += 1
    check.end(ran.returncode != 0)


if __name__ == "__main__":
    main()
