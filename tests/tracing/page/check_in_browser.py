#!/usr/bin/python3 -B
"""Uses the page as people do, by mouse and by keyboard, in headless chromium. Prints how long a large trace takes;
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
    """The page in the browser, and its contents."""

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
        """The place of the selected event in the timeline."""
        return self.value("(box => [box.x + (xOf(chosen.begin) + xOf(chosen.end)) / 2, "
                          "box.y + laneTop(chosen) - view.top + 8])(at('chart').getBoundingClientRect())")

    def pixels(self, x, y, width, height):
        """The colours of a part of the timeline, as CSS writes them."""
        # The page's own canvas stays on the graphics card.
        numbers = self.value(f"""(copy => {{
          copy.drawImage(at('chart'), 0, 0);
          return [...copy.getImageData({x}, {y}, {width}, {height}).data];
        }})(new OffscreenCanvas(view.width, view.height).getContext('2d', {{willReadFrequently: true}}))""")
        return [f"rgb({red}, {green}, {blue})" for red, green, blue in zip(*(numbers[i::4] for i in range(3)))]


def check_start(page):
    check(page.text("#next-miss") == "Next miss (4)", f"the page counts {page.text('#next-miss')}")
    notes = page.text("#notes").splitlines()
    check(len(notes) == 2 and notes[0].startswith("/opt/shop/bin/shop: 2 references"), f"the notes are {notes}")
    processes = page.value("nodes.filter(({depth}) => depth === 0).map(({name}) => name)")
    check(processes == ["/opt/shop/bin/shop (process 4711)", "/opt/shop/bin/shop (process 4800, forked)",
                        "/opt/shop/bin/stock (process 4900)"], f"the processes are {processes}")
    check(page.value("document.title") == f"What loading did: {processes[0]}", "the title does not name the process")
    shown = page.value("[0, 999, 1000, 12345, 999999, 1234567, 2.5e9, 3.6e12].map(durationText)")
    check(shown == ["0 ns", "999 ns", "1 µs", "12.3 µs", "1000 µs", "1.23 ms", "2.5 s", "3600 s"], f"times are {shown}")


def check_misses(page):
    """Each has a mark beside the colour, and an explanation."""
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
    page.value("at('tree').focus()")
    page.press("Enter")
    check(page.span() < 600, f"the timeline shows {page.span()} ns for an event of 430 ns")
    x, y, mark = page.value("[xOf(chosen.begin), laneTop(chosen) - view.top, chosen.thread.top - view.top + 19]")
    colour = page.value("getComputedStyle(document.querySelector('#details .mark')).color")
    check(colour in page.pixels(x + 4, y + 4, 100, 12), "the bar of a miss has no hatching")
    check(colour in page.pixels(x - 5, mark, 10, 10), "no triangle marks a miss")
    page.press("m")
    left, right = page.value("[xOf(chosen.end), view.width - xOf(chosen.begin)]")
    check(left > 0 and right > 0, "the timeline does not move to the next miss")


def check_search(page):
    """In names, arguments and sentences, ignoring case, and wrapping around at both ends."""
    page.value("select(nodes[0])")
    page.press("/")
    page.type(") = 0x5500")
    check(page.text("#matches") == "6 found", f"the search says {page.text('#matches')!r}")
    page.press("Enter")
    check(page.chosen() == 'ClassLoader.getTypeByName("shop.Item") = 0x5500', f"the search finds {page.chosen()}")
    check("found" in page.value("document.querySelector('[aria-selected=true]').className"), "the match is not marked")
    page.press_button("#next")
    check("Orva_typeByName" in page.chosen() and page.text("#matches") == "2 of 6", f"the next is {page.chosen()}")
    page.press_button("#previous")
    check("ClassLoader" in page.chosen() and page.text("#matches") == "1 of 6", f"the one before is {page.chosen()}")
    page.value("at('query').focus()")
    page.press("Enter", shift=True)
    check("stock.Shelf" in page.chosen() and page.text("#matches") == "6 of 6", f"the last match is {page.chosen()}")
    check("6.160 µs after the start" in page.text("#details"), f"another program's call: {page.text('#details')!r}")
    for words, found in (("HOLDS NO SOURCE", "2 found"), ("nowhere", "no found"), ("4800", "2 found")):
        page.value("at('query').select()")
        page.type(words)
        check(page.text("#matches") == found, f"of {words!r}, the search says {page.text('#matches')!r}")


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
    under = "timeAt(view.width / 4)"
    before = page.value(under)
    page.wheel(page.value("at('chart').getBoundingClientRect().x + view.width / 4"), y, -300)
    check(page.span() < whole, "the wheel does not zoom")
    check(abs(page.value(under) - before) < whole / 100, "the wheel zooms to another place than the pointer's")
    before = page.text("#range")
    page.drag((x, y), (x - 50, y))
    check(page.text("#range") != before and page.span() < whole, "dragging does not move")
    before = page.text("#range")
    page.value("at('chart').focus()")
    page.press("ArrowLeft")
    check(page.text("#range") != before, "the arrow keys do not move")


def check_axis(page):
    """It has a few ticks at every zoom."""
    page.press("0")
    colour, width = page.value("[getComputedStyle(document.querySelector('footer')).color, view.width]")
    for _ in range(12):
        ticks = page.pixels(0, 1, width, 1).count(colour)
        check(2 <= ticks <= width / 50, f"the axis has {ticks} ticks for {page.text('#range')}")
        page.press("+")
    page.press("0")


def check_selection_by_mouse(page):
    """The same event is selected in the tree and in the timeline."""
    page.press("0")
    page.press("m")
    wanted, place = page.chosen(), page.place_of_chosen()
    page.press_button("#node-0")
    check(page.chosen() != wanted, "a click on a row does not select it")
    page.click(*place)
    check(page.chosen() == wanted, f"a click on the bar of {wanted} selects {page.chosen()}")
    before = page.span()
    page.click(*page.place_of_chosen(), count=2)
    check(page.span() < before, "a double click does not zoom to the event")


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


def check_accessible_tree(page):
    """The roles and labels that screen readers use."""
    nodes = page.call("Accessibility.getFullAXTree")["nodes"]
    items = [node["name"]["value"] for node in nodes if node["role"]["value"] == "treeitem"]
    shown = page.value("document.querySelectorAll('.row').length")
    check(len(items) == shown and all(items), f"of {shown} rows, these are items of the tree: {items}")
    named = {node["role"]["value"] for node in nodes if node.get("name", {}).get("value")}
    nameless = {node["role"]["value"] for node in nodes} - named
    wanted = {"button", "searchbox", "tree", "treeitem", "image", "region"}
    check(wanted <= named and not wanted & nameless, f"named are {named}, and these are not: {wanted & nameless}")


def check_contrast(page):
    """Texts contrast with their background: people with weak eyes need a ratio of 4.5."""
    light = """(name => { const box = document.createElement('i'); box.style.color = `var(--${name})`;
      document.body.append(box); const parts = getComputedStyle(box).color.match(/\\d+/g).map(part => part / 255);
      box.remove();
      const [r, g, b] = parts.map(part => part <= 0.04045 ? part / 12.92 : ((part + 0.055) / 1.055) ** 2.4);
      return 0.2126 * r + 0.7152 * g + 0.0722 * b; })"""
    pairs = (("text", "page pane chosen found"), ("faint", "page pane"), ("on-bar", "native neighbour scan lock"),
             ("bad", "page bad-pane chosen found"))
    for scheme in ("light", "dark"):
        page.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        page.settle()
        painted = page.pixels(*page.value("[view.width - 1, view.height - 1]"), 1, 1)
        wanted = page.value("getComputedStyle(document.body).backgroundColor")
        check(painted == [wanted], f"{scheme}: the timeline is painted on {painted}, the page on {wanted}")
        for text, pane in ((text, pane) for text, behind in pairs for pane in behind.split()):
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
        "few": [check_start, check_misses, check_search, check_zoom, check_axis, check_selection_by_mouse,
                check_tree_by_keyboard, check_accessible_tree, check_contrast],
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
