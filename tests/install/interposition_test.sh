#!/usr/bin/env bash
# A program with functions under names that the library exports: the library goes on calling its own. Shared: the answers
# stay and none of the program's functions is called. Static: the library is one object, whose only names are its exports,
# and a name that the program defines too is an error of the linker.
# usage: interposition_test.sh SOURCE_DIR LIBRARY_DIR CC NM READELF [FLAGS...]
set -euo pipefail
source=$1 libraries=$2 cc=$3 nm=$4 readelf=$5
shift 5
flags=("$@")
here=$source/tests/install
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export LD_LIBRARY_PATH=$libraries
failures=0
fail() { echo "FAILED: $*"; failures=$((failures + 1)); }

# --- the impostors: every exported function that the program does not call itself ---
"$cc" -std=c11 "${flags[@]}" -I"$source/include" -c "$here/interposed.c" -o "$work/program.o"
exported_by() { # library name
  "$nm" -D --defined-only "$libraries/lib$1.so" | awk '$2 == "T" { sub(/@.*/, "", $3); print $3 }' | LC_ALL=C sort -u
}
exported_by sarvo > "$work/functions"
"$nm" --undefined-only "$work/program.o" | awk '{ print $2 }' | LC_ALL=C sort -u > "$work/called"
LC_ALL=C comm -23 "$work/functions" "$work/called" > "$work/others"
[ "$(wc -l < "$work/others")" -ge 300 ] || fail "hardly any exported function was found"
{
  echo '#include <stdio.h>'
  echo '#include <stdlib.h>'
  while read -r name; do
    echo "void $name(void); void $name(void) { fputs(\"$name of the program was called\\n\", stderr); exit(3); }"
  done < "$work/others"
} > "$work/impostors.c"
"$cc" -std=c11 -fno-builtin "${flags[@]}" -c "$work/impostors.c" -o "$work/impostors.o"

# --- shared, with a program at a fixed address too: it holds copies of the library's data ---
link() { "$cc" "${flags[@]}" "$@"; }
shared=(-L"$libraries" -lsarvo -lsarko -lm)
link "$work/program.o" -o "$work/plain" "${shared[@]}"
"$work/plain" > "$work/expected" || fail "the program fails: $(cat "$work/expected")"
grep -qx 'codes 1 30' "$work/expected" || fail "the program does not see the codes: $(cat "$work/expected")"
link "$work/program.o" "$work/impostors.o" -o "$work/with_impostors" "${shared[@]}"
"$work/with_impostors" > "$work/answer" 2>&1 || fail "shared: $(tail -1 "$work/answer")"
diff "$work/expected" "$work/answer" || fail "shared: other answers"
"$cc" -std=c11 "${flags[@]}" -fno-pie -I"$source/include" "$here/interposed.c" "$work/impostors.o" -no-pie \
  -o "$work/fixed" "${shared[@]}"
"$work/fixed" > "$work/answer" 2>&1 || fail "at a fixed address: $(tail -1 "$work/answer")"
diff "$work/expected" "$work/answer" || fail "at a fixed address: other answers"

# No relocation leaves it to the loader which function of its own a library calls.
for library in sarko sarvo; do
  exported_by $library > "$work/own"
  "$readelf" -rW "$libraries/lib$library.so" | awk '{ sub(/@.*/, "", $5); print $5 }' | LC_ALL=C sort -u > "$work/looked_up"
  [ "$(wc -l < "$work/looked_up")" -ge 5 ] || fail "lib$library: no relocations were found"
  LC_ALL=C comm -12 "$work/own" "$work/looked_up" > "$work/open"
  [ ! -s "$work/open" ] || fail "lib$library: the loader chooses" $(head -5 "$work/open") "and $(wc -l < "$work/open") in all"
done

# --- static ---
static=("$libraries/libsarvo.a" "$libraries/libsarko.a" -lm)
link "$work/program.o" -o "$work/static" "${static[@]}"
"$work/static" > "$work/answer" 2>&1 || fail "static: $(tail -1 "$work/answer")"
diff "$work/expected" "$work/answer" || fail "static: other answers"
for library in sarko sarvo; do
  list=$source/src/exports.txt
  [ $library = sarvo ] || list=$source/src/sarko/exports.txt
  "$nm" -g --defined-only "$libraries/lib$library.a" | awk 'NF == 3 { print $3 }' | LC_ALL=C sort > "$work/names"
  grep '^[A-Za-z_]' "$list" | LC_ALL=C sort -u | diff - "$work/names" > "$work/diff" ||
    fail "lib$library.a: $(wc -l < "$work/diff") names differ from the exports: $(head -5 "$work/diff")"
done
for name in LU_factor square memcpy_wrapper; do
  grep "void $name(void);" "$work/impostors.c" > "$work/one.c" || fail "$name is not among the impostors"
  { echo '#include <stdio.h>'; echo '#include <stdlib.h>'; cat "$work/one.c"; } > "$work/$name.c"
  "$cc" -std=c11 "${flags[@]}" -c "$work/$name.c" -o "$work/$name.o"
  if link "$work/program.o" "$work/$name.o" -o "$work/doubled" "${static[@]}" 2> "$work/complaint"; then
    fail "static: the program's $name took the place of the library's"
  else
    grep -qE "(multiple definition|duplicate symbol).*$name" "$work/complaint" || fail "static: $(cat "$work/complaint")"
  fi
done
[ $failures -eq 0 ] && echo "$(wc -l < "$work/others") functions under the library's names are let alone"
