#!/usr/bin/env bash
# Compiles and links hosts whose record differs from the library's. The kit must describe both records.
# Usage: host_record.sh PROJECT LIBRARIES PREPARED; LIBRARIES/installed was built with our record, PREPARED/installed
# with that of tests/other_host/.
# shellcheck source-path=SCRIPTDIR source=common.sh
source "$(dirname "$0")/common.sh"

ours=$libraries/installed own=$3/installed
example=$root/examples/minimal_host
what_to_do='build the library with -DORVA_RUNTIME_API_DIR=DIR'

objects() { # folder with hooks.cpp and minimal_host.cpp, where the objects go too; options that find the headers…
  g++ -std=c++17 -c "$1/hooks.cpp" -o "$1/hooks.o" "${@:2}"
  g++ -std=c++17 -c "$1/minimal_host.cpp" -o "$1/minimal_host.o" "${@:2}"
}

must_be_refused() { # what for, options that find the headers…
  for compiler in g++ clang++; do
    ! "$compiler" -std=c++17 -fsyntax-only "$example/hooks.cpp" "${@:2}" 2>"$work/errors" ||
      fail "$compiler compiles the hooks of a host with $1"
    grep -qE "error: static.assert.*$what_to_do.* or compile the hooks with the library's flags" "$work/errors" ||
      fail "$compiler does not say what to do about $1: $(cat "$work/errors")"
    [[ $(grep -c 'error:' "$work/errors") == 1 ]] || fail "$compiler reports more than one error: $(cat "$work/errors")"
  done
}

must_report() { # prefix of the installation, object of the hooks, object of the host, words in the second line…
  local program=$work/mismatch status=0
  g++ "$2" "$3" "$work/compiler.o" -o "$program" -rdynamic "$1"/lib/liborva-host-contract.a \
    -Wl,--whole-archive "$1/lib/liborva-classloader.a" -Wl,--no-whole-archive -pthread
  "$program" >"$work/report" || status=$?
  [[ $status == 1 ]] || fail "status $status: $(cat "$work/report")"
  for words in "${@:4}"; do
    sed -n 2p "$work/report" | grep -qF -- "$words" || fail "'$words' is not in line 2 of: $(cat "$work/report")"
  done
  sed -n 1p "$work/report" | grep -q '^BROKEN   required  record\.' ||
    fail "the first line reports another check: $(cat "$work/report")"
  grep -q '^0 held, 1 broken (1 of them required)' "$work/report" || fail "other checks ran: $(cat "$work/report")"
}

# The same members in another order, so the record has the same size: once as a whole installation, once as the
# runtime_api folder alone.
swapped=$work/swapped
cp -r "$ours/include/orva-classloader" "$swapped"
sed -i '/^  void\* type;/d; s/^struct TypeRecord {/&\n  void* type;/' "$swapped/runtime_api/reflection.h"
mkdir "$work/swapped_only"
cp -r "$swapped/runtime_api" "$work/swapped_only"
sed -i 's/TYPE 128/TYPE 0/; s/NAME1 0/NAME1 8/; s/NAME2 32/NAME2 40/; s/NAME3 64/NAME3 72/; s/NAME4 96/NAME4 104/' \
  "$swapped/classloader/record.h"

mkdir "$work/renamed"
cp -r "$ours/include/orva-classloader/runtime_api" "$work/renamed"
sed -i 's/\bname\([1-4]\)\b/text\1/g' "$work/renamed/runtime_api/reflection.h"

make_view_record "$work/views"

must_be_refused "members of other names" -I"$work/renamed" -I"$ours/include/orva-classloader"
must_be_refused "a gTypes that flags change" -D_GLIBCXX_DEBUG -I"$ours/include/orva-classloader"
must_be_refused "names that are views" -I"$work/views" -I"$ours/include/orva-classloader"
must_be_refused "its members in another order" -I"$work/swapped_only" -I"$ours/include/orva-classloader"
must_be_refused "our record, and a library that has another" -I"$root" -I"$own/include/orva-classloader"

for host in with_ours with_swapped; do cp -r "$example" "$work/$host"; done
sed -i 's/gTypes.push_back({\(.*\), &type, {&type}});/gTypes.push_back({\&type, \1, {\&type}});/' \
  "$work/with_swapped/minimal_host.cpp"
objects "$work/with_ours" -I"$ours/include/orva-classloader"
objects "$work/with_swapped" -I"$swapped"
g++ -std=c++17 -c "$example/text_compiler.cpp" -o "$work/compiler.o" -I"$ours/include/orva-classloader"
g++ -std=c++17 -c "$example/minimal_host.cpp" -o "$work/views.o" \
  -I"$work/views" -I"$ours/include/orva-classloader"

our_layout="size 160, alignment 8, in a gTypes of size 24, name1 at 0, name2 at 32, name3 at 64"
our_layout+=", name4 at 96, type at 128, members at 136"
must_report "$ours" "$work"/with_swapped/{hooks,minimal_host}.o "$what_to_do" \
  "the library reads a TypeRecord of $our_layout" \
  "the host has one of size 160, alignment 8, in a gTypes of size 24, name1 at 8, name2 at 40"
must_report "$own" "$work"/with_ours/{hooks,minimal_host}.o "$what_to_do" "the host has one of $our_layout" \
  "the library reads a TypeRecord of size 80, alignment 8, in a gTypes of size 24, type at 0;"
# The hooks have the library's record, but the source that fills the table has another.
must_report "$ours" "$work/with_ours/hooks.o" "$work/views.o" "$what_to_do" "a walk through gTypes" "$our_layout"
must_report "$ours" "$work/with_ours/hooks.o" "$work/with_swapped/minimal_host.o" "$what_to_do" "a walk through gTypes"

record=$(PKG_CONFIG_PATH=$own/lib/pkgconfig pkg-config --variable=type_record orva-classloader)
[[ $record == "size=80 alignment=8 table=24 name1=-1 name2=-1 name3=-1 name4=-1 type=0 members=-1" ]] ||
  fail "pkg-config describes another record: $record"
