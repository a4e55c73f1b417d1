#!/usr/bin/python3 -B
"""Runs a program on a host under orva-trace, and compares the natives that it called, in order, with the expected ones:
whether each is explained, and by which sentence, in the tree and in the JSON. A lookup during another type's load must
be nested in that load, and the summary must show the one slow file of a package.

Usage: check_host.py HOST ORVA_TRACE PROGRAM; the HOST is minimal, reference or other.
"""

import json
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

LOOKUP, PLUGIN = "ClassLoader.getTypeByName", "ClassLoader.loadSourceClass"
PACKAGE = "SystemClassLoader.loadPackageTypes"
NO_NAME = "so only the runtime was asked, and it knows no such type"

# The program's arguments, the native that they call, its argument, and the sentence; a success has no sentence.
COMMON = [
    ("--package stock", PACKAGE, "stock", "raised: the class path has no roots to search for the package 'stock'"),
    ("--root sources", "ClassLoader.addSourceRoot", "sources", None),
    ("--root none", "ClassLoader.addSourceRoot", "none",
     "raised: the runtime refused 'none' as a root, and it is not a folder that the program can reach"),
    ("app.Cart", LOOKUP, "app.Cart", None),
    ("--nothing", LOOKUP, None, f"null: the name is null, {NO_NAME}"),
    ("", LOOKUP, "", f"null: the name is empty, {NO_NAME}"),
    ("app.Box<app.Cart", LOOKUP, "app.Box<app.Cart",
     f"null: the name 'app.Box<app.Cart' has '<' without '>', {NO_NAME}"),
    ("no.Till", LOOKUP, "no.Till", "null: no registered type matches 'no.Till', the class path holds no source for it, "
                                   "and the runtime knows no such type"),
    ("Missing<app.Cart>", LOOKUP, "Missing<app.Cart>",
     "null: the type table has no ready 'Missing<app.Cart>', the compiler makes no such instance, and the runtime knows "
     "no such type"),
    ("--class no.Till", "SystemClassLoader.loadClass", "no.Till",
     "null: SystemClassLoader.loadClass asks only the runtime, which knows no type 'no.Till'"),
    ("app.train.Cart", LOOKUP, "app.train.Cart", None),
    ("Cart", LOOKUP, "Cart", "raised: 'Cart' is the short name of app.Cart and app.train.Cart"),
    ("--package no.such", PACKAGE, "no.such",
     "raised: no root of the class path has a folder for the package 'no.such': 'sources'"),
    ("--package ", PACKAGE, "", f"raised: the package name is empty, and {PACKAGE} needs one"),
    ("app.Outer", LOOKUP, "app.Outer", None),
    (None, LOOKUP, "app.Inner", None),
]


def failing(name, file, failure):
    source = f"sources/app/{file}.ov"
    return (name, LOOKUP, name, f"raised: '{source}', the source of '{name}', could not be loaded: {failure}")


def unknown(name, source):
    return (name, LOOKUP, name,
            f"null: '{source}', the source of '{name}', was loaded, and the runtime still knows no such type")


def plugin(failure):
    file = "sources/app/Broken.txt"
    return (f"--plugin {file}", PLUGIN, "app.Plugin",
            f"raised: the plugin in '{file}' could not be loaded: std::runtime_error '{failure}'")


BAD_PACKAGE = ("--package a..b", PACKAGE, "a..b", "raised: 'a..b' is not a package name that the host accepts")
REFUSED = "orva::language::SourceError"
BY_HOST = {
    "minimal": [
        BAD_PACKAGE,
        unknown("app.Wrong", "sources/app/Wrong.ov"),
        failing("app.Broken", "Broken", "std::runtime_error 'Expected 'class NAME' or 'generic NAME', not 'clas Broken''"),
        plugin("Cannot read sources/app/Broken.txt"),
    ],
    # Its compiler refuses a class that does not have the name of its file.
    "reference": [
        BAD_PACKAGE,
        failing("app.Wrong", "Wrong",
                f"{REFUSED} 'sources/app/Wrong.ov:2:14: error: expected a class 'Wrong', named after the file…'"),
        failing("app.Broken", "Broken", f"{REFUSED} 'sources/app/Broken.ov:5:29: error: unknown variable 'missing'…'"),
        plugin("Cannot read 'sources/app/Broken.txt': No such file or directory"),
    ],
    # Its compiler reads no files, and every name in the package app has a source.
    "other": [
        unknown("app./Cart", "app//Cart.ov"),
        plugin("sources/app/Broken.txt is not a source"),
    ],
}


