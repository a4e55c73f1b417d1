#!/usr/bin/python3 -B
"""Checks every link, block and command of the project's pages, and reports each problem as page:line.

A fenced block is covered if it is an excerpt (`<!-- from: FILE -->`: a contiguous run of lines of that file), if a test
follows its page, if a test compares it (`<!-- tested by: SCRIPT -->`), or if it is a command of the project itself.
Links to other hosts are listed but not fetched.
"""

import argparse
import re
import sys
from pathlib import Path
from urllib.parse import unquote

from commands import Commands, Unknown
from page import Page

LANGUAGES = {"sh", "cpp", "c", "cmake", "make", "text", "mermaid", "orva"}


class Checker:
    def __init__(self, project, build, followed):
        self.project = project.resolve()
        names = sorted([*self.project.glob("*.md"), *self.project.glob("docs/*.md")])
        self.pages = {path: Page(path, path.relative_to(self.project)) for path in names}
        self.commands = Commands(self.project, build)
        self.followed = set(followed)
        self.problems = []

    def check(self):
        for name in self.followed - {page.name for page in self.pages.values()}:
            self.problems.append(f"{name}: a test follows this page, but there is no such page")
        for page in self.pages.values():
            for line, link in page.links:
                self.check_link(page, line, link)
            for line, name in page.undefined:
                self.report(page, line, f"the reference {name} is defined nowhere")
            for block in page.blocks:
                self.check_block(page, block)
            for line, code in page.codes:
                if self.commands.is_own(code):
                    self.check_command(page, line, code)
        self.check_words_are_listed()

    def report(self, page, line, problem):
        self.problems.append(f"{page.name}:{line}: {problem}")

    def check_link(self, page, line, link):
        if re.match(r"[a-z]+:", link):
            print(f"{page.name}:{line}: not fetched: {link}")
            return
        path, _, anchor = unquote(link).partition("#")
        target = (page.path.parent / path).resolve() if path else page.path
        if not target.exists() or self.project not in target.parents:
            self.report(page, line, f"the link '{link}' leads to no file of the project")
        elif anchor and anchor not in self.anchors_of(target):
            self.report(page, line, f"the link '{link}' leads to no heading of {target.relative_to(self.project)}")

    def anchors_of(self, target):
        page = self.pages.get(target) or (Page(target) if target.suffix == ".md" else None)
        return page.anchors() if page else []

    def check_block(self, page, block):
        if block.language not in LANGUAGES:
            self.report(page, block.line, f"the block's language is '{block.language}', not one of {sorted(LANGUAGES)}")
        elif "from" in block.markers:
            self.check_excerpt(page, block, block.markers["from"])
        elif "tested by" in block.markers:
            if not (self.project / "tests" / "docs" / block.markers["tested by"]).is_file():
                self.report(page, block.line, f"there is no test tests/docs/{block.markers['tested by']}")
        elif block.is_commands() and page.name not in self.followed:
            self.check_commands(page, block)
        elif not self.is_followed(page, block) and block.language != "mermaid":
            self.report(page, block.line, "nothing tests this block")

    def is_followed(self, page, block):
        is_used = block.is_commands() or block.answers or {"file", "append"} & block.markers.keys()
        return page.name in self.followed and is_used

    def check_excerpt(self, page, block, name):
        path = self.project / name
        if not path.is_file():
            self.report(page, block.line, f"there is no file {name} to show an excerpt of")
            return
        shown, there = block.text.splitlines(), path.read_text(encoding="utf-8").splitlines()
        same = max(common_lines(shown, there[start:]) for start in range(len(there) or 1))
        if same < len(shown):
            self.report(page, block.line + same, f"this line of the excerpt of {name} differs: {shown[same]}")

    def check_commands(self, page, block):
        # A backslash continues a line.
        text = re.sub(r"\\\n", lambda _: "\0", block.text)
        line = block.line
        for command in text.splitlines():
            self.check_command(page, line, command.replace("\0", " "))
            line += 1 + command.count("\0")

    def check_command(self, page, line, text):
        try:
            self.commands.check(text)
        except (Unknown, ValueError) as problem:
            self.report(page, line, f"{problem}, in: {text.strip()}")

    def check_words_are_listed(self):
        page = self.pages.get(self.project / "CONTRIBUTING.md")
        listed = {code for _, code in page.codes} if page else set()
        for synopsis in self.commands.synopses:
            if page and synopsis not in listed:
                self.report(page, 1, f"does not mention `{synopsis}`")


def common_lines(some, others):
    count = 0
    while count < min(len(some), len(others)) and some[count] == others[count]:
        count += 1
    return count


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("project", metavar="PROJECT", type=Path)
    parser.add_argument("build", metavar="BUILD", type=Path, help="a build tree of the project, with its host")
    parser.add_argument("--followed", metavar="PAGE", nargs="*", default=[], help="pages that a test follows")
    options = parser.parse_args()
    checker = Checker(options.project, options.build, options.followed)
    checker.check()
    pages = checker.pages.values()
    print(f"{len(pages)} pages, {sum(len(page.links) for page in pages)} links, "
          f"{sum(len(page.blocks) for page in pages)} blocks, {len(checker.problems)} problems")
    sys.exit("\n".join(checker.problems) or 0)


if __name__ == "__main__":
    main()
