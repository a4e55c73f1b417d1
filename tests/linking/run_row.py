#!/usr/bin/python3 -B
"""Runs the recipe of one row of docs/linking.md as the page shows it, and the host that it links.

Usage: run_row.py PROJECT PREPARED TEST; TEST is named in the row, and prepare.sh has filled PREPARED.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "docs"))
from page import Page  # noqa: E402

PAGE = "docs/linking.md"
ROW = re.compile(r"^\| (?P<situation>.+) \| (?P<library>shared|static|sources) \| `(?P<recipe>.+)` \| `(?P<test>.+)` \|$")


def row_of(page, test):
    rows = [match for match in map(ROW.match, page.read_text(encoding="utf-8").splitlines())
            if match and match["test"] == test]
    if len(rows) != 1:
        sys.exit(f"{page.name}: {len(rows)} rows have the test {test}, expected 1")
    return rows[0]


def fill(folder, project, prepared, row):
    """Copies to a folder the host's sources, its objects from the row's compiler, and the files that the page shows."""
    compiler = "clang++" if row["recipe"].startswith("clang++") else "g++"
    other = "by_name" if "by the table" in row["situation"] else "by_table"
    unused = shutil.ignore_patterns(f"{other}.*")
    shutil.copytree(project / "tests" / "other_host", folder, ignore=unused, dirs_exist_ok=True)
    objects = prepared / (compiler + ("-flto" if "-flto" in row["recipe"] else ""))
    shutil.copytree(objects, folder, ignore=unused, dirs_exist_ok=True)
    for block in Page(project / PAGE).blocks:
        if "file" in block.markers:
            Path(folder, block.markers["file"]).write_text(block.text, encoding="utf-8")


def environment(project, prepared):
    libraries = prepared / "installed" / "lib"
    # LDFLAGS as distributions set it.
    return {**os.environ, "ORVA": str(project), "LDFLAGS": "-Wl,--as-needed",
            "CMAKE_PREFIX_PATH": str(prepared / "installed"), "PKG_CONFIG_PATH": str(libraries / "pkgconfig"),
            "LD_LIBRARY_PATH": str(libraries)}


def check_trace(row, program, project, prepared, variables):
    """Checks that a trace shows each native, however the host binds it, or that orva-trace says that the program links
    the library without a recorder."""
    shown = subprocess.run([prepared / "installed" / "bin" / "orva-trace", "--", program], check=True, env=variables,
                           capture_output=True, text=True).stderr
    if row["library"] != "shared" and "with a trace" not in row["situation"]:
        if "link orva::classloader_traced" not in shown:
            sys.exit(f"orva-trace does not say why it shows nothing; it prints:\n{shown}")
        return
    listed = (project / "classloader" / "native_list.inc").read_text(encoding="utf-8")
    natives = re.findall(r"^ORVA_NATIVE\(\w+, (\w+), (\w+),", listed, re.M)
    unseen = [f"{owner}.{method}" for owner, method in natives if f"\n{owner}.{method}(" not in shown]
    if unseen or not natives:
        sys.exit(f"orva-trace does not see {unseen}:\n{shown}")


def check(row, project, prepared, variables):
    program = next(path for path in (Path("my_host"), Path("build/my_host")) if path.exists())
    subprocess.run([program.resolve()], check=True, env=variables)
    check_trace(row, program.resolve(), project, prepared, variables)
    dynamic = subprocess.run(["readelf", "-dW", program], check=True, capture_output=True, text=True).stdout
    needed = re.findall(r"NEEDED.*\[(.*)\]", dynamic)
    ours = [name for name in needed if name.startswith("liborva-classloader.so")]
    if len(ours) != (row["library"] == "shared"):
        sys.exit(f"the {row['library']} library is linked, but the program needs {needed}")
    if any(name.startswith("libresolv") for name in needed):
        sys.exit("the program needs libresolv: --as-needed has no effect on the libraries after ours")


def main():
    project, prepared, test = Path(sys.argv[1]), Path(sys.argv[2]), sys.argv[3]
    row = row_of(project / PAGE, test)
    variables = environment(project, prepared)
    with tempfile.TemporaryDirectory() as work:
        fill(work, project, prepared, row)
        os.chdir(work)
        print(f"$ {row['recipe']}", flush=True)
        subprocess.run(["bash", "-euo", "pipefail", "-c", row["recipe"]], check=True, env=variables)
        check(row, project, prepared, variables)


if __name__ == "__main__":
    main()
