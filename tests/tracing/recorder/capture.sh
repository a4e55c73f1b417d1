#!/usr/bin/env bash
# Plays scenes with and without the tracer: the program must behave the same, and its calls must be recorded.
# Usage: capture.sh PROJECT FOLDER-OF-THE-RECORDER FOLDER-OF-THE-PROGRAMS CLASS-LOADING-LIBRARY CHECK
# shellcheck source-path=SCRIPTDIR source=../../common.sh
source "$(dirname "$0")/../../common.sh"

require objcopy python3 unshare
recorder=$2/liborva-trace-recorder.so
audit=$2/liborva-trace-audit.so
programs=$3
library=$4
events=$work/events
# Sets the variables for the program only, instead of inherited ones.
traced=(env "LD_AUDIT=$audit" "LD_PRELOAD=$recorder" "ORVA_TRACE_FOLDER=$events")
export LD_LIBRARY_PATH=$programs

# Prints a command's output and its status.
outcome() {  # COMMAND…
  local status=0
  # Hides what this shell prints about a signal.
  { "$@" 2>&1 || status=$?; } 2>/dev/null
  echo "status $status"
}

# Writes the records to $work/records, without what differs from run to run.
dump() {
  "$root/tests/tracing/dump_events.py" "$events"/*.events |
    sed -E 's/process=[0-9]+ parent=[0-9]+/process/; s/ process=[0-9]+/ process/; /^0 0 program/d' >"$work/records"
}

# Plays scenes with and without the tracer, and writes the records to $work/records.
play() {  # PROGRAM SCENE…
  rm -rf "$events"
  mkdir "$events"
  outcome "$programs/scenes_$1" "${@:2}" >"$work/plain" 2>&1
  outcome "${traced[@]}" "$programs/scenes_$1" "${@:2}" >"$work/traced" 2>&1
  same "$*: the tracer changes what the program does" "$work/plain" "$work/traced"
  dump
}

recorded() {  # WHAT; expects the records on standard input
  cat >"$work/expected"
  same "$1: the records differ" "$work/expected" "$work/records"
}

header() { echo 'header process limit=268435456 stopped=0 error=0 attached=1 unseen=0 threads='"$1"; }

# A call of SystemClassLoader.loadClass that returned.
load() {  # THREAD NAME
  cat <<RECORDS
$1 0 begin orva_SystemClassLoader_loadClass null "$2"
$1 1 begin Orva_typeByName "$2"
$1 1 returned Orva_typeByName pointer
$1 0 returned orva_SystemClassLoader_loadClass pointer
RECORDS
}

thread() { echo "$1 0 thread process \"scenes_$2\""; }  # NUMBER PROGRAM

# Calls are recorded however a symbol is bound: by the procedure linkage table, lazily or at the start, by dlsym, or by
# an address.
bindings() {
  local program bind
  for program in lazy now fixed no_plt; do
    for bind in '' 1; do
      export LD_BIND_NOW=$bind
      play "$program" symbol address plugins
      {
        header 1
        thread 1 "$program"
        load 1 anywhere
        load 1 'in the library'
        load 1 'by address'
        load 1 'from a plugin'
        load 1 'from a plugin'
      } | recorded "$program, LD_BIND_NOW=$bind"
    done
  done
}

# Each native and each neighbour, with each kind of value.
calls() {
  play lazy each
  sed -Ei 's/x{1024}/xx/' "$work/records"
  recorded 'each call' <"$root/tests/tracing/recorder/each_call.txt"
}

exceptions() {
  play lazy throw
  recorded 'exceptions' <"$root/tests/tracing/recorder/exceptions.txt"

  play lazy uncaught
  grep -q 'nobody catches this' "$work/traced" || fail "the scene 'uncaught' does not end with its exception"
  ! grep destroyed "$work/traced" || fail 'an uncaught exception unwinds the stack'
  { header 1; thread 1 lazy; load 1 thrower | head -2; } | recorded 'an uncaught exception'
}

# Calls that end without a return or a C++ exception.
endings() {
  play lazy end-threads
  {
    header 4
    for thread in '1 cancelled threw' '2 exiting threw' '3 jumped jumped'; do
      read -r number name end <<<"$thread"
      thread "$number" lazy
      load "$number" "$name" | sed "s/returned \(.*\) pointer/$end \1/"
    done
    thread 4 lazy
    load 4 'after threads'
  } | recorded 'ends of threads'

  play lazy jump
  {
    header 1
    thread 1 lazy
    for _ in 1 2; do load 1 jumped | sed 's/returned \(.*\) pointer/jumped \1/'; done
    load 1 'around a jump' | head -2
    load 1 jumped | sed 's/^1 1/1 3/; s/^1 0/1 2/; s/returned \(.*\) pointer/jumped \1/'
    load 1 'around a jump' | tail -2
    load 1 'after jumps'
  } | recorded 'jumps'

  play lazy jump-then-throw
  {
    header 1
    thread 1 lazy
    load 1 thrower | head -2
    load 1 jumped | sed 's/^1 1/1 3/; s/^1 0/1 2/; s/returned \(.*\) pointer/jumped \1/'
    load 1 thrower | tail -2 | sed 's/returned \(.*\) pointer/threw \1 <St13runtime_error>/'
    load 1 'after both'
  } | recorded 'a jump, then an exception'
}

# Counts the records that contain a text.
count() { grep -cF -- "$1" "$work/records" || true; }

expect_count() {  # NUMBER TEXT
  [[ $(count "$2") == "$1" ]] || fail "$(count "$2") records contain '$2', expected $1"
}

# What is recorded of a program's child processes.
forks() {
  # The child ends no call that its parent began.
  play lazy fork
  expect_count 10000 often
  {
    header 2
    thread 1 lazy
    load 1 forks | head -2
    thread 2 lazy
    load 2 'in the child' | head -2
    load 2 'after the fork' | head -2
    load 1 'in the parent' | sed 's/^1 1/1 3/; s/^1 0/1 2/'
    load 1 forks | tail -2
    load 1 'after the fork'
  } >"$work/expected"
  grep -vE '^2 [01] returned|often' "$work/records" | same fork "$work/expected" -
  [[ $(grep -c '^2 . returned' "$work/records") == 10004 ]] || fail 'the child ends calls of its parent'

  # A child may be told to leave the recording to its parent.
  # shellcheck disable=SC2016  # for the shell that becomes the program
  local shell=(bash -c 'export ORVA_TRACE_PROCESS=$$; exec "$@"' -)
  traced=("${shell[@]}" "${traced[@]}")
  play lazy fork-in-scan
  traced=("${traced[@]:${#shell[@]}}")
  {
    header 1
    thread 1 lazy
    echo '1 0 begin orva_ClassLoader_getTypeByName "Wagon"'
    echo '1 1 scan begins'
    echo '1 1 scan count=5 read=5 full=0 short=0 tail=1 kept=1 "Wagon" "shop.sub.Wagon"'
    echo '1 1 begin Orva_typeByName "Wagon"'
    echo '1 1 returned Orva_typeByName pointer'
    echo '1 0 returned orva_ClassLoader_getTypeByName pointer'
  } | recorded 'one process alone'
}

# Programs that exit, call exec, fork, or close all files.
processes() {
  play lazy exit
  { header 1; thread 1 lazy; load 1 'before the end'; } | recorded '_exit'

  # Each program that a process runs has its own file.
  play lazy exec
  {
    header 1
    thread 1 lazy
    load 1 'before exec'
    header 1
    thread 1 lazy | sed 's/scenes_lazy/exe/'
    load 1 'before the end'
  } | recorded exec
  [[ $(cd "$events" && echo *) =~ ^([0-9]+)-0.events\ ([0-9]+)-1.events$ && ${BASH_REMATCH[1]} == "${BASH_REMATCH[2]}" ]] ||
    fail "exec leaves the files $(ls "$events")"

  forks

  play lazy close
  expect_count 10000 'often'
  expect_count 5000 'returned Orva_typeByName'

  play lazy errno
  grep -qx '1 1' "$work/traced" || fail 'a native changes errno'
}

# Eight threads at once: every record is complete, and each thread's records are in order.
threads() {
  play lazy threads
  local number thread
  for number in 0 1 2 3 4 5 6 7; do expect_count 6250 "\"thread $number\""; done
  expect_count 25000 'returned Orva_typeByName pointer'
  header 8 | same threads - <(head -1 "$work/records")
  # The depth of each begin and end must match the number of the thread's open calls.
  awk '/^[1-8] / && $3 != "thread" { if ($3 == "begin") ok = depth[$1]++ == $2; else ok = --depth[$1] == $2
                                     if (!ok) { print; exit 1 } }' "$work/records" ||
    fail 'the records are out of order'

  # If the process is killed, only the records that were being written may be missing.
  rm -rf "$events"
  mkdir "$events"
  outcome "${traced[@]}" "$programs/scenes_lazy" kill >"$work/traced" 2>&1
  grep -q 'status 137' "$work/traced" || fail 'the scene was not killed'
  dump
  [[ $(count returned) -ge 10000 ]] || fail "only $(count returned) returns were recorded before the kill"
  [[ $(count unfinished) -le 2 ]] || fail "$(count unfinished) records are unfinished"
  [[ $(count hole) -le 1 ]] || fail 'records have more than one hole'
}

# Each native of a signal handler is recorded, or counted as missed.
handlers() {
  rm -rf "$events"
  mkdir "$events"
  "${traced[@]}" "$programs/scenes_lazy" handler 2>"$work/handled" >/dev/null || fail "the scene 'handler' fails"
  dump
  local missed recorded
  missed=$(sed -nE '1s/.* missed=([0-9]+)$/\1/p' "$work/records")
  recorded=$(count 'begin orva_ClassLoader_objectAbiVersion')
  [[ ${missed:-0} -gt 0 ]] || fail 'no signal interrupted the recorder'
  [[ $((missed + recorded)) == "$(cat "$work/handled")" ]] ||
    fail "of $(cat "$work/handled") natives, $recorded are recorded and $missed missed"
}

# When the file cannot grow, the trace ends and says why; the program continues.
room() {
  play lazy limit
  grep -q 'still there' "$work/traced" || fail 'the program ended at its limit of file sizes'
  grep -q '^header .* stopped=2 error=27 ' "$work/records" || fail "RLIMIT_FSIZE: $(head -1 "$work/records")"
  [[ $(count often) -ge 1000 ]] || fail "only $(count often) records were written below RLIMIT_FSIZE"

  # If there is no space for a native's calls, its end is not recorded either.
  for ORVA_TRACE_LIMIT in {100000..100144..16}; do
    export ORVA_TRACE_LIMIT
    play lazy often
    [[ $(count 'returned orva_SystemClassLoader_loadClass') -le $(count 'returned Orva_typeByName') ]] ||
      fail "with the limit $ORVA_TRACE_LIMIT, natives have ends, and calls in them have none"
  done

  export ORVA_TRACE_LIMIT=100000
  play lazy often
  unset ORVA_TRACE_LIMIT
  grep -q '^header .* limit=100000 stopped=1 error=0 ' "$work/records" || fail "limit: $(head -1 "$work/records")"
  [[ $(stat -c %s "$events"/*) -le 100000 ]] || fail 'the file is longer than its limit'
  [[ $(count often) -ge 1000 ]] || fail "only $(count often) records were written below the limit"

  # Only a part of the program's remaining address space is mapped, but at least 1 MiB.
  rm -rf "$events"
  mkdir "$events"
  (ulimit -v 400000; outcome "${traced[@]}" "$programs/scenes_lazy" exit) >"$work/traced" 2>&1
  dump
  local mapped
  mapped=$(sed -nE '1s/.* limit=([0-9]+) .*/\1/p' "$work/records")
  [[ $mapped -ge 1048576 && $mapped -le $((400000 * 1024 / 16)) ]] || fail "$mapped bytes are mapped of 400,000 KiB"

  play lazy often
  mkdir -p "$events"
  outcome "$programs/scenes_lazy" often >"$work/plain"
  full_disk 96 >"$work/traced"
  same 'a full disk' "$work/plain" "$work/traced"
  grep -q '^header .* stopped=2 error=28 ' "$work/records" || fail "a full disk: $(head -1 "$work/records")"
  full_disk 4 >"$work/traced"
  same 'a disk that was full at the start' "$work/plain" "$work/traced"
}

