# For the checks of the ABI and of the symbols: builds the library, and reads what it exports and requires.
# shellcheck shell=bash
export LC_ALL=C

build_library() {  # ROOT FOLDER CMAKE_OPTION…
  {
    cmake -S "$1" -B "$2" -G Ninja -DORVA_TESTS=OFF -DORVA_REFERENCE_HOST=OFF -DORVA_HOST_CONTRACT=OFF \
      -DORVA_TRACING=OFF "${@:3}" &&
      cmake --build "$2"
  } >"$2.log" 2>&1 || { cat "$2.log" >&2; return 1; }
}

find_library() { find "$1" -name "liborva-classloader.$2"; }  # FOLDER a|so

exported_symbols() { nm -D --defined-only "$1" | awk '{ print $NF }' | sort; }  # SHARED_LIBRARY

# What a shared library requires of its host: symbols of the standard libraries have versions, the host's have none.
# Each line names the header that declares the symbol, what it is declared as, the plain name, and the symbol itself.
required_symbols() {  # ROOT SHARED_LIBRARY
  local symbol name header
  nm -D --undefined-only "$2" | awk '$1 == "U" && $2 !~ /@/ { print $2 }' | while read -r symbol; do
    name=$(c++filt "$symbol" | sed 's/(.*//; s/\[abi:[^]]*\]//')
    header=$(cd "$1" && grep -lE "\<${name##*:}[(;]" runtime_api/*.h) || header=undeclared
    printf '%-24s %-8s %-62s %s\n' "$header" "$(kind_of "$name" "$symbol" "$1/$header")" "$name" "$symbol"
  done | sort
}

# One of: function (of C), static, const or member (of a class), data.
kind_of() {  # NAME SYMBOL HEADER
  local declaration
  declaration=$(grep -E "\<${1##*:}[(;]" "$3" 2>/dev/null) || { echo unknown; return; }
  case "$declaration $2" in
    extern*\;*) echo data ;;
    *' static '*) echo static ;;
    *' _ZNK'*) echo const ;;
    *' _Z'*) echo member ;;
    *) echo function ;;
  esac
}
