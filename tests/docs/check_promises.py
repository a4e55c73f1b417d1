#!/usr/bin/python3 -B
"""Checks that each native and each neighbour is defined, tested and documented wherever all of them are, and that the
numbers on pages are right. Each line that it prints names a place and what is missing there.

Usage: check_promises.py PROJECT
"""

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

# Where each native must appear: files, a pattern in one of them, and what to do there.
NATIVE_PLACES = [
    ("classloader/*.cpp", r"^\w.*\b{symbol}\(", "define it"),
    ("tests/contract/*.cpp", r"\b{symbol}\(", "assert its calls, raises and results"),
    ("tests/faults/paths.cpp", r"call {method}\b", "list its paths"),
    ("tests/properties/play.cpp", r"\b{symbol}\(", "call it"),
    ("tests/properties/*_test.cpp", r"\b{method}\(|\bNative::{method}\b", "play it in small worlds"),
    ("tests/interleavings/*", r"\b{symbol}\b", "pair it with those that it can affect, or say why there are none"),
    ("reference_host/stdlib/orva/{class}.ov", r"\bnative\b.*\b{method}\(", "declare its method"),
    ("tests/programs/**/*.ov examples/tour/**/*.ov", r"\.{method}\(", "call it in a program"),
    ("docs/natives.md", r"^\| `{symbol}` \| `{declaration}` \|(?s:.*)^## {symbol}$",
     "give it a row with its method as the class declares it, and a section"),
    ("runtime_api/*.h", r"`{symbol}`", "name it in the comment of each neighbour that it calls"),
]

# The same for neighbours. `name` includes the class but no namespace; `call` is how tests write a call.
NEIGHBOUR_PLACES = [
    ("classloader/*", r"\b{last}\b", "call it"),
    ("tracing/calls/calls.inc", r"\({listed}\)$", "list it, so that traces show it"),
    ("abi/required_symbols.txt", r" (orva::compiler::)?{name} ", "record it: ./dev abi --record"),
    # An assembler label may name it too.
    ("reference_host/*/*.cpp", r"\b{name}[(;\"]", "define it"),
    ("examples/minimal_host/*.cpp", r"\b{name}[(;]", "define it"),
    ("tests/scripted_host/scripted_host.cpp", r"\b{name}[(;]", "define it, and record the call"),
    ("tests/symbols/plain_host.cpp", r"\b{last}[(;]", "declare it"),
    ("tests/symbols/plain_host.h", r"\b{name}[(;]", "define it"),
    ("tests/contract/*.cpp", r"\b{call}\b", "assert the call"),
    ("tests/properties/world_text.cpp", r'"{name}"', "name it in worlds"),
    ("tests/properties/*_test.cpp", r"\bOperation::{operation}\b", "let it return and fail in small worlds"),
    ("host_contract/checks/*.cpp", r"\b{last}\b", "check what a host could do wrong with it, or say which check does"),
    ("runtime_api/*.h", r"^ */// - Required: .*\n(?: *///.*\n)* *[^/\n].*\b{last}[(;]",
     "say in its comment what is required of it"),
    ("docs/natives.md", r"\b{last}\b", "name it among the steps of the natives that call it"),
]

# Calls that tests write with a function of scripted_host.h.
CALLS = {
    "gReflectionMutex": r"lock\(gReflectionMutex\)", "Orva_raise": "raised",
    "Compiler::ensureSourceLoadedInActiveJit": "loaded",
    "Reflection_getTypeCount": "scan", "Reflection_getTypeName": "scan", "Reflection_getTypeFullName": "scan",
    "orva_collections_ArrayList_size": "listRead", "orva_collections_ArrayList_operator_index": "listRead",
}

# Places that concern calls only, so that data need not appear there.
CALLED_ONLY = ("tests/properties", "tests/contract", "tracing/calls")

# A page, what it says with a number, and the source that defines this number.
CONSTANTS_ON_PAGES = [
    ("docs/failure-matrix.md", "with {} bytes", "tests/faults/fault.cpp", r"longText = ([\d']+);"),
    ("docs/testing.md", "more than {} small ones", "tests/properties/small_worlds.h", r"fewestSmallWorlds = ([\d']+);"),
    ("docs/testing.md", "and {} large random ones", "tests/properties/random_worlds_test.cpp",
     r"worldCount = ([\d']+);"),
    ("docs/testing.md", "by more than {} %", "benchmarks/instructions/count.sh", r"^most_percent=(\d+)"),
    ("docs/testing.md", "at least {} % of", "tests/tracing/explained_hosts/check_host.py", r'\["Slow"\]\) < (\d+)'),
    ("docs/testing.md", "below {} % of lines", "tests/coverage/table.awk", r'check\("lines", (\d+)\)'),
    ("docs/testing.md", "or {} % of branches", "tests/coverage/table.awk", r'check\("branches", (\d+)\)'),
    ("docs/diagnosis.md", "of {} rows each", "tracing/reader/summary.cpp", r"mostRows = (\d+);"),
    ("docs/trace-sentences.md", "more than {} deep", "tracing/reader/trace.h", r"deepestNesting = (\d+);"),
]

NUMBER_OF_NATIVES = re.compile(r"\b(eight|nine|ten|eleven|twelve)\s+(C\s+)?(natives|functions|exported)", re.I)


