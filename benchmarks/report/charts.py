"""Draws the page's charts with gnuplot, and leaves everything else to its defaults."""

import subprocess

# One chart for each subject: its file, its title, what an element is, and the families that it compares.
CHARTS = [
    ("registered-lookup", "Looking up a registered type", "type",
     [("lookup/full_name", "by full name"), ("lookup/short_name", "by short name"), ("lookup/floor", "floor")]),
    ("generic-walk", "Walking the type table for a generic name", "record",
     [("walk_common_ending/library", "6 common last bytes"), ("walk_12_common_bytes/library", "12 common first bytes"),
      ("walk_no_common_prefix/library", "no common prefix"), ("walk_no_common_prefix/floor", "floor")]),
    ("package-loading", "Loading a package, but for its sources", "file",
     [("package/library", "here"), ("package/floor", "floor")]),
    ("string-list", "Turning a list into strings", "element",
     [("list/library", "here"), ("list/floor", "floor")]),
    ("mutex", "Holding the mutex of the type table", "record",
     [("mutex_held/library", "here"), ("mutex_held/floor", "floor")]),
]

SETTINGS = """
set terminal svg size 720,400 font 'sans-serif,13' background rgb 'white'
set logscale x
set format x '10^{%T}'
set grid
set key outside right
set yrange [0:]
"""


def _block(name, points):
    return f"${name} << END\n" + "\n".join(f"{x} {y}" for x, y in points) + "\nEND\n"


def draw_lines(file, title, x_label, y_label, lines, settings=""):
    """Draws one chart of lines: pairs of a title and its points."""
    blocks = "".join(_block(f"line{i}", points) for i, (_, points) in enumerate(lines))
    plots = ", ".join(f"$line{i} with linespoints linewidth 2 title '{each}' noenhanced"
                      for i, (each, _) in enumerate(lines))
    script = (f"{SETTINGS}{settings}set output '{file}'\nset title '{title}'\nset xlabel '{x_label}'\n"
              f"set ylabel '{y_label}'\n{blocks}plot {plots}\n")
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def draw(results, folder):
    for file, title, element, families in CHARTS:
        lines = [(name, [(size, results.nanoseconds(f"{family}/{size}") / size)
                         for size in results.sizes(family) if size > 0]) for family, name in families]
        draw_lines(folder / f"{file}.svg", title, f"{element}s", f"nanoseconds for each {element}", lines)
