#!/usr/bin/env bash
# Checks the message and the exit status of orva-trace for programs that cannot be run or traced.
# Usage: check_bad_programs.sh ORVA_TRACE HOST STATIC_HOST TRACED_HOST
# shellcheck source=tests/tracing/program/common.sh
. "$(dirname "$0")/common.sh"
host=${given[1]:?no host} static_host=${given[2]:?no static host} traced_host=${given[3]:?no traced host}
nobody=65534

# Runs as another user if this is root, because root may execute and read nearly everything.
as_user() {
  if [[ $(id -u) == 0 ]]; then setpriv --reuid=$nobody --regid=$nobody --clear-groups "$@"; else "$@"; fi
}

mkdir folder path
touch path/plain
printf '#!/nowhere/shell\n' >script
printf '#! %s/script\n' "$work" >nested
cp "$host" sealed
chmod 755 script nested
chmod 644 sealed
check 'no such name' 127 "orva-trace: cannot find the program 'no_such_program' in PATH" no_such_program
check 'no such file' 127 "orva-trace: cannot run './none': No such file or directory" ./none
check 'no such folder' 126 "orva-trace: cannot run './sealed/none': Not a directory" ./sealed/none
check 'a folder' 126 "orva-trace: cannot run './folder': Is a directory" ./folder
check 'not executable' 126 "orva-trace: cannot run './sealed': Permission denied" ./sealed
PATH=path:$PATH check 'not executable in PATH' 126 "orva-trace: cannot run 'path/plain': Permission denied" plain
for name in script nested; do
  check "$name without interpreter" 127 "orva-trace: cannot run './$name', which needs the interpreter \
'/nowhere/shell': No such file or directory" "./$name"
done

# orva-trace's message names the file at fault, also where it is the interpreter of a script.
refused() {  # WHAT FILE REASON
  check "$1" 126 "orva-trace: cannot trace './$2': $3" "./$2"
  printf '#!%s/%s\n' "$work" "$2" >by_script
  chmod 755 by_script
  check "$1, as an interpreter" 126 "orva-trace: cannot trace '$work/$2': $3" ./by_script
}
patched() {  # FILE OFFSET OCTAL
  cp "$host" "$1"
  # shellcheck disable=SC2059
  printf "\\$3" | dd of="$1" bs=1 seek="$2" conv=notrunc status=none
}
other='it is built for another processor, and orva-trace traces only 64-bit programs for x86-64'
patched aarch64 18 267
patched i386 18 003
patched short 4 001
for file in aarch64 i386 short; do
  refused "$file" "$file" "$other"
done
echo 'int main(void) { return 0; }' >main.c
musl-gcc -o musl main.c || fail 'musl-gcc is not installed, or fails'
linker=$(readelf -l musl | sed -n 's/.*interpreter: \(.*\)]/\1/p')
refused 'another C library' musl "it starts with the dynamic linker '$linker', and orva-trace needs that of the GNU C \
library"
sed "s|$linker|/nowhere${linker:8}|" musl >lost_linker
chmod 755 lost_linker
check 'no dynamic linker' 127 "orva-trace: cannot run './lost_linker', which needs the dynamic linker \
'/nowhere${linker:8}': No such file or directory" ./lost_linker

# Only root can make files that grant rights.
if [[ $(id -u) == 0 ]]; then
  ignored='so the dynamic linker ignores LD_AUDIT and LD_PRELOAD: trace a copy without these rights'
  cp "$host" setuid
  chown $nobody setuid
  chmod 4755 setuid
  cp "$host" setgid
  chgrp $nobody setgid
  chmod 2755 setgid
  for file in setuid setgid; do
    refused "$file" "$file" "it is setuid or setgid, $ignored"
  done
  # A process that may not gain rights is started with those that it has.
  setpriv --no-new-privs "$trace" --output /dev/null ./setuid --end 3 2>errors
  same 'setuid where no rights are given' '3 ' "$? $(cat errors)"
  cp "$host" own
  chmod 4755 own
  check 'setuid for who runs it' 3 '' --output /dev/null ./own --end 3
  cp "$host" capable
  setcap cap_net_raw+ep capable || fail 'setcap fails'
  chmod 777 "$work" "$TMPDIR"
  as_user "$trace" ./capable >output 2>errors
  same 'file capabilities' "126 orva-trace: cannot trace './capable': it has file capabilities, $ignored" \
    "$? $(cat errors)"
  check 'file capabilities, as root' 3 '' --output /dev/null ./capable --end 3
