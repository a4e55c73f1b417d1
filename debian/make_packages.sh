#!/usr/bin/env bash
# Builds the Debian packages from this checkout, committed or not, in a folder that is emptied first.
# Usage: debian/make_packages.sh FOLDER [OPTION of dpkg-buildpackage…]
set -euo pipefail
umask 022  # or others could not open the folders of the packages
rm -rf "${1:?usage: $0 FOLDER [OPTION of dpkg-buildpackage…]}"
mkdir -p "$1/source"
made=$(realpath "$1")
cd "$(dirname "$0")/.."

# The files that git knows, or would add; without git, all files here.
sources() {
  { [ -e .git ] && git ls-files -zco --exclude-standard; } ||
    find . \( -path ./.git -o -path ./build \) -prune -o -type f -print0
}

# dpkg-buildpackage writes into the folder of the sources and into the one above it, so it works on a copy. Every file
# gets the date of the changelog: packages must not depend on when the sources were checked out.
sources | while IFS= read -rd '' file; do [ ! -e "$file" ] || printf '%s\0' "$file"; done |
  tar -c --null --files-from=- --mtime="$(dpkg-parsechangelog -S Date)" | tar -x -C "$made/source"
cd "$made/source"
unset CCACHE_BASEDIR  # with it, a compiler cache writes other names of sources into the debugging symbols
export DEB_BUILD_OPTIONS="terse ${DEB_BUILD_OPTIONS:-}"
dpkg-buildpackage --build=binary --no-sign "${@:2}"
rm -r "$made/source"
