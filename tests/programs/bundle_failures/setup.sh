#!/usr/bin/env bash
# Files of all kinds: our objects, damaged ones, foreign ones, and files that are not objects.
"$ORVA_HOST" run Main.ov -- precompile
head -c 3 Second.o >Head.o
head -c 40 Second.o >Half.o
{ cat Second.o; echo; } >Longer.o
: >Empty.o
echo 'no object' >Text.o
echo 'int answer;' | c++ -x c++ -c -o Foreign.o -
mkdir Folder.o
mkfifo Pipe.o
ln -s nowhere Dangling.o
for name in Foreign Text Pipe Dangling; do echo "class $name { }" >$name.ov; done
rm -rf Folder.ov && mkdir Folder.ov
