#!/usr/bin/env bash
# Looks at the Debian packages as Debian's own tools do: that lintian finds neither an error nor a warning, but that the
# owners have stated no licence, and that what runs is hardened.
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
grep -x 'activate-noawait ldconfig' "$work/control/triggers" >/dev/null || fail "the linker's cache is not told"

for package in "$made"/*.deb; do
  [[ $package != *-dbgsym_* ]] || continue
  name=$(basename "${package%%_*}")
  dpkg-deb --extract "$package" "$work/$name"
  ! grep -rIFl -e "$made/source" "$work/$name" >&2 || fail "$name: files name the folder that they were built in"
  [[ $name == *-dev || -f $(echo "$made/$name"-dbgsym_*.deb) ]] || fail "$name: the debugging symbols are missing"
done
[[ $(exported_symbols "$work/liborva-classloader$interface"/usr/lib/*/lib*.so.*.*.*) == \
  $(sed -nE 's/^ (.*)@Base .*/\1/p' "$work/control/symbols") ]] || fail "the list of symbols is not that of the library"

# In the library there is nothing to fortify: what it copies goes into strings, whose room is not known to the compiler.
# Programs and their modules contain the start files of the C library, which are not marked for control-flow protection
# in Debian 12.
hardened=0
while read -r binary; do
  case $binary in *.so.*) leave_out=--nofortify ;; *) leave_out=--nocfprotection ;; esac
  hardening-check $leave_out "$binary" >"$work/log" || fail "not hardened: $(cat "$work/log")"
  [[ $(uname -m) != x86_64 ]] || objdump -d "$binary" | grep endbr64 >/dev/null || fail "no landing pads: $binary"
  hardened=$((hardened + 1))
done < <(find "$work" -type f -exec file {} + | sed -nE 's/: +ELF .*(shared object|executable).*//p')
((hardened > 0)) || fail "nothing to look at in $made"
