"""Reads what the benchmark programs wrote: the medians of Google Benchmark's JSON."""

import json
import math
import re
import statistics
from pathlib import Path

NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


class Results:
    """The medians of all programs of one run, by the names of the benchmarks ("lookup/floor/10000")."""

    def __init__(self, files):
        self._medians = {}
        for file in files:
            document = json.loads(Path(file).read_text(encoding="utf-8"))
            self.context = document["context"]
            for each in document["benchmarks"]:
                if each.get("aggregate_name") == "median":
                    self._medians[re.sub(r"/(manual_time|iterations:\d+)", "", each["run_name"])] = each

    def nanoseconds(self, name):
        """Processor time, to which other processes add nothing; wall-clock time if a benchmark measures that itself."""
        each = self._medians[name]
        clock = "real_time" if each["run_name"].endswith("/manual_time") else "cpu_time"
        return each[clock] * NANOSECONDS[each["time_unit"]]

    def counter(self, name, counter):
        return self._medians[name][counter]

    def sizes(self, family):
        """The sizes that a family was run with, in ascending order."""
        found = (re.fullmatch(re.escape(family) + r"/(\d+)", name) for name in self._medians)
        return sorted(int(match.group(1)) for match in found if match)

    def exponent(self, family, least=1_000):
        """The power of the size that the times grow with: the slope of a line through their logarithms."""
        sizes = [size for size in self.sizes(family) if size >= least]
        times = [self.nanoseconds(f"{family}/{size}") for size in sizes]
        return statistics.linear_regression([math.log(x) for x in sizes], [math.log(y) for y in times]).slope
