#!/usr/bin/python3 -B
"""Runs a program with a trace, and checks every explanation in it against the events that were recorded. Each native
must have ended. Each that returned null, raised or let an exception out must have exactly one sentence of the table,
and no other native may have one. What the sentence claims must be true.

Usage: check_explanations.py EXPLAINED_TRACES SENTENCES CALLS FEWEST RECORDER AUDIT PROGRAM [ARGUMENT…]

At least CALLS calls must be recorded, and at least FEWEST different sentences occur, or `all` that a whole trace can
bring. RECORDER and AUDIT are both `linked` where the program holds the recorder.
"""

import json
import os
import re
import subprocess
import sys
import tempfile
from collections import Counter
from pathlib import Path

from sentences import table_of

MOST_SHOWN = 5

# The types that worlds and tests throw and that are not derived from std::exception; the last one is std::string.
OTHER_OBJECT = re.compile(r"model::\(anonymous namespace\)::OtherObject|int|char|std::(__1::)?basic_string<char, .*>")

LOAD = "Compiler::ensureSourceLoadedInActiveJit"
LOAD_BUNDLE = "Compiler::ensureObjectBundleLoadedInActiveJit"
SEARCH = "ClassLoader::sourceFileForClass"
MAKE = "ClassLoader::materializeRuntimeGenericType"
SIZE = "orva_collections_ArrayList_size"
ELEMENT = "orva_collections_ArrayList_operator_index"

# The natives that return an object or a type; and the position of each native's name argument.
POINTERS = {"ClassLoader.getSystem", "ClassLoader.getTypeByName", "ClassLoader.loadSourceClass",
            "ClassLoader.loadObjectBundle", "SystemClassLoader.loadClass"}
NAMES = {"ClassLoader.getTypeByName": 0, "ClassLoader.addSourceRoot": 0, "ClassLoader.loadSourceClass": 1,
         "ClassLoader.loadObjectBundle": 2, "SystemClassLoader.loadClass": 1,
         "SystemClassLoader.loadPackageTypes": 1}
UNBRIDGED = {"ClassLoader.objectAbiVersion", "ClassLoader.addSourceRoot", "SystemClassLoader.loadClass"}
FULLY_BRIDGED = {"ClassLoader.getSystem", "SystemClassLoader.loadPackageTypes"}
REQUIRED = {
    "ClassLoader.addSourceRoot": ["class path root"],
    "ClassLoader.precompileSources": ["list of source files"],
    "ClassLoader.loadSourceClass": ["plugin's source file", "entry type"],
    "ClassLoader.loadObjectBundle": ["list of object paths", "list of source identities", "entry type"],
    "SystemClassLoader.loadPackageTypes": [None, "package name"],
}


def shown(text):
    """A text as a sentence shows it."""
    names = {"\n": "\\n", "\r": "\\r", "\t": "\\t"}
    whole = text.encode("latin-1").decode("utf-8", "backslashreplace")
    invalid = re.sub(r"\\x([89a-f][0-9a-f])", lambda found: "\\x" + found[1].upper(), whole)
    printable = re.sub(r"[\x00-\x1f\x7f]", lambda found: names.get(found[0], f"\\x{ord(found[0]):02X}"), invalid)
    return printable.encode("utf-8").decode("latin-1")


def first_line(text):
    """The part of a message that a sentence shows."""
    line, _, rest = text.partition("\n")
    return shown(line) + ("…".encode("utf-8").decode("latin-1") if rest else "")


def listed(items):
    return " and ".join(filter(None, [", ".join(items[:-1]), *items[-1:]]))


def quoted(texts):
    more = texts["count"] - len(texts["first"])
    return listed([f"'{shown(text)}'" for text in texts["first"]] + ([f"{more} more"] if more > 0 else []))


