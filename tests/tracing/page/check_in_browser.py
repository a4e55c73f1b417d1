#!/usr/bin/python3 -B
"""Uses the page as people do, in chromium without a window: by mouse and by keyboard. Prints what a long trace costs;
asserts no time.

Usage: check_in_browser.py MAKE_PAGE
"""

import subprocess
import sys
import tempfile
from pathlib import Path

from browser import Browser

SIZES = {"ns": 1, "µs": 1e3, "ms": 1e6, "s": 1e9}
LONGEST_LIST = 200  # rows; far more than are in sight, far less than there are events


def check(is_right, what):
    if not is_right:
        sys.exit(f"check_in_browser.py: {what}")


class Viewer(Browser):
    """The page in the browser: what is on it."""

    def text(self, selector):
        return self.value(f"document.querySelector('{selector}')?.innerText ?? ''")

    def chosen(self):
        return self.text("[aria-selected=true] .label")

    def span(self):
        """How much time the timeline shows, in nanoseconds."""
        number, unit = self.text("#range").rpartition(", ")[2].split()
        return float(number) * SIZES[unit]

    def place(self, selector):
        """The middle of an element."""
        box = self.value(f"(({{x, y, width, height}}) => [x + width / 2, y + height / 2])("
                         f"document.querySelector('{selector}').getBoundingClientRect())")
        return box

    def press_button(self, selector):
        self.click(*self.place(selector))

    def place_of_chosen(self):
        """Where the timeline has the selected event."""
        return self.value("(box => [box.x + (xOf(chosen.begin) + xOf(chosen.end)) / 2, "
                          "box.y + laneTop(chosen) - view.top + 8])(at('chart').getBoundingClientRect())")

    def colours_at(self, x, y):
        """The colours of the timeline within a few pixels."""
        return self.value(f"(box => new Set(new Uint32Array(pen.getImageData({x} - box.x - 6, {y} - box.y - 8, 12, 14)"
                          ".data.buffer)).size)(at('chart').getBoundingClientRect())")


def check_start(page):
    check(page.text("#next-miss") == "4 misses", f"the page counts {page.text('#next-miss')}")
    notes = page.text("#notes").splitlines()
    check(len(notes) == 2 and notes[0].startswith("/opt/shop/bin/shop: 2 references"), f"the notes are {notes}")
    processes = page.value("[...document.querySelectorAll('.kind-process .name')].map(node => node.innerText)")
    check(processes[0] == "/opt/shop/bin/shop (process 4711)", f"the processes are {processes}")
    check(page.value("document.title") == f"What loading did: {processes[0]}", "the title names no process")


def check_misses(page):
    """Each is told by a mark beside the colour, and explained."""
    page.press("m")
    sentence = ("null: no registered type matches 'shop.Till', the class path holds no source for it, and the runtime "
                "knows no such type")
    check(page.text("#details p") == f"✗ {sentence}", f"the miss is explained by {page.text('#details p')!r}")
    check(page.chosen() == f'ClassLoader.getTypeByName("shop.Till") = null  {sentence}', f"{page.chosen()} is selected")
    check(page.text("[aria-selected=true] .mark") == "✗", "the row of a miss has no mark")
    page.press("m")
    check(page.text("#details .mark") == "!" and "'Item' is the short name of" in page.text("#details p"),
          f"the raise is explained by {page.text('#details p')!r}")
    for _ in range(3):
        page.press_button("#next-miss")
    check("shop.Till" in page.chosen(), f"after the last miss comes {page.chosen()}")
    page.press("Enter")
    page.value("at('tree').focus()")
    page.press("Enter")
    check(page.colours_at(*page.place_of_chosen()) > 3, "the timeline has no bar where the miss is")


def check_search(page):
    page.press("/")
    page.type("orva_typebyname(\"shop.item")
    check(page.text("#matches") == "2 found", f"the search says {page.text('#matches')!r}")
    page.press("Enter")
    first = page.value("document.querySelector('[aria-selected=true]').id")
    check(page.chosen() == 'Orva_typeByName("shop.Item") = 0x5500', f"the search finds {page.chosen()}")
    check("found" in page.value("document.querySelector('[aria-selected=true]').className"), "the match is not marked")
    page.press_button("#next")
    second = page.value("document.querySelector('[aria-selected=true]').id")
    check(first != second, "there is no next match")
    page.value("at('query').focus()")
    page.press("Enter", shift=True)
    check(page.value("document.querySelector('[aria-selected=true]').id") == first, "there is no previous match")
    check(page.text("#matches") in ("1 of 2", "2 of 2"), f"the search says {page.text('#matches')!r}")
    page.value("at('query').select()")
    page.type("HOLDS NO SOURCE")
    check(page.text("#matches") == "2 found", f"sentences are not searched: {page.text('#matches')!r}")
    page.value("at('query').select()")
    page.type("nowhere")
    check(page.text("#matches") == "no found", f"the search says {page.text('#matches')!r}")


def check_zoom(page):
    page.press_button("#whole")
    whole = page.span()
    page.press_button("#zoom-in")
    check(page.span() < whole, "the button does not zoom")
    page.press("0")
    check(page.span() == whole, "0 does not show all")
    page.press("+")
    nearer = page.span()
    check(nearer < whole, "+ does not zoom")
    page.press("-")
    check(page.span() > nearer, "- does not zoom out")
    x, y = page.place("#chart")
    page.wheel(x, y, -300)
    check(page.span() < whole, "the wheel does not zoom")
    before = page.text("#range")
    page.drag((x, y), (x - 50, y))
    check(page.text("#range") != before and page.span() < whole, "dragging does not move")
    before = page.text("#range")
    page.value("at('chart').focus()")
    page.press("ArrowLeft")
    check(page.text("#range") != before, "the arrow keys do not move")


