#!/usr/bin/python3 -B
"""Lints the C and C++ sources of a project, except those that have not changed since they were found clean.

Usage, from the root of a git repository: clang_tidy.py FOLDER PLUGIN
FOLDER contains compile_commands.json; the records of clean sources are written there. PLUGIN is loaded into clang-tidy.

A source is linted again when something changed that could change the verdict: the source, a header that it includes,
its compile command, a .clang-tidy above it, the plugin, or clang-tidy. It is an error when a source has no command.
"""

import functools
import hashlib
import json
import os
import re
import shlex
import subprocess
import sys
import time
from multiprocessing.pool import ThreadPool
from pathlib import Path

TOOL = os.path.realpath("/usr/bin/clang-tidy-19")


@functools.cache
def digest(path):
    return hashlib.sha256(Path(path).read_bytes()).hexdigest() if os.path.isfile(path) else "missing"


class Source:
    """A source, its compile command, and what its last clean run left in the folder of records."""

    def __init__(self, path, entry, records, plugin):
        self.path = path
        self.entry = entry
        self.plugin = plugin
        self.record = records / f"{path}.clean"
        self.dependencies = records / f"{path}.d"

    def command(self):
        arguments = iter(shlex.split(self.entry["command"])[1:])
        options = [option for option in arguments if not (option in ("-c", "-o") and next(arguments))]
        # In this form because clang-tidy drops the options that ask a compiler for dependencies.
        dependencies = f"-Wp,-dependency-file,{self.dependencies},-MT,it,-sys-header-deps"
        return [TOOL, "--quiet", "--load", self.plugin, self.path.absolute(), "--", *options, dependencies]

    def inputs(self):
        text = self.dependencies.read_text().removeprefix("it:").replace("\\\n", "")
        headers = [name.replace("\\ ", " ") for name in re.findall(r"(?:\\ |\S)+", text)]
        configurations = [str(folder / ".clang-tidy") for folder in self.path.absolute().parents]
        return [TOOL, self.plugin, *(os.path.join(self.entry["directory"], name) for name in headers), *configurations]

    def fingerprint(self):
        contents = [(path, digest(path)) for path in self.inputs()]
        return hashlib.sha256(repr((self.command(), contents)).encode()).hexdigest()

    def is_clean(self):
        try:
            return self.record.read_text() == self.fingerprint()
        except FileNotFoundError:
            return False

    def lint(self):
        """Returns what clang-tidy found; empty for a clean source."""
        self.record.unlink(missing_ok=True)
        self.record.parent.mkdir(parents=True, exist_ok=True)
        start = time.time()
        run = subprocess.run(self.command(), cwd=self.entry["directory"], capture_output=True, text=True, check=False)
        if run.returncode != 0:
            return run.stdout or run.stderr or f"{self.path}: clang-tidy ended with status {run.returncode}\n"
        # What was saved in the meantime may not be what clang-tidy read.
        if all(os.path.getmtime(path) < start for path in self.inputs() if os.path.exists(path)):
            self.record.write_text(self.fingerprint())
        return ""


def find_sources(folder, plugin):
    """Finds the sources that git knows, or would add. Ends the program when one has no compile command."""
    entries = {}
    for entry in json.loads(Path(folder, "compile_commands.json").read_text()):
        entries.setdefault(Path(entry["directory"], entry["file"]).resolve(), entry)
    listed = subprocess.run(["git", "ls-files", "-z", "-co", "--exclude-standard", "*.c", "*.cpp"],
                            capture_output=True, text=True, check=True).stdout
    paths = [path for path in map(Path, listed.split("\0")) if path.is_file()]
    strangers = [str(path) for path in paths if path.resolve() not in entries]
    if strangers:
        sys.exit(f"lint failed: no target compiles {' '.join(strangers)}; name them in lint/CMakeLists.txt")
    return [Source(path, entries[path.resolve()], Path(folder, "clean"), plugin) for path in paths]


class Report:
    """Prints each finding once, however many sources include the header that it is in."""

    def __init__(self, count):
        self.count = count
        self.done = 0
        self.printed = set()
        self.failed = []
        self.next = time.monotonic() + 10

    def add(self, source, output):
        self.done += 1
        if output:
            self.failed.append(str(source.path))
            self.progress("")
            self.show(output.replace(f"{Path.cwd()}/", ""))
        self.progress(f"[{self.done}/{self.count}] {source.path}")

    def progress(self, text):
        """Moves a line on a terminal; elsewhere, prints one every ten seconds."""
        if sys.stderr.isatty():
            print(f"\r\033[K{text}", end="", file=sys.stderr, flush=True)
        elif text and time.monotonic() >= self.next:
            print(f"Linting: {text}", file=sys.stderr, flush=True)
            self.next = time.monotonic() + 10

    def show(self, output):
        for finding in re.split(r"^(?=.+:\d+:\d+: (?:error|warning): )", output, flags=re.MULTILINE):
            if finding.strip() and finding not in self.printed:
                self.printed.add(finding)
                print(finding.rstrip(), flush=True)

    def end(self):
        self.progress("")
        if self.failed:
            sys.exit(f"lint failed: {' '.join(sorted(self.failed))}")


def main():
    folder, plugin = (os.path.abspath(argument) for argument in sys.argv[1:])
    changed = [source for source in find_sources(folder, plugin) if not source.is_clean()]
    report = Report(len(changed))
    with ThreadPool(os.cpu_count()) as pool:
        for source, output in pool.imap_unordered(lambda source: (source, source.lint()), changed):
            report.add(source, output)
    report.end()


main()
