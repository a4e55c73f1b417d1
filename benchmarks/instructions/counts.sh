# How the scripts of this folder count.
# shellcheck shell=bash
export LC_ALL=C

# Prints "floor|call NAME NUMBER" for each count that a program makes; the C library chooses its string functions by the
# processor, and these are what every processor of the family has.
count_calls() {  # PROGRAM FILE
  GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2,-AVX512VL,-AVX512BW,-ERMS,-FSRM,-BMI2,-MOVBE,-RTM,-SSE4_2,-SSE4_1,-SSSE3 \
    valgrind --tool=callgrind --callgrind-out-file="$2" "$1" >"$2.log" 2>&1 || { cat "$2.log" >&2; return 1; }
  # A dump for each count says which one it is and how many instructions it has.
  awk '/^desc: Trigger: Client Request:/ { name = $5; what = $6 }
    /^summary:/ { if (name) print what, name, $2; name = "" }' "$2".[0-9]*
}
