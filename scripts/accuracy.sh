#!/usr/bin/env bash
# Measures the errors of the special functions and distributions: prints the tables of docs/accuracy.md.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/setup.sh
need_packages "${build_packages[@]}" python3-mpmath
[ -f build/build.ninja ] || cmake --preset release -DSARVO_TESTS=OFF > /dev/null
cmake --build build -j "$jobs" --target sarvo_shared -- --quiet
tables=../shared/data/special
[ -d "$tables" ] || { echo "No reference tables beside the checkout: the sweeps only." >&2; tables=; }
LD_LIBRARY_PATH=build/lib python3 tools/accuracy.py build/lib/libsarvo.so $tables
