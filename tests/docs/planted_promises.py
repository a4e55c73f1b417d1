#!/usr/bin/python3 -B
"""Shows that check_promises.py names each place where a new native or neighbour was forgotten: each row changes a copy
of the project, and lists what the check must report.

Usage: planted_promises.py PROJECT
"""

import os
import re
import shutil
import sys
import tempfile
from pathlib import Path

from check_promises import findings

NATIVE = """
/** `static ClassLoader.isPlanted(name)`: planted by a test. */
ORVA_EXPORT int64_t orva_ClassLoader_isPlanted(const char* typeName);

#ifdef __cplusplus
}"""

# The files that the checks read; the others are not copied.
PARTS = ("*.md", "abi/*", "benchmarks/instructions/*", "cmake/*", "classloader/*", "docs/*", "examples/**/*",
         "host_contract/**/*", "reference_host/**/*", "runtime_api/*", "tests/**/*", "tracing/**/*")
SUFFIXES = (".awk", ".cmake", ".cpp", ".h", ".inc", ".md", ".ov", ".py", ".sh", ".txt")

NATIVE_FORGOTTEN = {
    "tests/contract/*.cpp", "tests/faults/paths.cpp", "tests/properties/play.cpp", "tests/properties/*_test.cpp",
    "tests/interleavings/*", "reference_host/stdlib/orva/ClassLoader.ov",
    "tests/programs/**/*.ov examples/tour/**/*.ov", "docs/natives.md", "runtime_api/*.h"}
DATA_FORGOTTEN = {
    "classloader/*", "abi/required_symbols.txt", "reference_host/*/*.cpp", "examples/minimal_host/*.cpp",
    "tests/scripted_host/scripted_host.cpp", "tests/symbols/plain_host.cpp", "tests/symbols/plain_host.h",
    "host_contract/checks/*.cpp", "runtime_api/*.h", "docs/natives.md"}
NEIGHBOUR_FORGOTTEN = DATA_FORGOTTEN | {
    "tracing/calls/calls.inc",
    "tests/contract/*.cpp", "tests/properties/world_text.cpp", "tests/properties/*_test.cpp"}

# What is planted: files, each with a text and its replacement; the name that must be reported; and the places.
PLANTED = [
    ([("classloader/natives.h", "\n#ifdef __cplusplus\n}", NATIVE)],
     "orva_ClassLoader_isPlanted", NATIVE_FORGOTTEN | {"classloader/*.cpp"}),
    ([("classloader/natives.h", "\n#ifdef __cplusplus\n}", NATIVE),
      ("classloader/type_lookup.cpp", "void* orva_ClassLoader_getTypeByName(",
       "int64_t orva_ClassLoader_isPlanted(const char*) { return 0; }\n\nvoid* orva_ClassLoader_getTypeByName(")],
     "orva_ClassLoader_isPlanted", NATIVE_FORGOTTEN),
    ([("runtime_api/reflection.h", "int32_t Reflection_getTypeCount(void);",
       "int32_t Reflection_getTypeCount(void);\nint32_t Reflection_getPlanted(void);")],
     "Reflection_getPlanted", NEIGHBOUR_FORGOTTEN),
    ([("runtime_api/compiler.h", "  static void invalidateKlassPathCaches();",
       "  static void invalidateKlassPathCaches();\n  static void plant(const std::string& name,\n"
       "                    const std::function<void()>& done);")],
     "ClassLoader::plant", NEIGHBOUR_FORGOTTEN),
    ([("runtime_api/compiler.h", "  bool addKlassPath(const std::string& root);",
       "  bool addKlassPath(const std::string& root);\n  bool plant() const;")],
     "Runtime::plant", NEIGHBOUR_FORGOTTEN),
    ([("runtime_api/reflection.h", "extern std::mutex gReflectionMutex;",
       "extern std::mutex gReflectionMutex;\nextern std::mutex gPlanted;")],
     "gPlanted", DATA_FORGOTTEN),
]

