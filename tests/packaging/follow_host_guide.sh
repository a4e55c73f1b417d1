#!/usr/bin/env bash
# Follows docs/host-guide.md where the Debian packages are installed and nothing else of ours is visible.
# Usage: follow_host_guide.sh PROJECT FOLDER; FOLDER contains the packages.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require unshare g++ cmake ninja pkg-config python3
cp "$root"/tests/docs/{follow,page}.py "$root/docs/host-guide.md" "$work"
cd "$work"
"$root/tests/packaging/with_packages.sh" "$2" ./follow.py host-guide.md
