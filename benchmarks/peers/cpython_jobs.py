"""CPython as a peer: imports."""
import importlib
import json
import os
import platform
import py_compile
import statistics
import sys
import time
import types

WARM_UP_LOADS = 20
MEASURED_LOADS = 101

SOURCE = """def number():
    return {}

def name():
    return "module"

def sum(a, b):
    return a + b

def greet(who):
    return "Hello, " + who

def is_same(a, b):
    return a == b
"""


def report(job, what, times, **more):
    line = {"job": job, "peer": "CPython", "version": platform.python_version(), "what": what, **more}
    print(json.dumps({**line, "nanoseconds": round(statistics.median(times), 1), "runs": len(times)}), flush=True)


def time_calls(call, names):
    """Measures many times what one of many calls takes."""
    rounds = max(1, 1000 // len(names))

    def call_all():
        begin = time.perf_counter_ns()
        for _ in range(rounds):
            for name in names:
                call(name)
        return (time.perf_counter_ns() - begin) / (rounds * len(names))

    call_all()
    return [call_all() for _ in range(101)]


def import_missing(name):
    try:
        importlib.import_module(name)
    except ModuleNotFoundError:
        return
    raise RuntimeError("a lookup returned a wrong result")


def find_modules(folder):
    sys.path[:] = [folder]
    for modules in (10, 1000, 100000):
        for i in range(modules):
            sys.modules.setdefault(f"peers{i}", types.ModuleType(f"peers{i}"))
        known = [f"peers{i}" for i in range(0, modules, max(1, modules // 256))]
        report("find_loaded", "importlib.import_module of a loaded module",
               time_calls(importlib.import_module, known), types=modules)
        unknown = [f"other{i}" for i in range(len(known))]
        report("find_missing", "importlib.import_module that fails, with one folder on the path",
               time_calls(import_missing, unknown), types=modules)


def write_modules(folder, prefix):
    os.makedirs(folder)
    paths = []
    for i in range(WARM_UP_LOADS + MEASURED_LOADS):
        paths.append(f"{folder}/{prefix}{i}.py")
        with open(paths[-1], "w", encoding="utf-8") as out:
            out.write(SOURCE.format(i))
    return paths


def time_loads(folder, prefix):
    sys.path[:] = [folder]
    importlib.invalidate_caches()
    times = []
    for i in range(WARM_UP_LOADS + MEASURED_LOADS):
        begin = time.perf_counter_ns()
        number = importlib.import_module(f"{prefix}{i}").number()
        times.append(time.perf_counter_ns() - begin)
        if number != i:
            raise RuntimeError("the module does not work")
    return times[WARM_UP_LOADS:]


def load_sources(folder):
    write_modules(folder, "source")
    sys.dont_write_bytecode = True
    report("load_source", "import of a new source without writing a .pyc, and a call", time_loads(folder, "source"))


def load_compiled(folder):
    for path in write_modules(folder, "compiled"):
        py_compile.compile(path, path + "c", doraise=True)
        os.remove(path)
    report("load_compiled", "import of a .pyc without a source, and a call", time_loads(folder, "compiled"))


def main(folder):
    # The loads are measured first, because a full table of modules makes garbage collections longer.
    load_sources(folder + "/sources")
    load_compiled(folder + "/compiled")
    find_modules(folder)


main(sys.argv[1])
