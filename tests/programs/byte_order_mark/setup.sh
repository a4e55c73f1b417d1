#!/usr/bin/env bash
# Sources that begin with a byte order mark; their identities are the digests of the files, mark and all.
marked() { printf '\xEF\xBB\xBF%s\n' "$2" >"$1"; }
digest() { sha256sum "$1" | cut -d' ' -f1; }
mkdir marked
marked marked/Greeting.ov 'package marked; class Greeting { static String text() { return "loaded"; } }'
marked marked/Built.ov 'package marked; class Built { static String text() { return "built"; } }'
marked marked/Wrong.ov 'package marked; clas Wrong { }'
marked marked/Box.ov 'package marked; class Box<T> { static String of() { return "a box"; } }'
cat >Digests.ov <<OV
class Digests {
  static String greeting() { return "$(digest marked/Greeting.ov)"; }
  static String built() { return "$(digest marked/Built.ov)"; }
}
OV
