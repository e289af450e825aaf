#!/usr/bin/env bash
# Fuzzes what reads input: fuzz/run.sh TARGET|all [EXECUTIONS]. Sets up Clang, builds into build-fuzz/, runs one target after
# the other (1000000 executions each unless told otherwise) and prints a line for each. What it learns stays in
# build-fuzz/corpus/, what breaks in build-fuzz/found/: such a file belongs into fuzz/corpus/TARGET/ with the correction.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/setup.sh

known=$(sed -n 's/^foreach(name \(.*\))$/\1/p' fuzz/CMakeLists.txt)
if [ $# -lt 1 ] || [ $# -gt 2 ] || ! [[ $1 != *" "* && " all $known " == *" $1 "* ]] || ! [[ ${2:-1} =~ ^[0-9]+$ ]]; then
  echo "usage: fuzz/run.sh TARGET|all [EXECUTIONS], TARGET one of: $known" >&2
  exit 2
fi
targets=$1
[ "$1" = all ] && targets=$known
executions=${2:-1000000}

need_packages "${build_packages[@]}" "${fuzz_packages[@]}"
cmake --preset fuzz > /dev/null
cmake --build --preset fuzz -j "$jobs" --target $(printf 'fuzz_%s ' $targets) -- --quiet

# Shorter traces of allocations and fewer freed blocks kept: twice the executions.
export ASAN_OPTIONS=malloc_context_size=3:quarantine_size_mb=16

# fuzz NAME: one run, and what it says about itself.
fuzz() {
  local name=$1 log=build-fuzz/$1.log learnt=build-fuzz/corpus/$1 before after
  mkdir -p "$learnt" build-fuzz/found
  before=$(find build-fuzz/found -name "$name-*" | wc -l)
  build-fuzz/fuzz/fuzz_"$name" -runs="$executions" -max_len=512 -timeout=10 -rss_limit_mb=2048 -malloc_limit_mb=64 -entropic=0 \
    -dict=fuzz/dictionaries/"$name".dict -artifact_prefix=build-fuzz/found/"$name"- -close_fd_mask=1 \
    -print_final_stats=1 "$learnt" fuzz/corpus/"$name" > "$log" 2>&1 || true
  after=$(find build-fuzz/found -name "$name-*" | wc -l)
  awk -v name="$name" -v crashes=$((after - before)) '
    /^stat::number_of_executed_units/ { executions = $2 }
    /^Done .* runs in / { seconds = $(NF - 1) }
    / cov: / { for (i = 1; i < NF; i++) if ($i == "cov:") coverage = $(i + 1) }
    END { printf "%-8s %10d executions %6d s %8d/s  coverage %5d  crashes %d\n", name, executions,
          seconds, (seconds > 0 ? executions / seconds : executions), coverage, crashes }' "$log"
  [ "$after" = "$before" ] && grep -q '^Done ' "$log"
}

failed=0
for target in $targets; do
  fuzz "$target" || { failed=1; echo "  build-fuzz/$target.log tells more" >&2; }
done
exit $failed