def text_of(files):
    paths = [path for pattern in files.split() for path in sorted(Path().glob(pattern)) if path.is_file()]
    return "\n".join(path.read_text(errors="replace") for path in paths)


def missing(subject, facts, places):
    """Yields a line for each place that does not mention a native or a neighbour."""
    for files, pattern, advice in places:
        where = files.format_map(facts)
        if not re.search(pattern.format_map(facts), text_of(where), re.M):
            yield f"{where}: does not mention {subject}; {advice}"


def natives():
    with tempfile.TemporaryDirectory() as work:
        subprocess.run(["cmake", "-P", "cmake/native_list.cmake", "classloader/natives.h", f"{work}/list"], check=True)
        lines = Path(work, "list").read_text()
    for symbol, class_name, method in re.findall(r"^ORVA_NATIVE\((\w+), (\w+), (\w+),", lines, re.M):
        source = Path(f"reference_host/stdlib/orva/{class_name}.ov").read_text()
        declared = re.search(rf"^ *public (static )?native (.*\b{method}\(.*\));", source, re.M)
        declaration = re.escape((declared[1] or "") + declared[2]) if declared else ".*"
        yield symbol, {"symbol": symbol, "class": class_name, "method": method, "declaration": declaration}


def neighbours_of(header):
    """Yields what a header declares without defining it; members with the name of their class."""
    text = re.sub(r"//.*", "", Path(header).read_text())
    text = re.sub(r"^inline .*?\}$", "", text, flags=re.M | re.S)
    inside = ""
    for opened, closed, function, data in re.findall(
            r"^class (\w+) \{|(^\};)|(\w+)\([^;{}]*\)(?: const)?;|^extern [^\"].*?(\w+);", text, re.M):
        inside = opened + "::" if opened else "" if closed else inside
        if function or data:
            yield inside + (function or data), bool(data)


def neighbours():
    operations = dict(re.findall(r'\{Operation::(\w+), "([^"]+)"\}', text_of("tests/properties/world_text.cpp")))
    operations = {name: operation for operation, name in operations.items()}
    for header in sorted(Path("runtime_api").glob("*.h")):
        for name, is_data in neighbours_of(header):
            last = name.split("::")[-1]
            places = [place for place in NEIGHBOUR_PLACES if not (is_data and place[0].startswith(CALLED_ONLY))]
            yield name, {"name": name, "last": last, "listed": name.replace("::", ", "), "call": CALLS.get(name, last),
                         "operation": operations.get(name, "none")}, places


def counts():
    """Yields each page, a number that it must show, and the source of the number."""
    page = text_of("docs/failure-matrix.md")
    cases, paths = re.search(r"^These are ([\d,]+) cases on (\d+) paths", page, re.M).groups()
    tests = "\n".join(path.read_text() for path in Path("tests/interleavings").glob("*_test.cpp")
                      if path.name != "schedules_test.cpp")
    schedules = sum(int(number) for number in re.findall(r"expectOutcomes\(.*?\b(\d+),\s*\{\"", tests, re.S))
    yield "README.md", f"of {cases} cases", "docs/failure-matrix.md"
    yield "docs/testing.md", f"On each of {paths} paths", "docs/failure-matrix.md"
    yield "docs/testing.md", f": {schedules:,} schedules", "tests/interleavings"
    for page, sentence, file, pattern in CONSTANTS_ON_PAGES:
        found = re.search(pattern, text_of(file), re.M)
        number = format(int(found[1].replace("'", "")), ",") if found else f"(nothing fits {pattern})"
        yield page, sentence.format(number), file
    checks = len(re.findall(r'\.(?:required|advised)\(\s*"', text_of("host_contract/checks/*.cpp")))
    yield "README.md", f"a kit of {checks} named checks", "host_contract/checks"


def counted_natives():
    """Yields each place that says how many natives there are, because the next native would make it wrong."""
    files = "*.md docs/*.md examples/**/*.ov */*.h classloader/* host_contract/**/*.* tests/**/*.cpp tests/**/*.h"
    for pattern in files.split():
        for path in sorted(Path().glob(pattern)):
            if path.is_file() and (found := NUMBER_OF_NATIVES.search(path.read_text(errors="replace"))):
                yield f"{path}: says '{found[0]}'; say it without a number"


def unwatched_scripts():
    """Yields the scripts of the scripted host whose unused answers no test would notice."""
    folder = "tests/scripted_host/scripted_host"
    watched = re.search(r"return pendingIn\((.*?)\);", text_of(f"{folder}.cpp"), re.S)[1]
    for script in re.findall(r"^  Script<.*> (\w+);", text_of(f"{folder}.h"), re.M):
        if not re.search(rf"\b{script}\b", watched):
            yield f"{folder}.cpp: pendingAnswers() does not count the answers of {script}"


def findings():
    """Returns what is wrong in the project in the working directory, a line for each place."""
    lines = [line for symbol, facts in natives() for line in missing(symbol, facts, NATIVE_PLACES)]
    lines += [line for name, facts, places in neighbours() for line in missing(name, facts, places)]
    lines += [f"{page}: does not say '{number}', which is the number in {source}" for page, number, source in counts()
              if number not in " ".join(text_of(page).split())]
    return lines + list(unwatched_scripts()) + list(counted_natives())


def main():
    os.chdir(sys.argv[1])
    lines = findings()
    for line in lines:
        print(line)
    sys.exit(1 if lines else 0)


if __name__ == "__main__":
    main()
