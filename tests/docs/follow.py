#!/usr/bin/python3 -B
"""Does what a page tells its reader to do, in the page's order, and compares what the commands print.

`<!-- file: NAME -->` before a block writes it to NAME, `<!-- append: NAME -->` appends it. `sh` blocks are run with
`bash -eu`; each starts with the folder and the exported variables of the one before. A `text` block directly after an
`sh` block, or later after `<!-- prints -->`, is the whole standard output of that block: a word of at least four
capitals, such as COUNT, matches any number, a time such as `1.2 ms` any time, an address such as `0x7f` any address,
and a line `…` any lines. Exits with 1 if the page is wrong.
"""

import argparse
import difflib
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

from page import Page

# Saves the folder and the variables for the next block, and reports which command failed. It is one line, so that the
# first line of the block is the second of the script.
PREAMBLE = (
    "set -E; [ ! -e {state}/shell ] || . {state}/shell; "
    "trap 'printf \"%s %s\\n\" \"$LINENO\" \"$BASH_COMMAND\" >{state}/failed' ERR; "
    "trap '{{ export -p; printf \"cd %q\\n\" \"$PWD\"; }} >{state}/shell' EXIT\n"
)
NUMBER = r"[0-9]+(\.[0-9]+)?"
UNIT = " (?:ns|µs|ms|s)"
VARIES = re.compile(rf"( *)\b([A-Z]{{4,}}|[0-9]+(?:\.[0-9]+)?{UNIT}|0x[0-9a-f]+(?:…[0-9a-f]+)?)\b")


class Wrong(Exception):
    """The page is wrong; the text begins with page:line."""


def pattern_of(line):
    """The regular expression of an expected line. Numbers may be padded with blanks."""
    parts = VARIES.split(line)
    pattern = re.escape(parts[0])
    for blanks, shown, rest in zip(parts[1::3], parts[2::3], parts[3::3]):
        pattern += (" +" if blanks else "") + value_pattern(shown) + re.escape(rest)
    return pattern + "\n"


def value_pattern(shown):
    if shown.startswith("0x"):
        return "0x[0-9a-f]+(…[0-9a-f]+)?"
    return NUMBER + UNIT if shown[0].isdigit() else f"({NUMBER}|{shown})"


def matches(expected, printed):
    patterns = ["(.*\n)*" if line == "…" else pattern_of(line) for line in expected.splitlines()]
    return re.fullmatch("".join(patterns), printed if printed.endswith("\n") or not printed else printed + "\n")


def write(block, page):
    for kind, mode in (("file", "w"), ("append", "a")):
        if kind in block.markers:
            path = Path(block.markers[kind])
            path.parent.mkdir(parents=True, exist_ok=True)
            with path.open(mode, encoding="utf-8") as file:
                file.write(block.text)
            print(f"{page.name}:{block.line}: wrote {path}")


def run(block, page, state):
    """Runs an `sh` block and returns what it printed."""
    script, failed = state / "script", state / "failed"
    failed.unlink(missing_ok=True)
    script.write_text(PREAMBLE.format(state=state) + block.text, encoding="utf-8")
    print(f"{page.name}:{block.line}: $ " + block.text.rstrip("\n").replace("\n", "\n  "), flush=True)
    with (state / "errors").open("w+b") as errors:
        done = subprocess.run(["bash", "-eu", script], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=errors)
        errors.seek(0)
        complaints = errors.read().decode(errors="replace")
    printed = done.stdout.decode(errors="replace")
    if done.returncode != 0:
        # An unset variable ends bash without a trap, and so without a line.
        number, _, command = (failed.read_text() if failed.exists() else "2 " + block.text).partition(" ")
        line = block.line + int(number) - 2
        raise Wrong(f"{page.name}:{line}: status {done.returncode} of: {command.strip()}\n{printed}{complaints}")
    return printed


def compare(block, page, printed):
    if not matches(block.text, printed):
        lines = difflib.unified_diff(
            block.text.splitlines(), printed.splitlines(), "the page", "the output", lineterm="")
        raise Wrong(f"{page.name}:{block.line}: the page shows other output of: {block.answers.text}" +
                    "\n".join(lines))


def follow(page, blocks):
    with tempfile.TemporaryDirectory() as folder:
        outputs = {}
        for block in blocks:
            write(block, page)
            if block.is_commands():
                outputs[block.line] = run(block, page, Path(folder))
            elif block.answers and block.answers.line in outputs:
                compare(block, page, outputs[block.answers.line])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("page", metavar="PAGE", type=Path)
    parser.add_argument("--only", metavar="SECTION", help="follow only the section with this heading")
    parser.add_argument("--here", action="store_true", help="work in this folder, not in an empty temporary one")
    options = parser.parse_args()
    page = Page(options.page.resolve(), options.page)
    if options.only and options.only not in page.headings:
        parser.error(f"{options.page} has no heading '{options.only}', but has: {', '.join(page.headings)}")
    blocks = [block for block in page.blocks if not options.only or options.only in block.sections]
    with tempfile.TemporaryDirectory() as work:
        os.chdir("." if options.here else work)
        try:
            follow(page, blocks)
        except Wrong as wrong:
            sys.exit(str(wrong))


if __name__ == "__main__":
    main()
