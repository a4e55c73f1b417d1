#!/usr/bin/env bash
# Checks that the version is in the first page of the shared library, and of each host that refers to any one native of
# the static one. Core dumps contain the first page of a program.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require readelf strings ld.bfd ld.gold ld.lld "${compilers[@]}"

names_the_version() { strings | grep -xF "orva-classloader $version" >/dev/null; }

has_note() {  # FILE
  local offset size
  readelf -nW "$1" 2>&1 | grep -E '^ +orva +0x[0-9a-f]+\s+NT_VERSION' >/dev/null || fail "no note in $1"
  read -r offset size < <(readelf -SW "$1" | sed -nE 's/.* \.note\.orva +NOTE +\w+ (\w+) (\w+) 00 +A .*/0x\1 0x\2/p')
  ((offset + size <= 4096)) || fail "the note is not in the first page of $1"
  readelf -lW "$1" | sed 's/.*to Segment mapping//' | grep -E '^ +[0-9]+ .*\.note\.orva' >/dev/null ||
    fail "no segment of $1 contains the note"
  head -c 4096 "$1" | names_the_version || fail "the first page of $1 does not name the version $version"
}

# Links a host that refers to one native. It defines no neighbours, because it never runs.
link_one() {  # COMPILER LINKER NATIVE LIBRARY… [OPTION…]
  echo "extern \"C\" void $3(); void (*volatile native)() = $3; int main() { native(); }" |
    "$1" -std=c++17 -I"$root" -fuse-ld="$2" -Wl,--gc-sections -Wl,--unresolved-symbols=ignore-all -o "$work/host" \
      -xc++ - -xnone "${@:4}" || fail "$1 and $2 do not link a host that refers to $3"
  has_note "$work/host"
}

# With this default filter, the kernel dumps no more than the first page of a mapped file. If it passes cores to a
# program, there is no core to check.
dump_core() {  # PROGRAM
  rm -f "$work"/core*
  ! bash -c 'cd "$1" && ulimit -c unlimited && echo 0x33 >/proc/self/coredump_filter && "$2"; exit $?' \
    - "$work" "$1" 2>"$work/log" || fail "$1 does not abort"
  case $(</proc/sys/kernel/core_pattern) in
    *[/\|]* | '') echo "the kernel writes no core here: $(</proc/sys/kernel/core_pattern)" ;;
    *) names_the_version <"$(echo "$work"/core*)" || fail "the core of $1 does not name the version $version" ;;
  esac
}

for compiler in "${compilers[@]}"; do
  has_note "$(shared_library "$compiler")"
  for linker in bfd gold lld; do
    for native in $(exported_symbols "$(shared_library "$compiler")"); do
      [[ $compiler != g++ && $native != *objectAbiVersion ]] ||
        link_one "$compiler" $linker "$native" "$(archive "$compiler")"
    done
  done
done

source=$root/classloader/native_boundary.cpp
link_one g++ bfd orva_ClassLoader_objectAbiVersion -O2 -flto "$source"
link_one clang++ lld orva_ClassLoader_objectAbiVersion -O2 -flto "$source"
# The address sanitizer pads constants, but must not change the note.
clang++-19 -std=c++17 -I"$root" -fsanitize=address -c "$source" -o "$work/sanitized.o"
readelf -nW "$work/sanitized.o" 2>&1 | grep 'orva .*NT_VERSION' >/dev/null || fail "no note in a sanitized object"

g++ -std=c++17 -Dmain=call -c "$root/tests/symbols/plain_host.cpp" -o "$work/neighbours.o"
echo 'int call(); int main() { return call() == 0 ? (__builtin_abort(), 0) : 0; }' >"$work/main.cpp"
for library in "$(archive g++)" "$(shared_library g++)"; do
  g++ "$work/main.cpp" "$work/neighbours.o" "$library" -rdynamic -Wl,--gc-sections \
    -Wl,-rpath,"$(dirname "$library")" -o "$work/aborts"
  dump_core "$work/aborts"
done