class Native:
    """A native's call, and the calls that it made itself."""

    def __init__(self, event):
        self.what, self.arguments, self.results = event["call"], event["arguments"], event["results"]
        self.threw, self.events = event.get("threw"), event["inner"]
        self.raises = self.calls("Orva_raise")
        self.name = self.arguments[NAMES[self.what]] if self.what in NAMES else None

    def calls(self, *names):
        return [event for event in self.events if event.get("call") in names]

    def scans(self):
        return [event["scan"] for event in self.events if "scan" in event]

    def locks(self):
        return sum("lock" in event for event in self.events)

    def is_null(self):
        return self.what in POINTERS and self.threw is None and self.results == [None]

    def needs_sentence(self):
        return self.is_null() or bool(self.raises) or self.threw is not None

    def before_raise(self):
        """The event directly before the last raise."""
        others = self.events[: max(i for i, event in enumerate(self.events) if event.get("call") == "Orva_raise")]
        return others[-1] if others else {}

    def message(self):
        return self.raises[-1]["arguments"][1]

    def raised(self, *classes):
        return self.raises[-1]["arguments"][0] in classes

    def asked_runtime(self, name):
        """Whether the native's last question to the runtime was for a name that the runtime did not know."""
        last = self.events[-1] if self.events else {}
        return last.get("call") == "Orva_typeByName" and last["arguments"] == [name] and last["results"] == [None]


def types_of(scan):
    """The names that the key matches."""
    if "." in scan["key"]:
        return [scan["key"]] if scan["fullNames"] else []
    return list(dict.fromkeys(scan["matches"]))


def is_loaded(native, path):
    return [load for load in native.calls(LOAD) if load["arguments"][0] == path and "threw" not in load] != []


def plugin_of(native):
    if native.what == "ClassLoader.loadSourceClass":
        return f"'{shown(native.arguments[0])}'"
    objects = quoted(native.calls(LOAD_BUNDLE)[-1]["arguments"][0])
    return f"the bundle of {objects}" if objects else "the empty bundle"


def plugin_was_loaded(native):
    loads = native.calls(LOAD, LOAD_BUNDLE)
    return len(loads) == 1 and "threw" not in loads[0] and len(native.scans()) == 2


def list_of(native):
    if native.what == "ClassLoader.precompileSources":
        return "list of source files"
    return ["list of object paths", "list of source identities"][len(native.calls(SIZE)) - 1]


def described(call):
    first = call["arguments"][0] if call["arguments"] else None
    return call["call"] + (f"('{shown(first)}')" if isinstance(first, str) else "()")


def is_other(thrown):
    return OTHER_OBJECT.fullmatch(thrown) is not None


def failed(native, said, *calls):
    """Whether the call before the raise threw what the sentence says, and the raise had the same text."""
    call = native.before_raise()
    return (call.get("threw") == said["type"] and not is_other(said["type"]) and (not calls or call["call"] in calls)
            and first_line(native.message()) == said["message"])


def no_call_failed(native):
    return not any("threw" in event for event in native.events)


# What each sentence claims. A claim is called with the native and what replaces the sentence's braces.

def missing_name(native, said):
    return len(native.events) == 1 and native.asked_runtime(native.name) and (
        native.name is None if said["state"] == "null" else native.name == "" and said["state"] == "empty")


def no_source(native, said):
    searches = native.calls(SEARCH)
    return (not types_of(native.scans()[0]) and not native.calls(LOAD) and native.asked_runtime(native.name)
            and [search["arguments"][0] for search in searches] == [native.name] and searches[0]["results"] == [""])


def source_without_type(native, said):
    found = native.calls(SEARCH)[0]["results"][0]
    return (shown(found) == said["source"] and found != "" and is_loaded(native, found)
            and not types_of(native.scans()[0]) and native.asked_runtime(native.name))


def registered_unknown(native, said):
    return [shown(name) for name in types_of(native.scans()[0])] == [said["match"]] and len(native.events) == 2


def instance(native, makes, source):
    made = native.calls(MAKE)
    return (native.locks() == 1 and len(made) == 1 and made[0]["arguments"][0] == native.name
            and made[0]["results"][0] == makes and native.asked_runtime(native.name)
            and (is_loaded(native, source) if makes else not native.calls(LOAD)))


def instance_without_type(native, said):
    source = native.calls(MAKE)[0]["results"][2]
    return instance(native, 1, source) and said["source"] == shown(source) != ""


def entry_unknown(native, said):
    match = native.calls("Orva_typeByName")[-1]["arguments"][0]
    before, after = native.scans()
    return (plugin_was_loaded(native) and not types_of(before) and types_of(after) == [match]
            and shown(match) == said["match"] and native.asked_runtime(match))


