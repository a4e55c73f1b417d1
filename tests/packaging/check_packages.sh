#!/usr/bin/env bash
# Checks the Debian packages with Debian's own tools: lintian must find no error and no warning, except that the owners
# have not stated a licence, and everything that runs must be hardened.
# Usage: check_packages.sh PROJECT FOLDER
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require dpkg-deb file hardening-check lintian objdump
made=$(realpath "$2")

lintian --allow-root --fail-on error,warning --suppress-tags no-copyright-file "$made"/*.changes >"$work/log" 2>&1 ||
  fail "lintian finds: $(cat "$work/log")"

library=$(echo "$made/liborva-classloader${interface}_${version}_"*.deb)
[[ -f $library ]] || fail "no package of version $version; debian/ and version.h differ: $(ls "$made")"
dpkg-deb --control "$library" "$work/control"
grep -x 'activate-noawait ldconfig' "$work/control/triggers" >/dev/null || fail "the linker's cache is not updated"

for package in "$made"/*.deb; do
  [[ $package != *-dbgsym_* ]] || continue
  name=$(basename "${package%%_*}")
  dpkg-deb --extract "$package" "$work/$name"
  ! grep -rIFl -e "$made/source" "$work/$name" >&2 || fail "$name: files contain the path of the build folder"
  [[ $name == *-dev || -f $(echo "$made/$name"-dbgsym_*.deb) ]] || fail "$name: the debugging symbols are missing"
done
[[ $(exported_symbols "$work/liborva-classloader$interface"/usr/lib/*/lib*.so.*.*.*) == \
  $(sed -nE 's/^ (.*)@Base .*/\1/p' "$work/control/symbols") ]] ||
  fail "the package lists other symbols than the library exports"

# The library has nothing to fortify: it copies into strings, whose capacity the compiler does not know.
# Programs and their modules contain the start files of the C library, which are not marked for control-flow protection
# in Debian 12.
hardened=0
while read -r binary; do
  case $binary in *.so.*) leave_out=--nofortify ;; *) leave_out=--nocfprotection ;; esac
  hardening-check $leave_out "$binary" >"$work/log" || fail "not hardened: $(cat "$work/log")"
  [[ $(uname -m) != x86_64 ]] || objdump -d "$binary" | grep endbr64 >/dev/null ||
    fail "no control-flow protection: $binary"
  hardened=$((hardened + 1))
done < <(find "$work" -type f -exec file {} + | sed -nE 's/: +ELF .*(shared object|executable).*//p')
((hardened > 0)) || fail "no programs and no libraries in $made"