# A change, and all lines that must be reported, with N for each number.
WRONG = [
    ("docs/natives.md", "`static boolean addSourceRoot(String root)`", "`static boolean addSourceRoot(String file)`",
     ["docs/natives.md: does not mention orva_ClassLoader_addSourceRoot; "
      "give it a row with its method as the class declares it, and a section"]),
    ("docs/natives.md", "## orva_ClassLoader_addSourceRoot\n", "",
     ["docs/natives.md: does not mention orva_ClassLoader_addSourceRoot; "
      "give it a row with its method as the class declares it, and a section"]),
    ("runtime_api/runtime.h", "/// - Required: it copies", "/// - It copies",
     ["runtime_api/*.h: does not mention Orva_raise; say in its comment what is required of it"]),
    ("tests/scripted_host/scripted_host.h", "> typeName;", "> typeName;\n  Script<void()> planted;",
     ["tests/scripted_host/scripted_host.cpp: pendingAnswers() does not count the answers of planted"]),
    ("docs/natives.md", "# The natives\n", "# The nine natives\n",
     ["docs/natives.md: says 'nine natives'; say it without a number"]),
    ("tests/interleavings/plugins_test.cpp", "{world, source(), source()}, ", "{world, source(), source()}, 1",
     ["docs/testing.md: does not say ': N schedules', which is the number in tests/interleavings"]),
    ("docs/failure-matrix.md", " cases on ", "0 cases on ",
     ["README.md: does not say 'of N cases', which is the number in docs/failure-matrix.md"]),
    ("docs/failure-matrix.md", " cases on ", " cases on 1",
     ["docs/testing.md: does not say 'On each of N paths', which is the number in docs/failure-matrix.md"]),
    ("tests/properties/random_worlds_test.cpp", "worldCount = ", "worldCount = 1",
     ["docs/testing.md: does not say 'and N large random ones', which is the number in "
      "tests/properties/random_worlds_test.cpp"]),
    ("tests/coverage/table.awk", 'check("lines", ', 'check("lines", 1',
     ["docs/testing.md: does not say 'below N % of lines', which is the number in tests/coverage/table.awk"]),
    ("host_contract/checks/objects.cpp", "room.required(", "room.asked(",
     ["README.md: does not say 'a kit of N named checks', which is the number in host_contract/checks"]),
]


def copy_project(source):
    for file in (file for part in PARTS for file in source.glob(part)):
        if file.suffix not in SUFFIXES or not file.is_file():
            continue
        copy = file.relative_to(source)
        copy.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(file, copy)


def reported(changes):
    """Changes texts of the project, returns what the check finds, and changes them back."""
    originals = {file: Path(file).read_text() for file, *_ in changes}
    for file, text, replacement in changes:
        if text not in originals[file]:
            sys.exit(f"{file} does not have '{text}'")
        Path(file).write_text(originals[file].replace(text, replacement, 1))
    lines = findings()
    for file, original in originals.items():
        Path(file).write_text(original)
    return lines


def is_reported(what, expected, found):
    if sorted(expected) == sorted(found):
        return True
    print(f"{what}, expected:", *sorted(expected), "found:", *sorted(found), sep="\n  ")
    return False


def main():
    source = Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory() as work:
        os.chdir(work)
        copy_project(source)
        results = [is_reported("no change", [], reported([]))]
        for changes, name, places in PLANTED:
            # The advice after the semicolon is not compared.
            found = [line.split(";")[0] for line in reported(changes)]
            results.append(is_reported(name, [f"{place}: does not mention {name}" for place in places], found))
        for file, text, replacement, lines in WRONG:
            found = [re.sub(r"\d[\d,]*", "N", line) for line in reported([(file, text, replacement)])]
            results.append(is_reported(replacement, lines, found))
    sys.exit(0 if all(results) else 1)


if __name__ == "__main__":
    main()
