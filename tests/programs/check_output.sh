#!/usr/bin/env bash
# Checks that output is never lost silently: every write that fails is reported, whatever the sizes of the texts, and
# everything that was printed before a crash is there.
# Usage: check_output.sh ORVA_HOST CXX_COMPILER
# shellcheck source-path=SCRIPTDIR source=checks.sh
source "$(dirname "$0")/checks.sh"
compiler=$2
# A coverage build would write its profile under the limits that are tried.
export LLVM_PROFILE_FILE=/dev/null

text() { printf "%$1s" | tr ' ' "$2"; }  # SIZE BYTE

cat >Print.ov <<'OV'
class Print {
  static void all(ArrayList<String> args, int at) {
    if (at == args.size()) { return; }
    Console.print(args.get(at));
    Print.all(args, at + 1);
  }
  static void main(ArrayList<String> args) { Print.all(args, 0); }
}
OV

# Sizes around those of buffers, alone and in all pairs; the disk is full from the first byte.
sizes=(0 1 1023 4094 4095 4096 4097 8191 8192 70000)
mixes=()
for one in "${sizes[@]}"; do
  mixes+=("$one")
  for other in "${sizes[@]}"; do mixes+=("$one $other"); done
done
for mix in "${mixes[@]}"; do
  words=()
  for size in $mix; do words+=("$(text "$size" x)"); done
  "$host" run Print.ov -- "${words[@]}" >/dev/full 2>.errors
  expect "full disk, $mix" '1 Cannot print: No space left on device' "$? $(cat .errors)"
done

# The shell's memory is gone when the host writes to it: what accepts no byte now accepts none later.
timeout 10 "$host" run Print.ov -- text >/proc/self/mem 2>.errors
expect 'a file that takes nothing' '1 Cannot print: Input/output error' "$? $(cat .errors)"

# A file with a size limit: what fits is written, the rest is reported.
for sizes in '2047 1' '2048' '1000 1000 1000' '4096 4095' '70000'; do
  words=()
  for size in $sizes; do words+=("$(text "$size" x)"); done
  (trap '' XFSZ && ulimit -f 2 && "$host" run Print.ov -- "${words[@]}" >.output 2>.errors)
  expect "limited file, $sizes" '1 Cannot print: File too large 2048' "$? $(cat .errors) $(wc -c <.output)"
done
(trap '' XFSZ && ulimit -f 2 && "$host" run Print.ov -- "$(text 2047 x)" >.output 2>.errors)
expect 'a file that is just long enough' '0  2048' "$? $(cat .errors) $(wc -c <.output)"

# No output at all, and a pipe that nobody reads.
"$host" run Print.ov -- text >&- 2>.errors
expect 'closed output' '1 Cannot print: Bad file descriptor' "$? $(cat .errors)"
"$host" run Print.ov >&- 2>.errors
expect 'closed output of a program that prints nothing' '0 ' "$? $(cat .errors)"
mkfifo pipe
# shellcheck disable=SC2094
exec 3<>pipe 4>pipe 3>&-
(trap '' PIPE && exec "$host" run Print.ov -- text) >&4 2>.errors
expect 'pipe without a reader' '1 Cannot print: Broken pipe' "$? $(cat .errors)"
exec 4>&-

# Natives that end the running process, and natives that print by themselves.
cat >natives.cpp <<'CPP'
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>
extern "C" void orva_Natives_end(long how) {
  if (how == 0) _exit(7);
  if (how == 1) std::abort();
  std::raise(static_cast<int>(how));
}
extern "C" void orva_Natives_print(const char* text) { std::printf("%s\n", text); }
extern "C" void orva_Natives_hurry() { fcntl(STDOUT_FILENO, F_SETFL, fcntl(STDOUT_FILENO, F_GETFL) | O_NONBLOCK); }
CPP
"$compiler" -shared -fPIC natives.cpp -o natives.so || exit 1
cat >Natives.ov <<'OV'
class Natives {
  static native void end(int how);
  static native void print(String text);
  static native void hurry();
}
OV
with_natives() { with_library "$work/natives.so" "$host" "$@"; }
for how in 0 1 9 11 15; do
  echo "class End { static void main() { Console.print(\"first\"); Console.print(\"last\"); Natives.end($how); } }" >End.ov
  with_natives run End.ov >.output 2>.errors
  expect "what was printed before end $how, in a file" 'first last' "$(tr '\n' ' ' <.output | sed 's/ $//')"
  expect "what was printed before end $how, in a pipe" 'first last' "$(with_natives run End.ov 2>.errors | tr '\n' ' ' | sed 's/ $//')"
