#!/usr/bin/env bash
# Checks orva-trace on programs that run: it must not change their streams, status and environment, and must show their
# calls, however they start and end.
# Usage: check_programs.sh ORVA_TRACE HOST FOLDER_OF_LIBRARIES
# shellcheck source=tests/tracing/program/common.sh
. "$(dirname "$0")/common.sh"
host=${given[1]:?no host} libraries=${given[2]:?no folder of libraries}

# Counts the lookups of a name that a file shows.
shown() { grep -c "getTypeByName(\"$1\")" "$2"; }  # NAME FILE

# == Streams and statuses
# `check` compares all errors, so here the tree goes to a file.
check 'a program that ends' 7 '' --output tree "$host" --ask shop.Till --end 7
same 'its output' 'shop.Till is not a type' "$(cat output)"
same 'its lookups' 1 "$(shown shop.Till tree)"
same 'lines beyond 80 columns' 0 "$(LC_ALL=C.UTF-8 grep -c '.\{81\}' tree)"
"$trace" "$host" --ask shop.Till >output 2>errors
same 'the tree on standard error' 1 "$(shown shop.Till errors)"
same 'standard output' 'shop.Till is not a type' "$(cat output)"
same 'standard input' hello "$(echo hello | "$trace" cat 2>errors)"
# shellcheck disable=SC2016
streams='for stream in 0 1 2; do [ ! -e /proc/$$/fd/$stream ] || echo $stream; done'
(exec 0<&- 2>&- && "$trace" --output tree sh -c "$streams" >output)
same 'streams that are open' 1 "$(paste -sd' ' output)"
"$trace" --output tree true 2>&-
same 'a tree without standard error' 0 "$(wc -c <tree)"
for signal in INT TERM KILL SEGV PIPE; do
  number=$(kill -l "$signal")
  bash -c '"$@" >output 2>errors' check "$trace" --output tree "$host" --ask shop.Till --signal "$number" 2>/dev/null
  same "ended by SIG$signal" $((128 + number)) $?
  same "lookups before SIG$signal" 1 "$(shown shop.Till tree)"
done
same 'what is left' '' "$(ls -A "$TMPDIR")$(ls core* 2>/dev/null)"
python3 - "$trace" <<'PY' || fail 'the signal that ended the program is not the one that ends orva-trace'
import signal, subprocess, sys
# Even if the process that starts it has blocked that signal.
ending = "import os, signal; signal.pthread_sigmask(signal.SIG_UNBLOCK, [15]); os.kill(os.getpid(), 15)"
signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGTERM])
done = subprocess.run([sys.argv[1], "--output", "tree", sys.executable, "-c", ending], capture_output=True)
sys.exit(done.returncode != -signal.SIGTERM)
PY
# shellcheck disable=SC2016
(ulimit -S -c "$(ulimit -H -c)"; "$trace" --output tree sh -c 'ulimit -c 0; kill -SEGV $$' 2>errors)
same 'core dumps of orva-trace' '' "$(ls core* 2>/dev/null)"
(trap '' PIPE INT; "$trace" --output tree sh -c 'kill -PIPE $$; kill -INT $$; exit 5' 2>errors)
same 'the status after ignored signals' 5 $?

# == How a program is found and started
ln -s "$host" 'a host'
mkdir 'my programs'
ln -s "$host" 'my programs/asker'
for word in './a host' 'my programs/asker' "$work/a host"; do
  check "$word" 0 '' --output tree "$word" --ask shop.Till
  same "lookups of $word" 1 "$(shown shop.Till tree)"
done
PATH="my programs:$PATH" check 'by PATH' 0 '' --output tree asker --ask shop.Till
same 'lookups by PATH' 1 "$(shown shop.Till tree)"
mkdir 'other records'
TMPDIR="$work/other records" check 'a folder with a blank' 0 '' --output 'the tree' "$host" --ask shop.Till
same 'lookups in a folder with a blank' 1 "$(shown shop.Till 'the tree')"
(cd 'my programs' && TMPDIR=. "$trace" --output ../tree sh -c 'cd / && "$@"' sh "$host" --ask shop.Till >output)
same 'lookups after the working folder has changed' 1 "$(shown shop.Till tree)"

