#!/usr/bin/env bash
# Links hosts that cannot work. Each linker that can detect the mistake must refuse, and name what is missing.
# Usage: refusals.sh PROJECT PREPARED
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require pkg-config g++ clang++ ld.gold ld.lld ld.lld-19 mold
prepared=$2
export PKG_CONFIG_PATH=$prepared/installed/lib/pkgconfig LD_LIBRARY_PATH=$prepared/installed/lib
read -ra shared < <(pkg-config --libs orva-classloader)
read -ra static < <(pkg-config --libs orva-classloader-static)

refused() { # message, command…
  ! LC_ALL=C "${@:2}" -o "$work/program" >"$work/log" 2>&1 || fail "linked: ${*:2}"
  grep -qE "$1" "$work/log" || fail "${*:2}: expected '$1', but the linker said: $(cat "$work/log")"
}

# A host without its runtime. Mold does not check the shared library, so there the first call would fail.
echo 'int main() {}' >"$work/main.cpp"
rest=("$work/main.cpp" "$prepared"/clang++/{by_name,compiler,registry}.o)
for linker in bfd gold lld; do
  refused "undefined.*Orva_raise" clang++ -fuse-ld=$linker "${rest[@]}" "${shared[@]}"
done
for linker in bfd gold lld mold; do
  refused "undefined.*Orva_raise" clang++ -fuse-ld=$linker "${rest[@]}" "${static[@]}"
done

# A host in an archive before ours. These two linkers do not go back to it when ours needs it.
ar rc "$work/libcore.a" "$prepared"/clang++/{compiler,registry,runtime}.o
for linker in bfd gold; do
  for library in shared static; do
    declare -n words=$library
    refused "undefined.*activeRuntimeContext" clang++ -fuse-ld=$linker "$prepared"/clang++/{main,by_name}.o \
      "$work/libcore.a" "${words[@]}"
  done
done

# The compiler in a separate shared library, which the program does not refer to.
cp -r "$root/tests/other_host" "$work/core"
flags=(-std=c++17 "-I$prepared/installed/include/orva-classloader" "-L$work")
g++ "${flags[@]}" -fPIC -shared "$work/core/compiler.cpp" -o "$work/libcore.so"
refused "undefined.*activeRuntimeContext" g++ "${flags[@]}" -Wl,--as-needed \
  "$work"/core/{main,registry,runtime,by_name}.cpp -lcore "${shared[@]}"

# A host whose own headers lack the two lines.
cp -r "$root/tests/other_host" "$work/hidden"
sed -i '/^#pragma GCC visibility/d' "$work"/hidden/runtime_api/*.h
cd "$work/hidden"
rm by_table.cpp
g++ -std=c++17 -fPIE -fvisibility=hidden -I. "-I$prepared/installed/include/orva-classloader" -c ./*.cpp
refused "hidden symbol .* is referenced by DSO" g++ ./*.o "${shared[@]}"
refused "non-exported symbol .* is referenced by DSO" clang++ --ld-path=ld.lld-19 ./*.o "${shared[@]}"
g++ ./*.o "${static[@]}" -o "$work/program"
"$work/program" || fail "the static library does not find hidden symbols"
