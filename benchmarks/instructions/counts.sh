# Counts instructions, for the scripts of this folder.
# shellcheck shell=bash
export LC_ALL=C

# Prints "floor|call NAME NUMBER" for each count that a program makes. The C library chooses its string functions by the
# processor, so this makes it choose those that every processor of the family has.
count_calls() {  # PROGRAM FILE
  GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2,-AVX512VL,-AVX512BW,-ERMS,-FSRM,-BMI2,-MOVBE,-RTM,-SSE4_2,-SSE4_1,-SSSE3 \
    valgrind --tool=callgrind --callgrind-out-file="$2" "$1" >"$2.log" 2>&1 || { cat "$2.log" >&2; return 1; }
  # Each count has a dump, which names it and has its number of instructions.
  awk '/^desc: Trigger: Client Request:/ { name = $5; what = $6 }
    /^summary:/ { if (name) print what, name, $2; name = "" }' "$2".[0-9]*
}