# An installation whose path the dynamic linker would split.
installed="$work/opt: tools"
installed_libraries=$installed/$(realpath --relative-to="$(dirname "$trace")/.." "$libraries")
mkdir -p "$installed/bin" "$installed_libraries"
cp "$trace" "$installed/bin/"
cp "$libraries"/* "$installed_libraries/"
"$installed/bin/orva-trace" --output tree "$host" --ask shop.Till >output 2>errors
same 'errors of an installation with a blank and a colon' '' "$(cat errors)"
same 'lookups by that installation' 1 "$(shown shop.Till tree)"
TMPDIR="$work/other records" "$installed/bin/orva-trace" true 2>errors
same 'no path that can be listed' "2 orva-trace: cannot load \
'$installed_libraries/liborva-trace-audit.so', which has a blank, a colon or a '\$' in its path: name a folder \
without these with --keep or TMPDIR" "$? $(cat errors)"
rm "$installed_libraries/liborva-trace-recorder.so"
"$installed/bin/orva-trace" true 2>errors
same 'no recorder' "2 orva-trace: cannot read '$installed_libraries/liborva-trace-recorder.so', which is a part of \
orva-trace: No such file or directory" "$? $(cat errors)"

# == Children
cat >script <<SCRIPT
#!/bin/sh
"$host" --ask shop.First
exec "$host" --ask shop.Second --fork --ask shop.Third
SCRIPT
cp script without_interpreter
sed -i 1d without_interpreter
chmod 755 script without_interpreter
for file in script without_interpreter; do
  check "$file" 0 '' --output tree "./$file"
  same "lookups of $file" '1 1 1' "$(shown shop.First tree) $(shown shop.Second tree) $(shown shop.Third tree)"
  check "$file, --no-follow" 0 '' --no-follow --output tree "./$file"
  same "lookups of $file, --no-follow" '0 1 0' \
    "$(shown shop.First tree) $(shown shop.Second tree) $(shown shop.Third tree)"
  same "output of $file, --no-follow" 3 "$(grep -c 'is not a type' output)"
done
# shellcheck disable=SC2016
LD_PRELOAD=libm.so.6 LD_AUDIT='' "$trace" --output tree sh -c 'echo "$LD_PRELOAD $LD_AUDIT"' >output 2>errors
same 'what is preloaded already' "libm.so.6:$libraries/liborva-trace-recorder.so $libraries/liborva-trace-audit.so" \
  "$(cat output)"
check 'orva-trace under orva-trace' 0 "orva-trace: no class-loading library was seen in '$trace'" \
  --keep together --no-follow --output tree "$trace" --keep together --output inner "$host" --ask shop.Till
same 'lookups of the inner one' 1 "$(shown shop.Till inner)"

# == Formats, filters and kept records
check 'all formats' 0 '' --json calls.json --html calls.html --keep kept "$host" --ask shop.Till --ask shop.Cart
check 'one device for all formats' 0 '' --read kept --output /dev/null --json /dev/null --html /dev/null
python3 -c 'import json; json.load(open("calls.json"))' || fail 'calls.json is not JSON'
grep -q 'shop.Till' calls.html || fail 'calls.html lacks a lookup'
mkdir kept/another
touch kept/another/1-0.events
check 'a kept trace' 0 '' --read kept
same 'lookups of a kept trace' '1 1' "$(shown shop.Till output) $(shown shop.Cart output)"
check 'a kept trace, one name' 0 '' --read kept --name Till
same 'lookups of one name' '1 0' "$(shown shop.Till output) $(shown shop.Cart output)"
check 'a kept trace, one native' 0 '' --read kept --native loadClass
same 'lookups of another native' '0 0' "$(shown shop.Till output) $(shown shop.Cart output)"
check 'a kept trace, slow calls' 0 '' --read kept --slower 100s
same 'slow lookups' '0 0' "$(shown shop.Till output) $(shown shop.Cart output)"
check 'a summary' 0 '' --read kept --summary
grep -q shop.Till output || fail "the summary lacks the missed name: $(cat output)"
# The name is too long for a std::string to store without an allocation.
bare=$work/a_program_that_loads_no_class-loading_library
cp "$(type -P true)" "$bare"
none="orva-trace: no class-loading library was seen in '$bare'"
check 'a program without the library' 0 "$none" --keep bare "$bare"
check 'a kept trace of it' 2 "$none" --read bare
for option in --summary --json=calls.json --html=calls.html; do
  check "a kept trace of it, $option" 2 "$none" --read bare "$option"
done
check 'a program that calls nothing' 0 '' --keep idle --output tree "$host"
check 'a kept trace of it, without calls' 0 '' --read idle
for name in Pen Ink; do
  check "a folder that holds a trace, $name" 0 '' --keep kept --output tree "$host" --ask "shop.$name"
  same "lookups of this start" "0 1" "$(shown shop.Till tree) $(shown "shop.$name" tree)"
done
check 'all starts' 0 '' --read kept
same 'lookups of all starts, by start' 'Till Pen Ink' \
  "$(grep -oE '^Cl.*(Till|Pen|Ink)' output | sed 's/.*shop.//' | paste -sd' ')"
check 'a limit' 0 '' --limit 64K --output tree "$host" --ask shop.Till --times 20000 --ask shop.Cart
same 'lookups within the limit' 1 "$(shown shop.Till tree)"
same 'lookups beyond the limit' 0 "$(shown 'shop.Tills' tree)"
grep -q 'size limit is reached' tree || fail 'the tree does not say that it was cut'
check 'a limit, summed up' 0 '' --limit 64K --summary --output summary --json cut.json "$host" --times 20000
for file in summary cut.json; do
  grep -q 'size limit is reached' "$file" || fail "$file does not say that the trace was cut"
done

check 'a limit, kept' 0 '' --keep cut --limit 64K --output tree "$host" --times 20000
note="orva-trace: process $(basename cut/*/*-0.events -0.events): the trace ends early: its size limit is reached"
for option in --json=calls.json --html=calls.html; do
  check "a cut trace, $option" 0 "$note" --read cut "$option"
