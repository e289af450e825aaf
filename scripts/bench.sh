#!/usr/bin/env bash
# Builds and runs the benches beside their peers: ./scripts/bench.sh [NAME...], all by default.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/setup.sh
need_packages "${build_packages[@]}" "${bench_packages[@]}"
cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DSARVO_BENCH=ON -DSARVO_TESTS=OFF -DSARVO_COMMAND=OFF \
  -DSARVO_EXAMPLES=OFF > /dev/null
names=("$@")
[ ${#names[@]} -gt 0 ] || names=(eigen_bench fourier_bench machine_bench product_bench random_bench solve_bench sparse_bench special_bench
  svd_bench utility_bench)
cmake --build build-bench -j "$jobs" --target "${names[@]}" -- --quiet
for name in "${names[@]}"; do
  echo "== $name"
  "build-bench/bench/$name"
done
