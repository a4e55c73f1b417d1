"""Reads a page of Markdown for tests: its fenced blocks, headings, links and inline code, each with its line."""

import re
from collections import Counter
from dataclasses import dataclass
from pathlib import Path

from markdown_it import MarkdownIt

MARKER = re.compile(r"<!--\s*(from|file|append|tested by|prints)(?::\s*(.*?))?\s*-->")
# The parser does not parse raw HTML.
HTML_LINK = re.compile(r"""<(?:a|img)\b[^>]*?\b(?:href|src)\s*=\s*["']([^"']*)""")

# The parser leaves an undefined reference in the text.
UNDEFINED = re.compile(r"\[[^\[\]]+\]\[[^\[\]]*\]")


@dataclass
class Block:
    """A fenced block: `markers` are the comments directly before it, `answers` the `sh` block whose output it shows."""

    line: int  # of its first line of text
    language: str
    text: str
    markers: dict
    sections: list  # the headings above it, outermost first
    answers: "Block | None" = None

    def is_commands(self):
        """Tells whether the reader types it; a script that is written to a file is not typed."""
        return self.language == "sh" and not {"file", "append"} & self.markers.keys()


class Page:
    """Reads `path`; `name` is its name in messages."""

    def __init__(self, path, name=None):
        self.path = Path(path)
        self.name = str(name or path)
        self.blocks, self.headings, self.links, self.undefined, self.codes = [], [], [], [], []
        self._sections, self._markers, self._command, self._is_adjacent = [], {}, None, False
        text = self.path.read_text(encoding="utf-8")
        self._lines = text.split("\n")
        tokens = MarkdownIt("commonmark").enable("table").parse(text)
        for token, following in zip(tokens, tokens[1:] + [None]):
            self._take(token, following)

    def _take(self, token, following):
        if token.type == "fence":
            self._add_block(token)
        elif token.type == "html_block":
            self._read_html(token)
        else:
            self._markers = {}
            if token.type == "heading_open":
                self._open_section(token, following)
            elif token.type == "inline":
                self._read_inline(token)

    def _add_block(self, token):
        block = Block(token.map[0] + 2, token.info.strip(), token.content, self._markers, list(self._sections))
        if block.language == "text" and ("prints" in block.markers or self._is_adjacent and not block.markers):
            block.answers, self._command = self._command, None
        self._is_adjacent = block.is_commands()
        if block.is_commands():
            self._command = block
        self.blocks.append(block)
        self._markers = {}

    def _read_html(self, token):
        self.links += [(token.map[0] + 1, link) for link in HTML_LINK.findall(token.content)]
        for kind, value in MARKER.findall(token.content):
            self._markers[kind] = value

    def _open_section(self, token, inline):
        level = int(token.tag[1:])
        title = "".join(child.content for child in inline.children if child.type in ("text", "code_inline"))
        self._sections = self._sections[: level - 1] + [title]
        self.headings.append(title)
        self._command = None

    def _read_inline(self, token):
        self._is_adjacent = False
        first, end = token.map
        text, at = "\n".join(self._lines[first:end]), 0
        for child in token.children:
            kind, shown = self._kind_and_text(child)
            if kind is None:
                continue
            # The parser joins lines, so the line is searched for; a reference's target is in another place.
            found = re.compile(r"\s+".join(map(re.escape, shown.split()))).search(text, at)
            at = found.start() if found else at
            kind.append((first + 1 + text.count("\n", 0, at), shown))
        plain = "".join(child.content for child in token.children if child.type != "code_inline")
        self.undefined += [(first + 1, name) for name in UNDEFINED.findall(plain)]

    def _kind_and_text(self, child):
        if child.type == "code_inline":
            return self.codes, child.content
        if child.type == "link_open":
            return self.links, child.attrs["href"]
        if child.type == "image":
            return self.links, child.attrs["src"]
        link = HTML_LINK.search(child.content) if child.type == "html_inline" else None
        return (self.links, link[1]) if link else (None, None)

    def anchors(self):
        """What `#…` may name: the headings in lower case, without punctuation, with hyphens for spaces, made unique."""
        found, seen = [], Counter()
        for heading in self.headings:
            slug = re.sub(r"[^\w\- ]", "", heading.strip().lower()).replace(" ", "-")
            found.append(f"{slug}-{seen[slug]}" if seen[slug] else slug)
            seen[slug] += 1
        return found