done
check 'a cut trace, --summary' 0 '' --read cut --summary
grep -q 'its size limit is reached' output || fail "the summary of a cut trace: $(tail -1 output)"
truncate -s 9000 cut/*/*.events
"$trace" --read cut --output tree 2>errors
grep -q 'its file is damaged from byte [0-9]* on' tree || fail "a damaged file: found <$(tail -1 tree)>"
check 'a summary of nothing' 0 '' --read kept --name nobody --summary
same 'what it says' 'no calls' "$(cat output)"

# == A trace that cannot be written
"$trace" "$host" --ask shop.Till 2>&1 >output | head -c 0
same 'a closed pipe' '0 shop.Till is not a type' "${PIPESTATUS[0]} $(cat output)"
check 'a full disk' 3 "orva-trace: the trace ends here: cannot write '/dev/full': No space left on device" \
  --output /dev/full "$host" --ask shop.Till --end 3
"$trace" --read kept >/dev/full 2>errors
same 'a full disk, --read' "2 orva-trace: the trace ends here: cannot write standard output: No space left on device" \
  "$? $(cat errors)"
(ulimit -f 8; "$trace" "$host" --ask shop.Till --times 20000 --end 3 >output 2>errors)
same 'files that may not grow' '3 shop.Till is not a type' "$? $(cat output)"
mkdir full
# shellcheck disable=SC2016
unshare -rm sh -c 'mount -t tmpfs -o size=64k none full && head -c 1M /dev/zero >full/rest 2>/dev/null
  TMPDIR=$PWD/full "$@"' sh "$trace" --output tree "$host" --ask shop.Till --end 3 >output 2>errors
same 'records on a full disk' '3 shop.Till is not a type' "$? $(cat output)"

# No process can create its file in the folder of the run.
# shellcheck disable=SC2016
unshare -rm sh -c 'mount -t tmpfs -o nr_inodes=2 none full && TMPDIR=$PWD/full "$@"' sh \
  "$trace" --output tree "$host" --ask shop.Till --end 3 >output 2>errors
same 'records in a folder that takes no file' '3 shop.Till is not a type' "$? $(cat output)"
[[ $(cat errors) =~ ^"orva-trace: cannot make a file in '$work/full/orva-trace-"[^/]{6}"': No space left on device"$ ]] ||
  fail "records in a folder that takes no file: found <$(cat errors)>"

# With very few descriptors, the dynamic linker cannot load orva-trace (error 24).
for descriptors in 4 5 6 7 8; do
  (ulimit -n "$descriptors"; exec "$trace" --output tree "$host" --end 3) >output 2>errors
  status=$?
  # Either it runs, or it reports its own failure, or the dynamic linker fails for orva-trace or for the program.
  [[ $status == 3 || "$status $(cat errors)" == @('2 '*': Too many open files'|'127 '*'Error 24') ]] ||
    fail "$descriptors descriptors: found $status <$(cat errors)>"
  same "what is left with $descriptors descriptors" '' "$(ls -A "$TMPDIR")"
done

# When memory runs out, reading must end with one line that says what helps.
"$trace" --keep long --output /dev/null "$host" --times 20000 >output
exhausted=0
for kilobytes in {8..48..4}000; do
  (ulimit -v "$kilobytes"; exec "$trace" --read long --output tree) 2>errors
  case "$? $(cat errors)" in
    '0 ' | 127*'error while loading shared libraries'*) ;;
    '2 orva-trace: memory ran out: raise its limit (ulimit -v), or record less with --limit') exhausted=1 ;;
    *) fail "--read within $kilobytes kB: found <$(cat errors)>" ;;
  esac
done
same '--read without memory was tried' 1 $exhausted

# == Colours
colours() { script -qec "$1" /dev/null | grep -c $'\e\\['; }  # COMMAND
export TERM=xterm
[[ $(colours "'$trace' '$host' --ask shop.Till") != 0 ]] || fail 'no colours on a terminal'
same 'colours with NO_COLOR' 0 "$(NO_COLOR=1 colours "'$trace' '$host' --ask shop.Till")"
same 'colours on a dumb terminal' 0 "$(TERM=dumb colours "'$trace' '$host' --ask shop.Till")"
same 'colours in a file' 0 "$(colours "'$trace' --output tree '$host' --ask shop.Till; cat tree")"

# == While it runs
# Shells start background processes with SIGINT and SIGQUIT ignored.
env --default-signal=INT,QUIT "$trace" --output tree "$host" --ask shop.Till --hang shop.Cart >output 2>errors &
tracer=$!
await output ready
program=$(pgrep -P "$tracer")
for process in "$program" "$tracer"; do
  # The lookup on the other thread begins after the host said that it is ready.
  until "$trace" --dump "$process" >dump 2>errors && grep -q 'shop.Cart' dump; do
    sleep 0.05
  done
  same "errors of --dump $process" '' "$(cat errors)"
  same "lookups in --dump $process" '1 1' "$(shown shop.Till dump) $(shown shop.Cart dump)"
done
# --read shows the same, whatever path names the records; a call that still runs has lasted until now.
ln -s records linked
for folder in records linked "$TMPDIR"; do
  until "$trace" --read "$folder"/orva-trace-* --slower 1000s >dump 2>errors &&
    grep -q 'shop.Cart.*still running after [0-9.]* m\?s$' dump; do
    sleep 0.05
  done
  same "lookups in --read $folder" '0 1' "$(shown shop.Till dump) $(shown shop.Cart dump)"
done
# Several signals at once: once SIGTERM has ended the wait, orva-trace ignores SIGVTALRM.
for signal in STOP INT QUIT TERM VTALRM CONT; do kill "-$signal" "$tracer"; done
wait "$tracer"
same 'SIGTERM while the program runs' 143 $?
same 'lookups until SIGTERM' '1 1' "$(shown shop.Till tree) $(shown shop.Cart tree)"
same 'what SIGTERM leaves' '' "$(ls -A "$TMPDIR")"
kill -0 "$program" || fail 'the program was ended'
kill -KILL "$program"

# All processes of a run, in the order in which they started, including those that have ended.
cat >family <<'SCRIPT'
#!/bin/sh
"$@" --ask shop.First
"$@" --ask shop.Second --ready --wait >second &
until grep -qs ready second; do sleep 0.05; done
"$@" --ask shop.Third --ready --wait >third &
wait
SCRIPT
chmod 755 family
"$trace" --keep families --output tree ./family "$host" >output 2>errors &
tracer=$!
"$trace" --keep families --output other_tree "$host" --ask shop.Stranger --ready --wait >stranger 2>errors &
stranger=$!
await stranger ready
await third ready
check '--dump of orva-trace' 0 '' --output dump --dump "$tracer"
same 'lookups in --dump of orva-trace, by start' 'First Second Third' \
  "$(sed -n 's/^Cl.*"shop\.\([A-Z][a-z]*\)".*/\1/p' dump | paste -sd' ')"