def words_of(rows):
    return [word for row in rows if row[0] is not None for word in (row[0].split(" ") if "-" in row[0] else [row[0]])]


def traced(orva_trace, options, program, words):
    """Returns the tree, or the output that the options ask for."""
    subprocess.run([orva_trace, *options, "--output", "shown", "--", program, *words], check=True,
                   stdout=subprocess.DEVNULL)
    return Path("shown").read_text(encoding="utf-8")


def natives_of(path):
    """Yields each native from the JSON: its name, its argument, and why it failed."""
    for event in json.loads(Path(path).read_text(encoding="utf-8"))["traceEvents"]:
        if event.get("cat") == "native":
            at = {PLUGIN: 1, PACKAGE: 1, "SystemClassLoader.loadClass": 1}.get(event["name"], 0)
            yield event["name"], event["args"]["arguments"][at], event["args"].get("explanation")


def problems_with_natives(rows, orva_trace, program):
    tree = traced(orva_trace, ["--json", "json"], program, words_of(rows))
    expected, found = [tuple(row[1:]) for row in rows], list(natives_of("json"))
    if expected != found:
        yield from (f"expected {e}, found {f}" for e, f in zip(expected, found) if e != f)
        yield f"expected {len(expected)} natives, found {len(found)}"
    shown = [" ".join(text.split()) for text in re.findall(r"^ *→ (.*\n(?:    \S.*\n)*)", tree, re.M)]
    if shown != [row[3] for row in rows if row[3]]:
        yield f"the tree has other sentences: {shown}"
    if not re.search(r'^ClassLoader.getTypeByName\("app.Cart"\) = 0x', tree, re.M):
        yield "the tree does not show the type that was found"
    if not re.search(r'^ClassLoader.getTypeByName\("app.Outer"\) = 0x.*\n(?:  .*\n)*'
                     r'  Compiler::ensureSourceLoadedInActiveJit\(.*\n'
                     r'    ClassLoader.getTypeByName\("app.Inner"\) = 0x.*\n(?:      .*\n)*'
                     r'  Orva_typeByName\("app.Outer"\) = 0x', tree, re.M):
        yield "the lookup of app.Inner is not nested in the load of app.Outer"
    if problems := [line for line in tree.splitlines() if len(line) > 80]:
        yield f"the tree has lines beyond 80 columns: {problems}"


def problems_with_summary(orva_trace, program):
    summary = traced(orva_trace, ["--summary"], program, ["--root", "sources", "--package", "stock"])
    sources = re.search(r"^sources .*\n((?:  .*\n)*)", summary, re.M)[1]
    shares = dict(re.findall(r"^  sources/stock/(\w+).ov .* (\d+) %$", sources, re.M))
    if set(shares) != {"Cup", "Jar", "Slow"} or int(shares["Slow"]) < 90:
        yield f"the slow file has less than 90 % of the time: {shares}"
    costs = re.search(r"^loads by cost .*\n(.*\n)(.*\n)", summary, re.M)
    if "stock/Slow.ov " not in costs[1] or f'for {PACKAGE}("stock")' not in costs[2]:
        yield f"the most expensive load is not that of the slow file: {costs[0]}"


def main():
    host, orva_trace, program = sys.argv[1], *(str(Path(path).resolve()) for path in sys.argv[2:])
    # The program works in the current folder.
    with tempfile.TemporaryDirectory() as work:
        os.chdir(work)
        problems = [*problems_with_natives(COMMON + BY_HOST[host], orva_trace, program),
                    *problems_with_summary(orva_trace, program)]
    for problem in problems:
        print(problem)
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