def no_object(native, said):
    last, paths, loads = native.events[-1], native.calls("Runtime::getStandardLibraryPath"), native.calls(LOAD)
    return (last["call"] == "Orva_allocObject" and last["results"] == [None] and no_call_failed(native)
            and len(loads) == 2 * len(paths))


def no_library(native, said):
    paths = native.calls("Runtime::getStandardLibraryPath")
    return (native.events[-1]["results"] == [None] and native.events[-1]["call"] == "Orva_allocObject"
            and len(paths) == 1 and paths[0]["results"] == [""] and not native.calls(LOAD))


def missing_argument(native, said):
    missing = [(argument, value) for argument, value in zip(REQUIRED[native.what], native.arguments)
               if argument and value in (None, "")]
    others = [event for event in native.events if event.get("call") not in ("Orva_raise",
                                                                          "PackageLayout::isValidPackageName")]
    return (not others and missing != [] and missing[0][0] == said["argument"]
            and said["state"] == ("null" if missing[0][1] is None else "empty"))


def null_element(native, said):
    element = native.before_raise()
    return (element.get("call") == ELEMENT and element["results"] == [None]
            and element["arguments"][1] == int(said["index"]) and list_of(native) == said["list"])


def endless_list(native, said):
    size = native.before_raise()
    return (size.get("call") == SIZE and size["results"] == [int(said["count"])] and int(said["count"]) > 0
            and list_of(native) == said["list"] and first_line(native.message()) == said["message"])


def different_lengths(native, said):
    lengths = [max(size["results"][0], 0) for size in native.calls(SIZE)]
    elements = len(native.calls(ELEMENT))
    return (lengths == [int(said["objects"]), int(said["identities"])] and lengths[0] != lengths[1]
            and elements == sum(lengths) and not native.calls(LOAD_BUNDLE))


def bad_package(native, said):
    answer = native.before_raise()
    return (native.name and answer.get("call") == "PackageLayout::isValidPackageName" and answer["results"] == [0])


def no_roots(native, said):
    return native.before_raise()["call"] == "Runtime::getKlassPaths" and native.before_raise()["results"][0][
        "count"] == 0 and native.raised("ClassNotFoundException")


def no_package(native, said):
    roots = native.before_raise()
    return (roots["call"] == "Runtime::getKlassPaths" and native.raised("ClassNotFoundException")
            and quoted(roots["results"][0]) == said["roots"] != "")


def unread_package(native, said):
    return (native.raised("IOException") and native.before_raise()["call"] == "Runtime::getKlassPaths"
            and native.message() == f"Cannot enumerate package '{native.name}': {said['reason']}")


def refused_root(native, said):
    answer = native.before_raise()
    return (native.raised("IOException") and answer["call"] == "Runtime::addKlassPath" and answer["results"] == [0]
            and answer["arguments"] == [native.name])


def already_registered(native, said):
    return ([shown(name) for name in types_of(native.scans()[0])] == [said["match"]]
            and not native.calls(LOAD, LOAD_BUNDLE, SIZE) and native.raised("IllegalStateException"))


def ambiguous(native, said, scans, loads):
    scan = native.before_raise().get("scan")
    return (scan is not None and len(native.scans()) == scans and len(native.calls(LOAD, LOAD_BUNDLE)) == loads
            and len(types_of(scan)) == 2 and listed([shown(name) for name in types_of(scan)]) == said["matches"])


def ambiguous_load(native, said):
    return (ambiguous(native, said, 2, 1) and plugin_was_loaded(native) and not types_of(native.scans()[0])
            and plugin_of(native) == said["plugin"])


def unregistered(native, said):
    return (plugin_was_loaded(native) and not any(types_of(scan) for scan in native.scans())
            and native.raised("ClassNotFoundException") and plugin_of(native) == said["plugin"])


def nothing_registered(native, said):
    before, after = (max(scan["count"], 0) for scan in native.scans())
    return unregistered(native, said) and before >= after and before == int(said["before"])


def others_registered(native, said):
    before, after = (max(scan["count"], 0) for scan in native.scans())
    counts = (int(said["before"]), int(said["after"]))
    return unregistered(native, said) and (before, after) == counts and before < after


def source_failed(native, said):
    load = native.before_raise()
    found = [call["results"][-1] for call in native.calls(SEARCH, MAKE)]
    return failed(native, said, LOAD) and load["arguments"][0] == found[-1] and shown(found[-1]) == said["source"]


