"""Checks, without running them, the project's commands that pages name: words, options, presets, targets, tests."""

import json
import re
import shlex
import subprocess
import tempfile
from pathlib import Path

PLACEHOLDER = re.compile(r"[A-Z]{2,}…?$")
PROGRAM = re.compile(r"build/[\w-]+/(bin|tests|benchmarks)/\S+")


class Unknown(Exception):
    """A command names something that does not exist."""


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


class Commands:
    """What commands may name, read from the project's folder and one of its build trees."""

    def __init__(self, project, build):
        # ctest writes its log where it runs. Another ctest may be running in the build tree, so this one runs in a
        # folder that refers to it.
        self._tests = tempfile.TemporaryDirectory()
        reference = f'subdirs("{Path(build).resolve()}")\n'
        Path(self._tests.name, "CTestTestfile.cmake").write_text(reference, encoding="utf-8")
        self.synopses = [re.split(r"  +", line)[0] for line in output_of(Path(project, "dev")).splitlines()]
        presets = json.loads(Path(project, "CMakePresets.json").read_text(encoding="utf-8"))
        self.presets = {
            kind: {preset["name"] for preset in presets[kind + "Presets"] if not preset.get("hidden")}
            for kind in ("configure", "build", "test")}
        self.targets = set(re.findall(r"^(\S+): ", output_of("cmake", "--build", build, "--target", "help"), re.M))
        self.suites = {target[len("suite-"):] for target in self.targets if target.startswith("suite-")}
        self.variables = set(re.findall(r"^(\w+):", Path(build, "CMakeCache.txt").read_text(encoding="utf-8"), re.M))
        self.help = {name: output_of(Path(build, "bin", name), "--help") for name in ("orva-host", "orva-trace")}

    def is_own(self, text):
        return bool(re.match(r"(\./dev|ctest|cmake|orva-host|orva-trace)( |$)|-D\w", text) or PROGRAM.match(text))

    def check(self, text):
        """Checks commands that are joined by `&&`; throws `Unknown` if one names something that does not exist."""
        for command in text.split("&&"):
            words = [word.strip("[]") for word in shlex.split(command, comments=True)]
            if words:
                self._check_one(words)

    def _check_one(self, words):
        program = words[0]
        if program == "./dev":
            self._check_dev(words[1:])
        elif program == "ctest":
            self._check_ctest(words[1:])
        elif program == "cmake":
            self._check_cmake(words[1:])
        elif program.startswith("-D"):
            self._check_variable(program)
        elif program in self.help or PROGRAM.match(program):
            self._check_program(program, words[1:])
        else:
            raise Unknown(f"'{program}' is not a command of the project, and no test follows this page")

    def _check_dev(self, words):
        forms = [[part.strip("[]") for part in synopsis.split()[1:]] for synopsis in self.synopses]
        if words and not any(form[0] == words[0] for form in forms):
            raise Unknown(f"./dev has no word '{words[0]}'")
        if not any(self._accepts(form, words) for form in forms):
            raise Unknown(f"./dev {words[0]} does not accept '{' '.join(words[1:])}'")

    def _accepts(self, form, words):
        """Tells whether the words match a form. Only its first part is required, and its last may repeat."""
        if not words or not form:
            return not words
        if self._fits(words[0], form[0]):
            return self._accepts(form if form[0].endswith("…") else form[1:], words[1:])
        return form[0][0].isupper() and self._accepts(form[1:], words)

    def _fits(self, word, part):
        if part == "PRESET" and word != part:
            return word in self.presets["test"]
        if part == "SUITE…" and word.rstrip("…") != "SUITE":
            return word in self.suites
        if part == "SECONDS" and word != part:
            return word.isdigit()
        return word.rstrip("…") == part.rstrip("…")

    def _check_ctest(self, words):
        options = read_options(words, {"--preset", "-R"}, {"-N", "--output-on-failure"})
        self._need_preset("test", options)
        pattern = options.get("-R")
        if pattern and not PLACEHOLDER.match(pattern):
            if "\nTotal Tests: 0\n" in output_of("ctest", "--test-dir", self._tests.name, "-N", "-R", pattern):
                raise Unknown(f"no test matches '{pattern}'")

    def _check_cmake(self, words):
        options = read_options(words, {"--preset", "--target", "--prefix", "--component", "-S", "-B", "-G", "-P"},
                               {"--build", "--install"})
        self._need_preset("build" if "--build" in options else "configure", options)
        target = options.get("--target")
        if target and target not in self.targets:
            raise Unknown(f"there is no target '{target}'")
        for word in words:
            if word.startswith("-D"):
                self._check_variable(word)

    def _check_variable(self, word):
        name = re.match(r"-D(\w*)", word)[1]
        if name not in self.variables:
            raise Unknown(f"there is no CMake variable '{name}'")

    def _check_program(self, program, words):
        name = Path(program).name
        if name not in self.targets:
            raise Unknown(f"no target builds '{program}'")
        # The words after `--` belong to another program.
        own = words[:words.index("--")] if "--" in words else words
        for option in re.findall(r"--[\w-]+", " ".join(own)):
            if not re.search(rf"(?<!\S){option}\b(?!-)", self.help.get(name, option)):
                raise Unknown(f"{name} has no option '{option}'")

    def _need_preset(self, kind, options):
        preset = options.get("--preset")
        if preset and not PLACEHOLDER.match(preset) and preset not in self.presets[kind]:
            raise Unknown(f"there is no {kind} preset '{preset}'")


def read_options(words, valued, flags):
    """Maps options to values. Other words are files; an option in neither set is unknown."""
    options, rest = {}, iter(words)
    for word in rest:
        name, _, value = word.partition("=")
        if name in valued:
            options[name] = value or next(rest, "")
        elif word in flags:
            options[word] = ""
        elif word.startswith("-") and not word.startswith("-D"):
            raise Unknown(f"this check does not know the option '{word}'")
    return options
