#!/bin/sh
# Exported names of the shared libraries, the names that the headers declare and the lists of exports must be the same three
# sets; the libraries need nothing but libc, libm and each other, nothing of the C++ run-time library, and hold no fused multiply-add.
# Usage: symbols_test.sh source-folder libsarko libsarvo
set -eu

root=$1
sarko=$2
sarvo=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

fail() {
    echo "FAILED: $1"
    failures=$((failures + 1))
}

# The names that headers declare with the given mark: the word before "(", or a variable's last word (its extent dropped).
declared() {
    mark=$1
    shift
    cat "$@" | tr '\n' ' ' | sed 's@/\*[^*]*\*\+\([^/*][^*]*\*\+\)*/@@g; s/;/;\n/g; s/{/{\n/g' |
        grep -o "$mark .*[;]" | grep -v "define" |
        sed "s/.*$mark //; s/SARKO_PRINTF([^)]*)//; s/\[[^]]*\]//; s/(.*//; s/;.*//; s/ *\$//; s/.*[ *]//" | LC_ALL=C sort -u
}

listed() { grep '^[A-Za-z_]' "$1" | LC_ALL=C sort -u; }

# On the version script's libraries nm shows no version node of its own; absolute ones ("A") are skipped.
exported() { nm -D --defined-only "$1" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | LC_ALL=C sort -u; }

compare() { # what, first set, second set
    if ! diff "$2" "$3" >"$work/diff"; then
        fail "$1"
        cat "$work/diff"
    fi
}

check_names() { # library name, mark, export list, shared library, headers...
    name=$1 mark=$2 list=$3 library=$4
    shift 4
    declared "$mark" "$@" >"$work/$name.declared"
    listed "$list" >"$work/$name.listed"
    exported "$library" >"$work/$name.exported"
    test "$(wc -l <"$work/$name.exported")" -ge 20 || fail "$name: hardly any exported name was found"
    compare "$name: declared in the headers (<) and listed (>)" "$work/$name.declared" "$work/$name.listed"
    compare "$name: listed (<) and exported (>)" "$work/$name.listed" "$work/$name.exported"
}

check_needs() { # shared library, allowed pattern
    readelf -d "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\].*/\1/p' >"$work/needs"
    grep -q . "$work/needs" || fail "$1: no needed library was found"
    grep -Ev "^($2)\$" "$work/needs" && fail "$1: needs more than $2"
    nm -D --undefined-only "$1" | grep -E ' (_Z|__cxa_|__gxx|_Unwind)' | grep -v '__cxa_finalize' &&
        fail "$1: C++ run-time symbols"
    return 0
}

check_fused() {
    case $(uname -m) in
    x86_64) objdump -d --no-show-raw-insn "$1" >"$work/code" ;;
    *) return 0 ;;
    esac
    test "$(wc -l <"$work/code")" -ge 100 || fail "$1: no code was disassembled"
    grep -E '[[:space:]]vfn?m(add|sub)' "$work/code" | head -5 | grep . && fail "$1: fused multiply-add instructions"
    return 0
}

check_names sarko SARKO_API "$root/src/sarko/exports.txt" "$sarko" "$root"/include/sarko/*.h
check_names sarvo SARVO_API "$root/src/exports.txt" "$sarvo" "$root"/include/sarvo/*.h "$root"/include/sarvo/*/*.h
check_needs "$sarko" 'libc\.so\.6'
check_needs "$sarvo" 'libc\.so\.6|libm\.so\.6|libsarko\.so\.1'
check_fused "$sarko"
check_fused "$sarvo"
test $failures -eq 0 && echo "$(cat "$work"/*.exported | wc -l) exported names agree with headers and lists"
