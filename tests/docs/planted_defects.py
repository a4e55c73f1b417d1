#!/usr/bin/python3 -B
"""Shows that the checker and the follower report what is wrong: each row is a page with one defect, and its report.

Usage: planted_defects.py PROJECT BUILD
"""

import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent

# One of each thing that is checked, all correct.
SOUND = """# A page: `x`, x & x

[above](#a-page-x-x--x), [its heading](docs/other.md#twice-1), [by reference][other], ![picture](docs/other.md)

[other]: docs/other.md

<!-- from: program.orva -->
```orva
second
third
```

`./dev test --all`, `./dev fuzz 5`, `./dev test [PRESET] [SUITE…]`, `./dev test docs`, `./dev test asan docs programs`, `cmake --preset dev && cmake --build --preset dev --target
orva-host`, `ctest --preset dev -R '^docs'`, `build/dev/bin/orva-host run FILE [--stdlib DIR]`, `-DORVA_TESTS=OFF`,
`orva-trace --summary -- shop --fly`

```sh
./dev run
ctest --preset dev \\
  -N
```
"""

# A page with one defect, and how the checker's report begins, after the page's name.
UNSOUND = [
    ("[a](docs/absent.md)", "1: the link 'docs/absent.md' leads to no file of the project"),
    ("text\n[a](../page.md)", "2: the link '../page.md' leads to no file of the project"),
    ("[a](docs/other.md#thrice)", "1: the link 'docs/other.md#thrice' leads to no heading of docs/other.md"),
    ("[a](#twice)", "1: the link '#twice' leads to no heading of PAGE"),
    ('<img src="absent.png">', "1: the link 'absent.png' leads to no file of the project"),
    ("[a][absent]", "1: the reference [a][absent] is defined nowhere"),
    ("<!-- from: program.orva -->\n```orva\nsecond\nfourth\n```",
     "4: this line of the excerpt of program.orva differs: fourth"),
    ("<!-- from: absent.orva -->\n```orva\n```", "3: there is no file absent.orva to show an excerpt of"),
    ("<!-- tested by: absent.sh -->\n```text\n```", "3: there is no test tests/docs/absent.sh"),
    ("```cobol\n```", "2: the block's language is 'cobol'"),
    ("```cpp\nint x;\n```", "2: nothing tests this block"),
    ("```sh\n./dev run\n```\n```text\nsome\n```", "5: nothing tests this block"),
    ("```sh\n./dev \\\n  run\nls\n```", "4: 'ls' is not a command of the project"),
    ("`./dev fly`", "1: ./dev has no word 'fly'"),
    ("`./dev test --some`", "1: ./dev test does not accept '--some'"),
    ("`./dev test fast`", "1: ./dev test does not accept 'fast'"),
    ("`./dev test docs fast`", "1: ./dev test does not accept 'docs fast'"),
    ("`./dev test docs asan`", "1: ./dev test does not accept 'docs asan'"),
    ("`./dev lint docs`", "1: ./dev lint does not accept 'docs'"),
    ("text `x\ny`\n`ctest --preset\nfast`", "3: there is no test preset 'fast'"),
    ("`ctest --preset dev -R '^absent'`", "1: no test matches '^absent'"),
    ("`ctest --preset dev --fly`", "1: this check does not know the option '--fly'"),
    ("`cmake --preset fast`", "1: there is no configure preset 'fast'"),
    ("`cmake --build --preset dev --target absent`", "1: there is no target 'absent'"),
    ("`-DORVA_FLY=ON`", "1: there is no CMake variable 'ORVA_FLY'"),
    ("`build/dev/tests/absent_tests`", "1: no target builds 'build/dev/tests/absent_tests'"),
    ("`orva-host run FILE --fly`", "1: orva-host has no option '--fly'"),
    ("`orva-trace --fly -- orva-host`", "1: orva-trace has no option '--fly'"),
]

