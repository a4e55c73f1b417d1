"""Makes one JSON document from the lines that the peers printed, which it reads from standard input.

Usage: collect_peers.py OUTPUT COMPILER [PEER=PACKAGE…], with each peer that is missing
"""
import json
import os
import platform
import sys

from machine import processor


def main(output, compiler, missing):
    results = [json.loads(line) for line in sys.stdin]
    versions = {result["peer"]: result.pop("version") for result in results}
    document = {
        "machine": {"cpu": processor(), "cores": os.cpu_count(), "kernel": platform.release(), "compiler": compiler},
        "peers": [{"peer": peer, "version": version} for peer, version in versions.items()],
        "results": results,
        "missing": [dict(zip(("peer", "package"), each.split("=", 1))) for each in missing],
    }
    with open(output, "w", encoding="utf-8") as out:
        json.dump(document, out, indent=1)
        out.write("\n")


main(sys.argv[1], sys.argv[2], sys.argv[3:])
