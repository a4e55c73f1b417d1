#!/usr/bin/env bash
# Checks the manual page of a program: mandoc must accept it, it must list the options of --help, the sources must
# contain its messages, and its examples must print what it shows.
# Usage: check_manual.sh FOLDER_OF_SOURCES PROGRAM
set -euo pipefail
here=$(realpath "$(dirname "$0")") sources=$1 program=$2
name=$(basename "$program")
page=$sources/program/$name.1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0

section() { sed -n "/^\.Sh $1/,/^\.Sh /p" "$page"; }
same() { diff -u --label "$1" --label "$2" "$work/one" "$work/other" || status=1; }  # NAME NAME

mandoc -T lint -W warning "$page" || status=1

"$program" --help >"$work/help"
sed -nE 's/^  (--[a-z-]+( [A-Z]+|\[=[A-Z]+\])?)  .*/\1/p' "$work/help" | sort >"$work/one"
section OPTIONS | sed -E 's/ Ns Op = Ns Ar ([A-Z]+)$/[=\1]/' |
  sed -nE 's/^\.It Fl (-[a-z-]+(\[=[A-Z]+\])?)( Ar( [A-Z]+))?$/-\1\4/p' | sort >"$work/other"
same 'options of --help' 'options of the page'
sed -nE '/^Commands:/,/^$/s/^  ([a-z-]+ [A-Z]+) .*/\1/p' "$work/help" >"$work/one"
section COMMANDS | sed -nE 's/^\.It Cm ([a-z-]+) Ar ([A-Z]+)$/\1 \2/p' >"$work/other"
same 'commands of --help' 'commands of the page'
"$program" --version | sed "s/^$name \([^ ]*\).*/\1/" >"$work/one"
sed -n 's/^\.Os orva-classloader //p' "$page" >"$work/other"
same 'version of the program' 'version of the page'

# The fixed part of each message: after a placeholder for a number, up to one for a name or a reason.
section DIAGNOSTICS | sed -nE "s/^\.It \"($name: )?((process )?N )?'?([^\"':]+).*/\4/p" >"$work/messages"
[[ -s $work/messages && $(wc -l <"$work/messages") -eq $(section DIAGNOSTICS | grep -c '^\.It') ]] ||
  { echo 'each item of DIAGNOSTICS must be a quoted message'; status=1; }
# The code in reference_host/language/ reads the options of both programs.
while read -r message; do
  grep -rqF --include='*.cpp' --include='*.h' -- "$message" "$sources" "$here/../../reference_host/language" ||
    { echo "no source contains the message <$message>"; status=1; }
done <"$work/messages"

# Turns the session into a page to follow: `cat` shows a file to write, and the output of any other command is below it.
section EXAMPLES | awk '
  function end() { if (open) print "```"; open = 0 }
  function begin(language) { end(); print "```" language; open = 1 }
  /^\.Ed/ { end(); session = 0 }
  session && /^\$ cat / { end(); print "<!-- file: " $3 " -->"; begin("text"); next }
  session && /^\$ / { begin("sh"); print substr($0, 3); begin("text"); next }
  session
  /^\.Bd -literal/ { session = 1 }' >"$work/page.md"
grep -q '^```sh' "$work/page.md" || { echo 'the page has no examples'; status=1; }
cd "$work"
PATH=$(dirname "$program"):$PATH "$here/follow.py" page.md || status=1
exit "$status"