def check_selection_by_mouse(page):
    """The same event is selected in the tree and in the timeline."""
    page.press("0")
    page.press("m")
    wanted, place = page.chosen(), page.place_of_chosen()
    page.press_button("#node-0")
    check(page.chosen() != wanted, "a click on a row does not select it")
    page.click(*place)
    check(page.chosen() == wanted, f"a click on the bar of {wanted} selects {page.chosen()}")


def check_tree_by_keyboard(page):
    reached = []
    page.value("document.activeElement.blur()")
    for _ in range(12):
        page.press("Tab")
        reached.append(page.value("document.activeElement.id"))
    for part in ("query", "previous", "next", "next-miss", "zoom-out", "zoom-in", "whole", "tree", "chart"):
        check(part in reached, f"the Tab key reaches {reached}, and not {part}")
    page.value("at('tree').focus()")
    page.press("Home")
    rows = page.value("rows.length")
    page.press("ArrowLeft")
    check(page.value("rows.length") < rows, "the left key does not close a row")
    check(page.value("document.querySelector('#node-0').ariaExpanded") == "false", "a closed row does not say so")
    page.press("ArrowRight")
    check(page.value("rows.length") == rows, "the right key does not open a row")
    page.press("ArrowRight")
    page.press("ArrowDown")
    active = page.value("document.getElementById(at('tree').getAttribute('aria-activedescendant'))?.ariaSelected")
    check(active == "true" and "shop.Cart" in page.chosen(), f"the keys lead to {page.chosen()}")


def check_contrast(page, scheme):
    """Texts are read on what is behind them: a ratio of 4.5 is what people with weak eyes need."""
    page.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
    page.settle()
    light = """(name => { const box = document.createElement('i'); box.style.color = `var(--${name})`;
      document.body.append(box); const parts = getComputedStyle(box).color.match(/\\d+/g).map(part => part / 255);
      box.remove();
      const [r, g, b] = parts.map(part => part <= 0.04045 ? part / 12.92 : ((part + 0.055) / 1.055) ** 2.4);
      return 0.2126 * r + 0.7152 * g + 0.0722 * b; })"""
    for text, behind in (("text", "page pane chosen found"), ("faint", "page pane"),
                         ("on-bar", "native neighbour scan lock"), ("bad", "page bad-pane chosen found")):
        for pane in behind.split():
            dark, bright = sorted(page.value(f"{light}('{name}')") for name in (text, pane))
            ratio = (bright + 0.05) / (dark + 0.05)
            check(ratio >= 4.5, f"{scheme}: {text} on {pane} has a contrast of {ratio:.2f}")


def check_long_trace(page):
    events = page.value("nodes.filter(node => node.thread).length")
    check(events == 10000, f"the page has {events} events")
    page.press("/")
    page.type("Type499")
    check(page.text("#matches") == "16 found", f"the search says {page.text('#matches')!r}")
    page.press("Enter")
    check("p1.Type499" in page.chosen(), f"the search finds {page.chosen()}")
    page.value("at('tree').focus()")
    page.press("End")
    check("p4.Type499" in page.chosen(), f"the End key leads to {page.chosen()}")
    page.press("Enter")
    check(page.span() < 2000, f"the timeline shows {page.span()} ns for an event")
    count = page.value("document.querySelectorAll('#rows *').length")
    check(0 < count < 6 * LONGEST_LIST, f"the list of calls has {count} elements")


def measure(page):
    """How long the page takes until it is painted, and what a step of the wheel costs the browser's main thread."""
    painted = page.value("performance.getEntriesByName('first-contentful-paint')[0].startTime")
    page.call("Performance.enable")
    busy = lambda: {one["name"]: one["value"] for one in page.call("Performance.getMetrics")["metrics"]}["TaskDuration"]
    page.press("0")
    x, y = page.place("#chart")
    steps, start = 40, busy()
    for number in range(steps):
        page.wheel(x, y, -120 if number < steps // 2 else 120)
    step = (busy() - start) / steps * 1e3
    print(f"10,000 events: first paint after {painted:.0f} ms, a step of the wheel takes {step:.1f} ms")


def check_hostile_names(page):
    check(page.value("document.title") == "What loading did: /opt/<img src=x onerror=alert(1)> (process 4711)",
          f"the title is {page.value('document.title')}")
    strange = page.value("document.querySelectorAll('img, script:not(#data, :last-of-type)').length")
    check(strange == 0, "a name became a part of the page")
    page.press("m")
    check("</script><script>" in page.text("#details p"), f"the first name is shown as {page.text('#details p')!r}")


def main(make_page):
    checks = {
        "few": [check_start, check_misses, check_search, check_zoom, check_selection_by_mouse, check_tree_by_keyboard,
                lambda page: check_contrast(page, "light"), lambda page: check_contrast(page, "dark")],
        "many": [check_long_trace, measure],
        "hostile": [check_hostile_names],
        "empty": [lambda page: check(page.text("#details") == "Nothing was recorded.", "an empty page looks full")],
    }
    with tempfile.TemporaryDirectory() as work, Viewer() as page:
        for kind, steps in checks.items():
            path = Path(work, f"{kind}.html")
            path.write_bytes(subprocess.run([make_page, kind], check=True, capture_output=True).stdout)
            page.open(path)
            for step in steps:
                step(page)
            check(not page.problems, f"{kind}: the console has {page.problems}")
            check(page.requests == [path.as_uri()], f"{kind}: the page asks for {page.requests}")


main(sys.argv[1])