kill -KILL "$(pgrep -P "$stranger")"
wait "$stranger" 2>/dev/null
# shellcheck disable=SC2046
kill -KILL $(pgrep -P "$(pgrep -P "$tracer")")
wait "$tracer" 2>/dev/null
same 'what the end of the run shows' "$(sed 's/  .*//' dump)" "$(sed 's/  .*//' tree)"

for signal in HUP USR1 USR2 ALRM VTALRM PROF IO PWR XCPU RTMIN RTMAX; do
  env --default-signal "$trace" --output tree "$host" --ready --wait >"ready_$signal" 2>errors &
  await "ready_$signal" ready
  program=$(pgrep -P $!)
  kill -s "$signal" $!
  wait $! 2>/dev/null
  status=$?
  same "SIG$signal while the program runs" $((128 + $(kill -l "$signal"))) "$status"
  same "what SIG$signal leaves" '' "$(ls -A "$TMPDIR")"
  kill -KILL "$program"
done

# The process is killed during a call. orva-trace is started as by nohup, so SIGHUP does not end it.
env --ignore-signal=HUP "$trace" --keep killed --output tree "$host" --hang shop.Cart >hanging 2>errors &
await hanging ready
program=$(pgrep -P $!)
kill -HUP $!
until "$trace" --dump "$program" 2>errors | grep -q shop.Cart; do sleep 0.05; done
kill -KILL "$program"
wait $! 2>/dev/null
same 'a killed program, by its status' 137 $?
for file in tree dump; do
  same "a call that was not ended, $file" 2 "$(grep -c 'had not ended when the process ended' "$file")"
  grep -q '^  reading the registry had not ended' "$file" || fail "$file does not say where the call was"
  "$trace" --read killed >dump
