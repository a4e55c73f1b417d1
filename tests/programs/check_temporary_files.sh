#!/usr/bin/env bash
# Checks that the host leaves no temporary file, however it ends, and says why it cannot write one.
# Usage: check_temporary_files.sh ORVA_HOST CXX_COMPILER
# shellcheck source-path=SCRIPTDIR source=checks.sh
source "$(dirname "$0")/checks.sh"
compiler=$2
# A coverage build would write its profile under the limits that are tried.
export LLVM_PROFILE_FILE=/dev/null
mkdir temporary
export TMPDIR=$work/temporary

expect_no_files() {  # NAME
  expect "$1: what is left in TMPDIR" '' "$(ls -A temporary)"
  expect "$1: what is left beside the sources" '' "$(find . -path ./temporary -prune -o -name '.orva-*' -print)"
}

echo 'class Box<T> { static String of() { return "box"; } }' >Box.ov
# Makes a generic instance, which is a file in TMPDIR, then writes Box.o to say so, and runs without end.
cat >Endless.ov <<'OV'
class Endless {
  static int down(int n) { if (n == 60) { return 0; } return Endless.down(n + 1) + Endless.down(n + 1); }
  static void main(ArrayList<String> args) {
    ClassLoader.getTypeByName("Box<int>");
    ClassLoader.precompileSources(["Box.ov"]);
    ClassLoader.precompileSources(args);
    Endless.down(0);
  }
}
OV
echo 'class Short { static void main() { ClassLoader.getTypeByName("Box<int>"); Console.print("short"); } }' >Short.ov
echo 'class Maker { static void main() { ClassLoader.precompileSources(["Box.ov"]); } }' >Maker.ov
echo 'class Plain { static void main() { Console.print("plain"); } }' >Plain.ov
cat >Printer.ov <<'OV'
class Printer {
  static void many(int n) { Console.print("0123456789abcdef"); if (n != 3000) { Printer.many(n + 1); } }
  static void main() { ClassLoader.getTypeByName("Box<int>"); Printer.many(0); Printer.many(0); }
}
OV

# Starts Endless.ov with a command in front, as `running`, and waits until its files are there.
start() {  # COMMAND…
  rm -f Box.o
  "$@" "$host" run Endless.ov >output 2>errors &
  running=$!
  while kill -s 0 "$running" 2>/dev/null && [ ! -e Box.o ]; do sleep 0.05; done
  [ "$(ls -A temporary)" ] || fail "Endless.ov made no file in TMPDIR: $(cat output errors)"
}

# Ends `running` by a signal, and puts its status into `found`.
end() {  # SIGNAL
  kill -s "$1" "$running"
  for ((i = 0; i < 400; i++)); do
    kill -s 0 "$running" || break
    sleep 0.05
  done 2>/dev/null
  kill -s KILL "$running" 2>/dev/null
  wait "$running" 2>/dev/null
  found=$?
}

# Signals, each with the status that the process has when nobody handles it.
for signal in HUP INT QUIT PIPE ALRM TERM USR1 USR2 XCPU XFSZ VTALRM PROF IO PWR STKFLT RTMIN RTMIN+7 RTMAX; do
  # A shell makes its background commands ignore some signals.
  start env --default-signal
  end "$signal"
  expect "SIG$signal: status" $((128 + $(kill -l "$signal"))) "$found"
  expect_no_files "SIG$signal"
done

# A signal that arrives while the folder is created.
cat >early.cpp <<'CPP'
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
extern "C" int mkdir(const char* path, mode_t mode) {
  const int result = mkdirat(AT_FDCWD, path, mode);
  kill(getpid(), SIGTERM);
  return result;
}
CPP
"$compiler" -shared -fPIC early.cpp -o early.so || fail 'cannot compile early.so'
with_library "$work/early.so" env --default-signal "$host" run Short.ov >output 2>errors
expect 'while the folder is made: status' 143 $?
expect_no_files 'while the folder is made'
# The same in another thread, because the stack is too small for the compiler.
(ulimit -s 256 && with_library "$work/early.so" env --default-signal "$host" run Short.ov) >output 2>errors
expect 'while another thread makes the folder: status' 143 $?
expect_no_files 'while another thread makes the folder'

# A signal that arrives while the folder is removed, at the end of the program or because of another signal.
cat >late.cpp <<'CPP'
#include <csignal>
#include <sys/syscall.h>
#include <unistd.h>
extern "C" int unlinkat(int folder, const char* path, int flags) {
  kill(getpid(), SIGTERM);
  return static_cast<int>(syscall(SYS_unlinkat, folder, path, flags));
}
CPP
"$compiler" -shared -fPIC late.cpp -o late.so || fail 'cannot compile late.so'
late=(env --default-signal "LD_PRELOAD=$work/late.so" "$(any_link_order)")
"${late[@]}" "$host" run Short.ov >output 2>errors
expect 'while the folder is removed: status' 143 $?
expect 'while the folder is removed: output' short "$(cat output)"
expect_no_files 'while the folder is removed'
for signal in INT TERM XFSZ; do
  start "${late[@]}"
  end $signal
  expect "while SIG$signal removes the folder: status" $((128 + $(kill -l $signal))) "$found"
  expect_no_files "while SIG$signal removes the folder"
