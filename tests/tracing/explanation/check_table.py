#!/usr/bin/python3 -B
"""Compares the page's table of sentences with the reader's. With --write, updates it.

Usage: check_table.py SENTENCES PAGE [--write]
"""

import sys
from pathlib import Path

from sentences import table_of

HEAD = "| the sentence | what to do |\n|---|---|\n"


def rows_of(path):
    return "".join(f"| `{pattern}` | {advice} |\n" for pattern, advice in table_of(path).values())


def main():
    sentences, path, *options = sys.argv[1:]
    page = Path(path).read_text(encoding="utf-8")
    begin = page.find(HEAD)
    if begin < 0:
        sys.exit(f"{path}: there is no table of sentences")
    begin += len(HEAD)
    end = begin
    while page.startswith("|", end):
        end = page.find("\n", end) + 1
    if options == ["--write"]:
        Path(path).write_text(page[:begin] + rows_of(sentences) + page[end:], encoding="utf-8")
    elif page[begin:end] != rows_of(sentences):
        on_page = page[begin:end].splitlines()
        for row in rows_of(sentences).splitlines():
            if row not in on_page:
                print(f"{path}: lacks the row {row}")
        sys.exit(f"{path}: the table differs from {sentences}: run {sys.argv[0]} {sentences} {path} --write")


if __name__ == "__main__":
    main()