def plugin_failed(native, said):
    return failed(native, said, LOAD, LOAD_BUNDLE) and plugin_of(native) == said["plugin"]


def precompiling_failed(native, said):
    files = quoted(native.before_raise()["arguments"][0]) or "an empty list"
    return failed(native, said, "Compiler::precompileSources") and files == said["sources"]


def library_failed(native, said):
    root = native.calls("Runtime::getStandardLibraryPath")[0]["results"][0]
    return (failed(native, said, LOAD) and shown(native.before_raise()["arguments"][0]) == said["source"]
            and said["source"].startswith(shown(root)))


def package_file_failed(native, said):
    return (failed(native, said, LOAD) and shown(native.before_raise()["arguments"][0]) == said["source"]
            and len(native.calls(LOAD)) == int(said["loaded"]) + 1)


def object_thrown(native, said):
    call = native.before_raise()
    return (call.get("threw") == said["type"] and is_other(said["type"]) and described(call) == said["call"]
            and native.what in FULLY_BRIDGED and native.message().startswith("Unknown native failure"))


def raise_replaced(native, said):
    first = native.before_raise()
    return (first.get("call") == "Orva_raise" and first.get("threw") == said["type"]
            and [first_line(text) for text in first["arguments"]] == [said["class"], said["message"]])


def unread_table(native, said):
    return "<" in native.name and ">" in native.name and not native.calls(MAKE) and not native.scans()


def failed_itself(native, said):
    return no_call_failed(native) and first_line(native.message()) == said["message"]


def last_threw(native, said):
    last = native.events[-1]
    return last.get("threw") == said["type"] == native.threw and described(last) == said["call"]


def passed(native, said):
    return last_threw(native, said) and (native.what in UNBRIDGED or (
        native.what == "ClassLoader.getTypeByName" and native.events[-1]["call"] == "Orva_typeByName"))


def passed_object(native, said):
    is_bridged = native.what not in UNBRIDGED | FULLY_BRIDGED
    return last_threw(native, said) and is_bridged and is_other(native.threw)


def raise_threw(native, said):
    last = native.raises[-1]
    return (native.events[-1] is last and last.get("threw") == said["type"] == native.threw
            and [first_line(text) for text in last["arguments"]] == [said["class"], said["message"]])


CLAIMS = {
    "missingName": missing_name,
    "unclosedName": lambda native, said: (len(native.events) == 1 and native.asked_runtime(native.name)
                                          and "<" in native.name and ">" not in native.name),
    "noSource": no_source,
    "sourceWithoutType": source_without_type,
    "registeredUnknown": registered_unknown,
    "noInstance": lambda native, said: instance(native, 0, None),
    "instanceWithoutType": instance_without_type,
    "instanceWithoutSource": lambda native, said: instance(native, 1, ""),
    "readyUnknown": lambda native, said: (native.locks() == 1 and not native.calls(MAKE)
                                          and native.asked_runtime(native.name)),
    "runtimeOnly": lambda native, said: len(native.events) == 1 and native.asked_runtime(native.name),
    "entryUnknown": entry_unknown,
    "noObject": no_object,
    "noLibrary": no_library,
    "unseen": lambda native, said: False,  # A whole trace lacks no call.
    "missingArgument": missing_argument,
    "nullElement": null_element,
    "endlessList": endless_list,
    "differentLengths": different_lengths,
    "badPackage": bad_package,
    "noRoots": no_roots,
    "noPackage": no_package,
    "unreadPackage": unread_package,
    "refusedRoot": refused_root,
    "alreadyRegistered": already_registered,
    "ambiguousName": lambda native, said: ambiguous(native, said, 1, 0),
    "ambiguousEntry": lambda native, said: ambiguous(native, said, 1, 0),
    "ambiguousLoad": ambiguous_load,
    "nothingRegistered": nothing_registered,
    "othersRegistered": others_registered,
    "sourceFailed": source_failed,
    "instanceFailed": lambda native, said: failed(native, said, MAKE),
    "searchFailed": lambda native, said: failed(native, said, SEARCH),
    "pluginFailed": plugin_failed,
    "precompilingFailed": precompiling_failed,
    "libraryFailed": library_failed,
    "objectFailed": lambda native, said: failed(native, said, "Orva_allocObject"),
    "packageFileFailed": package_file_failed,
    "callFailed": lambda native, said: failed(native, said) and described(native.before_raise()) == said["call"],
    "objectThrown": object_thrown,
    "raiseReplaced": raise_replaced,
    "unreadTable": unread_table,
    "failedItself": failed_itself,
    "passed": passed,
    "passedObject": passed_object,
    "raiseThrew": raise_threw,
    "threwItself": lambda native, said: no_call_failed(native) and native.threw == said["type"],
}


