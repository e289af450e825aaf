#!/usr/bin/env bash
# Compiles and runs the code that the documents show: the program in the top comment of each public header (those that are
# part of a family may have none), and the one in the README, whose output must be the block that follows it there.
# usage: documented_code.sh SOURCE_DIR LIBRARY_DIR CC [FLAGS...]
set -euo pipefail
source=$1 libraries=$2 cc=$3
shift 3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export LD_LIBRARY_PATH=$libraries

build() { # build NAME: $work/NAME.c to $work/NAME
  "$cc" -std=c11 -Wall -Wextra "${flags[@]}" -I"$source/include" "$work/$1.c" -o "$work/$1" -L"$libraries" -lsarvo -lsarko -lm
}
flags=("$@")

programs=0
for header in "$source"/include/*/*.h "$source"/include/*/*/*.h; do
  name=$(basename "$header" .h)
  # The top comment ends at the first "*/"; code is what is indented there.
  awk '/\*\//{exit} /^ \*     /{print substr($0, 8)} /^ \*$/{print ""}' "$header" > "$work/$name.c"
  if ! grep -q 'int main' "$work/$name.c"; then
    case $header in "$source"/include/*/*/*.h) continue ;; esac # a part of a family, which shows its example in its own header
    grep -q . "$work/$name.c" || { echo "$header: no example in the top comment"; exit 1; }
    # A fragment: it stands in a function.
    { echo '#include <sarko/sarko.h>'; echo 'int main(void) {'; cat "$work/$name.c"; echo 'return 0; }'; } > "$work/$name.tmp"
    mv "$work/$name.tmp" "$work/$name.c"
  fi
  build "$name"
  "$work/$name" > "$work/$name.out" || { echo "$header: the example fails"; exit 1; }
  programs=$((programs + 1))
  echo "$name: $(head -1 "$work/$name.out")"
done

awk '/^```c$/{on=1; next} /^```$/{if (on) exit} on' "$source/README.md" > "$work/readme.c"
awk '/^```c$/{code=1} /^```$/{if (code) {code=0; next_block=1; next}} /^```text$/{if (next_block) {on=1; next}} /^```$/{if (on) exit} on' \
  "$source/README.md" > "$work/readme.expected"
[ -s "$work/readme.c" ] && [ -s "$work/readme.expected" ] || { echo "README.md: no program or no output"; exit 1; }
build readme
"$work/readme" | diff - "$work/readme.expected" || { echo "README.md: the program prints something else"; exit 1; }
echo "$programs headers and the README: every program runs"