# A page to follow, which the checker accepts; what the follower reports, or nothing if the page is right; and options
# of the follower.
FOLLOWED = [
    ("<!-- file: a/b -->\n```text\none\n```\n<!-- append: a/b -->\n```text\ntwo\n```\n```sh\ncd a\nexport name=b\n```\n"
     "```sh\ncat $name; echo '=   1.5 s, ABI'\n```\nprints\n\n"
     "<!-- prints -->\n```text\n…\ntwo\n= SECONDS s, ABI\n```", ""),
    ("```sh\ntrue\nfalse && true; ls absent\n```", "3: status 2 of: ls absent"),
    ("```sh\ntrue\necho $absent\n```", "2: status 1 of: true"),
    ("```sh\necho one\n```\n```text\ntwo\n```", "5: the page shows other output of: echo one"),
    ("```sh\necho 'in   12.5 µs at 0x5f'\n```\n```text\nin 3 ms at 0x7f00\n```", ""),
    ("```sh\necho 'in 12'\n```\n```text\nin 12 ms\n```", "5: the page shows other output of: "),
    ("```sh\necho 'at 7'\n```\n```text\nat 0x7\n```", "5: the page shows other output of: "),
    ("```sh\necho one; echo two\n```\n```text\none\n```", "5: the page shows other output of: "),
    ("```sh\necho one\n```\n<!-- file: a -->\n```text\ntwo\n```\n<!-- file: b -->\n```sh\nfalse\n```\n"
     "<!-- prints -->\n```text\none\n```", ""),
    ("# One\n```sh\nfalse\n```\n# Two\n## Three\n```sh\nfalse\n```", "8: status 1 of: false", "--only", "Two"),
    ("```sh\necho some\n```\n```text\nCOUNT\n```", "5: the page shows other output of: "),
]


def run(*command):
    done = subprocess.run(
        command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    return done.returncode, done.stdout


def make_project(source):
    for name in ("dev", "CMakePresets.json"):
        shutil.copy(source / name, name)
    Path("docs").mkdir()
    Path("docs/other.md").write_text("# Twice\n# Twice\n")
    Path("program.orva").write_text("first\nsecond\nthird\n")
    Path("CONTRIBUTING.md").write_text("`./dev run`")


def write_pages(kind, texts):
    names = [f"{kind}{number}.md" for number in range(len(texts))]
    for name, text in zip(names, texts):
        Path(name).write_text(text)
    return names


def is_reported(name, expected, printed):
    """Tells whether the lines about a page are the expected one alone, or none when nothing is expected."""
    lines = [line[len(name) + 1:] for line in printed.splitlines() if line.startswith(name + ":")]
    if lines[1:] == [] and bool(lines) == bool(expected) and "".join(lines).startswith(expected):
        return True
    print(f"{Path(name).read_text()}\nexpected: {expected or 'nothing'}\nprinted: {lines}\n")
    return False


def check_all(build):
    """Has the checker read all pages at once."""
    sound, unsound = write_pages("sound", [SOUND]), write_pages("unsound", [page for page, _ in UNSOUND])
    followed = write_pages("followed", [page for page, *_ in FOLLOWED])
    status, printed = run(HERE / "check_pages.py", ".", build, "--followed", *followed)
    rows = [(name, "") for name in sound + followed]
    rows += [(name, report.replace("PAGE", name)) for name, (_, report) in zip(unsound, UNSOUND)]
    results = [is_reported(name, report, printed) for name, report in rows]
    found = "does not mention `./dev lint`\n" in printed and "does not mention `./dev run`\n" not in printed
    if status == 1 and found:
        return all(results)
    print(f"expected status 1, and that CONTRIBUTING.md does not mention ./dev lint; status {status}:\n{printed}")
    return False


def follow_all():
    """Has the follower follow each page."""
    results = []
    for number, (_, report, *options) in enumerate(FOLLOWED):
        name = f"followed{number}.md"
        status, printed = run(HERE / "follow.py", name, *options)
        reported = "\n".join(line for line in printed.splitlines() if " $ " not in line and " wrote " not in line)
        results.append(is_reported(name, report, reported) and status == (1 if report else 0))
    return all(results)


def main():
    project, build = (Path(argument).resolve() for argument in sys.argv[1:])
    with tempfile.TemporaryDirectory() as work:
        os.chdir(work)
        make_project(project)
        checked, followed = check_all(build), follow_all()
    sys.exit(not (checked and followed))


if __name__ == "__main__":
    main()