done

# Output and errors keep their order, whoever prints.
cat >Order.ov <<'OV'
class Order {
  static void main() {
    Console.print("1");
    Natives.print("2");
    Console.print("3");
    Natives.print("4");
    throw new Exception("5");
  }
}
OV
with_natives run Order.ov >.output 2>&1
expect order '1 2 3 4 Exception: 5' "$(head -5 .output | tr '\n' ' ' | sed 's/ $//')"

# Non-blocking output with a slow reader.
cat >Hurry.ov <<'OV'
class Hurry {
  static void lines(String text, int n) {
    if (n == 40) { return; }
    Console.print(text);
    Hurry.lines(text, n + 1);
  }
  static void main(ArrayList<String> args) { Natives.hurry(); Hurry.lines(args.get(0), 0); }
}
OV
mkfifo slow
{ sleep 0.3; wc -c; } <slow >.size &
with_natives run Hurry.ov -- "$(text 9999 x)" >slow 2>.errors
expect 'output that does not wait' '0 ' "$? $(cat .errors)"
wait
expect 'all of it' 400000 "$(tr -d ' ' <.size)"

# A full pipe that another program made non-blocking: every message still waits for room.
echo 'class Late { static void main() { throw new Late("the reason"); } }' >Late.ov
echo 'class Bad { static void main() { missing = 1; } }' >Bad.ov
into_full_pipe() {  # COMMAND…; sets `received` to the status and the first line after the 64 KiB that fill the pipe
  { sleep 0.2; tail -c +65537; } <slow >.received &
  python3 - "$@" <<'PY'
import fcntl, os, subprocess, sys
pipe = os.open("slow", os.O_WRONLY)
fcntl.fcntl(pipe, fcntl.F_SETPIPE_SZ, 65536)
fcntl.fcntl(pipe, fcntl.F_SETFL, os.O_NONBLOCK)
os.write(pipe, b"x" * 65536)
sys.exit(subprocess.run(sys.argv[1:], stdout=pipe, stderr=pipe).returncode)
PY
  local status=$?
  wait
  received="$status $(head -1 .received)"
}
into_full_pipe "$host" run Late.ov
expect 'an uncaught exception in a full pipe' '1 Late: the reason' "$received"
into_full_pipe "$host" run Bad.ov
expect 'an error in a full pipe' "1 Bad.ov:1:34: error: unknown variable 'missing'" "$received"
into_full_pipe "$host" run Absent.ov
expect 'a missing file in a full pipe' "1 Cannot read 'Absent.ov': No such file or directory" "$received"
into_full_pipe "$host" --version
expect 'the version in a full pipe' "0 $("$host" --version | head -1)" "$received"

# Sockets and terminals, which cannot be made blocking for one program only: no message is lost.
message_in_full() {  # KIND COMMAND…; prints the status and the first line after what fills a socket or terminal
  python3 - "$@" <<'PY'
import os, pty, socket, subprocess, sys, time, tty
if sys.argv[1] == "socket":
    ours, theirs = (end.detach() for end in socket.socketpair())
else:
    ours, theirs = pty.openpty()
    tty.setraw(theirs)
os.set_blocking(theirs, False)
for size in 4096, 1:
    try:
        while True:
            os.write(theirs, b"x" * size)
    except BlockingIOError:
        pass
host = subprocess.Popen(sys.argv[2:], stdout=theirs, stderr=theirs)
time.sleep(0.2)
os.set_blocking(ours, False)
received = b""
isOver = False
while not isOver:
    isOver = host.poll() is not None
    try:
        while True:
            received += os.read(ours, 65536)
    except BlockingIOError:
        time.sleep(0.01)
print(host.returncode, received.decode().lstrip("x").partition("\n")[0])
PY
}
for kind in socket terminal; do
  expect "an uncaught exception in a full $kind" '1 Late: the reason' "$(message_in_full $kind "$host" run Late.ov)"
  expect "an error in a full $kind" "1 Bad.ov:1:34: error: unknown variable 'missing'" \
    "$(message_in_full $kind "$host" run Bad.ov)"
  expect "a missing file in a full $kind" "1 Cannot read 'Absent.ov': No such file or directory" \
    "$(message_in_full $kind "$host" run Absent.ov)"
  expect "an unknown option in a full $kind" "$("$host" --unknown 2>&1 | head -1)" \
    "$(message_in_full $kind "$host" --unknown | cut -d ' ' -f 2-)"
done
exit $failures
