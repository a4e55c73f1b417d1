"""Formats the peers' results: a table for each job, and from how many types on an index beats the scan."""

from collections import defaultdict

import charts

HERE = "orva"
SCAN = "orva_ClassLoader_getTypeByName of a full name"
JOBS = ("find_loaded", "find_missing", "load_source", "load_compiled")
# The sizes that the tables of lookups show; the chart shows all.
SHOWN = (10, 100, 1_000, 10_000, 100_000)


def versions_text(document):
    found = ", ".join(f"{each['peer']} {each['version']}" for each in document["peers"])
    missing = ", ".join(f"{each['peer']} (package {each['package']})" for each in document["missing"])
    return found + (f"; left out: {missing}" if missing else "")


def machine_text(document):
    machine = document["machine"]
    return f"{machine['cpu']}, {machine['cores']} cores, Linux {machine['kernel']}"


def times_of(document, job):
    """The times of a job by who does it and how, and by the number of types (None where that does not matter)."""
    times = defaultdict(dict)
    for each in document["results"]:
        if each["job"] == job:
            times[each["peer"], each["what"]][each.get("types")] = each["nanoseconds"]
    return times


def job_table(document, job, table, time_text):
    times = times_of(document, job)
    if job.startswith("load"):
        return table(["who", "what", "time"],
                     [[peer, what, time_text(found[None])] for (peer, what), found in times.items()], texts=2)
    rows = [[peer, what, *(time_text(found[size]) if size in found else "" for size in SHOWN)]
            for (peer, what), found in times.items()]
    return table(["who", "what", *(f"{size:,} types" for size in SHOWN)], rows, texts=2)


def crossings(document):
    """For each peer that looks types up: the smallest measured number of types with which it beat the scan."""
    times = dict(times_of(document, "find_loaded"))
    scan = times[HERE, SCAN]
    lines = []
    for (peer, what), found in times.items():
        if peer == HERE:
            continue
        # A peer that was measured with few sizes hardly depends on the size.
        typical = max(found.values())
        slower = [size for size in sorted(scan) if scan[size] > found.get(size, typical)]
        lines.append(f"- {peer}, {what}: " + (f"{slower[0]:,}" if slower else "none"))
    return "\n".join(lines)


def draw(document, folder):
    lines = [(peer if peer != HERE else what, sorted(found.items()))
             for (peer, what), found in times_of(document, "find_loaded").items()]
    charts.draw_lines(folder / "peers.svg", "Finding a type that is loaded, by its name", "types", "nanoseconds", lines,
                      "set logscale y\nset format y '10^{%T}'\nset yrange [10:]\nset key below vertical maxrows 4\n")
