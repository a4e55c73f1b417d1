#!/usr/bin/python3 -B
"""Compares the instructions that docs/performance.md shows with those of a program that links the library.

Usage: check_forwarding.py PROJECT PROGRAM
"""

import re
import subprocess
import sys
from pathlib import Path

from page import Page


def instructions_of(program, symbol):
    listing = subprocess.run(
        ["objdump", "--no-show-raw-insn", "--no-addresses", "--disassemble=" + symbol, program],
        check=True, capture_output=True, text=True).stdout
    lines = re.findall(r"^\t(?!nop)(.*)", listing, re.M)
    return [symbol + ":"] + ["  " + line.rstrip() for line in lines]


def main():
    project, program = sys.argv[1:]
    page = Page(Path(project, "docs/performance.md"), "docs/performance.md")
    block = next(block for block in page.blocks if block.markers.get("tested by") == Path(__file__).name)
    shown = block.text.splitlines()
    symbols = [line.rstrip(":") for line in shown if line.startswith("orva_")]
    found = [line for symbol in symbols for line in instructions_of(program, symbol)]
    if shown != found:
        sys.exit(f"docs/performance.md:{block.line}: the page shows other instructions than the program has:\n" +
                 "\n".join(found))


if __name__ == "__main__":
    main()