done

# An ignored signal stays ignored, as under nohup.
for signal in HUP XFSZ; do
  start env --default-signal --ignore-signal=$signal
  kill -s $signal "$running"
  end TERM
  expect "ignored SIG$signal: status" 143 "$found"
  expect_no_files "ignored SIG$signal"
done

# The reader of the output goes away.
"$host" run Printer.ov 2>errors | head -1 >/dev/null
expect 'closed pipe: status' 141 "${PIPESTATUS[0]}"
expect_no_files 'closed pipe'

# After SIGKILL the next start removes what is left, except what belongs to a living process.
start env --default-signal
end KILL
[ "$(ls -A temporary)" ] || fail 'SIGKILL left nothing to remove'
expect 'after SIGKILL: output' plain "$("$host" run Plain.ov)"
expect_no_files 'after SIGKILL'
start env --default-signal
living=$(ls -A temporary)
expect 'beside a living process: output' short "$("$host" run Short.ov)"
expect 'beside a living process: its folder' "$living" "$(ls -A temporary)"
# In a namespace of its own, where process ids start over and our processes are invisible.
if unshare --user --map-root-user --pid --fork true 2>/dev/null; then
  expect 'from another namespace: output' short "$(unshare --user --map-root-user --pid --fork "$host" run Short.ov)"
  expect 'from another namespace: its folder' "$living" "$(ls -A temporary)"
fi
end TERM
expect_no_files 'after a living process'

# The first process of a container, which the system does not end by a signal that it raises itself.
if unshare --user --map-root-user --pid --fork true 2>/dev/null; then
  start env --default-signal unshare --user --map-root-user --pid --fork
  read -r first <"/proc/$running/task/$running/children"
  kill -s TERM "$first"
  timeout 20 tail --pid="$first" -f /dev/null || { fail 'first process: SIGTERM did not end it'; kill -s KILL "$first"; }
  wait "$running" 2>/dev/null
  expect 'first process: status' 143 $?
  expect_no_files 'first process'
fi

# Exceeding the file size limit is an error, not a signal; the old file stays.
"$host" run Maker.ov || fail 'Maker.ov failed'
before=$(sha256sum Box.o)
(ulimit -f 1; exec "$host" run Maker.ov) >output 2>errors
expect 'exhausted file size: status' 1 $?
expect 'exhausted file size: message' "Exception: Cannot write 'Box.o': File too large" "$(head -1 errors)"
expect 'exhausted file size: object' "$before" "$(sha256sum Box.o)"
expect_no_files 'exhausted file size'
(ulimit -f 1; "$host" run Printer.ov >printed 2>errors; echo $? >status)
expect 'exhausted output: status' 1 "$(cat status)"
expect 'exhausted output: message' 'Cannot print: File too large' "$(cat errors)"
expect_no_files 'exhausted output'

# TMPDIR: without one, the default is used; an unusable one is reported with the reason.
expect 'empty TMPDIR' short "$(TMPDIR='' "$host" run Short.ov 2>&1)"
expect 'no TMPDIR' short "$(env -u TMPDIR "$host" run Short.ov 2>&1)"
for reason in 'nowhere:No such file or directory' 'Box.ov:Not a directory'; do
  folder=${reason%%:*}
  TMPDIR=$folder "$host" run Short.ov >output 2>errors
  expect "TMPDIR=$folder: status" 1 $?
  expect "TMPDIR=$folder: message" \
    "ClassNotFoundException: Cannot create a folder in '$folder', the value of TMPDIR: ${reason#*:}" "$(head -1 errors)"
  expect "TMPDIR=$folder, which is not needed" plain "$(TMPDIR=$folder "$host" run Plain.ov 2>&1)"
done

# TMPDIR is a link, which leads elsewhere by the time the folder is removed.
mkdir elsewhere
ln -s temporary link
TMPDIR=$work/link start env --default-signal
ln -sfn elsewhere link
end TERM
expect_no_files 'redirected TMPDIR'

# A link that someone planted under a name that could be guessed: nothing is written through it.
echo precious >victim
expected=$(cat victim)
rm -f Box.o
sh -c 'for n in 0 1 2; do ln -s victim "Box.o.$$.$n.tmp"; done; exec "$0" run Maker.ov' "$host"
expect 'planted link: status' 0 $?
expect 'planted link: its target' "$expected" "$(cat victim)"
[ -s Box.o ] || fail 'planted link: no object'

# A class with the longest name that a file can have.
name=$(printf 'N%.0s' $(seq 252))
echo "class $name<T> { static String of() { return \"long\"; } static void main() { Console.print(
  ClassLoader.getTypeByName(\"$name<int>\").call(\"of\")); ClassLoader.precompileSources([\"$name.ov\"]); } }" >"$name.ov"
echo "class Long { static void main() { ClassLoader.precompileSources([\"$name.ov\"]);
  Console.print(ClassLoader.getTypeByName(\"$name<int>\").call(\"of\")); } }" >Long.ov
expect 'long name' long "$("$host" run Long.ov 2>&1)"
[ -s "$name.o" ] || fail 'long name: no object'
expect_no_files 'long name'
exit $failures
