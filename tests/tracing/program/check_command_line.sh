#!/usr/bin/env bash
# Checks what orva-trace prints for command lines: wrong ones, --help and --version.
# Usage: check_command_line.sh ORVA_TRACE
# shellcheck source=tests/tracing/program/common.sh
. "$(dirname "$0")/common.sh"

# Checks the message of a wrong command line: MESSAGE WORD….
wrong() {
  check "$*" 2 "orva-trace: $1; try 'orva-trace --help'" "${@:2}"
}

wrong 'expected a PROGRAM'
wrong 'expected a PROGRAM' --
wrong 'expected a PROGRAM' --summary
wrong 'the PROGRAM is empty: expected a name or a path' ''
wrong "unknown option '-x'" -x
wrong "unknown option '--colours'" --colours
wrong "option '--help' takes no value" --help=me
wrong '--read and --dump exclude each other' --read . --dump 1
wrong "unexpected word 'true': --read and --dump run no program" --read . true
wrong '--keep needs a PROGRAM to run, so it excludes --read and --dump' --dump 1 --keep x
wrong '--limit needs a PROGRAM to run, so it excludes --read and --dump' --read . --limit 1M
wrong '--no-follow needs a PROGRAM to run, so it excludes --read and --dump' --no-follow --read .
wrong "unknown native 'getType': expected one of objectAbiVersion, getSystem, getTypeByName, addSourceRoot, \
precompileSources, loadSourceClass, loadObjectBundle, loadClass, loadPackageTypes" --native getType true

# Each option is suggested if a letter is missing, added or wrong, or if two are swapped.
options=$("$trace" --help | sed -nE 's/^  (--[a-z-]+).*/\1/p')
same 'number of options' 14 "$(wc -w <<<"$options")"
for option in $options; do
  swapped=${option:0:3}${option:4:1}${option:3:1}${option:5}
  for misspelt in "${option%?}" "${option}s" "${option:0:3}z${option:4}" "$swapped"; do
    [[ $misspelt != "$option" ]] || continue
    check "$misspelt" 2 "orva-trace: unknown option '$misspelt'; did you mean '$option'?" "$misspelt"
  done
done
check '--summ' 2 "orva-trace: unknown option '--summ'; did you mean '--summary'?" --summ true
check 'control characters' 2 "orva-trace: unknown option '--\\x1B[2J'; try 'orva-trace --help'" $'--\e[2J'

# Each option with a value: without one, with an empty one, and twice if only one is allowed.
while read -r option value; do
  wrong "option '$option' has no value: expected '$option $value'" "$option"
  wrong "option '$option' has no value: expected '$option $value'" "$option" --summary true
  wrong "option '$option' has an empty value: expected '$option $value'" "$option=" true
done < <("$trace" --help | sed -nE 's/^  (--[a-z-]+) ([A-Z]+) .*/\1 \2/p')
for option in output json html keep name; do
  wrong "option '--$option' is given twice" "--$option" x "--$option=y" true
done

for value in soon 5 1m -1s 1.2.3s s 1e3s 99999999999 99999999999x; do
  wrong "option '--slower' has the value '$value': expected a number with ns, us, ms or s" "--slower=$value" true
done
for value in much 1T -1 K 0x10 99999999999T; do
  wrong "option '--limit' has the value '$value': expected a number of bytes, with K, M or G for more" \
    "--limit=$value" true
done
for value in 0 1 4095 3k; do
  wrong "option '--limit' has the value '$value': expected 4K or more" "--limit=$value" true
done
nines=$(printf '9%.0s' {1..400})
for value in {9000000000,99999999999,"$nines"}s {9000000000000000000,18446744073709551616,"$nines"}ns; do
  wrong "option '--slower' has the value '$value', which is too large" "--slower=$value" true
done
for value in 9000000000000000000 18446744073709551616 99999999999G 99999999999999999K "$nines"; do
  wrong "option '--limit' has the value '$value', which is too large" "--limit=$value" true
