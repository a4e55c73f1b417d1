#!/usr/bin/env bash
# Compiles and links for platforms whose programs cannot run here: with musl's headers, with only those that other Unix
# systems also have, and for macOS.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require cmake ninja musl-gcc clang-19 clang++-19 ld64.lld-19 llvm-nm-19
natives >"$work/natives"

musl=$(dirname "$(echo '#include <stdio.h>' | musl-gcc -M -xc - | grep -o '/[^ ]*/stdio\.h')")
libcxx=/usr/lib/llvm-19/include/c++/v1
[[ -f $libcxx/vector ]] || fail "libc++-19-dev is not installed"

# The headers of musl that POSIX defines, and others except those that are specific to Linux.
mkdir -p "$work/posix/sys" "$work/record/classloader"
ln -s "$musl"/* "$work/posix" 2>/dev/null || true
rm "$work"/posix/{byteswap,elf,endian,link,malloc}.h
for header in ipc mman msg resource select sem shm socket stat statvfs time times types uio un utsname wait; do
  ln -s "$musl/sys/$header.h" "$work/posix/sys"
done

sources=("$root"/{classloader,host_contract,host_contract/checks,examples/minimal_host}/*.cpp)
[[ ${#sources[@]} -ge 25 ]] || fail "sources are missing: ${sources[*]}"
included() { # pattern
  cat "${sources[@]}" "$root"/{classloader,runtime_api,host_contract,host_contract/checks}/*.h |
    grep -oE "^#include <$1>" | sort -u
}

# The functions that the POSIX headers of musl declare with a feature macro.
declared() { # macro
  included '[a-z/]*\.h' | grep -vF sys/prctl.h | musl-gcc -E "-D$1" -xc - | grep -oE '[a-z_0-9]+ *\(' |
    tr -d ' (' | sort -u
}
extensions=$(comm -23 <(declared _GNU_SOURCE) <(declared _XOPEN_SOURCE=700) | paste -sd ' ')
[[ " $extensions " == *' prlimit '* ]] || fail "the extensions of musl must include prlimit: $extensions"
# POSIX 2024 has these, but macOS does not.
extensions+=' accept4 dup3 pipe2'

# The standard library may use all of musl. With the POSIX headers, our sources may use only what POSIX has.
check_with_headers() { # folder of the C library, sources…
  local source options=(--target=x86_64-linux-musl -std=c++17 -Wall -Wextra -Werror -nostdinc -nostdinc++
    -isystem "$libcxx" -isystem "$(clang++-19 -print-resource-dir)/include" -isystem "$1"
    -D_LIBCPP_HAS_MUSL_LIBC -D_LIBCPP_HAS_THREAD_API_PTHREAD)
  included '[a-z_]*' >"$work/prelude.h"
  if [[ $1 != "$musl" ]]; then
    options+=(-U__linux__)
    { included '[a-z/]*\.h' | grep -vF sys/prctl.h; echo "#pragma clang poison $extensions"; } >>"$work/prelude.h"
  fi
  clang++-19 "${options[@]}" -xc++-header "$work/prelude.h" -o "$work/prelude.pch"
  clang++-19 "${options[@]}" -include-pch "$work/prelude.pch" -I"$root" \
    -c "$root/cmake/record_layout.cpp" -o "$work/record.o"
  cmake -P "$root/cmake/record.cmake" "$work/record.o" "$work/record/classloader/record.h"
  for source in "${@:2}"; do
    clang++-19 "${options[@]}" -include-pch "$work/prelude.pch" -I"$root" -I"$root/examples/minimal_host" \
      -I"$work/record" -fsyntax-only "$source" || fail "${source#"$root/"} does not compile with the headers of $1"
  done
}
# Sources that check for Linux differ there.
mapfile -t asks_for_linux < <(grep -l __linux__ "${sources[@]}")
check_with_headers "$musl" "$root"/classloader/*.cpp "${asks_for_linux[@]}"
check_with_headers "$work/posix" "${sources[@]}"
musl-gcc -std=c11 -Wall -Wextra -Wpedantic -Werror -I"$root" -fsyntax-only -include classloader/natives.h \
  -xc /dev/null || fail "natives.h does not compile with musl-gcc"

# The sources cannot be linked without Apple's headers or a C++ standard library for musl, so C functions replace them.
# The commands are those of CMake.
cat >"$work/natives.c" <<'END'
#include "classloader/natives.h"
void Orva_raise(const char*, const char*);
void orva_hidden(void);
__attribute__((visibility("hidden"))) void orva_hidden(void) { Orva_raise(0, 0); }
void other(void);
void other(void) { orva_hidden(); }
#define ORVA_NATIVE(symbol, class, method, kind, result, parameters) result symbol parameters { other(); }
#include "native_list.inc"
END
link_stand_ins() { # platform, compiler of C and its options, options of CMake…
  local build=$work/linked-$1 compiler object objects
  read -ra compiler <<<"$2"
  cmake -S "$root" -B "$build" -G Ninja -DORVA_TESTS=OFF -DORVA_REFERENCE_HOST=OFF -DORVA_STATIC=OFF "${@:3}" \
    >"$work/log" 2>&1 || fail "CMake does not configure for $1: $(cat "$work/log")"
  ninja -C "$build" -t commands classloader/all | grep -E -- ' -(shared|dynamiclib) ' >"$work/command" ||
    fail "no library for $1"
  mapfile -t objects < <(grep -o '[^ ]*\.cpp\.o' "$work/command")
  for object in "${objects[@]}"; do
    "${compiler[@]}" -c -xc /dev/null -o "$build/$object"
  done
  "${compiler[@]}" -fPIC -ffreestanding -Wno-return-type -I"$root" -I"$work" -c "$work/natives.c" -o "$build/$object"
  (cd "$build" && eval "$(cat "$work/command")") >"$work/log" 2>&1 ||
    fail "the library does not link for $1: $(cat "$work/log")"
  # On macOS, names begin with an underscore.
  llvm-nm-19 -g --defined-only "$build"/classloader/liborva-classloader.* |
    awk 'NF == 3 { sub(/^_/, "", $3); print $3 }' | sort -u >"$work/exported"
  same "$1: symbols of the shared library" "$work/natives" "$work/exported"
}
link_stand_ins musl musl-gcc -DCMAKE_C_COMPILER=musl-gcc -DCMAKE_CXX_COMPILER=musl-gcc
for processor in x86_64 arm64; do
  target=$processor-apple-macos11
  flags="-nostdlib -fuse-ld=lld --ld-path=$(command -v ld64.lld-19)"
  # CMake's checks link whole programs, for which the system library is missing.
  link_stand_ins "macOS-$processor" "clang-19 --target=$target" \
    -DCMAKE_SYSTEM_NAME=Darwin -DCMAKE_HAVE_LIBC_PTHREAD=ON -DCMAKE_INSTALL_NAME_TOOL=true \
    -DCMAKE_C_COMPILER=clang-19 -DCMAKE_C_COMPILER_TARGET="$target" \
    -DCMAKE_CXX_COMPILER=clang++-19 -DCMAKE_CXX_COMPILER_TARGET="$target" \
    -DCMAKE_EXE_LINKER_FLAGS="$flags -Wl,-undefined,dynamic_lookup" -DCMAKE_SHARED_LINKER_FLAGS="$flags"
done