fi

# orva-trace's own failure.
cat >without_processes <<SCRIPT
ulimit -u 0
exec "\$@"
SCRIPT
chmod 755 "$work"
chmod 777 "$TMPDIR"
as_user bash without_processes "$trace" /bin/true >output 2>errors
same 'no more processes' "2 orva-trace: cannot make a process for '/bin/true': Resource temporarily unavailable" \
  "$? $(cat errors)"

# Programs that run, but whose calls are not seen: orva-trace exits with their status.
check 'no library' 3 "orva-trace: no class-loading library was seen in '/bin/sh'" /bin/sh -c 'exit 3'
linked="this program links the library statically: link orva::classloader_traced instead"
check 'linked statically' 3 "orva-trace: '$static_host': $linked" "$static_host" --ask shop.Till --end 3
same 'output of the program' 'shop.Till is not a type' "$(cat output)"
check 'linked statically, to be traced' 3 '' --output tree "$traced_host" --ask shop.Till --end 3
same 'its lookups' 1 "$(grep -c 'getTypeByName("shop.Till")' tree)"
# This program has two recorders, of which one sees the calls. It also maps its own files, one of which is named like a
# trace.
for other in calendar.events 1-0.events; do
  echo 'no trace' >"$other"
  rm -f started
  "$trace" --output tree "$traced_host" --map "$other" --ask shop.Till --ready --wait >started 2>/dev/null &
  tracer=$!
  await started ready
  program=$(pgrep -P "$tracer")
  "$trace" --dump "$program" >dumped 2>errors
  same "errors of --dump of a program that maps $other" '' "$(cat errors)"
  same 'its lookups in --dump' 1 "$(grep -c 'getTypeByName("shop.Till")' dumped)"
  kill -KILL "$program"
  wait "$tracer" 2>/dev/null
done
gcc -static -o whole main.c
check 'a static program' 0 "orva-trace: no class-loading library was seen in './whole'" ./whole
# A script that runs one of each: orva-trace shows the calls that it saw, and names the program that it did not see.
cat >both <<SCRIPT
#!/bin/sh
"$host" --ask shop.Till
"$static_host" --ask shop.Till
SCRIPT
chmod 755 both
check 'one of each kind' 0 "orva-trace: '$static_host': $linked" --output tree ./both
grep -q 'shop.Till' tree || fail 'the tree lacks the lookup that was seen'

# A trace that the user may not open, and one whose folder the user may only list.
chmod 755 "$work"
mkdir unreadable
echo >unreadable/1-0.events
chmod 000 unreadable/1-0.events
for rights in 755 744; do
  chmod "$rights" unreadable
  as_user "$trace" --read unreadable >/dev/null 2>errors
  same "--read of a trace in a folder with rights $rights" \
    "orva-trace: cannot read 'unreadable/1-0.events': Permission denied" "$(cat errors)"
done

if [[ $(stat -c %u /proc/1) != "$(as_user id -u)" ]]; then
  as_user "$trace" --dump 1 >/dev/null 2>errors
  same "--dump of another user's process" 'orva-trace: cannot look at process 1: Permission denied' "$(cat errors)"
fi
# A process that ends after its parent has become a program that does not wait for it.
bash -c '(until [[ $(</proc/$$/comm) == sleep ]]; do :; done) & echo $! >ended; exec sleep 600' &
parent=$!
until [[ -s ended && $(ps -o stat= "$(cat ended)") == Z* ]]; do sleep 0.05; done
check '--dump of an ended process' 2 \
  "orva-trace: cannot look at process $(cat ended): it has ended, or is the kernel's" --dump "$(cat ended)"
kill $parent
exit "$failures"