done
for value in 8999999999s 8999999999.9s 1000000000000000000ns; do
  check "--slower=$value" 0 '' "--slower=$value" --help
done
for value in 4096 4K 4k 1m 1g 8000000000G; do
  check "--limit=$value" 0 '' "--limit=$value" --help
done
for value in me 0 -1 1.5 99999999999; do
  wrong "option '--dump' has the value '$value': expected the number of a process" "--dump=$value"
done
wrong "option '--dump' has the value '$nines', which is too large" "--dump=$nines"

for option in --output --json --html; do
  check "$option in no folder" 2 "orva-trace: cannot write 'none/file': No such file or directory" \
    "$option" none/file touch ran
done
echo kept >plain
ln -s plain link
ln -s target dangling
for outputs in '--output plain --json ./plain' '--output link --html plain' '--json plain --html link'; do
  # shellcheck disable=SC2086
  "$trace" $outputs touch ran 2>errors
  same "$outputs" 2 $?
  grep -q '^orva-trace: two outputs go to one file: ' errors || fail "$outputs: found <$(cat errors)>"
done
# If orva-trace fails before the program runs, it leaves files as they were.
for outputs in '--output new --json ./new' '--json new --html new' '--output new --json none/file' \
  '--output dangling --json target' '--html new --keep none/records' '--output plain --json new --keep plain'; do
  # shellcheck disable=SC2086
  "$trace" $outputs touch ran 2>errors
  same "$outputs" 2 $?
  same "$outputs, files that it made" '' "$(ls -d new target 2>/dev/null)"
  same "$outputs, files that were there" "target kept" "$(readlink dangling) $(cat plain)"
done
check '--keep in no folder' 2 "orva-trace: cannot make the folder 'none/records': No such file or directory" \
  --keep none/records touch ran
check '--keep in a file' 2 "orva-trace: cannot make a folder for the trace in 'plain': Not a directory" \
  --keep plain touch ran
TMPDIR=$work/none check 'TMPDIR that is not there' 2 \
  "orva-trace: cannot make a folder for the trace in '$work/none': No such file or directory" touch ran 2>/dev/null
[[ ! -e ran ]] || fail 'a program ran, although the command line is wrong'
mkdir empty
check '--read of nothing' 2 "orva-trace: 'empty' contains no traces" --read empty
check '--read of no folder' 2 "orva-trace: cannot read the folder 'none': No such file or directory" --read none
# Only files are traces: opening a pipe would wait for its writer.
mkdir -p others/1-0.events others/orva-trace-run
mkfifo others/2-0.events others/orva-trace-run/3-0.events
ln -s 2-0.events others/4-0.events
ln -s /dev/zero others/5-0.events
check '--read of a folder without traces' 2 "orva-trace: 'others' contains no traces" --read others
echo damaged >empty/1-0.events
"$trace" --read empty >output 2>errors
same 'a damaged trace' "2 orva-trace: 'empty/1-0.events' is not a file of events" "$? $(cat errors)"
# A file without a header cannot say why the header is missing.
for size in 0 1 4096; do
  head -c "$size" /dev/zero >empty/1-0.events
  check "--read of a trace with $size zero bytes" 2 "orva-trace: nothing is recorded in 'empty/1-0.events': its process \
had no room for it on the disk or in memory, or ended first" --read empty
done

check '--help' 0 '' --help
[[ $(head -1 output) == 'Usage: orva-trace [OPTION]... [--] PROGRAM [ARG]...' ]] || fail "--help: $(cat output)"
same 'lines of --help beyond 89 columns' 0 "$(grep -c '.\{90\}' output)"
check '--version' 0 '' --version
[[ $(cat output) =~ ^orva-trace\ [0-9]+\.[0-9]+\.[0-9]+$ ]] || fail "--version: found <$(cat output)>"
"$trace" --version >/dev/full 2>errors
same 'version to a full disk' "2 orva-trace: cannot print: No space left on device" "$? $(cat errors)"
exit "$failures"
