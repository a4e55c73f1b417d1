#!/usr/bin/python3 -B
"""Parses pages as a browser would: they load nothing, and no name can end the JSON that contains it.

Usage: check_page.py MAKE_PAGE
"""

import json
import re
import subprocess
import sys
import unicodedata
from html.parser import HTMLParser


class Page(HTMLParser):
    """What a page consists of: its elements' attributes, and the text of each script and style."""

    def __init__(self, text):
        super().__init__()
        self.attributes, self.texts, self.inside = [], [], None
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        self.attributes += attributes
        self.inside = tag
        if tag in ("script", "style", "title"):
            self.texts.append((tag, ""))

    def handle_endtag(self, tag):
        self.inside = None

    def handle_data(self, data):
        if self.inside in ("script", "style", "title"):
            self.texts[-1] = (self.inside, self.texts[-1][1] + data)


def check(is_right, what):
    if not is_right:
        sys.exit(f"check_page.py: {what}")


def strings(value):
    if isinstance(value, str):
        yield value
    elif isinstance(value, (list, dict)):
        for part in value.values() if isinstance(value, dict) else value:
            yield from strings(part)


def traces(make_page, kind):
    """Checks what holds for each page, and returns its traces."""
    output = subprocess.run([make_page, kind], check=True, capture_output=True).stdout.decode()
    page = Page(output)
    check([tag for tag, _ in page.texts] == ["title", "style", "script", "script"], f"{kind}: {page.texts}")
    title, style, data, script = (text for _, text in page.texts)
    check(title == "What loading did", f"{kind}: the title is {title!r}")
    asking = [name for name, _ in page.attributes if name in ("src", "srcset", "href", "action", "data", "background")]
    check(not asking, f"{kind}: elements ask for {asking}")
    check("default-src 'none'" in dict(page.attributes).get("content", ""), f"{kind}: the page may ask for more")
    found = re.findall(r"url\(|@import|\bimport\b|\bfetch\b|https?:", style + script)
    check(not found, f"{kind}: the style or the script asks for more: {found}")
    check("<" not in data, f"{kind}: the data may end its script")
    return json.loads(data)


def events(trace):
    return [event for thread in trace["threads"] for event in thread["events"]]


def check_hostile_names(make_page):
    (trace,) = traces(make_page, "hostile")
    unsafe = sorted({character for text in strings(trace) for character in text
                     if unicodedata.category(character) in ("Cc", "Cf", "Cs", "Zl", "Zp")})
    check(not unsafe, f"characters that nobody sees reach the page: {unsafe}")
    command = "'</script>' 'two words' $'\\xFF'"
    check(trace["command"] == command, f"the command is shown as {trace['command']}")
    lines = [event["line"] for event in events(trace) if event["depth"] == 0]
    check(len(set(lines)) == len(lines), "two names look the same")
    for name in ["</script><script>document.title='broken'</script>", "<!--<script>", "&lt;b&gt;&amp;", "é😀",
                 "\\\"\\\\'`${1}",
                 "@page.js@", "\\xC0\\xAF", "\\xED\\xA0\\x80", "\\u2028line\\u2029", "byte A", "byte \\xFF"]:
        line = f'ClassLoader.getTypeByName("{name}") = null'
        check(line in lines, f"no event is shown as {line}")


def check_one_of_everything(make_page):
    first, second = traces(make_page, "few")
    check(second["start"] - first["start"] == 5000, "the second program starts at another time")
    states = [(event["state"], bool(event["sentence"])) for event in events(first) if event["kind"] == "native"]
    expected = [("done", False), ("done", False), ("null", True), ("raised", True), ("done", False), ("raised", True),
                ("open", False), ("done", False), ("null", True), ("done", False)]
    check(states == expected, f"the natives are {states}")
    check({event["kind"] for event in events(first)} == {"native", "neighbour", "scan", "lock"}, "a kind is missing")


def main(make_page):
    check_one_of_everything(make_page)
    check_hostile_names(make_page)
    check(len(events(traces(make_page, "many")[0])) == 10000, "the long trace does not have 10,000 events")
    check(traces(make_page, "empty") == [], "the empty page contains traces")


main(sys.argv[1])
