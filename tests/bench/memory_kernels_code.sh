#!/bin/sh
# The kernels of the bandwidth tests as the compiler made them: no call, eight stores of 64-bit words to a group in the
# stated order, for a copy eight loads in the same order, for a fill one load; prefetches where they belong.
# Usage: memory_kernels_code.sh libsarvo
set -eu

library=$1
case $(uname -m) in
x86_64) ;;
*) echo "not read on this processor" && exit 0 ;;
esac
failures=0

# Words within a group that instructions of a kind go to. Addresses move by whole groups, so displacements tell; the
# compiler may hold a base inside the group, so the first word is taken to be the expected one and the others follow
# (that the groups themselves are right shows on overlapping buffers).
words() { # pattern whose one group is the displacement, expected first word
    base=
    for displacement in $(sed -n "s/.*$1.*/\\1/p" "$code"); do
        : "${base:=$((displacement - 8 * $2))}"
        printf '%s ' $(((((displacement - base) % 64 + 64) % 64) / 8))
    done
}
code=$(mktemp)
trap 'rm -f "$code"' EXIT

check() { # kernel, order of the stores, order of the loads, prefetches
    objdump -d --no-show-raw-insn --disassemble="$1" "$library" | sed 's/\([,\t ]\)(/\10x0(/g' >"$code"
    grep -q ret "$code" || { echo "FAILED: $1 was not found" && exit 1; }
    stores=$(words 'mov *%r[a-z0-9]*,\(-\{0,1\}0x[0-9a-f]*\)(%r[a-z0-9,%]*)' "${2%% *}")
    loads=$(words 'mov *\(-\{0,1\}0x[0-9a-f]*\)(%r[a-z0-9,%]*),%r[a-z0-9]*' "${3%% *}")
    prefetches=$(grep -c prefetchnta "$code" || true)
    calls=$(grep -cE 'call|jmp.*@plt|[xyz]mm|rep ' "$code" || true)
    if [ "$stores|$loads|$prefetches|$calls" != "$2|$3|$4|0" ]; then
        echo "FAILED: $1: stores $stores, loads $loads, $prefetches prefetches, $calls calls or vector instructions"
        failures=$((failures + 1))
    fi
}

up='0 1 2 3 4 5 6 7 ' down='7 6 5 4 3 2 1 0 ' halves='4 5 6 7 0 1 2 3 '
check aligned_block_copy "$up" "$up" 0
check aligned_block_copy_pf32 "$up" "$up" 2
check aligned_block_copy_pf64 "$up" "$up" 1
check aligned_block_copy_backwards "$down" "$down" 0
check aligned_block_copy_backwards_bs32 "$halves" "$halves" 0
check aligned_block_copy_backwards_bs64 "$up" "$up" 0
check aligned_block_fill "$up" '0 ' 0
check aligned_block_fill_shuffle16 '0 1 3 2 5 4 6 7 ' '0 ' 0
check aligned_block_fill_shuffle32 '3 0 2 1 6 5 7 4 ' '0 ' 0
check aligned_block_fill_shuffle64 '5 0 2 7 1 6 3 4 ' '0 ' 0
test $failures -eq 0 && echo "10 kernels: plain loads and stores in the stated order"