done

# Nobody reads the output: the program has ended, and orva-trace waits to write.
mkfifo unread
exec {unread}<>unread
head -c 64K /dev/zero >&"$unread"
for signal in INT QUIT TERM HUP; do
  env --default-signal=INT,QUIT bash -c 'ulimit -c 0; exec "$@"' bash \
    "$trace" --output unread "$host" --ask shop.Till >output 2>errors &
  tracer=$!
  await output 'shop.Till is not a type'
  until [[ -z $(ls -A "$TMPDIR") ]]; do sleep 0.05; done
  until grep -q pipe_write "/proc/$tracer/wchan" || [[ ! -e /proc/$tracer ]]; do sleep 0.05; done
  number=$(kill -l "$signal")
  kill "-$signal" "$tracer"
  wait "$tracer" 2>/dev/null
  same "SIG$signal while the trace is written" $((128 + number)) $?
  same 'what is left' '' "$(ls -A "$TMPDIR")$(ls core* 2>/dev/null)"
done
exec {unread}>&-

# The folder of a run has the same mode as the folder that is kept.
mkdir -m 1777 shared
"$trace" --keep shared --output tree "$host" --ask shop.Till
same 'the mode of a run' 1777 "$(stat -c %a shared/orva-trace-*)"

# A thread waits for the type table's lock, which another holds forever.
"$trace" --keep locked --output tree "$host" --hang 'List<shop.Cart>' >output 2>errors &
tracer=$!
until "$trace" --dump "$tracer" 2>errors | grep "waiting for the type table's lock .* still running after" >dump; do
  sleep 0.05
done
same 'what --dump shows at the lock' 1 "$(wc -l <dump)"
kill -KILL "$(pgrep -P "$tracer")"
wait "$tracer" 2>/dev/null
check 'a trace that ends at the lock' 0 '' --read locked
same 'what it shows at the lock' 1 "$(grep -c "waiting for the type table's lock" output)"

# shellcheck disable=SC2016
"$trace" --output tree --keep later \
  sh -c '"$@" >going_on & echo $! >pid; until grep -qs ready going_on; do sleep 0.05; done' \
  sh "$host" --ready --wait 2>errors
same 'a child that goes on' "orva-trace: processes that still run: 1; their calls from now on are in 'later'" \
  "$(cat errors)"
kill -KILL "$(cat pid)"
cat >forking.py <<'PY'
import os, signal, sys
child = os.fork()
if child:
    print(child, file=open("pid", "w"))
else:
    signal.pause()
PY
"$trace" --output tree --keep forked /usr/bin/python3 forking.py 2>errors
same 'a forked child that goes on' "orva-trace: processes that still run: 1; their calls from now on are in 'forked'" \
  "$(grep 'still run' errors)"
python=$(realpath /usr/bin/python3)
check '--dump of the forked child' 2 "orva-trace: no class-loading library was seen in '$python'" \
  --output tree --dump "$(cat pid)"
kill -KILL "$(cat pid)"
check '--dump of a process that does not exist' 2 "orva-trace: process $(cat /proc/sys/kernel/pid_max) does not exist" \
  --dump "$(cat /proc/sys/kernel/pid_max)"
check '--dump of what is not traced' 2 "orva-trace: process $$ is not traced: start it with orva-trace" --dump $$
exit "$failures"