# Runs a program whose trace is on a disk of SIZE KiB.
full_disk() {  # SIZE
  export root events work
  export -f outcome dump
  # shellcheck disable=SC2016  # for the shell that has the disk
  unshare -m bash -c 'mount -t tmpfs -o size="$1"k tmpfs "$events" && outcome "${@:2}"; dump 2>/dev/null' \
    - "$1" "${traced[@]}" "$programs/scenes_lazy" often
}

# Only one library is traced; the trace counts the other one.
second_library() {
  cp "$library" "$work/second.so"
  export LD_LIBRARY_PATH=$work
  play lazy second
  { header 1 | sed 's/unseen=0/unseen=1/'; thread 1 lazy; load 1 'in the first'; } | recorded 'a second library'
}

# A library and a host with another standard library, whose strings have another layout, and whose symbols differ.
other_library() {  # COMPILER…
  local compile=("$@" -std=c++17 -fPIC -fvisibility=hidden "-I$root") library=$work/liborva-classloader.so.0.1
  require "${compile[0]}"
  programs=$work
  printf '#include "%s"\n' "$root"/classloader/*.cpp >"$work/library.cpp"
  "${compile[@]}" -shared -Wl,-soname,liborva-classloader.so.0.1 "$work/library.cpp" -o "$library"
  "${compile[@]}" "-I$root/tests/symbols" -c "$root/tests/packaging/consumer/host.cpp" -o "$work/host.o"
  objcopy --weaken --localize-symbol=main "$work/host.o"
  "${compile[@]}" "$root/tests/tracing/recorder/scenes.cpp" "$work/host.o" "$library" -o "$work/scenes_lazy"
  export LD_LIBRARY_PATH=$work
  calls
  exceptions
}
libcxx() { other_library clang++-19 -stdlib=libc++; }
debug_mode() { other_library g++ -D_GLIBCXX_DEBUG; }
counted_strings() { other_library g++ -D_GLIBCXX_USE_CXX11_ABI=0; }

"$5"
