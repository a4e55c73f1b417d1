#!/usr/bin/env python3
"""Prints the table of ratios, and writes the page about speed and its charts.

Usage: report.py RESULTS PAGE CHARTS
RESULTS is the folder with library.json, host.json, instructions.txt and compiler.txt of one run; CHARTS is the folder
of the page's charts, which also contains the results of the peers.
"""

import json
import string
import sys
from pathlib import Path

import charts
import peers
from machine import processor
from results import Results

# What is compared, with what, and the highest ratio that is allowed. A call without a floor ran in turns with its
# floor, and reports it itself.
TARGETS = [
    ("Registered lookup by full name, real names", "real_lookup/full_name", "real_lookup/floor", 1.15),
    ("Registered lookup by short name, real names", "real_lookup/short_name", "real_lookup/floor", 1.45),
    ("Generic walk, real names", "real_walk/library", "real_walk/floor", 4.0),
    ("Registered lookup by full name, 10,000 made-up names", "lookup/full_name/10000", "lookup/floor/10000", 1.7),
    ("Registered lookup by short name, 10,000 made-up names", "lookup/short_name/10000", "lookup/floor/10000", 1.9),
    ("Generic walk, no common prefix, 10,000 records", "walk_no_common_prefix/library/10000",
     "walk_no_common_prefix/floor/10000", 8.0),
    ("Generic walk, 12 common bytes, 10,000 records", "walk_12_common_bytes/library/10000",
     "walk_12_common_bytes/floor/10000", 16.0),
    ("Generic walk, 6 common last bytes, 10,000 records", "walk_common_ending/library/10000",
     "walk_common_ending/floor/10000", 16.0),
    ("Generic walk, names as long as the key, 10,000 records", "walk_equal_length/library/10000",
     "walk_equal_length/floor/10000", 8.0),
    ("Package of 10,000 files", "package/library/10000", "package/floor/10000", 1.3),
    ("String list of 10,000 elements", "list/library/10000", "list/floor/10000", None),
    ("SystemClassLoader.loadClass", "load_class/library", "load_class/floor", None),
    ("ClassLoader.objectAbiVersion", "object_abi_version/library", "object_abi_version/floor", None),
]
HOST_TARGETS = [
    ("Start, to the first line of main, beside an empty program", "start", None, 2.0),
    ("A class from source, beside ORC", "class_from_source", None, 1.2),
    ("A class from an object, beside ORC", "class_from_object", None, 1.2),
    ("1,000 calls of a native, beside indirect calls", "native_call/here", "native_call/floor", None),
    ("1,000 sources on all cores, beside one", "precompile/all_cores", "precompile/one_core", None),
    ("A class below the last of 1,000 roots, beside stat", "class_path/1000_roots_last",
     "class_path/1000_roots_stat", None),
    ("A class that is below none of 1,000 roots, beside stat", "class_path/1000_roots_missing",
     "class_path/1000_roots_stat", None),
    ("Adding 1,000 roots, beside 100", "class_path/add_roots/1000", "class_path/add_roots/100", None),
    ("A source of 8,000 methods, beside one of 4,000", "large_source/8000_methods", "large_source/4000_methods", 2.5),
    ("An object of 8,000 methods, beside one of 4,000", "large_object/8000_methods", "large_object/4000_methods", 2.5),
    ("A source of 600 classes, beside one of 300", "large_source/600_classes", "large_source/300_classes", None),
    ("An object of 600 classes, beside one of 300", "large_object/600_classes", "large_object/300_classes", None),
    ("1,000,000 types: registering, beside a hash table", "registry/1000000_add", "registry/1000000_add_floor", None),
    ("1,000,000 types: reading all names, beside a list", "registry/1000000_scan", "registry/1000000_scan_floor", None),
    ("1,000,000 types: finding one, beside a hash table", "registry/1000000_find", "registry/1000000_find_floor", None),
]

# Families that grow with their size: title, the call, its floor.
FAMILIES = [
    ("Registered lookup by full name", "lookup/full_name", "lookup/floor"),
    ("Registered lookup by short name", "lookup/short_name", "lookup/floor"),
    ("Generic walk, no common prefix", "walk_no_common_prefix/library", "walk_no_common_prefix/floor"),
    ("Generic walk, 12 common bytes", "walk_12_common_bytes/library", "walk_12_common_bytes/floor"),
    ("Generic walk, 6 common last bytes", "walk_common_ending/library", "walk_common_ending/floor"),
    ("Package loading", "package/library", "package/floor"),
    ("String list", "list/library", "list/floor"),
]


def table(header, rows, texts=1):
    """A Markdown table; columns after the first ones, which hold texts, are aligned to the right."""
    lines = [header, ["---"] * texts + ["---:"] * (len(header) - texts), *rows]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def time_text(nanoseconds):
    for unit, factor in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= factor * 0.9995:
            return f"{nanoseconds / factor:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def target_rows(results, targets):
    rows = []
    for title, call, floor, most in targets:
        here = results.nanoseconds(call)
        least = results.nanoseconds(floor) if floor else results.counter(call, "floor_ns")
        ratio = here / least
        verdict = "" if most is None else "met" if ratio <= most else "**missed**"
        rows.append([title, time_text(least), time_text(here), f"{ratio:.2f}", f"{most}" if most else "", verdict])
    return rows


