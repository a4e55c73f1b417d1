"""Reads the table of sentences from the source that the reader is built from."""

import re
import sys
from pathlib import Path

TEXT = r'((?:"(?:[^"\\]|\\.)*"\s*)+)'
SENTENCE = re.compile(r"^ORVA_SENTENCE\(\s*(\w+),\s*" + TEXT + r",\s*" + TEXT + r"\)", re.MULTILINE)


def joined(literals):
    return "".join(re.findall(r'"((?:[^"\\]|\\.)*)"', literals))


def table_of(path):
    """Returns each sentence and what to do by its name."""
    source = Path(path).read_text(encoding="utf-8")
    table = {name: (joined(pattern), joined(advice)) for name, pattern, advice in SENTENCE.findall(source)}
    if len(table) != len(re.findall("^ORVA_SENTENCE", source, re.MULTILINE)):
        sys.exit(f"{path}: a sentence cannot be read")
    return table
