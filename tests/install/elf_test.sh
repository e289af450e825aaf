#!/usr/bin/env bash
# What the built and installed programs and libraries tell the loader: no search path (an empty entry of one is the caller's
# working directory), and for the command position independence, read-only relocations, immediate binding.
# usage: elf_test.sh BUILD_DIR READELF FORTIFIED(0|1)
set -euo pipefail
build=$1 readelf=$2 fortified=$3
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
failures=0
fail() { echo "FAILED: $*"; failures=$((failures + 1)); }

cmake --install "$build" --prefix "$tree/usr" > "$tree/install.log"

count=0
check_path() {
  local paths
  paths=$("$readelf" -d "$1" | grep -E '\((RPATH|RUNPATH)\)' || true)
  [ -z "$paths" ] || fail "$1: $paths"
  count=$((count + 1))
}
while IFS= read -r -d '' file; do
  if "$readelf" -h "$file" 2> /dev/null | grep -qE 'Type: +(EXEC|DYN)'; then check_path "$file"; fi
done < <(find "$build" "$tree/usr" -path '*/CMakeFiles/*' -prune -o -type f \( -perm -u+x -o -name '*.so*' \) -print0)
[ "$count" -ge 4 ] || fail "only $count programs and libraries were found"

check_hardened() {
  "$readelf" -hdlW "$1" > "$tree/elf"
  grep -qE 'Type: +DYN' "$tree/elf" && grep -q 'Flags:.*\<PIE\>' "$tree/elf" || fail "$1: not position independent"
  grep -q GNU_RELRO "$tree/elf" || fail "$1: no read-only relocations"
  grep -qE '\(FLAGS(_1)?\).*(BIND_NOW|\<NOW\>)' "$tree/elf" || fail "$1: not bound at start"
  "$readelf" --dyn-syms -W "$1" > "$tree/symbols"
  grep -q __stack_chk_fail "$tree/symbols" || fail "$1: no stack protector"
  [ "$fortified" = 0 ] || grep -qE '__(f?printf|v?snprintf|fread|memcpy)_chk' "$tree/symbols" || fail "$1: not fortified"
}
for program in "$build/bin/sarvo" "$build/bin/sarvo_certify" "$tree/usr/bin/sarvo"; do
  if [ -x "$program" ]; then check_hardened "$program"; fi
done

# A library of the name of one that the command needs, where the caller happens to be: it is not looked at.
mkdir "$tree/here"
for name in libz.so.1 libm.so.6 libstdc++.so.6 libc.so.6 libsarvo.so.1; do echo "not a library" > "$tree/here/$name"; done
for program in "$build/bin/sarvo" "$tree/usr/bin/sarvo"; do
  [ ! -x "$program" ] && continue
  answer=$(cd "$tree/here" && env -u LD_LIBRARY_PATH "$program" --version 2>&1) || true
  [[ $answer == sarvo\ * ]] || fail "$program took a library from the working directory: $answer"
done
[ $failures -eq 0 ] && echo "$count programs and libraries without a search path"