TARGET_HEADER = ["what", "floor", "here", "here ÷ floor", "target", ""]
TRACING_HEADER = ["what", "alone", "traced", "added", "at most", ""]


def growth_table(results):
    rows = []
    for title, call, floor in FAMILIES:
        for size in results.sizes(call):
            here, least = results.nanoseconds(f"{call}/{size}"), results.nanoseconds(f"{floor}/{size}")
            rows.append([title, f"{size:,}", time_text(least), time_text(here), f"{here / least:.2f}",
                         f"{results.counter(f'{call}/{size}', 'allocations'):.0f}",
                         f"{results.counter(f'{call}/{size}', 'bytes'):,.0f}"])
    return table(["what", "size", "floor", "here", "here ÷ floor", "allocations", "bytes"], rows)


def exponent_table(results):
    rows = [[title, f"{results.exponent(call):.2f}", f"{results.exponent(floor):.2f}"]
            for title, call, floor in FAMILIES]
    return table(["what", "here", "floor"], rows)


def tracing_rows(folder):
    rows = [line.split("\t") for line in (folder / "tracing.tsv").read_text(encoding="utf-8").splitlines()]
    return [[*row[:-1], row[-1].replace("missed", "**missed**")] for row in rows]


def lookup_allocations(results):
    """The most allocations that a lookup of a registered type makes."""
    sized = [f"{call}/{size}" for call in ("lookup/full_name", "lookup/short_name") for size in results.sizes(call)]
    return max(results.counter(name, "allocations")
               for name in [*sized, "real_lookup/full_name", "real_lookup/short_name"])


def mutex_tables(results):
    held = [[f"{size:,}", time_text(results.nanoseconds(f"mutex_held/floor/{size}")),
             time_text(results.nanoseconds(f"mutex_held/library/{size}"))]
            for size in results.sizes("mutex_held/library")]
    waits = []
    for size in results.sizes("mutex_wait/library"):
        for who in ("floor", "library"):
            name = f"mutex_wait/{who}/{size}"
            waits.append([f"{size:,} records, {who}", time_text(results.counter(name, "median_ns")),
                          time_text(results.counter(name, "p99_ns"))])
    return table(["records", "held by the floor", "held by the library"], held), \
        table(["while another thread looks up among", "half of the waits are below", "99 of 100 are below"], waits)


def machine_text(context, compiler):
    return f"{processor()}, {context['num_cpus']} cores, {compiler}, {context['date'][:10]}"


def peers_text(chart_folder):
    """The part about peers, from the last run that measured them; nothing before the first one."""
    file = chart_folder / "peers.json"
    if not file.exists():
        return ""
    document = json.loads(file.read_text(encoding="utf-8"))
    peers.draw(document, chart_folder)
    return fill("peers.md.in", versions=peers.versions_text(document), machine=peers.machine_text(document),
                crossings=peers.crossings(document),
                **{job: peers.job_table(document, job, table, time_text) for job in peers.JOBS})


def fill(template, **words):
    text = (Path(__file__).parent / template).read_text(encoding="utf-8")
    return string.Template(text).substitute(words)


def main(folder, page, chart_folder):
    results = Results(sorted(folder.glob("*.json")))
    compiler = (folder / "compiler.txt").read_text(encoding="utf-8").strip()
    chart_folder.mkdir(parents=True, exist_ok=True)
    charts.draw(results, chart_folder)
    library, host = target_rows(results, TARGETS), target_rows(results, HOST_TARGETS)
    tracing = tracing_rows(folder)
    held, waits = mutex_tables(results)
    page.write_text(fill(
        "performance.md.in", machine=machine_text(results.context, compiler), targets=table(TARGET_HEADER, library),
        real_types=f"{results.counter('real_lookup/floor', 'types'):,.0f}",
        real_generic=f"{results.counter('real_lookup/floor', 'generic'):,.0f}",
        real_orders=f"{results.counter('real_lookup/floor', 'orders'):.0f}",
        real_keys=f"{results.counter('real_walk/library', 'names'):.0f}",
        walk_names=time_text(results.nanoseconds("walk_names/floor/10000")),
        lookup_allocations=f"{lookup_allocations(results):.0f}", growth=growth_table(results),
        exponents=exponent_table(results), held=held, waits=waits,
        instructions=(folder / "instructions.txt").read_text(encoding="utf-8").rstrip(),
        host=table(TARGET_HEADER, host), tracing=table(TRACING_HEADER, tracing),
        memory_source=f"{results.counter('type_memory/from_source', 'bytes_per_type'):,.0f}",
        memory_object=f"{results.counter('type_memory/from_object', 'bytes_per_type'):,.0f}",
        peers=peers_text(chart_folder)), encoding="utf-8")
    width = max(len(row[0]) for row in library + host)
    for row in [TARGET_HEADER, *library, *host, TRACING_HEADER, *tracing]:
        print(f"{row[0]:<{width}} {row[1]:>9} {row[2]:>9} {row[3]:>12} {row[4]:>7} {row[5].strip('*')}".rstrip())


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    main(*map(Path, sys.argv[1:]))