def said_by(pattern):
    """The regular expression of a sentence; a placeholder that occurs twice must have the same text."""
    seen, parts = set(), []
    for part in re.split(r"(\{\w+\})", pattern):
        name = part[1:-1]
        if not re.fullmatch(r"\{\w+\}", part):
            parts.append(re.escape(part))
        else:
            parts.append(f"(?P={name})" if name in seen else f"(?P<{name}>.*?)")
            seen.add(name)
    return re.compile("".join(parts), re.DOTALL)


def says_how_it_ended(native, sentence):
    prefix = "threw" if native.threw is not None else "raised" if native.raises else "null"
    return sentence.startswith(prefix + ": ") and "\n" not in sentence


def is_true(sentence, native, found):
    said = found.groupdict()
    names = {key: said[key] for key in ("name", "package", "root") if key in said}
    is_named = all(name == shown(native.name or "") for name in names.values())
    return (says_how_it_ended(native, sentence) and is_named and said.get("native", native.what) == native.what)


def problem_with(native, sentence, patterns, seen):
    if not native.needs_sentence():
        return "a sentence for a native that did not fail" if sentence else None
    fitting = [(name, found) for name, pattern in patterns.items() if (found := pattern.fullmatch(sentence))]
    if len(fitting) != 1:
        return f"fits {len(fitting)} sentences of the table {[name for name, _ in fitting]}"
    name, found = fitting[0]
    seen[name] += 1
    try:
        is_claim_true = is_true(sentence, native, found) and CLAIMS[name](native, found.groupdict())
    except (IndexError, KeyError, TypeError, ValueError) as failure:
        return f"{name} claims what the events do not have: {failure!r}"
    return None if is_claim_true else f"{name} is not true"


class Check:
    """What is found in lines that each contain a native and its sentence."""

    def __init__(self, sentences):
        self.patterns = {name: said_by(pattern) for name, (pattern, _) in table_of(sentences).items()}
        self.seen, self.problems, self.explained, self.calls = Counter(), Counter(), 0, 0

    def add(self, line):
        both = json.loads(line)
        if "calls" in both:
            self.calls = both["calls"]
            return
        self.explained += 1
        problem = problem_with(Native(both["native"]), both["sentence"], self.patterns, self.seen)
        if not both["hasEnded"]:
            problem = "a native that has not ended"
        if problem:
            self.problems[problem] += 1
            if self.problems[problem] <= MOST_SHOWN:
                print(problem, both["sentence"], line, sep="\n  ")

    def end(self, has_failed):
        for problem, count in self.problems.items():
            print(f"{count} times: {problem}")
        print(f"{self.calls} calls; of {self.explained} different natives, {sum(self.seen.values())} explained by "
              f"{len(self.seen)} sentences")
        sys.exit(1 if self.problems or has_failed else 0)


def main():
    explained, sentences, calls, fewest, recorder, audit, *program = sys.argv[1:]
    check = Check(sentences)
    attached = {} if recorder == "linked" else {"LD_PRELOAD": recorder, "LD_AUDIT": audit}
    with tempfile.TemporaryDirectory() as work:
        ran = subprocess.run(program, env={**os.environ, "ORVA_TRACE_FOLDER": work, **attached}, check=False,
                             stdout=subprocess.DEVNULL)
        with subprocess.Popen([explained, *Path(work).glob("*.events")], stdout=subprocess.PIPE, text=True) as shown:
            for line in shown.stdout:
                check.add(line)
    missing = check.patterns.keys() - check.seen.keys() - {"unseen"}
    if missing if fewest == "all" else len(check.seen) < int(fewest):
        check.problems[f"of {fewest} sentences, these are missing: {missing}"] += 1
    if check.calls < int(calls):
        check.problems[f"only {check.calls} calls were recorded"] += 1
    check.end(ran.returncode != 0 or shown.returncode != 0)


if __name__ == "__main__":
    main()
